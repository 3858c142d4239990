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
    void add(CUpdateListener* listener, const void* key);
    void remove(CUpdateListener* listener, const void* key);
    platform::CLock lock;
    CMap<const void*, CSet<CUpdateListener*>> listeners;
};

/// Receives what a notifier tells, on the notifying thread. A subclass detaches in its own
/// destructor when others may notify at that time, because its onUpdate is gone before the base is.
/// NOTE: onUpdate runs under the notifier's lock, which attaching takes as the last of its locks.
/// So it attaches and detaches nothing; it posts an event and does so there.
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
    template <class Action>
    static void ifAlive(CUpdateNotifier* notifier, Action action);

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
