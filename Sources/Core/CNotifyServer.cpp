#include "Core/CNotifyServer.h"

#include "Core/CEventBridge.h"
#include "Platform/Thread.h"

namespace lum {

namespace {

platform::CSpinLock serversLock;
CMap<int, CNotifyServer*> servers; // by number
int lastServerNumber = 0;

} // namespace

CNotifyServer::CNotifyServer() {
    platform::CSpinGuard guard(serversLock);
    number = ++lastServerNumber;
    servers[number] = this;
}

CNotifyServer::~CNotifyServer() {
    platform::CSpinGuard guard(serversLock);
    servers.erase(number);
}

CNotifyServer* CNotifyServer::find(int serverNumber) {
    platform::CSpinGuard guard(serversLock);
    auto found = servers.find(serverNumber);
    return found == servers.end() ? nullptr : found->second;
}

int32_t CNotifyServer::takeObjectId() {
    platform::CSpinGuard guard(idLock);
    return nextObjectId++;
}

/// Holds a sender record in use for a scope. The last user takes an empty record out; nobody else
/// can see its content then, so the main lock is enough to look at it.
class CNotifyServer::CSenderUse {
public:
    CSenderUse(CNotifyServer& notifyServer, const CString& name, bool isMade)
        : server(notifyServer) {
        platform::CLockGuard guard(server.mainLock);
        place = server.senders.find(name);
        if (place == server.senders.end()) {
            if (!isMade) return;
            place = server.senders.emplace(name, std::make_unique<CSender>()).first;
        }
        sender = place->second.get();
        sender->useCount++;
    }
    ~CSenderUse() {
        if (!sender) return;
        platform::CLockGuard guard(server.mainLock);
        if (--sender->useCount == 0 && sender->events.empty() && sender->queue.empty())
            server.senders.erase(place);
    }
    CSenderUse(const CSenderUse&) = delete;
    CSenderUse& operator=(const CSenderUse&) = delete;

    CSender* get() const { return sender; }

private:
    CNotifyServer& server;
    CMap<CString, std::unique_ptr<CSender>>::iterator place;
    CSender* sender = nullptr;
};

void CNotifyServer::listen(CObject& listener, const CString& senderName, const CString& event,
                           const CEventEntry& handler, const CString& handlerName) {
    CSenderUse use(*this, senderName, true);
    platform::CLockGuard guard(use.get()->lock);
    use.get()->events[event][&listener] = {handler, handlerName};
}

void CNotifyServer::unlisten(CObject& listener, const CString& senderName, const CString& event) {
    CSenderUse use(*this, senderName, false);
    CSender* sender = use.get();
    if (!sender) return;
    platform::CLockGuard guard(sender->lock);
    auto found = sender->events.find(event);
    if (found != sender->events.end()) {
        found->second.erase(&listener);
        if (found->second.empty()) sender->events.erase(found);
    }
    sender->cancel(&listener);
}

CErrorResult CNotifyServer::fire(const CString& senderName, const CString& event,
                                 CAttrMap& arguments, bool isForced) {
    if (senderName.empty()) return nullptr; // a root
    CSenderUse use(*this, senderName, false);
    if (!use.get()) return nullptr;
    arguments["sender"] = CAttrEntry::ofText(senderName);
    arguments["event-name"] = CAttrEntry::ofText(event);
    CErrorResult walkError = callListeners(*use.get(), event, arguments, isForced);
    CErrorResult handlerError = runDeferred(*use.get(), arguments);
    if (!walkError) return handlerError;
    logAndDropError(std::move(handlerError));
    return walkError;
}

CErrorResult CNotifyServer::callListeners(CSender& sender, const CString& event,
                                          CAttrMap& arguments, bool isForced) {
    const uint64_t thisThread = platform::currentThreadId();
    platform::CLockGuard guard(sender.lock);
    auto found = sender.events.find(event);
    if (found == sender.events.end()) return nullptr;
    for (const auto& [listener, entry] : found->second) {
        uint64_t listenerThread = 0;
        CObjectEventBridge* bridge = listener->findBridge(listenerThread);
        if (!bridge) continue;
        if (!isForced && listenerThread == thisThread) {
            sender.queue.push_back({listener, entry.handler, &arguments, thisThread, false});
            continue;
        }
        listener->addressBridged(arguments, entry.handlerName);
        LUM_TRY(bridge->postEvent(arguments));
    }
    return nullptr;
}

// The walk is over, so a handler may listen, unlisten and fire. Calls that an outer fire of this
// thread has still to make may run in here, with that fire's own arguments.
CErrorResult CNotifyServer::runDeferred(CSender& sender, CAttrMap& arguments) {
    const uint64_t thisThread = platform::currentThreadId();
    platform::CLockGuard guard(sender.lock);
    while (CDeferredCall* found = sender.findCall(thisThread)) {
        const CDeferredCall call = *found; // the queue may move while the handler runs
        found->isDone = true;
        sender.skipDone();
        if (CErrorResult error = call.handler.call(*call.listener, *call.arguments)) {
            sender.cancel(&arguments);
            return addError(std::move(error), __FILE__, __LINE__, traceName());
        }
    }
    return nullptr;
}

// The queue is forgotten once everything in it is done.
void CNotifyServer::CSender::skipDone() {
    while (readIndex < queue.size() && queue[readIndex].isDone) readIndex++;
    if (readIndex < queue.size()) return;
    queue.clear();
    readIndex = 0;
}

CNotifyServer::CDeferredCall* CNotifyServer::CSender::findCall(uint64_t thread) {
    for (size_t i = readIndex; i < queue.size(); i++)
        if (!queue[i].isDone && queue[i].thread == thread) return &queue[i];
    return nullptr;
}

void CNotifyServer::CSender::cancel(const CAttrMap* arguments) {
    for (CDeferredCall& call : queue) call.isDone |= call.arguments == arguments;
    skipDone();
}

void CNotifyServer::CSender::cancel(const CObject* listener) {
    for (CDeferredCall& call : queue) call.isDone |= call.listener == listener;
    skipDone();
}

} // namespace lum
