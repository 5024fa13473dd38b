#include "roomview/view_window.h"

// Builds without windows have no procedure, no keyboard and no dialog; Windows builds take
// view_window_win32.cpp.
#if !defined(_WIN32)
void* roomViewWindowProcedure() { return nullptr; }
uint32_t viewKeyState() { return 0; }
void tellDialogSpeakersMoved(SurroundPanner*) {}
#endif
