// The UTF-8 adapters in front of the narrow Win32 calls. Each decides per call whether a text
// takes the wide call (utf8_text.h has the rules), converts into a buffer local to the call or,
// for long texts, a heap block freed before it returns, and falls back to the narrow call with
// the caller's bytes whenever a conversion fails.
#include "platform/utf8_win32.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/utf8_text.h"

static_assert(sizeof(wchar_t) == sizeof(char16_t), "the wide calls take UTF-16 code units");

namespace {

const char* const UTF8_PROP_OLD_PROC = "QVXUTF8OldProc";
const char* const UTF8_PROP_OLD_PROC_WIDE = "QVXUTF8OldProcW";

// Every fixed conversion buffer: 2048 bytes.
constexpr int UTF8_FIXED_UNITS = 1024;
// The wide result of GetPrivateProfileStringUtf8 takes the fixed buffer up to this size.
constexpr DWORD UTF8_INI_RESULT_FIXED_UP_TO = 1000;
// A wide item of a combo box takes the fixed buffer while its length + 1 is at most this.
constexpr int UTF8_LIST_ITEM_FIXED_UP_TO = 1000;
// getWindowTextUtf8 reads a short text (below this) of a window through a bounded wide buffer.
constexpr int UTF8_WINDOW_TEXT_SHORT = 512;
constexpr int UTF8_WINDOW_TEXT_SHORT_LIMIT = 1000;

// How one argument is converted (MB_ERR_INVALID_CHARS) for a wide call: a fixed buffer below
// `heapFrom` characters, else a heap block of length + `heapSpare` characters; a length the
// system cannot tell counts as `unknownLength`. The conversion leaves `reserve` characters
// free at the end of the buffer.
struct WideArgRule {
    int fixedUnits, heapFrom, heapSpare, unknownLength, reserve;
};
constexpr WideArgRule UTF8_WIDE_FILE_NAME = {UTF8_FIXED_UNITS, 1000, 12, 1024, FILE_NAME_PREFIX_ROOM};
constexpr WideArgRule UTF8_WIDE_INI_ARG = {256, 248, 5, 256, 0};
static_assert(sizeof(WideFileName::fixed) == UTF8_WIDE_FILE_NAME.fixedUnits * sizeof(wchar_t));

// The class atom of combo boxes, noted by the first hook on the window thread.
ATOM comboClassAtom = 0;

// Converts `text` by `rule` into `fixed` (rule.fixedUnits long) or a heap block. A null text
// gives null; a text that does not convert, or no memory, gives null and sets *failed.
wchar_t* wideArg(const char* text, wchar_t* fixed, const WideArgRule& rule, bool* failed) {
    if (!text) return nullptr;
    int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    if (length < 1) length = rule.unknownLength;
    wchar_t* out = fixed;
    int units = rule.fixedUnits;
    if (length >= rule.heapFrom) {
        units = length + rule.heapSpare;
        out = static_cast<wchar_t*>(std::malloc(size_t(units) * sizeof(wchar_t)));
    }
    if (out && MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, -1, out, units - rule.reserve) >= 1) return out;
    if (out != fixed) std::free(out);
    *failed = true;
    return nullptr;
}

// Frees what wideArg took from the heap; the last error stays that of the call in between.
void wideArgFree(wchar_t* text, const wchar_t* fixed) {
    if (!text || text == fixed) return;
    DWORD error = GetLastError();
    std::free(text);
    SetLastError(error);
}

// A text converted by utf8ToWide for one call: in `fixed` when it fits, else on the heap.
struct WideText {
    char16_t fixed[UTF8_FIXED_UNITS];
    wchar_t* text;
};

// False when the text is null, refused, or memory is out.
bool wideTextMake(WideText* w, const char* utf8) {
    w->text = reinterpret_cast<wchar_t*>(utf8ToWide(utf8, w->fixed, int(sizeof w->fixed)));
    return w->text != nullptr;
}

void wideTextFree(WideText* w) { wideArgFree(w->text, reinterpret_cast<wchar_t*>(w->fixed)); }

// The wide call for a name that needs it and converts, the narrow call otherwise.
template <class Wide, class Narrow>
auto byFileName(const char* name, Wide wide, Narrow narrow) {
    if (needsWideName(name)) {
        WideFileName w;
        if (wideFileNameMake(&w, name)) {
            auto result = wide(w.text);
            wideFileNameFree(&w);
            return result;
        }
    }
    return narrow(name);
}

