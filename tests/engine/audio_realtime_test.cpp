// The audio block's real-time promises: no heap allocation once a shape has run, and a clean
// run with another thread changing the records the whole time.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <thread>

#include "engine/parameter_map.h"
#include "layouts/layouts.h"
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

TEST_F(AudioRealtimeTest, BlocksOfAKnownShapeAllocateNothingWhileTheHostAutomates) {
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
    AudioRun run(&p->effect);
    run.block(512, constantOne);  // sizes tables, creates delay lines
    run.block(512, constantOne);

    // The host's automation thread changes every kind of field the audio thread picks up; it is
    // running before the count starts, so that its own start-up is not counted.
    std::atomic<bool> ready{false}, stop{false};
    std::atomic<long> changes{0};
    std::thread automation([&] {
        ready = true;
        for (int k = 0; !stop.load(); k++) {
            int i = k % 8;
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_X, 8), float(k % 5) * 0.25f);
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, (i + 3) % 8, PI_DELAY, 8), float(k % 4) * 0.2f);
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, (i + 5) % 8, PI_MUTE, 8), float(k & 1));
            setParameter(&p->effect, parameterIndex(POWNER_SPEAKER, k % 8, PS_GAIN, 8), 0.2f + 0.01f * float(k % 5));
            setParameter(&p->effect, PG_SIDE, float(k % 3) * 0.5f);
            if (k % 10 == 0) std::atomic_ref<uint8_t>(p->speakersChanged).store(1);
            changes.fetch_add(1);
        }
    });
    while (!ready.load()) std::this_thread::yield();
    long before = heapAllocations.load();
    for (int b = 0; b < 200; b++) run.block(b % 2 ? 512 : 256, constantOne);
    long allocated = heapAllocations.load() - before;
    stop = true;
    automation.join();
    EXPECT_EQ(allocated, 0);
    EXPECT_GT(changes.load(), 0) << "the automation ran alongside the audio";
#endif
}

TEST_F(AudioRealtimeTest, AudioRunsCleanWhileTheHostChangesLayoutsAndAutomates) {
    countAnswer = 6;
    SurroundPanner* p = make();
    placeRig(p, surround51Rig());
    p->effect.numParams = 1000;  // the counts change under the writer; indices past them are ignored
    std::atomic<bool> stop{false};
    std::thread host([&] {
        for (int k = 0; !stop.load(); k++) {
            if (k % 50 == 0) {
                // Layout operations take the lock themselves, as when the host writes the counts.
                setInputCount(p, 1 + k % 9);
                applyLayout(p, layoutForChannelCount(k % 100 ? 6 : 8));
                continue;
            }
            // Single fields go the way a host's automation takes them: no lock, one field each.
            int n = inputCount(p);
            if (n == 0) continue;
            int i = k % n;
            float v = float(k % 7) / 6.0f;
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_X, n), v);
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_GAIN, n), 0.25f + 0.25f * float(k % 3));
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_MUTE, n), float(k % 5 == 0));
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_SOLO, n), float(k % 13 == 0));
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_DELAY, n), v * 0.5f);
            setParameter(&p->effect, parameterIndex(POWNER_INPUT, i, PI_DIVERGENCE, n), v);
            setParameter(&p->effect, PG_CENTER, v);
            int s = k % speakerCount(p);
            setParameter(&p->effect, parameterIndex(POWNER_SPEAKER, s, PS_GAIN, n), 0.25f);
            setParameter(&p->effect, parameterIndex(POWNER_SPEAKER, s, PS_SOLO, n), float(k % 17 == 0));
        }
    });
    // The audio thread keeps going whatever it finds, so that the host thread is always joined.
    AudioRun run(&p->effect);
    long long notFinite = 0;
    for (int b = 0; b < 3000; b++) {
        run.block(32 + b % 3, [](int i, long long t) { return std::sin(0.01 * double(t) + i); });
        for (auto& o : run.out)
            for (double v : o) notFinite += !std::isfinite(v);
    }
    stop = true;
    host.join();
    EXPECT_EQ(notFinite, 0);
}
