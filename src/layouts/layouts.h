// The built-in speaker layouts and the operations that change the channel counts: the layout
// table, the slot positions of each family, applying a layout, changing the speaker or input
// count, and the rule that places inputs on the speakers. Called by the constructor, the
// dispatcher's channel negotiation, the chunk and preset loaders and the dialog.
#pragma once

struct SurroundPanner;
struct Point3;

enum { LAYOUT_CUSTOM = 0, LAYOUT_STEREO = 1 };
enum { LAYOUT_SLOTS_MAX = 16, SLOT_VACANT = -1 };

struct LayoutRow {
    int id;
    const char* name;
    int family;  // 0 rectangular, 1 quadraphonic order, 2 circular, 3 the Auro family
    int count;
    const char* letter;
    int slots[LAYOUT_SLOTS_MAX];
};
// The rows in lookup order, "Custom speakers" last.
extern const LayoutRow LAYOUT_TABLE[];
extern const int LAYOUT_COUNT;
// The dialog's layout menu, top to bottom, by id.
extern const int LAYOUT_MENU_ORDER[20];

constexpr int SPEAKER_COUNT_MAX = 32;  // through the count control
constexpr double SLOT_COLLISION = 0.0625;

// [any thread] The position of a slot (low five bits) in a family (outside 1..3: family 0).
Point3 slotPosition(int slot, int family);
// [any thread] The row for an id (> 0), or for a count and family (id < 0; any family as a second
// choice); Stereo when nothing fits or id is 0. Writes the row's family and count back.
int lookupLayout(int id, int* family, int* count);
// [any thread] The row with that id, or null.
const LayoutRow* layoutRow(int id);
// [any thread] The default layout for a channel count.
int layoutForChannelCount(int channels);

// [any thread, takes stateLock] Replaces all speakers by those of a built-in layout, named and
// analysed. Works with fewer speakers when the array cannot grow. Returns the id applied.
int applyLayout(SurroundPanner* p, int id);
// [any thread, takes stateLock] The speaker count control: up to 32 speakers, the setup becomes
// custom, new speakers take free slots. Returns the count applied.
int setSpeakerCount(SurroundPanner* p, int count);
// [any thread, takes stateLock] The input count; new inputs get their working places. The caller
// follows with finishEdit(true). Returns false, count unchanged, when the array cannot grow.
bool setInputCount(SurroundPanner* p, int count);
// [window or automation thread] beginEdit, then working positions by the default rule for one
// input (which >= 0) or all. The caller follows with finishEdit(true).
void resetInputPositions(SurroundPanner* p, int which);
// [window thread, takes stateLock] The "4=LFE" box of the speakers.
void toggleLfeSpeaker(SurroundPanner* p);
