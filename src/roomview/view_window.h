// The room view's window class procedure: the child window of the editor dialog that shows the
// room. Registered with the window class by the first instance of the effect. Also the view's few
// calls into the window system that its portable parts need. [window thread]
#pragma once

#include <cstdint>

struct SurroundPanner;

// The dialog's message that a speaker drag ended: it refreshes its center and side controls.
constexpr unsigned MSG_REFRESH_CENTER_SIDE = 0x4CA;
// The dialog's message that the options menu asked for the names and colours of the sending
// tracks: the dialog, which lies above the view, carries out the import.
constexpr unsigned MSG_IMPORT_SENDING_TRACKS = 0x4CB;

// The procedure of the class (a WNDPROC in Windows builds); null elsewhere, where the class has
// the default procedure.
void* roomViewWindowProcedure();

// The keys held now, as POINTER_SHIFT, POINTER_CTRL and POINTER_ALT bits; 0 without a keyboard.
uint32_t viewKeyState();
// Tells the open editor dialog that a speaker drag ended, so that it refreshes the center and
// side controls; nothing while no dialog is open.
void tellDialogSpeakersMoved(SurroundPanner* p);
