#include "foundation/buffered_file.h"

#include <cstdlib>
#include <cstring>

std::atomic<int> firstReadCounter{0};

// ---- lists of buffers: GrowBuffers of pointers, taken from the front, added at the back ----

static int listCount(const GrowBuffer& list) { return growCount<WriteBuffer*>(list); }
static WriteBuffer* listFirst(const GrowBuffer& list) { return listCount(list) ? growItems<WriteBuffer*>(list)[0] : nullptr; }

static WriteBuffer* listTakeFirst(GrowBuffer* list) {
    int n = listCount(*list);
    if (!n) return nullptr;
    WriteBuffer** items = growItems<WriteBuffer*>(*list);
    WriteBuffer* first = items[0];
    std::memmove(items, items + 1, size_t(n - 1) * sizeof *items);
    growBufferResize(list, size_t(n - 1) * sizeof *items);  // shrinking keeps the contents
    return first;
}

static bool listAdd(GrowBuffer* list, WriteBuffer* b) { return growBufferAppend(list, &b, sizeof b); }

// ---- buffers ----

static WriteBuffer* newWriteBuffer(int capacity) {
    WriteBuffer* b = static_cast<WriteBuffer*>(std::calloc(1, sizeof(WriteBuffer)));
    if (!b) return nullptr;
    b->capacity = capacity;
    growBufferInit(&b->block);
    void* block = growBufferResize(&b->block, size_t(capacity) + WRITE_BUFFER_ALIGN - 1);
    if (!block || !asyncWriteInit(&b->request)) {
        growBufferFree(&b->block);
        std::free(b);
        return nullptr;
    }
    uintptr_t at = reinterpret_cast<uintptr_t>(block);
    b->data = static_cast<unsigned char*>(block) + ((WRITE_BUFFER_ALIGN - at % WRITE_BUFFER_ALIGN) % WRITE_BUFFER_ALIGN);
    return b;
}

static void deleteWriteBuffer(WriteBuffer* b) {
    asyncWriteRelease(&b->request);
    growBufferFree(&b->block);
    std::free(b);
}

// Hands a buffer to the disk. With `advance` it takes the next offset; without, it goes again
// to the offset it had. Returns whether a write is in flight (the buffer is then last in
// pendingBuffers); otherwise it finished or failed at once and its bytes are gone from it.
static bool submit(BufferedFileWriter* w, WriteBuffer* b, bool advance) {
    if (!b || b->used <= 0) return false;
    if (advance) {
        b->fileOffset = w->position;
        w->position += b->used;
        if (w->position > w->maxPosition) w->maxPosition = w->position;
    }
    for (;;) {
        if (w->calls->start(w->handle, &b->request, b->data, b->used, b->fileOffset) != FILE_IO_PENDING) break;
        if (listAdd(&w->pendingBuffers, b)) return true;
        // No room to track it: this one write is waited for here, repeated while aborted.
        if (w->calls->result(w->handle, &b->request, true) != FILE_IO_ABORTED) break;
    }
    b->used = 0;
    return false;
}

// A finished write's buffer is free again.
static void retire(BufferedFileWriter* w, WriteBuffer* b) {
    b->used = 0;
    if (!listAdd(&w->emptyBuffers, b)) deleteWriteBuffer(b);
}

// Waits for the oldest write in flight, repeating aborted ones, until one is done.
static void waitForOldest(BufferedFileWriter* w) {
    while (WriteBuffer* oldest = listTakeFirst(&w->pendingBuffers)) {
        if (w->calls->result(w->handle, &oldest->request, true) != FILE_IO_ABORTED) {
            retire(w, oldest);
            return;
        }
        if (!submit(w, oldest, false)) retire(w, oldest);
    }
}

