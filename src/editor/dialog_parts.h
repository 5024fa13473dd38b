// The parts of the editor dialog as its window procedure reaches them: the selected-channel
// controls, the channel strips, the two menu buttons and the in-place name editor. Each part
// keeps its window code in its own *_win32.cpp file; the frame (dialog_frame_win32.cpp) hands it
// the messages it owns and calls its refreshes in the tick's order. Windows builds only; no
// system header here, windows and messages go as plain integers.
#pragma once

#include <cstdint>

struct SurroundPanner;

// One message of the dialog's procedure.
struct DialogMessage {
    void* dialog;  // HWND of the dialog
    uint32_t message;
    uintptr_t wParam;
    intptr_t lParam;
};

// ---- selected-channel controls (selected_controls_win32.cpp) ----
// [window thread] The body of MSG_REFRESH_ALL after the strips: lists, counts, check marks,
// enable states, the edit rows' lists (rebuilt when asked), Center and Side.
void refreshSelectedControls(SurroundPanner* p, void* dialog, bool rebuildRowLists);
// [window thread] The position row, the value row, and the enable state of Center and Side.
void refreshPositionRow(SurroundPanner* p, void* dialog);
void refreshValueRow(SurroundPanner* p, void* dialog);
void refreshCenterSide(SurroundPanner* p, void* dialog);
// [window thread] A debounce timer (2 to 7) fired: applies what its fields hold.
void applyDebouncedFields(SurroundPanner* p, void* dialog, int timer);
// [window thread] WM_COMMAND, WM_HSCROLL and the knobs' messages of the upper controls; true when
// the message was theirs.
bool selectedControlsMessage(SurroundPanner* p, const DialogMessage& m);

// ---- channel strips (channel_strips_win32.cpp) ----
// [window thread] The strip half of MSG_REFRESH_ALL: skins, fader positions and centre marks.
void refreshStrips(SurroundPanner* p, void* dialog);
// [window thread] The meters of the 16 rows of both lists, every tick.
void refreshMeters(SurroundPanner* p, void* dialog);
// [window thread] At MSG_RELAYOUT: the paging lists of a side with more than 16 channels.
void rebuildPagingLists(SurroundPanner* p, void* dialog);
// [window thread] Faders, buttons and lists of the strips, clicks in the name columns; true when
// the message was theirs.
bool channelStripsMessage(SurroundPanner* p, const DialogMessage& m);

// ---- menus of the dialog's buttons (dialog_menus_win32.cpp) ----
// [window thread] Shows a popup menu (an HMENU) at the lower left corner of a button, owned by the
// dialog, and destroys it. Returns the command chosen, 0 when the menu closed without one or is
// null.
int32_t trackPopupAtButton(void* dialog, int buttonId, void* menu);
// [window thread] WM_COMMAND of "Pan law" and "Speaker presets"; and the import of names from
// the sending tracks: MSG_IMPORT_SENDING_TRACKS from the room view, and the timer that repeats it
// while the option is on. True when the message was theirs.
bool dialogMenusMessage(SurroundPanner* p, const DialogMessage& m);

// ---- in-place name editor (name_editor_win32.cpp) ----
// [window thread] MSG_NAME_EDIT_BEGIN, MSG_NAME_EDIT_END and the focus watch's timer; true when
// the message was theirs.
bool nameEditorMessage(SurroundPanner* p, const DialogMessage& m);
// [window thread] WM_DESTROY of the dialog: an editor of this instance closes, its text dropped.
void nameEditorDialogGone(SurroundPanner* p);
