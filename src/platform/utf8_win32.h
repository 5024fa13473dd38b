// The UTF-8 face of the Win32 calls that take or give narrow text: files and folders, ini access,
// window texts, menus and combo boxes. Text that is plain ASCII, or that does not read as UTF-8,
// keeps the narrow call, so names in the system code page still work. For the Win32 units of
// src/ and the host only (never a shared header). Every failure of a conversion (refused text,
// no memory) falls back to the narrow call with the given bytes, whose result then stands.
#pragma once

#include <windows.h>

// ---- files and folders ----
// [any thread] The platform call of the same name with a UTF-8 name; the platform's result and
// last error. A name that reads as UTF-8 or has 256 bytes or more takes the wide call, in the
// long-path form from 256 characters on.
BOOL DeleteFileUtf8(const char* name);
BOOL CreateDirectoryUtf8(const char* name, LPSECURITY_ATTRIBUTES security);
DWORD GetFileAttributesUtf8(const char* name);
// [any thread] The wide call when either name needs it; both names are converted then.
BOOL MoveFileUtf8(const char* from, const char* to);

// A UTF-8 file name in wide form for one call, in the long-path form from 256 characters on: the
// fixed buffer for names below 1000 characters, a heap block for longer ones.
struct WideFileName {
    wchar_t fixed[1024];
    wchar_t* text;
};
// [any thread] False, with nothing held, when the name is null, is not valid UTF-8 or memory is
// out. The last error is kept by both calls.
bool wideFileNameMake(WideFileName* name, const char* utf8);
void wideFileNameFree(WideFileName* name);

// One scan of a folder's entries. The wide calls come first for every folder name, so that
// entries come back in UTF-8 whatever they hold; `wide` keeps which of the two calls opened it.
struct DirectoryScanUtf8 {
    HANDLE find;
    bool wide;
    WIN32_FIND_DATAW foundWide;
    WIN32_FIND_DATAA foundNarrow;
    char wideName[1300];  // the present entry of a wide scan in UTF-8; empty when it won't convert
    const char* name;     // the present entry's name
};
// [any thread] Opens the scan of a folder (one trailing slash or backslash allowed) at its first
// entry. False, with nothing to close, when the folder can't be read.
bool directoryScanOpenUtf8(DirectoryScanUtf8* scan, const char* folder);
// [any thread] Moves to the next entry; false at the end.
bool directoryScanNextUtf8(DirectoryScanUtf8* scan);
// [any thread] Ends a scan that opened.
void directoryScanCloseUtf8(DirectoryScanUtf8* scan);

// ---- ini access ----
// [any thread] The private-profile calls with UTF-8 arguments and results; the wide calls are
// taken when the file's name reads as UTF-8, whatever the other arguments hold. On that way
// GetPrivateProfileStringUtf8 ends its result with one NUL, or two for a list (null section or
// key), returns the bytes before them, zeroes a `size` too small for the NULs, and reads a value
// that does not fit as empty; a null `out` gives 0.
DWORD GetPrivateProfileStringUtf8(const char* section, const char* key, const char* fallback, char* out, DWORD size,
                                  const char* file);
BOOL WritePrivateProfileStringUtf8(const char* section, const char* key, const char* value, const char* file);
UINT GetPrivateProfileIntUtf8(const char* section, const char* key, INT fallback, const char* file);

// ---- window texts, menus, combo boxes ----
// [window thread] SetWindowText with UTF-8; a top-level narrow window of this thread gets the
// wide text through a procedure swapped in for the call.
BOOL SetWindowTextUtf8(HWND window, const char* text);
// [window thread] The text of a dialog's item; 0 when the dialog has no such item.
int setDlgItemTextUtf8(HWND dialog, int id, const char* text);
// [window thread] A window's text as UTF-8 into buffer of size bytes, NUL-terminated; a hooked
// combo box gives its selected item. A null buffer or a size below 1 does nothing; a null
// window empties the buffer.
void getWindowTextUtf8(HWND window, char* buffer, int size);
// [window thread] The same by id; without such an item the buffer becomes empty.
void getDlgItemTextUtf8(HWND dialog, int id, char* buffer, int size);
// [window thread] InsertMenu with a UTF-8 item text (separators and bitmaps pass unchanged).
BOOL InsertMenuUtf8(HMENU menu, UINT position, UINT flags, UINT_PTR id, const char* text);
// [window thread] Makes a combo box take and give UTF-8 through its narrow messages
// (CB_ADDSTRING, CB_INSERTSTRING, CB_FINDSTRING, CB_GETLBTEXT ...). Once per combo box; a null
// window or one already hooked is left alone. The hook removes itself when the box goes.
// CB_GETLBTEXTLEN then answers a bound in bytes (characters x 4 + 32), not the length; list box
// messages with UTF8_LIST_MESSAGE added do the same for LB_GETTEXTLEN and LB_GETTEXT.
void hookComboUtf8(HWND combo);
constexpr UINT UTF8_LIST_MESSAGE = 0x8000;
