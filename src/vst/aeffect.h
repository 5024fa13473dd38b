// The VST 2 binary interface as the host and this plugin exchange it: the effect record,
// the callback types, the opcodes, flags and records that the plugin and the reference host use.
// Written from the published layout; every other unit includes this one and nothing else of VST.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(_WIN32)
#define VST_CALL __cdecl
#else
#define VST_CALL
#endif

struct AEffect;

using audioMasterCallback = intptr_t(VST_CALL*)(AEffect* effect, int32_t opcode, int32_t index,
                                                intptr_t value, void* ptr, float opt);
using AEffectDispatcherProc = intptr_t(VST_CALL*)(AEffect* effect, int32_t opcode, int32_t index,
                                                  intptr_t value, void* ptr, float opt);
using AEffectProcessProc = void(VST_CALL*)(AEffect* effect, float** inputs, float** outputs,
                                           int32_t sampleFrames);
using AEffectProcessDoubleProc = void(VST_CALL*)(AEffect* effect, double** inputs,
                                                 double** outputs, int32_t sampleFrames);
using AEffectSetParameterProc = void(VST_CALL*)(AEffect* effect, int32_t index, float parameter);
using AEffectGetParameterProc = float(VST_CALL*)(AEffect* effect, int32_t index);

// Members in the published order; the pointer-sized members make the record 144 bytes
// in 32-bit builds and 192 in 64-bit builds.
struct AEffect {
    int32_t magic;
    AEffectDispatcherProc dispatcher;
    AEffectProcessProc process;
    AEffectSetParameterProc setParameter;
    AEffectGetParameterProc getParameter;
    int32_t numPrograms;
    int32_t numParams;
    int32_t numInputs;
    int32_t numOutputs;
    int32_t flags;
    intptr_t resvd1;
    intptr_t resvd2;
    int32_t initialDelay;
    int32_t realQualities;
    int32_t offQualities;
    float ioRatio;
    void* object;
    void* user;
    int32_t uniqueID;
    int32_t version;
    AEffectProcessProc processReplacing;
    AEffectProcessDoubleProc processDoubleReplacing;
    char future[56];
};

#if INTPTR_MAX == INT32_MAX
static_assert(sizeof(AEffect) == 144, "AEffect layout, 32-bit");
static_assert(offsetof(AEffect, flags) == 36 && offsetof(AEffect, object) == 64 &&
                  offsetof(AEffect, uniqueID) == 72 && offsetof(AEffect, processDoubleReplacing) == 84,
              "AEffect member offsets, 32-bit");
#else
static_assert(sizeof(AEffect) == 192, "AEffect layout, 64-bit");
static_assert(offsetof(AEffect, flags) == 56 && offsetof(AEffect, object) == 96 &&
                  offsetof(AEffect, uniqueID) == 112 && offsetof(AEffect, processDoubleReplacing) == 128,
              "AEffect member offsets, 64-bit");
#endif

constexpr int32_t kEffectMagic = 0x56737450;  // 'VstP'

// Dispatcher opcodes.
enum : int32_t {
    effOpen = 0,
    effClose = 1,
    effSetProgram = 2,
    effGetProgram = 3,
    effSetProgramName = 4,
    effGetProgramName = 5,
    effGetParamLabel = 6,
    effGetParamDisplay = 7,
    effGetParamName = 8,
    effSetSampleRate = 10,
    effSetBlockSize = 11,
    effMainsChanged = 12,
    effEditGetRect = 13,
    effEditOpen = 14,
    effEditClose = 15,
    effEditIdle = 19,
    effGetChunk = 23,
    effSetChunk = 24,
    effProcessEvents = 25,
    effCanBeAutomated = 26,
    effString2Parameter = 27,
    effGetPlugCategory = 35,
    effSetSpeakerArrangement = 42,
    effGetEffectName = 45,
    effGetVendorString = 47,
    effGetProductString = 48,
    effGetVendorVersion = 49,
    effVendorSpecific = 50,
    effCanDo = 51,
    effGetTailSize = 52,
    effIdle = 53,
    effGetParameterProperties = 56,
    effGetVstVersion = 58,
    effStartProcess = 71,
    effStopProcess = 72,
};

// audioMaster opcodes.
enum : int32_t {
    audioMasterAutomate = 0,
    audioMasterVersion = 1,
    audioMasterCurrentId = 2,
    audioMasterIdle = 3,
    audioMasterIOChanged = 13,
    audioMasterNeedIdle = 14,
    audioMasterVendorSpecific = 35,
    audioMasterBeginEdit = 43,
    audioMasterEndEdit = 44,
};

// AEffect.flags
enum : int32_t {
    effFlagsHasEditor = 1 << 0,
    effFlagsCanReplacing = 1 << 4,
    effFlagsProgramChunks = 1 << 5,
    effFlagsIsSynth = 1 << 8,
    effFlagsNoSoundInStop = 1 << 9,
    effFlagsCanDoubleReplacing = 1 << 12,
};

enum : int32_t { kPlugCategUnknown = 0, kPlugCategEffect = 1 };

// VstParameterProperties.flags
enum : int32_t {
    kVstParameterIsSwitch = 1 << 0,
    kVstParameterUsesIntegerMinMax = 1 << 1,
    kVstParameterUsesFloatStep = 1 << 2,
    kVstParameterUsesIntStep = 1 << 3,
};

struct ERect {
    int16_t top;
    int16_t left;
    int16_t bottom;
    int16_t right;
};

struct VstParameterProperties {
    float stepFloat;
    float smallStepFloat;
    float largeStepFloat;
    char label[64];
    int32_t flags;
    int32_t minInteger;
    int32_t maxInteger;
    int32_t stepInteger;
    int32_t largeStepInteger;
    char shortLabel[8];
    int16_t displayIndex;
    int16_t category;
    int16_t numParametersInCategory;
    int16_t reserved;
    char categoryLabel[24];
    char future[16];
};
static_assert(sizeof(VstParameterProperties) == 152, "VstParameterProperties layout");

struct VstSpeakerProperties {
    float azimuth;
    float elevation;
    float radius;
    float reserved;
    char name[64];
    int32_t type;
    char future[28];
};
static_assert(sizeof(VstSpeakerProperties) == 112, "VstSpeakerProperties layout");

// The published record declares eight speakers; hosts allocate more for wider arrangements.
struct VstSpeakerArrangement {
    int32_t type;
    int32_t numChannels;
    VstSpeakerProperties speakers[8];
};
