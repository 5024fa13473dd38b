// The channel strips of the editor dialog, without windows: the fader law of each mode of both
// lists, what each of the 16 rows shows, and what a fader, a button, a mode or page list, a click
// or a double click in the name columns does to the records. Called by the strips' Win32 code
// (channel_strips_win32.cpp), which moves the results into the controls.
#pragma once

#include <cstdint>

#include "editor/dialog_controls.h"

struct SurroundPanner;

// The two lists of strips.
enum : int32_t { STRIP_LIST_INPUTS = 0, STRIP_LIST_SPEAKERS = 1 };

// The step between two pages of a list.
constexpr int32_t STRIP_PAGE_STEP = 4;

// [any thread] The strip mode a list shows now (uiFlags' nibble of that list).
int32_t stripMode(const SurroundPanner* p, int32_t list);

// [any thread] The fader law of a list's mode: a value to a position 0..1000 (truncated; a value
// beyond the field's range gives a position beyond the fader's), a position to a value (no clamp:
// positions beyond 0..1000 go on by the same law), and the centre mark. Decibel modes go through
// the host's DB2SLIDER and SLIDER2DB and give 0 (position) or 0.0 (value) when it lacks them. A
// mode that the list does not have gives 0.
int32_t faderPosition(int32_t list, int32_t mode, double value);
double faderValue(int32_t list, int32_t mode, double position);
int32_t faderCentre(int32_t list, int32_t mode);

// What one row of a list shows. The skins are entries of the skin arrays of the row's buttons:
// mute, solo, then for inputs reverse X, Y, Z.
struct StripRowView {
    bool channel;  // a channel stands behind the row; the other fields count only then
    uint8_t skins[5];
    int32_t position;
    bool greyed;  // the fader is drawn grey and takes no input
};
// [window thread] The view of row 0..15 of a list, from the records and the list's mode.
StripRowView stripRowView(const SurroundPanner* p, int32_t list, int row);

// What a fader move asks of the list's other faders: the rows whose channel moved along, with
// their new positions.
struct StripFaderMove {
    bool acted;  // a channel stood behind the row
    uint16_t rowsToSet;
    int32_t positions[STRIP_ROWS];
};
// [window thread] A fader of row 0..15 of a list reports position; ending is its SB_ENDSCROLL.
// Inputs move as a group by the step the fader made; a speaker moves alone. Each changed value is
// stored, its gains asked for and reported to the host; an ending closes the host's gestures. The
// value row then shows this channel in this mode (valueInput, valueSpeaker, valueKind); the
// caller refreshes it. A row past the list's channels does nothing and is not acted.
StripFaderMove stripFaderMoved(SurroundPanner* p, int32_t list, int row, int32_t position, bool ending);

// [window thread] A strip button (a StripRole of mute, solo or reverse) of row 0..15 was clicked
// with the keys held (POINTER_ of roomview/pointer.h). Plain: the flag flips; Ctrl: the column is
// cleared, with Alt as well this row alone is set. Mute and solo tell the host of every write.
// False when the role is no button or the row has no channel.
bool stripButtonClicked(SurroundPanner* p, int32_t role, int row, uint32_t keys);

// [window thread] A fader mode was chosen in list 1277 (inputs) or 1283 (speakers); the value row
// follows when it shows a channel of that list. A position the list does not have is ignored.
void stripModeChosen(SurroundPanner* p, int32_t list, int32_t position);

// The entries of a paging list: "first-last" of each page, one every STRIP_PAGE_STEP channels,
// the last page ending at the count.
constexpr int STRIP_PAGES_MAX = 32;
struct StripPages {
    int32_t count;
    int32_t selected;  // the entry of the page shown now
    char text[STRIP_PAGES_MAX][24];
};
// [any thread] The entries for a count of channels and the first strip shown; false, with no
// entries, for 16 channels or fewer, which need no paging.
bool stripPages(int channels, int first, StripPages* out);
// [window thread] An entry of a paging list was chosen: the list shows its channels from the
// entry's page on. A negative position is ignored.
void stripPageChosen(SurroundPanner* p, int32_t list, int32_t position);

// [window thread] The level in dB of the meter of row 0..15 of a list: -120 for a row without a
// channel, else the peak that the audio thread left.
double stripMeterLevel(const SurroundPanner* p, int32_t list, int row);

// [window thread] A click at client pixel (x, y) with the keys held: in the input name column it
// puts the value row on that input and changes the selection (Shift: a range to the nearer
// selected neighbour, the lower range on a tie; Ctrl: the input flips; else it alone), then
// recomputes the scene. Nothing while the inputs are locked. True when the click hit an input.
bool stripNameClick(SurroundPanner* p, int x, int y, uint32_t keys);

// [window thread] The item of a double click at (x, y) whose name is to be edited in place: an
// input's index (not while the inputs are locked), or the input count plus a speaker's index
// (only for a hand-made layout); -1 when the click hit no name that may be edited.
int32_t stripNameEditItem(const SurroundPanner* p, int x, int y);
