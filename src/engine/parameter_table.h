// The parameter table: every automation parameter's owner, number, name, range, scaling and text
// format, the conversions between the host's normalised value and the record's plain value both
// ways, the gain faders' curve, and the size and order of the host's flat list. Used by the
// parameter map and entries, the parameter texts, the audio block (the delay's top) and the
// dialog.
#pragma once

#include <cstdint>

enum { PARAMS_GLOBAL = 6, PARAMS_PER_INPUT = 9, PARAMS_PER_SPEAKER = 3 };
enum { POWNER_NONE = -1, POWNER_GLOBAL = 0, POWNER_INPUT = 1, POWNER_SPEAKER = 2 };

// Parameter numbers of each owner.
enum { PG_CENTER = 0, PG_SIDE = 1, PG_ZSHAPE = 2, PG_SCENE_X = 3, PG_SCENE_Y = 4, PG_SCENE_Z = 5 };
enum { PI_GAIN = 0, PI_X = 1, PI_Y = 2, PI_Z = 3, PI_LFE = 4, PI_DIVERGENCE = 5, PI_DELAY = 6, PI_MUTE = 7, PI_SOLO = 8 };
enum { PS_GAIN = 0, PS_MUTE = 1, PS_SOLO = 2 };

// How a normalised value v (0..1) maps onto a row's plain range min..max.
enum : int {
    PSCALE_LINEAR = 0,   // min + (max - min) * v
    PSCALE_SQUARED = 1,  // max * v * v: fine steps at short delays (min is 0)
    PSCALE_STEPS = 2,    // the nearest whole step of 0..max
    PSCALE_SWITCH = 3,   // off below one half, on from it
};

// Value formats of the parameter texts.
enum : int {
    PFORMAT_NONE = -1,  // a plain number
    PFORMAT_POSITION = 0,
    PFORMAT_PERCENT = 1,
    PFORMAT_GAIN = 2,
    PFORMAT_DELAY = 3,
    PFORMAT_MUTE = 4,
    PFORMAT_SOLO = 5,
    PFORMAT_ZSHAPE = 6,
};

// Gains and LFE sends reach 4.0 (+12 dB) at the top of their range; delays 40 ms, which also
// sizes the delay lines.
constexpr double PARAMETER_GAIN_MAX = 4.0;
constexpr double PARAMETER_DELAY_MAX_SECONDS = 0.04;
constexpr int PARAMETER_ZSHAPE_STEPS = 6;

struct ParameterRow {
    int owner;
    int number;
    const char* name;  // not localised
    double min;        // plain range
    double max;
    int scale;   // PSCALE_*
    int format;  // PFORMAT_*
};
extern const ParameterRow PARAMETER_ROWS[];
extern const int PARAMETER_ROW_COUNT;

// [any thread] The row of (owner, number), or null.
const ParameterRow* findParameterRow(int owner, int number);

// [any thread] The plain value of normalised v, and back. Neither clamps: v outside 0..1 gives a
// plain value outside the range, except for steps and switches, which round; a squared row reads
// a plain value at or below 0 as 0.
double plainFromNormalised(const ParameterRow& row, double v);
double normalisedFromPlain(const ParameterRow& row, double plain);

// [any thread] The size of the host's list for the given counts: the globals, then each input's
// parameters, then each speaker's.
int32_t parameterCount(int inputs, int speakers);
// [any thread] The list index of parameter number of an owner's channel (the channel is ignored
// for globals); inputs is the present input count, which places the speakers.
int32_t parameterIndex(int owner, int channel, int number, int inputs);

// [window thread] A gain fader's position 0..1000 for a gain, truncated, and back, by the host's
// fader curve (DB2SLIDER, SLIDER2DB). A gain of 0 sits at the bottom; without the host's curve
// both give 0.
int faderFromGain(double gain);
double gainFromFader(double position);
