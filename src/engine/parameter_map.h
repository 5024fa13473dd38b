// The host's flat list of automation parameters over the records: what an index stands for, the
// normalised value of each from the records (ranges and scaling are the parameter table's), and
// the one road by which a change made
// in the effect reaches the host, inside a gesture. Used by the parameter entries, the position
// model, the dialog and the view.
#pragma once

#include <cstdint>

#include "engine/parameter_table.h"
#include "vst/aeffect.h"

struct SurroundPanner;

// What an index stands for with the present counts; owner POWNER_NONE when nothing.
struct ParameterRef {
    int owner;
    int channel;
    int number;
};

// [any thread] Decodes an index against numParams and the present counts: an index outside the
// list, or one that names a channel past the last, gives owner POWNER_NONE.
ParameterRef decodeParameter(const SurroundPanner* p, int32_t index);

// [any thread] The plain value of a parameter in its record, and its normalised value, not
// clamped.
double parameterPlainValue(const SurroundPanner* p, ParameterRef r);
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
