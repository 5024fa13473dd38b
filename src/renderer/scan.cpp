#include "renderer/scan.h"

#include <climits>
#include <utility>

int fixedFromDouble(double v) {
    if (v >= 2147483647.0) return INT_MAX;
    if (v > -2147483648.0) return int(v);
    return v <= -2147483648.0 ? INT_MIN : 0;
}

namespace {

// Colour values of an edge are held wider than the run's: slopes of far-apart values fit.
struct EdgeValues {
    int64_t color[3];
    double invZ;
    double tex[SCAN_TEX_VALUES];
};

EdgeValues widen(const ScanValues& v) {
    EdgeValues e;
    for (int k = 0; k < 3; k++) e.color[k] = v.color[k];
    e.invZ = v.invZ;
    for (int k = 0; k < SCAN_TEX_VALUES; k++) e.tex[k] = v.tex[k];
    return e;
}

int narrowColor(int64_t v) {
    return int(v < INT_MIN ? INT_MIN : v > INT_MAX ? INT_MAX : v);
}

// The steps of every value from one corner to another, per row (whole-number division for
// the fixed-point ones).
void edgeSlopes(const ScanCorner& from, const ScanCorner& to, int64_t& xSlope, EdgeValues& slope) {
    const int64_t dy = int64_t(to.y) - from.y;
    xSlope = (int64_t(to.x) - from.x) / dy;
    for (int k = 0; k < 3; k++) slope.color[k] = (int64_t(to.values.color[k]) - from.values.color[k]) / dy;
    slope.invZ = (to.values.invZ - from.values.invZ) / double(dy);
    for (int k = 0; k < SCAN_TEX_VALUES; k++) slope.tex[k] = (to.values.tex[k] - from.values.tex[k]) / double(dy);
}

// Which edge changes at the middle corner.
enum : int {
    EDGE_LEFT_BENDS = 1,
    EDGE_RIGHT_BENDS = 2,
    EDGE_FLAT_TOP_LEFT_FROM_TOP = 4,
    EDGE_FLAT_TOP_RIGHT_FROM_TOP = 8,
};

}  // namespace

