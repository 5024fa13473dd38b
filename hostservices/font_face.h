// The glyph side of the host's font objects: a system font opened for drawing, text measured and
// rendered as coverage. FreeType with Liberation Sans (Arial's metrics) on Linux, GDI on
// Windows. Called by the host's font objects only.
#pragma once

#include <cstdint>

#include "foundation/font.h"

struct FontFace;

// [one thread per face] Opens a system font of fontCreate for drawing; the face does not own
// it. Null when the font cannot be read or has no face file.
FontFace* fontFaceOpen(void* systemFont);
void fontFaceClose(FontFace* face);

// [one thread per face] Pixels from one line to the next.
int fontFaceLineHeight(FontFace* face);

// [one thread per face] The size in pixels of count bytes of UTF-8 text laid out by the
// MIRQ_DT_ flags: the widest line and the height of all lines.
void fontFaceMeasure(FontFace* face, const char* text, int count, int dtFlags, int* width, int* height);

// [one thread per face] Lays text out in box by the flags and adds its glyphs' coverage (0..255)
// to mask, maskWidth by maskHeight bytes, row by row; box is in mask pixels and may reach past
// the mask, which clips. Returns the text's height in pixels.
int fontFaceRender(FontFace* face, const char* text, int count, int dtFlags, const TextRect& box, uint8_t* mask,
                   int maskWidth, int maskHeight);
