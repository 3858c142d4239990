#pragma once

#include "Core/CObject.h"
#include "Platform/Lock.h"

namespace lum {

/// Brings the events of one tree from its objects to whoever listens, by the sender's full name, so
/// that a sender may come and go. Owned by the root of an instance or editor tree; the shared tree
/// has none. Any thread. Lock order: main lock, then a sender's lock; the main lock is never held
/// while a handler runs, a sender's lock is, and may then be taken again by the same thread.
class CNotifyServer : public CLumMemAllocator {
public:
    CNotifyServer();
    ~CNotifyServer();
    CNotifyServer(const CNotifyServer&) = delete;
    CNotifyServer& operator=(const CNotifyServer&) = delete;

    /// Number of this server, unique in the process.
    int getNumber() const { return number; }
    /// The living server of a number, or null.
    static CNotifyServer* find(int serverNumber);
    /// Unique within the tree, never used again.
    int32_t takeObjectId();

    /// Enters or replaces what the listener does on an event of the sender.
    void listen(CObject& listener, const CString& senderName, const CString& event,
                const CEventEntry& handler, const CString& handlerName);
    /// When this returns no other thread is calling the listener for that sender.
    void unlisten(CObject& listener, const CString& senderName, const CString& event);

    /// Announces an event: listeners of the calling thread are called before this returns, others
    /// through their bridge. isForced: all go through their bridge. Gives the first failure.
    CErrorResult fire(const CString& senderName, const CString& event, CAttrMap& arguments,
                      bool isForced);
    /// As fire, through the bridges alone.
    CErrorResult postEvent(const CString& senderName, const CString& event, CAttrMap& arguments) {
        return fire(senderName, event, arguments, true);
    }

private:
    struct CListener {
        CEventEntry handler;
        CString handlerName;
    };
    /// A call that the firing thread makes itself, after its walk over the listeners.
    struct CDeferredCall {
        CObject* listener;
        CEventEntry handler;
        CAttrMap* arguments; // of the fire that queued it and that waits for it
        uint64_t thread;
        bool isDone;
    };
    struct CSender : public CLumMemAllocator {
        platform::CLock lock;
        int useCount = 0;                                // under the main lock
        CMap<CString, CMap<CObject*, CListener>> events; // listeners by ascending address
        CVector<CDeferredCall, 4> queue;
        size_t readIndex = 0; // all before it are done

        void skipDone();
        CDeferredCall* findCall(uint64_t thread);
        void cancel(const CAttrMap* arguments);
        void cancel(const CObject* listener);
    };
    class CSenderUse;

    static CErrorResult callListeners(CSender& sender, const CString& event, CAttrMap& arguments,
                                      bool isForced);
    static CErrorResult runDeferred(CSender& sender, CAttrMap& arguments);

    platform::CLock mainLock;
    CMap<CString, std::unique_ptr<CSender>> senders;
    platform::CSpinLock idLock;
    int32_t nextObjectId = 0;
    int number;
};

} // namespace lum
