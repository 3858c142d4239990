#include "Core/CEventBridge.h"
#include "Core/CLog.h"
#include "Core/CNotifyServer.h"

// Events of an object: its own handlers, what it listens to, and what it announces.

namespace lum {

CErrorResult CObject::runEvent(const CString& event) {
    CAttrMap arguments;
    return runEvent(event, arguments);
}

CErrorResult CObject::runEvent(const CString& event, CAttrMap& arguments) {
    const auto& events = classTable().events;
    auto found = events.find(event);
    if (found == events.end())
        return LUM_FAIL("@lumstr_CObject_runEvent_UnknownEvent Unknown event '%1'.", event);
    LUM_TRY(found->second.call(*this, arguments));
    return nullptr;
}

void CObject::listenObject(const CString& senderPath, const CString& event,
                           const CString& handler) {
    const auto& events = classTable().events;
    auto found = events.find(handler);
    if (found == events.end()) {
        logFormat("Event handler '%s' not found in listenObject().", handler.toUtf8().c_str());
        return;
    }
    const CString senderName = getListenName(senderPath);
    listenings[senderName][event] = handler;
    if (notifyServer) notifyServer->listen(*this, senderName, event, found->second, handler);
}

void CObject::unlistenObject(const CString& senderPath, const CString& event) {
    unlistenName(getListenName(senderPath), event);
}

CString CObject::getListenName(const CString& senderPath) const {
    const CString name = getFullPath(senderPath);
    return name.startsWith(".") ? name.substring(1) : name;
}

void CObject::unlistenName(const CString& senderName, const CString& event) {
    auto found = listenings.find(senderName);
    if (found == listenings.end() || found->second.erase(event) == 0) return;
    if (found->second.empty()) listenings.erase(found);
    if (notifyServer) notifyServer->unlisten(*this, senderName, event);
}

void CObject::dropListenings() {
    if (notifyServer)
        for (const auto& [senderName, names] : listenings)
            for (const auto& [event, handler] : names)
                notifyServer->unlisten(*this, senderName, event);
    listenings.clear();
}

CErrorResult CObject::fireEvent(const CString& event, bool forceBridge) {
    CAttrMap arguments;
    return fireEvent(event, arguments, forceBridge);
}

CErrorResult CObject::fireEvent(const CString& event, CAttrMap& arguments, bool forceBridge) {
    if (!notifyServer) return nullptr;
    LUM_TRY(notifyServer->fire(getFullName(), event, arguments, forceBridge));
    return nullptr;
}

CObjectEventBridge* CObject::findBridge(uint64_t& threadId) const {
    const CObject* object = this;
    while (object && object->hasNoBridge) object = object->parent;
    threadId = object ? object->bridgeThread : 0;
    return object ? object->eventBridge : nullptr;
}

void CObject::addressBridged(CAttrMap& arguments, const CString& handlerName) const {
    arguments["listener"] = CAttrEntry::ofText(getFullName());
    arguments["listener-id"] = CAttrEntry::ofInt(objectId);
    arguments["listener-proc"] = CAttrEntry::ofText(handlerName);
}

void CObject::postOwnEvent(const CString& senderText, const CString& event, CAttrMap arguments) {
    uint64_t threadId = 0;
    CObjectEventBridge* bridge = findBridge(threadId);
    if (!bridge) return;
    arguments["sender"] = CAttrEntry::ofText(senderText);
    addressBridged(arguments, event);
    logAndDropError(bridge->postEvent(arguments));
}

void CObject::releaseBridged() {
    if (parent) parent->postOwnEvent(getFullName(), "release-child-bridged");
}

CErrorResult CObject::releaseChildBridged(CAttrMap& arguments) {
    destroyObject(findObject(arguments["sender"].text()));
    return nullptr;
}

} // namespace lum
