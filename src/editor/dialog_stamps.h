// Change detection for the editor dialog: the 64-bit hashes over groups of the instance's state
// that the dialog's 50 ms tick compares with their last value, and the order in which the tick
// refreshes what changed. Called by the dialog's window code and by handlers that show a change
// themselves; portable, no window calls.
#pragma once

#include <cstddef>
#include <cstdint>

struct SurroundPanner;


// [window thread] The hash of one group as the instance holds it now (STAMP_VALUES ..
// STAMP_NAMES, STAMP_HOST_STATE); FNV_OFFSET_BASIS for any other index.
uint64_t computeStamp(const SurroundPanner* p, int which);
// [window thread] Computes the stamp, stores it in editorStamps and says whether it changed.
bool updateStamp(SurroundPanner* p, int which);

// Process-wide: above 0 while the dialog writes to its own controls; the notifications this
// causes are ignored. [window thread]
extern int32_t controlsUpdating;

// What one tick of the dialog is to do, in the order the bits are listed.
enum : uint32_t {
    TICK_RESTART_TIMER = 0x1,  // the room view was busy: the timer starts again at 50 ms
    TICK_POSITION_ROW = 0x2,
    TICK_RELAYOUT = 0x4,
    TICK_REFRESH_ALL = 0x8,
    TICK_REBUILD_LISTS = 0x10,  // with TICK_REFRESH_ALL: the names changed as well
    TICK_VALUE_ROW = 0x20,
    TICK_NAMES = 0x40,
    TICK_VIEW_STAMPS = 0x80,   // the room view has a bitmap: ask its stamps
    TICK_METERS = 0x100,
    TICK_HOST_STATE = 0x200,   // tell the host that its state changed
    TICK_UPDATE_WINDOW = 0x400,  // the position row changed while a speaker is dragged
    TICK_SKIPPED = 0x80000000,  // a drag of the view runs and did not move: nothing at all
};

// [window thread] The stamps part of a tick: clears viewBusy, computes the five dialog stamps and
// the host state stamp, and returns the TICK_ bits of what is to be refreshed. The caller holds
// controlsUpdating raised while it carries them out.
uint32_t planTick(SurroundPanner* p);

// [window thread] Tells the host that its state changed though no parameter did.
void notifyHostStateChanged(SurroundPanner* p);

// [window thread] The value the value row shows, when its channel and kind are valid.
bool valueRowValue(const SurroundPanner* p, double* out);
