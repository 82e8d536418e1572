#pragma once

// The binary interface of VST 2 effects, under its published names: what a host and an effect in a dynamic
// library share. Written for this project; needs nothing but the language, so that 64-bit and 32-bit test
// libraries include it as well. Layouts are checked at the end.

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define VSTCALLBACK __cdecl
#else
#define VSTCALLBACK
#endif

#pragma pack(push, 8)

using VstInt16 = std::int16_t;
using VstInt32 = std::int32_t;
using VstIntPtr = std::intptr_t;

struct AEffect;

/// The host's answer to an effect: any thread, and before the entry point has returned.
using audioMasterCallback = VstIntPtr(VSTCALLBACK*)(
    AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);

/// A library's entry point, exported as "VSTPluginMain" or "main".
using VstEntryPoint = AEffect*(VSTCALLBACK*)(audioMasterCallback host);

using AEffectDispatcherProc = VstIntPtr(VSTCALLBACK*)(
    AEffect* effect, VstInt32 opcode, VstInt32 index, VstIntPtr value, void* ptr, float opt);
using AEffectProcessProc =
    void(VSTCALLBACK*)(AEffect* effect, float** inputs, float** outputs, VstInt32 sampleFrames);
using AEffectProcessDoubleProc =
    void(VSTCALLBACK*)(AEffect* effect, double** inputs, double** outputs, VstInt32 sampleFrames);
using AEffectSetParameterProc = void(VSTCALLBACK*)(AEffect* effect, VstInt32 index, float parameter);
using AEffectGetParameterProc = float(VSTCALLBACK*)(AEffect* effect, VstInt32 index);

/// 'VstP', the first word of every effect.
inline constexpr VstInt32 kEffectMagic = 0x56737450;

inline constexpr VstInt32 kVstVersion = 2400;

struct AEffect {
    VstInt32 magic;
    AEffectDispatcherProc dispatcher;
    /// Accumulating; superseded by processReplacing.
    AEffectProcessProc process;
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    VstInt32 numPrograms;
    VstInt32 numParams;
    VstInt32 numInputs;
    VstInt32 numOutputs;
    /// VstAEffectFlags.
    VstInt32 flags;
    /// The host's own.
    VstIntPtr resvd1;
    VstIntPtr resvd2;
    /// In sample frames.
    VstInt32 initialDelay;
    VstInt32 realQualities;
    VstInt32 offQualities;
    float ioRatio;
    /// The effect's own.
    void* object;
    void* user;
    VstInt32 uniqueID;
    VstInt32 version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];
};

enum VstAEffectFlags : VstInt32 {
    effFlagsHasEditor = 1 << 0,
    effFlagsHasClip = 1 << 1,
    effFlagsHasVu = 1 << 2,
    effFlagsCanMono = 1 << 3,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsExtIsAsync = 1 << 10,
    effFlagsExtHasBuffer = 1 << 11,
    effFlagsCanDoubleReplacing = 1 << 12,
};

