// The channel records: PanInput for each audio input, PanSpeaker for each output, the speaker
// classification bits, the polar and spherical coordinate pairs and the solo tests.
// Everything that knows a channel reads or writes these records directly.
#pragma once

#include <atomic>
#include <cstdint>

struct SurroundPanner;

// Single fields that a host, dialog or view thread writes without stateLock while the audio
// thread reads them (gain, lfeSend, position, divergence, delay, mute, solo, center % and the
// like): both sides go through these, so that each access is one whole load or store and the
// compiler neither tears nor merges it with its neighbours.
template <class T>
inline T sharedLoad(const T& field) {
    return std::atomic_ref<T>(const_cast<T&>(field)).load(std::memory_order_relaxed);
}
template <class T>
inline void sharedStore(T& field, T value) {
    std::atomic_ref<T>(field).store(value, std::memory_order_relaxed);
}

struct PanInput {
    double gain;
    double lfeSend;
    double posX, posY, posZ;
    double divergence;
    double delay;  // seconds, 0 .. PARAMETER_DELAY_MAX_SECONDS
    double editStartX, editStartY, editStartZ;
    double workX, workY, workZ;
    double workOverflow;
    uint8_t mute;
    uint8_t solo;
    uint8_t selected;
    uint8_t reverseX, reverseY, reverseZ;
    char name[64];
    uint32_t color;
};

enum { REACH_ROWS = 5, REACH_AXES = 3 };

struct PanSpeaker {
    double gain;
    double posX, posY, posZ;
    double radius, angle, height;
    double influence;
    double warpX, warpY, warpZ;
    double reachNeg[REACH_ROWS][REACH_AXES];
    double reachPos[REACH_ROWS][REACH_AXES];
    uint32_t flags;
    uint8_t lfe;
    uint8_t mute;
    uint8_t solo;
    uint8_t vacant;
    char name[64];
};

// PanSpeaker.flags
enum : uint32_t {
    SPK_LEFT = 0x001,
    SPK_XCENTER = 0x002,
    SPK_RIGHT = 0x004,
    SPK_REAR = 0x008,
    SPK_YMID = 0x010,
    SPK_FRONT = 0x020,
    SPK_HIGH = 0x040,
    SPK_EXACT = 0x080,
    SPK_CENTERGROUP = 0x100,
    SPK_SIDEGROUP = 0x200,
    SPK_EDGEPAIR = 0x400,
    SPK_GRIDKEY = 0x07F,
};

// Default input colours by index & 7.
extern const uint32_t INPUT_COLOURS[8];

// Channel counts of the masks the audio code keeps: channels from index 128 on have no bit.
constexpr int CHANNEL_MASK_BITS = 128;

struct Polar {
    double radius, angle, z;
};
struct Spherical {
    double length, azimuth, elevation;
};
struct Point3 {
    double x, y, z;
};

// [any thread] The array lengths; both may be 0 before the first layout is applied.
int inputCount(const SurroundPanner* p);
int speakerCount(const SurroundPanner* p);
PanInput* inputRecords(const SurroundPanner* p);
PanSpeaker* speakerRecords(const SurroundPanner* p);

// [window thread] Notes the present counts in pendingChannelChange before they change: the host
// is told of the change at its next idle call, against these counts; forced asks it to resize
// its outputs as well.
void notePendingChange(SurroundPanner* p, bool forced);

// [any thread] Zero-fills and sets the defaults of a new input at index: gain 1, the localised
// name "channel N", the colour of index & 7, reverseX on odd indices.
void newInputRecord(PanInput* record, int index);
// [any thread] Zero-fills and sets a speaker at a position: gain 1, influence 1, lfe as given.
void newSpeakerRecord(PanSpeaker* record, double x, double y, double z, bool isLfe);

// [any thread] Coordinate pairs; angles are atan2(x, y): 0 ahead (+Y), positive to the right.
Polar polarFromXY(double x, double y, double z);
Point3 xyFromPolar(double radius, double angle, double z);
Spherical spherical(double x, double y, double z);
Point3 fromSpherical(double length, double azimuth, double elevation);

// [any thread] Solo tests. anyInputSolo skips index 3 while it is the LFE channel;
// anySpeakerSolo looks only at speakers that are not vacant.
bool anyInputSolo(const SurroundPanner* p);
bool anySpeakerSolo(const SurroundPanner* p);

// Copies text into a 64-byte name, cut so that it stays NUL-terminated.
void setRecordName(char (&name)[64], const char* text);
