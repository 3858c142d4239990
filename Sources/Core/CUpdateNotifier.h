#pragma once

#include "Core/CCheckedObject.h"
#include "Core/CLumMemAllocator.h"
#include "Platform/Lock.h"

namespace lum {

class CUpdateListener;

/// What a notifier tells; its subclasses carry the rest. A null record means key null.
struct CUpdateRecord {
    const void* key = nullptr;
};

/// Announces changes to typed listeners outside the tree. A notifier may go before its listeners:
/// every detach first looks it up in the table of live notifiers.
class CUpdateNotifier : public virtual CCheckedObject {
public:
    CUpdateNotifier();
    ~CUpdateNotifier() override;
    CUpdateNotifier(const CUpdateNotifier&) = delete;
    CUpdateNotifier& operator=(const CUpdateNotifier&) = delete;

    /// The key under which listeners are filed; the argument itself by default.
    virtual const void* getUpdateKey(const void* userKey) { return userKey; }
    /// Calls every listener of the record's key, in ascending address, on the calling thread.
    void notify(const CUpdateRecord* record);

private:
    friend class CUpdateListener;
    platform::CLock lock;
    CMap<const void*, CSet<CUpdateListener*>> listeners;
};

class CUpdateListener : public virtual CCheckedObject {
public:
    CUpdateListener() = default;
    ~CUpdateListener() override { attach(nullptr, nullptr); }
    CUpdateListener(const CUpdateListener&) = delete;
    CUpdateListener& operator=(const CUpdateListener&) = delete;

    virtual void onUpdate(const CUpdateRecord* record) = 0;
    /// Leaves the present notifier and joins another; null only leaves.
    void attach(CUpdateNotifier* notifier, const void* userKey);

private:
    platform::CLock lock;
    CUpdateNotifier* current = nullptr;
    const void* currentKey = nullptr;
};

/// A listener that is a member of its owner and passes on to it.
template <class T>
class COwnedUpdateListener : public CUpdateListener {
public:
    explicit COwnedUpdateListener(T& listenerOwner) : owner(&listenerOwner) {}

protected:
    T* owner;
};

} // namespace lum
