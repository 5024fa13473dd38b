#include "foundation/grow_buffer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

void growBufferInit(GrowBuffer* buffer, size_t granularity) {
    std::memset(buffer, 0, sizeof *buffer);
    buffer->granularity = granularity ? granularity : 1;
}

void growBufferFree(GrowBuffer* buffer) {
    std::free(buffer->data);
    buffer->data = nullptr;
    buffer->allocated = 0;
    buffer->used = 0;
}

size_t growBufferAllocationFor(size_t needed, size_t granularity) {
    size_t extra = needed / 2;
    if (granularity < 4096) return needed + (extra > granularity ? extra : granularity);
    extra &= ~size_t(4095);
    if (extra < 4096) extra = 4096;
    if (extra > 4194304) extra = 4194304;
    return ((needed + extra + 96) & ~size_t(4095)) - 96;
}

void* growBufferResize(GrowBuffer* buffer, size_t size) {
    // A buffer that never had storage gets some even for a size of 0, so that success always
    // comes back as a pointer and null means only failure.
    bool grow = size > buffer->allocated || !buffer->data;
    int64_t keepLimit = int64_t(buffer->allocated / 2);
    int64_t lessFourGranules = int64_t(buffer->allocated) - 4 * int64_t(buffer->granularity);
    if (lessFourGranules < keepLimit) keepLimit = lessFourGranules;
    bool shrink = int64_t(size) < keepLimit;
    if (grow || shrink) {
        size_t allocation = growBufferAllocationFor(size, buffer->granularity);
        void* moved = std::realloc(buffer->data, allocation);
        if (!moved) return nullptr;
        buffer->data = moved;
        buffer->allocated = allocation;
    }
    buffer->used = size;
    return buffer->data;
}

bool growBufferAppend(GrowBuffer* buffer, const void* bytes, size_t count) {
    size_t at = buffer->used;
    if (!growBufferResize(buffer, at + count)) return false;
    if (count) std::memcpy(static_cast<char*>(buffer->data) + at, bytes, count);
    return true;
}
