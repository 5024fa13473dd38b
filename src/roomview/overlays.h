// The flat layers drawn over the rendered room: speaker sprites, input discs with their numbers
// and shadows, the selection's rings, names and guide lines, the scene cross, the buttons with
// their pictures, and the marquee. Drawn with the host's drawing functions (each tested for null)
// and the shared label font; called by the view's paint, the buttons' rectangles also by the
// pointer handling. [window thread]
#pragma once

#include <cstdint>

#include "engine/instance.h"
#include "foundation/bitmap.h"
#include "foundation/theme_colours.h"
#include "roomview/scene.h"

// Black or white, whichever stands out on a colour.
uint32_t contrastColour(uint32_t colour);
// The dialog's face colour as 0xFFRRGGBB: system colour 15 from the host, or the classic face.
uint32_t dialogFaceColour();

// The weight of a pane in the size of its input discs and speaker sprites.
double paneWeight(int pane);

// The two axes that a pane's camera shows and the one it looks along (0 X, 1 Y, 2 Z).
void screenAxes(const SurroundPanner* p, int pane, int* fixed, int* first, int* second);

// The window's buttons, in client pixels of a W by H view.
enum { BUTTON_OPTIONS, BUTTON_ZSHAPE, BUTTON_MODE, BUTTON_VIEW };
// False when the button (index 0..2 for the mode and view buttons) is not shown.
bool viewButtonRect(const SurroundPanner* p, int kind, int index, int w, int h, PaneRect* rect);

// The layers, each over every drawn pane of the view (PANE_INLINE in the small view).
void drawSpeakerLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, const ThemeColours& theme);
void drawInputLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small);
void drawSelectionLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small);
void drawButtons(SurroundPanner* p, MIRQ_IBitmap* bitmap);
// The marquee of a running right-button drag, in the pane it started in.
void drawMarquee(SurroundPanner* p, MIRQ_IBitmap* bitmap, const ThemeColours& theme);
// A 24 by 24 picture of a Z shape (1..6) at (x, y); the button and the shape menu share it.
void drawShapePicture(MIRQ_IBitmap* bitmap, int x, int y, int shape, uint32_t colour);

// Frees the speaker sprites shared by all instances; the next speaker layer makes them again.
void releaseViewSprites();