// The wide arguments of one ini call: the file's name and up to three texts (section, key, and
// the default or the value).
struct WideIniCall {
    wchar_t fileFixed[UTF8_WIDE_FILE_NAME.fixedUnits];
    wchar_t* file;
    wchar_t fixed[3][UTF8_WIDE_INI_ARG.fixedUnits];
    wchar_t* args[3];
};

void wideIniFree(WideIniCall* call) {
    wideArgFree(call->file, call->fileFixed);
    for (int k = 0; k < 3; k++) wideArgFree(call->args[k], call->fixed[k]);
}

// True when the file's name reads as UTF-8 and every argument converted; false leaves nothing
// held. Null arguments stay null.
bool wideIniMake(WideIniCall* call, const char* file, const char* a, const char* b, const char* c) {
    std::memset(call->args, 0, sizeof call->args);
    call->file = nullptr;
    if (!file || isUtf8Text(file) != 1) return false;
    bool failed = false;
    call->file = wideArg(file, call->fileFixed, UTF8_WIDE_FILE_NAME, &failed);
    const char* texts[3] = {a, b, c};
    for (int k = 0; k < 3 && !failed; k++)
        call->args[k] = wideArg(texts[k], call->fixed[k], UTF8_WIDE_INI_ARG, &failed);
    if (failed) wideIniFree(call);
    return !failed;
}

// The plain way of a window text: wide when the text isn't plain ASCII and converts, else narrow.
BOOL setWindowTextPlain(HWND window, const char* text) {
    WideText w;
    if (isUtf8Text(text) != 0 && wideTextMake(&w, text)) {
        BOOL result = SetWindowTextW(window, w.text);
        wideTextFree(&w);
        return result;
    }
    return SetWindowTextA(window, text);
}

