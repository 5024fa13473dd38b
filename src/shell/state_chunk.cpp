#include "shell/state_chunk.h"

#include <cmath>
#include <cstring>
#include <vector>

#include "engine/instance.h"
#include "engine/parameter_table.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/grow_buffer.h"
#include "foundation/numbers.h"

namespace {

// Bits of an input block's flag word.
enum : uint32_t {
    INPUT_BIT_MUTE = 1u << 0,
    INPUT_BIT_SOLO = 1u << 1,
    INPUT_BIT_SELECTED = 1u << 2,
    INPUT_BIT_REVERSE_X = 1u << 3,
    INPUT_BIT_REVERSE_Y = 1u << 4,
    INPUT_BIT_REVERSE_Z = 1u << 5,
};
// Bits of a speaker block's flag word.
enum : uint32_t {
    SPEAKER_BIT_MUTE = 1u << 0,
    SPEAKER_BIT_SOLO = 1u << 1,
    SPEAKER_BIT_LFE = 1u << 2,
    SPEAKER_BIT_VACANT = 1u << 3,
};

// The process-wide write buffer of the chunk saver.
GrowBuffer chunkWriteBuffer = {nullptr, 0, 0, GROW_GRANULARITY};

// ---- writing: fields appended little-endian, no padding ----

struct ChunkWriter {
    GrowBuffer* out;
    bool ok;

    void bytes(const void* data, size_t count) { ok = growBufferAppend(out, data, count) && ok; }
    void u32(uint32_t v) {
        unsigned char b[4] = {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
        bytes(b, 4);
    }
    void i32(int32_t v) { u32(uint32_t(v)); }
    void f64(double v) {
        uint64_t bits;
        std::memcpy(&bits, &v, 8);
        u32(uint32_t(bits));
        u32(uint32_t(bits >> 32));
    }
    void name(const char (&text)[64]) {
        int32_t n = int32_t(strnlen(text, sizeof text));
        i32(n);
        bytes(text, size_t(n));
    }
};

uint32_t bit(uint8_t flag, uint32_t value) { return flag ? value : 0; }

// ---- reading: a field beyond the end yields nothing and leaves its destination ----

struct ChunkReader {
    const unsigned char* data;
    size_t size;
    size_t pos;

