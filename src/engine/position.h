// The position model: how inputs are placed and moved. Each input has an effective position
// (what the gains use, always inside the room), a working position that edits act on (which may
// leave the room), and the position at the start of the edit. Group edits, scene values, the Z
// shape and the LFE input option live here. Called by automation, the dialog and the view.
#pragma once

struct SurroundPanner;

// Edit modes of the dialog's edit rows; from EDIT_SPEAKER on, toward the n-th panning speaker.
enum {
    EDIT_LEFT_RIGHT = 0,
    EDIT_REAR_FRONT = 1,
    EDIT_LOW_HIGH = 2,
    EDIT_DIAGONAL = 3,       // left rear / right front
    EDIT_ANTIDIAGONAL = 4,   // left front / right rear
    EDIT_WIDTH = 5,
    EDIT_ROTATION = 6,
    EDIT_SPEAKER = 7,
};
extern const char* const EDIT_MODE_NAMES[7];

// Z shapes.
enum { ZSHAPE_NONE = 0, ZSHAPE_DOME_UP, ZSHAPE_DOME_DOWN, ZSHAPE_WEDGE_UP, ZSHAPE_WEDGE_DOWN, ZSHAPE_CEILING_UP,
       ZSHAPE_CEILING_DOWN };

// [any thread] The height a Z shape gives the floor point (x, y); shape 0 gives 0.
double zFromShape(int shape, double x, double y);

// [window or automation thread] Snapshot at the start of an edit: every input's work and start
// positions become its effective position, overflow is cleared, lastEditTick is set.
void beginEdit(SurroundPanner* p);
// [window or automation thread] Clamps working positions into effective ones (circle rule of the
// circular layouts, Z shape), moves the focus, optionally recomputes the scene, then reports each
// changed coordinate to the host (highest input first; Z, Y, X) and marks its gains dirty.
void finishEdit(SurroundPanner* p, bool updateScene);

// [window thread] Group edits; delta in room units, in turns for EDIT_ROTATION. A mode that names
// nothing only finishes the edit. All end with finishEdit(true).
void moveGroup(SurroundPanner* p, int mode, double delta);
void centerGroup(SurroundPanner* p, int mode);
void flipGroup(SurroundPanner* p, int mode);

// [automation thread] Moves the group to new scene values (-1..1 per axis), then finishEdit(false).
void setScene(SurroundPanner* p, const double values[3]);
// [window or automation thread] Derives the scene values from the group's working positions and
// reports the ones that changed.
void recomputeScene(SurroundPanner* p);

// [automation thread] One coordinate of one input from the host, in room units; no clamping.
// setInputZ does nothing while a Z shape is in force.
void setInputX(SurroundPanner* p, int index, double value);
void setInputY(SurroundPanner* p, int index, double value);
void setInputZ(SurroundPanner* p, int index, double value);

// [window or automation thread] A new Z shape: inputs' heights follow, each change reported.
void changeZShape(SurroundPanner* p, int shape);
// [window or automation thread] The input at index 3 as the LFE channel, on or off.
void setLfeChannel(SurroundPanner* p, bool on);
