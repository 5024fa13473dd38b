#include "layouts/layouts.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "engine/instance.h"
#include "engine/position.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "layouts/naming.h"

#define V SLOT_VACANT
const LayoutRow LAYOUT_TABLE[] = {
    {1, "Stereo", 0, 2, "", {0, 1}},
    {5, "5.1 surround", 0, 6, "", {0, 1, 2, 3, 6, 7}},
    {19, "7.1 surround", 0, 8, "", {0, 1, 2, 3, 6, 7, 4, 5}},
    {6, "7.1 surround SMPTE", 0, 8, "", {0, 1, 2, 3, 4, 5, 6, 7}},
    {7, "7.1.2 surround", 0, 10, "", {0, 1, 2, 3, 4, 5, 6, 7, 12, 13}},
    {11, "7.1.4 surround", 0, 12, "", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
    {17, "9.1.4 surround", 0, 14, "", {0, 1, 2, 3, 4, 5, 6, 7, 20, 21, 8, 9, 10, 11}},
    {18, "9.1.6 surround", 0, 16, "", {0, 1, 2, 3, 4, 5, 6, 7, 20, 21, 8, 9, 12, 13, 10, 11}},
    {8, "5.1 ITU", 2, 6, "I", {0, 1, 2, 3, 4, 5}},
    {9, "7.1 ITU", 2, 8, "I", {0, 1, 2, 3, 4, 5, 6, 7}},
    {10, "7.1.2 ITU", 2, 10, "I", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}},
    {12, "7.1.4 ITU", 2, 12, "I", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}},
    {2, "Quadraphonic", 1, 4, "Q", {0, 1, 2, 3}},
    {13, "Quadraphonic SMPTE", 1, 6, "Q", {0, 1, V, V, 2, 3}},
    {3, "Octophonic", 1, 8, "Q", {0, 1, 2, 3, 4, 5, 6, 7}},
    {4, "Octophonic 3D", 1, 8, "Q", {0, 1, 2, 3, 8, 9, 10, 11}},
    {14, "5.1.4 (9.1) Auro", 3, 10, "A", {0, 1, 2, 3, 4, 5, 8, 9, 10, 11}},
    {15, "5.1.6 (11.1) Auro", 3, 12, "A", {0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13}},
    {16, "7.1.6 (13.1) Auro", 3, 14, "A", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}},
    {0, "Custom speakers", 0, 0, "", {}},
};
#undef V
const int LAYOUT_COUNT = int(sizeof LAYOUT_TABLE / sizeof LAYOUT_TABLE[0]);

const int LAYOUT_MENU_ORDER[20] = {0, 1, 2, 13, 3, 4, 5, 19, 6, 7, 11, 17, 18, 8, 9, 10, 12, 14, 15, 16};

