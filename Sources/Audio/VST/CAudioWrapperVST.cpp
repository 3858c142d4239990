#include "Audio/VST/CAudioWrapperVST.h"

#include "Audio/CAudioExtParam.h"
#include "Audio/CAudioExtParamList.h"
#include "Audio/CAudioParamRegistry.h"
#include "Audio/VST/CVSTHostTraits.h"
#include "Core/CAppData.h"
#include "Core/CLog.h"
#include "Core/CSystem.h"
#include "Platform/Clock.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>

namespace lum {

namespace {

using namespace vst;

struct CCategoryRow {
    const char* name;
    Category category;
};
constexpr CCategoryRow kCategories[] = {
    {"kPlugCategUnknown", Category::Unknown},
    {"kPlugCategEffect", Category::Effect},
    {"kPlugCategSynth", Category::Synth},
    {"kPlugCategAnalysis", Category::Analysis},
    {"kPlugCategMastering", Category::Mastering},
    {"kPlugCategSpacializer", Category::Spatialiser},
    {"kPlugCategRoomFx", Category::RoomEffect},
    {"kPlugSurroundFx", Category::SurroundEffect},
    {"kPlugCategRestoration", Category::Restoration},
    {"kPlugCategOfflineProcess", Category::OfflineProcess},
    {"kPlugCategShell", Category::Shell},
    {"kPlugCategGenerator", Category::Generator},
};

constexpr size_t kLongestHostName = 64;   // characters
constexpr size_t kLongestSpeakerName = 7; // characters
constexpr size_t kParameterText = 7;      // characters
constexpr intptr_t kExtensionAnswer = 0xBEEF;
constexpr int32_t kDisplayTextOf = 7;        // vendor-specific: text of a value
constexpr int32_t kValueOfText = 27;         // vendor-specific: value of a text
constexpr int32_t kWheelIndex = 0x73744341;  // "stCA", the last letter in either case
constexpr intptr_t kWheelValue = 0x57686565; // "Whee"
constexpr size_t kValueText = 8;             // characters of "%f" that fit the host's buffer
constexpr int kTransportBits = 14;

/// Takes a lock for a scope if there is one.
class COptionalGuard {
public:
    explicit COptionalGuard(platform::CLock* target) : lock(target) {
        if (lock) lock->enter();
    }
    ~COptionalGuard() {
        if (lock) lock->leave();
    }
    COptionalGuard(const COptionalGuard&) = delete;
    COptionalGuard& operator=(const COptionalGuard&) = delete;

private:
    platform::CLock* lock;
};

/// Number as "%f" prints it, whatever the locale says.
void printValue(void* target, double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 6);
    const size_t count = std::min(static_cast<size_t>(end.ptr - text), kValueText);
    std::memcpy(target, text, count);
    static_cast<char*>(target)[count] = 0;
}

} // namespace

std::atomic<int> CAudioWrapperVST::liveCount{0};

int CAudioWrapperVST::countLive() {
    return liveCount.load();
}

CAudioWrapperVST::CAudioWrapperVST(HostCallback hostCallback) : CVSTEffect(hostCallback) {
    liveCount++;
}

CAudioWrapperVST::~CAudioWrapperVST() {
    disconnectHost();
    liveCount--;
}

CErrorResult CAudioWrapperVST::init() {
    LUM_TRY(CAudioWrapper::init());
    readHost();
    describeEffect();
    {
        const CDeferredCallHold held(getCollector());
        platform::CLockGuard hold(routingLock);
        refreshChannelNames();
    }
    LUM_TRY(finishInit());
    getEffect()->initialDelay = getLatency();
    return nullptr;
}

void CAudioWrapperVST::readHost() {
    const CVSTHostTraits traits =
        CVSTHostTraits::of(static_cast<int32_t>(std::max<intptr_t>(callHost(kHostVersion), 1)),
                           askHostText(kHostGetProductString, kLongestHostName),
                           askHostText(kHostGetVendorString, kLongestHostName));
    if (traits.needsSyncLock || readFlag(CAppDataGroup::get(), "vst-func-sync", false))
        syncLock = std::make_unique<platform::CLock>();
    allowsLabelImport = traits.allowsLabelImport;
    system::setFocusOnClick(traits.takesFocusOnClick);
    inputChannels = traits.isMultiChannel && !forceTwoChannels ? intChannelCount : 2;
    outputChannels = inputChannels;
    arrangedInputs = inputBusChannels = inputChannels;
    arrangedOutputs = outputBusChannels = outputChannels;
}

