// The host's name prompt (the DoRenameDialogEx service) as a user meets it: a small modal window
// with the prompt, a field holding the text, OK and Cancel. Windows builds; elsewhere there is
// no window to ask in and every prompt is cancelled. Scripted answers are the RefHost's (host.h).
#pragma once

// [window thread] Asks in a window owned by `owner`, the field starting with buffer's text. OK
// puts the field's text into buffer (cut to size - 1 bytes at a whole character) and gives 1;
// Cancel or closing the window gives 0 with buffer untouched, as does a null buffer or a size
// below 1.
int hostNamePrompt(void* owner, const char* title, const char* prompt, char* buffer, int size);
