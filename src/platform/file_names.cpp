#include "platform/file_names.h"

#include "platform/utf8_text.h"

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
