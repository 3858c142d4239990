#include "UI/CViewBaseState.h"

#include "UI/CViewState.h"

namespace lum {

namespace {

constexpr CAttrRow<CViewBaseState> kAttrs[] = {
    {"color-state", &CViewBaseState::attrColorState},        // of the view without states
    {"image-set-range", &CViewBaseState::attrImageSetRange}, // the same
};

constexpr CEventRow<CViewBaseState> kEvents[] = {
    {"set-state", &CViewBaseState::setStateFlag},     // state-name
    {"unset-state", &CViewBaseState::clearStateFlag}, // state-name
    {"timer", &CViewBaseState::timer},                // a frame begins while something moves
    {"state-ready", &CViewBaseState::stateReady},
};

constexpr const char* kChannelNames[] = {"opacity", "width", "height"};
constexpr const char* kColorState = "color-state";
constexpr const char* kImageRange = "image-set-range";
constexpr const char* kFrameEvent = "render";

/// Attributes whose absence means something else than an empty value.
struct CUnsetAttr {
    const char* name;
    const char* value;
};
constexpr CUnsetAttr kUnsetAttrs[] = {
    {"alignment-h", "center"},
    {"alignment-v", "center"},
    {"inline-alignment-h", "center"},
    {"inline-alignment-v", "center"},
    {"placement", "inline"},
    {"is-visible", "true"},
    {"opacity", "1"},
    {"draw-opacity", "1"},
    {"ratio-x", "1"},
    {"ratio-y", "1"},
};

bool isLookName(const CString& name) {
    return name == kColorState || name == kImageRange;
}

} // namespace

void CViewBaseState::fillClass(CClassInfo& info) {
    CViewBasePlacement::fillClass(info);
    info.addAttrs(kAttrs);
    info.addEvents(kEvents);
}

// ---- Life

CErrorResult CViewBaseState::initDone() {
    LUM_TRY(CViewBasePlacement::initDone());
    hasLook = hasLook || getAttrBool("has-view-states");
    if (hasLook) {
        crossfade.reset(lookOf(mergedState(stateKey())));
        onLookChanged();
    }
    return nullptr;
}

void CViewBaseState::prepareDestroy() {
    addAnimations(-frameHolds);
    frameHolds = 0;
    CViewBasePlacement::prepareDestroy();
}

CErrorResult CViewBaseState::addViewState(CViewState& block) {
    blocks[block.getStateName()].push_back(&block);
    merged.clear();
    for (const CString& name : block.getAttrNames()) {
        hasLook = hasLook || isLookName(name);
        if (ownValues.find(name) != ownValues.end()) continue;
        const CAttrEntry* own = findAttr(name);
        ownValues[name] = own ? *own : CAttrEntry();
    }
    return nullptr;
}

void CViewBaseState::removeViewState(CViewState& block) {
    const auto found = blocks.find(block.getStateName());
    if (found == blocks.end()) return;
    auto& list = found->second;
    for (size_t i = list.size(); i-- > 0;)
        if (list[i] == &block) list.erase(i);
    merged.clear();
    if (!list.empty()) return;
    active.erase(block.getStateName());
    blocks.erase(found);
}

CErrorResult CViewBaseState::attrColorState(const CAttrEntry& value) {
    setOwnLook(kColorState, value);
    return nullptr;
}

CErrorResult CViewBaseState::attrImageSetRange(const CAttrEntry& value) {
    setOwnLook(kImageRange, value);
    return nullptr;
}

// What an active state says about it stays above the view's own value.
void CViewBaseState::setOwnLook(const char* name, const CAttrEntry& value) {
    CAttrEntry& own = ownValues[name];
    if (own.text() == value.text()) return;
    own = value;
    merged.clear();
    const CViewLook look = lookOf(mergedState(stateKey()));
    if (crossfade.isRunning())
        crossfade.start(look, clock(), 0.0); // behind the fade
    else
        crossfade.reset(look);
    onLookChanged();
}

// ---- Changing states

CErrorResult CViewBaseState::setStateFlag(CAttrMap& arguments) {
    LUM_TRY(setState(arguments["state-name"].text()));
    return finishEvent("set-state", arguments);
}

CErrorResult CViewBaseState::clearStateFlag(CAttrMap& arguments) {
    LUM_TRY(unsetState(arguments["state-name"].text()));
    return finishEvent("unset-state", arguments);
}

// What was added takes the longest `duration` of the new set; what was removed takes the longest
// `morph-duration`, for which the old set counts too, as it alone still holds the removed state.
CErrorResult CViewBaseState::changeStates(const CString& names, bool isSetting) {
    CVector<CString> list;
    names.split(list, u' ', true);
    const double leaving = mergedState(stateKey()).morphDuration;
    bool isChanged = false;
    for (const CString& name : list) {
        if (!hasState(name)) continue;
        isChanged = (isSetting ? active.insert(name).second : active.erase(name) > 0) || isChanged;
    }
    if (!isChanged) return nullptr;
    const CMergedState& now = mergedState(stateKey());
    LUM_TRY(apply(now, isSetting ? now.duration : std::max(leaving, now.morphDuration)));
    return nullptr;
}

CString CViewBaseState::stateKey() const {
    CString key;
    for (const CString& name : active) {
        if (!key.empty()) key.append(u' ');
        key.append(name);
    }
    return key;
}

const CViewBaseState::CMergedState& CViewBaseState::mergedState(const CString& key) {
    auto [place, isNew] = merged.try_emplace(key);
    if (isNew) place->second = merge();
    return place->second;
}

CViewBaseState::CMergedState CViewBaseState::merge() const {
    CMergedState result;
    for (const CString& name : active)
        for (const CViewState* block : blocks.find(name)->second) mergeBlock(result, *block);
    for (const auto& [name, value] : ownValues) result.values.try_emplace(name, value);
    return result;
}

// Colour states join to one name, unless one of them wants to stand alone.
void CViewBaseState::mergeBlock(CMergedState& result, const CViewState& block) {
    result.duration = std::max(result.duration, block.getDuration());
    result.morphDuration = std::max(result.morphDuration, block.getMorphDuration());
    for (const CString& name : block.getAttrNames()) {
        const CAttrEntry* given = block.findAttr(name);
        CAttrEntry value = given ? *given : CAttrEntry();
        if (name == kColorState) {
            const CString text = value.text();
            CString joined = result.values[name].text();
            joined = text.startsWith("/") ? text.substring(1) : joined + text;
            value = CAttrEntry::ofText(joined);
        }
        result.values[name] = value;
    }
}

CErrorResult CViewBaseState::apply(const CMergedState& target, double duration) {
    const CAttrMap values = target.values; // a handler may add states
    const CViewLook look = lookOf(target);
    if (hasLook && !(look == crossfade.getQueued())) {
        crossfade.start(look, clock(), duration);
        startMoving();
        onLookChanged();
    }
    for (const auto& [name, value] : values) {
        if (isLookName(name) || startChannel(name, value, duration)) continue;
        LUM_TRY(value.type() == AttrType::Empty ? unsetAttr(name)
                                                : setAttrValue(name, value, true));
    }
    return nullptr;
}

// The attribute is what it is for a view that does not have it.
CErrorResult CViewBaseState::unsetAttr(const CString& name) {
    for (const int axis : {kAxisX, kAxisY})
        if (name == kChannelNames[kWidth + axis]) return unsetSize(axis);
    CAttrEntry value;
    for (const CUnsetAttr& row : kUnsetAttrs)
        if (name == row.name) value = CAttrEntry::ofText(row.value);
    LUM_TRY(setAttrValue(name, value, true));
    return nullptr;
}

double CViewBaseState::clock() const {
    return window ? window->shared().clock() : 0.0;
}

CViewLook CViewBaseState::lookOf(const CMergedState& source) const {
    const auto textOf = [&source](const char* name) {
        const auto found = source.values.find(name);
        return found == source.values.end() ? CString() : found->second.text();
    };
    return {stateKey(), textOf(kColorState), textOf(kImageRange)};
}

// False: not a morphed attribute, or not a way from one plain number to another. It is set like any
// other then, and a move that is under way must not write over it.
bool CViewBaseState::startChannel(const CString& name, const CAttrEntry& value, double duration) {
    for (int index = 0; index < kChannelCount; index++) {
        if (name != kChannelNames[index]) continue;
        CMorphChannel& channel = channels[index];
        double from = 0.0;
        double to = 1.0;
        const bool isUnset = value.type() == AttrType::Empty;
        const bool isNumber = isUnset ? index == kOpacity : value.toReal(to);
        if (!isNumber || !presentValue(from, index)) {
            channel.stop();
            return false;
        }
        if (channel.isFinished() ? from == to : channel.getTarget() == to) return true;
        channel.start(from, to, clock(), duration);
        startMoving();
        return true;
    }
    return false;
}

// False: a size that is not a number now.
bool CViewBaseState::presentValue(double& out, int channel) const {
    const CAttrEntry* entry = findAttr(kChannelNames[channel]);
    if (entry && entry->type() != AttrType::Empty) return entry->toReal(out);
    if (channel == kOpacity)
        out = 1.0;
    else if (window)
        out = (channel == kWidth ? rect.width : rect.height) / window->scale();
    return true;
}

// ---- Moving

void CViewBaseState::startMoving() {
    if (isMorphUnderway || !window) return;
    isMorphUnderway = true;
    holdFrames();
}

void CViewBaseState::holdFrames() {
    addAnimations(1);
    if (frameHolds++ == 0) listenObject(window->windowObject().getFullName(), kFrameEvent, "timer");
}

void CViewBaseState::releaseFrames() {
    addAnimations(-1);
    if (--frameHolds == 0) unlistenObject(window->windowObject().getFullName(), kFrameEvent);
}

CErrorResult CViewBaseState::timer() {
    const double now = clock();
    isStepping = true;
    CErrorResult error = stepChannels(now);
    stepLook(now);
    isStepping = false;
    LUM_TRY(std::move(error));
    if (!isMoving()) LUM_TRY(endMorph());
    return nullptr;
}

CErrorResult CViewBaseState::stepChannels(double now) {
    for (int index = 0; index < kChannelCount; index++) {
        if (channels[index].isFinished()) continue;
        const double value = channels[index].step(now);
        LUM_TRY(setAttrValue(kChannelNames[index], CAttrEntry::ofReal(value), true));
    }
    return nullptr;
}

void CViewBaseState::stepLook(double now) {
    const CViewLook before = crossfade.getCurrent();
    if (!crossfade.step(now)) return;
    if (crossfade.getCurrent() == before)
        onCrossfadeStep();
    else
        onLookChanged();
}

bool CViewBaseState::isMoving() const {
    for (const CMorphChannel& channel : channels)
        if (!channel.isFinished()) return true;
    return crossfade.isRunning();
}

CErrorResult CViewBaseState::endMorph() {
    if (!std::exchange(isMorphUnderway, false)) return nullptr;
    releaseFrames();
    CAttrMap arguments;
    return stateReady(arguments);
}

CErrorResult CViewBaseState::stateReady(CAttrMap& arguments) {
    return finishEvent("state-ready", arguments);
}

CErrorResult CViewBaseState::finishEvent(const char* event, CAttrMap& arguments) {
    return fireEvent(event, arguments, false);
}

void CViewBaseState::addAnimations(int count) {
    for (CViewBasePlacement* view = this; view; view = view->getParentView())
        if (auto* animated = dynamic_cast<CViewBaseState*>(view)) animated->animationCount += count;
}

} // namespace lum