void CAudioWrapperVST::describeEffect() {
    AEffect& record = *getEffect();
    record.uniqueId = pluginCode;
    record.version = getVendorVersion();
    record.numPrograms = getRegistry().getProgramCount();
    record.numParams = getExtParams().getCount();
    record.numInputs = inputChannels;
    record.numOutputs = outputChannels;
    record.flags = kFlagCanReplacing | kFlagCanDoubleReplacing | kFlagProgramChunks;
}

// Channels

/// Under the routing lock.
void CAudioWrapperVST::refreshChannelNames() {
    const bool hasArrangement = inputArrangement.get() != nullptr;
    const int count = hasArrangement ? inputArrangement.channels() : inputChannels;
    inputLabels.clear();
    for (int i = 0; i < count; i++) {
        CString name = hasArrangement ? inputArrangement.speakerName(i) : CString();
        if (name.empty() || name == "?")
            name = i == 0 ? CString("L") : i == 1 ? CString("R") : "IN" + CString::fromInt(i + 1);
        inputLabels.push_back(name);
    }
    if (hasArrangement && allowsLabelImport) updateDefaultRouting(true, nullptr, nullptr);
}

bool CAudioWrapperVST::setSpeakerArrangement(const SpeakerArrangement& inputs,
                                             const SpeakerArrangement& outputs) {
    const int ins = inputs.numChannels;
    const int outs = outputs.numChannels;
    if (ins > inputChannels || ins < 1 || outs > outputChannels || outs < 0) return false;
    if (ins != outs && (isSymmetricIo || (outs != 1 && outs != 2))) return false;
    // News that waits runs behind the lock: the host may be in a call that waits for it.
    const CDeferredCallHold held(getCollector());
    platform::CLockGuard hold(routingLock);
    // A host may give back the very records that it has been shown, also crosswise.
    const CByteBuffer newInputs = CArrangement::bytesOf(inputs);
    const CByteBuffer newOutputs = CArrangement::bytesOf(outputs);
    inputArrangement.assign(newInputs);
    outputArrangement.assign(newOutputs);
    arrangedInputs = ins;
    arrangedOutputs = outs;
    // The host's arrays may hold no more pointers than this from here on, and no more than before
    // until it resumes.
    inputBusChannels = std::min<int>(inputBusChannels, ins);
    outputBusChannels = std::min<int>(outputBusChannels, outs);
    refreshChannelNames();
    applyFormats(isDoublePrecision);
    return true;
}

const SpeakerArrangement* CAudioWrapperVST::getInputArrangement() {
    return inputArrangement.get();
}

const SpeakerArrangement* CAudioWrapperVST::getOutputArrangement() {
    return outputArrangement.get();
}

CByteBuffer CAudioWrapperVST::CArrangement::bytesOf(const SpeakerArrangement& source) {
    // The array's real length is the channel count; the record's own length is never less.
    const auto channelCount = static_cast<size_t>(source.numChannels);
    const size_t used =
        offsetof(SpeakerArrangement, speakers) + channelCount * sizeof(SpeakerProperties);
    CByteBuffer copy;
    copy.resize(std::max(used, sizeof(SpeakerArrangement)));
    std::memset(copy.data(), 0, copy.size());
    std::memcpy(copy.data(), &source, used);
    return copy;
}

/// In place where it fits, as the host may still look at what it was shown.
void CAudioWrapperVST::CArrangement::assign(const CByteBuffer& newBytes) {
    if (bytes.size() != newBytes.size()) bytes.resize(newBytes.size());
    std::memcpy(bytes.data(), newBytes.data(), newBytes.size());
}

const SpeakerArrangement* CAudioWrapperVST::CArrangement::get() const {
    return bytes.empty() ? nullptr : reinterpret_cast<const SpeakerArrangement*>(bytes.data());
}

CString CAudioWrapperVST::CArrangement::speakerName(int channel) const {
    const uint8_t* speaker = bytes.data() + offsetof(SpeakerArrangement, speakers) +
                             static_cast<size_t>(channel) * sizeof(SpeakerProperties);
    const auto* name = reinterpret_cast<const char*>(speaker + offsetof(SpeakerProperties, name));
    return CString::fromUtf8({name, strnlen(name, kLongestSpeakerName)});
}

CAudioBusFormat CAudioWrapperVST::inputBus(bool isDouble) const {
    return {inputBusChannels.load(std::memory_order_relaxed), isDouble, false};
}

CAudioBusFormat CAudioWrapperVST::outputBus(bool isDouble) const {
    return {outputBusChannels.load(std::memory_order_relaxed), isDouble, false};
}

