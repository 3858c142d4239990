/// The binary contract between a VST 2.4 host and a plug-in: numbers, layouts and calling
/// convention, as facts, in our own words and names. Plain data without behaviour; the adapter,
/// the host program and the tests share it. Everything uses the platform's C convention (cdecl on
/// 32-bit Windows) and natural alignment.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32) && !defined(_WIN64)
#define LUM_VST_CALL __cdecl
#else
#define LUM_VST_CALL
#endif

namespace lum::vst {

struct AEffect;

using HostCallback = std::intptr_t(LUM_VST_CALL*)(AEffect* effect, std::int32_t opcode,
                                                  std::int32_t index, std::intptr_t value,
                                                  void* ptr, float opt);
using Dispatcher = std::intptr_t(LUM_VST_CALL*)(AEffect* effect, std::int32_t opcode,
                                                std::int32_t index, std::intptr_t value, void* ptr,
                                                float opt);
using ProcessFloat = void(LUM_VST_CALL*)(AEffect* effect, float** inputs, float** outputs,
                                         std::int32_t frames);
using ProcessDouble = void(LUM_VST_CALL*)(AEffect* effect, double** inputs, double** outputs,
                                          std::int32_t frames);
using SetParameter = void(LUM_VST_CALL*)(AEffect* effect, std::int32_t index, float value);
using GetParameter = float(LUM_VST_CALL*)(AEffect* effect, std::int32_t index);
using PluginEntry = AEffect*(LUM_VST_CALL*)(HostCallback host);

/// A code of four characters as the number it stands for, the first character highest.
constexpr std::int32_t fourCharacters(char a, char b, char c, char d) {
    const auto byte = [](char character) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(character));
    };
    return static_cast<std::int32_t>((byte(a) << 24U) | (byte(b) << 16U) | (byte(c) << 8U) |
                                     byte(d));
}

constexpr std::int32_t kMagic = fourCharacters('V', 's', 't', 'P');
constexpr std::int32_t kVersion24 = 2400;            // the answer to getVstVersion
constexpr std::int32_t kIdentifyAnswer = 0x4E764566; // "NvEf"
constexpr const char* kEntryName = "VSTPluginMain";
constexpr const char* kOldEntryName = "main";

/// One instance as the host sees it. It belongs to the plug-in, lives from the entry's return to
/// `close`, and is zero-filled before the plug-in first calls the host.
struct AEffect {
    std::int32_t magic;
    Dispatcher dispatcher;
    ProcessFloat process; // accumulates; obsolete, yet never null
    SetParameter setParameter;
    GetParameter getParameter;
    std::int32_t numPrograms;
    std::int32_t numParams;
    std::int32_t numInputs;
    std::int32_t numOutputs;
    std::int32_t flags; // EffectFlag bits
    std::intptr_t hostReserved1;
    std::intptr_t hostReserved2;
    std::int32_t initialDelay; // latency in frames
    std::int32_t realQualities;
    std::int32_t offQualities;
    float ioRatio; // 1.0
    void* object;  // the plug-in's
    void* user;
    std::int32_t uniqueId;
    std::int32_t version;
    ProcessFloat processReplacing;
    ProcessDouble processDoubleReplacing; // null when 64-bit samples are not supported
    char future[56];
};

