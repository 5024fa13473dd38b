// The editor dialog's geometry.
#include "editor/dialog_layout.h"

#include <algorithm>

namespace {

struct Sizes {
    int32_t pad, btn, vuW, vuH, faderW, rowH;
};

Sizes sizesAt(int32_t dpiScale) {
    return Sizes{scaled(4, dpiScale), scaled(12, dpiScale), scaled(56, dpiScale),
                 scaled(6, dpiScale), scaled(94, dpiScale), scaled(16, dpiScale)};
}

// Rows of mute, solo and meter, shared by both lists; returns the x after the meter.
int32_t placeHead(const Sizes& s, int32_t x, int32_t top, PixelRect* mute, PixelRect* solo, PixelRect* meter,
                  int32_t dpiScale) {
    int32_t buttonY = top + scaled(2, dpiScale);
    *mute = PixelRect{x, buttonY, s.btn, s.btn};
    x += s.btn + s.pad;
    *solo = PixelRect{x, buttonY, s.btn, s.btn};
    x += s.btn + s.pad;
    *meter = PixelRect{x, top + s.pad, s.vuW, s.vuH};
    return x + s.vuW + s.pad;
}

}  // namespace

void stripGeometry(int32_t dpiScale, PixelRect inputGroup, PixelRect speakerGroup, int32_t metrics[METRIC_COUNT],
                   PixelRect rows[STRIP_FAMILY_COUNT][STRIP_ROWS]) {
    if (dpiScale < 1) dpiScale = 256;
    Sizes s = sizesAt(dpiScale);
    int32_t stripTop = inputGroup.y + scaled(20, dpiScale);
    metrics[METRIC_STRIP_TOP] = stripTop;
    metrics[METRIC_INPUT_NAME_WIDTH] = inputGroup.w - 3 * s.pad - s.faderW - s.vuW - 6 * (s.btn + s.pad);
    metrics[METRIC_SPEAKER_NAME_WIDTH] = speakerGroup.w - 3 * s.pad - s.faderW - s.vuW - 3 * (s.btn + s.pad);

    for (int r = 0; r < STRIP_ROWS; r++) {
        int32_t top = stripTop + r * s.rowH;
        int32_t buttonY = top + scaled(2, dpiScale);

        // Inputs: mute, solo, meter, the three reverse buttons, the name column, the fader.
        int32_t x = placeHead(s, inputGroup.x + 2 * s.pad, top, &rows[STRIP_INPUT_MUTE][r], &rows[STRIP_INPUT_SOLO][r],
                              &rows[STRIP_INPUT_METER][r], dpiScale);
        for (int role : {STRIP_INPUT_REVERSE_X, STRIP_INPUT_REVERSE_Y, STRIP_INPUT_REVERSE_Z}) {
            rows[role][r] = PixelRect{x, buttonY, s.btn, s.btn};
            x += s.btn + s.pad;
        }
        metrics[METRIC_INPUT_NAME_X] = x;
        rows[STRIP_INPUT_FADER][r] = PixelRect{x + metrics[METRIC_INPUT_NAME_WIDTH] + s.pad, top, s.faderW, s.rowH};

        // Speakers: mute, solo, meter, the name column, the fader.
        x = placeHead(s, speakerGroup.x + 2 * s.pad, top, &rows[STRIP_SPEAKER_MUTE][r], &rows[STRIP_SPEAKER_SOLO][r],
                      &rows[STRIP_SPEAKER_METER][r], dpiScale);
        metrics[METRIC_SPEAKER_NAME_X] = x;
        rows[STRIP_SPEAKER_FADER][r] = PixelRect{x + metrics[METRIC_SPEAKER_NAME_WIDTH] + s.pad, top, s.faderW, s.rowH};
    }
}

StripPlan planStrips(int32_t dpiScale, int inputCount, int firstInputStrip, int speakerCount, int firstSpeakerStrip) {
    if (dpiScale < 1) dpiScale = 256;
    StripPlan plan{};
    plan.inputPaging = inputCount > STRIP_ROWS;
    plan.speakerPaging = speakerCount > STRIP_ROWS;
    for (int r = 0; r < STRIP_ROWS; r++) {
        if (firstInputStrip + r < inputCount) plan.inputRows |= uint16_t(1u << r);
        if (firstSpeakerStrip + r < speakerCount) plan.speakerRows |= uint16_t(1u << r);
    }
    plan.visibleInputs = std::clamp(inputCount - firstInputStrip, 0, STRIP_ROWS);
    plan.visibleSpeakers = std::clamp(speakerCount - firstSpeakerStrip, 0, STRIP_ROWS);
    int32_t rowH = scaled(16, dpiScale);
    plan.inputGroupHeight = plan.visibleInputs * rowH + scaled(32, dpiScale);
    plan.speakerGroupHeight = plan.visibleSpeakers * rowH + scaled(32, dpiScale);
    return plan;
}

int32_t clientHeightFor(int32_t inputGroupBottom, int32_t speakerGroupBottom, int32_t dpiScale) {
    int32_t pad = scaled(4, dpiScale);
    return std::max(inputGroupBottom + pad, speakerGroupBottom + pad) + scaled(28, dpiScale);
}

PixelRect inputNameColumn(const int32_t metrics[METRIC_COUNT], int32_t dpiScale, int rows) {
    return PixelRect{metrics[METRIC_INPUT_NAME_X], metrics[METRIC_STRIP_TOP], metrics[METRIC_INPUT_NAME_WIDTH],
                     rows * (dpiScale * 16 / 256)};
}

PixelRect speakerNameColumn(const int32_t metrics[METRIC_COUNT], int32_t dpiScale, int rows) {
    return PixelRect{metrics[METRIC_SPEAKER_NAME_X], metrics[METRIC_STRIP_TOP], metrics[METRIC_SPEAKER_NAME_WIDTH],
                     rows * (dpiScale * 16 / 256)};
}