/// Flag and formats move together: a block that saw them differ would read beyond its buffers.
void CAudioWrapperVST::applyFormats(bool isDouble) {
    platform::CSpinGuard hold(blockLock);
    isDoublePrecision = isDouble;
    setInputFormat(inputBus(isDouble), {});
    setOutputFormat(outputBus(isDouble));
}

bool CAudioWrapperVST::setProcessPrecision(int32_t value) {
    if (value != 0 && value != 1) return false;
    applyFormats(value == 1);
    return true;
}

// Activation

void CAudioWrapperVST::suspend() {
    COptionalGuard hold(syncLock.get());
    stop();
    setOffline(false);
    drainControlWrites();
}

void CAudioWrapperVST::resume() {
    COptionalGuard hold(syncLock.get());
    setSampleRate(storedSampleRate);
    // Some hosts resume on the audio thread, which must not wait for a disk in real time.
    const bool isRenderingOffline = isHostOffline();
    if (isRenderingOffline) readOversamplingSettings();
    setOffline(isRenderingOffline);
    inputBusChannels = arrangedInputs.load();
    outputBusChannels = arrangedOutputs.load();
    applyFormats(isDoublePrecision);
    // A host that repeats the call with another rate or layout means the new one.
    if (isConfigurationDirty()) stop();
    start();
    getEffect()->initialDelay = getLatency();
    if (hasResumed) return;
    hasResumed = true;
    isLatencyChanged = false;
    hostLatencyChange->setValue(0.0, 0, static_cast<CAudioWrapper*>(this));
}

bool CAudioWrapperVST::isHostOffline() {
    return callHost(kHostGetProcessLevel) == static_cast<intptr_t>(ProcessLevel::Offline);
}

// Blocks

void CAudioWrapperVST::processReplacing(float** inputs, float** outputs, int32_t frames) {
    processBlock(reinterpret_cast<const void* const*>(inputs),
                 reinterpret_cast<void* const*>(outputs), frames, false);
}

void CAudioWrapperVST::processDoubleReplacing(double** inputs, double** outputs, int32_t frames) {
    processBlock(reinterpret_cast<const void* const*>(inputs),
                 reinterpret_cast<void* const*>(outputs), frames, true);
}

void CAudioWrapperVST::processBlock(const void* const* inputs, void* const* outputs, int32_t frames,
                                    bool isDouble) {
    COptionalGuard hold(syncLock.get());
    if (!beginBlock()) return writeSilence(outputs, outputBus(isDouble), frames);
    runBlock(inputs, outputs, frames, isDouble);
    endBlock();
    if (isLatencyChanged) takeLatency();
}

void CAudioWrapperVST::runBlock(const void* const* inputs, void* const* outputs, int32_t frames,
                                bool isDouble) {
    if (isDoublePrecision != isDouble) applyFormats(isDouble);
    setOffline(isHostOffline());
    if (useHostBpm || useHostRecording) takeTimeInfo();
    process(inputs, outputs, frames);
}

void CAudioWrapperVST::takeTimeInfo() {
    const intptr_t wanted = kTimeTempoValid + (useHostRecording ? kTransportBits : 0);
    const auto* time = reinterpret_cast<const TimeInfo*>(callHost(kHostGetTime, 0, wanted));
    if (!time) return;
    if (time->flags & kTimeTempoValid) setTempo(time->tempo);
    if (useHostRecording) setRecording((time->flags & kTimeRecording) != 0);
}

/// Outside the block, because a host may suspend and resume from inside the call.
void CAudioWrapperVST::takeLatency() {
    isLatencyChanged = false;
    getEffect()->initialDelay = getLatency();
    callHost(kHostIoChanged);
}

void CAudioWrapperVST::processEvents(const Events& list) {
    for (int32_t i = 0; i < list.count; i++) {
        const Event* head = (&list.events[0])[i];
        if (!head || head->type != static_cast<int32_t>(EventType::Midi)) continue;
        const auto* midi = reinterpret_cast<const MidiEvent*>(head);
        CAudioEvent event = {};
        event.sampleOffset = head->deltaFrames;
        event.kind = AudioEventKind::Midi;
        event.midi = {midi->midi[0] >> 4, midi->midi[0] & 15, midi->midi[1] & 127,
                      midi->midi[2] & 127};
        addEvent(event);
    }
}

// Parameters

void CAudioWrapperVST::setParameter(int32_t index, float value) {
    if (CAudioExtParam* param = getExtParams().getParam(index))
        param->setHostValue(static_cast<double>(value));
}

