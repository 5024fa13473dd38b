#include "engine/instance.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

void markInputDirty(SurroundPanner* p, int input) {
    if (input < 0 || input >= 128) return;
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[input >> 6]).fetch_or(uint64_t(1) << (input & 63));
}

void markAllInputsDirty(SurroundPanner* p) {
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[0]).store(~uint64_t(0));
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[1]).store(~uint64_t(0));
}

int instanceContainers(SurroundPanner* p, GrowBuffer** list) {
    int n = 0;
    list[n++] = &p->delayLines;
    list[n++] = &p->viewCameras;
    list[n++] = &p->roomWalls;
    list[n++] = &p->zShapeMeshes;
    list[n++] = &p->speakerMeshes;
    list[n++] = &p->inputMeshes;
    list[n++] = &p->inputs.bytes;
    list[n++] = &p->speakers.bytes;
    for (GrowBuffer& table : p->gainTables) list[n++] = &table;
    list[n++] = &p->openGestures.bytes;
    list[n++] = &p->gainRowScratch;
    list[n++] = &p->inputDelays;
    return n;
}

SurroundPanner* instanceCreate() {
    SurroundPanner* p = static_cast<SurroundPanner*>(std::calloc(1, sizeof(SurroundPanner)));
    if (!p) return nullptr;

    // The lock first, then the containers.
    lockInit(&p->stateLock);
    GrowBuffer* containers[INSTANCE_CONTAINER_COUNT];
    int count = instanceContainers(p, containers);
    for (int i = 0; i < count; i++) growBufferInit(containers[i]);

    // The fields whose defaults are not zero; the first audio block recomputes every gain.
    p->sampleRate = 48000.0;
    p->panLawDb = PAN_LAW_DEFAULT_DB;
    p->dpiScale = 256;
    std::memcpy(p->dragState, DRAG_IDLE, sizeof DRAG_IDLE);
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
    return p;
}

void instanceDestroy(SurroundPanner* p) {
    if (!p) return;
    GrowBuffer* containers[INSTANCE_CONTAINER_COUNT];
    int count = instanceContainers(p, containers);
    for (int i = count - 1; i >= 0; i--) growBufferFree(containers[i]);
    lockDestroy(&p->stateLock);
    std::free(p);
}
