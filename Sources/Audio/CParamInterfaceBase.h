#pragma once

#include "Audio/CAudioParamUndo.h"
#include "Audio/CParamMessage.h"

namespace lum {

class CAudioParamRegistry;

/// The engine's side of the parameter interface: serves any number of clients by messages, and is
/// the undo history. Messages run on the client's thread, under the connector's lock and then this
/// object's; the notifications of parameters come on whatever control thread changed them and only
/// put bytes in a queue.
class CParamInterfaceBase : public CAudioParamUndo, public CParamMessageReader {
public:
    CParamInterfaceBase();
    ~CParamInterfaceBase() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    void prepareDestroy() override;

    void onClientGone(int clientId) override;
    /// Cuts the clients off: a message that is being run ends first, later ones fail. When the
    /// instance goes, before anything that a handler might touch.
    void disconnect();

    // Handlers of the clients' messages; they read their arguments from the message.
    CErrorResult onListenParam();
    CErrorResult onUnlistenParam();
    CErrorResult onChangeParam();
    CErrorResult onResetParam();
    CErrorResult onCreateUndoData();
    CErrorResult onRemoveUndoData();
    CErrorResult onSubmitUndoData();
    CErrorResult onRequestUndoHistory();
    CErrorResult onSetUndoHistoryPos();
    CErrorResult onListenRegistry();
    CErrorResult onUnlistenRegistry();
    CErrorResult onSetCurrentProgram();
    CErrorResult onRenamePreset();
    CErrorResult onActivateFactoryPreset();
    CErrorResult onActivatePreset();
    CErrorResult onRequestPreset();
    CErrorResult onRequestBank();
    CErrorResult onSetDefaultPreset();
    CErrorResult onActivateDefaultPreset();
    CErrorResult onExchangeShadowPreset();
    CErrorResult onUpdateShadowPreset();

protected:
    /// A client takes hold of an element, or lets go of it.
    virtual void editBegin(CAudioParam&, int /*group*/, int /*element*/) {}
    virtual void editEnd(CAudioParam&, int /*group*/, int /*element*/) {}

    void onHistoryChanged() override;
    void send(int clientId, const CParamMessage& message);
    /// The client that an id belongs to: its upper 16 bits.
    static int clientOf(int32_t id) { return static_cast<int>(static_cast<uint32_t>(id) >> 16); }

private:
    class CParamListener;
    class CRegistryListener;
    /// What a list of the user's shows: names, and which of them is current.
    struct CNameList {
        CVector<CString> names;
        int current = -1;
        bool becomes(CNameList other);
    };

    CNameList readHistory();
    static CNameList readRegistryNames(const CAudioParamRegistry& registry, bool isRom);
    void sendHistory(int clientId);
    void sendWholeParam(int32_t id, CAudioParam& param);
    void sendParamInfo(int32_t id, CAudioParam& param, const CAudioParamChange& change);
    void sendRegistry(int32_t id, CAudioParamRegistry& registry, bool isRom);
    CAudioParamUndoRecord* findRecord(int32_t undoId);
    CAudioParamRegistry* findRegistry(int32_t id) const;
    template <class... T>
    CErrorResult readRegistry(CAudioParamRegistry*& out, T&... more);
    void beginEdits(CAudioParam& param, const CAudioParamChange& change,
                    CAudioParamUndoRecord& record);
    void endEdits(CAudioParamUndoRecord& record);
    bool isTouched(CAudioParam& param, int32_t key) const;
    static void turnNamesToUser(CAudioParam& param, int group, CParamUndoRecord* undo);

    CParamInterfaceBaseConnector* connector = nullptr;
    CMap<int32_t, std::unique_ptr<CParamListener>> paramListeners;
    CMap<int32_t, std::unique_ptr<CRegistryListener>> registryListeners;
    CMap<int32_t, std::unique_ptr<CAudioParamUndoRecord>> openRecords; // by undo id
};

} // namespace lum
