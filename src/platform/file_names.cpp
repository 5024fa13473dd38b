#include "platform/file_names.h"

#include <cwchar>

static bool continuation(unsigned char c) { return c >= 0x80 && c <= 0xBF; }

bool looksLikeUtf8(const char* name) {
    if (!name || !*name) return false;
    const unsigned char* p = reinterpret_cast<const unsigned char*>(name);
    for (int i = 0; i < FILE_NAME_LONG; i++) {
        unsigned char c = p[i];
        if (!c) return false;
        if (c >= 0xC2 && c <= 0xDF && continuation(p[i + 1])) return true;
        // A NUL after the lead fails the first test, so the second byte is never read past it.
        if (c >= 0xE0 && c <= 0xF4 && continuation(p[i + 1]) && continuation(p[i + 2])) return true;
    }
    return true;
}

int longNameForm(wchar_t* name, int capacity) {
    if (!name) return 0;
    int length = int(std::wcslen(name));
    if (length < FILE_NAME_LONG) return length;
    const wchar_t* prefix;
    int replaced;
    if (name[1] == L':') {
        prefix = L"\\\\?\\";
        replaced = 0;
    } else if (name[0] == L'\\' && name[1] == L'\\') {
        prefix = L"\\\\?\\UNC\\";
        replaced = 2;
    } else {
        return length;
    }
    int prefixLength = int(std::wcslen(prefix));
    int newLength = length - replaced + prefixLength;
    if (newLength + 1 > capacity) return length;
    std::wmemmove(name + prefixLength, name + replaced, size_t(length - replaced + 1));
    std::wmemcpy(name, prefix, size_t(prefixLength));
    for (int i = prefixLength; i < newLength; i++)
        if (name[i] == L'/') name[i] = L'\\';
    return newLength;
}
