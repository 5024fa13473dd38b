#include "shell/panner.h"

#include <cstdlib>
#include <type_traits>

#include "engine/audio_block.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
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
    // 1. The editor window belongs to the dialog, which closes it.
    p->editorWindow = nullptr;
    // 2. Delay lines, last to first.
    releaseDelayLines(p);
    // 3. The last instance takes the window class, the shared chunk buffer and the label font
    // with it.
    if (--instanceCount == 0) {
        windowClassUnregister(VIEW_WINDOW_CLASS);
        releaseStateBuffer();
        releaseLabelFont();
    }
    // 4. Gestures, then the grow buffers in reverse order of construction.
    GrowBuffer* containers[INSTANCE_CONTAINER_COUNT];
    int count = instanceContainers(p, containers);
    for (int i = count - 1; i >= 0; i--) growBufferFree(containers[i]);
    // 5. The lock last.
    lockDestroy(&p->stateLock);
    std::free(p);
}
