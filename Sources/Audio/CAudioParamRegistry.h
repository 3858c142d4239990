#pragma once

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamRegistryBase.h"
#include "Audio/CAudioPreset.h"
#include "Audio/CAudioRoutingInfoProvider.h"

namespace lum {

class CAudioParamHistory;
class CAudioParamUndo;
class CAudioParamUndoRecord;

/// What a registry announces: names or the current program have changed. Its key is null.
struct CRegistryUpdate : public CUpdateRecord {
    const void* originator = nullptr;
};

/// `audio:param-registry`: a view on a branch of the parameters together with its presets. It
/// decides which parameters belong to a preset, takes one from the live state and puts one back; a
/// master also has the factory bank and the session bank, whose presets are the programs.
///
/// Control threads. Lock order: presetLock, paramsLock, the undo lock, a parameter's guard, then
/// the leaves nameLock and pendingLock. The names of the programs stand beside the session bank
/// under a leaf of their own, because a change of the name parameter renames the program under that
/// parameter's guard; a preset of the bank takes its name from there when it leaves the bank.
/// The host is told nothing while presetLock is held: it may be waiting for it in another call.
class CAudioParamRegistry : public CObject, public CUpdateNotifier, public CAudioParamRegistryBase {
public:
    CAudioParamRegistry();
    ~CAudioParamRegistry() override;
    static void fillClass(CClassInfo& info);
    CErrorResult init() override;
    CErrorResult initDone() override;
    void prepareDestroy() override;

    // What the collector asks.
    CString getRegistryName() const override { return getFullName(); }
    const CString& getHierarchy() const override { return hierarchy; }
    bool isEnumerated() const override { return enumerated; }
    bool offerParam(CAudioParam& param) override;
    void onCollectorStarted() override;
    /// No product data selects presets by a parameter's value: such a registry holds its members.
    void onSelectingParamChanged(CAudioParam&, const CAudioParamChange&,
                                 const CChangeContext&) override {}

    // Presets of the live state.
    /// Reads a preset whole, checks it against the definitions, then activates it. On failure
    /// nothing has changed.
    CErrorResult activatePreset(CInputStream& stream, bool includePersistent, int group = -1);
    /// Replaces programs of the session bank; as safe as activatePreset.
    CErrorResult activateBank(CInputStream& stream, bool includePersistent);
    CErrorResult acquirePreset(bool fromRom, int index, int group, COutputStream& stream);
    CErrorResult acquireBank(bool fromRom, COutputStream& stream);
    void activateFactoryPreset(int index);
    /// Sets what a reset goes back to.
    CErrorResult setDefaultPreset(CInputStream& stream);
    /// Puts all storable members back to their reset values.
    void masterReset();

    // Programs.
    bool isMaster() const { return master; }
    const CString& getId() const { return id; }
    int getProgramCount() const;
    int getCurrentProgram() const { return currentProgram.load(std::memory_order_acquire); }
    void setCurrentProgram(int index, const void* originator);
    /// Names with their ids. `current` is -1 for the factory bank; a non-master has none.
    void getPresetNames(bool fromRom, CVector<CString>& names, int& current) const;
    /// Name of a program without its id part; false out of range.
    bool getProgramName(int index, CString& out) const;
    void renamePreset(int index, const CString& newName, const void* originator);

    // The other side of the A/B pair.
    void exchangeShadow();
    void updateShadow();

    /// Turns the name of the present preset to "User" if the parameter belongs to it.
    void turnNameToUser(CAudioParam& param, int group, CParamUndoRecord* undo);

    /// Null when the instance goes; an activation that is under way ends first.
    void setRoutingProvider(CAudioRoutingInfoProvider* provider);

private:
    class CNameListener;
    /// presetLock for a scope, and calls to the host held back until it is open again.
    class CPresetScope {
    public:
        explicit CPresetScope(const CAudioParamRegistry& owner)
            : held(*owner.collector), hold(owner.presetLock) {}

    private:
        CDeferredCallHold held;
        platform::CLockGuard hold;
    };
    struct CActivation {
        bool asReset = false;
        bool includePersistent = false;
        int group = -1;
        int element = -1;
    };

    CErrorResult readNames();
    CErrorResult initBanks();
    void readStoredDefault();
    void drainPending();
    bool belongsToPreset(const CAudioParamInfo& info, bool includePersistent) const;
    const CAudioParamInfo* findDefinition(const CString& paramName) const;
    CAudioParam* findMember(const CString& key);

    CErrorResult checkEntries(const CAudioPreset& preset);
    CErrorResult activateParams(const CAudioPreset& preset, const CActivation& how,
                                CChangeContext context);
    CErrorResult activateEntry(CAudioParam& param, const CByteBuffer& block, const CActivation& how,
                               const CChangeContext& context);
    void resetToDefinition(CAudioParam& param, const CActivation& how,
                           const CChangeContext& context);
    CErrorResult activatePresetObject(const CAudioPreset& preset, CParamUndoRecord* undo,
                                      bool includePersistent, int group);
    void capturePreset(CAudioPreset& preset, int group);
    CErrorResult captureEntry(CAudioPreset& preset, const CString& key, CAudioParam& param,
                              int group);
    void spreadPersistent(const CAudioPreset& current);

    CString activationName(int group) const;
    CString fullNameOf(const CString& text) const;
    CString programName(int index) const;
    CAudioPreset& namedProgram(int index);
    void setProgramName(int index, const CString& presetName);
    void setNameParam(const CString& presetName, int group, CParamUndoRecord* undo,
                      const void* originator);
    void announce(const void* originator);
    void onNameParamChanged(const CString& text, const void* originator);

    CString hierarchy; // with "." at its end
    CVector<std::pair<CString, CString>, 2> definitionRemaps;
    bool master = false;
    bool enumerated = false;
    bool globalStorable = false;
    CString id;
    CString presetNaming;
    CAudioParamCollector* collector = nullptr;
    CAudioParamUndo* undoObject = nullptr;
    CAudioParam* nameParam = nullptr;
    CAudioParam* groupNamesParam = nullptr;
    std::unique_ptr<CNameListener> nameListener;

    mutable platform::CLock presetLock; // session bank, shadow
    CAudioPresetBank romBank;
    CAudioPresetBank sessionBank;
    std::atomic<int> currentProgram{0};
    CVector<std::unique_ptr<CAudioParamHistory>> programUndo; // parallel to sessionBank
    std::unique_ptr<CAudioPreset> shadowPreset;
    std::unique_ptr<CAudioParamHistory> shadowUndo;
    bool hasStoredDefault = false;

    mutable platform::CLock paramsLock;
    CMap<CString, CAudioParam*> params; // by name without the hierarchy
    platform::CSpinLock pendingLock;
    CVector<CAudioParam*> pendingParams;
    mutable platform::CSpinLock nameLock;
    CVector<CString> programNames;                        // with ids; under nameLock
    CAudioRoutingInfoProvider* routingProvider = nullptr; // under paramsLock
};

} // namespace lum