/// What a host dispatches to an effect.
enum AEffectOpcodes : VstInt32 {
    effOpen = 0,
    effClose = 1,
    effSetProgram = 2,
    effGetProgram = 3,
    effSetProgramName = 4,
    effGetProgramName = 5,
    effGetParamLabel = 6,
    effGetParamDisplay = 7,
    effGetParamName = 8,
    effGetVu = 9,
    effSetSampleRate = 10,
    effSetBlockSize = 11,
    effMainsChanged = 12,
    effEditGetRect = 13,
    effEditOpen = 14,
    effEditClose = 15,
    effEditDraw = 16,
    effEditMouse = 17,
    effEditKey = 18,
    effEditIdle = 19,
    effEditTop = 20,
    effEditSleep = 21,
    effIdentify = 22,
    effGetChunk = 23,
    effSetChunk = 24,
    effProcessEvents = 25,
    effCanBeAutomated = 26,
    effString2Parameter = 27,
    effGetNumProgramCategories = 28,
    effGetProgramNameIndexed = 29,
    effCopyProgram = 30,
    effConnectInput = 31,
    effConnectOutput = 32,
    effGetInputProperties = 33,
    effGetOutputProperties = 34,
    effGetPlugCategory = 35,
    effGetCurrentPosition = 36,
    effGetDestinationBuffer = 37,
    effOfflineNotify = 38,
    effOfflinePrepare = 39,
    effOfflineRun = 40,
    effProcessVarIo = 41,
    effSetSpeakerArrangement = 42,
    effSetBlockSizeAndSampleRate = 43,
    effSetBypass = 44,
    effGetEffectName = 45,
    effGetErrorText = 46,
    effGetVendorString = 47,
    effGetProductString = 48,
    effGetVendorVersion = 49,
    effVendorSpecific = 50,
    effCanDo = 51,
    effGetTailSize = 52,
    effIdle = 53,
    effGetIcon = 54,
    effSetViewPosition = 55,
    effGetParameterProperties = 56,
    effKeysRequired = 57,
    effGetVstVersion = 58,
    effEditKeyDown = 59,
    effEditKeyUp = 60,
    effSetEditKnobMode = 61,
    effGetMidiProgramName = 62,
    effGetCurrentMidiProgram = 63,
    effGetMidiProgramCategory = 64,
    effHasMidiProgramsChanged = 65,
    effGetMidiKeyName = 66,
    effBeginSetProgram = 67,
    effEndSetProgram = 68,
    effGetSpeakerArrangement = 69,
    effShellGetNextPlugin = 70,
    effStartProcess = 71,
    effStopProcess = 72,
    effSetTotalSampleToProcess = 73,
    effSetPanLaw = 74,
    effBeginLoadBank = 75,
    effBeginLoadProgram = 76,
    effSetProcessPrecision = 77,
    effGetNumMidiInputChannels = 78,
    effGetNumMidiOutputChannels = 79,
};

/// What an effect asks of its host.
enum AudioMasterOpcodes : VstInt32 {
    audioMasterAutomate = 0,
    audioMasterVersion = 1,
    audioMasterCurrentId = 2,
    audioMasterIdle = 3,
    audioMasterPinConnected = 4,
    audioMasterWantMidi = 6,
    audioMasterGetTime = 7,
    audioMasterProcessEvents = 8,
    audioMasterSetTime = 9,
    audioMasterTempoAt = 10,
    audioMasterGetNumAutomatableParameters = 11,
    audioMasterGetParameterQuantization = 12,
    audioMasterIOChanged = 13,
    audioMasterNeedIdle = 14,
    audioMasterSizeWindow = 15,
    audioMasterGetSampleRate = 16,
    audioMasterGetBlockSize = 17,
    audioMasterGetInputLatency = 18,
    audioMasterGetOutputLatency = 19,
    audioMasterGetPreviousPlug = 20,
    audioMasterGetNextPlug = 21,
    audioMasterWillReplaceOrAccumulate = 22,
    audioMasterGetCurrentProcessLevel = 23,
    audioMasterGetAutomationState = 24,
    audioMasterOfflineStart = 25,
    audioMasterOfflineRead = 26,
    audioMasterOfflineWrite = 27,
    audioMasterOfflineGetCurrentPass = 28,
    audioMasterOfflineGetCurrentMetaPass = 29,
    audioMasterSetOutputSampleRate = 30,
    audioMasterGetOutputSpeakerArrangement = 31,
    audioMasterGetVendorString = 32,
    audioMasterGetProductString = 33,
    audioMasterGetVendorVersion = 34,
    audioMasterVendorSpecific = 35,
    audioMasterSetIcon = 36,
    audioMasterCanDo = 37,
    audioMasterGetLanguage = 38,
    audioMasterOpenWindow = 39,
    audioMasterCloseWindow = 40,
    audioMasterGetDirectory = 41,
    audioMasterUpdateDisplay = 42,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
    audioMasterOpenFileSelector = 45,
    audioMasterCloseFileSelector = 46,
    audioMasterEditFile = 47,
    audioMasterGetChunkFile = 48,
    audioMasterGetInputSpeakerArrangement = 49,
};

