// The audio block: the host's process entries. A short head under stateLock turns the shared
// state into local copies and fresh gain rows; the tail moves samples without the lock through
// the delay lines and the gain matrix, ramping changed gains across the block, and feeds the
// meters. Called by the host's audio thread; the delay lines are released by the destructor.
#pragma once

#include <cstdint>

#include "engine/parameter_table.h"
#include "vst/aeffect.h"

struct SurroundPanner;

// Longest input delay, in seconds.
constexpr double DELAY_MAX_SECONDS = PARAMETER_DELAY_MAX_SECONDS;
// Meters halve every this many milliseconds and stop below the floor.
constexpr double METER_HALF_LIFE_MS = 75.0;
constexpr double METER_FLOOR = 1e-8;

// [audio thread] The double-precision process call, the one that produces sound. Allocates only
// in a block whose channel counts differ from the last, on an input's first delay, and for a
// longer block than before.
void VST_CALL processDoubleReplacing(AEffect* effect, double** inputs, double** outputs, int32_t frames);
// [audio thread] The single-precision calls: they return at once and touch no buffer.
void VST_CALL processFloatIgnored(AEffect* effect, float** inputs, float** outputs, int32_t frames);

// [window thread] Deletes every delay line, last to first, and empties the list.
void releaseDelayLines(SurroundPanner* p);

// [any thread] A meter's present peak (written by the audio thread, read without the lock).
double meterPeak(const SurroundPanner* p, int k);
