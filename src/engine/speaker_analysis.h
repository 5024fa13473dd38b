// Speaker analysis: puts speakers that may stand anywhere onto the 3 x 3 x 2 grid the gain law
// works on. analyzeSpeakers classifies them and gives each a grid position; the reach tables give
// each the distances over which it fades toward its neighbours. Called by the layout operations,
// the chunk and preset loaders and suspend (analysis), and by the audio block (reach tables).
#pragma once

#include <cstdint>

#include "engine/records.h"

struct SurroundPanner;

// The speaker sets the gain law blends, and the bits that keep a speaker out of each.
enum { SPEAKER_SET_COUNT = 4, REACH_ROW_VIEW = 4 };
extern const uint32_t SPEAKER_SET_EXCLUDED[SPEAKER_SET_COUNT];

// Classification thresholds.
constexpr double LAYER_SPLIT = 0.5;
constexpr double NEAR_MIDDLE = 0.125;
constexpr double NEAR_WALL = 0.875;
constexpr double EXACT_SLACK = 0.01;
constexpr double ALIGN_SLACK = 0.001;

// A speaker that takes part in panning: neither an LFE channel nor a vacant one.
inline bool isPanningSpeaker(const PanSpeaker& s) { return !sharedLoad(s.lfe) && !sharedLoad(s.vacant); }

// [any thread, takes stateLock] Recomputes flags, speakerFlagsUnion, the polar cache, the grid
// positions and warpActive of every speaker.
void analyzeSpeakers(SurroundPanner* p);

// [any thread] Bends a point by its angular neighbours' offsets from their grid positions.
// candidates: a 128-bit mask of speaker indices that may serve, or null for every panning speaker.
// A point at the centre, or with no candidate in its layer, keeps x and y. Writes *outX, *outY.
void warpPoint(const SurroundPanner* p, double x, double y, double z, const uint64_t* candidates, double* outX,
               double* outY);

// Whether speaker t may serve as s's neighbour on axis (0 X, 1 Y, 2 Z) at grid distance d. The
// gain law uses reachNeighbourCounts; the room view passes its own rules to buildReachRow.
using ReachNeighbourTest = bool (*)(const PanSpeaker& s, const PanSpeaker& t, int axis, double d);
bool reachNeighbourCounts(const PanSpeaker& s, const PanSpeaker& t, int axis, double d);

// [audio thread, under stateLock] Rewrites row `row` of reachNeg/reachPos of every speaker for
// the speakers not carrying any of `excluded`, with `counts` deciding who is a neighbour.
void buildReachRow(SurroundPanner* p, int row, uint32_t excluded, ReachNeighbourTest counts);
// [audio thread, under stateLock] Rows 0 to 3, one for each speaker set.
void buildReachTables(SurroundPanner* p);
// [window thread] Row REACH_ROW_VIEW, which only the room view reads: every panning speaker
// takes part, a group speaker whose share is 0 reaches nowhere but to its walls, and each
// distance found is weighted by the shares of the speaker's and the neighbour's groups before
// the influence.
void buildViewReachRow(SurroundPanner* p);
