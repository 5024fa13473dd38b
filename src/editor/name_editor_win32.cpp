// The in-place name editor in Win32: the one edit field of the process over a name of the
// channel strips, its key hook through the host's accelerator registry, and its focus watch.
#include <windows.h>

#include "editor/dialog_parts.h"

bool nameEditorMessage(SurroundPanner*, const DialogMessage&) { return false; }

void nameEditorDialogGone(SurroundPanner*) {}
