// The in-place name editor's decisions: what a request to edit a channel's name opens, where the
// field stands, what the host's key hook answers for a key, and how the edited text becomes the
// channel's name. Portable; the window code (name_editor_win32.cpp) acts on the answers. Also the
// one copy of a text into a channel name that all names taken from outside go through.
#pragma once

#include <cstdint>

#include "editor/dialog_layout.h"

struct SurroundPanner;

// What a request to edit item opens (item: an input index, or input count + speaker index).
struct NameEditPlan {
    uint8_t store;  // the item of the request becomes the one edited (nameEditItem := item)
    uint8_t open;   // a field opens over it, when the dialog is open
    int32_t item;   // the item stored and opened
};

// [window thread] The plan for a request. Nothing for an item out of range. A speaker of a
// built-in layout is stored only. An LFE speaker is passed over by one step, backward or forward;
// a step out of the speakers stores the requested item and opens nothing, and a second LFE
// speaker in a row is opened all the same.
NameEditPlan planNameEdit(const SurroundPanner* p, int item, bool backward);

// [window thread] The field's rectangle in the dialog's client pixels: the item's row of its
// strip list, the width of the name column, one row high.
PixelRect nameEditRect(const SurroundPanner* p, int item);

// Keys the hook looks at: the same codes as virtual keys and as typed characters.
enum : uint32_t { NAME_KEY_TAB = 9, NAME_KEY_RETURN = 13, NAME_KEY_ESCAPE = 27 };
// The hook's answers to the host.
enum : int32_t { NAME_KEY_AS_USUAL = 0, NAME_KEY_EATEN = 1, NAME_KEY_TO_FIELD = -1 };

// What the host's key hook does with a key while the field is open: its answer, whether the
// field ends (and keeps its text), and which item opens next.
struct NameKeyAnswer {
    int32_t answer;     // NAME_KEY_
    int8_t end;         // -1: the field stays; 0: it closes, text dropped; 1: text kept
    int32_t nextItem;   // -1: nothing opens; else the item of the next request
    uint8_t backward;   // the next request moves backward
};

// [window thread] The answer for a message of the field: a key going down or a typed character
// (keyMessage), the key's code, the modifiers held, and the item being edited. Tab, Return and
// Escape end the field and are eaten; Tab moves on to the next item, Shift-Tab to the one before
// (not below 0). Other keys with Ctrl go to the field past the host's bindings.
NameKeyAnswer nameEditKey(bool keyMessage, uint32_t key, bool shift, bool ctrl, int32_t item);

// [any thread] Copies text into a channel name: at most 63 bytes, cut before a UTF-8 character
// that would not fit whole. Null gives an empty name.
void copyChannelName(char (&name)[64], const char* text);

// [window thread] The edited text as the name of the input or speaker item points at. False when
// that channel no longer exists.
bool applyEditedName(SurroundPanner* p, int item, const char* text);