// Stands in for a narrow top-level window's procedure during SetWindowTextUtf8: the system
// stores the title from the wide text.
LRESULT CALLBACK wideTitleProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    WideText w;
    if (message == WM_SETTEXT && lParam && wideTextMake(&w, reinterpret_cast<const char*>(lParam))) {
        LRESULT result = DefWindowProcW(window, message, wParam, LPARAM(w.text));
        wideTextFree(&w);
        return result;
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

bool isHookedCombo(HWND window) {
    return comboClassAtom && GetClassWord(window, GCW_ATOM) == comboClassAtom &&
           GetPropA(window, UTF8_PROP_OLD_PROC);
}

// The selected item of a hooked combo box without an edit field into `buffer`; false when there
// is no selection or no memory, and the window's own text is to be read instead.
bool readComboSelection(HWND combo, char* buffer, int size) {
    LRESULT selected = SendMessageA(combo, CB_GETCURSEL, 0, 0);
    if (selected < 0) return false;
    LRESULT bound = SendMessageA(combo, CB_GETLBTEXTLEN, WPARAM(selected), 0);
    char* target = buffer;
    if (bound > size - 1) {
        target = static_cast<char*>(std::calloc(size_t(bound) + 1, 1));
        if (!target) return false;
    }
    SendMessageA(combo, CB_GETLBTEXT, WPARAM(selected), LPARAM(target));
    if (target != buffer) {
        std::memcpy(buffer, target, size_t(size - 1));
        buffer[size - 1] = 0;
        std::free(target);
    }
    return true;
}

// CB_GETLBTEXT (or LB_GETTEXT with UTF8_LIST_MESSAGE) of a hooked box: the item fetched wide and
// handed out in UTF-8, into a buffer the caller sized by the bound of the length message.
LRESULT listItemUtf8(HWND window, UINT message, WPARAM index, char* out, WNDPROC wideProc, WNDPROC narrowProc) {
    UINT plain = message & ~UTF8_LIST_MESSAGE;
    UINT lengthMessage = plain == CB_GETLBTEXT ? CB_GETLBTEXTLEN : LB_GETTEXTLEN;
    LRESULT length = CallWindowProcW(wideProc, window, lengthMessage, index, 0);
    wchar_t fixed[UTF8_FIXED_UNITS];
    wchar_t* item = fixed;
    if (length != -1 && length + 1 > UTF8_LIST_ITEM_FIXED_UP_TO)
        item = static_cast<wchar_t*>(std::malloc(size_t(length) * 2 + 12));
    if (length == -1 || !item) return CallWindowProcA(narrowProc, window, message, index, LPARAM(out));
    LRESULT result = CallWindowProcW(wideProc, window, plain, index, LPARAM(item));
    if (result >= 0) {
        int bytes = WideCharToMultiByte(CP_UTF8, 0, item, -1, out, int(length) * 4 + 32, nullptr, nullptr);
        if (bytes < 1) out[0] = 0;
        result = bytes > 0 ? bytes - 1 : 0;
    }
    if (item != fixed) std::free(item);
    return result;
}

// The sub-class procedure of a hooked combo box.
LRESULT CALLBACK comboProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    WNDPROC narrowProc = reinterpret_cast<WNDPROC>(GetPropA(window, UTF8_PROP_OLD_PROC));
    if (!narrowProc) return 0;
    WNDPROC wideProc = reinterpret_cast<WNDPROC>(GetPropA(window, UTF8_PROP_OLD_PROC_WIDE));
    if (!wideProc) wideProc = narrowProc;
    switch (message) {
        case WM_NCDESTROY:
            SetWindowLongPtrA(window, GWLP_WNDPROC, LONG_PTR(narrowProc));
            RemovePropA(window, UTF8_PROP_OLD_PROC);
            RemovePropA(window, UTF8_PROP_OLD_PROC_WIDE);
            return CallWindowProcA(narrowProc, window, message, wParam, lParam);
        case CB_ADDSTRING:
        case CB_INSERTSTRING:
        case CB_FINDSTRING:
        case CB_FINDSTRINGEXACT:
        case LB_ADDSTRING:
        case LB_INSERTSTRING: {
            const char* text = reinterpret_cast<const char*>(lParam);
            WideText w;
            if (text && isUtf8Text(text) != 0 && wideTextMake(&w, text)) {
                LRESULT result = CallWindowProcW(wideProc, window, message, wParam, LPARAM(w.text));
                wideTextFree(&w);
                return result;
            }
            break;
        }
        case CB_GETLBTEXTLEN:
        case LB_GETTEXTLEN | UTF8_LIST_MESSAGE:
            return CallWindowProcW(wideProc, window, message & ~UTF8_LIST_MESSAGE, wParam, lParam) * 4 + 32;
        case CB_GETLBTEXT:
        case LB_GETTEXT | UTF8_LIST_MESSAGE:
            if (lParam)
                return listItemUtf8(window, message, wParam, reinterpret_cast<char*>(lParam), wideProc, narrowProc);
            break;
        default: break;
    }
    return CallWindowProcA(narrowProc, window, message, wParam, lParam);
}

}  // namespace

// ---- files and folders ----

bool wideFileNameMake(WideFileName* name, const char* utf8) {
    bool failed = false;
    DWORD error = GetLastError();
    name->text = wideArg(utf8, name->fixed, UTF8_WIDE_FILE_NAME, &failed);
    SetLastError(error);
    if (!name->text) return false;
    addLongNamePrefix(reinterpret_cast<char16_t*>(name->text));
    return true;
}

void wideFileNameFree(WideFileName* name) {
    wideArgFree(name->text, name->fixed);
    name->text = nullptr;
}

BOOL DeleteFileUtf8(const char* name) {
    return byFileName(
        name, [](const wchar_t* wide) { return DeleteFileW(wide); },
        [](const char* bytes) { return DeleteFileA(bytes); });
}

BOOL CreateDirectoryUtf8(const char* name, LPSECURITY_ATTRIBUTES security) {
    return byFileName(
        name, [&](const wchar_t* wide) { return CreateDirectoryW(wide, security); },
        [&](const char* bytes) { return CreateDirectoryA(bytes, security); });
}

DWORD GetFileAttributesUtf8(const char* name) {
    return byFileName(
        name, [](const wchar_t* wide) { return GetFileAttributesW(wide); },
        [](const char* bytes) { return GetFileAttributesA(bytes); });
}

