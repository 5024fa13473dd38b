#include "foundation/state_stream.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>

#include "foundation/line_format.h"

namespace {

// A format of exactly "%s" (either case) takes its string as it is, with no formatting pass.
bool isBareString(const char* format) {
    return format && format[0] == '%' && (format[1] == 's' || format[1] == 'S') && !format[2];
}

// One line from a format and its arguments into `line` (STATE_LINE_BUFFER bytes); returns its length.
int makeLine(char* line, const char* format, va_list arguments) {
    if (!isBareString(format)) return formatLine(line, STATE_LINE_BUFFER, format, arguments);
    va_list args;
    va_copy(args, arguments);
    const char* text = va_arg(args, const char*);
    va_end(args);
    int n = 0;
    for (; text && text[n] && n < STATE_LINE_BUFFER - 1; n++) line[n] = text[n] == '\n' || text[n] == '\r' ? ' ' : text[n];
    line[n] = 0;
    return n;
}

bool isLineBlank(unsigned char c, bool nulIsBlank) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || (nulIsBlank && c == 0);
}

// The reading rule of every readable stream: blanks and empty lines are skipped, a line ends at
// LF (or NUL where `nulEnds`), a CR before its end goes, and one that does not fit comes in
// pieces. `more` refills the window [data + *position, data + *fill) and says whether it got
// anything.
template <class More>
int scanLine(const unsigned char* data, int64_t* position, int64_t* fill, More more, bool nulEnds, char* buffer,
             int size) {
    for (;;) {
        if (*position == *fill && !more()) {
            buffer[0] = 0;
            return -1;
        }
        if (!isLineBlank(data[*position], nulEnds)) break;
        ++*position;
    }
    int n = 0;
    while (n < size - 1) {
        if (*position == *fill && !more()) break;
        unsigned char c = data[(*position)++];
        if (c == '\n' || (nulEnds && c == 0)) break;
        buffer[n++] = char(c);
    }
    if (n > 0 && buffer[n - 1] == '\r') n--;
    buffer[n] = 0;
    return 0;
}

}  // namespace

// ---- the file variant ----

ProjectStateContext_File::~ProjectStateContext_File() {
    bufferedWriterClose(&writer);
    bufferedReaderClose(&reader);
}

void ProjectStateContext_File::writeLine(const char* format, ...) {
    if (writer.handle == FILE_HANDLE_NONE || writeError) return;
    char line[STATE_LINE_BUFFER];
    va_list args;
    va_start(args, format);
    int length = makeLine(line, format, args);
    va_end(args);

    // A block's lines stand two further in than its '<' and '>' lines.
    int at = indent;
    if (line[0] == '<') indent += STATE_INDENT_STEP;
    if (line[0] == '>') at = indent -= STATE_INDENT_STEP;
    static const char spaces[STATE_INDENT_PIECE + 1] =
        "                                                                "
        "                                                                ";
    int64_t out = 0, expected = 0;
    for (int left = at; left > 0; left -= STATE_INDENT_PIECE) {
        int piece = left < STATE_INDENT_PIECE ? left : STATE_INDENT_PIECE;
        out += bufferedWriterWrite(&writer, spaces, piece);
        expected += piece;
    }
    out += bufferedWriterWrite(&writer, line, length);
    out += bufferedWriterWrite(&writer, "\r\n", 2);
    expected += length + 2;
    written += out;
    if (out < expected) writeError = true;
}

int ProjectStateContext_File::readLine(char* buffer, int size) {
    if (!buffer || size < 3 || reader.handle == FILE_HANDLE_NONE) {
        if (buffer && size > 0) buffer[0] = 0;
        return -1;
    }
    int64_t position = blockPosition, fill = blockFill;
    auto more = [&] {
        fill = bufferedReaderBlock(&reader, block, READ_BLOCK_SIZE);
        position = 0;
        return fill > 0;
    };
    int result = scanLine(block, &position, &fill, more, false, buffer, size);
    blockPosition = int(position);
    blockFill = int(fill);
    return result;
}

