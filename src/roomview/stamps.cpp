#include "roomview/stamps.h"

#include <cstring>

#include "engine/records.h"
#include "foundation/numbers.h"
#include "roomview/scene.h"

namespace {

struct Hash {
    uint64_t value = FNV_OFFSET_BASIS;
    void byte(int b) {
        uint8_t v = uint8_t(b);
        value = fnv64(&v, 1, value);
    }
    void doubles(const double* d, int count) { value = fnv64(d, sizeof(double) * size_t(count), value); }
    void number(double d) { doubles(&d, 1); }
};

bool storeStamp(SurroundPanner* p, int entry, uint64_t value) {
    bool changed = p->editorStamps[entry] != value;
    p->editorStamps[entry] = value;
    return changed;
}

}  // namespace

bool inputStampChanged(SurroundPanner* p, bool small) {
    Hash h;
    h.byte(int(p->channelOptions) + 1);
    if (!small) h.byte(p->zShape + 1);
    const bool editAll = (p->uiFlags & FLAG_EDIT_ALL) != 0;
    const PanInput* in = inputRecords(p);
    for (int i = 0; i < inputCount(p); i++) {
        const PanInput& input = in[i];
        h.byte((!editAll && sharedLoad(input.selected) ? 1 : 0) + (sharedLoad(input.mute) ? 2 : 0) +
               (sharedLoad(input.solo) ? 4 : 0));
        const double place[3] = {sharedLoad(input.posX), sharedLoad(input.posY), sharedLoad(input.posZ)};
        h.doubles(place, 3);
        if (!small) {
            h.number(sharedLoad(input.divergence));
            h.value = fnv64(input.name, strnlen(input.name, 8), h.value);
        }
    }
    if (p->dragState[DRAG_MARQUEE] == (small ? 2 : 1)) h.value = fnv64(p->marqueeRect, sizeof p->marqueeRect, h.value);
    return storeStamp(p, STAMP_VIEW_INPUTS + (small ? 1 : 0), h.value);
}

bool speakerStampChanged(SurroundPanner* p, bool small) {
    Hash h;
    h.byte(p->layoutId + 1);
    if (!small) {
        h.byte(p->dragState[DRAG_SPEAKER] + 1);
        h.byte(p->zShape + 1);
        h.byte(p->layoutId == 0 && !(p->uiFlags & FLAG_LOCK_SPEAKERS) ? 1 : 0);
        h.byte(viewMode(p) + 1);
        const Camera* orbit = viewCamera(p, PANE_ORBIT);
        if (viewMode(p) == VIEW_ORBIT && orbit) {
            h.number(orbit->yaw);
            h.number(orbit->pitch);
        }
        h.number(sharedLoad(p->centerPercent));
        h.number(sharedLoad(p->sidePercent));
    }
    const PanSpeaker* spk = speakerRecords(p);
    for (int i = 0; i < speakerCount(p); i++) {
        const PanSpeaker& s = spk[i];
        if (sharedLoad(s.lfe) || sharedLoad(s.vacant)) continue;
        h.byte((sharedLoad(s.mute) ? 2 : 0) + (sharedLoad(s.solo) ? 4 : 0));
        const double place[3] = {sharedLoad(s.posX), sharedLoad(s.posY), sharedLoad(s.posZ)};
        h.doubles(place, 3);
        if (!small) h.number(sharedLoad(s.influence));
    }
    return storeStamp(p, STAMP_VIEW_SPEAKERS + (small ? 1 : 0), h.value);
}
