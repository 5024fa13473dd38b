// Buffered file writing and reading, the only code that touches a file's contents: the writer
// hands full buffers to the disk asynchronously while its caller goes on, the reader hands out
// blocks of 4096 bytes from one large aligned buffer. Used by the file state streams.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/grow_buffer.h"
#include "platform/files.h"

constexpr int WRITE_BUFFER_ALIGN = 4096;
constexpr int READ_BUFFER_ALIGN = 8192;
constexpr int READ_BLOCK_SIZE = 4096;

// One buffer of the writer, with the request that carries it to the disk.
struct WriteBuffer {
    int64_t fileOffset;  // fixed at the first submission
    int used;            // 0 when it is free
    int capacity;
    AsyncWrite request;
    unsigned char* data;  // the first 4096-aligned address in block
    GrowBuffer block;     // capacity + 4095 bytes
};

// A writer or reader is used by one thread at a time and has no lock.
struct BufferedFileWriter {
    int64_t position;     // the offset the next submitted buffer gets
    int64_t maxPosition;  // the highest value position reached
    FileHandle handle;
    int asyncMode;  // 0 plain writes, 1 asynchronous writes
    int bufferSize;
    int minBuffers;
    int maxBuffers;               // writes in flight at which the writer waits instead of adding a buffer
    GrowBuffer emptyBuffers;      // WriteBuffer*, the first one is being filled
    GrowBuffer pendingBuffers;    // WriteBuffer*, oldest first
    const AsyncWriteCalls* calls;  // the platform's, or a test's stand-in
};

// [any thread] Opens for writing, emptying the file unless `append` (then writing goes on
// at its end). A null name leaves the writer unopened in plain mode. In mode 1 `minBuffers`
// buffers are made at once. On failure `handle` is FILE_HANDLE_NONE; close must still follow.
void bufferedWriterOpen(BufferedFileWriter* w, const char* fileName, int asyncMode, int bufferSize, int minBuffers,
                        int maxBuffers, bool append, bool noFileLocking,
                        const AsyncWriteCalls* calls = &ASYNC_WRITE_PLATFORM);
// [any thread] Takes `size` bytes. Returns the bytes taken: all of them in mode 1 (a failed
// disk write is not reported), what the system wrote in mode 0, 0 without a file or for a size
// below 1. Mode 1 blocks only while `maxBuffers` writes are in flight.
int bufferedWriterWrite(BufferedFileWriter* w, const void* data, int size);
// [any thread] Sends the part-filled buffer, waits for every write, frees the buffers and
// closes the file. The writer is unopened afterwards.
void bufferedWriterClose(BufferedFileWriter* w);

struct BufferedFileReader {
    GrowBuffer buffer;      // usable size + 8191 bytes
    unsigned char* start;   // the first 8192-aligned address in buffer
    int usableSize;
    int valid;              // bytes from the last read
    int cursor;             // bytes of those handed out
    int64_t position;       // bytes handed out so far
    FileHandle handle;
    bool firstRead;         // until the first refill
};

// Process-wide: how many readers have made their first refill. It staggers the first request of
// successive readers so that files opened together do not ask the disk for the same large
// amount at the same moment. A plain count without a lock; atomic only so that readers on two
// threads are no data race.
extern std::atomic<int> firstReadCounter;

// [any thread] Opens an existing file for reading (also one that another program holds
// open for writing). The usable buffer is bufferSize rounded up to 8192, times bufferCount. On
// failure `handle` is FILE_HANDLE_NONE; close must still follow.
void bufferedReaderOpen(BufferedFileReader* r, const char* fileName, int bufferSize, int bufferCount);
// [any thread] Fills `block` with up to min(capacity, 4096) bytes of the file. Returns the
// count, 0 at the end of the file; a failed read counts as the end.
int bufferedReaderBlock(BufferedFileReader* r, void* block, int capacity);
// [any thread] Closes the file and frees the buffer.
void bufferedReaderClose(BufferedFileReader* r);