ProjectStateContext* createStateFileWriter(const char* fileName) {
    ProjectStateContext_File* s = new (std::nothrow) ProjectStateContext_File();
    if (!s) return nullptr;
    bufferedReaderOpen(&s->reader, nullptr, 0, 0);
    bufferedWriterOpen(&s->writer, fileName, 1, STATE_WRITE_BUFFER_SIZE, STATE_WRITE_BUFFERS, STATE_WRITE_BUFFERS,
                       false, false);
    if (s->writer.handle == FILE_HANDLE_NONE) {
        delete s;
        return nullptr;
    }
    return s;
}

ProjectStateContext* createStateFileReader(const char* fileName) {
    ProjectStateContext_File* s = new (std::nothrow) ProjectStateContext_File();
    if (!s) return nullptr;
    bufferedWriterOpen(&s->writer, nullptr, 0, 0, 0, 0, false, false);
    bufferedReaderOpen(&s->reader, fileName, STATE_READ_BUFFER_SIZE, 1);
    if (s->reader.handle == FILE_HANDLE_NONE) {
        delete s;
        return nullptr;
    }
    return s;
}

// ---- the queue ----

constexpr int TEXT_BLOCK_SIZE = 65536 - 64;
static_assert(STATE_LINE_BUFFER < TEXT_BLOCK_SIZE, "a line must fit in one block");

struct TextBlock {
    TextBlock* next;
    int used;
    char text[TEXT_BLOCK_SIZE];
};

ProjectStateContext_FastQueue::~ProjectStateContext_FastQueue() {
    while (first) {
        TextBlock* next = first->next;
        std::free(first);
        first = next;
    }
}

void ProjectStateContext_FastQueue::writeLine(const char* format, ...) {
    char line[STATE_LINE_BUFFER];
    va_list args;
    va_start(args, format);
    int length = makeLine(line, format, args) + 1;  // with its NUL
    va_end(args);
    // A line never spans two blocks: it is far shorter than one.
    if (!last || TEXT_BLOCK_SIZE - last->used < length) {
        TextBlock* added = static_cast<TextBlock*>(std::malloc(sizeof(TextBlock)));
        if (!added) return;
        added->next = nullptr;
        added->used = 0;
        if (last) last->next = added;
        else first = added;
        last = added;
    }
    std::memcpy(last->text + last->used, line, size_t(length));
    last->used += length;
    total += length;
}

ProjectStateContext* createStateQueue() { return new (std::nothrow) ProjectStateContext_FastQueue(); }

int64_t stateQueueCopy(const ProjectStateContext_FastQueue* queue, void* out, int64_t capacity) {
    if (!queue || !out || capacity <= 0) return 0;
    int64_t copied = 0;
    for (const TextBlock* b = queue->first; b && copied < capacity; b = b->next) {
        int64_t n = b->used < capacity - copied ? b->used : capacity - copied;
        std::memcpy(static_cast<char*>(out) + copied, b->text, size_t(n));
        copied += n;
    }
    return copied;
}

// ---- the memory variant ----

ProjectStateContext_Mem::~ProjectStateContext_Mem() { growBufferFree(&bytes); }

void ProjectStateContext_Mem::writeLine(const char* format, ...) {
    if (!(mode & STATE_MEMORY_WRITE)) return;
    char line[STATE_LINE_BUFFER];
    va_list args;
    va_start(args, format);
    int length = makeLine(line, format, args);
    va_end(args);
    growBufferAppend(&bytes, line, size_t(length) + 1);
}

int ProjectStateContext_Mem::readLine(char* buffer, int size) {
    if (!buffer || size < 3 || !(mode & STATE_MEMORY_READ)) {
        if (buffer && size > 0) buffer[0] = 0;
        return -1;
    }
    const unsigned char* data = static_cast<const unsigned char*>(bytes.data);
    int64_t fill = int64_t(bytes.used);
    return scanLine(data, &readPosition, &fill, [] { return false; }, true, buffer, size);
}

ProjectStateContext* createStateMemory(const void* data, int size, int mode) {
    ProjectStateContext_Mem* s = new (std::nothrow) ProjectStateContext_Mem();
    if (!s) return nullptr;
    growBufferInit(&s->bytes);
    s->mode = mode;
    if (data && size > 0 && !growBufferAppend(&s->bytes, data, size_t(size))) {
        delete s;
        return nullptr;
    }
    return s;
}
