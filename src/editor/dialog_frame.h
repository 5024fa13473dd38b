// The editor dialog as the dispatcher sees it: open it in the host's window, close it, tell its
// size. The dialog itself is Win32 (dialog_frame_win32.cpp); on other systems there is no
// editor window and opening one fails.
#pragma once

#include <cstdint>

#include "roomview/view_window.h"
#include "vst/aeffect.h"

struct SurroundPanner;

// [window thread] effEditOpen: closes an open dialog, then makes the dialog as a child of parent.
// Returns 1 when it was made, 0 when not (no parent, no template, no system dialogs).
intptr_t editorOpen(SurroundPanner* p, void* parent);
// [window thread] effEditClose: destroys the dialog when it is open; its teardown frees what it made.
void editorClose(SurroundPanner* p);
// [window thread] effEditGetRect: the dialog's client rectangle while it is open, else 520 by 640.
void editorRect(SurroundPanner* p, ERect* rect);

// The dialog's own messages and timers. MSG_REFRESH_CENTER_SIDE (1226) comes from the room view,
// which sends it.
enum : uint32_t {
    MSG_REFRESH_ALL = 1224,
    MSG_RELAYOUT = 1324,
    MSG_NAME_EDIT_BEGIN = 1424,
    MSG_NAME_EDIT_END = 1524,
    MSG_KNOB_GRAB = 2030,
};
enum { TIMER_TICK = 1, TIMER_SENDING_TRACKS = 8, TIMER_NAME_FOCUS = 100 };
constexpr int TICK_PERIOD_MS = 50;
