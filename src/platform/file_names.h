// The rules a file name passes before it reaches the system: whether its bytes read as UTF-8
// (and so need the wide calls on Windows), and the long-path form of a wide name. Used by the
// Windows file calls of the platform layer; the rules themselves hold on every platform.
#pragma once

// Names from this length on go the wide way whatever they hold, and get the long-path form.
constexpr int FILE_NAME_LONG = 256;
// Room a wide name needs behind its end for the long-path prefix ("\\?\UNC\" replaces "\\").
constexpr int FILE_NAME_PREFIX_ROOM = 8;

// [any thread] Whether a name should be converted from UTF-8 rather than passed as bytes: true
// at the first 2-byte or 3/4-byte lead followed by its continuation bytes, or once 256 bytes
// went by without a verdict; false for null, empty, or a NUL within the first 256 bytes.
bool looksLikeUtf8(const char* name);

// [any thread] Puts a wide name of FILE_NAME_LONG characters or more into its long-path form, in
// place: "\\?\" before a drive name ("C:..."), "\\?\UNC\" for the two leading backslashes of a
// share name, and then every '/' behind the prefix becomes '\'. Any other name (shorter, or
// relative) is left as it is. `capacity` counts wide characters with the NUL; a name that would
// not fit stays as it is. Returns the length after the change.
int longNameForm(wchar_t* name, int capacity);
