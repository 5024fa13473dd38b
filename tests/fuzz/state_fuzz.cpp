// Any bytes as a state chunk: the load, one block of audio with the counts it brings, an idle
// call and a save must stay inside their memory and keep the output finite.
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "engine/audio_block.h"
#include "fuzz_host.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/state_chunk.h"
#include "support/audio_run.h"

namespace {

// Counts from 4097 to 65536 only zero-fill more records of the same kind: costly per run, with
// nothing new to reach, so the fuzzer leaves them to the unit tests.
bool hugeButValidCounts(const uint8_t* data, size_t size) {
    for (size_t at : {size_t(48), size_t(52)}) {
        if (size < at + 4) return false;
        int32_t n = int32_t(uint32_t(data[at]) | uint32_t(data[at + 1]) << 8 | uint32_t(data[at + 2]) << 16 |
                            uint32_t(data[at + 3]) << 24);
        if (n > 4096 && n <= 65536) return true;
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (hugeButValidCounts(data, size)) return 0;
    hostCallback = fuzzHostCallback;
    SurroundPanner* p = createPanner();
    if (!p) return 0;
    AEffect* e = &p->effect;
    e->dispatcher(e, effSetChunk, 0, intptr_t(size), const_cast<uint8_t*>(data), 0.0f);

    // Buffers for the counts the effect shows now; the first block takes the loaded counts.
    constexpr int FRAMES = 64;
    AudioRun run(e);
    for (int block = 0; block < 2; block++) {
        if (e->numInputs > 256 || e->numOutputs > 256) break;  // a block this wide costs the fuzzer time, not coverage
        for (const auto& b : run.block(FRAMES, [](int, long long) { return 0.5; }))
            for (int k = 0; k < FRAMES; k++)
                if (!std::isfinite(b[size_t(k)])) std::abort();
    }
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    void* saved = nullptr;
    e->dispatcher(e, effGetChunk, 0, 0, &saved, 0.0f);
    e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
    return 0;
}
