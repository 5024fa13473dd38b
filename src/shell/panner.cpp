#include "shell/panner.h"

#include <type_traits>

#include "editor/dialog_frame.h"
#include "engine/audio_block.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "platform/window.h"
#include "roomview/paint.h"
#include "roomview/scene.h"
#include "shell/state_chunk.h"

static_assert(std::is_trivially_copyable_v<SurroundPanner>, "the effect object is zero-filled plain data");

int32_t instanceCount = 0;
const char* const VIEW_WINDOW_CLASS = "Kelvane2Window";

int hostChannelCount() {
    if (!hostCallback) return 2;
    intptr_t n = hostCallback(nullptr, HOST_LOOKUP_OPCODE, HOST_LOOKUP_QUERY, HOST_QUERY_CHANNEL_COUNT, nullptr, 0.0f);
    return (n >= 1 && n <= 128) ? int(n) : 2;
}

void destroyPanner(SurroundPanner* p) {
    if (!p) return;
    // The editor window belongs to the dialog, which closes it; the view's scene and bitmaps go
    // with the instance when no editor took them.
    editorClose(p);
    p->editorWindow = nullptr;
    releaseRoomView(p);
    // Delay lines, last to first.
    releaseDelayLines(p);
    // The last instance takes the window class, the shared chunk buffer, the label font and what
    // the room views share with it.
    if (--instanceCount == 0) {
        windowClassUnregister(VIEW_WINDOW_CLASS);
        releaseStateBuffer();
        releaseLabelFont();
        releaseRoomViewShared();
    }
    // The containers in reverse order of construction, then the lock.
    instanceDestroy(p);
}
