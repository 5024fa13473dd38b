// A stand-in host for the fuzz targets: it answers the channel-count query and nothing else, so
// instances come straight from the core library without a plugin binary.
#pragma once

#include "foundation/host_api.h"

inline intptr_t VST_CALL fuzzHostCallback(AEffect*, int32_t opcode, int32_t index, intptr_t value, void*, float) {
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY && value == HOST_QUERY_CHANNEL_COUNT) return 2;
    return 0;
}
