#include "editor/editor.h"

#include <cstring>

#include "editor/dialog_frame.h"
#include "engine/instance.h"
#include "engine/parameter_map.h"
#include "engine/position.h"

namespace {

constexpr uint32_t GESTURE_TIMEOUT_MS = 500;
// The size hints record: the flags word and the row height the view asks for.
constexpr int32_t VIEW_SIZE_FLAGS = 0x10000;
constexpr int32_t VIEW_ROW_HEIGHT = 20;
// Fields of the message record that hold the pointer.
constexpr int VIEW_POINTER_X = 8;

}  // namespace

intptr_t editorGetRect(SurroundPanner* p, void* ptr) {
    if (!ptr) return 0;
    editorRect(p, &p->editorRect);
    *static_cast<ERect**>(ptr) = &p->editorRect;
    return 1;
}

void editorIdle(SurroundPanner* p, uint32_t now) {
    if (p->dragState[DRAG_INPUT] < 0 && p->lastGestureTick && now - p->lastGestureTick > GESTURE_TIMEOUT_MS)
        endGestures(p);
}

intptr_t editorViewMessage(SurroundPanner* p, int message, int32_t* record) {
    switch (message) {
        case VIEW_MSG_NONE: return 1;
        case VIEW_MSG_SIZE_HINTS:
            if (record) {
                record[0] = VIEW_SIZE_FLAGS;
                record[6] = VIEW_ROW_HEIGHT;
            }
            return 1;
        case VIEW_MSG_PAINT: return 0;  // nothing is painted without a room view
        case VIEW_MSG_LEFT_UP:
            // The gesture ends: the drag goes idle, the edit closes and so do its gestures.
            std::memcpy(p->dragState, DRAG_IDLE, sizeof DRAG_IDLE);
            std::memset(p->marqueeRect, 0, sizeof p->marqueeRect);
            std::memset(p->dragAnchor, 0, sizeof p->dragAnchor);
            beginEdit(p);
            endGestures(p);
            return 1;
        case VIEW_MSG_RIGHT_DOWN:
            // A marquee starts in the small view, both corners at the pointer.
            if (p->uiFlags & FLAG_LOCK_INPUTS) return 1;
            p->dragState[DRAG_PANE] = DRAG_PANE_SMALL_VIEW;
            p->dragState[DRAG_MARQUEE] = DRAG_MARQUEE_SMALL_VIEW;
            if (record)
                for (int k = 0; k < 4; k++) p->marqueeRect[k] = record[VIEW_POINTER_X + (k & 1)];
            return VIEW_TOOK;
        case VIEW_MSG_MOVE:
        case VIEW_MSG_LEFT_DOWN:
        case VIEW_MSG_DOUBLE:
        case VIEW_MSG_RIGHT_UP: return 1;
        default: return 0;
    }
}