/// Answers to effGetPlugCategory.
enum VstPlugCategory : VstInt32 {
    kPlugCategUnknown = 0,
    kPlugCategEffect = 1,
    kPlugCategSynth = 2,
    kPlugCategAnalysis = 3,
    kPlugCategMastering = 4,
    kPlugCategSpacializer = 5,
    kPlugCategRoomFx = 6,
    kPlugSurroundFx = 7,
    kPlugCategRestoration = 8,
    kPlugCategOfflineProcess = 9,
    kPlugCategShell = 10,
    kPlugCategGenerator = 11,
};

/// Published sizes of texts, terminating zero included. Effects exceed them in practice.
enum VstStringConstants : VstInt32 {
    kVstMaxParamStrLen = 8,
    kVstMaxProgNameLen = 24,
    kVstMaxEffectNameLen = 32,
    kVstMaxVendorStrLen = 64,
    kVstMaxProductStrLen = 64,
};

struct ERect {
    VstInt16 top;
    VstInt16 left;
    VstInt16 bottom;
    VstInt16 right;
};

struct VstEvent {
    /// VstEventTypes.
    VstInt32 type;
    /// Of the whole record, as hosts fill it.
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    VstInt32 flags;
    char data[16];
};

enum VstEventTypes : VstInt32 {
    kVstMidiType = 1,
    kVstSysExType = 6,
};

/// As long as numEvents says: the two pointers only stand for the rest.
struct VstEvents {
    VstInt32 numEvents;
    VstIntPtr reserved;
    VstEvent* events[2];
};

struct VstMidiEvent {
    VstInt32 type;
    VstInt32 byteSize;
    VstInt32 deltaFrames;
    /// VstMidiEventFlags.
    VstInt32 flags;
    VstInt32 noteLength;
    VstInt32 noteOffset;
    char midiData[4];
    char detune;
    char noteOffVelocity;
    char reserved1;
    char reserved2;
};

enum VstMidiEventFlags : VstInt32 {
    kVstMidiEventIsRealtime = 1 << 0,
};

struct VstTimeInfo {
    double samplePos;
    double sampleRate;
    double nanoSeconds;
    double ppqPos;
    double tempo;
    double barStartPos;
    double cycleStartPos;
    double cycleEndPos;
    VstInt32 timeSigNumerator;
    VstInt32 timeSigDenominator;
    VstInt32 smpteOffset;
    VstInt32 smpteFrameRate;
    VstInt32 samplesToNextClock;
    /// VstTimeInfoFlags.
    VstInt32 flags;
};

enum VstTimeInfoFlags : VstInt32 {
    kVstTransportChanged = 1,
    kVstTransportPlaying = 1 << 1,
    kVstTransportCycleActive = 1 << 2,
    kVstTransportRecording = 1 << 3,
    kVstAutomationWriting = 1 << 6,
    kVstAutomationReading = 1 << 7,
    kVstNanosValid = 1 << 8,
    kVstPpqPosValid = 1 << 9,
    kVstTempoValid = 1 << 10,
    kVstBarsValid = 1 << 11,
    kVstCyclePosValid = 1 << 12,
    kVstTimeSigValid = 1 << 13,
    kVstSmpteValid = 1 << 14,
    kVstClockValid = 1 << 15,
};

#pragma pack(pop)

