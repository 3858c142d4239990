#include "Audio/CAudioParamRegistry.h"

#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioParamUndo.h"
#include "Core/CAppData.h"
#include "Core/CMemoryReader.h"

#include <algorithm>

namespace lum {
namespace {

constexpr const char* kInstanceName = "plugin.modMain.instance-name";
constexpr const char* kDefaultPresetRecord = "default-preset";
constexpr int kLongestName = 4096; // characters of a preset's name

} // namespace

/// Follows the parameter that shows the preset's name: typing there renames the program.
class CAudioParamRegistry::CNameListener : public COwnedUpdateListener<CAudioParamRegistry>,
                                           public CLumMemAllocator {
public:
    using COwnedUpdateListener::COwnedUpdateListener;
    ~CNameListener() override { attach(nullptr, nullptr); }
    void onUpdate(const CUpdateRecord* record) override {
        const auto& update = *static_cast<const CAudioParamUpdate*>(record);
        if (update.originator == owner || update.change->group != 0) return;
        owner->onNameParamChanged(update.param->getValues().readString(0, 0), update.originator);
    }
};

CAudioParamRegistry::CAudioParamRegistry() = default;
CAudioParamRegistry::~CAudioParamRegistry() = default;

void CAudioParamRegistry::fillClass(CClassInfo& info) {
    CObject::fillClass(info);
}

CErrorResult CAudioParamRegistry::init() {
    LUM_TRY(CObject::init());
    LUM_TRY(readNames());
    LUM_TRY(findObjectByAttr(collector, "param-collector"));
    if (!getAttrString("param-undo").empty()) LUM_TRY(findObjectByAttr(undoObject, "param-undo"));
    const CString nameParamName = getAttrString("preset-name-param");
    if (!nameParamName.empty()) nameParam = &collector->getParam(nameParamName);
    const CString groupNames = getAttrString("group-names-param");
    if (!groupNames.empty()) groupNamesParam = &collector->getParam(groupNames);
    if (nameParam) {
        nameListener = std::make_unique<CNameListener>(*this);
        nameListener->attach(collector, nameParam);
    }
    if (master) LUM_TRY(initBanks());
    return nullptr;
}

CErrorResult CAudioParamRegistry::readNames() {
    hierarchy = getAttrString("hierarchy") + ".";
    master = getAttrBool("is-master");
    enumerated = getAttrBool("is-enumerated");
    globalStorable = getAttrBool("is-global-param-storable");
    id = getAttrString("id");
    presetNaming = getAttrString("preset-naming");
    CVector<CString> pairs;
    getAttrString("def-name-remap").split(pairs, u' ', true);
    for (const CString& pair : pairs) {
        CVector<CString> sides;
        pair.split(sides, u'=', false);
        if (sides.size() != 2)
            return LUM_FAIL(
                "@lumstr_CAudioParamRegistry_init_InvalidRemap Invalid remapping string "
                "'%1' defined.",
                pair);
        definitionRemaps.push_back({sides[0], sides[1]});
    }
    return nullptr;
}

CErrorResult CAudioParamRegistry::initBanks() {
    const CString file = getAttrString("file");
    if (!file.empty()) {
        CErrorResult error = romBank.loadFromFile(file);
        if (error) {
            logAndDropError(std::move(error));
            romBank = CAudioPresetBank();
        }
        sessionBank = romBank;
    }
    romBank.name = "Factory ROM";
    sessionBank.name = "Session Bank";
    if (sessionBank.presets.empty()) sessionBank.presets.emplace_back().name = id + ":Default";
    programUndo.resize(sessionBank.presets.size());
    readStoredDefault();
    for (const CAudioPreset& preset : sessionBank.presets) programNames.push_back(preset.name);
    return nullptr;
}

void CAudioParamRegistry::readStoredDefault() {
    CByteBuffer bytes;
    CAppDataLocal::get().read(kDefaultPresetRecord, bytes, kPresetBlock);
    if (bytes.empty()) return;
    CMemoryReader reader(bytes);
    CAudioPreset preset;
    CErrorResult error = preset.load(reader);
    if (!error) error = checkEntries(preset);
    if (error) return logAndDropError(std::move(error));
    sessionBank.presets[0] = std::move(preset);
    hasStoredDefault = true;
}

CErrorResult CAudioParamRegistry::initDone() {
    LUM_TRY(CObject::initDone());
    collector->addRegistry(*this);
    return nullptr;
}

void CAudioParamRegistry::prepareDestroy() {
    nameListener.reset();
    if (collector) {
        collector->removeRegistry(*this);
        collector->forEachParam(
            [this](CAudioParam& param) { param.removePresetNameRegistry(*this); });
    }
    CObject::prepareDestroy();
}

bool CAudioParamRegistry::offerParam(CAudioParam& param) {
    const CString& name = param.getName();
    if (name.length() < hierarchy.length()) return false;
    if (!(name.substring(0, static_cast<int>(hierarchy.length())) == hierarchy)) return false;
    if (nameParam && !master && !enumerated && &param != nameParam)
        param.addPresetNameRegistry(*this);
    platform::CSpinGuard hold(pendingLock);
    pendingParams.push_back(&param);
    return true;
}

void CAudioParamRegistry::drainPending() {
    CVector<CAudioParam*> taken;
    {
        platform::CSpinGuard hold(pendingLock);
        taken = std::move(pendingParams);
        pendingParams.clear();
    }
    for (CAudioParam* param : taken) params[param->getName().substring(hierarchy.length())] = param;
}

bool CAudioParamRegistry::belongsToPreset(const CAudioParamInfo& info,
                                          bool includePersistent) const {
    if (info.isStorable) return true;
    if (includePersistent && info.isPersistent) return true;
    return globalStorable && info.isGlobal;
}

const CAudioParamInfo* CAudioParamRegistry::findDefinition(const CString& paramName) const {
    const CObject* shared = CObject::sharedRoot();
    if (!shared) return nullptr;
    for (const auto& [from, to] : definitionRemaps) {
        if (!(paramName.substring(0, static_cast<int>(from.length())) == from)) continue;
        const CString path = to + paramName.substring(from.length());
        const auto* definition = shared->findAs<CAudioParamDef>(path);
        // A path may lead to an object in many spellings; only one is the parameter's name.
        if (definition && definition->getInfo().fullName == path) return &definition->getInfo();
    }
    return nullptr;
}

CAudioParam* CAudioParamRegistry::findMember(const CString& key) {
    auto found = params.find(key);
    if (found == params.end()) {
        // A name that nothing declares would stay unbound for ever, and a stream can bring many.
        if (!findDefinition(hierarchy + key)) return nullptr;
        collector->getParam(hierarchy + key); // made now, and offered to this registry
        drainPending();
        found = params.find(key);
    }
    return found == params.end() ? nullptr : found->second;
}

void CAudioParamRegistry::onCollectorStarted() {
    if (!master) return;
    const CPresetScope scope(*this);
    const CAudioPreset first = namedProgram(0);
    logAndDropError(activatePresetObject(first, nullptr, true, -1));
    CActivation asReset;
    asReset.asReset = true;
    asReset.includePersistent = true;
    logAndDropError(activateParams(first, asReset, {}));
    if (!hasStoredDefault) collector->getParam(kInstanceName).reset(0, 0, {});
}

int CAudioParamRegistry::getProgramCount() const {
    if (!master) return 0;
    return romBank.presets.empty() ? 1 : romBank.presets.ssize();
}

void CAudioParamRegistry::setCurrentProgram(int index, const void* originator) {
    const CPresetScope scope(*this);
    const int old = currentProgram;
    if (!master || index < 0 || index >= sessionBank.presets.ssize() || index == old) return;
    capturePreset(sessionBank.presets[old], -1);
    if (undoObject) undoObject->exchangeHistory(programUndo[old], std::move(programUndo[index]));
    currentProgram = index;
    const CAudioPreset preset = namedProgram(index);
    CActivation how;
    logAndDropError(activateParams(preset, how, {}));
    setNameParam(preset.name, 0, nullptr, originator);
    announce(originator);
}

void CAudioParamRegistry::getPresetNames(bool fromRom, CVector<CString>& names,
                                         int& current) const {
    names.clear();
    current = -1;
    if (!master) return;
    if (fromRom) {
        for (const CAudioPreset& preset : romBank.presets) names.push_back(preset.name);
        return;
    }
    platform::CSpinGuard hold(nameLock);
    names.append(programNames);
    current = currentProgram;
}

bool CAudioParamRegistry::getProgramName(int index, CString& out) const {
    platform::CSpinGuard hold(nameLock);
    if (index < 0 || index >= programNames.ssize()) return false;
    out = CAudioPreset::nameOf(programNames[index]);
    return true;
}

/// A name with this registry's id, no longer than a stream of any kind takes it.
CString CAudioParamRegistry::fullNameOf(const CString& text) const {
    return id + ":" + text.substring(0, kLongestName);
}

CString CAudioParamRegistry::programName(int index) const {
    platform::CSpinGuard hold(nameLock);
    return programNames[index];
}

void CAudioParamRegistry::setProgramName(int index, const CString& presetName) {
    platform::CSpinGuard hold(nameLock);
    programNames[index] = presetName;
}

/// A program as it leaves the session bank. Under presetLock.
CAudioPreset& CAudioParamRegistry::namedProgram(int index) {
    CAudioPreset& preset = sessionBank.presets[index];
    preset.name = programName(index);
    return preset;
}

void CAudioParamRegistry::renamePreset(int index, const CString& newName, const void* originator) {
    const CPresetScope scope(*this);
    if (!master || index < 0 || index >= sessionBank.presets.ssize()) return;
    const CString presetName = fullNameOf(newName);
    setProgramName(index, presetName);
    announce(originator);
    if (index != currentProgram || !nameParam) return;
    auto record = std::make_unique<CAudioParamUndoRecord>("Program name change", false, -1);
    setNameParam(presetName, 0, record.get(), this);
    if (undoObject) undoObject->add(std::move(record));
}

void CAudioParamRegistry::setNameParam(const CString& presetName, int group, CParamUndoRecord* undo,
                                       const void* originator) {
    if (!nameParam) return;
    CChangeContext context;
    context.undo = undo;
    nameParam->setString(group, 0, CAudioPreset::nameOf(presetName), originator, nullptr, context);
}

void CAudioParamRegistry::setRoutingProvider(CAudioRoutingInfoProvider* provider) {
    platform::CLockGuard hold(paramsLock);
    routingProvider = provider;
}

void CAudioParamRegistry::announce(const void* originator) {
    CRegistryUpdate update;
    update.originator = originator;
    notify(&update);
}

void CAudioParamRegistry::onNameParamChanged(const CString& text, const void* originator) {
    if (!master) return;
    const CString presetName = fullNameOf(text);
    const int index = currentProgram;
    if (programName(index) == presetName) return;
    setProgramName(index, presetName);
    announce(originator);
}

void CAudioParamRegistry::turnNameToUser(CAudioParam& param, int group, CParamUndoRecord* undo) {
    if (!nameParam || !param.isBound() || !belongsToPreset(*param.getInfo(), false)) return;
    if (nameParam->getString(group, 0) == "User") return;
    setNameParam(":User", group, undo, this);
}

void CAudioParamRegistry::exchangeShadow() {
    const CPresetScope scope(*this);
    if (!shadowPreset) updateShadow();
    auto live = std::make_unique<CAudioPreset>();
    capturePreset(*live, -1);
    logAndDropError(activatePresetObject(*shadowPreset, nullptr, false, -1));
    if (undoObject) {
        std::unique_ptr<CAudioParamHistory> liveUndo;
        undoObject->exchangeHistory(liveUndo, std::move(shadowUndo));
        shadowUndo = std::move(liveUndo);
    }
    shadowPreset = std::move(live);
}

void CAudioParamRegistry::updateShadow() {
    const CPresetScope scope(*this);
    if (!shadowPreset) shadowPreset = std::make_unique<CAudioPreset>();
    capturePreset(*shadowPreset, -1);
    shadowUndo = undoObject ? undoObject->copyHistory() : nullptr;
}

} // namespace lum
