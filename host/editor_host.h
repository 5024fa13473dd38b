// A top-level host window that holds a plugin's editor, as a DAW's effect window does: it opens
// the editor with effEditOpen, sizes itself to effEditGetRect, runs the message loop with the
// host's idle calls, and captures what is on the screen. Windows builds only; used by
// kelvane-host edit and the editor tests.
#pragma once

#include <string>
#include <vector>

#include "vst/aeffect.h"

struct EditorHost {
    void* window;  // the host's top-level window
    AEffect* effect;
};

// [window thread] Registers the host's control classes, makes the window and opens the editor in
// it: framed with a caption for a user, or for pictures a plain popup that never takes the focus
// (an X server without a window manager takes seconds to let a framed or activated window go).
// False with a one-line reason; the host is then closed.
bool editorHostOpen(EditorHost* h, AEffect* effect, bool framed, std::string* error);
// [window thread] Runs the message loop for ms milliseconds, with effIdle and effEditIdle every
// 20 ms.
void editorHostRun(EditorHost* h, int ms);
// [window thread] The window's client area as a PNG, read back from the screen after a full
// redraw; empty when nothing can be read.
std::vector<unsigned char> editorHostCapture(EditorHost* h);
// [window thread] The editor's window: the first child of the host's window, or null.
void* editorHostDialog(EditorHost* h);
// [window thread] effEditClose, then the window goes; a closed host does nothing.
void editorHostClose(EditorHost* h);