// Looks at the oldest write in flight without waiting: a finished one frees its buffer, an
// aborted one goes again, one that still runs (or failed otherwise) stays where it is.
static void pollOldest(BufferedFileWriter* w) {
    WriteBuffer* oldest = listFirst(w->pendingBuffers);
    if (!oldest) return;
    int outcome = w->calls->result(w->handle, &oldest->request, false);
    if (outcome == FILE_IO_DONE) {
        listTakeFirst(&w->pendingBuffers);
        retire(w, oldest);
    } else if (outcome == FILE_IO_ABORTED) {
        listTakeFirst(&w->pendingBuffers);
        if (!submit(w, oldest, false)) retire(w, oldest);
    }
}

// ---- the writer ----

void bufferedWriterOpen(BufferedFileWriter* w, const char* fileName, int asyncMode, int bufferSize, int minBuffers,
                        int maxBuffers, bool append, bool noFileLocking, const AsyncWriteCalls* calls) {
    std::memset(w, 0, sizeof *w);
    w->handle = FILE_HANDLE_NONE;
    w->bufferSize = bufferSize > 0 ? bufferSize : 1;
    w->minBuffers = minBuffers;
    w->maxBuffers = maxBuffers;
    w->calls = calls ? calls : &ASYNC_WRITE_PLATFORM;
    growBufferInit(&w->emptyBuffers);
    growBufferInit(&w->pendingBuffers);
    if (!fileName) return;
    w->asyncMode = asyncMode ? 1 : 0;
    uint32_t mode = FILEMODE_WRITE | (append ? FILEMODE_OPEN_ALWAYS : FILEMODE_CREATE) |
                    (noFileLocking ? FILEMODE_SHARE_WRITE : 0) | (w->asyncMode ? FILEMODE_READ | FILEMODE_ASYNC : 0);
    w->handle = fileOpen(fileName, mode, nullptr);
    if (w->handle == FILE_HANDLE_NONE) return;
    if (w->asyncMode)
        for (int i = 0; i < minBuffers; i++)
            if (WriteBuffer* b = newWriteBuffer(w->bufferSize)) retire(w, b);
    if (append) {
        int64_t size = fileSize(w->handle);
        w->position = w->maxPosition = size > 0 ? size : 0;
    }
}

int bufferedWriterWrite(BufferedFileWriter* w, const void* data, int size) {
    if (!w || w->handle == FILE_HANDLE_NONE || !data || size < 1) return 0;
    if (!w->asyncMode) {
        int written = fileWriteAt(w->handle, data, size, w->position);
        if (written <= 0) return 0;
        w->position += written;
        if (w->position > w->maxPosition) w->maxPosition = w->position;
        return written;
    }
    const unsigned char* from = static_cast<const unsigned char*>(data);
    int remaining = size;
    while (remaining > 0) {
        if (!listCount(w->emptyBuffers)) pollOldest(w);
        if (!listCount(w->emptyBuffers) && listCount(w->pendingBuffers) >= w->maxBuffers) waitForOldest(w);
        if (!listCount(w->emptyBuffers)) {
            WriteBuffer* fresh = newWriteBuffer(w->bufferSize);
            if (fresh && !listAdd(&w->emptyBuffers, fresh)) {
                deleteWriteBuffer(fresh);
                fresh = nullptr;
            }
            // Out of memory: a write in flight gives its buffer back, or nothing more goes in.
            if (!fresh && listCount(w->pendingBuffers)) waitForOldest(w);
            if (!listCount(w->emptyBuffers)) return size - remaining;
        }
        WriteBuffer* b = listFirst(w->emptyBuffers);
        int n = b->capacity - b->used;
        if (n > remaining) n = remaining;
        std::memcpy(b->data + b->used, from, size_t(n));
        b->used += n;
        from += n;
        remaining -= n;
        if (b->used == b->capacity && submit(w, b, true)) listTakeFirst(&w->emptyBuffers);
    }
    return size;
}

