#pragma once

#include "Core/CObject.h"
#include "Platform/MessageQueue.h"

namespace lum {

/// Carries an event to the thread on which an object lives.
class CObjectEventBridge : public virtual CCheckedObject, public CLumMemAllocator {
public:
    virtual CErrorResult postEvent(const CAttrMap& arguments) = 0; // any thread
};

class CObjectEventBridgeHandler : public virtual CCheckedObject {
public:
    virtual CErrorResult onBridgedEvent(CAttrMap& arguments) = 0;
};

constexpr uint32_t kBridgedEventMessage = 5120;

/// The bridge over the message queue of the thread that made it. Posting copies the arguments and
/// sends their number; the owner's thread takes them out by it. Made and ended on that thread,
/// posted to from any.
class CUIEventBridge : public CObjectEventBridge, private platform::CMessageReceiver {
public:
    explicit CUIEventBridge(CObjectEventBridgeHandler& bridgeHandler);
    ~CUIEventBridge() override;
    CErrorResult postEvent(const CAttrMap& arguments) override;

private:
    void onMessage(uint32_t message, intptr_t value) override;
    bool takeUnderway(intptr_t number, CAttrMap& out);
    CObjectEventBridgeHandler& handler;
    std::shared_ptr<platform::CMessageQueue> queue;
    uint64_t address = 0;
    CMap<intptr_t, CAttrMap> underway; // under the lock of live bridges
};

/// `ui:ui-event-bridge`: the objects below it live on the thread that created it.
class CStdEventBridge : public CObject, public CObjectEventBridgeHandler {
public:
    CStdEventBridge();
    ~CStdEventBridge() override;
    static void fillClass(CClassInfo& info);
    CErrorResult onBridgedEvent(CAttrMap& arguments) override;

private:
    std::unique_ptr<CUIEventBridge> bridge;
};

} // namespace lum
