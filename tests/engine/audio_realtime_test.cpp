// The audio block's real-time promises: no heap allocation once a shape has run, and a clean
// run with another thread changing the records the whole time.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "engine/parameter_map.h"
#include "shell/parameters.h"
#include "support/audio_run.h"
#include "support/panner_fixture.h"
#include "support/speaker_rigs.h"

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KVP_COUNT_ALLOCATIONS 1
// Every heap allocation of the process passes here while the test binary runs.
static std::atomic<long> heapAllocations{0};
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
__attribute__((visibility("default"))) void* malloc(size_t n) {
    heapAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(n);
}
__attribute__((visibility("default"))) void* calloc(size_t a, size_t b) {
    heapAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(a, b);
}
__attribute__((visibility("default"))) void* realloc(void* ptr, size_t n) {
    heapAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(ptr, n);
}
}
#endif

struct AudioRealtimeTest : PannerFixture {};

TEST_F(AudioRealtimeTest, BlocksOfAKnownShapeAllocateNothing) {
#if !defined(KVP_COUNT_ALLOCATIONS)
    GTEST_SKIP() << "the sanitizers and Windows keep their own allocator";
#else
    countAnswer = 8;
    SurroundPanner* p = make();
    placeRig(p, smpte71Rig());
    for (int i = 0; i < 8; i++) {
        inputRecords(p)[i].delay = 0.001 * (i + 1);  // every input's line exists after the first block
        inputRecords(p)[i].divergence = 0.1 * i;
    }
    AudioRun run(p);
    run.block(512, constantOne);  // sizes tables, creates delay lines
    run.block(512, constantOne);
    long before = heapAllocations.load();
    for (int b = 0; b < 50; b++) {
        // Every kind of change the audio thread picks up between blocks.
        inputRecords(p)[b % 8].posX = (b % 5) * 0.4 - 0.8;
        markInputDirty(p, b % 8);
        inputRecords(p)[(b + 3) % 8].delay = 0.002 * (b % 4);
        inputRecords(p)[(b + 5) % 8].mute = uint8_t(b & 1);
        if (b % 10 == 0) p->speakersChanged = 1;
        if (b % 7 == 0) markAllInputsDirty(p);
        run.block(b % 2 ? 512 : 256, constantOne);
    }
    EXPECT_EQ(heapAllocations.load() - before, 0);
    destroy(p);
#endif
}

TEST_F(AudioRealtimeTest, AudioRunsCleanWhileAnotherThreadChangesEverything) {
    countAnswer = 6;
    SurroundPanner* p = make();
    placeRig(p, surround51Rig());
    p->effect.numParams = 1000;  // the counts change under the writer; indices past them are ignored
    std::atomic<bool> stop{false};
    std::thread editor([&] {
        for (int k = 0; !stop.load(); k++) {
            int n = inputCount(p);
            if (k % 50 == 0) {
                // Resizing goes through the lock, as the layout operations do.
                LockHold hold(&p->stateLock);
                int count = 1 + k % 9;
                int old = inputCount(p);
                p->inputs.resize(count);
                for (int i = old; i < count; i++) newInputRecord(&inputRecords(p)[i], i);
                placeRig(p, k % 100 ? surround51Rig() : smpte71Rig());
                continue;
            }
            // Single fields go the way a host's automation takes them: no lock, one field each.
            if (n == 0) continue;
            int i = k % n, base = 6 + 9 * (k % n);
            float v = float(k % 7) / 6.0f;
            setParameter(&p->effect, base + PI_X, v);
            setParameter(&p->effect, base + PI_GAIN, 0.25f + 0.25f * float(k % 3));
            setParameter(&p->effect, base + PI_MUTE, float(k % 5 == 0));
            setParameter(&p->effect, base + PI_SOLO, float(k % 13 == 0));
            setParameter(&p->effect, base + PI_DELAY, v * 0.5f);
            setParameter(&p->effect, base + PI_DIVERGENCE, v);
            setParameter(&p->effect, PG_CENTER, v);
            int speakerBase = 6 + 9 * n + 3 * (k % speakerCount(p));
            setParameter(&p->effect, speakerBase + PS_GAIN, 0.25f);
            setParameter(&p->effect, speakerBase + PS_SOLO, float(k % 17 == 0));
            markInputDirty(p, i);
        }
    });
    AudioRun run(p);
    for (int b = 0; b < 3000; b++) {
        run.block(32 + b % 3, [](int i, long long t) { return std::sin(0.01 * double(t) + i); });
        for (auto& o : run.out)
            for (double v : o) ASSERT_TRUE(std::isfinite(v));
    }
    stop = true;
    editor.join();
    destroy(p);
}
