// Counts the heap allocations that one thread makes while it watches: the validator's proof that
// a plugin's audio block allocates nothing. Used by kelvane-host validate around process calls.
#pragma once

// Whether this build can count. On Linux the program's own malloc family stands in front of the
// C library's, and a plugin loaded into the process calls it too. Builds with sanitizers keep
// their own allocator, and a Windows DLL carries its own runtime, so neither can count.
bool allocWatchAvailable();
// [any thread] Starts counting the calling thread's allocations from 0.
void allocWatchBegin();
// [any thread] Stops counting; returns the allocations made since allocWatchBegin (0 when the
// build cannot count).
long allocWatchEnd();
