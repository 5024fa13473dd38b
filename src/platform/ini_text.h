// The text side of ini-file profile access: parsing values and rewriting a file's lines.
// Used by the POSIX profile calls; kept apart so the rules can be read in one place.
#pragma once

#include <string>

// The integer reading of a profile value: blanks, a sign, a 0x/0o/0b prefix, then digits as far
// as they go, wrapping at 32 bits. An empty text gives `fallback`.
int iniParseInt(const char* text, int fallback);

// Finds key in section inside an ini text. Returns true and the trimmed, unquoted value.
bool iniFindValue(const std::string& text, const char* section, const char* key, std::string* value);

// Rewrites an ini text with key = value set in section (created at the end when missing).
// A null value removes the key, a null key removes the section. Other lines are kept as they are.
std::string iniSetValue(const std::string& text, const char* section, const char* key, const char* value);

// Copies text into out, cut to capacity - 1 bytes without splitting a UTF-8 sequence, and
// NUL-terminates it. Returns the bytes written without the NUL; capacity below 1 writes nothing.
int iniCopyValue(const char* text, char* out, int capacity);
