#include "Core/CEventBridge.h"

#include "Core/CSystem.h"
#include "Core/CWorkerThreadPool.h"
#include "Platform/Lock.h"
#include "Platform/Thread.h"

namespace lum {

namespace {

platform::CSpinLock bridgesLock; // guards the next two and every bridge's messages under way
CSet<CUIEventBridge*> liveBridges;
intptr_t nextMessage = 0;

} // namespace

CUIEventBridge::CUIEventBridge(CObjectEventBridgeHandler& bridgeHandler)
    : handler(bridgeHandler), queue(platform::CMessageQueue::current()) {
    address = queue->attach(*this);
    platform::CSpinGuard guard(bridgesLock);
    liveBridges.insert(this);
}

CUIEventBridge::~CUIEventBridge() {
    {
        platform::CSpinGuard guard(bridgesLock);
        liveBridges.erase(this);
    }
    queue->detach(address);
    CPersistentThread::releaseIdle();
}

CErrorResult CUIEventBridge::postEvent(const CAttrMap& arguments) {
    CAttrMap copy(arguments);
    intptr_t number = 0;
    // From when the lock is open the bridge may go, so what is needed of it is taken along.
    std::shared_ptr<platform::CMessageQueue> target;
    uint64_t receiver = 0;
    {
        platform::CSpinGuard guard(bridgesLock);
        if (!liveBridges.count(this)) return nullptr;
        number = nextMessage++;
        underway.emplace(number, std::move(copy));
        target = queue;
        receiver = address;
    }
    CErrorResult error = system::sendEvent(*target, receiver, kBridgedEventMessage, number);
    if (error && !takeUnderway(number, copy)) return nullptr; // the bridge has gone
    LUM_TRY(std::move(error));
    return nullptr;
}

bool CUIEventBridge::takeUnderway(intptr_t number, CAttrMap& out) {
    platform::CSpinGuard guard(bridgesLock);
    if (!liveBridges.count(this)) return false;
    auto found = underway.find(number);
    if (found == underway.end()) return false;
    out = std::move(found->second);
    underway.erase(found);
    return true;
}

// The handler may end this bridge.
void CUIEventBridge::onMessage(uint32_t message, intptr_t value) {
    CAttrMap arguments;
    if (message == kBridgedEventMessage && takeUnderway(value, arguments))
        logAndDropError(handler.onBridgedEvent(arguments));
}

void CStdEventBridge::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CStdEventBridge::CStdEventBridge() : bridge(std::make_unique<CUIEventBridge>(*this)) {
    eventBridge = bridge.get();
    bridgeThread = platform::currentThreadId();
    hasNoBridge = false;
}

CStdEventBridge::~CStdEventBridge() = default;

CErrorResult CStdEventBridge::onBridgedEvent(CAttrMap& arguments) {
    CObject* listener = findObject(arguments["listener"].text());
    // Another id is a new object that has the old one's name.
    if (!listener || listener->getObjectId() != arguments["listener-id"].intOr(-1)) return nullptr;
    LUM_TRY(listener->runEvent(arguments["listener-proc"].text(), arguments));
    return nullptr;
}

} // namespace lum