BOOL MoveFileUtf8(const char* from, const char* to) {
    if (needsWideName(from) || needsWideName(to)) {
        WideFileName a, b;
        bool converted = wideFileNameMake(&a, from);
        converted = wideFileNameMake(&b, to) && converted;
        BOOL moved = converted && MoveFileW(a.text, b.text);
        wideFileNameFree(&a);
        wideFileNameFree(&b);
        if (converted) return moved;
    }
    return MoveFileA(from, to);
}

static void scanTakeName(DirectoryScanUtf8* scan) {
    if (!scan->wide) {
        scan->name = scan->foundNarrow.cFileName;
        return;
    }
    if (WideCharToMultiByte(CP_UTF8, 0, scan->foundWide.cFileName, -1, scan->wideName, int(sizeof scan->wideName),
                            nullptr, nullptr) < 1)
        scan->wideName[0] = 0;
    scan->name = scan->wideName;
}

bool directoryScanOpenUtf8(DirectoryScanUtf8* scan, const char* folder) {
    std::memset(scan, 0, sizeof *scan);
    scan->find = INVALID_HANDLE_VALUE;
    if (!folder) return false;
    std::string pattern = folder;
    if (!pattern.empty() && (pattern.back() == '/' || pattern.back() == '\\')) pattern.pop_back();
    pattern += "\\*";
    WideFileName w;
    if (wideFileNameMake(&w, pattern.c_str())) {
        scan->find = FindFirstFileW(w.text, &scan->foundWide);
        wideFileNameFree(&w);
        scan->wide = scan->find != INVALID_HANDLE_VALUE;
    }
    if (!scan->wide) scan->find = FindFirstFileA(pattern.c_str(), &scan->foundNarrow);
    if (scan->find == INVALID_HANDLE_VALUE) return false;
    scanTakeName(scan);
    return true;
}

bool directoryScanNextUtf8(DirectoryScanUtf8* scan) {
    if (scan->find == INVALID_HANDLE_VALUE) return false;
    BOOL found = scan->wide ? FindNextFileW(scan->find, &scan->foundWide)
                            : FindNextFileA(scan->find, &scan->foundNarrow);
    if (!found) return false;
    scanTakeName(scan);
    return true;
}

void directoryScanCloseUtf8(DirectoryScanUtf8* scan) {
    if (scan->find != INVALID_HANDLE_VALUE) FindClose(scan->find);
    scan->find = INVALID_HANDLE_VALUE;
}

// ---- ini access ----

DWORD GetPrivateProfileStringUtf8(const char* section, const char* key, const char* fallback, char* out, DWORD size,
                                  const char* file) {
    if (!out) return 0;
    WideIniCall call;
    if (!wideIniMake(&call, file, section, key, fallback))
        return GetPrivateProfileStringA(section, key, fallback, out, size, file);
    wchar_t fixed[UTF8_FIXED_UNITS];
    wchar_t* result = fixed;
    DWORD units = UTF8_FIXED_UNITS;
    if (size > UTF8_INI_RESULT_FIXED_UP_TO) {
        units = size + 5;
        result = static_cast<wchar_t*>(std::malloc(size_t(units) * sizeof(wchar_t)));
        if (!result) {
            wideIniFree(&call);
            return GetPrivateProfileStringA(section, key, fallback, out, size, file);
        }
    }
    // A list (of sections or keys) ends with two NULs, a value with one.
    DWORD nuls = section && key ? 1 : 2;
    DWORD written = 0;
    if (size <= nuls) {
        std::memset(out, 0, size);
    } else {
        DWORD n = GetPrivateProfileStringW(call.args[0], call.args[1], call.args[2], result, units, call.file);
        int bytes = n ? WideCharToMultiByte(CP_UTF8, 0, result, int(n), out, int(size - nuls), nullptr, nullptr) : 0;
        written = bytes > 0 ? DWORD(bytes) : 0;
        std::memset(out + written, 0, nuls);
    }
    if (result != fixed) std::free(result);
    wideIniFree(&call);
    return written;
}

BOOL WritePrivateProfileStringUtf8(const char* section, const char* key, const char* value, const char* file) {
    WideIniCall call;
    if (!wideIniMake(&call, file, section, key, value)) return WritePrivateProfileStringA(section, key, value, file);
    BOOL result = WritePrivateProfileStringW(call.args[0], call.args[1], call.args[2], call.file);
    wideIniFree(&call);
    return result;
}

