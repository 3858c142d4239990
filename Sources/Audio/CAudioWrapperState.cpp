#include "Audio/CAudioWrapper.h"

#include "Audio/CAudioInterfaceBase.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/CAudioVizCollector.h"
#include "Core/CAppData.h"
#include "Core/CMemoryReader.h"
#include "Core/CWriteSeqBuffer.h"
#include "Platform/FlushToZero.h"

#include <algorithm>
#include <cmath>

// Activation, formats, and what the host tells of itself.

namespace lum {

namespace {

constexpr double kDefaultWidth = 400.0; // pixels, where the product declares no size
constexpr double kDefaultHeight = 300.0;
constexpr int kMostSettling = 2000; // blocks in which the fades of a resume run out; a few will do

} // namespace

// Activation

void CAudioWrapper::start() {
    platform::CFlushToZero mode;
    if (isActive()) return;
    bool isNewLayout = false;
    {
        platform::CLockGuard holdGraphs(graphLock);
        platform::CSpinGuard holdBlocks(blockLock);
        {
            platform::CSpinGuard holdEnv(env->lock);
            if (std::exchange(env->isActive, true)) return;
        }
        isNewLayout = applyConfiguration();
        // What was set while nothing ran is in effect from the first sample.
        CAudioGraph& graph = *graphs.getLive();
        for (int i = 0; i < kMostSettling && !graph.isSettled(); i++)
            graph.runSilence(kLongestSubBlock);
        noteLatency();
        isRunning = true;
    }
    if (isNewLayout) interfaceBase->sendChannelCounts();
    interfaceBase->sendStartViz();
    if (!isVizAlwaysActive) interfaceBase->sendClearClient();
    drainControlWrites();
}

void CAudioWrapper::stop() {
    platform::CFlushToZero mode;
    bool isNewLayout = false;
    {
        platform::CLockGuard holdGraphs(graphLock);
        platform::CSpinGuard holdBlocks(blockLock);
        {
            platform::CSpinGuard holdEnv(env->lock);
            if (!std::exchange(env->isActive, false)) return;
        }
        isRunning = false;
        isNewLayout = applyConfiguration();
        graphs.getLive()->reset();
        vizCollector->reset();
    }
    if (isNewLayout) interfaceBase->sendChannelCounts();
    if (isVizAlwaysActive)
        interfaceBase->sendClearClient();
    else
        interfaceBase->sendStopViz();
    drainControlWrites();
}

bool CAudioWrapper::isActive() {
    platform::CSpinGuard hold(env->lock);
    return env->isActive;
}

bool CAudioWrapper::isConfigurationDirty() {
    platform::CSpinGuard hold(env->lock);
    return isDirty;
}

/// True when a new layout has been published.
bool CAudioWrapper::applyConfiguration() {
    bool isNew = false;
    {
        platform::CSpinGuard hold(env->lock);
        isNew = std::exchange(isDirty, false);
    }
    collector->takePendingChanges();
    graphs.settle();
    if (isNew) publishLayout();
    const CAudioGraph* graph = graphs.getNewest();
    if (isNew || !graph || !graph->getValues().isStructureCurrent()) layOut();
    sortEvents();
    exchange();
    graphs.getLive()->runSilence(1);
    noteLatency();
    return isNew;
}

void CAudioWrapper::publishLayout() {
    layout = CPortFormat();
    platform::CSpinGuard hold(env->lock);
    layout.sampleRate = env->sampleRate;
    const int channels = std::min(inFormat.channels + sideChainFormat.channels, kMaxChannels);
    for (int i = 0; i < channels; i++) layout.slots.push_back(CSlotFormat{i, 0, 0, 0});
}

void CAudioWrapper::layOut() {
    std::unique_ptr<CAudioGraph> graph = makeGraph();
    if (!graph) return;
    graphs.replace(std::move(graph));
}

/// Under graphLock. Null, with lines in the log, when a process refuses.
std::unique_ptr<CAudioGraph> CAudioWrapper::makeGraph() {
    std::unique_ptr<CAudioGraph> graph = std::move(firstGraph);
    if (!graph) {
        graph.reset(new CAudioGraph(*env, *collector, controlWrites));
        if (CErrorResult error = graph->create(graphDefinitions)) {
            logAndDropError(std::move(error));
            return nullptr;
        }
    }
    graph->prepare(layout);
    listenToStructure(*graph);
    return graph;
}

/// A listener's call, under the guard of the parameter that changes.
void CAudioWrapper::onStructureChanged() {
    wantsGraph.store(true, std::memory_order_release);
    collector->deferWork(graphCall);
}

void CAudioWrapper::updateGraph() {
    platform::CFlushToZero mode;
    platform::CLockGuard hold(graphLock);
    graphs.freeLeft();
    while (wantsGraph.exchange(false, std::memory_order_acq_rel)) {
        if (!isRunning || graphs.getNewest()->getValues().isStructureCurrent()) return;
        if (std::unique_ptr<CAudioGraph> graph = makeGraph()) graphs.offer(std::move(graph));
    }
}

/// A parameter may be set inside a block; what follows from it then waits for another thread.
void CAudioWrapper::drainControlWrites() {
    if (blockLock.isHeldByCaller()) return;
    if (wantsGraph.load(std::memory_order_acquire) || graphs.hasLeft()) updateGraph();
    if (!controlWrites.isEmpty()) controlWrites.drain();
}

void CAudioWrapper::onLatencyChanged() {
    isLatencyChanged = true;
    writeHostParam(*hostLatencyChange, 1.0);
}

// Formats

void CAudioWrapper::setSampleRate(double rate) {
    {
        platform::CSpinGuard hold(env->lock);
        if (rate == env->sampleRate) return;
        env->sampleRate = rate;
        isDirty = true;
    }
    interfaceBase->sendSampleRate();
}

void CAudioWrapper::setInputFormat(const CAudioBusFormat& main, const CAudioBusFormat& sideChain) {
    platform::CSpinGuard holdBlocks(blockLock);
    platform::CSpinGuard holdEnv(env->lock);
    if (main.channels != inFormat.channels || sideChain.channels != sideChainFormat.channels)
        isDirty = true;
    inFormat = main;
    sideChainFormat = sideChain;
}

void CAudioWrapper::setOutputFormat(const CAudioBusFormat& format) {
    platform::CSpinGuard holdBlocks(blockLock);
    platform::CSpinGuard holdEnv(env->lock);
    if (format.channels != outFormat.channels) isDirty = true;
    outFormat = format;
}

int CAudioWrapper::getInChannelCount() {
    platform::CSpinGuard hold(env->lock);
    return inFormat.channels;
}

int CAudioWrapper::getOutChannelCount() {
    platform::CSpinGuard hold(env->lock);
    return outFormat.channels;
}

int CAudioWrapper::getSideChainChannelCount() {
    platform::CSpinGuard hold(env->lock);
    return sideChainFormat.channels;
}

double CAudioWrapper::getSampleRate() {
    platform::CSpinGuard hold(env->lock);
    return env->sampleRate;
}

int CAudioWrapper::getLatency() const {
    return env->latency.load(std::memory_order_relaxed);
}

// What the host tells of itself. These may run on the audio thread.

void CAudioWrapper::writeHostParam(CAudioParam& param, double value) {
    controlWrites.post(param, 0, value);
}

void CAudioWrapper::setOffline(bool isHostOffline) {
    platform::CSpinGuard hold(blockLock); // hosts ask on any thread, and every block does
    if (isHostOffline == isOffline) return;
    isOffline = isHostOffline;
    writeHostParam(*hostOffline, isOffline ? 1.0 : 0.0);
    updateOversampling();
}

void CAudioWrapper::setTempo(double bpm) {
    if (!useHostBpm || bpm == lastTempo) return;
    lastTempo = bpm;
    writeHostParam(*hostBpm, bpm);
}

void CAudioWrapper::setRecording(bool isHostRecording) {
    if (!useHostRecording || isHostRecording == lastRecording) return;
    lastRecording = isHostRecording;
    writeHostParam(*hostRec, lastRecording ? 1.0 : 0.0);
}

/// The stores are read here, so that updateOversampling may run in a block.
void CAudioWrapper::readOversamplingSettings() {
    CString text;
    int level = 1;
    CAppDataGroup::get().getString(text, "oversampling-level", "1");
    if (!text.parseInt(level)) level = 1;
    oversamplingLevel = level;
    forceAutoOversampling = readFlag(CAppDataLocal::get(), "force-auto-oversampling", false);
}

void CAudioWrapper::updateOversampling() {
    int mode = autoOversamplingRtMode - 1;
    if (isOffline) {
        const double rate = getSampleRate();
        const int shift = rate < 72000.0 ? 1 : rate < 144000.0 ? 0 : -1;
        const int level = std::clamp(std::clamp<int>(oversamplingLevel, -8, 8) + shift, 0, 2);
        mode = forceAutoOversampling ? -level : level;
    }
    if (mode == oversamplingMode) return;
    oversamplingMode = mode;
    writeHostParam(*hostOversamplingMode, mode);
}

// State

CErrorResult CAudioWrapper::getState(CByteBuffer& out, bool isPreset, bool withPrefix) {
    CWriteSeqBuffer payload;
    if (isPreset)
        LUM_TRY(paramRegistry->acquirePreset(false, -1, -1, payload));
    else
        LUM_TRY(paramRegistry->acquireBank(false, payload));
    payload.getBytes(out);
    if (!withPrefix) return nullptr;
    LUM_TRY(packedState.pack(out, isPreset ? kPresetBlock : kBankBlock));
    return nullptr;
}

CErrorResult CAudioWrapper::setState(const void* data, size_t size, bool isPreset,
                                     bool withPrefix) {
    CByteBuffer payload;
    if (withPrefix) {
        if (size <= CPackedState::kPrefix) return nullptr;
        if (size > INT32_MAX)
            return LUM_FAIL("@lumstr_CAudioWrapper_setState_TooLong State of %1 bytes is too long.",
                            size);
        CMemoryReader chunk(static_cast<const uint8_t*>(data) + CPackedState::kPrefix,
                            static_cast<int32_t>(size - CPackedState::kPrefix));
        LUM_TRY(chunk.readCompressedData(payload, isPreset ? kPresetBlock : kBankBlock));
    } else {
        payload.assign(data, size);
    }
    CMemoryReader reader(payload);
    if (isPreset)
        LUM_TRY(paramRegistry->activatePreset(reader, true));
    else
        LUM_TRY(paramRegistry->activateBank(reader, true));
    return nullptr;
}

// Window

void CAudioWrapper::computeWindowSize(int& width, int& height) {
    CAppDataLocal& store = CAppDataLocal::get();
    CString scale;
    store.getString(scale, readFlag(store, "ui-scale-usesr", true) ? "ui-scale2" : "ui-scale",
                    "1.0");
    if (!scale.parseReal(visualScale)) visualScale = 1.0;

    const auto scaled = [&](double size) {
        return static_cast<int>(std::lround(size * visualScale));
    };
    {
        CAudioParamGuard guard(*mainWindowSize);
        const CAudioParamStorage& values = mainWindowSize->getValues();
        width = scaled(values.read(0, 0, kDefaultWidth));
        height = scaled(values.read(0, 1, kDefaultHeight));
    }
    const int minWidth = project->getAttrInt("min-window-width");
    const int minHeight = project->getAttrInt("min-window-height");
    if (minWidth > 0 && minHeight > 0) {
        width = std::max(width, scaled(minWidth));
        height = std::max(height, scaled(minHeight));
    }
}

void CAudioWrapper::updateEditorSize() {
    int width = 0;
    int height = 0;
    computeWindowSize(width, height);
    if (width == windowWidth && height == windowHeight) return;
    windowWidth = width;
    windowHeight = height;
    if (isInitialised) hostResizeEditor(width, height);
}

bool CAudioWrapper::hostResizeEditor(int, int) {
    return false;
}

} // namespace lum
