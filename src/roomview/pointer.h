// Pointer editing in the room view: picking, dragging and marquee selection of inputs, dragging
// of speakers in hand-made layouts, the orbit camera and the buttons inside the picture. Works on
// client pixels and a client size, for the window or the small view, with the keys held given by
// the caller. Called by the view's window procedure, the small view's vendor call and the
// reference host. Everything here runs on the window thread [window thread] and takes no lock.
#pragma once

#include <cstdint>

#include "engine/instance.h"
#include "roomview/scene.h"

// Keys held at the moment of a pointer message.
enum : uint32_t { POINTER_SHIFT = 1, POINTER_CTRL = 2, POINTER_ALT = 4 };

// One pointer message: where (client pixels), the client size, which view, the keys.
struct ViewPointer {
    int x, y;
    int width, height;
    bool small;
    uint32_t keys;
};

// A press on the "Options" or "Z shape" button asks its caller for a popup menu at (x, y), the
// button's lower left corner in client pixels; the caller shows it and hands the chosen command to
// viewMenuCommand.
enum { VIEW_MENU_NONE = 0, VIEW_MENU_OPTIONS = 1, VIEW_MENU_ZSHAPE = 2 };
struct ViewMenuRequest {
    int menu;
    int x, y;
};
// Commands: the "Options" menu's, and the "Z shape" menu's first (ZSHAPE_MENU_FIRST + zShape).
enum { OPTIONS_IMPORT_NAMES = 100, OPTIONS_AUTO_SEND_NAMES = 101, ZSHAPE_MENU_FIRST = 100, ZSHAPE_MENU_COUNT = 7 };

// A channel under the pointer: input or speaker index, -1 when none.
struct ChannelHit {
    int input;
    int speaker;
};

// ---- geometry ----

// With small: PANE_INLINE, x and y left as they are. With pane >= 0: x and y made relative to
// that pane, which is returned, or -1 when the mode has no such pane. With pane < 0: the mode's
// panes in index order with no margin, then margins of a 32nd and a 16th of the size; the first
// hit is returned with x and y relative to it, -1 when none.
int findPane(const SurroundPanner* p, int* x, int* y, int width, int height, bool small, int pane);
// The pane's camera, sized to the pane in a view of width by height; null without cameras.
Camera* paneCamera(SurroundPanner* p, int pane, int width, int height);
// The channel nearest the camera within its disc around the pane-relative point: inputs first
// (any hit among them ends the search), then speakers. The window looks at half the disc, the
// small view at half, then at all of it. grabOffset gets the hit's screen place minus the point.
// Needs paneCamera for the pane first.
ChannelHit hitChannel(SurroundPanner* p, int pane, int x, int y, int width, int height, bool small, bool wantInputs,
                      bool wantSpeakers);
// The room point under pane pixel (px, py) on the plane where axis (0 X, 1 Y, 2 Z) = value. False
// when the pixel's ray runs along that plane.
bool pixelToPlane(const SurroundPanner* p, int pane, int px, int py, int axis, double value, double out[3]);

// ---- gestures ----

// Puts the gesture's fields (dragState, marqueeRect, lastPointer, grabOffset, dragAnchor) to idle.
void resetDrag(SurroundPanner* p);
// Left button down: the buttons of the window, then the channel under the pointer with the
// selection rules. True when a drag (of inputs, a speaker or the orbit camera) begins. A press on
// a menu button fills *menu (when given) and gives false.
bool pointerDown(SurroundPanner* p, const ViewPointer& at, ViewMenuRequest* menu);
// Pointer moved during a gesture: turns the orbit camera, stretches the marquee, or moves the
// dragged inputs or speaker by the pointer's travel in room units. True when it took the move.
bool pointerMove(SurroundPanner* p, const ViewPointer& at);
// Left button up: ends the gesture, takes a new edit snapshot and closes the host's gestures.
void pointerUp(SurroundPanner* p);
// Right button down: a marquee starts in the pane under the pointer (the small view's one pane).
// False while inputs are locked or outside every pane.
bool marqueeDown(SurroundPanner* p, const ViewPointer& at);
// Right button up: the inputs inside the marquee are selected (Shift adds to the selection, Ctrl
// toggles). False while inputs are locked or when no marquee runs.
bool marqueeUp(SurroundPanner* p, const ViewPointer& at);
// Double click: on a speaker the selected inputs go to it, on an input that input goes back to its
// default place. True when a channel was hit.
bool pointerDouble(SurroundPanner* p, const ViewPointer& at);

// ---- the buttons' menus ----

// Whether a menu entry shows checked.
bool viewMenuChecked(const SurroundPanner* p, int menu, int command);
// Carries out a command of a button's menu. False for a command left to the caller: the import of
// names and colours from the sending tracks (OPTIONS_IMPORT_NAMES) belongs to the dialog.
bool viewMenuCommand(SurroundPanner* p, int menu, int command);

// ---- the window's and the small view's messages ----

enum { VIEW_MOUSE_MOVE, VIEW_MOUSE_LEFT_DOWN, VIEW_MOUSE_LEFT_UP, VIEW_MOUSE_DOUBLE, VIEW_MOUSE_RIGHT_DOWN, VIEW_MOUSE_RIGHT_UP };
// What the window must do after a mouse message: take or let go of the capture, ask for a repaint
// (bits of viewRedrawFlags), show a menu.
struct ViewMouseAnswer {
    bool capture;
    bool release;
    uint32_t redraw;
    ViewMenuRequest menu;
};
// The window's mouse messages; captured says whether the window holds the capture.
ViewMouseAnswer windowMouseMessage(SurroundPanner* p, int message, const ViewPointer& at, bool captured);
// The small view's mouse messages of the vendor call (0x200 to 0x205, ptr: the record with the
// size and the pointer). True when the message was one of them, with the call's result in *result:
// 0x1000000 when the host is to capture the pointer (or the move was taken), else 1.
bool smallViewPointerMessage(SurroundPanner* p, int message, void* ptr, uint32_t keys, intptr_t* result);
