// State text streams: lines written with a printf-like call and read back one at a time, from a
// file (on the buffered writer and reader) or from memory. Made by the factories below; used by
// the speaker presets. A stream belongs to the thread that made it.
#pragma once

#include <cstdint>

#include "foundation/buffered_file.h"
#include "foundation/grow_buffer.h"

// The longest line a stream writes is one less than this.
constexpr int STATE_LINE_BUFFER = 8192;
// Spaces go out in pieces of at most this many.
constexpr int STATE_INDENT_PIECE = 128;
// What each indenting line ('<' opens, '>' closes) changes the indent by.
constexpr int STATE_INDENT_STEP = 2;
// The file writer's buffers and the reader's buffer.
constexpr int STATE_WRITE_BUFFER_SIZE = 8192;
constexpr int STATE_WRITE_BUFFERS = 16;
constexpr int STATE_READ_BUFFER_SIZE = 65536;

struct ProjectStateContext {
    virtual ~ProjectStateContext() {}
    // [any thread] Appends one line made by formatLine from the format and arguments.
    virtual void writeLine(const char* format, ...) = 0;
    // [any thread] The next line that is not blank, without its leading blanks and its line
    // end, into `buffer` of `size` bytes (at least 3). A longer line comes in pieces. Returns 0,
    // or -1 at the end (buffer empty) and when the stream cannot be read.
    virtual int readLine(char* buffer, int size) = 0;
    // [any thread] Bytes written so far.
    virtual int64_t outputSize() = 0;
    // [any thread] A number the stream only keeps for its user, 0 at start.
    virtual int getTempFlag() = 0;
    virtual void setTempFlag(int value) = 0;
};

// A text file: the writer indents the lines between '<' and '>' lines and ends each with CR LF.
struct ProjectStateContext_File : ProjectStateContext {
    BufferedFileReader reader;  // one of the two is open
    BufferedFileWriter writer;
    unsigned char block[READ_BLOCK_SIZE];
    int blockPosition;
    int blockFill;
    int64_t written;
    int indent;
    bool writeError;  // a short write: every later line is dropped
    int tempFlag;

    ~ProjectStateContext_File() override;
    void writeLine(const char* format, ...) override;
    int readLine(char* buffer, int size) override;
    int64_t outputSize() override { return written; }
    int getTempFlag() override { return tempFlag; }
    void setTempFlag(int value) override { tempFlag = value; }
};

// A chain of text blocks that only takes lines, each ended by a NUL; nothing reads it back as a
// stream, stateQueueCopy hands out its bytes.
struct TextBlock;
struct ProjectStateContext_FastQueue : ProjectStateContext {
    TextBlock* first;
    TextBlock* last;
    int64_t total;
    int tempFlag;

    ~ProjectStateContext_FastQueue() override;
    void writeLine(const char* format, ...) override;
    int readLine(char*, int) override { return -1; }
    int64_t outputSize() override { return total; }
    int getTempFlag() override { return tempFlag; }
    void setTempFlag(int value) override { tempFlag = value; }
};

// Lines in one byte buffer, each ended by a NUL; the reader takes NUL as a line end too.
enum { STATE_MEMORY_READ = 1, STATE_MEMORY_WRITE = 2 };
struct ProjectStateContext_Mem : ProjectStateContext {
    GrowBuffer bytes;
    int64_t readPosition;
    int mode;  // STATE_MEMORY_READ | STATE_MEMORY_WRITE
    int tempFlag;

    ~ProjectStateContext_Mem() override;
    void writeLine(const char* format, ...) override;
    int readLine(char* buffer, int size) override;
    int64_t outputSize() override { return int64_t(bytes.used); }
    int getTempFlag() override { return tempFlag; }
    void setTempFlag(int value) override { tempFlag = value; }
};

// [any thread] Factories; the caller owns and deletes the stream. The file writer empties or
// makes the file and returns null when it cannot; the file reader returns null when the file
// cannot be opened. The memory stream starts with a copy of `size` bytes of `data` (null for
// none) and returns null when memory runs out, as the queue does.
ProjectStateContext* createStateFileWriter(const char* fileName);
ProjectStateContext* createStateFileReader(const char* fileName);
ProjectStateContext* createStateQueue();
ProjectStateContext* createStateMemory(const void* data, int size, int mode);

// [any thread] Copies up to `capacity` bytes of a queue's lines (each with its NUL) to
// `out`. Returns the count copied.
int64_t stateQueueCopy(const ProjectStateContext_FastQueue* queue, void* out, int64_t capacity);
