#include "editor/sending_tracks.h"

#include <cstring>

#include "editor/name_editor.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"

namespace {

void* hostHandle(SurroundPanner* p, intptr_t query) {
    if (!hostCallback) return nullptr;
    return reinterpret_cast<void*>(hostCallback(&p->effect, HOST_LOOKUP_OPCODE, HOST_LOOKUP_QUERY, query, nullptr, 0.0f));
}

// The lowest track channel that feeds pin, or -1.
int lowestChannel(const uint32_t (&map)[PIN_MAP_BLOCKS][PIN_MAP_WORDS], int pin) {
    for (int b = 0; b < PIN_MAP_BLOCKS; b++) {
        uint32_t word = map[b][pin];
        if (!word) continue;
        int k = 0;
        while (!(word >> k & 1)) k++;
        return 32 * b + k;
    }
    return -1;
}

}  // namespace

void importSendingTracks(SurroundPanner* p) {
    if (!hostApi.fxGetSetPinMap2) return;
    // The pin map; without a handle of this instance it stays empty.
    uint32_t map[PIN_MAP_BLOCKS][PIN_MAP_WORDS];
    std::memset(map, 0, sizeof map);
    if (void* effectHandle = hostHandle(p, HOST_QUERY_EFFECT_HANDLE))
        for (int b = 0; b < PIN_MAP_BLOCKS; b++) hostApi.fxGetSetPinMap2(effectHandle, 0, map[b], 32 * b, 0);
    void* track = hostHandle(p, HOST_QUERY_TRACK);

    PanInput* in = inputRecords(p);
    for (int i = 0; i < inputCount(p); i++) {
        PanInput defaults;
        newInputRecord(&defaults, i);
        char name[SENDING_NAME_SIZE] = {0};
        int colour = 0;
        bool named = false;
        int channel = i < CHANNEL_MASK_BITS ? lowestChannel(map, i) : -1;
        if (track && channel >= 0 && hostApi.GetReceiveChannelInfo)
            named = hostApi.GetReceiveChannelInfo(track, channel, name, SENDING_NAME_SIZE, &colour);
        name[SENDING_NAME_SIZE - 1] = 0;
        copyChannelName(in[i].name, named && name[0] ? name : defaults.name);
        uint32_t c = uint32_t(colour);
        in[i].color = (c & SENDING_OWN_COLOUR)
                          ? 0xFF000000u | (c & 0xFF) << 16 | (c >> 8 & 0xFF) << 8 | (c >> 16 & 0xFF)
                          : defaults.color;
    }
}
