// Speaker names from where the speakers stand: built word by word from their classification,
// in plain words and in translated ones side by side, with a translation of the whole phrase
// preferred. Called by the layout operations, the preset loader and the dialog.
#pragma once

struct SurroundPanner;

// [window thread, or under stateLock from the layout operations] Names speakers first up to,
// not including, last (cut to the speaker count).
void nameSpeakers(SurroundPanner* p, int first, int last);
