// The state chunk: the whole state of an instance as one little-endian binary block, handed to
// the host by effGetChunk and taken back by effSetChunk. Also used by kelvane-host's state tools.
#pragma once

#include <cstdint>

struct SurroundPanner;

constexpr int32_t STATE_VERSION = 5;
// More records of either kind than this make a block unloadable.
constexpr int32_t STATE_MAX_RECORDS = 65536;

// [any thread, takes stateLock] Builds the chunk in a buffer shared by the whole process, emptied
// at the start of each save; *data points at it until the next save in the process. Returns the
// size in bytes, or 0 with *data null when the buffer cannot grow.
int32_t saveState(SurroundPanner* p, void** data);

// [host's window thread] Frees the shared save buffer; run when the last instance goes.
void releaseStateBuffer();

// [any thread, takes stateLock] Applies a chunk of `size` bytes; keeps no pointer to it. Never
// reads outside the data: a short block fills what it holds and leaves the rest as described by
// the version rules. Null data or a size of 0 counts as an empty block.
void loadState(SurroundPanner* p, const void* data, int32_t size);

// What a walk over a block found: its version, its record counts, and whether every field of
// every record was there with nothing left over.
struct StateChunkShape {
    int32_t version;
    int32_t inputs;
    int32_t speakers;
    bool complete;
};

// [any thread] Walks a block the way loadState reads it, without applying it. A block that is
// too short, has counts out of range or a damaged name length comes back with complete false.
StateChunkShape stateChunkShape(const void* data, int32_t size);
