// The fillers of untextured faces: one row loop for each fill mode (with its own loops for full
// and half opacity in the normal mode), each colour source (flat or smooth) and each use of the
// depth buffer, so that no pixel chooses its way. Called by Camera::fillTriangle.
#pragma once

#include <cstdint>

#include "renderer/scan.h"

// The constants of one face's rows: what depends only on the source colour and the opacity is
// worked out once for a flat face (and for the alpha byte, whose source is always 255).
struct PlainFill {
    int opacity;          // 0..256 is the usual range
    int source[3];        // red, green, blue 0..255 of a flat face
    int channel[3];       // the mode's constant for each colour channel of a flat face
    int alphaChannel;     // the same for the alpha byte
    uint32_t pixel;       // normal mode at full opacity: the finished pixel of a flat face
    uint32_t halfPixel;   // normal mode at half opacity: the source halved, and its low bits
    uint32_t oddBits;
};

// [window thread] Prepares fill for a face drawn in mode (FILL_ 0..5) at opacity (0 < a) with
// the flat colour (0..255 each; ignored when smooth) and gives its row filler; null for a mode
// above 5 or an opacity of 0, which draw nothing.
RowFiller preparePlainFill(PlainFill* fill, int mode, int opacity, bool smooth, const int flat[3], DepthUse depth);
