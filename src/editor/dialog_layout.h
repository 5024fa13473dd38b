// The editor dialog's geometry in pixels: where the strip rows stand for a display scale, and
// how the dialog grows and shrinks with the channel counts. Pure arithmetic; the dialog's window
// code reads the group boxes, calls these and moves the controls.
#pragma once

#include <cstdint>

#include "editor/dialog_controls.h"

// A rectangle in pixels of the dialog's client area.
struct PixelRect {
    int32_t x, y, w, h;
};

// dialogMetrics of the instance, in this order.
enum { METRIC_INPUT_NAME_WIDTH, METRIC_SPEAKER_NAME_WIDTH, METRIC_INPUT_NAME_X, METRIC_SPEAKER_NAME_X,
       METRIC_STRIP_TOP, METRIC_COUNT };

// [any thread] n at the display scale (256 = 100 %), truncated toward zero.
inline int32_t scaled(int32_t n, int32_t dpiScale) { return int32_t(int64_t(n) * dpiScale / 256); }

// [any thread] The strip geometry from the two group boxes (client pixels) at a scale: the five
// metrics and, for every family and row, the control's rectangle. A scale below 1 counts as 256.
void stripGeometry(int32_t dpiScale, PixelRect inputGroup, PixelRect speakerGroup, int32_t metrics[METRIC_COUNT],
                   PixelRect rows[STRIP_FAMILY_COUNT][STRIP_ROWS]);

// What the counts ask of the strip lists: which rows show a channel (bit r for row r), whether
// the paging lines show, and the group boxes' new heights.
struct StripPlan {
    uint16_t inputRows;
    uint16_t speakerRows;
    uint8_t inputPaging;
    uint8_t speakerPaging;
    int32_t visibleInputs;
    int32_t visibleSpeakers;
    int32_t inputGroupHeight;
    int32_t speakerGroupHeight;
};

// [any thread] The plan for the counts and first strips at a scale.
StripPlan planStrips(int32_t dpiScale, int inputCount, int firstInputStrip, int speakerCount, int firstSpeakerStrip);

// [any thread] How far the line under a group box moves: its label's top goes to the box's bottom
// plus two paddings.
inline int32_t footerShift(int32_t groupBottom, int32_t labelTop, int32_t dpiScale) {
    return groupBottom + 2 * scaled(4, dpiScale) - labelTop;
}

// [any thread] The client height that holds both group boxes, given their bottoms.
int32_t clientHeightFor(int32_t inputGroupBottom, int32_t speakerGroupBottom, int32_t dpiScale);

// Where the name columns stand: input names from the metrics' x and strip top, the given number of
// rows high; the speaker column likewise.
PixelRect inputNameColumn(const int32_t metrics[METRIC_COUNT], int32_t dpiScale, int rows);
PixelRect speakerNameColumn(const int32_t metrics[METRIC_COUNT], int32_t dpiScale, int rows);
