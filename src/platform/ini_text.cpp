#include "platform/ini_text.h"

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string trim(const std::string& s) {
    size_t b = 0, e = s.size();
    while (b < e && isBlank(s[b])) b++;
    while (e > b && isBlank(s[e - 1])) e--;
    return s.substr(b, e - b);
}

bool sameNoCase(const std::string& a, const char* b) {
    size_t n = std::strlen(b);
    if (a.size() != n) return false;
    for (size_t i = 0; i < n; i++) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z') x = char(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z') y = char(y - 'A' + 'a');
        if (x != y) return false;
    }
    return true;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t start = 0;
    while (start < text.size()) {
        size_t nl = text.find('\n', start);
        if (nl == std::string::npos) nl = text.size();
        std::string line = text.substr(start, nl - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
        start = nl + 1;
    }
    return lines;
}

// The section name of a "[name]" line, or false for any other line.
bool sectionOf(const std::string& line, std::string* name) {
    std::string t = trim(line);
    if (t.size() < 2 || t[0] != '[') return false;
    size_t close = t.find(']');
    if (close == std::string::npos) return false;
    *name = trim(t.substr(1, close - 1));
    return true;
}

// The key of a "key=value" line, with the value; comments and lines without '=' give false.
bool keyOf(const std::string& line, std::string* key, std::string* value) {
    std::string t = trim(line);
    if (t.empty() || t[0] == ';') return false;
    size_t eq = t.find('=');
    if (eq == std::string::npos) return false;
    *key = trim(t.substr(0, eq));
    std::string v = trim(t.substr(eq + 1));
    if (v.size() >= 2 && (v[0] == '"' || v[0] == '\'') && v.back() == v[0]) v = v.substr(1, v.size() - 2);
    *value = v;
    return true;
}

// Index range [first, end) of the lines of the first section with that name; first is the header.
bool findSection(const std::vector<std::string>& lines, const char* section, size_t* first, size_t* end) {
    std::string name;
    for (size_t i = 0; i < lines.size(); i++) {
        if (!sectionOf(lines[i], &name) || !sameNoCase(name, section)) continue;
        size_t j = i + 1;
        while (j < lines.size() && !sectionOf(lines[j], &name)) j++;
        *first = i;
        *end = j;
        return true;
    }
    return false;
}

}  // namespace

int iniParseInt(const char* text, int fallback) {
    if (!text) return fallback;
    const char* p = text;
    while (*p == ' ' || *p == '\t') p++;
    if (!*p) return fallback;
    bool negative = false;
    if (*p == '+' || *p == '-') negative = *p++ == '-';
    unsigned base = 10;
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X')) base = 16, p += 2;
    else if (p[0] == '0' && (p[1] == 'o' || p[1] == 'O')) base = 8, p += 2;
    else if (p[0] == '0' && (p[1] == 'b' || p[1] == 'B')) base = 2, p += 2;
    uint32_t value = 0;
    for (;; p++) {
        unsigned digit;
        if (*p >= '0' && *p <= '9') digit = unsigned(*p - '0');
        else if (*p >= 'a' && *p <= 'f') digit = unsigned(*p - 'a' + 10);
        else if (*p >= 'A' && *p <= 'F') digit = unsigned(*p - 'A' + 10);
        else break;
        if (digit >= base) break;
        value = value * base + digit;
    }
    if (negative) value = 0u - value;
    return int32_t(value);
}

bool iniFindValue(const std::string& text, const char* section, const char* key, std::string* value) {
    if (!section || !key) return false;
    std::vector<std::string> lines = splitLines(text);
    size_t first, end;
    if (!findSection(lines, section, &first, &end)) return false;
    std::string k, v;
    for (size_t i = first + 1; i < end; i++) {
        if (keyOf(lines[i], &k, &v) && sameNoCase(k, key)) {
            *value = v;
            return true;
        }
    }
    return false;
}

std::string iniSetValue(const std::string& text, const char* section, const char* key, const char* value) {
    const char* eol = text.find("\r\n") != std::string::npos ? "\r\n" : "\n";
    std::vector<std::string> lines = splitLines(text);
    size_t first = 0, end = 0;
    bool found = findSection(lines, section, &first, &end);
    if (!key) {
        if (found) lines.erase(lines.begin() + long(first), lines.begin() + long(end));
    } else if (!found) {
        if (value) {
            if (!lines.empty() && !trim(lines.back()).empty()) lines.push_back("");
            lines.push_back(std::string("[") + section + "]");
            lines.push_back(std::string(key) + "=" + value);
        }
    } else {
        std::string k, v;
        size_t at = end;
        for (size_t i = first + 1; i < end; i++)
            if (keyOf(lines[i], &k, &v) && sameNoCase(k, key)) { at = i; break; }
        if (at < end) {
            if (value) lines[at] = k + "=" + value;
            else lines.erase(lines.begin() + long(at));
        } else if (value) {
            size_t insert = end;  // after the section's last non-blank line
            while (insert > first + 1 && trim(lines[insert - 1]).empty()) insert--;
            lines.insert(lines.begin() + long(insert), std::string(key) + "=" + value);
        }
    }
    std::string out;
    for (const std::string& line : lines) out += line + eol;
    return out;
}

int iniCopyValue(const char* text, char* out, int capacity) {
    if (!out || capacity < 1) return 0;
    if (!text) text = "";
    int n = int(std::strlen(text));
    if (n > capacity - 1) {
        n = capacity - 1;
        while (n > 0 && (static_cast<unsigned char>(text[n]) & 0xC0) == 0x80) n--;
    }
    std::memcpy(out, text, size_t(n));
    out[n] = 0;
    return n;
}
