// The gain law: how much of each input goes to each speaker. Each speaker owns a box around its
// grid position reaching to its neighbours; an input's gain at a speaker is the product of three
// one-dimensional fades bent by the pan law, blended over the speaker sets by center % and
// side %, widened by divergence. Called by the audio block inside its locked head.
#pragma once

struct SurroundPanner;

// [any thread] The pan law's fade at t in (0, 1) for a law of lawDb (-6 .. 0).
double panLaw(double t, double lawDb);

// [audio thread, under stateLock] Sizes the gain tables and the gain-row scratch for the present
// counts and zeroes them. Returns false, leaving the old sizes, when memory runs out.
bool sizeGainTables(SurroundPanner* p, int inputs, int speakers);

// [audio thread, under stateLock] Rewrites the target-gain row of one input from the records.
// An index outside the inputs, or tables not sized for the present counts, does nothing.
void computeInputGains(SurroundPanner* p, int input);

// [any thread] The target-gain row of an input, speakerCount() entries; null when not sized.
const double* targetGainRow(const SurroundPanner* p, int input);