    size_t left() const { return size - pos; }
    bool u32(uint32_t* v) {
        if (left() < 4) return false;
        const unsigned char* b = data + pos;
        *v = uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
        pos += 4;
        return true;
    }
    bool i32(int32_t* v) {
        uint32_t u;
        if (!u32(&u)) return false;
        *v = int32_t(u);
        return true;
    }
    bool f64(double* v) {
        if (left() < 8) return false;
        uint32_t lo = 0, hi = 0;
        u32(&lo);
        u32(&hi);
        uint64_t bits = uint64_t(hi) << 32 | lo;
        double read;
        std::memcpy(&read, &bits, 8);
        *v = saneSetting(read);
        return true;
    }
    // A name of n bytes: the first min(n, 63) are copied when all n are there; the position moves
    // by n in any case, held inside the data (a damaged negative length moves it back).
    void name(char (&text)[64]) {
        int32_t n = 0;
        if (!i32(&n)) return;
        if (n >= 0 && size_t(n) <= left()) {
            size_t copy = size_t(n) < sizeof text - 1 ? size_t(n) : sizeof text - 1;
            std::memcpy(text, data + pos, copy);
            text[copy] = 0;  // a NUL among the bytes ends the name there too
        }
        int64_t moved = int64_t(pos) + n;
        pos = moved < 0 ? 0 : moved > int64_t(size) ? size : size_t(moved);
    }
};

void readInput(ChunkReader& r, PanInput* in, int index, int32_t version) {
    r.f64(&in->gain);
    r.f64(&in->lfeSend);
    r.f64(&in->posX);
    r.f64(&in->posY);
    r.f64(&in->posZ);
    r.f64(&in->divergence);
    r.f64(&in->delay);
    uint32_t bits = 0;
    r.u32(&bits);
    in->mute = (bits & INPUT_BIT_MUTE) ? 1 : 0;
    in->solo = (bits & INPUT_BIT_SOLO) ? 1 : 0;
    in->selected = (bits & INPUT_BIT_SELECTED) ? 1 : 0;
    in->reverseX = (bits & INPUT_BIT_REVERSE_X) ? 1 : 0;
    in->reverseY = (bits & INPUT_BIT_REVERSE_Y) ? 1 : 0;
    in->reverseZ = (bits & INPUT_BIT_REVERSE_Z) ? 1 : 0;
    r.name(in->name);
    if (version >= 4) r.u32(&in->color);
    else in->color = INPUT_COLOURS[index & 7];
}

void readSpeaker(ChunkReader& r, PanSpeaker* s) {
    r.f64(&s->gain);
    r.f64(&s->posX);
    r.f64(&s->posY);
    r.f64(&s->posZ);
    r.f64(&s->influence);
    uint32_t bits = 0;
    r.u32(&bits);
    s->mute = (bits & SPEAKER_BIT_MUTE) ? 1 : 0;
    s->solo = (bits & SPEAKER_BIT_SOLO) ? 1 : 0;
    s->lfe = (bits & SPEAKER_BIT_LFE) ? 1 : 0;
    s->vacant = (bits & SPEAKER_BIT_VACANT) ? 1 : 0;
    r.name(s->name);
}

StateHead headOf(const SurroundPanner* p) {
    StateHead head;
    head.uiFlags = p->uiFlags;
    head.layoutId = p->layoutId;
    head.layoutFamily = p->layoutFamily;
    head.channelOptions = p->channelOptions;
    head.firstInputStrip = p->firstInputStrip;
    head.firstSpeakerStrip = p->firstSpeakerStrip;
    for (int i = 0; i < 3; i++) head.editRowMode[i] = p->editRowMode[i];
    head.centerPercent = p->centerPercent;
    head.sidePercent = p->sidePercent;
    head.panLawDb = p->panLawDb;
    head.zShape = p->zShape;
    return head;
}

void storeHead(SurroundPanner* p, const StateHead& head) {
    p->uiFlags = head.uiFlags;
    p->layoutId = head.layoutId;
    p->layoutFamily = head.layoutFamily;
    p->channelOptions = head.channelOptions;
    p->firstInputStrip = head.firstInputStrip;
    p->firstSpeakerStrip = head.firstSpeakerStrip;
    for (int i = 0; i < 3; i++) p->editRowMode[i] = head.editRowMode[i];
    p->centerPercent = head.centerPercent;
    p->sidePercent = head.sidePercent;
    p->panLawDb = head.panLawDb;
    p->zShape = head.zShape;
}

// Counts, meters and gain tables follow the records after any load.
void refreshAfterLoad(SurroundPanner* p) {
    analyzeSpeakers(p);
    std::memset(p->meterPeaks, 0, sizeof p->meterPeaks);
    p->audioInputs = -1;
    p->audioSpeakers = -1;
    p->effect.numInputs = inputCount(p);
    p->effect.numOutputs = speakerCount(p);
    p->effect.numParams = parameterCount(inputCount(p), speakerCount(p));
}

}  // namespace

bool writeStateChunk(const StateHead& head, const PanInput* inputs, int inputTotal, const PanSpeaker* speakers,
                     int speakerTotal, GrowBuffer* out) {
    ChunkWriter w{out, true};
    int32_t layout = head.layoutId < 0 ? 0 : head.layoutId > 254 ? 255 : head.layoutId;
    w.i32(STATE_VERSION);
    w.u32(head.uiFlags);
    w.u32(uint32_t(layout) | (uint32_t(head.layoutFamily) & 0xFF) << 8 | (head.channelOptions & 0xFF) << 16);
    w.i32(head.firstInputStrip);
    w.i32(head.firstSpeakerStrip);
    for (int32_t mode : head.editRowMode) w.i32(mode);
    w.f64(head.centerPercent);
    w.f64(head.sidePercent);
    w.i32(inputTotal);
    w.i32(speakerTotal);

    for (int i = 0; i < inputTotal; i++) {
        const PanInput& r = inputs[i];
        for (double v : {r.gain, r.lfeSend, r.posX, r.posY, r.posZ, r.divergence, r.delay}) w.f64(v);
        w.u32(bit(r.mute, INPUT_BIT_MUTE) | bit(r.solo, INPUT_BIT_SOLO) | bit(r.selected, INPUT_BIT_SELECTED) |
              bit(r.reverseX, INPUT_BIT_REVERSE_X) | bit(r.reverseY, INPUT_BIT_REVERSE_Y) |
              bit(r.reverseZ, INPUT_BIT_REVERSE_Z));
        w.name(r.name);
        w.u32(r.color);
    }
    for (int s = 0; s < speakerTotal; s++) {
        const PanSpeaker& r = speakers[s];
        for (double v : {r.gain, r.posX, r.posY, r.posZ, r.influence}) w.f64(v);
        w.u32(bit(r.mute, SPEAKER_BIT_MUTE) | bit(r.solo, SPEAKER_BIT_SOLO) | bit(r.lfe, SPEAKER_BIT_LFE) |
              bit(r.vacant, SPEAKER_BIT_VACANT));
        w.name(r.name);
    }
    w.f64(head.panLawDb);
    w.i32(head.zShape);
    return w.ok;
}

int32_t saveState(SurroundPanner* p, void** data) {
    LockHold hold(&p->stateLock);
    *data = nullptr;
    growBufferResize(&chunkWriteBuffer, 0);
    StateHead head = headOf(p);
    if (!writeStateChunk(head, inputRecords(p), inputCount(p), speakerRecords(p), speakerCount(p), &chunkWriteBuffer))
        return 0;
    *data = chunkWriteBuffer.data;
    return int32_t(chunkWriteBuffer.used);
}

void releaseStateBuffer() { growBufferFree(&chunkWriteBuffer); }

StateChunkShape stateChunkShape(const void* data, int32_t size) {
    StateChunkShape shape = {0, 0, 0, false};
    ChunkReader r{static_cast<const unsigned char*>(data), data && size > 0 ? size_t(size) : 0, 0};
    if (!r.i32(&shape.version) || shape.version < 3) return shape;
    int32_t version = shape.version > STATE_VERSION ? STATE_VERSION : shape.version;
    const size_t headBytes = 44;  // from uiFlags to sidePercent
    if (r.left() < headBytes + 8) return shape;
    r.pos += headBytes;
    r.i32(&shape.inputs);
    r.i32(&shape.speakers);
    if (shape.inputs < 0 || shape.inputs > STATE_MAX_RECORDS || shape.speakers < 0 ||
        shape.speakers > STATE_MAX_RECORDS)
        return shape;
    // Each record: its fixed fields, then a name whose length must fit what is left.
    auto record = [&r](size_t fixedBytes, size_t trailingBytes) {
        if (r.left() < fixedBytes + 4) return false;
        r.pos += fixedBytes;
        int32_t n = 0;
        r.i32(&n);
        if (n < 0 || size_t(n) + trailingBytes > r.left()) return false;
        r.pos += size_t(n) + trailingBytes;
        return true;
    };
    for (int32_t i = 0; i < shape.inputs; i++)
        if (!record(7 * 8 + 4, version >= 4 ? 4 : 0)) return shape;
    for (int32_t s = 0; s < shape.speakers; s++)
        if (!record(5 * 8 + 4, 0)) return shape;
    size_t tail = 8 + (version > 4 ? 4 : 0);
    shape.complete = r.left() == tail;
    return shape;
}

StateReadEnd readStateChunk(const void* data, int32_t size, StateHead* head, GrowArray<PanInput>* inputs,
                            GrowArray<PanSpeaker>* speakers) {
    ChunkReader r{static_cast<const unsigned char*>(data), data && size > 0 ? size_t(size) : 0, 0};

    // The version; below 3 nothing more is read, above the present one the block reads as the
    // present one.
    int32_t version = 0;
    r.i32(&version);
    if (version < 3) return STATE_READ_EMPTY;
    if (version > STATE_VERSION) version = STATE_VERSION;

    // The head, then the counts; counts out of range leave the records alone.
    r.u32(&head->uiFlags);
    uint32_t packed;
    if (r.u32(&packed)) {
        head->layoutId = int32_t(packed & 0xFF);
        head->layoutFamily = int32_t((packed >> 8) & 0xFF);
        head->channelOptions = (packed >> 16) & 0xFF;
    }
    r.i32(&head->firstInputStrip);
    r.i32(&head->firstSpeakerStrip);
    for (int32_t& mode : head->editRowMode) r.i32(&mode);
    r.f64(&head->centerPercent);
    r.f64(&head->sidePercent);
    int32_t inputTotal = 0, speakerTotal = 0;
    r.i32(&inputTotal);
    r.i32(&speakerTotal);
    if (inputTotal < 0 || inputTotal > STATE_MAX_RECORDS || speakerTotal < 0 || speakerTotal > STATE_MAX_RECORDS)
        return STATE_READ_STOPPED;

    // Inputs, zero-filled first so that what the block lacks starts at 0; then the speakers.
    if (!inputs->resize(inputTotal) || inputTotal == 0) return STATE_READ_STOPPED;
    std::memset(inputs->data(), 0, size_t(inputTotal) * sizeof(PanInput));
    for (int i = 0; i < inputTotal; i++) readInput(r, &(*inputs)[i], i, version);
    if (!speakers->resize(speakerTotal) || speakerTotal == 0) return STATE_READ_STOPPED;
    std::memset(speakers->data(), 0, size_t(speakerTotal) * sizeof(PanSpeaker));
    for (int s = 0; s < speakerTotal; s++) readSpeaker(r, &(*speakers)[s]);

    // The tail.
    r.f64(&head->panLawDb);
    if (version > 4) r.i32(&head->zShape);
    return STATE_READ_WHOLE;
}

void loadState(SurroundPanner* p, const void* data, int32_t size) {
    LockHold hold(&p->stateLock);
    // A private copy: the host may hand a block that it changes while we read.
    std::vector<unsigned char> copy;
    if (data && size > 0) copy.assign(static_cast<const unsigned char*>(data), static_cast<const unsigned char*>(data) + size);
    StateHead head = headOf(p);
    StateReadEnd end = readStateChunk(copy.data(), int32_t(copy.size()), &head, &p->inputs, &p->speakers);
    storeHead(p, head);
    // A block read to its end marks the state loaded; a block that stopped part way leaves the
    // counts, meters and gain tables as they were, as an empty one does not.
    if (end == STATE_READ_STOPPED) return;
    if (end == STATE_READ_WHOLE) p->stateLoaded = 1;
    refreshAfterLoad(p);
}

void stateChunkInit(StateChunk* state) {
    std::memset(state, 0, sizeof *state);
    SurroundPanner* defaults = instanceCreate();
    if (defaults) state->head = headOf(defaults);
    instanceDestroy(defaults);
    growBufferInit(&state->inputs.bytes);
    growBufferInit(&state->speakers.bytes);
}

void stateChunkFree(StateChunk* state) {
    growBufferFree(&state->inputs.bytes);
    growBufferFree(&state->speakers.bytes);
}
