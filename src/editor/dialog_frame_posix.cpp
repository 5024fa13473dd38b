// The editor where the system has no dialogs: nothing opens, the size is the default one.
#include "editor/dialog_frame.h"

#include "engine/instance.h"

intptr_t editorOpen(SurroundPanner*, void*) { return 0; }

void editorClose(SurroundPanner*) {}

void editorRect(SurroundPanner*, ERect* rect) { *rect = ERect{0, 0, 640, 520}; }
