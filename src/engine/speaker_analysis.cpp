#include "engine/speaker_analysis.h"

#include <cmath>
#include <cstring>
#include <numbers>

#include "engine/instance.h"
#include "engine/records.h"

const uint32_t SPEAKER_SET_EXCLUDED[SPEAKER_SET_COUNT] = {
    0,
    SPK_CENTERGROUP,
    SPK_SIDEGROUP,
    SPK_CENTERGROUP | SPK_SIDEGROUP,
};

namespace {

constexpr uint32_t MIDDLE_BITS = SPK_XCENTER | SPK_YMID;
constexpr double TWO_PI = 2.0 * std::numbers::pi;

bool inMask(const uint64_t* mask, int index) {
    return index < CHANNEL_MASK_BITS && (mask[index >> 6] >> (index & 63)) & 1;
}
void addToMask(uint64_t* mask, int index) {
    if (index < CHANNEL_MASK_BITS) mask[index >> 6] |= uint64_t(1) << (index & 63);
}

uint32_t sideBits(double v, uint32_t negative, uint32_t positive) { return v >= 0 ? positive : negative; }

// Which walls or middle lines a speaker stands on.
uint32_t wallBitsOf(const PanSpeaker* spk, int n, int i) {
    double x = spk[i].posX, y = spk[i].posY, ax = std::fabs(x), ay = std::fabs(y);
    uint32_t leftRight = sideBits(x, SPK_LEFT, SPK_RIGHT), frontRear = sideBits(y, SPK_REAR, SPK_FRONT);
    if (ax < NEAR_MIDDLE && ay < NEAR_MIDDLE) return 0;
    if (ax < NEAR_MIDDLE) return SPK_XCENTER | frontRear;
    if (ay < NEAR_MIDDLE) return SPK_YMID | leftRight;
    if (ax >= NEAR_WALL && ay >= NEAR_WALL) return leftRight | frontRear;
    // Between the lines: on the inside of its quadrant if another speaker there lies further out.
    for (int t = 0; t < n; t++) {
        if (t == i || !isPanningSpeaker(spk[t]) || (spk[t].flags & SPK_HIGH) != (spk[i].flags & SPK_HIGH)) continue;
        if (x * spk[t].posX > 0 && y * spk[t].posY > 0 && ax + ay < std::fabs(spk[t].posX) + std::fabs(spk[t].posY))
            return ay <= ax ? (SPK_YMID | leftRight) : (SPK_XCENTER | frontRear);
    }
    return leftRight | frontRear;
}

// Exactness: every wall bit borne out, and the layer too.
bool isExact(const PanSpeaker& s, uint32_t f) {
    if ((f & SPK_LEFT) && !(s.posX < -1.0 + EXACT_SLACK)) return false;
    if ((f & SPK_RIGHT) && !(s.posX > 1.0 - EXACT_SLACK)) return false;
    if ((f & SPK_XCENTER) && !(std::fabs(s.posX) < EXACT_SLACK)) return false;
    if ((f & SPK_REAR) && !(s.posY < -1.0 + EXACT_SLACK)) return false;
    if ((f & SPK_FRONT) && !(s.posY > 1.0 - EXACT_SLACK)) return false;
    if ((f & SPK_YMID) && !(std::fabs(s.posY) < EXACT_SLACK)) return false;
    return (f & SPK_HIGH) ? s.posZ > 1.0 - EXACT_SLACK : s.posZ < EXACT_SLACK;
}

void classify(SurroundPanner* p, PanSpeaker* spk, int n) {
    // The upper layer, for every speaker before any wall is decided.
    for (int i = 0; i < n; i++)
        if (isPanningSpeaker(spk[i]) && spk[i].posZ >= LAYER_SPLIT) spk[i].flags = SPK_HIGH;
    // Walls and middle lines, then exactness.
    for (int i = 0; i < n; i++) {
        if (!isPanningSpeaker(spk[i])) continue;
        spk[i].flags |= wallBitsOf(spk, n, i);
        if (isExact(spk[i], spk[i].flags)) spk[i].flags |= SPK_EXACT;
    }
    // Groups: a middle-line speaker in a layer that also holds another kind.
    for (int s = 0; s < n; s++) {
        uint32_t ks = spk[s].flags & MIDDLE_BITS;
        if (!ks || !isPanningSpeaker(spk[s])) continue;
        for (int t = 0; t < n; t++) {
            if (t == s || !isPanningSpeaker(spk[t]) || (spk[t].flags & SPK_HIGH) != (spk[s].flags & SPK_HIGH)) continue;
            uint32_t kt = spk[t].flags & MIDDLE_BITS;
            if (kt == ks && (spk[t].flags & SPK_GRIDKEY) != (spk[s].flags & SPK_GRIDKEY)) spk[s].flags |= SPK_EDGEPAIR;
            if (kt != ks) spk[s].flags |= (spk[s].flags & SPK_XCENTER) ? SPK_CENTERGROUP : SPK_SIDEGROUP;
        }
    }
    // The union, and the polar cache.
    p->speakerFlagsUnion = 0;
    for (int i = 0; i < n; i++) {
        p->speakerFlagsUnion |= spk[i].flags;
        Polar polar = polarFromXY(spk[i].posX, spk[i].posY, spk[i].posZ);
        spk[i].radius = polar.radius;
        spk[i].angle = polar.angle;
        spk[i].height = polar.z;
    }
}

void assignGrid(SurroundPanner* p, PanSpeaker* spk, int n) {
    bool used[128] = {};
    uint64_t placed[2] = {0, 0};
    bool warped = false;
    for (int i = 0; i < n; i++) {
        spk[i].warpX = spk[i].posX;
        spk[i].warpY = spk[i].posY;
        spk[i].warpZ = spk[i].posZ;
    }
    // Exact speakers keep their place and hold their key.
    for (int i = 0; i < n; i++) {
        if (!isPanningSpeaker(spk[i]) || !(spk[i].flags & SPK_EXACT)) continue;
        used[spk[i].flags & SPK_GRIDKEY] = true;
        addToMask(placed, i);
    }
    // The first speaker of each free key takes the grid point its bits name.
    for (int i = 0; i < n; i++) {
        uint32_t f = spk[i].flags, key = f & SPK_GRIDKEY;
        if (!isPanningSpeaker(spk[i]) || used[key]) continue;
        if (f & SPK_LEFT) spk[i].warpX = -1.0;
        if (f & SPK_XCENTER) spk[i].warpX = 0.0;
        if (f & SPK_RIGHT) spk[i].warpX = 1.0;
        if (f & SPK_REAR) spk[i].warpY = -1.0;
        if (f & SPK_YMID) spk[i].warpY = 0.0;
        if (f & SPK_FRONT) spk[i].warpY = 1.0;
        spk[i].warpZ = (f & SPK_HIGH) ? 1.0 : 0.0;
        used[key] = true;
        addToMask(placed, i);
        warped = true;
    }
    // The rest share a grid point: bent between their placed neighbours by angle.
    for (int i = 0; i < n; i++) {
        if (!isPanningSpeaker(spk[i]) || inMask(placed, i)) continue;
        if (spk[i].radius != 0.0) {
            warpPoint(p, spk[i].warpX, spk[i].warpY, spk[i].warpZ, placed, &spk[i].warpX, &spk[i].warpY);
            warped = true;
        }
        addToMask(placed, i);
    }
    p->warpActive = warped ? 1 : 0;
}

}  // namespace

