// The pictures of the channel strips: the button skins of mute, solo and the reverse buttons, and
// the bitmap of both name columns. Drawn through the host's bitmaps and the label font; called by
// the dialog when it opens, paints and closes.
#pragma once

#include <cstdint>

struct SurroundPanner;
struct MIRQ_IBitmap;

// Colours of the skins: mute, solo, the reverse buttons.
constexpr uint32_t SKIN_MUTE_COLOUR = 0xFFE04040;
constexpr uint32_t SKIN_SOLO_COLOUR = 0xFFFFE020;
constexpr uint32_t SKIN_REVERSE_COLOUR = 0xFF20E0FF;

// [window thread] A skin bitmap of three frames, each edge by edge pixels: filled with the on
// colour or with face (0xAARRGGBB), framed, dimmed when asked, with the text centred in every
// frame. Null when the host makes no bitmap.
MIRQ_IBitmap* makeButtonSkin(uint32_t onColour, uint32_t face, int edge, const char* text, bool on, bool dimmed);

// [window thread] Fills stripControls: "M" and "S" off and on, "X", "Y", "Z" off, on, off dimmed,
// on dimmed. Skins already there are freed first.
void buildStripSkins(SurroundPanner* p, int edge, uint32_t face);
// [window thread] Deletes the skins' bitmaps and zeroes every record.
void freeStripSkins(SurroundPanner* p);

// [window thread] Draws the 32 rows of the name columns into bitmap: input row r at
// r * rowH, speaker row r at (16 + r) * rowH, rows alternating by channel index.
void drawNameStrips(const SurroundPanner* p, MIRQ_IBitmap* bitmap, int rowH);
// Black or white, whichever reads on the background.
uint32_t textColorFor(uint32_t background);
