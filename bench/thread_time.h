// The calling thread's CPU time, for the benchmarks that time work against a reference in one
// run: other work on a shared machine does not count. Linux only, as the benchmarks are.
#pragma once

#include <time.h>

// [any thread] Seconds of CPU time this thread has used.
inline double threadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}