static_assert(offsetof(AEffect, magic) == 0);
#if INTPTR_MAX == INT64_MAX
static_assert(offsetof(AEffect, dispatcher) == 8);
static_assert(offsetof(AEffect, process) == 16);
static_assert(offsetof(AEffect, setParameter) == 24);
static_assert(offsetof(AEffect, getParameter) == 32);
static_assert(offsetof(AEffect, numPrograms) == 40);
static_assert(offsetof(AEffect, numParams) == 44);
static_assert(offsetof(AEffect, numInputs) == 48);
static_assert(offsetof(AEffect, numOutputs) == 52);
static_assert(offsetof(AEffect, flags) == 56);
static_assert(offsetof(AEffect, hostReserved1) == 64);
static_assert(offsetof(AEffect, hostReserved2) == 72);
static_assert(offsetof(AEffect, initialDelay) == 80);
static_assert(offsetof(AEffect, realQualities) == 84);
static_assert(offsetof(AEffect, offQualities) == 88);
static_assert(offsetof(AEffect, ioRatio) == 92);
static_assert(offsetof(AEffect, object) == 96);
static_assert(offsetof(AEffect, user) == 104);
static_assert(offsetof(AEffect, uniqueId) == 112);
static_assert(offsetof(AEffect, version) == 116);
static_assert(offsetof(AEffect, processReplacing) == 120);
static_assert(offsetof(AEffect, processDoubleReplacing) == 128);
static_assert(offsetof(AEffect, future) == 136);
static_assert(sizeof(AEffect) == 192);
#else
static_assert(offsetof(AEffect, dispatcher) == 4);
static_assert(offsetof(AEffect, numPrograms) == 20);
static_assert(offsetof(AEffect, flags) == 36);
static_assert(offsetof(AEffect, initialDelay) == 48);
static_assert(offsetof(AEffect, object) == 64);
static_assert(offsetof(AEffect, uniqueId) == 72);
static_assert(offsetof(AEffect, processReplacing) == 80);
static_assert(offsetof(AEffect, processDoubleReplacing) == 84);
static_assert(sizeof(AEffect) == 144);
#endif

enum EffectFlag : std::int32_t {
    kFlagHasEditor = 0x1,
    kFlagCanReplacing = 0x10, // every plug-in sets it
    kFlagProgramChunks = 0x20,
    kFlagIsSynth = 0x100,
    kFlagNoSoundInStop = 0x200,
    kFlagCanDoubleReplacing = 0x1000,
};

/// What a host asks of an effect. Buffers are the host's; "char n" is what a plug-in may fill, the
/// closing zero included. An unknown number answers 0. Obsolete numbers are left out where no host
/// sends them.
enum EffectOpcode : std::int32_t {
    kEffectOpen = 0,
    kEffectClose = 1, // frees the instance
    kEffectSetProgram = 2,
    kEffectGetProgram = 3,
    kEffectSetProgramName = 4,
    kEffectGetProgramName = 5,      // char 24
    kEffectGetParameterLabel = 6,   // char 8 by the letter, 24 in practice: the unit
    kEffectGetParameterDisplay = 7, // as 6: the value
    kEffectGetParameterName = 8,    // as 6
    kEffectSetSampleRate = 10,      // opt: Hz
    kEffectSetBlockSize = 11,       // value: the most frames a call brings
    kEffectMainsChanged = 12,       // value 1: resume, 0: suspend; may repeat
    kEffectEditGetRect = 13,        // ptr: Rect**
    kEffectEditOpen = 14,           // ptr: the parent window
    kEffectEditClose = 15,
    kEffectEditIdle = 19,
    kEffectEditTop = 20, // obsolete, still sent
    kEffectIdentify = 22,
    kEffectGetChunk = 23,           // index 0: bank, 1: program; ptr: void**; answers bytes
    kEffectSetChunk = 24,           // value: bytes; ptr: data
    kEffectProcessEvents = 25,      // ptr: Events*, valid for the next process call
    kEffectCanBeAutomated = 26,     // 1 or 0
    kEffectStringToParameter = 27,  // ptr: text, or null to ask whether it is possible
    kEffectProgramNameIndexed = 29, // value: category or -1; char 24; 1 in range
    kEffectGetInputProperties = 33, // ptr: PinProperties*; 1 when filled
    kEffectGetOutputProperties = 34,
    kEffectGetCategory = 35, // asked before open by some
    kEffectOfflineNotify = 38,
    kEffectOfflinePrepare = 39,
    kEffectOfflineRun = 40,
    kEffectProcessVariableIo = 41,
    kEffectSetSpeakerArrangement = 42, // value: SpeakerArrangement* in, ptr: out; 1 when taken
    kEffectSetBypass = 44,             // 1 when the plug-in does it itself
    kEffectGetEffectName = 45,         // char 32
    kEffectGetErrorText = 46,          // char 256, obsolete
    kEffectGetVendorString = 47,       // char 64
    kEffectGetProductString = 48,      // char 64
    kEffectGetVendorVersion = 49,
    kEffectVendorSpecific = 50,
    kEffectCanDo = 51,       // ptr: text; 1 yes, -1 no, 0 unknown
    kEffectGetTailSize = 52, // frames; 0: not told, 1: none
    kEffectIdle = 53,        // obsolete, still sent
    kEffectGetParameterProperties = 56,
    kEffectKeysRequired = 57, // 1: wants no keys
    kEffectGetVstVersion = 58,
    kEffectEditKeyDown = 59, // index: character, value: VirtualKey, opt: KeyModifier bits
    kEffectEditKeyUp = 60,
    kEffectSetKnobMode = 61,
    kEffectGetMidiProgramName = 62,
    kEffectGetCurrentMidiProgram = 63,
    kEffectGetMidiProgramCategory = 64,
    kEffectMidiProgramsChanged = 65,
    kEffectGetMidiKeyName = 66,
    kEffectBeginSetProgram = 67,
    kEffectEndSetProgram = 68,
    kEffectGetSpeakerArrangement = 69, // value, ptr: SpeakerArrangement** to fill
    kEffectShellNextPlugin = 70,
    kEffectStartProcess = 71,
    kEffectStopProcess = 72,
    kEffectSetTotalSamples = 73,
    kEffectSetPanLaw = 74,
    kEffectBeginLoadBank = 75, // 1: go on, -1: refuse, 0: no opinion
    kEffectBeginLoadProgram = 76,
    kEffectSetProcessPrecision = 77, // value: ProcessPrecision; 1 when done
    kEffectGetMidiInputChannels = 78,
    kEffectGetMidiOutputChannels = 79,
};

