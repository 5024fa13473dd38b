#include "shell/panner.h"

#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "engine/audio_block.h"
#include "engine/speaker_analysis.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"
#include "layouts/layouts.h"
#include "roomview/paint.h"
#include "roomview/scene.h"
#include "roomview/view_window.h"
#include "shell/dispatcher.h"
#include "shell/parameters.h"
#include "shell/state_chunk.h"

static_assert(std::is_trivially_copyable_v<SurroundPanner>, "the effect object is zero-filled plain data");

int32_t instanceCount = 0;
const char* const VIEW_WINDOW_CLASS = "Kelvane2Window";

// The growable members in order of construction; the destructor frees them in reverse.
static int containersOf(SurroundPanner* p, GrowBuffer** list) {
    int n = 0;
    list[n++] = &p->delayLines;
    list[n++] = &p->viewCameras;
    list[n++] = &p->roomWalls;
    list[n++] = &p->zShapeMeshes;
    list[n++] = &p->speakerMeshes;
    list[n++] = &p->inputMeshes;
    list[n++] = &p->inputs;
    list[n++] = &p->speakers;
    for (GrowBuffer& table : p->gainTables) list[n++] = &table;
    list[n++] = &p->openGestures;
    list[n++] = &p->gainRowScratch;
    list[n++] = &p->inputDelays;
    return n;
}
constexpr int CONTAINER_COUNT = 15;

int hostChannelCount() {
    if (!hostCallback) return 2;
    intptr_t n = hostCallback(nullptr, HOST_LOOKUP_OPCODE, HOST_LOOKUP_QUERY, HOST_QUERY_CHANNEL_COUNT, nullptr, 0.0f);
    return (n >= 1 && n <= 128) ? int(n) : 2;
}

static double readPanLaw() {
    char text[128] = {0};
    const char* path = hostApi.get_ini_file ? hostApi.get_ini_file() : nullptr;
    if (path && *path) iniReadString(path, "kelvane", "panlaw", "", text, sizeof text);
    if (!text[0]) return -3.0;
    double db = parseLeadingDouble(text);
    if (db < -6.0) db = -6.0;
    if (db > 0.0) db = 0.0;
    return db;
}

SurroundPanner* createPanner() {
    SurroundPanner* p = static_cast<SurroundPanner*>(std::calloc(1, sizeof(SurroundPanner)));
    if (!p) return nullptr;

    // 1. The lock first, then the containers.
    lockInit(&p->stateLock);
    GrowBuffer* containers[CONTAINER_COUNT];
    int count = containersOf(p, containers);
    for (int i = 0; i < count; i++) growBufferInit(containers[i]);

    // 2, 3. Sample rate and the pan law of the host's ini file.
    p->sampleRate = 48000.0;
    p->panLawDb = readPanLaw();

    // 4, 5. Scalar defaults and a full recompute on the first block.
    p->dpiScale = 256;
    const int32_t dragDefaults[6] = {-1, -1, -1, 0, 0, -1};
    std::memcpy(p->dragState, dragDefaults, sizeof dragDefaults);
    p->channelOptions = 0;
    p->layoutId = -1;
    p->layoutFamily = -1;
    p->centerPercent = 1.0;
    p->sidePercent = 1.0;
    p->editRowMode[0] = 0;
    p->editRowMode[1] = 1;
    p->editRowMode[2] = 2;
    p->zShape = 0;
    for (int32_t& s : p->selectionState) s = -1;
    markAllInputsDirty(p);
    p->speakersChanged = 1;

    // 6, 7. The host's channel count and the AEffect the host sees.
    int n = hostChannelCount();
    std::memset(&p->effect, 0, sizeof p->effect);
    p->effect.magic = kEffectMagic;
    p->effect.dispatcher = dispatcher;
    p->effect.process = processFloatIgnored;
    p->effect.setParameter = setParameter;
    p->effect.getParameter = getParameter;
    p->effect.numPrograms = 1;
    p->effect.numInputs = n;
    p->effect.numOutputs = n;
    p->effect.numParams = 9 * n + 3 * n + 6;
    p->effect.flags = PANNER_FLAGS;
    p->effect.initialDelay = 0;
    p->effect.ioRatio = 1.0f;
    p->effect.object = p;
    p->effect.uniqueID = PANNER_UNIQUE_ID;
    p->effect.version = PANNER_VERSION;
    p->effect.processReplacing = processFloatIgnored;
    p->effect.processDoubleReplacing = processDoubleReplacing;

    // 8 to 10. Speakers, inputs, and the analysis of the final speakers.
    applyLayout(p, layoutForChannelCount(n));
    setInputCount(p, n);
    analyzeSpeakers(p);

    // 11. Meters clear, gain tables sized by the first audio block.
    std::memset(p->meterPeaks, 0, sizeof p->meterPeaks);
    p->audioInputs = -1;
    p->audioSpeakers = -1;

    // 12. The first instance registers the view's window class.
    if (++instanceCount == 1) windowClassRegister(VIEW_WINDOW_CLASS, roomViewWindowProcedure());

    // 13. Editor fields start empty.
    std::memset(p->dialogMetrics, 0, sizeof p->dialogMetrics);
    std::memset(&p->stripControls, 0, sizeof p->stripControls);
    return p;
}

void destroyPanner(SurroundPanner* p) {
    if (!p) return;
    // 1. The editor window belongs to the dialog, which closes it; the view's scene and bitmaps
    // go with the instance when no editor took them.
    p->editorWindow = nullptr;
    releaseRoomView(p);
    // 2. Delay lines, last to first.
    releaseDelayLines(p);
    // 3. The last instance takes the window class, the shared chunk buffer, the label font and
    // what the room views share with it.
    if (--instanceCount == 0) {
        windowClassUnregister(VIEW_WINDOW_CLASS);
        releaseStateBuffer();
        releaseLabelFont();
        releaseRoomViewShared();
    }
    // 4. Gestures, then the grow buffers in reverse order of construction.
    GrowBuffer* containers[CONTAINER_COUNT];
    int count = containersOf(p, containers);
    for (int i = count - 1; i >= 0; i--) growBufferFree(containers[i]);
    // 5. The lock last.
    lockDestroy(&p->stateLock);
    std::free(p);
}
