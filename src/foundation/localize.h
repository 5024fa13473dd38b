// Translation of user-visible text through the host's localisation function, with a cache
// shared by the whole process. Called by every unit that shows text: speaker names, parameter
// names and values, the dialog.
#pragma once

// Flag of localize: the text is no lasting literal, so it is neither looked up nor stored.
constexpr int LOCALIZE_TRANSIENT = 2;

// [any thread] The host's translation of text in section, or text itself when the host has no
// translation function or none for it. Literal texts are cached by their addresses, so text and
// section must live as long as the process unless LOCALIZE_TRANSIENT is set.
const char* localize(const char* text, const char* section, int flags);
