// The room view's paint: the layers of one picture in their order, the cached room and its 2 by 2
// filter, and the small view that a host paints through the vendor call (whether anything visible
// changed is roomview/stamps). Called by the view's window (roomview/view_window_win32), the
// dispatcher and the reference host. [window thread]
#pragma once

#include <cstdint>

#include "engine/instance.h"
#include "foundation/bitmap.h"
#include "foundation/theme_colours.h"
#include "roomview/stamps.h"

// Draws the whole picture into bitmap (W by H logical pixels). The room is rendered only when
// worldChanged, or in the orbit view; otherwise the cached frame is brought over and the flat
// layers drawn on it. Does nothing without the host's bitmaps.
void paintView(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, bool worldChanged, const ThemeColours& theme);

// The window's paint steps up to the copy to the screen: the redraw flags, roomBitmap at the
// client size w by h, the window's scale against the bitmap's advised one (dpiScale: 256 = 100 %),
// then paintView. The bitmap to copy to the screen, or null.
MIRQ_IBitmap* paintWindowBitmap(SurroundPanner* p, int w, int h, int dpiScale, const ThemeColours& theme);

// The small view's messages of the vendor call: paint (value: the bitmap, ptr: the record, bit 0
// of its flags asking for a paint only on a change), the size hints and the mouse messages (with
// the keys held now). True when the message was one of them, with the call's result in *result.
bool smallViewMessage(SurroundPanner* p, int message, intptr_t value, void* ptr, const ThemeColours& theme,
                      intptr_t* result);

// What all instances share: the speaker sprites and the lists of one paint. The last instance
// frees them; the next paint makes them again.
void releaseRoomViewShared();