/// What an effect asks of its host. Only kHostVersion may come without an effect.
enum HostOpcode : std::int32_t {
    kHostAutomate = 0, // index, opt: normalised value
    kHostVersion = 1,
    kHostCurrentId = 2,
    kHostIdle = 3,
    kHostPinConnected = 4, // 0: connected
    kHostWantMidi = 6,
    kHostGetTime = 7, // value: TimeFlag mask; answers TimeInfo* or 0
    kHostProcessEvents = 8,
    kHostTempoAt = 10,
    kHostIoChanged = 13, // after a change of channels or initialDelay
    kHostNeedIdle = 14,
    kHostSizeWindow = 15, // index: width, value: height
    kHostGetSampleRate = 16,
    kHostGetBlockSize = 17,
    kHostGetInputLatency = 18,
    kHostGetOutputLatency = 19,
    kHostGetProcessLevel = 23,
    kHostGetAutomationState = 24,
    kHostGetVendorString = 32,  // char 64
    kHostGetProductString = 33, // char 64
    kHostGetVendorVersion = 34,
    kHostVendorSpecific = 35,
    kHostCanDo = 37,
    kHostGetLanguage = 38,
    kHostGetDirectory = 41,
    kHostUpdateDisplay = 42,
    kHostBeginEdit = 43, // index
    kHostEndEdit = 44,
    kHostOpenFileSelector = 45,
    kHostCloseFileSelector = 46,
};

enum class ProcessLevel : std::int32_t {
    Unknown = 0,
    User = 1,
    Realtime = 2,
    Prefetch = 3,
    Offline = 4
};
enum class ProcessPrecision : std::int32_t { Single = 0, Double = 1 };
enum class AutomationState : std::int32_t { Unknown = 0, Off = 1, Read = 2, Write = 3, Both = 4 };
enum class Language : std::int32_t {
    English = 1,
    German = 2,
    French = 3,
    Italian = 4,
    Spanish = 5,
    Japanese = 6
};

enum class Category : std::int32_t {
    Unknown = 0,
    Effect = 1,
    Synth = 2,
    Analysis = 3,
    Mastering = 4,
    Spatialiser = 5,
    RoomEffect = 6,
    SurroundEffect = 7,
    Restoration = 8,
    OfflineProcess = 9,
    Shell = 10,
    Generator = 11
};

