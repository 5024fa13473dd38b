#include "engine/instance.h"

#include <atomic>

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
