#include "Audio/CAudioParamRegistry.h"

#include "Audio/CAudioParamUndo.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"

#include <algorithm>
#include <optional>

// What takes presets from the live state and puts them back.
namespace lum {

CErrorResult CAudioParamRegistry::activatePreset(CInputStream& stream, bool includePersistent,
                                                 int group) {
    CAudioPreset preset;
    LUM_TRY(preset.load(stream));
    if (!(CAudioPreset::idOf(preset.name) == id))
        return LUM_FAIL("@lumstr_CAudioParamRegistry_activatePreset Incompatible preset.");
    const CPresetScope scope(*this);
    LUM_TRY(checkEntries(preset));
    if (!undoObject) {
        LUM_TRY(activatePresetObject(preset, nullptr, includePersistent, group));
        return nullptr;
    }
    auto record = std::make_unique<CAudioParamUndoRecord>(activationName(group), false, -1);
    CErrorResult error = activatePresetObject(preset, record.get(), includePersistent, group);
    undoObject->add(std::move(record));
    LUM_TRY(std::move(error));
    return nullptr;
}

CErrorResult CAudioParamRegistry::activateBank(CInputStream& stream, bool includePersistent) {
    CAudioPresetBank bank;
    LUM_TRY(bank.load(stream));
    const CPresetScope scope(*this);
    const int count = std::min(bank.presets.ssize(), sessionBank.presets.ssize());
    for (int i = 0; i < count; i++)
        if (!(CAudioPreset::idOf(bank.presets[i].name) == id))
            return LUM_FAIL("@lumstr_CAudioParamRegistry_activateBank Incompatible bank.");
    for (int i = 0; i < count; i++) LUM_TRY(checkEntries(bank.presets[i]));
    for (int i = 0; i < count; i++) {
        setProgramName(i, bank.presets[i].name);
        std::swap(sessionBank.presets[i], bank.presets[i]);
        programUndo[i].reset();
    }
    const int current = currentProgram;
    if (current < count) {
        if (undoObject) undoObject->clear(true);
        const CAudioPreset preset = namedProgram(current);
        LUM_TRY(activatePresetObject(preset, nullptr, includePersistent, -1));
    } else {
        announce(nullptr);
    }
    return nullptr;
}

CErrorResult CAudioParamRegistry::acquirePreset(bool fromRom, int index, int group,
                                                COutputStream& stream) {
    const CPresetScope scope(*this);
    if (!master) {
        CAudioPreset preset;
        capturePreset(preset, group);
        LUM_TRY(preset.save(stream));
        return nullptr;
    }
    if (!fromRom && index == -1) index = currentProgram;
    const CAudioPresetBank& bank = fromRom ? romBank : sessionBank;
    if (index < 0 || index >= bank.presets.ssize())
        return LUM_FAIL(
            "@lumstr_CAudioParamRegistry_acquirePreset Invalid preset index %1 specified.", index);
    if (!fromRom && index == currentProgram) capturePreset(sessionBank.presets[index], -1);
    LUM_TRY((fromRom ? romBank.presets[index] : namedProgram(index)).save(stream));
    return nullptr;
}

CErrorResult CAudioParamRegistry::acquireBank(bool fromRom, COutputStream& stream) {
    if (!master)
        return LUM_FAIL("@lumstr_CAudioParamRegistry_acquireBank Acquiring bank in a non-master "
                        "registry is an error.");
    const CPresetScope scope(*this);
    if (!fromRom) {
        CAudioPreset& current = sessionBank.presets[currentProgram.load()];
        capturePreset(current, -1);
        spreadPersistent(current);
        for (int i = 0; i < sessionBank.presets.ssize(); i++) namedProgram(i);
    }
    LUM_TRY((fromRom ? romBank : sessionBank).save(stream));
    return nullptr;
}

/// Persistent parameters have one value in all programs of a saved bank.
void CAudioParamRegistry::spreadPersistent(const CAudioPreset& current) {
    platform::CLockGuard hold(paramsLock);
    for (const auto& [key, param] : params) {
        if (!param->isBound() || !param->getInfo()->isPersistent) continue;
        const CByteBuffer* block = current.findEntry(key);
        if (!block) continue;
        for (CAudioPreset& preset : sessionBank.presets)
            if (&preset != &current) preset.setEntry(key, *block);
    }
}

void CAudioParamRegistry::activateFactoryPreset(int index) {
    const CPresetScope scope(*this);
    if (!master || index < 0 || index >= romBank.presets.ssize()) return;
    auto record = std::make_unique<CAudioParamUndoRecord>("ROM preset activate", false, -1);
    logAndDropError(activatePresetObject(romBank.presets[index], record.get(), false, -1));
    if (undoObject) undoObject->add(std::move(record));
}

CErrorResult CAudioParamRegistry::setDefaultPreset(CInputStream& stream) {
    CAudioPreset preset;
    LUM_TRY(preset.load(stream));
    LUM_TRY(checkEntries(preset));
    CActivation how;
    how.asReset = true;
    LUM_TRY(activateParams(preset, how, {}));
    return nullptr;
}

void CAudioParamRegistry::masterReset() {
    if (!master) return;
    const CPresetScope scope(*this);
    auto record = std::make_unique<CAudioParamUndoRecord>("Master reset", false, -1);
    {
        CAudioParamBatch batch(*collector);
        CChangeContext context;
        context.undo = record.get();
        context.batch = &batch;
        platform::CLockGuard holdParams(paramsLock);
        drainPending();
        for (const auto& [key, param] : params)
            if (param->isBound() && param->getInfo()->isStorable) param->reset(-1, -1, context);
        if (nameParam && nameParam->isBound()) nameParam->reset(-1, -1, context);
        if (routingProvider) routingProvider->applyRouting(record.get(), &batch);
    }
    if (undoObject) undoObject->add(std::move(record));
}

/// Reads every entry as its parameter would, before the first one is touched: versions, element
/// sizes, data types and counts. Entries that nothing declares, or that no preset of this registry
/// may set, are skipped here as later.
CErrorResult CAudioParamRegistry::checkEntries(const CAudioPreset& preset) {
    platform::CLockGuard hold(paramsLock);
    drainPending();
    for (const auto& [key, block] : preset.entries) {
        const auto live = params.find(key);
        const CAudioParamInfo* info = live == params.end() ? nullptr : live->second->getInfo();
        if (!info) info = findDefinition(hierarchy + key);
        if (!info || !belongsToPreset(*info, true)) continue;
        CMemoryReader reader(block);
        CString blockName;
        LUM_TRY(reader.readString(blockName));
        CAudioParamStorage storage;
        storage.setFormat(info->format);
        LUM_TRY(storage.load(reader));
    }
    return nullptr;
}

CErrorResult CAudioParamRegistry::activateParams(const CAudioPreset& preset, const CActivation& how,
                                                 CChangeContext context) {
    std::optional<CAudioParamBatch> ownBatch;
    if (!context.batch && !context.isImmediate) context.batch = &ownBatch.emplace(*collector);
    platform::CLockGuard hold(paramsLock);
    drainPending();
    CSet<CAudioParam*> untouched;
    if (!how.asReset)
        for (const auto& [key, param] : params) untouched.insert(param);
    for (const auto& [key, block] : preset.entries) {
        CAudioParam* param = findMember(key);
        if (!param) continue;
        untouched.erase(param);
        LUM_TRY(activateEntry(*param, block, how, context));
    }
    if (how.asReset) return nullptr;
    for (CAudioParam* param : untouched) resetToDefinition(*param, how, context);
    if (routingProvider) routingProvider->applyRouting(context.undo, context.batch);
    return nullptr;
}

CErrorResult CAudioParamRegistry::activateEntry(CAudioParam& param, const CByteBuffer& block,
                                                const CActivation& how,
                                                const CChangeContext& context) {
    CAudioParamGuard guard(param);
    if (!param.isBound())
        if (const CAudioParamInfo* info = findDefinition(param.getName()))
            param.bind(*info, context, &guard);
    if (!param.isBound() || !belongsToPreset(*param.getInfo(), how.includePersistent))
        return nullptr;
    CMemoryReader reader(block);
    if (how.asReset)
        LUM_TRY(param.loadResetValues(reader));
    else
        LUM_TRY(param.loadFromPreset(reader, context, how.group, how.element, &guard));
    return nullptr;
}

/// What a preset does not mention goes to the definition's defaults, so that a preset of an older
/// version leaves new parameters there.
void CAudioParamRegistry::resetToDefinition(CAudioParam& param, const CActivation& how,
                                            const CChangeContext& context) {
    CAudioParamGuard guard(param);
    if (!param.isBound() || !belongsToPreset(*param.getInfo(), how.includePersistent)) return;
    const CAudioParamStorage& defaults = param.getInfo()->defaults;
    const int groups = std::max(param.getValues().getGroupCount(), defaults.getGroupCount());
    const int first = how.group < 0 ? 0 : how.group;
    const int end = how.group < 0 ? groups : how.group + 1;
    for (int g = first; g < end; g++) {
        if (how.element >= 0) {
            param.applyChange(CAudioParamChange::ofElements(defaults, g, how.element, 1, this),
                              context, &guard);
            continue;
        }
        param.applyChange(CAudioParamChange::ofGroup(defaults, g, this), context, &guard);
    }
}

CErrorResult CAudioParamRegistry::activatePresetObject(const CAudioPreset& preset,
                                                       CParamUndoRecord* undo,
                                                       bool includePersistent, int group) {
    CActivation how;
    how.includePersistent = includePersistent;
    how.group = group;
    CChangeContext context;
    context.undo = undo;
    const CString presetName = preset.name;
    LUM_TRY(activateParams(preset, how, context));
    if (master) {
        setProgramName(currentProgram, presetName);
        announce(nullptr);
    }
    setNameParam(presetName, std::max(group, 0), undo, this);
    return nullptr;
}

void CAudioParamRegistry::capturePreset(CAudioPreset& preset, int group) {
    CString presetName = id + ":";
    if (master)
        presetName = programName(currentProgram);
    else if (nameParam)
        presetName += nameParam->getString(std::max(group, 0), 0);
    preset.entries.clear();
    preset.name = presetName;
    platform::CLockGuard hold(paramsLock);
    drainPending();
    for (const auto& [key, param] : params)
        logAndDropError(captureEntry(preset, key, *param, group));
}

CErrorResult CAudioParamRegistry::captureEntry(CAudioPreset& preset, const CString& key,
                                               CAudioParam& param, int group) {
    CAudioParamGuard guard(param);
    if (!param.isBound() || !belongsToPreset(*param.getInfo(), true)) return nullptr;
    if (group >= 0 && param.getValues().getElementCount(group) == 0) return nullptr;
    CWriteSeqBuffer buffer;
    LUM_TRY(param.saveForPreset(buffer, group));
    CByteBuffer block;
    buffer.getBytes(block);
    preset.setEntry(key, std::move(block));
    return nullptr;
}

CString CAudioParamRegistry::activationName(int group) const {
    CString text = presetNaming + " activate";
    if (group < 0) return text;
    const CString groupName =
        groupNamesParam ? groupNamesParam->getString(0, group) : CString::fromInt(group + 1);
    return text + " (" + groupName + ")";
}

} // namespace lum