/// Sizes that hosts in use really offer for these texts, the closing zero included.
constexpr std::size_t kParameterTextSize = 24;
constexpr std::size_t kProgramNameSize = 24;
constexpr std::size_t kEffectNameSize = 32;
constexpr std::size_t kVendorTextSize = 64;
constexpr std::size_t kProductTextSize = 64;

enum TimeFlag : std::int32_t {
    kTimeTransportChanged = 0x1,
    kTimePlaying = 0x2,
    kTimeCycling = 0x4,
    kTimeRecording = 0x8,
    kTimeAutomationWriting = 0x40,
    kTimeAutomationReading = 0x80,
    kTimeNanoSecondsValid = 0x100,
    kTimePpqPosValid = 0x200,
    kTimeTempoValid = 0x400,
    kTimeBarStartValid = 0x800,
    kTimeCycleValid = 0x1000,
    kTimeSignatureValid = 0x2000,
    kTimeSmpteValid = 0x4000,
    kTimeClockValid = 0x8000,
};

struct TimeInfo {
    double samplePos;   // frames since the start of the song
    double sampleRate;  // Hz
    double nanoSeconds; // system time
    double ppqPos;      // quarter notes
    double tempo;       // quarter notes a minute
    double barStartPos; // quarter notes
    double cycleStartPos;
    double cycleEndPos;
    std::int32_t timeSigNumerator;
    std::int32_t timeSigDenominator;
    std::int32_t smpteOffset; // 1/80 frame
    std::int32_t smpteFrameRate;
    std::int32_t samplesToNextClock;
    std::int32_t flags; // TimeFlag bits
};
static_assert(offsetof(TimeInfo, timeSigNumerator) == 64);
static_assert(offsetof(TimeInfo, flags) == 84);
static_assert(sizeof(TimeInfo) == 88);

enum class EventType : std::int32_t { Midi = 1, SysEx = 6 };

struct Event { // the head that every event starts with
    std::int32_t type;
    std::int32_t byteSize;
    std::int32_t deltaFrames; // from the start of the next block
    std::int32_t flags;
};
static_assert(sizeof(Event) == 16);

struct MidiEvent {
    Event head; // flags bit 0: played live
    std::int32_t noteLength;
    std::int32_t noteOffset;
    std::uint8_t midi[4];
    std::int8_t detune;
    std::uint8_t noteOffVelocity;
    std::uint8_t reserved[2];
};
static_assert(offsetof(MidiEvent, midi) == 24);
static_assert(sizeof(MidiEvent) == 32);

struct SysExEvent {
    Event head;
    std::int32_t dumpBytes;
    std::intptr_t reserved1;
    std::uint8_t* data;
    std::intptr_t reserved2;
};

struct Events {
    std::int32_t count;
    std::intptr_t reserved;
    Event* events[1]; // really `count` of them
};
#if INTPTR_MAX == INT64_MAX
static_assert(offsetof(SysExEvent, data) == 32 && sizeof(SysExEvent) == 48);
static_assert(offsetof(Events, events) == 16);
#endif

struct Rect {
    std::int16_t top;
    std::int16_t left;
    std::int16_t bottom;
    std::int16_t right;
};
static_assert(sizeof(Rect) == 8);

enum class SpeakerType : std::int32_t {
    Mono = 0,
    Left = 1,
    Right = 2,
    Centre = 3,
    LowFrequency = 4,
    LeftSurround = 5,
    RightSurround = 6,
    LeftOfCentre = 7,
    RightOfCentre = 8,
    Surround = 9,
    SideLeft = 10,
    SideRight = 11,
    TopMiddle = 12,
    TopFrontLeft = 13,
    TopFrontCentre = 14,
    TopFrontRight = 15,
    TopRearLeft = 16,
    TopRearCentre = 17,
    TopRearRight = 18,
    LowFrequency2 = 19,
    Undefined = 0x7fffffff
};

