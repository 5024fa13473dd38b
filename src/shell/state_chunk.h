// The state chunk: the whole state of an instance as one little-endian binary block, handed to
// the host by effGetChunk and taken back by effSetChunk. The block's reader and writer also work
// on plain data, so that kelvane-host reads and composes states without an instance.
#pragma once

#include <cstdint>

#include "engine/records.h"
#include "foundation/grow_buffer.h"

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

// The fields of a block besides the records, named as the instance names them.
struct StateHead {
    uint32_t uiFlags;
    int32_t layoutId;  // saved as 0..255
    int32_t layoutFamily;
    uint32_t channelOptions;
    int32_t firstInputStrip;
    int32_t firstSpeakerStrip;
    int32_t editRowMode[3];
    double centerPercent;
    double sidePercent;
    double panLawDb;
    int32_t zShape;
};

// A whole state as plain data: zero-filled, then stateChunkInit.
struct StateChunk {
    StateHead head;
    GrowArray<PanInput> inputs;
    GrowArray<PanSpeaker> speakers;
};

// How far a read came.
enum StateReadEnd {
    STATE_READ_EMPTY = 0,    // no version 3 or later: nothing read
    STATE_READ_STOPPED = 1,  // counts out of range, no input or speaker, or no room: the tail is unread
    STATE_READ_WHOLE = 2,    // through the tail
};

// [any thread] The head an instance starts with, and empty record arrays; stateChunkFree frees
// the arrays.
void stateChunkInit(StateChunk* state);
void stateChunkFree(StateChunk* state);

// [any thread] Reads a block over a state, field by field: a field the block lacks keeps its
// value, each record array is resized to the block's count and zero-filled before its records
// are read (or left alone when the counts are out of range). Never reads outside the data.
StateReadEnd readStateChunk(const void* data, int32_t size, StateHead* head, GrowArray<PanInput>* inputs,
                            GrowArray<PanSpeaker>* speakers);
// [any thread] Appends the block of a state to out; false when out cannot grow.
bool writeStateChunk(const StateHead& head, const PanInput* inputs, int inputTotal, const PanSpeaker* speakers,
                     int speakerTotal, GrowBuffer* out);