UINT GetPrivateProfileIntUtf8(const char* section, const char* key, INT fallback, const char* file) {
    WideIniCall call;
    if (!wideIniMake(&call, file, section, key, nullptr)) return GetPrivateProfileIntA(section, key, fallback, file);
    UINT result = GetPrivateProfileIntW(call.args[0], call.args[1], fallback, call.file);
    wideIniFree(&call);
    return result;
}

// ---- window texts, menus, combo boxes ----

BOOL SetWindowTextUtf8(HWND window, const char* text) {
    DWORD process = 0;
    bool narrowTopLevel = isUtf8Text(text) != 0 && window &&
                          GetWindowThreadProcessId(window, &process) == GetCurrentThreadId() &&
                          process == GetCurrentProcessId() && !IsWindowUnicode(window) &&
                          !(GetWindowLongA(window, GWL_STYLE) & WS_CHILD);
    if (!narrowTopLevel) return setWindowTextPlain(window, text);
    LONG_PTR old = SetWindowLongPtrA(window, GWLP_WNDPROC, LONG_PTR(&wideTitleProc));
    BOOL result = SetWindowTextA(window, text);
    SetWindowLongPtrA(window, GWLP_WNDPROC, old);
    return result;
}

int setDlgItemTextUtf8(HWND dialog, int id, const char* text) {
    HWND item = GetDlgItem(dialog, id);
    return item ? setWindowTextPlain(item, text) : 0;
}

void getWindowTextUtf8(HWND window, char* buffer, int size) {
    if (!buffer || size < 1) return;
    buffer[0] = 0;
    if (!window) return;
    if (isHookedCombo(window)) {
        HWND edit = FindWindowExA(window, nullptr, "Edit", nullptr);
        if (edit)
            window = edit;
        else if (readComboSelection(window, buffer, size))
            return;
    }
    // A short text in a large buffer is read through a buffer of its own size class.
    int limit = size;
    if (size > UTF8_WINDOW_TEXT_SHORT) {
        int length = GetWindowTextLengthW(window);
        if (length >= 0 && length < UTF8_WINDOW_TEXT_SHORT) limit = UTF8_WINDOW_TEXT_SHORT_LIMIT;
    }
    wchar_t fixed[UTF8_FIXED_UNITS];
    wchar_t* text = fixed;
    if (limit > UTF8_WINDOW_TEXT_SHORT_LIMIT) {
        text = static_cast<wchar_t*>(std::malloc(size_t(limit) * 2 + 10));
        if (!text) {
            GetWindowTextA(window, buffer, size);
            return;
        }
    }
    buffer[0] = 0;
    if (GetWindowTextW(window, text, limit) > 0 &&
        WideCharToMultiByte(CP_UTF8, 0, text, -1, buffer, size, nullptr, nullptr) < 1)
        buffer[size - 1] = 0;
    if (text != fixed) std::free(text);
}

void getDlgItemTextUtf8(HWND dialog, int id, char* buffer, int size) {
    HWND item = GetDlgItem(dialog, id);
    if (item)
        getWindowTextUtf8(item, buffer, size);
    else if (buffer && size > 0)
        buffer[0] = 0;
}

BOOL InsertMenuUtf8(HMENU menu, UINT position, UINT flags, UINT_PTR id, const char* text) {
    WideText w;
    if (!(flags & (MF_SEPARATOR | MF_BITMAP)) && text && isUtf8Text(text) != 0 && wideTextMake(&w, text)) {
        BOOL result = InsertMenuW(menu, position, flags, id, w.text);
        wideTextFree(&w);
        return result;
    }
    return InsertMenuA(menu, position, flags, id, text);
}

void hookComboUtf8(HWND combo) {
    if (!combo || GetPropA(combo, UTF8_PROP_OLD_PROC)) return;
    SetPropA(combo, UTF8_PROP_OLD_PROC_WIDE, reinterpret_cast<HANDLE>(GetWindowLongPtrW(combo, GWLP_WNDPROC)));
    LONG_PTR old = SetWindowLongPtrA(combo, GWLP_WNDPROC, LONG_PTR(&comboProc));
    SetPropA(combo, UTF8_PROP_OLD_PROC, reinterpret_cast<HANDLE>(old));
    if (!comboClassAtom) comboClassAtom = ATOM(GetClassWord(combo, GCW_ATOM));
}