namespace {

// The slot table. Families 0, 1 and 3 give X, Y, Z; family 2 the angle in degrees and Z, with
// slot 3 the centre of the floor. In family 3, A = tan 30 degrees, B = tan 20 degrees.
constexpr double A = 0.57735026918962573;
constexpr double B = 0.36397023426620234;
constexpr double C2_CENTRE = 1000.0;  // family 2's marker for the point (0, 0, 0)
struct SlotRow {
    double f0[3], f1[3], f2[2], f3[3];
};
const SlotRow SLOTS[32] = {
    {{-1, 1, 0}, {-1, 1, 0}, {-30, 0}, {-A, 1, 0}},
    {{1, 1, 0}, {1, 1, 0}, {30, 0}, {A, 1, 0}},
    {{0, 1, 0}, {-1, -1, 0}, {0, 0}, {0, 1, 0}},
    {{0, 0, 0}, {1, -1, 0}, {C2_CENTRE, 0}, {0, 0, 0}},
    {{-1, 0, 0}, {-1, 0, 0}, {-100, 0}, {-1, -B, 0}},
    {{1, 0, 0}, {1, 0, 0}, {100, 0}, {1, -B, 0}},
    {{-1, -1, 0}, {0, 1, 0}, {-135, 0}, {-A, -1, 0}},
    {{1, -1, 0}, {0, -1, 0}, {135, 0}, {A, -1, 0}},
    {{-1, 1, 1}, {-1, 1, 1}, {-45, 1}, {-A, 1, 1}},
    {{1, 1, 1}, {1, 1, 1}, {45, 1}, {A, 1, 1}},
    {{-1, -1, 1}, {-1, -1, 1}, {-135, 1}, {-1, -B, 1}},
    {{1, -1, 1}, {1, -1, 1}, {135, 1}, {1, -B, 1}},
    {{-1, 0, 1}, {-1, 0, 1}, {-70, 0}, {0, 1, 1}},
    {{1, 0, 1}, {1, 0, 1}, {70, 0}, {0, 0, 1}},
    {{0, -1, 0}, {0, 1, 1}, {-90, 1}, {-1, A, 0}},
    {{0, 1, 1}, {0, -1, 1}, {90, 1}, {1, A, 0}},
    {{-0.5, 1, 0}, {-0.5, 1, 0}, {-50, 0}, {-1, 1, 0}},
    {{0.5, 1, 0}, {0.5, 1, 0}, {50, 0}, {1, 1, 0}},
    {{-0.5, -1, 0}, {-0.5, -1, 0}, {-157.5, 0}, {-1, B, 0}},
    {{0.5, -1, 0}, {0.5, -1, 0}, {157.5, 0}, {1, B, 0}},
    {{-1, 0.5, 0}, {-1, 0.5, 0}, {-117.5, 0}, {-1, -1, 0}},
    {{1, 0.5, 0}, {1, 0.5, 0}, {117.5, 0}, {1, -1, 0}},
    {{-1, -0.5, 0}, {-1, -0.5, 0}, {0, 1}, {-1, A, 1}},
    {{1, -0.5, 0}, {1, -0.5, 0}, {180, 1}, {1, A, 1}},
    {{-1, 0.5, 1}, {-0.5, 1, 1}, {-22.5, 1}, {-1, 1, 1}},
    {{1, 0.5, 1}, {0.5, 1, 1}, {22.5, 1}, {1, 1, 1}},
    {{-0.5, 1, 1}, {-0.5, -1, 1}, {-112.5, 1}, {-1, -1, 1}},
    {{0.5, 1, 1}, {0.5, -1, 1}, {112.5, 1}, {1, -1, 1}},
    {{-0.5, -1, 1}, {-1, 0.5, 1}, {-67.5, 1}, {-1, B, 1}},
    {{0.5, -1, 1}, {1, 0.5, 1}, {67.5, 1}, {1, B, 1}},
    {{-1, -0.5, 1}, {-1, -0.5, 1}, {-157.5, 1}, {-A, -1, 1}},
    {{1, -0.5, 1}, {1, -0.5, 1}, {157.5, 1}, {A, -1, 1}},
};

// The ITU surrounds stand at 110 degrees, not the slots' 100.
constexpr int LAYOUT_ITU_51 = 8;
constexpr double ITU_SURROUND_STRETCH = 1.1;

bool isLfeSpeakerAt(const SurroundPanner* p, int s) { return s < speakerCount(p) && speakerRecords(p)[s].lfe; }

// The default rule's walk over the inputs, without beginEdit: working positions only.
void placeInputsByRule(SurroundPanner* p, int which) {
    int inputs = inputCount(p), speakers = speakerCount(p);
    bool lfeOption = p->channelOptions & CHANNEL_OPTION_LFE_INPUT;
    int s = inputs == 1 ? 2 : 0;
    bool passOver = false;  // input 3 keeps its place when it is the LFE channel but no LFE speaker is next
    for (int i = 0; i < inputs; i++) {
        // This input onto speaker s, or into a row at the front when the speakers ran out.
        if ((which < 0 || which == i) && !passOver) {
            PanInput& in = inputRecords(p)[i];
            if (s < speakers) {
                const PanSpeaker& spk = speakerRecords(p)[s];
                in.workX = spk.posX;
                in.workY = spk.posY;
                in.workZ = spk.posZ;
            } else {
                in.workX = (i & 1) ? 0.5 : -0.5;
                in.workY = 1.0 - (i / 2) * 0.0625;
                in.workZ = 0.0;
            }
        }
        if (which == i) return;
        // The next input decides the next speaker.
        int prev = s;
        s = passOver ? prev : prev + 1;
        passOver = false;
        int next = i + 1;
        if (next == 3 && isLfeSpeakerAt(p, s)) {
            if (!lfeOption) s = prev + 2;
        } else if (next == 3 && lfeOption) {
            passOver = true;
            s = prev + 1;
        } else if (next == 4 && s == 4 && inputs == 6 && speakers >= 8 && p->layoutFamily == 0) {
            s = prev + 3;
        }
    }
}

}  // namespace