namespace VstAbiCheck {

// An offset or size in a 64-bit and in a 32-bit process.
constexpr std::size_t in(std::size_t bits64, std::size_t bits32) {
    return sizeof(void*) == 8 ? bits64 : bits32;
}

static_assert(sizeof(void*) == 8 || sizeof(void*) == 4);

static_assert(offsetof(AEffect, magic) == 0);
static_assert(offsetof(AEffect, dispatcher) == in(8, 4));
static_assert(offsetof(AEffect, process) == in(16, 8));
static_assert(offsetof(AEffect, setParameter) == in(24, 12));
static_assert(offsetof(AEffect, getParameter) == in(32, 16));
static_assert(offsetof(AEffect, numPrograms) == in(40, 20));
static_assert(offsetof(AEffect, numParams) == in(44, 24));
static_assert(offsetof(AEffect, numInputs) == in(48, 28));
static_assert(offsetof(AEffect, numOutputs) == in(52, 32));
static_assert(offsetof(AEffect, flags) == in(56, 36));
static_assert(offsetof(AEffect, resvd1) == in(64, 40));
static_assert(offsetof(AEffect, resvd2) == in(72, 44));
static_assert(offsetof(AEffect, initialDelay) == in(80, 48));
static_assert(offsetof(AEffect, realQualities) == in(84, 52));
static_assert(offsetof(AEffect, offQualities) == in(88, 56));
static_assert(offsetof(AEffect, ioRatio) == in(92, 60));
static_assert(offsetof(AEffect, object) == in(96, 64));
static_assert(offsetof(AEffect, user) == in(104, 68));
static_assert(offsetof(AEffect, uniqueID) == in(112, 72));
static_assert(offsetof(AEffect, version) == in(116, 76));
static_assert(offsetof(AEffect, processReplacing) == in(120, 80));
static_assert(offsetof(AEffect, processDoubleReplacing) == in(128, 84));
static_assert(offsetof(AEffect, future) == in(136, 88));
static_assert(sizeof(AEffect) == in(192, 144));

static_assert(offsetof(ERect, top) == 0);
static_assert(offsetof(ERect, left) == 2);
static_assert(offsetof(ERect, bottom) == 4);
static_assert(offsetof(ERect, right) == 6);
static_assert(sizeof(ERect) == 8);

static_assert(offsetof(VstEvent, type) == 0);
static_assert(offsetof(VstEvent, byteSize) == 4);
static_assert(offsetof(VstEvent, deltaFrames) == 8);
static_assert(offsetof(VstEvent, flags) == 12);
static_assert(offsetof(VstEvent, data) == 16);
static_assert(sizeof(VstEvent) == 32);

static_assert(offsetof(VstEvents, numEvents) == 0);
static_assert(offsetof(VstEvents, reserved) == in(8, 4));
static_assert(offsetof(VstEvents, events) == in(16, 8));
static_assert(sizeof(VstEvents) == in(32, 16));

static_assert(offsetof(VstMidiEvent, type) == 0);
static_assert(offsetof(VstMidiEvent, byteSize) == 4);
static_assert(offsetof(VstMidiEvent, deltaFrames) == 8);
static_assert(offsetof(VstMidiEvent, flags) == 12);
static_assert(offsetof(VstMidiEvent, noteLength) == 16);
static_assert(offsetof(VstMidiEvent, noteOffset) == 20);
static_assert(offsetof(VstMidiEvent, midiData) == 24);
static_assert(offsetof(VstMidiEvent, detune) == 28);
static_assert(offsetof(VstMidiEvent, noteOffVelocity) == 29);
static_assert(offsetof(VstMidiEvent, reserved1) == 30);
static_assert(offsetof(VstMidiEvent, reserved2) == 31);
static_assert(sizeof(VstMidiEvent) == 32);

static_assert(offsetof(VstTimeInfo, samplePos) == 0);
static_assert(offsetof(VstTimeInfo, sampleRate) == 8);
static_assert(offsetof(VstTimeInfo, nanoSeconds) == 16);
static_assert(offsetof(VstTimeInfo, ppqPos) == 24);
static_assert(offsetof(VstTimeInfo, tempo) == 32);
static_assert(offsetof(VstTimeInfo, barStartPos) == 40);
static_assert(offsetof(VstTimeInfo, cycleStartPos) == 48);
static_assert(offsetof(VstTimeInfo, cycleEndPos) == 56);
static_assert(offsetof(VstTimeInfo, timeSigNumerator) == 64);
static_assert(offsetof(VstTimeInfo, timeSigDenominator) == 68);
static_assert(offsetof(VstTimeInfo, smpteOffset) == 72);
static_assert(offsetof(VstTimeInfo, smpteFrameRate) == 76);
static_assert(offsetof(VstTimeInfo, samplesToNextClock) == 80);
static_assert(offsetof(VstTimeInfo, flags) == 84);
static_assert(sizeof(VstTimeInfo) == 88);

} // namespace VstAbiCheck
