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
#include <tuple>

// Activation, formats, and what the host tells of itself.

namespace lum {

namespace {

constexpr double kDefaultWidth = 400.0; // pixels, where the product declares no size
constexpr double kDefaultHeight = 300.0;
// Blocks of the longest sub-block that one channel may have in use at once: its input, what the
// equaliser, the gains and the mid/side coders hand on, both sides of their fades and of a graph
// that is being replaced, and the aligned dry signal.
// Eight groups of one channel that change to another routing have some 300 in use.
constexpr int kBlocksPerChannel = 42;    // 1.3 MiB for 8 channels
constexpr double kLongestFade = 0.1;     // seconds; fades of products stay well below
constexpr int kDelayBlockSamples = 1024; // of the rings of the compensation delays
constexpr int kDelayBlocksPerChannel = 12;
constexpr int kRehearsedRoutings = 4; // wide and narrow, with mid/side, with solo
constexpr int kRehearsedBlocks = 3;   // behind each replacement, so that fades overlap
constexpr int kScratchBlocks = 8;     // of each size, 4.8 MiB in all
constexpr int kScratchStep = 448;     // samples: as far as the pool looks for a larger block
constexpr int kLargestScratch = 8192; // samples
constexpr size_t kStatePrefix = 16;   // reserved bytes in front of a host's chunk

bool isTrue(const CString& text) {
    return text == "true" || text == "1";
}

} // namespace

// Activation

void CAudioWrapper::start() {
    platform::CFlushToZero mode;
    const bool isNewLayout = isConfigurationDirty();
    {
        platform::CSpinGuard holdBlocks(blockLock);
        {
            platform::CSpinGuard holdEnv(env->lock);
            if (env->isActive) return;
            env->isActive = true;
        }
        applyConfiguration();
        if (std::exchange(needsRehearsal, false)) rehearse();
        isRunning = true;
    }
    if (isNewLayout) interfaceBase->sendChannelCounts();
    interfaceBase->sendStartViz();
    if (!isVizAlwaysActive) interfaceBase->sendClearClient();
    readOversamplingSettings();
    drainControlWrites();
}

void CAudioWrapper::stop() {
    platform::CFlushToZero mode;
    {
        platform::CSpinGuard holdBlocks(blockLock);
        {
            platform::CSpinGuard holdEnv(env->lock);
            if (!env->isActive) return;
            env->isActive = false;
        }
        isRunning = false;
        applyConfiguration();
        mainProcess->reset();
        outputProcess->reset();
    }
    if (!isVizAlwaysActive) interfaceBase->sendStopViz();
    vizCollector->reset();
    if (isVizAlwaysActive) interfaceBase->sendClearClient();
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

void CAudioWrapper::applyConfiguration() {
    bool isNew = false;
    {
        platform::CSpinGuard hold(env->lock);
        isNew = std::exchange(isDirty, false);
    }
    if (isNew) publishLayout();
    sortEvents();
    exchange();
    runEmptyBlock(1);
    needsRehearsal = needsRehearsal || isNew;
}

void CAudioWrapper::publishLayout() {
    CPortFormat format;
    {
        platform::CSpinGuard hold(env->lock);
        format.sampleRate = env->sampleRate;
        layoutChannels = std::min(inFormat.channels + sideChainFormat.channels, kMaxChannels);
    }
    for (int i = 0; i < layoutChannels; i++) format.slots.push_back(CSlotFormat{i, 0, 0, 0});
    layoutRate = format.sampleRate;
    mainProcess->setExternalInput(0, format);
}

void CAudioWrapper::runEmptyBlock(int frames) {
    for (int i = 0; i < layoutChannels; i++)
        mainProcess->feedExternal(0, i, samplePool.takeZeroed(frames), frames);
    mainProcess->process();
    outputProcess->process();
    outputProcess->releaseInputs();
}

void CAudioWrapper::rehearse() {
    warmPools();
    if (useRouting) rehearseRoutings();
    // Twice, because the second replacement is the first that finds a retired module.
    for (int round = 0; round < 2; round++) {
        markAllParamsChanged();
        const int frames = env->latency + static_cast<int>(kLongestFade * layoutRate);
        for (int done = 0; done < frames; done += kLongestSubBlock) runEmptyBlock(kLongestSubBlock);
    }
}

void CAudioWrapper::rehearseRoutings() {
    const char* const names[] = {
        "io-params.in-routing", "io-params.out-routing",        "io-params.grouping",
        "io-params.ms-pairs",   "io-params.channel-group-solo", "mid-side-bypass",
        "group-solo-bypass"};
    constexpr int kCount = static_cast<int>(std::size(names));
    CVector<CAudioParam*, kCount> params;
    CVector<CAudioParamStorage, 1> saved;
    for (const char* name : names) {
        params.push_back(&collector->getParam(CString("plugin.modMain.") + name));
        saved.push_back(params.back()->getAudioValues());
    }
    const auto [inRouting, outRouting, grouping, msPairs, solo, msBypass, soloBypass] =
        std::tie(params[0], params[1], params[2], params[3], params[4], params[5], params[6]);
    for (int step = 0; step < kRehearsedRoutings; step++) {
        const bool isWide = step % 2 == 0; // a group for each channel, or one for each pair
        CVector<double, 16> routes, groups, pairs;
        for (int i = 0; i < intChannelCount; i++) {
            routes.push_back(i + 1);
            groups.push_back((isWide ? i + step : i / 2 + step) % groupCount);
            pairs.push_back(step > 0 ? i / 2 + 1 : 0);
        }
        writeAudioValues(*inRouting, routes, 0);
        writeAudioValues(*outRouting, routes, 0);
        writeAudioValues(*grouping, groups, 0);
        writeAudioValues(*msPairs, pairs, 0);
        writeAudioValues(*msBypass, {step > 0 ? 0.0 : 1.0}, 0);
        writeAudioValues(*soloBypass, {step > 1 ? 0.0 : 1.0}, 0);
        for (int group = 0; group < groupCount; group++)
            writeAudioValues(*solo, {step > 1 && group == step ? 1.0 : 0.0}, group);
        runEmptyBlock(kLongestSubBlock);
        markAllParamsChanged();
        for (int i = 0; i < kRehearsedBlocks; i++) runEmptyBlock(kLongestSubBlock);
    }
    for (int i = 0; i < kCount; i++) collector->restoreAudioValues(*params[i], saved[i]);
    runEmptyBlock(kLongestSubBlock);
}

void CAudioWrapper::writeAudioValues(CAudioParam& param, const CVector<double, 16>& values,
                                     int group) {
    const CAudioParamStorage& present = param.getAudioValues();
    if (!present.isInitialised()) return;
    collector->queueChange(param,
                           CAudioParamChange::ofValues(present.getFormat(), group, 0, values.data(),
                                                       values.ssize(), true, this),
                           true);
}

/// Gives every number on the audio side the value that it has.
void CAudioWrapper::markAllParamsChanged() {
    collector->forEachParam([this](CAudioParam& param) {
        const CAudioParamInfo* info = param.getInfo();
        if (!info || !info->format.isFloat() || !param.getAudioValues().isInitialised()) return;
        const int groups = info->format.isSingleGroup ? 1 : groupCount;
        for (int group = 0; group < groups; group++)
            collector->queueChange(
                param, CAudioParamChange::ofGroup(param.getAudioValues(), group, this), true);
    });
}

void CAudioWrapper::warmPools() {
    const int channels = std::max(layoutChannels, intChannelCount);
    samplePool.warm(kLongestSubBlock, channels * kBlocksPerChannel);
    samplePool.warm(kDelayBlockSamples, channels * kDelayBlocksPerChannel);
    // Rings borrow from the classes above theirs, which the design of kernels needs as scratch.
    for (int scratch = kDelayBlockSamples; scratch <= kLargestScratch; scratch += kScratchStep)
        samplePool.warm(scratch, kScratchBlocks);
}

void CAudioWrapper::drainControlWrites() {
    if (!context->controlWrites.isEmpty()) context->controlWrites.drain();
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
    return env->latency;
}

// What the host tells of itself. These may run on the audio thread.

void CAudioWrapper::writeHostParam(CAudioParam& param, double value) {
    context->controlWrites.post(param, 0, value);
}

void CAudioWrapper::setOffline(bool isHostOffline) {
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

/// The stores are read here, on a control thread, so that updateOversampling may run on any.
void CAudioWrapper::readOversamplingSettings() {
    CString level;
    CAppDataGroup::get().getString(level, "oversampling-level", "1");
    if (!level.parseInt(oversamplingLevel)) oversamplingLevel = 1;
    CString force;
    CAppDataLocal::get().getString(force, "force-auto-oversampling", "false");
    forceAutoOversampling = isTrue(force);
}

void CAudioWrapper::updateOversampling() {
    int mode = autoOversamplingRtMode - 1;
    if (isOffline) {
        const double rate = getSampleRate();
        const int shift = rate < 72000.0 ? 1 : rate < 144000.0 ? 0 : -1;
        const int level = std::clamp(std::clamp(oversamplingLevel, -8, 8) + shift, 0, 2);
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
    CWriteSeqBuffer chunk;
    const uint8_t reserved[kStatePrefix] = {};
    LUM_TRY(chunk.write(reserved, kStatePrefix));
    LUM_TRY(chunk.writeCompressedData(out, isPreset ? kPresetBlock : kBankBlock));
    chunk.getBytes(out);
    return nullptr;
}

CErrorResult CAudioWrapper::setState(const void* data, size_t size, bool isPreset,
                                     bool withPrefix) {
    CByteBuffer payload;
    if (withPrefix) {
        if (size <= kStatePrefix || size > INT32_MAX) return nullptr;
        CMemoryReader chunk(static_cast<const uint8_t*>(data) + kStatePrefix,
                            static_cast<int32_t>(size - kStatePrefix));
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
    CString useSystemScale;
    store.getString(useSystemScale, "ui-scale-usesr", "true");
    CString scale;
    store.getString(scale, isTrue(useSystemScale) ? "ui-scale2" : "ui-scale", "1.0");
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
