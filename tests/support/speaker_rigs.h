// Speaker rigs for engine tests, placed from the room's slot positions, so the gain law can be
// checked against worked numbers without going through the layout operations.
#pragma once

#include <cmath>
#include <initializer_list>
#include <numbers>
#include <vector>

#include "engine/gain_matrix.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"

struct RigSpeaker {
    double x, y, z;
    bool lfe;
    bool vacant;
};

inline RigSpeaker at(double x, double y, double z = 0.0) { return RigSpeaker{x, y, z, false, false}; }
inline RigSpeaker lfeAt(double x, double y, double z = 0.0) { return RigSpeaker{x, y, z, true, false}; }
// A point on the circle of the circular layouts, by its angle in degrees.
inline RigSpeaker circle(double degrees, double z = 0.0) {
    double a = degrees * std::numbers::pi / 180.0;
    return RigSpeaker{std::sin(a), std::cos(a), z, false, false};
}

inline std::vector<RigSpeaker> stereoRig() { return {at(-1, 1), at(1, 1)}; }
inline std::vector<RigSpeaker> surround51Rig() {
    return {at(-1, 1), at(1, 1), at(0, 1), lfeAt(0, 0), at(-1, -1), at(1, -1)};
}
inline std::vector<RigSpeaker> quadRig() { return {at(-1, 1), at(1, 1), at(-1, -1), at(1, -1)}; }
inline std::vector<RigSpeaker> itu51Rig() {
    return {circle(-30), circle(30), circle(0), lfeAt(0, 0), circle(-110), circle(110)};
}
inline std::vector<RigSpeaker> smpte71Rig() {
    return {at(-1, 1), at(1, 1), at(0, 1), lfeAt(0, 0), at(-1, 0), at(1, 0), at(-1, -1), at(1, -1)};
}
inline std::vector<RigSpeaker> surround714Rig() {
    std::vector<RigSpeaker> r = smpte71Rig();
    for (RigSpeaker s : {at(-1, 1, 1), at(1, 1, 1), at(-1, -1, 1), at(1, -1, 1)}) r.push_back(s);
    return r;
}

// Replaces the speakers of p by the rig, with the layout family given, and analyses them.
inline void placeRig(SurroundPanner* p, const std::vector<RigSpeaker>& rig, int family = 0) {
    LockHold hold(&p->stateLock);
    p->speakers.resize(int(rig.size()));
    for (size_t i = 0; i < rig.size(); i++) {
        newSpeakerRecord(&speakerRecords(p)[i], rig[i].x, rig[i].y, rig[i].z, rig[i].lfe);
        speakerRecords(p)[i].vacant = rig[i].vacant ? 1 : 0;
    }
    p->layoutFamily = family;
    analyzeSpeakers(p);
}

// The target row of input 0 at a point, computed the way the audio block does.
inline std::vector<double> gainsAt(SurroundPanner* p, double x, double y, double z, int input = 0) {
    LockHold hold(&p->stateLock);
    PanInput& in = inputRecords(p)[input];
    in.posX = x;
    in.posY = y;
    in.posZ = z;
    sizeGainTables(p, inputCount(p), speakerCount(p));
    buildReachTables(p);
    computeInputGains(p, input);
    const double* row = targetGainRow(p, input);
    return std::vector<double>(row, row + speakerCount(p));
}
