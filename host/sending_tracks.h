// The reference host's project of tracks that send to the effect's track: read from a small
// text file (refHostLoadTracks, host.h), and told to the effect through the two host services of
// the routing. The handles the effect gets from the two queries are the RefHost itself.
#pragma once

#include <cstdint>

// [any thread] fxGetSetPinMap2 for input pins (isOutput 0; output pins have none): for pinBase
// 0, 32, 64 or 96, sets bit k of word w of map (128 words) when track channel pinBase + k feeds
// pin w. Returns 1, or 0 for a null handle or map, or for output pins.
int hostPinMap(void* fx, int isOutput, uint32_t* map, int pinBase, int count);
// [any thread] GetReceiveChannelInfo: the channel's name into name (cut to size - 1 bytes at a
// whole character) and its colour word. False, with nothing written, for a channel the project
// does not have.
bool hostReceiveChannelInfo(void* track, int channel, char* name, int size, int* colour);
