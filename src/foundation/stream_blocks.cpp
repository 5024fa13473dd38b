#include "foundation/stream_blocks.h"

#include <cstring>

namespace {

const char BASE64_ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

int base64Value(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

// Room for the longest line a stream reads back: a marker, the bar and a whole piece.
constexpr int BLOCK_LINE_BUFFER = TEXT_LINE_PIECE_MAX + 16;

// What a line of a block is: the opening of a nested block, the close of one, or content. A
// leading quote before '<' or '>' does not change that.
enum { LINE_CONTENT, LINE_OPENS, LINE_CLOSES };
int lineKind(const char* line) {
    if (*line == '"' || *line == '\'' || *line == '`') line++;
    return *line == '<' ? LINE_OPENS : *line == '>' ? LINE_CLOSES : LINE_CONTENT;
}

// Reads the lines of the present block, handing those of its own level to `take`. Returns
// false when the stream ends before the block does or `take` fails.
template <class Take>
bool readBlockLines(ProjectStateContext* stream, Take take) {
    char line[BLOCK_LINE_BUFFER];
    int depth = 0;
    while (stream->readLine(line, sizeof line) == 0) {
        int kind = lineKind(line);
        if (kind == LINE_OPENS) depth++;
        else if (kind == LINE_CLOSES && depth-- == 0) return true;
        else if (kind == LINE_CONTENT && depth == 0 && !take(line)) return false;
    }
    return false;
}

}  // namespace

void writeBase64Lines(ProjectStateContext* stream, const void* data, int size) {
    if (!stream || !data || size <= 0) return;
    bool inMemory = !dynamic_cast<ProjectStateContext_File*>(stream);
    int perLine = inMemory && size >= BASE64_LONG_DATA_FROM ? BASE64_LONG_LINE_BYTES : BASE64_LINE_BYTES;
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    char line[BASE64_LONG_LINE_BYTES / 3 * 4 + 1];
    for (int at = 0; at < size; at += perLine) {
        int n = size - at < perLine ? size - at : perLine;
        int out = 0;
        for (int i = 0; i < n; i += 3) {
            unsigned v = unsigned(bytes[at + i]) << 16;
            if (i + 1 < n) v |= unsigned(bytes[at + i + 1]) << 8;
            if (i + 2 < n) v |= bytes[at + i + 2];
            line[out++] = BASE64_ALPHABET[(v >> 18) & 63];
            line[out++] = BASE64_ALPHABET[(v >> 12) & 63];
            line[out++] = i + 1 < n ? BASE64_ALPHABET[(v >> 6) & 63] : '=';
            line[out++] = i + 2 < n ? BASE64_ALPHABET[v & 63] : '=';
        }
        line[out] = 0;
        stream->writeLine("%s", line);
    }
}

int decodeBase64Line(const char* line, void* out, int capacity) {
    if (!line || !out) return 0;
    int limit = capacity < BASE64_LINE_DECODE_MAX ? capacity : BASE64_LINE_DECODE_MAX;
    unsigned char* bytes = static_cast<unsigned char*>(out);
    int count = 0, bits = 0;
    unsigned accumulator = 0;
    for (const char* p = line; count < limit; p++) {
        int v = base64Value(*p);
        if (v < 0) break;
        accumulator = accumulator << 6 | unsigned(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes[count++] = (unsigned char)(accumulator >> bits);
        }
    }
    return count;
}

bool readBase64Block(ProjectStateContext* stream, GrowBuffer* out) {
    if (!stream || !out) return false;
    return readBlockLines(stream, [&](const char* line) {
        unsigned char bytes[BASE64_LINE_DECODE_MAX];
        int n = decodeBase64Line(line, bytes, sizeof bytes);
        return growBufferAppend(out, bytes, size_t(n));
    });
}

void writeTextLines(ProjectStateContext* stream, const char* text, int length) {
    if (!stream || !text || length <= 0) return;
    // How the next piece joins the text before it. The first joins with nothing and CR LF is
    // the usual case: both are written without a letter.
    char marker = 0;
    int at = 0;
    for (;;) {
        int end = at;
        while (end < length && end - at < TEXT_LINE_PIECE_MAX && text[end] != '\r' && text[end] != '\n') end++;
        if (marker) stream->writeLine("%c|%.*s", marker, end - at, text + at);
        else stream->writeLine("|%.*s", end - at, text + at);
        if (end == length) return;
        char c = text[end], next = end + 1 < length ? text[end + 1] : 0;
        if (c == '\r' && next == '\n') marker = 0, at = end + 2;
        else if (c == '\n' && next == '\r') marker = 'R', at = end + 2;
        else if (c == '\n') marker = 'n', at = end + 1;
        else if (c == '\r') marker = 'r', at = end + 1;
        else marker = 'c', at = end;
    }
}

bool readTextBlock(ProjectStateContext* stream, GrowBuffer* out) {
    if (!stream || !out) return false;
    bool first = true;
    return readBlockLines(stream, [&](const char* line) {
        const char* bar = std::strchr(line, '|');
        if (!bar || bar - line > 1) return true;  // not a text line
        const char* join = "\r\n";
        if (bar == line + 1) join = *line == 'c' ? "" : *line == 'n' ? "\n" : *line == 'r' ? "\r" : *line == 'R' ? "\n\r" : nullptr;
        if (!join) return true;
        if (first) join = "";
        first = false;
        return growBufferAppend(out, join, std::strlen(join)) && growBufferAppend(out, bar + 1, std::strlen(bar + 1));
    });
}