void analyzeSpeakers(SurroundPanner* p) {
    LockHold hold(&p->stateLock);
    int n = speakerCount(p);
    PanSpeaker* spk = speakerRecords(p);
    // The lock keeps the audio block away, so the records' own flags serve as the work array.
    for (int i = 0; i < n; i++) spk[i].flags = 0;
    classify(p, spk, n);
    assignGrid(p, spk, n);
    p->speakersChanged = 1;
}

void warpPoint(const SurroundPanner* p, double x, double y, double z, const uint64_t* candidates, double* outX,
               double* outY) {
    *outX = x;
    *outY = y;
    Polar point = polarFromXY(x, y, z);
    if (point.radius == 0.0) return;
    bool high = z >= LAYER_SPLIT;
    int n = speakerCount(p);
    const PanSpeaker* spk = speakerRecords(p);
    int a = -1, b = -1;
    double bestF = 0.0, bestB = 0.0;
    // The nearest candidate of the layer going forward by angle, and going backward.
    for (int t = 0; t < n; t++) {
        const PanSpeaker& c = spk[t];
        if (!isPanningSpeaker(c) || c.radius == 0.0 || ((c.flags & SPK_HIGH) != 0) != high) continue;
        if (candidates && !inMask(candidates, t)) continue;
        double d = point.angle - c.angle;
        double f = d < 0 ? d + TWO_PI : d;
        double back = d <= 0 ? -d : TWO_PI - d;
        if (a < 0 || f < bestF) a = t, bestF = f;
        if (b < 0 || back < bestB) b = t, bestB = back;
    }
    // No neighbour: the point stays.
    if (a < 0) return;
    // Weights by angle.
    double wA = 1.0, wB = 0.0;
    if (bestF != 0.0 && bestB != 0.0) {
        wA = bestB / (bestF + bestB);
        wB = bestF / (bestF + bestB);
    }
    // Distance ratios: by radius on the circle, by the square's distance otherwise.
    const PanSpeaker& A = spk[a];
    const PanSpeaker& B = spk[b];
    double kA, kB;
    if (p->layoutFamily == 2) {
        kA = point.radius / A.radius;
        kB = point.radius / B.radius;
    } else {
        double m = std::fmax(std::fabs(x), std::fabs(y));
        kA = m / std::fmax(std::fabs(A.posX), std::fabs(A.posY));
        kB = m / std::fmax(std::fabs(B.posX), std::fabs(B.posY));
    }
    // The neighbours' offsets, weighted, clamped to the room.
    double nx = x + (A.warpX - A.posX) * kA * wA + (B.warpX - B.posX) * kB * wB;
    double ny = y + (A.warpY - A.posY) * kA * wA + (B.warpY - B.posY) * kB * wB;
    *outX = std::fmin(1.0, std::fmax(-1.0, nx));
    *outY = std::fmin(1.0, std::fmax(-1.0, ny));
}

