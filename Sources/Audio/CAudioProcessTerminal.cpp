#include "Audio/CAudioProcessTerminal.h"

#include "Audio/CAudioParamDef.h"
#include "Audio/CAudioProcessDef.h"
#include "Audio/Processes/SampleOps.h"

#include <algorithm>

namespace lum {

CErrorResult CAudioProcessTerminalBase::init() {
    registerParams();
    return nullptr;
}

void CAudioProcessTerminalBase::registerParams() {
    findAllocParams();
}

void CAudioProcessTerminalBase::reset() {
    CAudioProcessBase::reset();
    for (auto& pair : pairs) {
        pair->current->reset();
        if (pair->previous) pair->previous->reset();
    }
}

void CAudioProcessTerminalBase::sleep() {
    endFades();
    for (auto& pair : pairs) pair->current->reset();
    CAudioProcessBase::sleep();
}

bool CAudioProcessTerminalBase::isSettled() const {
    return CAudioProcessBase::isSettled() && fades.empty();
}

// A block.

void CAudioProcessTerminalBase::process() LUM_REALTIME {
    runBlockHead();
    deliverLength();
    if (blockLength > 0) {
        for (CAudioModule* module : runList)
            if (module) runModule(*module, blockLength);
        for (CModulePair* pair : fades) runFade(*pair);
        handOver();
    }
    releaseInputs();
}

/// `previous` alone, then the crossfade, then `current` alone, as far as this block reaches.
void CAudioProcessTerminalBase::runFade(CModulePair& pair) LUM_REALTIME {
    int alone = std::min(pair.preDelay, blockLength);
    int mixed = std::min(pair.fadeLength, blockLength - alone);
    for (int i = 0; i < pair.current->channels.ssize(); i++) {
        CSampleBlockRef& older = pair.previous->channels[i].output;
        CSampleBlockRef& newer = pair.current->channels[i].output;
        if (alone == blockLength) {
            newer = older;
        } else if (alone + mixed > 0) {
            CSampleBlockRef out = getPool().take(blockLength);
            int rest = alone + mixed;
            ops::copy(out.samples(), older.samples(), alone);
            pair.fadeStates[i].mix(out.samples() + alone, older.samples() + alone,
                                   newer.samples() + alone, mixed);
            ops::copy(out.samples() + rest, newer.samples() + rest, blockLength - rest);
            newer = std::move(out);
        }
        older.reset();
    }
    pair.preDelay -= alone;
    pair.fadeLength -= mixed;
}

void CAudioProcessTerminalBase::handOver() LUM_REALTIME {
    int slot = 0;
    for (auto& pair : pairs) {
        auto& channels = pair->current->channels;
        deliverEach(0, slot, channels.ssize(),
                    [&](int i) -> CSampleBlockRef& { return channels[i].output; });
        slot += channels.ssize();
    }
}

// Updates.

void CAudioProcessTerminalBase::update() LUM_REALTIME {
    if (formatChanged) {
        rebuildModules();
    } else if (markChanges()) {
        if (wantsSmooth() && sampleRate > 0.0)
            replaceDirty();
        else
            updateInPlace();
    }
    stepFades();
    if (isOutputChanged) publishOutput();
    rebuildRunList();
}

// A new format: all modules anew, without a fade.

void CAudioProcessTerminalBase::rebuildModules() LUM_REALTIME {
    crossfadeLength = std::max(roundToInt(sampleRate * definition->xfadeLength), 1);
    endFades();
    int channels = inputSlots(0).count;
    makePairs(definition->isTerminalWhole ? std::min(channels, 1) : channels);
    for (int i = 0; i < pairs.ssize(); i++) {
        configure(*pairs[i]->current, i);
        buildModule(*pairs[i]->current);
    }
    makeSpares();
}

void CAudioProcessTerminalBase::endFades() LUM_REALTIME {
    for (CModulePair* pair : fades) {
        cancelTimedEvents(&pair->isDone);
        retire(std::move(pair->previous));
        pair->isFading = false;
        pair->isPending = false;
        pair->isDone = 0;
        pair->preDelay = 0;
        pair->fadeLength = 0;
    }
    fades.clear();
}

void CAudioProcessTerminalBase::makePairs(int wanted) LUM_REALTIME {
    while (pairs.ssize() > wanted) {
        retire(std::move(pairs.back()->current));
        pairs.pop_back();
    }
    while (pairs.ssize() < wanted) {
        pairs.push_back(std::unique_ptr<CModulePair>(new CModulePair));
        pairs.back()->current = takeModule();
    }
}

/// Gives a module its channels: all of them, or the one of its pair.
void CAudioProcessTerminalBase::configure(CAudioModule& module, int pair) LUM_REALTIME {
    CSlotTable& slots = inputSlots(0);
    bool isWhole = definition->isTerminalWhole;
    int first = isWhole ? 0 : pair;
    int count = isWhole ? slots.count : 1;
    module.channels.resize(static_cast<size_t>(count));
    for (int i = 0; i < count; i++) {
        module.channels[i].input = &slots[first + i];
        module.channels[i].latency = latency;
    }
    module.sampleRate = sampleRate;
    module.baseLatency = latency;
    const CSlotFormat& format = slots[first].format;
    bindModule(module, isWhole ? groupIndex : format.group, isWhole ? 0 : format.channel);
}

/// Binds again only where the group or channel is another one.
void CAudioProcessTerminalBase::bindModule(CAudioModule& module, int group,
                                           int channel) LUM_REALTIME {
    if (module.terminal && module.groupIndex == group && module.channelIndex == channel) return;
    module.terminal = this;
    module.groupIndex = group;
    module.channelIndex = channel;
    module.bindings.clear();
    const auto& allocs = definition->getAllocs();
    module.changed.resize(allocs.empty() ? 0 : static_cast<size_t>(allocs.rbegin()->first + 1));
    module.registerParams();
}

void CAudioProcessTerminalBase::bindParam(CAudioModule& module, int allocIndex,
                                          CParamHandle& handle, ParamUse use) LUM_REALTIME {
    handle.group = module.groupIndex;
    handle.subscription = subscribeAlloc(allocIndex, module.groupIndex, use);
    if (handle.subscription) module.bindings.push_back({allocIndex, handle.subscription});
}

/// The expensive work of a module that is new in its place.
void CAudioProcessTerminalBase::buildModule(CAudioModule& module) LUM_REALTIME {
    module.init();
    for (uint8_t& flag : module.changed) flag = 1;
    module.isForced = true;
    module.isFormatPending = true;
    module.update();
    for (uint8_t& flag : module.changed) flag = 0;
    module.isForced = false;
    module.isFormatPending = false;
    module.isDirty = false;
    isOutputChanged = true;
}

/// Builds and retires as many modules as may be needed at once, so that no replacement has to ask
/// the system for memory.
void CAudioProcessTerminalBase::makeSpares() LUM_REALTIME {
    if (!canBeSmooth()) return;
    for (int i = retired.ssize(); i < pairs.ssize(); i++) {
        std::unique_ptr<CAudioModule> spare = createModule();
        setUpLike(*spare, *pairs[i]->current);
        buildModule(*spare);
        retire(std::move(spare));
    }
}

bool CAudioProcessTerminalBase::canBeSmooth() const LUM_REALTIME {
    if (definition->isSmoothUpdate) return true;
    const auto& allocs = definition->getAllocs();
    return std::any_of(allocs.begin(), allocs.end(),
                       [](const auto& alloc) { return alloc.second->isSmoothUpdate; });
}

// New values: in place, or by a replacement that crosses over.

/// Marks the modules that new values touch. True when there are new values.
bool CAudioProcessTerminalBase::markChanges() LUM_REALTIME {
    bool isAny = false;
    for (auto& subscription : subscriptions) {
        if (!subscription->isNew()) continue;
        isAny = true;
        for (auto& pair : pairs)
            for (const CAudioModule::CBinding& binding : pair->current->bindings) {
                if (binding.subscription != subscription.get()) continue;
                pair->current->changed[binding.allocIndex] = 1;
                pair->current->isDirty = true;
            }
    }
    return isAny;
}

bool CAudioProcessTerminalBase::wantsSmooth() const LUM_REALTIME {
    if (definition->isSmoothUpdate) return true;
    return std::any_of(subscriptions.begin(), subscriptions.end(), [&](const auto& subscription) {
        if (!subscription->isNew()) return false;
        const CAudioParamAllocDef* alloc = definition->findAlloc(subscription->allocIndex);
        return alloc && alloc->isSmoothUpdate;
    });
}

void CAudioProcessTerminalBase::updateInPlace() LUM_REALTIME {
    for (auto& pair : pairs) {
        CAudioModule& module = *pair->current;
        if (!module.isDirty) continue;
        module.update();
        module.isDirty = false;
        for (uint8_t& flag : module.changed) flag = 0;
        isOutputChanged = true;
    }
}

void CAudioProcessTerminalBase::replaceDirty() LUM_REALTIME {
    for (auto& pair : pairs) {
        if (!pair->current->isDirty) continue;
        pair->current->isDirty = false;
        for (uint8_t& flag : pair->current->changed) flag = 0;
        if (pair->isFading) {
            pair->isPending = true; // the values of the moment when this fade is done
            continue;
        }
        startReplacement(*pair);
        fades.push_back(pair.get());
    }
}

void CAudioProcessTerminalBase::startReplacement(CModulePair& pair) LUM_REALTIME {
    if (pair.previous) retire(std::move(pair.previous));
    pair.previous = std::move(pair.current);
    pair.current = takeModule();
    setUpLike(*pair.current, *pair.previous);
    buildModule(*pair.current);
    pair.current->takeHistory(*pair.previous);
    pair.isFading = true;
    pair.isPending = false;
    pair.isDone = 0;
    int newLatency = latency;
    for (const CModuleChannel& channel : pair.current->channels)
        newLatency = std::max(newLatency, channel.latency);
    pair.preDelay = newLatency - latency;
    pair.fadeLength = crossfadeLength;
    pair.fadeStates.resize(pair.current->channels.size());
    for (CRaisedCosineFade& fade : pair.fadeStates) fade.start(crossfadeLength);
    addTimedEvent((pair.preDelay + pair.fadeLength) / sampleRate, &pair.isDone);
}

void CAudioProcessTerminalBase::stepFades() LUM_REALTIME {
    for (size_t i = fades.size(); i-- > 0;) {
        CModulePair& pair = *fades[i];
        if (!pair.isDone) continue;
        if (pair.preDelay + pair.fadeLength > 0) {
            needsUpdate = 1; // the clock of events was a rounding error early
        } else if (pair.isPending) {
            startReplacement(pair);
        } else {
            pair.isFading = false;
            retire(std::move(pair.previous));
            fades.erase(i);
        }
    }
}

void CAudioProcessTerminalBase::publishOutput() LUM_REALTIME {
    isOutputChanged = false;
    CPortFormat format;
    format.sampleRate = sampleRate;
    for (auto& pair : pairs)
        for (const CModuleChannel& channel : pair->current->channels) {
            format.slots.push_back(channel.input->format);
            format.slots.back().latency = channel.latency;
        }
    publish(0, format);
}

void CAudioProcessTerminalBase::rebuildRunList() LUM_REALTIME {
    runList.clear();
    for (auto& pair : pairs) {
        if (pair->isFading) runList.push_back(pair->previous.get());
        runList.push_back(pair->current.get());
    }
    runList.push_back(nullptr);
}

// Modules out of use.

std::unique_ptr<CAudioModule> CAudioProcessTerminalBase::takeModule() LUM_REALTIME {
    if (retired.empty()) return createModule();
    std::unique_ptr<CAudioModule> module = std::move(retired.back());
    retired.pop_back();
    return module;
}

void CAudioProcessTerminalBase::setUpLike(CAudioModule& module,
                                          const CAudioModule& model) LUM_REALTIME {
    module.channels.resize(model.channels.size());
    for (int i = 0; i < model.channels.ssize(); i++) {
        module.channels[i].input = model.channels[i].input;
        module.channels[i].latency = model.baseLatency;
    }
    module.sampleRate = model.sampleRate;
    module.baseLatency = model.baseLatency;
    bindModule(module, model.groupIndex, model.channelIndex);
}

void CAudioProcessTerminalBase::retire(std::unique_ptr<CAudioModule> module) LUM_REALTIME {
    for (CModuleChannel& channel : module->channels) channel.output.reset();
    retired.push_back(std::move(module));
}

} // namespace lum
