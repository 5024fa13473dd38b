// Win32 side of the platform calls: critical sections, GetTickCount, the private-profile calls
// through their wide forms (text is UTF-8 inside the program) and GDI fonts.
#include "platform/ini_text.h"
#include "platform/platform.h"

#include <windows.h>

#include <cstring>
#include <string>

#include "platform/utf16_win32.h"

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(RecursiveLock::storage), "lock storage too small");

static CRITICAL_SECTION* section(RecursiveLock* lock) { return reinterpret_cast<CRITICAL_SECTION*>(lock->storage); }
void lockInit(RecursiveLock* lock) { InitializeCriticalSection(section(lock)); }
void lockDestroy(RecursiveLock* lock) { DeleteCriticalSection(section(lock)); }
void lockEnter(RecursiveLock* lock) { EnterCriticalSection(section(lock)); }
void lockLeave(RecursiveLock* lock) { LeaveCriticalSection(section(lock)); }

uint32_t tickCount() { return GetTickCount(); }

static std::string narrow(const wchar_t* text) {
    int n = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (n <= 0) return std::string();
    std::string out(size_t(n), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, &out[0], n, nullptr, nullptr);
    out.resize(size_t(n - 1));
    return out;
}

int iniReadInt(const char* path, const char* section, const char* key, int fallback) {
    if (!path || !*path) return fallback;
    return int(GetPrivateProfileIntW(wide(section).c_str(), wide(key).c_str(), fallback, wide(path).c_str()));
}

int iniReadString(const char* path, const char* section, const char* key, const char* fallback,
                  char* out, int capacity) {
    if (!path || !*path) return iniCopyValue(fallback, out, capacity);
    std::wstring buffer(32768, L'\0');
    GetPrivateProfileStringW(wide(section).c_str(), wide(key).c_str(), wide(fallback).c_str(), &buffer[0],
                             DWORD(buffer.size()), wide(path).c_str());
    return iniCopyValue(narrow(buffer.c_str()).c_str(), out, capacity);
}

bool iniWriteString(const char* path, const char* section, const char* key, const char* value) {
    if (!path || !*path || !section) return false;
    std::wstring k = wide(key), v = wide(value);
    return WritePrivateProfileStringW(wide(section).c_str(), key ? k.c_str() : nullptr, value ? v.c_str() : nullptr,
                                      wide(path).c_str()) != 0;
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
