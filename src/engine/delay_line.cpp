#include "engine/delay_line.h"

#include <cstdlib>
#include <cstring>

DelayLine* createDelayLine() { return static_cast<DelayLine*>(std::calloc(1, sizeof(DelayLine))); }

void destroyDelayLine(DelayLine* line) {
    if (!line) return;
    std::free(line->storage);
    std::free(line);
}

static int oldestIndex(const DelayLine* line) {
    int i = line->writePos - line->count;
    return i < 0 ? i + line->capacity : i;
}

bool delaySetCapacity(DelayLine* line, int capacity) {
    if (capacity < 0) return false;
    double* storage = static_cast<double*>(std::malloc(size_t(capacity > 0 ? capacity : 1) * sizeof(double)));
    if (!storage) return false;
    int keep = line->count < capacity ? line->count : capacity;
    int from = line->count - keep;  // the newest samples survive a shrink
    for (int k = 0; k < keep; k++) {
        int i = oldestIndex(line) + from + k;
        storage[k] = line->storage[i >= line->capacity ? i - line->capacity : i];
    }
    std::free(line->storage);
    line->storage = storage;
    line->capacity = capacity;
    line->count = keep;
    line->writePos = capacity > 0 ? keep % capacity : 0;
    return true;
}

int delayAdd(DelayLine* line, const double* samples, int n) {
    int room = line->capacity - line->count;
    if (n > room) n = room;
    for (int k = 0; k < n;) {
        int run = line->capacity - line->writePos;
        if (run > n - k) run = n - k;
        if (samples) std::memcpy(line->storage + line->writePos, samples + k, size_t(run) * sizeof(double));
        else std::memset(line->storage + line->writePos, 0, size_t(run) * sizeof(double));
        line->writePos = (line->writePos + run) % line->capacity;
        k += run;
    }
    if (n > 0) line->count += n;
    return n > 0 ? n : 0;
}

int delayPeek(const DelayLine* line, double* dest, int offset, int n) {
    if (offset < 0 || n <= 0 || offset >= line->count) return 0;
    if (n > line->count - offset) n = line->count - offset;
    int start = oldestIndex(line) + offset;
    if (start >= line->capacity) start -= line->capacity;
    int first = line->capacity - start < n ? line->capacity - start : n;
    std::memcpy(dest, line->storage + start, size_t(first) * sizeof(double));
    if (n > first) std::memcpy(dest + first, line->storage, size_t(n - first) * sizeof(double));
    return n;
}

void delayDrop(DelayLine* line, int n) {
    if (n <= 0) return;
    line->count = n < line->count ? line->count - n : 0;
}
