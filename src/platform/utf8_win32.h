// The UTF-8 face of the Win32 calls that take or give narrow text: files and folders, ini access,
// window texts, menus and combo boxes. Text that is plain ASCII, or that does not read as UTF-8,
// keeps the narrow call, so names in the system code page still work. For the Win32 units of
// src/ and the host only (never a shared header).
#pragma once

#include <windows.h>

// ---- files and folders ----
// [any thread] The platform call of the same name with a UTF-8 name; the platform's result.
BOOL DeleteFileUtf8(const char* name);
BOOL CreateDirectoryUtf8(const char* name, LPSECURITY_ATTRIBUTES security);
BOOL MoveFileUtf8(const char* from, const char* to);

// ---- ini access ----
// [any thread] The private-profile calls with UTF-8 arguments and results; the wide calls are
// taken when the file's name reads as UTF-8. GetPrivateProfileStringUtf8 returns the bytes
// written without the NUL, and a value that does not fit reads as empty.
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
void hookComboUtf8(HWND combo);
