// SurroundPanner: the data of one effect instance. It holds the AEffect the host sees and owns
// everything the instance has: channel records, gain tables, delay lines, scene data and the
// editor's state. Built and freed by the shell (shell/panner.h); read by every subsystem.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/button_skin.h"
#include "foundation/grow_buffer.h"
#include "platform/platform.h"
#include "vst/aeffect.h"

struct MIRQ_IBitmap;
struct PanInput;
struct PanSpeaker;
struct GestureEntry;

// uiFlags: bits 8..11 hold the view mode; the option bits follow.
constexpr uint32_t UI_VIEW_MODE_SHIFT = 8;
constexpr uint32_t UI_VIEW_MODE_MASK = 0xF00;
enum : uint32_t {
    FLAG_IGNORE_REVERSE = 0x1000,   // group edits ignore the inputs' reverse flags
    FLAG_EDIT_ALL = 0x2000,         // edits act on all inputs, not the selected ones
    FLAG_LOCK_INPUTS = 0x4000,      // the view takes no input edit
    FLAG_EDIT_1D = 0x8000,          // drags keep to one axis
    FLAG_LOCK_SPEAKERS = 0x10000,   // speakers cannot be picked in the view
    FLAG_AUTO_SEND_NAMES = 0x20000, // inputs follow the sending tracks' names and colours
};

// selectionState: the channel the position row shows (an input, or SELECT_SPEAKER | speaker),
// the channel and kind the value row shows.
enum { SELECTION_FOCUS = 0, SELECTION_VALUE_INPUT = 1, SELECTION_VALUE_SPEAKER = 2, SELECTION_VALUE_KIND = 3 };
constexpr int32_t SELECT_SPEAKER = 0x100;

// dragState: the pointer gesture of the room view, field by field, and its idle values.
enum {
    DRAG_PANE = 0,         // pane of the gesture, -1 when none
    DRAG_INPUT = 1,        // input under the pointer while a drag of inputs runs, else -1
    DRAG_SPEAKER = 2,      // speaker being dragged, else -1
    DRAG_MARQUEE = 3,      // DRAG_MARQUEE_*
    DRAG_ORBIT = 4,        // bit 0: the pointer's x turns the camera, bit 1: its y tilts it
    DRAG_LOCKED_AXIS = 5,  // axis of a one-axis drag: 0 X, 1 Y, 2 Z; -1 when free
    DRAG_FIELD_COUNT = 6,
};
enum { DRAG_MARQUEE_NONE = 0, DRAG_MARQUEE_WINDOW = 1, DRAG_MARQUEE_SMALL_VIEW = 2 };
constexpr int32_t DRAG_PANE_SMALL_VIEW = 4;  // the room view inside the host's window
constexpr int32_t DRAG_IDLE[DRAG_FIELD_COUNT] = {-1, -1, -1, DRAG_MARQUEE_NONE, 0, -1};

// channelOptions bit 0: the input at index 3 is the LFE channel.
constexpr uint32_t CHANNEL_OPTION_LFE_INPUT = 1;

// pendingChannelChange: old input count in bits 0..7, old speaker count in bits 8..15, and the
// bit that asks the host to resize its output too.
constexpr uint32_t PENDING_FORCED = 0x10000;

// gainTables: the gain matrix's three arrays, then one block of samples for delay crossfades.
enum { GAIN_CURRENT = 0, GAIN_TARGET = 1, GAIN_RAMP = 2, GAIN_DELAY_SCRATCH = 3, GAIN_TABLE_COUNT = 4 };

// editorStamps: the change stamps of the editor's refresh tick, in this order; entries 5 to 8
// are the room view's (its window and the host's small view).
enum {
    STAMP_VALUES,
    STAMP_POSITION_ROW,
    STAMP_VALUE_ROW,
    STAMP_LAYOUT,
    STAMP_NAMES,
    STAMP_VIEW_INPUTS,
    STAMP_VIEW_INPUTS_SMALL,
    STAMP_VIEW_SPEAKERS,
    STAMP_VIEW_SPEAKERS_SMALL,
    STAMP_HOST_STATE,
    STAMP_COUNT
};

constexpr int32_t PANNER_UNIQUE_ID = 0x6b767032;  // 'kvp2'
constexpr int32_t PANNER_VERSION = 1100;
constexpr int32_t PANNER_FLAGS =
    effFlagsHasEditor | effFlagsCanReplacing | effFlagsProgramChunks | effFlagsCanDoubleReplacing;
constexpr int METER_COUNT = 32;
// The pan law when the ini file names none, in dB.
constexpr double PAN_LAW_DEFAULT_DB = -3.0;

