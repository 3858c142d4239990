#pragma once

#include "Audio/CAudioParamInfo.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CParamMessage.h"

namespace lum {

/// Follows one parameter from a client. Interface thread.
class CParamInterfaceParamListener : public virtual CCheckedObject {
public:
    /// The definition is known or has changed; null: not bound yet.
    virtual void onInfo(const CAudioParamInfo* info) = 0;
    virtual void onChange(const CAudioParamChange& change) = 0;
};

/// Follows one registry from a client. Interface thread.
class CParamInterfaceRegistryListener : public virtual CCheckedObject {
public:
    /// names: with their ids. current: -1 for none.
    virtual void update(bool isRom, const CString& registryId, const CVector<CString>& names,
                        int current) = 0;
    virtual void onPreset(int32_t requestId, CAudioPreset& preset) = 0;
    virtual void onBank(int32_t requestId, CAudioPresetBank& bank) = 0;
};

/// A client's side of the parameter interface: the engine's operations as functions, and listeners
/// for what it answers. Interface thread. Ids are the client id in the upper 16 bits and a counter.
class CParamInterfaceClient : public CObject, public CParamMessageReader {
public:
    static constexpr int32_t kNoUndo = -1;

    CParamInterfaceClient() : CParamMessageReader(static_cast<CObject&>(*this)) {}
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;
    CParamInterfaceClientConnector* getConnector() const { return connector; }

    // Listening; the result is the id for the operations below.
    CErrorResult listenParam(int32_t& id, const CString& paramName,
                             CParamInterfaceParamListener& listener);
    CErrorResult unlistenParam(int32_t id);
    CErrorResult listenRegistry(int32_t& id, const CString& registryName,
                                CParamInterfaceRegistryListener& listener);
    CErrorResult unlistenRegistry(int32_t id);

    // Values and undo.
    CErrorResult changeParam(int32_t id, int32_t undoId, const CAudioParamChange& change);
    CErrorResult resetParam(int32_t id, int group, int element, int32_t undoId,
                            bool isSingleSource);
    CErrorResult createUndoData(int32_t& undoId, const CString& name, bool isMergeable,
                                int32_t mergeKey);
    CErrorResult removeUndoData(int32_t undoId);
    CErrorResult submitUndoData(int32_t undoId, const CString& name);
    CErrorResult requestUndoHistory();
    CErrorResult setUndoHistoryPos(int position);

    // Registries, by listen id.
    CErrorResult setCurrentProgram(int32_t id, int index);
    CErrorResult renamePreset(int32_t id, int index, const CString& name);
    CErrorResult activateFactoryPreset(int32_t id, int index);
    CErrorResult activatePreset(int32_t id, int group, const CAudioPreset& preset);
    CErrorResult requestPreset(int32_t id, int32_t requestId, bool isRom, int index, int group);
    CErrorResult requestBank(int32_t id, int32_t requestId, bool isRom);
    CErrorResult setDefaultPreset(int32_t id, const CAudioPreset& preset);
    CErrorResult activateDefaultPreset(int32_t id);
    CErrorResult exchangeShadowPreset(int32_t id);
    CErrorResult updateShadowPreset(int32_t id);

    const CVector<CString>& getHistoryNames() const { return historyNames; }
    int getHistoryPosition() const { return historyPosition; }

    // Handlers of the engine's messages.
    CErrorResult onUpdateUndoHistory();
    CErrorResult onUpdateParamInfo();
    CErrorResult onUpdateParam();
    CErrorResult onUpdateRegistry();
    CErrorResult onRegistryData();

protected:
    CErrorResult send(const CParamMessage& message) {
        return connector->sendToBase(message.bytes());
    }
    template <class... T>
    CErrorResult send(const char* event, const T&... arguments) {
        CParamMessage message(event);
        (message.add(arguments), ...);
        return send(message);
    }
    int32_t makeId(int32_t& counter) const;

private:
    CErrorResult readNames(CVector<CString>& out);
    void tellChange(int32_t id, const CAudioParamChange& change);

    CParamInterfaceClientConnector* connector = nullptr;
    CMap<int32_t, CParamInterfaceParamListener*> paramListeners;
    CMap<int32_t, CParamInterfaceRegistryListener*> registryListeners;
    int32_t paramCounter = 0;
    int32_t registryCounter = 0;
    int32_t undoCounter = 0;
    CVector<CString> historyNames;
    int historyPosition = 0;
};

} // namespace lum
