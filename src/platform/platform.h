// The few operating-system calls the effect needs below its user interface: a recursive lock,
// the millisecond tick, ini-file profile access, the module handle and the system font handles that the host's font objects draw with.
// Win32 in Windows builds, POSIX on Linux, with the same behaviour; called from every subsystem.
#pragma once

#include <cstdint>

// A lock that the same thread may take again (a critical section on Windows).
// The storage is opaque here so that no system header leaks into shared headers.
struct RecursiveLock {
    alignas(16) unsigned char storage[64];
};

// [any thread] init must run before any other call, destroy after the last one.
void lockInit(RecursiveLock* lock);
void lockDestroy(RecursiveLock* lock);
void lockEnter(RecursiveLock* lock);
void lockLeave(RecursiveLock* lock);

// Scoped hold of a RecursiveLock.
struct LockHold {
    RecursiveLock* lock;
    explicit LockHold(RecursiveLock* l) : lock(l) { lockEnter(lock); }
    ~LockHold() { lockLeave(lock); }
    LockHold(const LockHold&) = delete;
    LockHold& operator=(const LockHold&) = delete;
};

// [any thread] Milliseconds since an arbitrary start, 32 bits, wrapping (GetTickCount).
uint32_t tickCount();

// Ini-file profile access with the semantics of the Win32 private-profile calls. Paths, sections,
// keys and values are UTF-8. Sections and keys match without regard to ASCII case; values are
// trimmed of surrounding blanks and of one pair of enclosing quotes.
//
// [any thread] iniReadInt: the value as an integer (leading sign, 0x/0o/0b prefixes, 32-bit
// wrap); `fallback` when the file, section or key is missing or the value is empty.
int iniReadInt(const char* path, const char* section, const char* key, int fallback);
// [any thread] iniReadString: copies the value (or `fallback` when missing; null counts as "")
// into `out`, cut to capacity - 1 bytes and NUL-terminated; returns the bytes written without
// the NUL. A capacity below 1 writes nothing and returns 0.
int iniReadString(const char* path, const char* section, const char* key, const char* fallback,
                  char* out, int capacity);
// [any thread] iniWriteString: sets key = value, creating the file, section or key as needed and
// keeping every other line. A null value removes the key; a null key removes the whole section.
// Returns false when the file cannot be written.
bool iniWriteString(const char* path, const char* section, const char* key, const char* value);

// [any thread] The module handle of this library (set by the library attach hook on Windows).
void* moduleHandle();
void setModuleHandle(void* handle);

// A font as the system's font calls describe it: the fields of a Win32 LOGFONT in its order,
// with the face name in UTF-8. A height above 0 is the cell height in pixels (ascent plus
// descent), below 0 the character height; 0 leaves the size to the system. A width of 0 keeps
// the face's own proportions. Zero-filled, a description asks for the system's defaults.
struct FontDescription {
    int32_t height;
    int32_t width;
    int32_t escapement;
    int32_t orientation;
    int32_t weight;  // 400 normal, 700 bold
    uint8_t italic;
    uint8_t underline;
    uint8_t strikeOut;
    uint8_t charSet;
    uint8_t outPrecision;
    uint8_t clipPrecision;
    uint8_t quality;
    uint8_t pitchAndFamily;
    char faceName[32];  // UTF-8, NUL-terminated
};

// [window thread] A system font for the description (CreateFontIndirect on Windows); null when
// the system makes none. The holder frees it with fontDestroy; a host's font object that is
// handed one keeps it until it gets the next. On POSIX the handle is a stand-in that carries a
// copy of the description and nothing else.
void* fontCreate(const FontDescription* description);
// [window thread] Frees a handle of fontCreate; null does nothing.
void fontDestroy(void* font);
// [any thread] Copies the description of a handle of fontCreate into *out. Returns false, with
// *out untouched, for null or a handle that is no font.
bool fontDescribe(void* font, FontDescription* out);