bool reachNeighbourCounts(const PanSpeaker& s, const PanSpeaker& t, int axis, double d) {
    switch (axis) {
        case 0:
            return std::fabs(t.warpZ - s.warpZ) < LAYER_SPLIT && std::fabs(t.warpY - s.warpY) <= d + ALIGN_SLACK &&
                   !((s.flags & SPK_YMID) && (t.flags & SPK_XCENTER) && !(t.flags & SPK_EDGEPAIR));
        case 1:
            return std::fabs(t.warpZ - s.warpZ) < LAYER_SPLIT && std::fabs(t.warpX - s.warpX) <= d + ALIGN_SLACK &&
                   !((s.flags & SPK_XCENTER) && (t.flags & SPK_YMID) && !(t.flags & SPK_EDGEPAIR));
        default:
            return std::fabs(t.warpZ - s.warpZ) >= LAYER_SPLIT;
    }
}

void buildReachRow(SurroundPanner* p, int row, uint32_t excluded, ReachNeighbourTest counts) {
    int n = speakerCount(p);
    PanSpeaker* spk = speakerRecords(p);
    auto member = [&](const PanSpeaker& s) { return isPanningSpeaker(s) && !(s.flags & excluded); };
    for (int i = 0; i < n; i++) {
        PanSpeaker& s = spk[i];
        for (int a = 0; a < REACH_AXES; a++) s.reachNeg[row][a] = s.reachPos[row][a] = 0.0;
        if (!member(s) || s.influence == 0.0) continue;
        const double pos[3] = {s.posX, s.posY, s.posZ};
        const double warp[3] = {s.warpX, s.warpY, s.warpZ};
        for (int a = 0; a < REACH_AXES; a++) {
            const double low = a == 2 ? 0.0 : -1.0;
            // The end of an axis is tested on the real position, neighbours on grid positions.
            double nearNeg = -1.0, nearPos = -1.0;
            for (int k = 0; k < n; k++) {
                const PanSpeaker& t = spk[k];
                if (k == i || !member(t)) continue;
                const double tw = a == 0 ? t.warpX : a == 1 ? t.warpY : t.warpZ;
                double d = std::fabs(tw - warp[a]);
                if (!counts(s, t, a, d)) continue;
                if (tw < warp[a] && (nearNeg < 0 || d < nearNeg)) nearNeg = d;
                if (tw > warp[a] && (nearPos < 0 || d < nearPos)) nearPos = d;
            }
            s.reachNeg[row][a] = (pos[a] == low || nearNeg < 0) ? -1.0 : nearNeg * s.influence;
            s.reachPos[row][a] = (pos[a] == 1.0 || nearPos < 0) ? -1.0 : nearPos * s.influence;
        }
    }
}