Point3 slotPosition(int slot, int family) {
    const SlotRow& row = SLOTS[slot & 31];
    switch (family) {
        case 1: return Point3{row.f1[0], row.f1[1], row.f1[2]};
        case 2: {
            if (row.f2[0] == C2_CENTRE) return Point3{0.0, 0.0, 0.0};
            double a = row.f2[0] * std::numbers::pi / 180.0;
            return Point3{std::sin(a), std::cos(a), row.f2[1]};
        }
        case 3: return Point3{row.f3[0], row.f3[1], row.f3[2]};
        default: return Point3{row.f0[0], row.f0[1], row.f0[2]};
    }
}

const LayoutRow* layoutRow(int id) {
    for (const LayoutRow& row : LAYOUT_TABLE)
        if (row.id == id) return &row;
    return nullptr;
}

int lookupLayout(int id, int* family, int* count) {
    const LayoutRow* found = nullptr;
    if (id > 0) found = layoutRow(id);
    if (id < 0) {
        for (const LayoutRow& row : LAYOUT_TABLE)
            if (!found && row.count == *count && row.family == *family) found = &row;
        for (const LayoutRow& row : LAYOUT_TABLE)
            if (!found && row.count == *count) found = &row;
    }
    if (!found || found->id == LAYOUT_CUSTOM) found = layoutRow(LAYOUT_STEREO);
    *family = found->family;
    *count = found->count;
    return found->id;
}

int layoutForChannelCount(int channels) {
    if (channels <= 2) return 1;
    if (channels <= 4) return 2;
    if (channels <= 6) return 5;
    if (channels <= 8) return 6;
    if (channels <= 10) return 7;
    return 11;
}

int applyLayout(SurroundPanner* p, int id) {
    LockHold hold(&p->stateLock);
    // The row; the array, as long as it can be.
    int family = 0, count = 0;
    id = lookupLayout(id, &family, &count);
    const LayoutRow* row = layoutRow(id);
    if (!p->speakers.resize(count)) count = speakerCount(p);
    p->layoutId = id;
    p->layoutFamily = family;
    p->firstSpeakerStrip = 0;
    // Fresh records at the slots; speaker 3 is the LFE speaker except in family 1.
    PanSpeaker* spk = speakerRecords(p);
    for (int s = 0; s < count; s++) {
        int slot = row->slots[s];
        if (slot == SLOT_VACANT) {
            newSpeakerRecord(&spk[s], 0.0, 0.0, 0.0, false);
            spk[s].vacant = 1;
            continue;
        }
        Point3 at = slotPosition(slot, family);
        newSpeakerRecord(&spk[s], at.x, at.y, at.z, s == 3 && family != 1);
    }
    // The ITU surrounds. (The rear-first order of "7.1 surround" is already in its slots:
    // speakers 4 and 5 take the rear slots, 6 and 7 the side ones, the SMPTE pairs exchanged.)
    if (id == LAYOUT_ITU_51)
        for (int s = 4; s <= 5 && s < count; s++) {
            Polar polar = polarFromXY(spk[s].posX, spk[s].posY, spk[s].posZ);
            Point3 q = xyFromPolar(polar.radius, polar.angle * ITU_SURROUND_STRETCH, polar.z);
            spk[s].posX = q.x;
            spk[s].posY = q.y;
        }
    // Analysis and names; the audio block rebuilds its tables.
    analyzeSpeakers(p);
    nameSpeakers(p, 0, count);
    p->audioSpeakers = -1;
    return id;
}

