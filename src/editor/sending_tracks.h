// Input names and colours from the tracks that send to the effect's track: the host tells which
// track channels feed which pins, and each channel's name and colour. Called by the dialog, once
// when the view's options menu asks for it and each second while FLAG_AUTO_SEND_NAMES is set.
#pragma once

#include <cstdint>

struct SurroundPanner;

// The host's pin map: PIN_MAP_BLOCKS blocks of PIN_MAP_WORDS words, zeroed first. Bit k of word w
// of block b says that track channel 32 b + k feeds pin w.
constexpr int PIN_MAP_BLOCKS = 4;
constexpr int PIN_MAP_WORDS = 128;
// The name buffer handed to the host, NUL included; and the colour word's bit for "a colour of
// its own" (red in bits 0..7, green 8..15, blue 16..23).
constexpr int SENDING_NAME_SIZE = 128;
constexpr uint32_t SENDING_OWN_COLOUR = 0x1000000;

// [window thread] Gives every input the name and colour of the lowest track channel that feeds
// it, or the default name and colour of its index when none does, the host gives nothing for it,
// or the input lies at index 128 or beyond. Without the host's pin map call nothing happens at
// all; without its channel call every input gets the defaults. Takes no lock, as every other
// write of a name.
void importSendingTracks(SurroundPanner* p);
