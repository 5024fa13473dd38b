// Placeholder bodies of the UTF-8 adapters: the wide calls with text converted by
// MultiByteToWideChar. The full layer (the refusal rule, long names, the combo box hook)
// replaces them.
#include "platform/utf8_win32.h"

#include <string>

#include "platform/utf16_win32.h"

BOOL DeleteFileUtf8(const char* name) { return DeleteFileW(wide(name).c_str()); }

BOOL CreateDirectoryUtf8(const char* name, LPSECURITY_ATTRIBUTES security) {
    return CreateDirectoryW(wide(name).c_str(), security);
}

BOOL MoveFileUtf8(const char* from, const char* to) { return MoveFileW(wide(from).c_str(), wide(to).c_str()); }

DWORD GetPrivateProfileStringUtf8(const char* section, const char* key, const char* fallback, char* out, DWORD size,
                                  const char* file) {
    if (!out || !size) return 0;
    std::wstring buffer(1024, L'\0');
    std::wstring s = wide(section), k = wide(key), f = wide(fallback);
    DWORD n = GetPrivateProfileStringW(section ? s.c_str() : nullptr, key ? k.c_str() : nullptr, f.c_str(), &buffer[0],
                                       DWORD(buffer.size()), wide(file).c_str());
    int bytes = WideCharToMultiByte(CP_UTF8, 0, buffer.c_str(), int(n), out, int(size) - 1, nullptr, nullptr);
    if (bytes < 0) bytes = 0;
    out[bytes] = 0;
    return DWORD(bytes);
}

BOOL WritePrivateProfileStringUtf8(const char* section, const char* key, const char* value, const char* file) {
    std::wstring s = wide(section), k = wide(key), v = wide(value);
    return WritePrivateProfileStringW(s.c_str(), key ? k.c_str() : nullptr, value ? v.c_str() : nullptr,
                                      wide(file).c_str());
}

UINT GetPrivateProfileIntUtf8(const char* section, const char* key, INT fallback, const char* file) {
    return GetPrivateProfileIntW(wide(section).c_str(), wide(key).c_str(), fallback, wide(file).c_str());
}

BOOL SetWindowTextUtf8(HWND window, const char* text) { return SetWindowTextW(window, wide(text).c_str()); }

int setDlgItemTextUtf8(HWND dialog, int id, const char* text) {
    HWND item = GetDlgItem(dialog, id);
    return item ? SetWindowTextW(item, wide(text).c_str()) : 0;
}

void getWindowTextUtf8(HWND window, char* buffer, int size) {
    if (!buffer || size < 1) return;
    buffer[0] = 0;
    if (!window) return;
    wchar_t text[1024] = {0};
    GetWindowTextW(window, text, 1024);
    int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, buffer, size, nullptr, nullptr);
    if (bytes <= 0) buffer[size - 1] = 0;
}

void getDlgItemTextUtf8(HWND dialog, int id, char* buffer, int size) {
    getWindowTextUtf8(GetDlgItem(dialog, id), buffer, size);
}

BOOL InsertMenuUtf8(HMENU menu, UINT position, UINT flags, UINT_PTR id, const char* text) {
    if ((flags & 0x804) || !text) return InsertMenuA(menu, position, flags, id, text);
    return InsertMenuW(menu, position, flags, id, wide(text).c_str());
}

void hookComboUtf8(HWND) {}