int setSpeakerCount(SurroundPanner* p, int count) {
    LockHold hold(&p->stateLock);
    // At most 32; the survivors stay as they are and the setup becomes custom.
    if (count > SPEAKER_COUNT_MAX) count = SPEAKER_COUNT_MAX;
    if (count < 0) count = 0;
    int old = speakerCount(p);
    if (!p->speakers.resize(count)) count = old;
    p->layoutId = LAYOUT_CUSTOM;
    // New speakers take the next free slots of the family.
    PanSpeaker* spk = speakerRecords(p);
    int cursor = old;
    for (int i = old; i < count; i++) {
        Point3 at = slotPosition(cursor++, p->layoutFamily);
        for (int tries = 0; tries < 32; tries++) {
            bool collides = false;
            for (int t = 0; t < i && !collides; t++)
                collides = isPanningSpeaker(spk[t]) && std::fabs(spk[t].posX - at.x) < SLOT_COLLISION &&
                           std::fabs(spk[t].posY - at.y) < SLOT_COLLISION && std::fabs(spk[t].posZ - at.z) < SLOT_COLLISION;
            if (!collides) break;
            at = slotPosition(cursor++, p->layoutFamily);
        }
        newSpeakerRecord(&spk[i], at.x, at.y, at.z, i == 3);
    }
    // Strips, analysis, the new speakers' names.
    if (count - 12 < p->firstSpeakerStrip) p->firstSpeakerStrip = 0;
    analyzeSpeakers(p);
    nameSpeakers(p, old, count);
    p->audioSpeakers = -1;
    return count;
}

bool setInputCount(SurroundPanner* p, int count) {
    if (count < 0) return false;
    LockHold hold(&p->stateLock);
    // A new count starts without a selection.
    p->uiFlags &= ~FLAG_LOCK_INPUTS;
    for (int i = 0; i < inputCount(p); i++) inputRecords(p)[i].selected = 0;
    recomputeScene(p);
    // The array; new inputs get their records, then their working places.
    int old = inputCount(p);
    if (!p->inputs.resize(count)) return false;
    for (int i = old; i < count; i++) newInputRecord(&inputRecords(p)[i], i);
    if (count > old) {
        beginEdit(p);
        for (int i = old; i < count; i++) placeInputsByRule(p, i);
    }
    // The audio block rebuilds; the strips stay in range.
    p->audioInputs = -1;
    if (count - 12 < p->firstInputStrip) p->firstInputStrip = 0;
    return true;
}

void resetInputPositions(SurroundPanner* p, int which) {
    beginEdit(p);
    placeInputsByRule(p, which);
}

void toggleLfeSpeaker(SurroundPanner* p) {
    LockHold hold(&p->stateLock);
    int n = speakerCount(p);
    PanSpeaker* spk = speakerRecords(p);
    bool any = false;
    for (int s = 0; s < n; s++) any = any || spk[s].lfe;
    // Either every LFE flag goes, or speaker 3 (or the last one) becomes the LFE speaker.
    std::vector<int> changed;
    for (int s = 0; s < n; s++) {
        uint8_t want = any ? 0 : uint8_t(s == (n - 1 < 3 ? n - 1 : 3));
        if (spk[s].lfe == want) continue;
        spk[s].lfe = want;
        changed.push_back(s);
    }
    analyzeSpeakers(p);
    for (int s : changed) nameSpeakers(p, s, s + 1);
    p->speakersChanged = 1;
}
