// The scan conversion that every face filler shares: a screen-space triangle in fixed point is
// walked row by row from its top corner, and each row's run of pixels, with the interpolated
// colour, 1/z and texture values at its first pixel and their steps per pixel, goes to one row
// filler. Used by Camera::fillTriangle with the plain and the texture fillers.
#pragma once

#include <cstddef>
#include <cstdint>

// Screen x in 13.19 fixed point: whole pixels above bit 19.
constexpr int SCAN_X_SHIFT = 19;
constexpr double SCAN_X_ONE = 524288.0;
// Smooth colour channels in 8.24: 1.0 full scale; the channel proper is value >> 16 (0..256).
constexpr double SCAN_COLOR_ONE = 16777216.0;
constexpr int SCAN_COLOR_SHIFT = 16;
// u / z and v / z of up to two textures.
enum { SCAN_TEX_VALUES = 4 };

// The values interpolated across a triangle, at one point or as steps.
struct ScanValues {
    int color[3];  // 8.24
    double invZ;
    double tex[SCAN_TEX_VALUES];
};

struct ScanCorner {
    double screenY;  // orders the corners
    int x;           // 13.19
    int y;           // whole rows
    ScanValues values;
};

// One run of pixels of a row, left to right.
struct ScanRun {
    uint32_t* pixels;
    float* depth;  // null when the frame has no depth buffer
    int count;     // above 0
    ScanValues start;
};

// Where rows land: row y starts at rows + y * stride; its depth at depth + y * width.
struct ScanTarget {
    uint32_t* rows;
    ptrdiff_t stride;
    float* depth;
    int width, height;
};

using RowFiller = void (*)(const ScanRun& run, const ScanValues& step, const void* context);

// [window thread] Fills the triangle row by row through fill. Runs are kept inside the target
// even when rounding puts a corner a little outside it.
void scanTriangle(const ScanCorner corners[3], const ScanTarget& target, RowFiller fill, const void* context);

// [any thread] Saturating conversions: a value beyond int keeps to its end, NaN gives 0.
int fixedFromDouble(double v);

// The per-pixel helpers of the fillers must land inside the row loops they serve.
#define FILLER_INLINE [[gnu::always_inline]] inline

// How a filler uses the depth buffer.
enum DepthUse { DEPTH_NONE, DEPTH_TEST, DEPTH_TEST_WRITE };

// [any thread] Readies a run's smooth colour for rows that do not clamp it: a channel that
// stays at or above 255 (or below 0) from end to end becomes that constant, which clamping
// would have made of it. True when every channel then stays within 0..255 once shifted down
// (value >> 16); false, with nothing changed that matters, when some channel crosses an end.
inline bool settleColour(ScanRun& run, ScanValues& step) {
    constexpr int64_t TOP = int64_t(255) << SCAN_COLOR_SHIFT, END = int64_t(256) << SCAN_COLOR_SHIFT;
    bool inRange = true;
    for (int k = 0; k < 3; k++) {
        const int64_t first = run.start.color[k], last = first + int64_t(run.count - 1) * step.color[k];
        if (first >= TOP && last >= TOP) {
            run.start.color[k] = int(TOP), step.color[k] = 0;
        } else if (first < 0 && last < 0) {
            run.start.color[k] = 0, step.color[k] = 0;
        } else {
            inRange = inRange && first >= 0 && last >= 0 && first < END && last < END;
        }
    }
    return inRange;
}

// [any thread] The depth rule of every filler: a pixel is drawn only where the stored 1/z is
// below its own (equal depth loses); a filler that writes depth then stores its own.
template <DepthUse Depth>
FILLER_INLINE bool depthPasses(float* depth, int i, double invZ) {
    if constexpr (Depth == DEPTH_NONE) return true;
    const float z = float(invZ);
    if (!(depth[i] < z)) return false;
    if constexpr (Depth == DEPTH_TEST_WRITE) depth[i] = z;
    return true;
}

// [any thread] a + b with the wrap of 32-bit hardware: the interpolated values of a run may
// overshoot at degenerate triangles without that being an error.
inline int wrapAdd(int a, int b) {
    return int(uint32_t(a) + uint32_t(b));
}
