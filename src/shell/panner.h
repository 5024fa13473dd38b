// Destruction of an effect instance, the process-wide count of instances and the host's channel
// count. Called by the entry point's construction (shell/entry.h) and the dispatcher's effClose;
// the tests use them to hold an instance without loading the plugin binary.
#pragma once

#include <cstdint>

#include "engine/instance.h"

// Process-wide: the number of live SurroundPanner objects.
extern int32_t instanceCount;

// The view's window class, registered by the first instance and removed with the last.
extern const char* const VIEW_WINDOW_CLASS;

// [host's window thread] Runs the destructor steps and frees the object; null does nothing.
void destroyPanner(SurroundPanner* p);

// [window thread] The count query of the constructor: the host's channel count, 2 when the host
// gives none or one outside 1..128.
int hostChannelCount();
