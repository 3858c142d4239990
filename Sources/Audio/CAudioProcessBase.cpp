#include "Audio/CAudioProcessBase.h"

#include "Audio/CAudioProcessDef.h"
#include "Audio/CDSPModDelay.h"
#include "Audio/Processes/SampleOps.h"
#include "Core/CLog.h"

#include <algorithm>

namespace lum {

CPortSource::CPortSource() = default;
CPortSource::~CPortSource() = default;

void CPortSource::setFormat(const CPortFormat& newFormat) LUM_REALTIME {
    format = newFormat;
    blocks.resize(format.slots.size());
    places.clear();
    for (CSampleBlockRef& block : blocks) places.push_back(&block);
}

void CInputPort::goDirect() LUM_REALTIME {
    isDirect = true;
    for (const CMergeEntry& entry : merges)
        sources[entry.source]->places[entry.sourceSlot] = &slots[entry.slot].block;
}

void CInputPort::leaveDirect() LUM_REALTIME {
    if (!std::exchange(isDirect, false)) return;
    for (const CMergeEntry& entry : merges) {
        CPortSource& source = *sources[entry.source];
        CSampleBlockRef& block = source.blocks[entry.sourceSlot];
        block = std::move(slots[entry.slot].block);
        source.places[entry.sourceSlot] = &block;
    }
}

bool CPortFormat::operator==(const CPortFormat& other) const {
    return sampleRate == other.sampleRate &&
           std::equal(slots.begin(), slots.end(), other.slots.begin(), other.slots.end());
}

double CParamSubscription::read(int readGroup, int readElement,
                                double fallback) const LUM_REALTIME {
    const CAudioParamFormat& format = storage->getFormat();
    return storage->read(format.isSingleGroup ? 0 : readGroup,
                         format.isSingleElement ? 0 : readElement, fallback);
}

CAudioProcessBase::CAudioProcessBase() = default;

CAudioProcessBase::~CAudioProcessBase() {
    CAudioProcessBase::disconnect();
    dropIncoming();
    for (auto& subscription : subscriptions)
        CAudioParamCollector::removeAudioListener(subscription->node);
}

void CAudioProcessBase::attach(const CAudioProcessDefBase& processDefinition, CString processName,
                               CAudioProcessContext& processContext,
                               CAudioProcessBase* parentProcess) {
    definition = &processDefinition;
    fullName = std::move(processName);
    context = &processContext;
    parent = parentProcess;
}

void CAudioProcessBase::reset() {
    for (auto& port : inputPorts) {
        port->leaveDirect(); // which would take no notice of the first samples
        for (auto& source : port->sources) {
            source->hasRun = false;
            for (CSlotDelay& slotDelay : source->delays)
                if (slotDelay.delay) slotDelay.delay->reset();
        }
    }
}

void CAudioProcessBase::disconnect() {
    for (const COutputTarget& target : targets) target.process->dropSource(target);
    targets.clear();
}

void CAudioProcessBase::sleep() {
    CAudioProcessBase::disconnect();
    dropIncoming();
    for (auto& port : inputPorts) {
        for (CChannelSlot& slot : port->slots) slot.block.reset();
        port->slots.count = 0;
        port->merges.clear();
    }
    for (auto& format : publishedFormats) *format = CPortFormat();
    timedEvents.clear();
    sampleRate = 0.0;
    latency = 0;
    minLatency = 0;
    formatChanged = 1;
}

int CAudioProcessBase::countBlocks() const {
    constexpr int kHeldPerChannel = 5;
    return kHeldPerChannel * countChannels();
}

int CAudioProcessBase::countChannels() const {
    int most = 0;
    for (auto& format : publishedFormats) most = std::max(most, format->slots.ssize());
    return most;
}

void CAudioProcessBase::logFault(const char* text) const {
    logLine(fullName + " // " + text);
}

// The head of a block.

void CAudioProcessBase::runBlockHead() LUM_REALTIME {
    takeBlockLength();
    if (areInputsTouched) takeInputChanges();
    const bool hadEvents = runTimedEvents();
    const bool isNew = takeNewValues();
    if (hadEvents || isNew || formatChanged || needsUpdate) runUpdate();
    for (auto& port : inputPorts) fillSlots(*port);
}

void CAudioProcessBase::takeBlockLength() LUM_REALTIME {
    blockLength = 0;
    for (auto& port : inputPorts) {
        if (port->sources.empty()) continue;
        blockLength = port->blockLength;
        return;
    }
}

void CAudioProcessBase::takeInputChanges() LUM_REALTIME {
    const double oldRate = sampleRate;
    bool isChanged = takeStreamFormat() | portsChanged;
    for (auto& port : inputPorts) {
        isChanged |= rebuildPort(*port);
        for (auto& source : port->sources) rebuildDelays(*source, sampleRate != oldRate);
        port->isSimple = hasNothingToMerge(*port);
        // A port that was not touched may have got a delay, by the latency of another one.
        if (!port->isSimple) port->leaveDirect();
        port->isTouched = false;
    }
    areInputsTouched = false;
    portsChanged = false;
    if (isChanged) formatChanged = 1;
}

/// Before a change of a port's sources.
void CAudioProcessBase::touchPort(CInputPort& port) LUM_REALTIME {
    port.leaveDirect();
    port.isTouched = true;
    areInputsTouched = true;
}

/// Latency and sample rate of the inputs. True when one changed.
bool CAudioProcessBase::takeStreamFormat() LUM_REALTIME {
    int largest = 0;
    int smallest = -1;
    double rate = 0.0;
    for (auto& port : inputPorts)
        for (auto& source : port->sources) {
            if (rate == 0.0) rate = source->format.sampleRate;
            for (const CSlotFormat& slot : source->format.slots) {
                largest = std::max(largest, slot.latency);
                smallest = smallest < 0 ? slot.latency : std::min(smallest, slot.latency);
            }
        }
    minLatency = std::max(smallest, 0);
    bool isChanged = largest != latency || rate != sampleRate;
    latency = largest;
    sampleRate = rate;
    return isChanged;
}

/// Merges the slots of all sources by channel, ascending. True when the table changed.
bool CAudioProcessBase::rebuildPort(CInputPort& port) LUM_REALTIME {
    const CSlotFormat* found[kMaxPortChannels] = {}; // by channel
    for (auto& source : port.sources)
        for (const CSlotFormat& slot : source->format.slots) {
            const CSlotFormat*& place = found[slot.channel & (kMaxPortChannels - 1)];
            if (!place) place = &slot;
        }
    bool isChanged = false;
    int count = 0;
    port.merges.clear();
    for (const CSlotFormat* format : found) {
        if (!format) continue;
        CSlotFormat aligned = *format;
        aligned.latency = latency;
        isChanged |= count >= port.slots.count || port.slots[count].format != aligned;
        port.slots[count].format = aligned;
        for (int s = 0; s < port.sources.ssize(); s++)
            for (int j = 0; j < port.sources[s]->format.slots.ssize(); j++)
                if (port.sources[s]->format.slots[j].channel == format->channel)
                    port.merges.push_back({count, s, j});
        count++;
    }
    isChanged |= count != port.slots.count;
    for (int i = count; i < port.slots.count; i++) port.slots[i].block.reset();
    port.slots.count = count;
    return isChanged;
}

bool CAudioProcessBase::hasNothingToMerge(const CInputPort& port) LUM_REALTIME {
    const auto hasDelay = [](const CSlotDelay& slotDelay) { return slotDelay.delay != nullptr; };
    return port.merges.ssize() == port.slots.count &&
           std::none_of(port.sources.begin(), port.sources.end(), [&](const auto& source) {
               return std::any_of(source->delays.begin(), source->delays.end(), hasDelay);
           });
}

/// Brings the delays of a source in line with its slots. A line stays with its channel.
void CAudioProcessBase::rebuildDelays(CPortSource& source, bool isRateNew) LUM_REALTIME {
    if (isRateNew) {
        source.delays.clear();
        source.hasRun = false;
    }
    CVector<CSlotDelay, 2> old = std::move(source.delays);
    source.delays.clear();
    source.delays.reserve(source.format.slots.size());
    for (const CSlotFormat& slot : source.format.slots) {
        auto known = std::find_if(old.begin(), old.end(), [&](const CSlotDelay& candidate) {
            return candidate.channel == slot.channel && candidate.stack == slot.stack;
        });
        bool isKnown = known != old.end();
        source.delays.push_back(
            {slot.channel, slot.stack, isKnown ? std::move(known->delay) : nullptr});
        settleDelay(source.delays.back(), isKnown && source.hasRun, latency - slot.latency);
    }
}

void CAudioProcessBase::settleDelay(CSlotDelay& slotDelay, bool isHeard, int delay) LUM_REALTIME {
    constexpr double kFadeSeconds = 0.015; // 662 samples at 44.1 kHz
    if (slotDelay.delay) {
        slotDelay.delay->setDelay(delay);
        return;
    }
    if (delay == 0) return;
    slotDelay.delay.reset(new CDSPModDelay(context->pool, isHeard ? 0 : delay,
                                           roundToInt(sampleRate * kFadeSeconds),
                                           definition && definition->isCompInput));
    if (isHeard) slotDelay.delay->crossTo(delay);
}

/// True when events waited.
bool CAudioProcessBase::runTimedEvents() LUM_REALTIME {
    if (timedEvents.empty()) return false;
    double seconds = sampleRate > 0.0 ? blockLength / sampleRate : 0.0;
    int kept = 0;
    for (CTimedEvent& event : timedEvents) {
        if (event.secondsLeft <= 0.0) {
            *event.flag = 1;
            continue;
        }
        event.secondsLeft -= seconds;
        timedEvents[kept++] = event;
    }
    timedEvents.resize(static_cast<size_t>(kept));
    return true;
}

bool CAudioProcessBase::takeNewValues() LUM_REALTIME {
    if (!hasNewValues) return false;
    hasNewValues = 0;
    bool isAny = false;
    for (auto& subscription : subscriptions) {
        if (!subscription->isDirty) continue;
        subscription->isDirty = 0;
        subscription->newMark = -1;
        isAny = true;
    }
    return isAny;
}

void CAudioProcessBase::runUpdate() LUM_REALTIME {
    needsUpdate = 0;
    update();
    formatChanged = 0;
    for (auto& subscription : subscriptions) subscription->newMark = 0;
    if (!timedEvents.empty()) needsUpdate = 1;
}

/// Fills the slots for this block. In a direct port all is in its place but for the channels of
/// processes that do not run.
void CAudioProcessBase::fillSlots(CInputPort& port) LUM_REALTIME {
    if (port.isDirect) {
        for (CChannelSlot& slot : port.slots)
            if (!slot.block && blockLength > 0) slot.block = context->pool.takeZeroed(blockLength);
        return;
    }
    if (blockLength > 0) readsPort(port.number) ? mergePort(port) : passPortBy(port);
    for (auto& source : port.sources)
        for (CSampleBlockRef& block : source->blocks) block.reset();
    if (port.isSimple && blockLength > 0) port.goDirect();
}

/// Aligns the sources and combines those that share a channel.
void CAudioProcessBase::mergePort(CInputPort& port) LUM_REALTIME {
    for (int first = 0, end; first < port.merges.ssize(); first = end) {
        const CMergeEntry& entry = port.merges[first];
        for (end = first + 1; end < port.merges.ssize() && port.merges[end].slot == entry.slot;)
            end++;
        port.slots[entry.slot].block =
            end == first + 1 ? takeSourceBlock(port, entry) : combine(port, &entry, end - first);
    }
}

/// For a block that nobody reads: the delays take the samples, for the time when somebody will.
void CAudioProcessBase::passPortBy(CInputPort& port) LUM_REALTIME {
    for (const CMergeEntry& entry : port.merges) {
        CPortSource& source = *port.sources[entry.source];
        source.hasRun = true;
        CDSPModDelay* delay = source.delays[entry.sourceSlot].delay.get();
        if (!delay) continue;
        CSampleBlockRef& block = source.blocks[entry.sourceSlot];
        if (!block) block = context->pool.takeZeroed(blockLength);
        delay->process(block.samples(), nullptr, blockLength);
    }
}

CSampleBlockRef CAudioProcessBase::takeSourceBlock(CInputPort& port,
                                                   const CMergeEntry& entry) LUM_REALTIME {
    CPortSource& source = *port.sources[entry.source];
    source.hasRun = true;
    CSampleBlockRef block = std::move(source.blocks[entry.sourceSlot]);
    if (!block) block = context->pool.takeZeroed(blockLength); // its process does not run
    CDSPModDelay* delay = source.delays[entry.sourceSlot].delay.get();
    if (!delay) return block;
    CSampleBlockRef out = block->isShared() ? context->pool.take(blockLength) : block;
    delay->process(block.samples(), out.samples(), blockLength);
    return out;
}

CSampleBlockRef CAudioProcessBase::combine(CInputPort& port, const CMergeEntry* entries,
                                           int entryCount) LUM_REALTIME {
    CSampleBlockRef blocks[kMaxPortChannels];
    const double* sources[kMaxPortChannels];
    int count = 0;
    for (int i = 0; i < entryCount; i++) {
        CSampleBlockRef block = takeSourceBlock(port, entries[i]);
        if (count == kMaxPortChannels) continue;
        sources[count] = block.samples();
        blocks[count++] = std::move(block);
    }
    CSampleBlockRef out = context->pool.take(blockLength);
    InputComboMode mode = definition ? definition->inputComboMode : InputComboMode::Sum;
    if (mode == InputComboMode::Maximum)
        ops::maximum(out.samples(), sources, count, blockLength);
    else
        ops::sum(out.samples(), sources, count, blockLength);
    if (mode == InputComboMode::Average)
        ops::scale(out.samples(), out.samples(), 1.0 / count, blockLength);
    return out;
}

// Links.

void CAudioProcessBase::connect(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                                int targetPort) {
    for (const COutputTarget& target : from.targets)
        if (target.process == &to && target.sourcePort == sourcePort &&
            target.targetPort == targetPort)
            return;
    CInputPort& port = to.makePort(targetPort);
    CPortSource& source = to.addSource(port, &from, sourcePort);
    source.setFormat(from.publishedFormat(sourcePort));
    from.targets.push_back({&to, sourcePort, targetPort, &port, &source});
}

void CAudioProcessBase::unlink(CAudioProcessBase& from, int sourcePort, CAudioProcessBase& to,
                               int targetPort) {
    for (size_t i = 0; i < from.targets.size(); i++) {
        COutputTarget target = from.targets[i];
        if (target.process != &to || target.sourcePort != sourcePort ||
            target.targetPort != targetPort)
            continue;
        from.targets.erase(i);
        to.dropSource(target);
        return;
    }
}

CPortSource& CAudioProcessBase::addSource(CInputPort& port, CAudioProcessBase* source,
                                          int sourcePort) {
    touchPort(port);
    auto& added = *port.sources.push_back(std::unique_ptr<CPortSource>(new CPortSource));
    added.process = source;
    added.sourcePort = sourcePort;
    return added;
}

/// The target's side of a link that goes.
void CAudioProcessBase::dropSource(const COutputTarget& target) {
    auto& sources = target.port->sources;
    for (size_t i = 0; i < sources.size(); i++) {
        if (sources[i].get() != target.source) continue;
        touchPort(*target.port);
        sources.erase(i);
        // Merge entries name sources by place; nothing may use them before the next head.
        target.port->merges.clear();
        return;
    }
}

void CAudioProcessBase::dropIncoming() {
    for (auto& port : inputPorts) {
        touchPort(*port);
        for (auto& source : port->sources) {
            if (!source->process) continue;
            auto& links = source->process->targets;
            for (size_t i = links.size(); i-- > 0;)
                if (links[i].source == source.get()) links.erase(i);
        }
        port->sources.clear();
        port->merges.clear();
    }
}

CInputPort* CAudioProcessBase::findPort(int number) LUM_REALTIME {
    for (auto& port : inputPorts)
        if (port->number == number) return port.get();
    return nullptr;
}

CInputPort& CAudioProcessBase::makePort(int number) {
    if (CInputPort* known = findPort(number)) return *known;
    size_t place = 0;
    while (place < inputPorts.size() && inputPorts[place]->number < number) place++;
    inputPorts.insert(place, std::unique_ptr<CInputPort>(new CInputPort));
    inputPorts[place]->number = number;
    areInputsTouched = true;
    portsChanged = true;
    return *inputPorts[place];
}

void CAudioProcessBase::publish(int sourcePort, const CPortFormat& format) LUM_REALTIME {
    CPortFormat& published = publishedFormat(sourcePort);
    if (published == format) return;
    published = format;
    for (const COutputTarget& target : targets) {
        if (target.sourcePort != sourcePort) continue;
        target.process->touchPort(*target.port);
        target.source->setFormat(format);
    }
}

bool CAudioProcessBase::hasTargets(int sourcePort) const LUM_REALTIME {
    return std::any_of(targets.begin(), targets.end(), [&](const COutputTarget& target) {
        return target.sourcePort == sourcePort;
    });
}

CPortFormat& CAudioProcessBase::publishedFormat(int sourcePort) {
    while (publishedFormats.ssize() <= sourcePort)
        publishedFormats.push_back(std::unique_ptr<CPortFormat>(new CPortFormat));
    return *publishedFormats[sourcePort];
}

const CPortFormat& CAudioProcessBase::getPublishedFormat(int sourcePort) {
    return publishedFormat(sourcePort);
}

// The outer ends.

void CAudioProcessBase::setExternalInput(int number, const CPortFormat& format) {
    CInputPort& port = makePort(number);
    CPortSource* source = nullptr;
    for (auto& candidate : port.sources)
        if (!candidate->process) source = candidate.get();
    if (!source) source = &addSource(port, nullptr, 0);
    if (source->format == format) return;
    touchPort(port);
    source->setFormat(format);
}

void CAudioProcessBase::feedExternal(int number, int slot, CSampleBlockRef block,
                                     int frames) LUM_REALTIME {
    CInputPort* port = findPort(number);
    if (!port) return;
    port->blockLength = frames;
    for (auto& source : port->sources)
        if (!source->process && slot >= 0 && slot < source->places.ssize()) {
            *source->places[slot] = std::move(block);
            return; // a port has one source from outside
        }
}

CSlotTable& CAudioProcessBase::inputSlots(int number) LUM_REALTIME {
    static CSlotTable none; // stays empty
    CInputPort* port = findPort(number);
    return port ? port->slots : none;
}

int CAudioProcessBase::inputBlockLength(int number) LUM_REALTIME {
    CInputPort* port = findPort(number);
    return port ? port->blockLength : 0;
}

// Events.

void CAudioProcessBase::addTimedEvent(double seconds, uint8_t* flag) LUM_REALTIME {
    timedEvents.push_back({seconds, flag});
    needsUpdate = 1;
}

void CAudioProcessBase::cancelTimedEvents(const uint8_t* flag) LUM_REALTIME {
    for (size_t i = timedEvents.size(); i-- > 0;)
        if (timedEvents[i].flag == flag) timedEvents.erase(i);
}

} // namespace lum
