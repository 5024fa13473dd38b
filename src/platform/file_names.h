// The quick test by which the file calls of the platform layer choose between the narrow and the
// wide open of a file name. Used by the Windows file calls; the rule holds on every platform.
// The long-path form of a wide name is the text layer's (utf8_text.h).
#pragma once

// [any thread] Whether a name should be converted from UTF-8 rather than passed as bytes: true
// at the first 2-byte or 3/4-byte lead followed by its continuation bytes, or once 256 bytes
// went by without a verdict; false for null, empty, or a NUL within the first 256 bytes.
bool looksLikeUtf8(const char* name);
