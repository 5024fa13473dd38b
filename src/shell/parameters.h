// The host's direction of the parameter list: writing a value, and the name, unit and value
// text of each parameter, and the reading of a typed text. Called by the host (setParameter and
// the dispatcher's text calls) from its audio or window thread, and by the dialog.
#pragma once

#include <cstdint>

#include "engine/parameter_map.h"
#include "vst/aeffect.h"

struct SurroundPanner;

// [any thread] Stores a normalised value with its side effects; ignored for a null object, an
// index outside the list, a channel past the last, or while a channel change is pending.
void VST_CALL setParameter(AEffect* effect, int32_t index, float value);

// [any thread] Texts into a buffer of capacity bytes (NUL included); each returns the bytes
// written without the NUL, 0 for an index that names nothing.
int parameterName(const SurroundPanner* p, int32_t index, char* out, int capacity);
int parameterLabel(const SurroundPanner* p, int32_t index, char* out, int capacity);
// value: shown instead of the present value when not null.
int parameterDisplay(const SurroundPanner* p, int32_t index, char* out, int capacity, const double* value);
// [any thread] The normalised value a display text stands for, unclamped; 0 for an index that
// names nothing.
double parameterFromText(const SurroundPanner* p, int32_t index, const char* text);