void bufferedWriterClose(BufferedFileWriter* w) {
    if (!w) return;
    if (w->asyncMode && w->handle != FILE_HANDLE_NONE) {
        // The part-filled buffer goes out with exactly its bytes.
        WriteBuffer* last = listFirst(w->emptyBuffers);
        if (submit(w, last, true)) listTakeFirst(&w->emptyBuffers);
        // Every write in flight is waited for; aborted ones go again.
        while (WriteBuffer* oldest = listTakeFirst(&w->pendingBuffers)) {
            if (w->calls->result(w->handle, &oldest->request, true) == FILE_IO_ABORTED && submit(w, oldest, false))
                continue;
            retire(w, oldest);
        }
    }
    // All buffers go, last first.
    for (GrowBuffer* list : {&w->pendingBuffers, &w->emptyBuffers}) {
        for (int i = listCount(*list) - 1; i >= 0; i--) deleteWriteBuffer(growItems<WriteBuffer*>(*list)[i]);
        growBufferFree(list);
    }
    // The file.
    fileClose(w->handle);
    w->handle = FILE_HANDLE_NONE;
}

// ---- the reader ----

constexpr int READ_USABLE_MAX = 64 << 20;

void bufferedReaderOpen(BufferedFileReader* r, const char* fileName, int bufferSize, int bufferCount) {
    std::memset(r, 0, sizeof *r);
    r->handle = FILE_HANDLE_NONE;
    r->firstRead = true;
    growBufferInit(&r->buffer);
    int64_t unit = bufferSize > 0 ? (int64_t(bufferSize) + READ_BUFFER_ALIGN - 1) / READ_BUFFER_ALIGN * READ_BUFFER_ALIGN
                                  : READ_BUFFER_ALIGN;
    int64_t usable = unit * (bufferCount > 0 ? bufferCount : 1);
    r->usableSize = int(usable < READ_USABLE_MAX ? usable : READ_USABLE_MAX);

    int error = FILE_ERROR_NONE;
    r->handle = fileOpen(fileName, FILEMODE_READ, &error);
    // A file that another program holds open for writing can still be read.
    if (r->handle == FILE_HANDLE_NONE && error == FILE_ERROR_SHARING)
        r->handle = fileOpen(fileName, FILEMODE_READ | FILEMODE_SHARE_WRITE, nullptr);
    if (r->handle == FILE_HANDLE_NONE) return;

    void* block = growBufferResize(&r->buffer, size_t(r->usableSize) + READ_BUFFER_ALIGN - 1);
    if (!block) {
        fileClose(r->handle);
        r->handle = FILE_HANDLE_NONE;
        return;
    }
    uintptr_t at = reinterpret_cast<uintptr_t>(block);
    r->start = static_cast<unsigned char*>(block) + ((READ_BUFFER_ALIGN - at % READ_BUFFER_ALIGN) % READ_BUFFER_ALIGN);
}

int bufferedReaderBlock(BufferedFileReader* r, void* block, int capacity) {
    if (!r || r->handle == FILE_HANDLE_NONE || !block) return 0;
    int limit = capacity < READ_BLOCK_SIZE ? capacity : READ_BLOCK_SIZE;
    if (limit <= 0) return 0;
    unsigned char* out = static_cast<unsigned char*>(block);
    int got = 0;
    for (;;) {
        int n = r->valid - r->cursor;
        if (n > limit - got) n = limit - got;
        std::memcpy(out + got, r->start + r->cursor, size_t(n));
        got += n;
        r->cursor += n;
        r->position += n;
        if (got == limit) return got;

        // Refill. The first one of each reader asks for less, by turns, reader by reader.
        r->valid = r->cursor = 0;
        int request = r->usableSize;
        if (r->firstRead) {
            r->firstRead = false;
            int units = r->usableSize / READ_BUFFER_ALIGN;
            if (units > 1) {
                int c = firstReadCounter.fetch_add(1, std::memory_order_relaxed);
                request >>= units < 8 ? (c & 1) : (c & 3);
            }
        }
        int read = fileRead(r->handle, r->start, request);
        if (read <= 0) return got;
        r->valid = read;
    }
}

void bufferedReaderClose(BufferedFileReader* r) {
    if (!r) return;
    fileClose(r->handle);
    r->handle = FILE_HANDLE_NONE;
    growBufferFree(&r->buffer);
    r->start = nullptr;
    r->valid = r->cursor = 0;
}
