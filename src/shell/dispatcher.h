// The dispatcher: the host's entry for everything but audio and parameter values.
// Called by the host, mostly from its window thread.
#pragma once

#include <cstdint>

#include "vst/aeffect.h"

// Texts the dispatcher hands out.
extern const char* const EFFECT_NAME;    // "KelvanePan"
extern const char* const VENDOR_NAME;    // "Tarnwick"
extern const char* const PRODUCT_NAME;   // "KelvanePan"

// [window thread; effSetSampleRate and the chunk calls from any thread] Returns the opcode's
// answer; unknown opcodes and a null object return 0 and do nothing.
intptr_t VST_CALL dispatcher(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt);