struct SurroundPanner {
    // Host face: the editor's window, the AEffect the host holds, the lock of the records
    void* editorWindow;
    AEffect effect;
    ERect editorRect;
    RecursiveLock stateLock;
    double sampleRate;
    double panLawDb;
    // Delay lines
    GrowBuffer delayLines;  // DelayLine* per input
    int32_t delayPositions[128];
    // View: bitmaps and the meshes of the scene
    MIRQ_IBitmap* nameStripBitmap;
    MIRQ_IBitmap* roomBitmap;
    MIRQ_IBitmap* frameBitmap[2];
    GrowBuffer viewCameras;
    GrowBuffer roomWalls;
    GrowBuffer zShapeMeshes;
    GrowBuffer speakerMeshes;
    GrowBuffer inputMeshes;
    // Editor stamps, options and the pending channel change
    uint64_t editorStamps[STAMP_COUNT];
    uint32_t uiFlags;
    uint32_t pendingChannelChange;
    uint8_t stateLoaded;
    uint8_t layoutChosenOnce;
    // Inputs and speakers
    GrowArray<PanInput> inputs;
    GrowArray<PanSpeaker> speakers;
    uint32_t speakerFlagsUnion;
    int32_t warpActive;
    int32_t audioInputs;
    int32_t audioSpeakers;
    // Gain tables
    GrowBuffer gainTables[GAIN_TABLE_COUNT];
    // Layout, strips, scene and the editor's selection
    uint32_t channelOptions;
    int32_t layoutId;
    int32_t layoutFamily;
    int32_t firstInputStrip;
    int32_t firstSpeakerStrip;
    double sceneX, sceneY, sceneZ;
    int32_t editRowMode[3];
    int32_t zShape;
    int32_t selectionState[4];
    // Gestures open at the host
    GrowArray<GestureEntry> openGestures;  // sorted by the host's order of ending them
    // Meters and the global mix controls
    double meterPeaks[METER_COUNT];
    double centerPercent;
    double sidePercent;
    // Requests to the audio thread. Bit i of gainsDirtyInputs: the gains of input i must be
    // recomputed. Set from any thread with an atomic OR, taken by the audio block with an atomic
    // exchange.
    alignas(8) uint64_t gainsDirtyInputs[2];
    uint8_t speakersChanged;
    // View and dialog state: redraw requests, scale, drags and the marquee
    uint32_t viewRedrawFlags;
    int32_t dpiScale;
    uint8_t viewBusy;
    int32_t dialogMetrics[5];
    int32_t dragState[DRAG_FIELD_COUNT];
    int32_t marqueeRect[4];
    int32_t lastPointer[2];  // client pixels of the last pointer message of a gesture
    int32_t grabOffset[2];   // screen place of the grabbed channel minus the pointer at the grab
    double dragAnchor[3];
    // Gesture and automation timing
    uint32_t lastEditTick;
    uint32_t lastGestureTick;
    uint32_t sceneAutomationTick;
    int32_t sceneAutomated;
    // Editor: the channel strips' button skins
    StripControls stripControls;
    // Audio-thread scratch, sized with the gain tables so that no block of a known shape
    // allocates: one gain row of the speaker count, and the head's copy of each input's delay.
    GrowBuffer gainRowScratch;  // double per speaker
    GrowBuffer inputDelays;     // int32 per input
};

// [any thread] The object behind an AEffect, or null.
inline SurroundPanner* pannerFromEffect(AEffect* effect) {
    return effect ? static_cast<SurroundPanner*>(effect->object) : nullptr;
}

// [any thread] Marks inputs for a gain recompute; bits beyond 127 are dropped.
void markInputDirty(SurroundPanner* p, int input);
void markAllInputsDirty(SurroundPanner* p);

// [window thread] The growable members in order of construction, written to list (room for
// INSTANCE_CONTAINER_COUNT); returns their count. Destruction frees them in reverse.
constexpr int INSTANCE_CONTAINER_COUNT = 15;
int instanceContainers(SurroundPanner* p, GrowBuffer** list);

// [any thread] A bare instance: zero-filled, its lock and containers ready, the fields with
// non-zero defaults set, no records, no AEffect functions. The plugin's construction builds on
// it; tools hold one to change a state with the core library. Returns null when the allocation
// fails.
SurroundPanner* instanceCreate();
// [any thread] Frees the containers, the lock and the object; null does nothing. Delay lines
// are the audio block's (releaseDelayLines) and must be released first.
void instanceDestroy(SurroundPanner* p);
