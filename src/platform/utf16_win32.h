// UTF-8 to the wide text of the Win32 calls, for the Win32 units of src/ (never a shared header).
#pragma once

#include <windows.h>

#include <string>

// [any thread] The wide form of a UTF-8 text; empty for null or text that does not convert.
inline std::wstring wide(const char* utf8) {
    if (!utf8) return std::wstring();
    int n = MultiByteToWideChar(CP_UTF8, 0, utf8, -1, nullptr, 0);
    if (n <= 0) return std::wstring();
    std::wstring out(size_t(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8, -1, &out[0], n);
    out.resize(size_t(n - 1));
    return out;
}
