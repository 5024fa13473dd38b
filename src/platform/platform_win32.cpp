// Win32 side of the platform calls: critical sections, GetTickCount, the private-profile calls
// through the text layer's adapters (text is UTF-8 inside the program) and GDI fonts.
#include "platform/ini_text.h"
#include "platform/platform.h"

#include <windows.h>

#include <cstring>

#include "platform/utf8_win32.h"

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(RecursiveLock::storage), "lock storage too small");

static CRITICAL_SECTION* section(RecursiveLock* lock) { return reinterpret_cast<CRITICAL_SECTION*>(lock->storage); }
void lockInit(RecursiveLock* lock) { InitializeCriticalSection(section(lock)); }
void lockDestroy(RecursiveLock* lock) { DeleteCriticalSection(section(lock)); }
void lockEnter(RecursiveLock* lock) { EnterCriticalSection(section(lock)); }
void lockLeave(RecursiveLock* lock) { LeaveCriticalSection(section(lock)); }

uint32_t tickCount() { return GetTickCount(); }

int iniReadInt(const char* path, const char* section, const char* key, int fallback) {
    if (!path || !*path) return fallback;
    return int(GetPrivateProfileIntUtf8(section, key, fallback, path));
}

// The program's ini values are short; one longer than this is cut, or through a file name in
// UTF-8 reads as empty.
constexpr int INI_VALUE_BYTES = 1000;

int iniReadString(const char* path, const char* section, const char* key, const char* fallback,
                  char* out, int capacity) {
    if (!path || !*path) return iniCopyValue(fallback, out, capacity);
    char value[INI_VALUE_BYTES];
    GetPrivateProfileStringUtf8(section, key, fallback ? fallback : "", value, sizeof value, path);
    return iniCopyValue(value, out, capacity);
}

bool iniWriteString(const char* path, const char* section, const char* key, const char* value) {
    if (!path || !*path || !section) return false;
    return WritePrivateProfileStringUtf8(section, key, value, path) != 0;
}

static void* libraryModule = nullptr;
void* moduleHandle() { return libraryModule; }
void setModuleHandle(void* handle) { libraryModule = handle; }

void* fontCreate(const FontDescription* description) {
    if (!description) return nullptr;
    LOGFONTW font = {};
    font.lfHeight = description->height;
    font.lfWidth = description->width;
    font.lfEscapement = description->escapement;
    font.lfOrientation = description->orientation;
    font.lfWeight = description->weight;
    font.lfItalic = description->italic;
    font.lfUnderline = description->underline;
    font.lfStrikeOut = description->strikeOut;
    font.lfCharSet = description->charSet;
    font.lfOutPrecision = description->outPrecision;
    font.lfClipPrecision = description->clipPrecision;
    font.lfQuality = description->quality;
    font.lfPitchAndFamily = description->pitchAndFamily;
    char face[sizeof description->faceName + 1] = {0};
    std::memcpy(face, description->faceName, sizeof description->faceName);
    // A face name too long for the system's field leaves the choice of face to the system.
    if (!MultiByteToWideChar(CP_UTF8, 0, face, -1, font.lfFaceName, LF_FACESIZE)) font.lfFaceName[0] = 0;
    return CreateFontIndirectW(&font);
}

void fontDestroy(void* font) {
    if (font) DeleteObject(static_cast<HFONT>(font));
}

bool fontDescribe(void* font, FontDescription* out) {
    LOGFONTW source = {};
    if (!font || !out || GetObjectW(static_cast<HFONT>(font), sizeof source, &source) != int(sizeof source)) return false;
    FontDescription d = {};
    d.height = source.lfHeight;
    d.width = source.lfWidth;
    d.escapement = source.lfEscapement;
    d.orientation = source.lfOrientation;
    d.weight = source.lfWeight;
    d.italic = source.lfItalic;
    d.underline = source.lfUnderline;
    d.strikeOut = source.lfStrikeOut;
    d.charSet = source.lfCharSet;
    d.outPrecision = source.lfOutPrecision;
    d.clipPrecision = source.lfClipPrecision;
    d.quality = source.lfQuality;
    d.pitchAndFamily = source.lfPitchAndFamily;
    if (!WideCharToMultiByte(CP_UTF8, 0, source.lfFaceName, -1, d.faceName, int(sizeof d.faceName), nullptr, nullptr))
        d.faceName[0] = 0;
    *out = d;
    return true;
}
