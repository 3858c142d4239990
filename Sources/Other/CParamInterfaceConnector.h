#pragma once

#include "Core/CByteBuffer.h"
#include "Core/CObject.h"
#include "Platform/Lock.h"

#include <atomic>

namespace lum {

constexpr int kAllClients = -1;

/// One side of the parameter interface: takes the bytes that the other side sent.
class CParamMessageReceiver : public virtual CCheckedObject {
public:
    /// Runs the event that the message names. Takes the receiver's own lock.
    virtual CErrorResult receiveMessage(const CByteBuffer& message) = 0;
    /// A client has gone: its listeners go too.
    virtual void onClientGone(int) {}
};

/// The engine's end of the road between engine and clients. Only bytes pass, so that the two could
/// live in different processes.
class CParamInterfaceBaseConnector : public CObject {
public:
    static void fillClass(CClassInfo& info) { CObject::fillClass(info); }
    void setBase(CParamMessageReceiver* receiver);
    /// Puts a message on the way to one client, or all. Any thread but the audio thread; a short
    /// spin lock, and nothing runs on the client's side now.
    virtual void sendToClient(int clientId, const CByteBuffer& message) = 0;

protected:
    platform::CLock handlingLock; // outside the receiver's own lock
    CParamMessageReceiver* base = nullptr;
};

/// `other:param-interface-base-connector-uni`: for clients of the same process.
class CParamInterfaceBaseConnectorUni : public CParamInterfaceBaseConnector {
public:
    static void fillClass(CClassInfo& info) { CParamInterfaceBaseConnector::fillClass(info); }
    void sendToClient(int clientId, const CByteBuffer& message) override;

    /// Client ids are 1 and up.
    int registerClient();
    /// Drops the client's queue and its listeners.
    void unregisterClient(int clientId);
    /// Hands a client's message to the base, on the calling thread.
    CErrorResult processClientData(const CByteBuffer& message);
    /// Takes the next message for a client; false when there is none.
    bool takeMessage(int clientId, CByteBuffer& out);

private:
    struct CQueue {
        CVector<CByteBuffer, 1> messages;
        size_t readIndex = 0;
    };
    platform::CSpinLock queueLock;
    CMap<int, CQueue> queues; // under queueLock
    int lastClientId = 0;     // under queueLock
};

/// A client's end of the road. Interface thread.
class CParamInterfaceClientConnector : public CObject {
public:
    static void fillClass(CClassInfo& info) { CObject::fillClass(info); }
    void setClient(CParamMessageReceiver* receiver) { client = receiver; }
    int getClientId() const { return clientId; }
    virtual CErrorResult sendToBase(const CByteBuffer& message) = 0;
    /// Takes what the base has sent; the client's handlers run before this returns, or by the
    /// event bridge.
    virtual CErrorResult drain() = 0;

protected:
    CParamMessageReceiver* client = nullptr;
    int clientId = 0;
};

/// `other:param-interface-client-connector-uni`.
class CParamInterfaceClientConnectorUni : public CParamInterfaceClientConnector {
public:
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;
    void prepareDestroy() override;
    CErrorResult sendToBase(const CByteBuffer& message) override;
    CErrorResult drain() override;

    CErrorResult attrFps(const CAttrEntry& value);
    /// Handler of the connector's own event `process-base-data-proxy`.
    CErrorResult processBaseData();

private:
    CParamInterfaceBaseConnectorUni* baseConnector = nullptr;
    CObject* timer = nullptr;
    platform::CLock handlingLock;
    platform::CSpinLock pendingLock;
    CVector<CByteBuffer, 1> pending; // under pendingLock
};

} // namespace lum
