// The host's flat list of automation parameters over the records: the index map, the range and
// text format of each parameter, the scaling both ways, and the one road by which a change made
// in the effect reaches the host, inside a gesture. Used by the parameter entries, the position
// model, the dialog and the view.
#pragma once

#include <cstdint>

#include "vst/aeffect.h"

struct SurroundPanner;

enum { PARAMS_GLOBAL = 6, PARAMS_PER_INPUT = 9, PARAMS_PER_SPEAKER = 3 };
enum { POWNER_NONE = -1, POWNER_GLOBAL = 0, POWNER_INPUT = 1, POWNER_SPEAKER = 2 };

// Parameter numbers of each owner.
enum { PG_CENTER = 0, PG_SIDE = 1, PG_ZSHAPE = 2, PG_SCENE_X = 3, PG_SCENE_Y = 4, PG_SCENE_Z = 5 };
enum { PI_GAIN = 0, PI_X = 1, PI_Y = 2, PI_Z = 3, PI_LFE = 4, PI_DIVERGENCE = 5, PI_DELAY = 6, PI_MUTE = 7, PI_SOLO = 8 };
enum { PS_GAIN = 0, PS_MUTE = 1, PS_SOLO = 2 };

// What an index stands for with the present counts; owner POWNER_NONE when nothing.
struct ParameterRef {
    int owner;
    int channel;
    int number;
};

// One row of the parameter table; a parameter without a row has range 0..1 and no format.
struct ParameterRange {
    int owner;
    int number;
    const char* name;
    double min;
    double max;
    int format;
};
extern const ParameterRange PARAMETER_RANGES[];
extern const int PARAMETER_RANGE_COUNT;

// [any thread] The row of (owner, number), or null.
const ParameterRange* findParameterRange(int owner, int number);

// [any thread] Decodes an index against numParams and the present counts: an index outside the
// list, or one that names a channel past the last, gives owner POWNER_NONE.
ParameterRef decodeParameter(const SurroundPanner* p, int32_t index);

// [any thread] The normalised value of a parameter from the records, not clamped.
double parameterValue(const SurroundPanner* p, ParameterRef r);

// [any thread] The host's value of index: clamped to 0..1; 0 for a null object, an index outside
// the list or a channel past the last.
float VST_CALL getParameter(AEffect* effect, int32_t index);

// [thread of the change] Reports the present value of one parameter to the host, opening its
// gesture first unless open: input >= 0 names an input parameter, else speaker >= 0 a speaker
// parameter, else code is a global parameter (codes above 5 do nothing).
void notifyParameter(SurroundPanner* p, int input, int speaker, int code);

// [thread of the change] Closes every open gesture, in list order, and forgets them.
void endGestures(SurroundPanner* p);

// [any thread] The open gestures' parameter indices in list order; returns the count written.
int openGestureKeys(const SurroundPanner* p, int32_t* keys, int capacity);
