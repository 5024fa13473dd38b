// The editor's face toward the host: its rectangle, the idle work that
// belongs to the editor's gestures, and the messages of the room view embedded in the host's
// own window. Called by the dispatcher on the host's window thread.
#pragma once

#include <cstdint>

struct SurroundPanner;

constexpr int EDITOR_WIDTH = 520;
constexpr int EDITOR_HEIGHT = 640;

// Messages of the embedded view, as the host numbers them.
enum : int {
    VIEW_MSG_NONE = 0,
    VIEW_MSG_SIZE_HINTS = 0x24,
    VIEW_MSG_PAINT = 0x0F,
    VIEW_MSG_MOVE = 0x200,
    VIEW_MSG_LEFT_DOWN = 0x201,
    VIEW_MSG_LEFT_UP = 0x202,
    VIEW_MSG_DOUBLE = 0x203,
    VIEW_MSG_RIGHT_DOWN = 0x204,
    VIEW_MSG_RIGHT_UP = 0x205,
};
// The answer to a message the view took for itself.
constexpr intptr_t VIEW_TOOK = 0x1000000;

// [window thread] Points *ptr at the editor's rectangle: the open dialog's, else EDITOR_WIDTH by
// EDITOR_HEIGHT. Returns 1, or 0 for a null ptr. Opening and closing are the dialog's
// (editor/dialog_frame.h).
intptr_t editorGetRect(SurroundPanner* p, void* ptr);

// [window thread] Closes every open gesture half a second after the last change, unless a
// drag of inputs runs (the drag's own button release closes them then).
void editorIdle(SurroundPanner* p, uint32_t now);

// [window thread] One message of the embedded room view; record is the host's message record
// (pointer at fields 8 and 9) or null. Returns the message's answer, 0 for an unknown message.
intptr_t editorViewMessage(SurroundPanner* p, int message, int32_t* record);