void buildReachTables(SurroundPanner* p) {
    for (int b = 0; b < SPEAKER_SET_COUNT; b++) buildReachRow(p, b, SPEAKER_SET_EXCLUDED[b], reachNeighbourCounts);
}

void buildViewReachRow(SurroundPanner* p) {
    int n = speakerCount(p);
    PanSpeaker* spk = speakerRecords(p);
    const double centre = sharedLoad(p->centerPercent), side = sharedLoad(p->sidePercent);
    const int row = REACH_ROW_VIEW;
    for (int i = 0; i < n; i++) {
        PanSpeaker& s = spk[i];
        for (int a = 0; a < REACH_AXES; a++) s.reachNeg[row][a] = s.reachPos[row][a] = 0.0;
        if (!isPanningSpeaker(s) || s.influence == 0.0) continue;
        const bool silent = ((s.flags & SPK_CENTERGROUP) && centre == 0.0) || ((s.flags & SPK_SIDEGROUP) && side == 0.0);
        const double pos[3] = {s.posX, s.posY, s.posZ};
        const double warp[3] = {s.warpX, s.warpY, s.warpZ};
        for (int a = 0; a < REACH_AXES; a++) {
            const double low = a == 2 ? 0.0 : -1.0;
            int nearNeg = -1, nearPos = -1;
            double distNeg = -1.0, distPos = -1.0;
            for (int k = 0; k < n; k++) {
                const PanSpeaker& t = spk[k];
                if (k == i || !isPanningSpeaker(t)) continue;
                const double tw = a == 0 ? t.warpX : a == 1 ? t.warpY : t.warpZ;
                double d = std::fabs(tw - warp[a]);
                if (!reachNeighbourCounts(s, t, a, d)) continue;
                if (tw < warp[a] && (distNeg < 0 || d < distNeg)) distNeg = d, nearNeg = k;
                if (tw > warp[a] && (distPos < 0 || d < distPos)) distPos = d, nearPos = k;
            }
            auto weighed = [&](double d, int k) {
                if (s.flags & SPK_CENTERGROUP) d *= centre;
                if (s.flags & SPK_SIDEGROUP) d *= side;
                if (spk[k].flags & SPK_CENTERGROUP) d *= 2.0 - centre;
                if (spk[k].flags & SPK_SIDEGROUP) d *= 2.0 - side;
                return d * s.influence;
            };
            const bool wallNeg = pos[a] == low, wallPos = pos[a] == 1.0;
            s.reachNeg[row][a] = wallNeg ? -1.0 : silent ? 0.0 : nearNeg < 0 ? -1.0 : weighed(distNeg, nearNeg);
            s.reachPos[row][a] = wallPos ? -1.0 : silent ? 0.0 : nearPos < 0 ? -1.0 : weighed(distPos, nearPos);
        }
    }
}
