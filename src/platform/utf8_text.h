// The rules of the text layer on bytes: how a UTF-8 character is read, which texts count as
// UTF-8, their UTF-16 form for the wide system calls, and the long form of a wide file name.
// Portable, so that the rules run and are tested on every platform; the Win32 adapters
// (utf8_win32.cpp) and the file calls (files_win32.cpp) stand on them.
#pragma once

#include <cstdint>

// Names from this length on (bytes, or wide characters once converted) go the wide way whatever
// they hold, and get the long-path form.
constexpr int FILE_NAME_LONG = 256;
// Room a wide name needs behind its end for the long-path prefix ("\\?\UNC\" replaces "\\").
constexpr int FILE_NAME_PREFIX_ROOM = 8;

// [any thread] The bytes (1 to 6) that the character at `bytes` takes. When `codePoint` isn't
// null it receives the character: the first byte itself for a byte that starts no valid
// sequence (a stray continuation, 0xC0/0xC1, an overlong 3- or 4-byte form, a missing
// continuation; 1 byte then), '_' for the 5- and 6-byte forms. Never reads past a NUL.
int decodeUtf8(const char* bytes, uint32_t* codePoint);

// [any thread] 0 for null or plain ASCII, 1 for well-formed UTF-8 with at least one multi-byte
// character, -1 for anything else (bytes of a system code page, broken or 5/6-byte sequences).
int isUtf8Text(const char* text);

// [any thread] The UTF-16 form of a text for a wide call: in `buffer` when it fits in
// `bufferBytes`, else in a heap block (std::malloc) that the caller frees; the caller frees
// whatever result isn't its own buffer. Bytes that start no character, and the 5/6-byte forms,
// are dropped. Null for a null text, for a text refused as not UTF-8 (good multi-byte bytes
// fewer than 5 times the bad ones and fewer than 3/4 of all bytes), or without memory.
char16_t* utf8ToWide(const char* text, char16_t* buffer, int bufferBytes);

// [any thread] The write step of utf8ToWide into `capacity` code units: stops at the character
// that would leave no room for the NUL (a surrogate pair is never split), then writes the NUL.
// Returns the units written without the NUL; a capacity below 1 writes nothing and gives 0.
int utf8WriteWide(const char* text, char16_t* out, int capacity);

// [any thread] Whether a file name must take the wide calls: it reads as UTF-8 (isUtf8Text 1),
// or it has FILE_NAME_LONG bytes or more. Null gives false.
bool needsWideName(const char* name);

// [any thread] Puts a wide name of FILE_NAME_LONG characters or more into its long-path form, in
// place: "\\?\" before a drive name ("C:..."), "\\?\UNC\" for the two leading backslashes of a
// share name, and then every '/' behind the prefix becomes '\'. A shorter, empty, null or
// relative name stays as it is. The buffer must have FILE_NAME_PREFIX_ROOM characters to spare.
void addLongNamePrefix(char16_t* wideName);
