// GrowBuffer: the growable byte buffer behind every record array, gain table and list of the
// effect object and behind the state chunk writer. Its growth rule rounds to whole pages so
// that a block with allocator overhead fills them. Called from every subsystem.
#pragma once

#include <cstddef>

struct GrowBuffer {
    void* data;
    size_t allocated;
    size_t used;
    size_t granularity;
};

constexpr size_t GROW_GRANULARITY = 4096;

// [any thread] Zero-fills the record and sets the granularity (4096 throughout the effect).
void growBufferInit(GrowBuffer* buffer, size_t granularity = GROW_GRANULARITY);
// [any thread] Frees the storage and leaves an empty buffer with the same granularity.
void growBufferFree(GrowBuffer* buffer);
// [any thread] The allocation the growth rule gives for a needed size.
size_t growBufferAllocationFor(size_t needed, size_t granularity);
// [any thread] Sets the used size, growing or shrinking the allocation by the rule. Contents up
// to the smaller of the old and new size are kept. Returns the data pointer, never null on
// success (a size of 0 included), or null when the storage cannot grow; the buffer is then
// unchanged.
void* growBufferResize(GrowBuffer* buffer, size_t size);
// [any thread] Appends bytes at the used end. Returns false, with nothing appended, on failure.
bool growBufferAppend(GrowBuffer* buffer, const void* bytes, size_t count);

// A typed view of a GrowBuffer, its only member, so that the buffer's layout stays that of the
// owning record. Zero-filled and initialised like the buffer itself (growBufferInit(&a.bytes)).
template <class T>
struct GrowArray {
    GrowBuffer bytes;

    int size() const { return int(bytes.used / sizeof(T)); }
    T* data() const { return static_cast<T*>(bytes.data); }
    T& operator[](int i) const { return data()[i]; }
    // [any thread] Sets the element count, keeping the elements below it; false, with the array
    // unchanged, when the storage cannot grow.
    bool resize(int count) { return growBufferResize(&bytes, size_t(count) * sizeof(T)) != nullptr; }
};

static_assert(sizeof(GrowArray<double>) == sizeof(GrowBuffer), "a GrowArray is laid out as its buffer");

// Untyped buffers: the elements' type is the caller's.
template <class T>
inline T* growItems(const GrowBuffer& buffer) {
    return static_cast<T*>(buffer.data);
}
template <class T>
inline int growCount(const GrowBuffer& buffer) {
    return int(buffer.used / sizeof(T));
}
