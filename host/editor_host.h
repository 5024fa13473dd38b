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
// [window thread] A rectangle of the screen in pixels, as it shows now, as a PNG; empty when
// nothing can be read.
std::vector<unsigned char> editorHostCaptureScreen(int x, int y, int w, int h);
// [window thread] The editor's window: the first child of the host's window, or null.
void* editorHostDialog(EditorHost* h);

// [window thread] One message of the host's loops: the plugins' key hooks see it first, and one
// that a hook eats goes no further; then it is translated and dispatched. The reference host
// binds no keys of its own, so a message that a hook hands past them goes the usual way too.
void editorHostDispatch(void* message);

// [window thread] Posts text as a user types it, one character message after the other, to a
// window; and a key going down. Both go through the host's loop, where the key hooks see them.
void editorHostPostText(void* window, const std::string& utf8);
void editorHostPostKey(void* window, unsigned virtualKey);
// [window thread] A visible text field among the window's descendants that a plugin marked as
// keeping its keys (0xDEADF00B in its user data), or null.
void* editorHostKeyField(void* window);

// [window thread] The popup menus open on this thread now (their windows).
std::vector<void*> editorHostPopupMenus();

// The state of a menu pick: armed and waiting for a menu, the item chosen, or given up.
enum { EDITOR_PICK_NONE, EDITOR_PICK_WAITING, EDITOR_PICK_CHOSEN, EDITOR_PICK_FAILED };
// [window thread] Chooses an item of the next popup menu that opens on this thread, with the keys
// a user presses: path holds the item's position in the menu (separators count) and, for an item
// of a submenu, its position there. Returns at once: a timer sends the keys while the menu runs
// its own loop. A position the menu does not have, a separator, or an item the menu does not
// take (greyed) closes the menu, and the pick fails.
void editorHostPickMenu(const std::vector<int>& path);
// [window thread] How the last pick stands; editorHostPickCancel stops one still waiting (it
// then counts as failed).
int editorHostPickState();
void editorHostPickCancel();
// [window thread] effEditClose, then the window goes; a closed host does nothing.
void editorHostClose(EditorHost* h);