float CAudioWrapperVST::getParameter(int32_t index) {
    const CAudioExtParam* param = getExtParams().getParam(index);
    return param ? static_cast<float>(param->getHostValue()) : 0.0F;
}

CString CAudioWrapperVST::getParameterLabel(int32_t index) {
    CAudioExtParam* param = getExtParams().getParam(index);
    return param ? param->getLabel() : CString();
}

CString CAudioWrapperVST::getParameterDisplay(int32_t index) {
    CAudioExtParam* param = getExtParams().getParam(index);
    return param ? param->getDisplayText() : CString();
}

CString CAudioWrapperVST::getParameterName(int32_t index) {
    CAudioExtParam* param = getExtParams().getParam(index);
    return param ? param->getExtName() : CString();
}

// Programs and chunks

int32_t CAudioWrapperVST::getProgram() {
    return getRegistry().getCurrentProgram();
}

void CAudioWrapperVST::setProgram(int32_t index) {
    getRegistry().setCurrentProgram(index, static_cast<CAudioWrapper*>(this));
}

void CAudioWrapperVST::setProgramName(const CString& name) {
    getRegistry().renamePreset(getProgram(), name, static_cast<CAudioWrapper*>(this));
}

bool CAudioWrapperVST::getProgramName(int32_t index, CString& out) {
    return getRegistry().getProgramName(index, out);
}

const void* CAudioWrapperVST::getChunk(bool isPreset, size_t& size) {
    const double started = platform::clockSeconds();
    if (CErrorResult error = getState(chunk, isPreset, true)) {
        logAndDropError(std::move(error));
        return nullptr;
    }
    logFormat("VST get chunk time (isPreset=%i): %.4f s @ %.4f s", isPreset,
              platform::clockSeconds() - started, system::secondsSinceLoad());
    size = chunk.size();
    return chunk.data();
}

bool CAudioWrapperVST::setChunk(const void* data, size_t size, bool isPreset) {
    const double started = platform::clockSeconds();
    if (CErrorResult error = setState(data, size, isPreset, true)) {
        logAndDropError(std::move(error));
        return false;
    }
    logFormat("VST set chunk time (isPreset=%i): %.4f s @ %.4f s", isPreset,
              platform::clockSeconds() - started, system::secondsSinceLoad());
    return true;
}

// Identity and extensions

int32_t CAudioWrapperVST::getVendorVersion() {
    return (version[0] << 16) | (version[1] << 8) | version[2];
}

Category CAudioWrapperVST::getPlugCategory() {
    const CString name = project->getAttrString("plugin-category-vst");
    for (const CCategoryRow& row : kCategories)
        if (name == row.name) return row.category;
    return Category::Effect;
}

intptr_t CAudioWrapperVST::vendorSpecific(int32_t index, intptr_t value, void* ptr, float opt) {
    if ((index & ~0x20) == kWheelIndex) return value == kWheelValue ? 1 : 0;
    if ((index != kDisplayTextOf && index != kValueOfText) || !ptr) return 0;
    if (value < 0 || value >= getExtParams().getCount()) return 0;
    CAudioExtParam& param = *getExtParams().getParam(static_cast<int>(value));
    if (index == kDisplayTextOf) {
        copyHostText(ptr, param.valueToText(static_cast<double>(opt)), kParameterText);
        return kExtensionAnswer;
    }
    const auto* text = static_cast<const char*>(ptr);
    printValue(ptr, param.textToValue(CString::fromUtf8({text, std::strlen(text)})));
    return kExtensionAnswer;
}

intptr_t CAudioWrapperVST::canDo(const char* text) {
    if (std::strcmp(text, "hasCockosExtensions") == 0) return 0xBEEF0000;
    if (std::strcmp(text, "receiveVstMidiEvent") == 0) return 1;
    if (std::strcmp(text, "receiveVstTimeInfo") == 0) return 1;
    return 0;
}

// News to the host

void CAudioWrapperVST::hostParamChanged(int32_t index, double value) {
    if (isInitialised) callHost(kHostAutomate, index, 0, nullptr, static_cast<float>(value));
}

void CAudioWrapperVST::hostUpdateDisplay() {
    callHost(kHostUpdateDisplay);
}

void CAudioWrapperVST::hostBeginEdit(int32_t index) {
    callHost(kHostBeginEdit, index);
}

void CAudioWrapperVST::hostEndEdit(int32_t index) {
    callHost(kHostEndEdit, index);
}

/// Without an editor any size is fine.
bool CAudioWrapperVST::hostResizeEditor(int, int) {
    return true;
}

} // namespace lum
