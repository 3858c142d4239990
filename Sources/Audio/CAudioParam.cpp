#include "Audio/CAudioParam.h"

#include "Audio/CAudioParamCollector.h"
#include "Audio/CAudioParamFilter.h"
#include "Audio/CAudioParamRegistryBase.h"
#include "Audio/CParamUndoRecord.h"

#include <algorithm>

namespace lum {

namespace {

/// The guard that was passed if it is this parameter's, else one of its own.
class CUsedGuard {
public:
    CUsedGuard(CAudioParam& param, CAudioParamGuard* given)
        : guard(given && &given->getParam() == &param ? *given : own.emplace(param)) {}
    CAudioParamGuard& get() { return guard; }

private:
    std::optional<CAudioParamGuard> own;
    CAudioParamGuard& guard;
};

} // namespace

// CAudioParamGuard

CAudioParamGuard::CAudioParamGuard(CAudioParam& target, Kind guardKind)
    : param(target), kind(guardKind) {
    if (kind == Kind::Usual) param.collector.acquireGuard();
    param.lock.enter();
}

CAudioParamGuard::~CAudioParamGuard() {
    CAudioParamCollector& collector = param.collector;
    param.lock.leave();
    if (kind == Kind::Usual) collector.releaseGuard();
}

// CAudioParamBatch

CAudioParamBatch::CAudioParamBatch(CAudioParamCollector& owner) : collector(owner) {
    collector.acquireGuard(true);
}

CAudioParamBatch::~CAudioParamBatch() {
    if (head) collector.handOverBatch(head, tail);
    for (const auto& [param, member] : members) {
        platform::CLockGuard hold(param->lock);
        if (member.isOvertaken || param->changeCount != member.lastChange)
            param->queueValues(member.groupCount);
    }
    collector.releaseGuard(true);
}

void CAudioParamBatch::add(CAudioParam& param, const CAudioParamChange& change) {
    CMember& member = members[&param];
    if (member.lastChange != 0 && param.changeCount != member.lastChange + 1)
        member.isOvertaken = true;
    member.lastChange = param.changeCount;
    member.groupCount = std::max(member.groupCount, param.values.getGroupCount());
    auto* record = new CQueuedChange(param, change);
    (tail ? tail->next : head) = record;
    tail = record;
}

// CAudioParam

CAudioParam::CAudioParam(CAudioParamCollector& owner, CString fullName)
    : collector(owner), name(std::move(fullName)) {}

CAudioParam::~CAudioParam() = default;

double CAudioParam::readValue(int group, int element, double fallback) {
    CAudioParamGuard guard(*this);
    return values.read(group, element, fallback);
}

CAudioParamStorage CAudioParam::copyValues() const {
    platform::CLockGuard hold(lock);
    return values;
}

void CAudioParam::bind(const CAudioParamInfo& newInfo, const CChangeContext& context,
                       CAudioParamGuard* guard) {
    const CAudioParamInfo* present = getInfo();
    if (present && present->isSameAs(newInfo)) return;
    CUsedGuard used(*this, guard);
    present = getInfo();
    if (present && present->isSameAs(newInfo)) return; // another thread was first
    info.store(&newInfo, std::memory_order_release);
    bool isSelecting = !newInfo.paramRegistryName.empty() && newInfo.format.elementSize == 1 &&
                       newInfo.format.isFloat();
    enumeratedRegistry = isSelecting ? collector.findRegistry(newInfo.paramRegistryName) : nullptr;
    for (int group = 0; group < newInfo.defaults.getGroupCount(); group++) {
        CAudioParamChange change =
            group == 0 ? CAudioParamChange::ofDefaults(newInfo.defaults, nullptr)
                       : CAudioParamChange::ofGroup(newInfo.defaults, group, nullptr);
        applyChange(change, context, &used.get());
        resetValues.apply(change);
    }
}

void CAudioParam::setValue(double value, int group, const void* originator,
                           CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (!isBound() || !values.getFormat().isFloat()) return;
    CVector<double, 1> element; // the other sub-values keep theirs
    for (int sub = 0; sub < values.getFormat().elementSize; sub++)
        element.push_back(sub == 0 ? value : values.read(group, 0, 0.0, sub));
    applyChange(CAudioParamChange::ofValues(values.getFormat(), group, 0, element.data(), 1, true,
                                            originator),
                {}, &used.get());
}

void CAudioParam::setString(int group, int element, const CString& text, const void* originator,
                            CAudioParamGuard* guard, const CChangeContext& context) {
    CUsedGuard used(*this, guard);
    if (!isBound() || values.getFormat().dataType != ParamDataType::String) return;
    CAudioParamChange change;
    change.data = std::make_unique<CAudioParamData>();
    change.values.push_back(change.data->addString(text));
    setItem(group, element, change, originator, used.get(), context);
}

void CAudioParam::setRaw(int group, int element, const CByteBuffer& bytes, const void* originator,
                         CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (!isBound() || values.getFormat().dataType != ParamDataType::Raw) return;
    CAudioParamChange change;
    change.data = std::make_unique<CAudioParamData>();
    change.values.push_back(change.data->addRaw(bytes.data(), bytes.size()));
    setItem(group, element, change, originator, used.get());
}

void CAudioParam::setItem(int group, int element, CAudioParamChange& change, const void* originator,
                          CAudioParamGuard& guard, const CChangeContext& context) {
    change.group = group;
    change.firstElement = element;
    change.elementCount = 1;
    change.originator = originator;
    change.format = values.getFormat();
    applyChange(change, context, &guard);
}

CString CAudioParam::getString(int group, int element, CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (values.getFormat().dataType != ParamDataType::String) return {};
    return values.readString(group, element);
}

// Changes

void CAudioParam::applyChange(const CAudioParamChange& change, const CChangeContext& context,
                              CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (!values.accepts(change)) return;
    if (fillGap(change, context, used.get())) return;
    write(change, context);
    announce(change, context, used.get());
}

/// A change behind the group's end becomes a larger one that starts at the end, so that listeners
/// see all new elements.
bool CAudioParam::fillGap(const CAudioParamChange& change, const CChangeContext& context,
                          CAudioParamGuard& guard) {
    if (change.group == kDefinitionGroup) return false;
    int present = values.getElementCount(change.group);
    if (change.firstElement <= present) return false;
    CAudioParamChange larger = CAudioParamChange::ofElements(
        values, change.group, present, change.firstElement - present, change.originator);
    for (double value : change.values) larger.append(value, change.data.get());
    larger.elementCount += change.elementCount;
    larger.isTruncating = change.isTruncating;
    applyChange(larger, context, &guard);
    return true;
}

void CAudioParam::write(const CAudioParamChange& change, const CChangeContext& context) {
    const CAudioParamInfo* present = getInfo();
    bool isRecorded = context.undo && present && (present->isStorable || present->isPersistent);
    if (!isRecorded) {
        values.apply(change);
        return;
    }
    int group = change.group == kDefinitionGroup ? 0 : change.group;
    context.undo->recordBefore(name, group, values, false);
    values.apply(change);
    context.undo->recordAfter(name, group, values);
}

/// Tells everybody of a change that the values have taken: the audio side, the registry that this
/// parameter selects presets of, listeners, filters.
void CAudioParam::announce(const CAudioParamChange& change, const CChangeContext& context,
                           CAudioParamGuard& guard) {
    changeCount++;
    if (context.batch)
        context.batch->add(*this, change);
    else
        collector.queueChange(*this, change, context.isImmediate);
    if (enumeratedRegistry) enumeratedRegistry->onSelectingParamChanged(*this, change, context);

    CAudioParamUpdate update;
    update.key = this;
    update.originator = change.originator;
    update.param = this;
    update.change = &change;
    update.guard = &guard;
    update.context = &context;
    collector.notify(&update);

    for (int i = 0; i < filters.ssize(); i++) filters[i]->run(change, context, guard);
}

/// Sends all present values to the audio side, behind whatever waits there. Under the lock.
void CAudioParam::queueValues(int groupCount) {
    for (int g = 0; g < std::max(groupCount, values.getGroupCount()); g++)
        collector.queueChange(*this, CAudioParamChange::ofGroup(values, g, nullptr), false);
}

// Reset

void CAudioParam::reset(int group, int element, const CChangeContext& context, bool isSingleSource,
                        CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (!isBound() || group >= values.getGroupCount()) return;
    if (group < 0) {
        int count = std::max(values.getGroupCount(), resetValues.getGroupCount());
        for (int g = 0; g < count; g++)
            applyChange(CAudioParamChange::ofGroup(resetValues, g, nullptr), context, &used.get());
    } else if (element < 0) {
        applyChange(CAudioParamChange::ofGroup(resetValues, group, nullptr), context, &used.get());
    } else {
        resetElement(group, element, context, isSingleSource, used.get());
    }
}

void CAudioParam::resetElement(int group, int element, const CChangeContext& context,
                               bool isSingleSource, CAudioParamGuard& guard) {
    if (element >= kMaxParamGroupValues) return;
    for (int i = values.getElementCount(group); i < element; i++)
        applyChange(CAudioParamChange::ofElements(values, group, i, 1, nullptr), context, &guard);
    CAudioParamChange change = CAudioParamChange::ofElements(
        resetValues, isSingleSource ? 0 : group, isSingleSource ? 0 : element, 1, nullptr);
    change.group = group;
    change.firstElement = element;
    applyChange(change, context, &guard);
}

// Preset blocks

CErrorResult CAudioParam::saveForPreset(COutputStream& stream, int group) {
    CAudioParamGuard guard(*this);
    const CAudioParamInfo* present = getInfo();
    LUM_TRY(stream.writeString(present ? present->fullName : name));
    return values.save(stream, group);
}

CErrorResult CAudioParam::loadResetValues(CInputStream& stream) {
    CAudioParamGuard guard(*this);
    if (!isBound()) return nullptr;
    return loadValues(stream, resetValues);
}

/// Reads a block into a set of values that keeps its content when the block is not good.
CErrorResult CAudioParam::loadValues(CInputStream& stream, CAudioParamStorage& target) const {
    CString savedName; // of no use: the caller found the parameter by its key
    LUM_TRY(stream.readString(savedName));
    CAudioParamStorage loaded = target;
    LUM_TRY(loaded.load(stream));
    loaded.clampTo(*getInfo());
    target = loaded;
    return nullptr;
}

CErrorResult CAudioParam::loadFromPreset(CInputStream& stream, const CChangeContext& context,
                                         int group, int element, CAudioParamGuard* guard) {
    CUsedGuard used(*this, guard);
    if (!isBound()) return nullptr;
    CAudioParamStorage loaded = values;
    LUM_TRY(loadValues(stream, loaded));
    if (group < 0)
        takeAllGroups(loaded, context, used.get());
    else
        takeOneGroup(loaded, context, group, element, used.get());
    return nullptr;
}

void CAudioParam::takeAllGroups(const CAudioParamStorage& loaded, const CChangeContext& context,
                                CAudioParamGuard& guard) {
    const CAudioParamInfo& present = *getInfo();
    CParamUndoRecord* undo = present.isStorable || present.isPersistent ? context.undo : nullptr;
    const int count = std::max(values.getGroupCount(), loaded.getGroupCount());
    for (int g = 0; undo && g < count; g++) undo->recordBefore(name, g, values, false);
    values = loaded;
    for (int g = 0; undo && g < count; g++) undo->recordAfter(name, g, values);
    for (int g = 0; g < count; g++) // a group that is gone becomes one without elements
        announce(CAudioParamChange::ofGroup(values, g, nullptr), context, guard);
}

void CAudioParam::takeOneGroup(const CAudioParamStorage& loaded, const CChangeContext& context,
                               int group, int element, CAudioParamGuard& guard) {
    // A block without elements stands for the defaults of the group that it is for.
    const bool isGiven = loaded.getElementCount(0) > 0;
    const CAudioParamStorage& source = isGiven ? loaded : getInfo()->defaults;
    const int from = isGiven ? 0 : group;
    CAudioParamChange change =
        element < 0
            ? CAudioParamChange::ofGroup(source, from, nullptr)
            : CAudioParamChange::ofElements(source, from, isGiven ? 0 : element, 1, nullptr);
    change.group = group;
    if (element >= 0) change.firstElement = element;
    applyChange(change, context, &guard);
}

// Filters and registries

void CAudioParam::addFilter(CAudioParamFilter& filter) {
    filters.push_back(&filter);
}

void CAudioParam::removeFilter(CAudioParamFilter& filter) {
    CAudioParamGuard guard(*this);
    for (size_t i = filters.size(); i-- > 0;)
        if (filters[i] == &filter) filters.erase(i);
}

void CAudioParam::addPresetNameRegistry(CAudioParamRegistryBase& registry) {
    platform::CSpinGuard hold(registryLock);
    for (CAudioParamRegistryBase* present : presetNameRegistries)
        if (present == &registry) return;
    presetNameRegistries.push_back(&registry);
}

void CAudioParam::removePresetNameRegistry(CAudioParamRegistryBase& registry) {
    platform::CSpinGuard hold(registryLock);
    for (size_t i = presetNameRegistries.size(); i-- > 0;)
        if (presetNameRegistries[i] == &registry) presetNameRegistries.erase(i);
}

CVector<CAudioParamRegistryBase*, 2> CAudioParam::getPresetNameRegistries() const {
    platform::CSpinGuard hold(registryLock);
    return presetNameRegistries;
}

} // namespace lum
