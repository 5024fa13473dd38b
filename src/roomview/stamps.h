// The room view's two change stamps: hashes of what the view shows of the inputs and of the
// speakers, and the redraw requests they lead to. Asked by the editor's refresh tick, the small
// view's paint and the pointer's release. [window thread]
#pragma once

#include <cstdint>

#include "engine/instance.h"

// viewRedrawFlags
enum : uint32_t { VIEW_REDRAW_PAINT = 1, VIEW_REDRAW_WORLD = 2 };

// Hash what the view shows of the inputs or of the speakers, store it in the view's stamp and
// say whether it differs from the stored one.
bool inputStampChanged(SurroundPanner* p, bool small);
bool speakerStampChanged(SurroundPanner* p, bool small);
