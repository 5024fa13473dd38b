#include "platform/utf8_text.h"

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// The lead bytes of the multi-byte forms: the sequence's length and the lowest second byte that
// is not an overlong form. The 4-byte row has no upper limit on purpose: 0xF5 to 0xF7 decode
// like the others.
struct Utf8Lead {
    unsigned char first, last;
    int length;
    unsigned char lowestSecond;
};
const Utf8Lead UTF8_LEADS[] = {
    {0xC2, 0xDF, 2, 0x80},
    {0xE0, 0xE0, 3, 0xA0},
    {0xE1, 0xEF, 3, 0x80},
    {0xF0, 0xF0, 4, 0x90},
    {0xF1, 0xF7, 4, 0x80},
    {0xF8, 0xFB, 5, 0x80},
    {0xFC, 0xFF, 6, 0x80},
};

bool continuation(unsigned char c) { return c >= 0x80 && c <= 0xBF; }

// A character that the wide text leaves out: a byte that starts nothing, or a 5/6-byte form.
bool dropped(int length, uint32_t codePoint) { return (length == 1 && codePoint >= 0x80) || length >= 5; }

}  // namespace

int decodeUtf8(const char* bytes, uint32_t* codePoint) {
    const unsigned char* b = reinterpret_cast<const unsigned char*>(bytes);
    uint32_t value = b[0];
    int length = 1;
    for (const Utf8Lead& lead : UTF8_LEADS) {
        if (b[0] < lead.first || b[0] > lead.last) continue;
        // A NUL is no continuation, so the scan never passes the end of the text.
        int n = 1;
        while (n < lead.length && continuation(b[n])) n++;
        if (n < lead.length || b[1] < lead.lowestSecond) break;
        length = lead.length;
        if (length >= 5) {
            value = '_';
        } else {
            value = b[0] & (0x7Fu >> length);
            for (int k = 1; k < length; k++) value = value << 6 | (b[k] & 0x3Fu);
        }
        break;
    }
    if (codePoint) *codePoint = value;
    return length;
}

int isUtf8Text(const char* text) {
    if (!text) return 0;
    bool multiByte = false;
    const char* p = text;
    while (*p) {
        unsigned char c = static_cast<unsigned char>(*p);
        if (c < 0x80) {
            p++;
            continue;
        }
        if (c <= 0xC1 || c > 0xF7) return -1;
        int n = decodeUtf8(p, nullptr);
        if (n < 2) return -1;
        p += n;
        multiByte = true;
    }
    return multiByte ? 1 : 0;
}

char16_t* utf8ToWide(const char* text, char16_t* buffer, int bufferBytes) {
    if (!text) return nullptr;
    // Count: bytes of good multi-byte characters, bytes that are dropped, all bytes, and the
    // code units of the result.
    int64_t good = 0, bad = 0, total = 0, units = 0;
    for (const char* p = text; *p;) {
        uint32_t codePoint = 0;
        int n = decodeUtf8(p, &codePoint);
        if (dropped(n, codePoint)) {
            bad += n;
        } else {
            units += codePoint >= 0x10000 ? 2 : 1;
            if (n > 1) good += n;
        }
        total += n;
        p += n;
    }
    // A text in a system code page has few good sequences among its high bytes: keep it narrow.
    if (good < 5 * bad && good < 3 * total / 4) return nullptr;
    int64_t needBytes = (units + 1) * 2;
    char16_t* out = buffer;
    int capacity = bufferBytes / 2;
    if (!buffer || bufferBytes < needBytes) {
        out = static_cast<char16_t*>(std::malloc(size_t(needBytes)));
        if (!out) return nullptr;
        capacity = int(units + 1);
    }
    utf8WriteWide(text, out, capacity);
    return out;
}

int utf8WriteWide(const char* text, char16_t* out, int capacity) {
    if (!out || capacity < 1) return 0;
    int used = 0;
    for (const char* p = text ? text : ""; *p;) {
        uint32_t codePoint = 0;
        int n = decodeUtf8(p, &codePoint);
        p += n;
        if (dropped(n, codePoint)) continue;
        int need = codePoint >= 0x10000 ? 2 : 1;
        if (used + need > capacity - 1) break;
        if (need == 2) {
            uint32_t v = codePoint - 0x10000;
            out[used++] = char16_t(0xD800 + ((v >> 10) & 0x3FF));
            out[used++] = char16_t(0xDC00 + (v & 0x3FF));
        } else {
            out[used++] = char16_t(codePoint);
        }
    }
    out[used] = 0;
    return used;
}

bool needsWideName(const char* name) {
    if (!name) return false;
    if (isUtf8Text(name) == 1) return true;
    for (int i = 0; i < FILE_NAME_LONG; i++)
        if (!name[i]) return false;
    return true;
}

void addLongNamePrefix(char16_t* name) {
    if (!name) return;
    size_t length = std::char_traits<char16_t>::length(name);
    if (length < size_t(FILE_NAME_LONG)) return;
    const char16_t* prefix;
    size_t replaced;
    if (name[1] == u':') {
        prefix = u"\\\\?\\";
        replaced = 0;
    } else if (name[0] == u'\\' && name[1] == u'\\') {
        prefix = u"\\\\?\\UNC\\";
        replaced = 2;
    } else {
        return;
    }
    size_t prefixLength = std::char_traits<char16_t>::length(prefix);
    std::memmove(name + prefixLength, name + replaced, (length - replaced + 1) * sizeof(char16_t));
    std::memcpy(name, prefix, prefixLength * sizeof(char16_t));
    for (size_t i = prefixLength; name[i]; i++)
        if (name[i] == u'/') name[i] = u'\\';
}
