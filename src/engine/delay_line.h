// DelayLine: the ring of samples behind an input's delay. The audio block makes one for an input
// the first time it has a delay, feeds it every block after, and reads its delayed tap from it.
#pragma once

struct DelayLine {
    double* storage;
    int count;     // samples held
    int writePos;  // where the next sample goes
    int capacity;
};

// [audio thread] A new empty line, or null when memory runs out.
DelayLine* createDelayLine();
// [any thread] Frees a line; null does nothing.
void destroyDelayLine(DelayLine* line);

// [audio thread] Resizes the ring; the samples stay in order, the newest as many as fit.
// Returns false, leaving the line as it was, when memory runs out.
bool delaySetCapacity(DelayLine* line, int capacity);
// [audio thread] Appends up to the free space (zeros for null samples); returns how many went in.
int delayAdd(DelayLine* line, const double* samples, int n);
// [audio thread] Copies n samples starting offset samples after the oldest, without removing
// them; a negative offset copies nothing. Returns the count copied (those the line holds).
int delayPeek(const DelayLine* line, double* dest, int offset, int n);
// [audio thread] Forgets the n oldest samples.
void delayDrop(DelayLine* line, int n);
