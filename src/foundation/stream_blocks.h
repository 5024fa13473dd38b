// Encoded blocks of a state stream: binary data as base64 lines and text as "|" lines, between a
// caller's '<' line and its closing '>' line; the readers pass over nested blocks. For whatever
// keeps data or free text in a state stream.
#pragma once

#include "foundation/grow_buffer.h"
#include "foundation/state_stream.h"

constexpr int BASE64_LINE_BYTES = 96;          // source bytes of a line in a file: 128 characters
constexpr int BASE64_LONG_LINE_BYTES = 210;    // in memory, for data over 128 bytes: 280 characters
constexpr int BASE64_LONG_DATA_FROM = 129;
constexpr int BASE64_LINE_DECODE_MAX = 3200;   // bytes one line may give back
constexpr int TEXT_LINE_PIECE_MAX = 4000;      // source characters in one "|" line

// [any thread] Writes `size` bytes of data as base64 lines with '=' padding.
void writeBase64Lines(ProjectStateContext* stream, const void* data, int size);
// [any thread] Decodes one base64 line into `out`, up to the first character outside the
// alphabet and at most min(capacity, 3200) bytes. Returns the count decoded.
int decodeBase64Line(const char* line, void* out, int capacity);
// [any thread] Reads base64 lines up to the '>' that closes the present block and appends
// their bytes to `out`. Returns false when the stream ended first or memory ran out.
bool readBase64Block(ProjectStateContext* stream, GrowBuffer* out);

// [any thread] Writes `length` bytes of text, one stream line per source line (split after
// 4000 characters), each marked with how it joins the one before: "|" after CR LF, "n|" after
// LF, "r|" after CR, "R|" after LF CR, "c|" for the rest of a split line.
void writeTextLines(ProjectStateContext* stream, const char* text, int length);
// [any thread] Reads "|" lines up to the '>' that closes the present block and appends the
// text they make to `out` (no NUL). Returns false when the stream ended first or memory ran out.
bool readTextBlock(ProjectStateContext* stream, GrowBuffer* out);