enum class ArrangementType : std::int32_t {
    UserDefined = -2,
    Empty = -1,
    Mono = 0,
    Stereo = 1,
    StereoSurround = 2,
    StereoCentre = 3,
    StereoSide = 4,
    StereoCentreLow = 5,
    Cine30 = 6,
    Music30 = 7,
    Cine31 = 8,
    Music31 = 9,
    Cine40 = 10,
    Music40 = 11,
    Cine41 = 12,
    Music41 = 13,
    Surround50 = 14,
    Surround51 = 15,
    Cine60 = 16,
    Music60 = 17,
    Cine61 = 18,
    Music61 = 19,
    Cine70 = 20,
    Music70 = 21,
    Cine71 = 22,
    Music71 = 23,
    Cine80 = 24,
    Music80 = 25,
    Cine81 = 26,
    Music81 = 27,
    Surround102 = 28
};

struct SpeakerProperties {
    float azimuth;   // radians, -pi..pi; 10 for a low-frequency speaker
    float elevation; // radians; 10 for a low-frequency speaker
    float radius;    // 1; 0 for a low-frequency speaker
    float reserved;
    char name[64];
    std::int32_t type; // SpeakerType
    char future[28];
};
static_assert(offsetof(SpeakerProperties, type) == 80 && sizeof(SpeakerProperties) == 112);

/// NOTE: the array's declared length differs between hosts; only numChannels entries may be read.
struct SpeakerArrangement {
    std::int32_t type; // ArrangementType
    std::int32_t numChannels;
    SpeakerProperties speakers[8];
};
static_assert(offsetof(SpeakerArrangement, speakers) == 8);

enum PinFlag : std::int32_t {
    kPinActive = 1,
    kPinFirstOfStereoPair = 2,
    kPinArrangementValid = 4,
};

struct PinProperties {
    char label[64];
    std::int32_t flags;           // PinFlag bits
    std::int32_t arrangementType; // ArrangementType
    char shortLabel[8];
    char future[48];
};
static_assert(offsetof(PinProperties, flags) == 64 && offsetof(PinProperties, shortLabel) == 72);
static_assert(sizeof(PinProperties) == 128);

struct ParameterProperties {
    float step;
    float smallStep;
    float largeStep;
    char label[64];
    std::int32_t flags;
    std::int32_t minimum;
    std::int32_t maximum;
    std::int32_t integerStep;
    std::int32_t largeIntegerStep;
    char shortLabel[8];
    std::int16_t displayIndex;
    std::int16_t category;
    std::int16_t parametersInCategory;
    std::int16_t reserved;
    char categoryLabel[24];
    char future[16];
};
static_assert(offsetof(ParameterProperties, flags) == 76);
static_assert(offsetof(ParameterProperties, displayIndex) == 104);
static_assert(sizeof(ParameterProperties) == 152);

enum KeyModifier : std::int32_t {
    kModifierShift = 1,
    kModifierAlt = 2,
    kModifierCommand = 4,
    kModifierControl = 8,
};

enum class VirtualKey : std::int32_t {
    Back = 1,
    Tab = 2,
    Clear = 3,
    Return = 4,
    Pause = 5,
    Escape = 6,
    Space = 7,
    Next = 8,
    End = 9,
    Home = 10,
    Left = 11,
    Up = 12,
    Right = 13,
    Down = 14,
    PageUp = 15,
    PageDown = 16,
    Select = 17,
    Print = 18,
    Enter = 19,
    Snapshot = 20,
    Insert = 21,
    Delete = 22,
    Help = 23,
    Keypad0 = 24, // the keypad's digits follow in order
    Multiply = 34,
    Add = 35,
    Separator = 36,
    Subtract = 37,
    Decimal = 38,
    Divide = 39,
    F1 = 40, // F2 to F12 follow in order
    NumLock = 52,
    ScrollLock = 53,
    Shift = 54,
    Control = 55,
    Alt = 56,
    Equals = 57
};

} // namespace lum::vst
