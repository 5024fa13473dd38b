// The software renderer on the room view's heaviest picture: the orbit view of a "7.1.4 surround"
// room with six textured walls, the speaker boxes, sixteen lit input spheres with their shadows
// and the blended half sphere of the dome Z shape, drawn into 1040 by 1040 pixels with a depth
// buffer by the room view's own scene assembly. Each frame is timed against a plain fill of the
// same pixels in the same run, and the ratio is reported with the milliseconds. Times are the
// thread's CPU time, so that other work on a shared machine does not count.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cmath>

#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "roomview/scene.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/theme.h"
#include "support/memory_bitmap.h"
#include "thread_time.h"

namespace {

struct RoomScene {
    MemoryBitmap frame{1040, 1040};
    SurroundPanner* panner = createPanner();

    RoomScene() {
        if (!panner) return;
        applyLayout(panner, 11);  // "7.1.4 surround"
        setInputCount(panner, 16);
        PanInput* in = inputRecords(panner);
        for (int i = 0; i < 16; i++) {
            in[i].posX = std::sin(i * 0.7) * 0.8;
            in[i].posY = std::cos(i * 1.3) * 0.8;
            in[i].posZ = (i % 4) * 0.25 + 0.1;
        }
        panner->uiFlags = (panner->uiFlags & ~UI_VIEW_MODE_MASK) | (VIEW_ORBIT << UI_VIEW_MODE_SHIFT);
        panner->zShape = 1;
        ensureScene(panner, themeColours);
        SceneObject** walls = growItems<SceneObject*>(panner->roomWalls);
        for (int i = 0; i < 5 && i < growCount<SceneObject*>(panner->roomWalls); i++)
            walls[i]->wallTexture = wallTexture(256, i == 4 ? 256 : 128);
        buildVisibleInputs(panner);
    }
    ~RoomScene() { destroyPanner(panner); }

    // Speaker footprints on the walls: rings of translucent colour on a clear texture.
    static MemoryBitmap* wallTexture(int w, int h) {
        MemoryBitmap* t = new MemoryBitmap(w, h);
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) {
                int dx = x - w / 3, dy = y - h / 2;
                int ring = int(std::sqrt(double(dx * dx + dy * dy))) / 6;
                t->pixel(x, y) = ring < 8 && ring % 2 == 0 ? 0x60305080u : 0u;
            }
        return t;
    }

    void render() {
        if (panner) assembleFrame(panner, &frame, false, themeColours);
    }
};

void roomViewFrame(benchmark::State& state) {
    RoomScene scene;
    scene.render();
    double frameSeconds = 0.0, fillSeconds = 0.0;
    uint32_t shade = 0;
    for (auto _ : state) {
        const double t0 = threadSeconds();
        std::fill(scene.frame.store.begin(), scene.frame.store.end(), 0xFF101820u + (shade++ & 7));
        const double t1 = threadSeconds();
        scene.render();
        const double t2 = threadSeconds();
        benchmark::DoNotOptimize(scene.frame.store.data());
        fillSeconds += t1 - t0;
        frameSeconds += t2 - t1;
        state.SetIterationTime(t2 - t1);
    }
    const double frames = double(state.iterations());
    state.counters["ms_per_frame"] = frameSeconds * 1e3 / frames;
    state.counters["ms_per_fill"] = fillSeconds * 1e3 / frames;
    state.counters["ratio_to_fill"] = frameSeconds / fillSeconds;
}
BENCHMARK(roomViewFrame)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