void scanTriangle(const ScanCorner corners[3], const ScanTarget& target, RowFiller fill, const void* context) {
    // Top, middle and bottom by screen y.
    int lo = 0, hi = 1;
    if (corners[1].screenY < corners[0].screenY) std::swap(lo, hi);
    int top = lo, first = hi, second = 2;
    if (corners[lo].screenY > corners[2].screenY) top = 2, first = hi, second = lo;
    if (corners[first].screenY > corners[second].screenY) std::swap(first, second);
    const ScanCorner& T = corners[top];
    const ScanCorner& M = corners[first];
    const ScanCorner& B = corners[second];
    if (B.y == T.y) return;

    int64_t longXSlope = 0, shortXSlope = 0;
    EdgeValues longSlope{}, shortSlope{};
    edgeSlopes(T, B, longXSlope, longSlope);
    if (M.y != T.y) edgeSlopes(T, M, shortXSlope, shortSlope);

    // The edge with the smaller x slope is the left one.
    int64_t leftX, rightX, leftXSlope = 0, rightXSlope = 0;
    EdgeValues left, leftSlope{}, rightSlope{}, rightStart;
    int flags;
    if (M.y != T.y) {
        const bool longIsLeft = longXSlope < shortXSlope;
        leftXSlope = longIsLeft ? longXSlope : shortXSlope;
        rightXSlope = longIsLeft ? shortXSlope : longXSlope;
        leftSlope = longIsLeft ? longSlope : shortSlope;
        rightSlope = longIsLeft ? shortSlope : longSlope;
        flags = longIsLeft ? EDGE_RIGHT_BENDS : EDGE_LEFT_BENDS;
        leftX = rightX = T.x;
        left = rightStart = widen(T.values);
    } else if (M.x > T.x) {
        leftX = T.x, rightX = M.x;
        left = widen(T.values), rightStart = widen(M.values);
        flags = EDGE_RIGHT_BENDS | EDGE_FLAT_TOP_LEFT_FROM_TOP;
    } else {
        leftX = M.x, rightX = T.x;
        left = widen(M.values), rightStart = widen(T.values);
        flags = EDGE_LEFT_BENDS | EDGE_FLAT_TOP_RIGHT_FROM_TOP;
    }

    // Steps across a row, once for the triangle: from the widest row, at the middle corner, or
    // from the flat top's two corners.
    ScanValues step{};
    const int64_t middleRows = int64_t(M.y) - T.y;
    const int64_t width = (leftXSlope - rightXSlope) * middleRows;
    if (width != 0) {
        const double k = SCAN_X_ONE / double(width);
        for (int c = 0; c < 3; c++)
            step.color[c] = fixedFromDouble(double((leftSlope.color[c] - rightSlope.color[c]) * middleRows) * k);
        step.invZ = (leftSlope.invZ - rightSlope.invZ) * double(middleRows) * k;
        for (int t = 0; t < SCAN_TEX_VALUES; t++)
            step.tex[t] = (leftSlope.tex[t] - rightSlope.tex[t]) * double(middleRows) * k;
    } else if (rightX != leftX) {
        const double k = SCAN_X_ONE / double(rightX - leftX);
        for (int c = 0; c < 3; c++) step.color[c] = fixedFromDouble(double(rightStart.color[c] - left.color[c]) * k);
        step.invZ = (rightStart.invZ - left.invZ) * k;
        for (int t = 0; t < SCAN_TEX_VALUES; t++) step.tex[t] = (rightStart.tex[t] - left.tex[t]) * k;
    }

    const EdgeValues bottom = widen(B.values);
    for (int y = T.y; y < B.y; y++) {
        if (y == M.y && B.y != M.y) {
            const int64_t dy = int64_t(B.y) - M.y;
            const double perRow = 1.0 / double(dy);
            for (int c = 0; c < 3; c++)
                leftSlope.color[c] = fixedFromDouble(double(bottom.color[c] - left.color[c]) * perRow);
            leftSlope.invZ = (bottom.invZ - left.invZ) / double(dy);
            for (int t = 0; t < SCAN_TEX_VALUES; t++) leftSlope.tex[t] = (bottom.tex[t] - left.tex[t]) / double(dy);
            if (flags & EDGE_LEFT_BENDS) {
                leftX = M.x, leftXSlope = (int64_t(B.x) - M.x) / dy;
                if (flags & EDGE_FLAT_TOP_RIGHT_FROM_TOP) rightX = T.x, rightXSlope = (int64_t(B.x) - T.x) / dy;
            } else if (flags & EDGE_RIGHT_BENDS) {
                rightX = M.x, rightXSlope = (int64_t(B.x) - M.x) / dy;
                if (flags & EDGE_FLAT_TOP_LEFT_FROM_TOP) leftX = T.x, leftXSlope = (int64_t(B.x) - T.x) / dy;
            }
        }

        const int64_t half = int64_t(1) << (SCAN_X_SHIFT - 1);
        int64_t column = (leftX + half) >> SCAN_X_SHIFT;
        int64_t count = ((rightX + half) >> SCAN_X_SHIFT) - column;
        if (count > 0 && y >= 0 && y < target.height) {
            ScanRun run;
            for (int c = 0; c < 3; c++) run.start.color[c] = narrowColor(left.color[c]);
            run.start.invZ = left.invZ;
            for (int t = 0; t < SCAN_TEX_VALUES; t++) run.start.tex[t] = left.tex[t];
            if (column < 0) {  // a corner rounded past the left edge: start inside
                for (int c = 0; c < 3; c++)
                    run.start.color[c] = narrowColor(run.start.color[c] - column * int64_t(step.color[c]));
                run.start.invZ -= double(column) * step.invZ;
                for (int t = 0; t < SCAN_TEX_VALUES; t++) run.start.tex[t] -= double(column) * step.tex[t];
                count += column;
                column = 0;
            }
            if (column + count > target.width) count = target.width - column;
            if (count > 0) {
                run.pixels = target.rows + y * target.stride + column;
                run.depth = target.depth ? target.depth + ptrdiff_t(y) * target.width + column : nullptr;
                run.count = int(count);
                fill(run, step, context);
            }
        }

        leftX += leftXSlope;
        rightX += rightXSlope;
        for (int c = 0; c < 3; c++) left.color[c] += leftSlope.color[c];
        left.invZ += leftSlope.invZ;
        for (int t = 0; t < SCAN_TEX_VALUES; t++) left.tex[t] += leftSlope.tex[t];
    }
}
