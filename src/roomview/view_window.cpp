#include "roomview/view_window.h"

// Builds without windows have no procedure; Windows builds take view_window_win32.cpp.
#if !defined(_WIN32)
void* roomViewWindowProcedure() { return nullptr; }
#endif
