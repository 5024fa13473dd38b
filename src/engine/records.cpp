#include "engine/records.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include "engine/instance.h"
#include "foundation/localize.h"

const uint32_t INPUT_COLOURS[8] = {
    0xFFF0F0F0,
    0xFFFF2020,
    0xFF20FF20,
    0xFF2020FF,
    0xFFFFFF20,
    0xFFFF20FF,
    0xFF20FFFF,
    0xFF909090,
};

int inputCount(const SurroundPanner* p) { return p->inputs.size(); }
int speakerCount(const SurroundPanner* p) { return p->speakers.size(); }
PanInput* inputRecords(const SurroundPanner* p) { return p->inputs.data(); }
PanSpeaker* speakerRecords(const SurroundPanner* p) { return p->speakers.data(); }

void notePendingChange(SurroundPanner* p, bool forced) {
    p->pendingChannelChange =
        uint32_t(inputCount(p)) | uint32_t(speakerCount(p)) << 8 | (forced ? uint32_t(PENDING_FORCED) : 0u);
}

void setRecordName(char (&name)[64], const char* text) {
    std::snprintf(name, sizeof name, "%s", text ? text : "");
}

void newInputRecord(PanInput* record, int index) {
    std::memset(record, 0, sizeof *record);
    record->gain = 1.0;
    std::snprintf(record->name, sizeof record->name, "%s%d", localize("channel ", "kelvanepan", 0), index + 1);
    record->color = INPUT_COLOURS[index & 7];
    record->reverseX = uint8_t(index & 1);
}

void newSpeakerRecord(PanSpeaker* record, double x, double y, double z, bool isLfe) {
    std::memset(record, 0, sizeof *record);
    record->posX = x;
    record->posY = y;
    record->posZ = z;
    record->gain = 1.0;
    record->influence = 1.0;
    record->vacant = 0;
    record->lfe = isLfe ? 1 : 0;
}

Polar polarFromXY(double x, double y, double z) {
    Polar r;
    r.radius = std::sqrt(x * x + y * y);
    r.angle = (x == 0.0 && y == 0.0) ? 0.0 : std::atan2(x, y);
    r.z = z;
    return r;
}

Point3 xyFromPolar(double radius, double angle, double z) {
    return Point3{radius * std::sin(angle), radius * std::cos(angle), z};
}

Spherical spherical(double x, double y, double z) {
    Spherical s;
    s.length = std::sqrt(x * x + y * y + z * z);
    s.azimuth = (x == 0.0 && y == 0.0) ? 0.0 : std::atan2(x, y);
    s.elevation = s.length == 0.0 ? 0.0 : std::asin(z / s.length);
    return s;
}

Point3 fromSpherical(double length, double azimuth, double elevation) {
    double z = length * std::sin(elevation);
    double ground = length * length - z * z;
    double radius = ground > 0.0 ? std::sqrt(ground) : 0.0;
    Point3 p = xyFromPolar(radius, azimuth, z);
    return p;
}

bool anyInputSolo(const SurroundPanner* p) {
    int n = inputCount(p);
    const PanInput* in = inputRecords(p);
    bool skipLfe = (sharedLoad(p->channelOptions) & CHANNEL_OPTION_LFE_INPUT) != 0;
    for (int i = 0; i < n; i++)
        if (sharedLoad(in[i].solo) && !(skipLfe && i == 3)) return true;
    return false;
}

bool anySpeakerSolo(const SurroundPanner* p) {
    int n = speakerCount(p);
    const PanSpeaker* spk = speakerRecords(p);
    for (int i = 0; i < n; i++)
        if (sharedLoad(spk[i].solo) && !sharedLoad(spk[i].vacant)) return true;
    return false;
}
