// The room view's paint of a 520 by 520 window at an advised scale of 100 %, so that the room is
// drawn at 1040 by 1040 and filtered down, for "7.1.4 surround" with 16 inputs: in the orbit view,
// which renders every paint, and in the top view with only inputs moving, which brings the cached
// room over and draws the flat layers on it; and, without a target, the orbit view while the
// camera turns, when every paint also repaints the wall textures. Each paint is timed against a plain fill of the
// room's 1040 by 1040 pixels in the same run. The host's bitmaps, drawing library and fonts are
// the reference host's, imported by name as the plugin imports them.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "engine/records.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/theme_colours.h"
#include "host/host.h"
#include "layouts/layouts.h"
#include "roomview/paint.h"
#include "roomview/scene.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "thread_time.h"

namespace {

struct PaintedRoom {
    RefHost* host = refHostCreate();
    HostApi saved = hostApi;
    SurroundPanner* panner = nullptr;
    std::vector<uint32_t> fillTarget = std::vector<uint32_t>(1040 * 1040);

    explicit PaintedRoom(int mode) {
        if (!host) return;
        refHostImportServices(host);
        panner = createPanner();
        if (!panner) return;
        applyLayout(panner, 11);  // "7.1.4 surround"
        setInputCount(panner, 16);
        moveInputs(0);
        panner->uiFlags = (panner->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(mode) << UI_VIEW_MODE_SHIFT;
        inputRecords(panner)[2].selected = 1;
        paintWindowBitmap(panner, 520, 520, 256, themeColours);  // the first paint makes everything
    }
    ~PaintedRoom() {
        destroyPanner(panner);
        releaseLabelFont();
        hostApi = saved;
        refHostDestroy(host);
    }
    void moveInputs(int step) {
        PanInput* in = inputRecords(panner);
        for (int i = 0; i < 16; i++) {
            double t = i * 0.7 + step * 0.01;
            in[i].posX = std::sin(t) * 0.8;
            in[i].posY = std::cos(t * 1.3) * 0.8;
            in[i].posZ = (i % 4) * 0.25 + 0.1;
        }
    }
};

void run(benchmark::State& state, int mode, bool turning = false) {
    PaintedRoom room(mode);
    if (!room.panner) {
        state.SkipWithError("no instance");
        return;
    }
    uint64_t renders = roomRenderCount();
    double paintSeconds = 0.0, fillSeconds = 0.0;
    int step = 0;
    uint32_t shade = 0;
    for (auto _ : state) {
        room.moveInputs(++step);
        if (turning) {
            setOrbit(room.panner, PANE_ORBIT, -67.5 + step * 0.5, 22.5);
            room.panner->viewRedrawFlags = VIEW_REDRAW_WORLD;
        }
        const double t0 = threadSeconds();
        std::fill(room.fillTarget.begin(), room.fillTarget.end(), 0xFF101820u + (shade++ & 7));
        const double t1 = threadSeconds();
        benchmark::DoNotOptimize(paintWindowBitmap(room.panner, 520, 520, 256, themeColours));
        const double t2 = threadSeconds();
        benchmark::DoNotOptimize(room.fillTarget.data());
        fillSeconds += t1 - t0;
        paintSeconds += t2 - t1;
        state.SetIterationTime(t2 - t1);
    }
    const double paints = double(state.iterations());
    state.counters["ms_per_paint"] = paintSeconds * 1e3 / paints;
    state.counters["ms_per_fill"] = fillSeconds * 1e3 / paints;
    state.counters["ratio_to_fill"] = paintSeconds / fillSeconds;
    state.counters["renders_per_paint"] = double(roomRenderCount() - renders) / paints;
}

void roomViewPaintOrbit(benchmark::State& state) { run(state, VIEW_ORBIT); }
void roomViewPaintTopInputsMoving(benchmark::State& state) { run(state, VIEW_TOP); }
void roomViewPaintOrbitTurning(benchmark::State& state) { run(state, VIEW_ORBIT, true); }
BENCHMARK(roomViewPaintOrbit)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(roomViewPaintOrbitTurning)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(roomViewPaintTopInputsMoving)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
