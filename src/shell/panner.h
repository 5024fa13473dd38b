// Construction and destruction of an effect instance, and the process-wide count of them.
// Called by the entry point (construction) and the dispatcher's effClose (destruction); the
// reference host and the tests use them to hold a state without loading the plugin binary.
#pragma once

#include <cstdint>

#include "engine/instance.h"

// Process-wide: the number of live SurroundPanner objects.
extern int32_t instanceCount;

// The view's window class, registered by the first instance and removed with the last.
extern const char* const VIEW_WINDOW_CLASS;

// [host's instantiating thread] Allocates and constructs an instance from the process-wide
// hostCallback and hostApi. Returns null when the allocation fails.
SurroundPanner* createPanner();
// [host's window thread] Runs the destructor steps and frees the object; null does nothing.
void destroyPanner(SurroundPanner* p);

// [window thread] The count query of the constructor: the host's channel count, 2 when the host
// gives none or one outside 1..128.
int hostChannelCount();
