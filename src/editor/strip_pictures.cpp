// Button skins and the name columns.
#include "editor/strip_pictures.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "editor/dialog_controls.h"
#include "editor/dialog_layout.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/bitmap.h"
#include "foundation/font.h"
#include "foundation/host_api.h"

namespace {

constexpr uint32_t ROW_EVEN = 0xFFF0F0F0;
constexpr uint32_t ROW_ODD = 0xFFE0E0E0;

// A filled rectangle through the host's MIRQ_FillRect; a host without it gets the pixels written
// here, at the bitmap's scale, blended by alpha.
void fillRect(MIRQ_IBitmap* bitmap, int x, int y, int w, int h, uint32_t colour, float alpha) {
    if (hostApi.MIRQ_FillRect) {
        hostApi.MIRQ_FillRect(bitmap, x, y, w, h, int(colour), alpha, 0);
        return;
    }
    uint32_t* pixels = bitmap->pixels();
    if (!pixels) return;
    int scale = bitmapScale(bitmap);
    if (scale <= 0) scale = MIRQ_SCALE_ONE;
    auto stored = [scale](int v) { return int(int64_t(v) * scale / MIRQ_SCALE_ONE); };
    int span = bitmap->rowSpan(), storedW = stored(bitmap->width()), storedH = stored(bitmap->height());
    int x0 = std::clamp(stored(x), 0, storedW), x1 = std::clamp(stored(x + w), 0, storedW);
    int y0 = std::clamp(stored(y), 0, storedH), y1 = std::clamp(stored(y + h), 0, storedH);
    int a = std::clamp(int(alpha * 256.0f), 0, 256);
    for (int row = y0; row < y1; row++) {
        uint32_t* line = pixels + size_t(bitmap->flipped() ? storedH - 1 - row : row) * size_t(span);
        for (int col = x0; col < x1; col++) {
            uint32_t old = line[col], mixed = 0xFF000000u;
            for (int shift = 0; shift < 24; shift += 8) {
                int o = int(old >> shift & 0xFF), n = int(colour >> shift & 0xFF);
                mixed |= uint32_t(o + ((n - o) * a >> 8)) << shift;
            }
            line[col] = mixed;
        }
    }
}

// The outline of a rectangle, w + 1 by h + 1 pixels as the host draws it.
void drawRect(MIRQ_IBitmap* bitmap, int x, int y, int w, int h, uint32_t colour) {
    if (hostApi.MIRQ_DrawRect) {
        hostApi.MIRQ_DrawRect(bitmap, x, y, w, h, int(colour), 1.0f, 0);
        return;
    }
    fillRect(bitmap, x, y, w + 1, 1, colour, 1.0f);
    fillRect(bitmap, x, y + h, w + 1, 1, colour, 1.0f);
    fillRect(bitmap, x, y, 1, h + 1, colour, 1.0f);
    fillRect(bitmap, x + w, y, 1, h + 1, colour, 1.0f);
}

void drawCentred(MIRQ_IBitmap* bitmap, const char* text, TextRect rect, uint32_t colour) {
    MIRQ_IFont* font = labelFont();
    if (!font || !text) return;
    int old = font->setTextColor(int(colour));
    font->drawText(bitmap, text, -1, &rect, MIRQ_DT_CENTER | MIRQ_DT_VCENTER | MIRQ_DT_SINGLELINE | MIRQ_DT_NOPREFIX);
    font->setTextColor(old);
}

void freeSkins(ButtonSkin* skins, int count) {
    for (int i = 0; i < count; i++) {
        mirqDestroy(skins[i].bitmap);
        std::memset(&skins[i], 0, sizeof skins[i]);
    }
}

}  // namespace

MIRQ_IBitmap* makeButtonSkin(uint32_t onColour, uint32_t face, int edge, const char* text, bool on, bool dimmed) {
    if (!hostApi.MIRQ_CreateBitmap || edge < 1) return nullptr;
    MIRQ_IBitmap* bitmap = hostApi.MIRQ_CreateBitmap(1, 3 * edge, edge);
    if (!bitmap) return nullptr;
    uint32_t fill = on ? onColour : face;
    bool dark = ((fill >> 16) & 0xFF) < 0x5A && ((fill >> 8) & 0xFF) < 0x5A && (fill & 0xFF) < 0x5A;
    uint32_t line = dark ? 0xFF828282 : 0xFF000000;
    fillRect(bitmap, 0, 0, 3 * edge, edge, fill, 1.0f);
    for (int frame = 0; frame < 3; frame++) drawRect(bitmap, frame * edge, 0, edge - 1, edge - 1, line);
    if (dimmed) fillRect(bitmap, 0, 0, 3 * edge, edge, face, 0.75f);
    for (int frame = 0; frame < 3; frame++)
        drawCentred(bitmap, text, TextRect{frame * edge, 0, (frame + 1) * edge, edge}, line);
    return bitmap;
}

void buildStripSkins(SurroundPanner* p, int edge, uint32_t face) {
    freeStripSkins(p);
    StripControls& s = p->stripControls;
    for (int on = 0; on < 2; on++) {
        s.mute[on].bitmap = makeButtonSkin(SKIN_MUTE_COLOUR, face, edge, "M", on, false);
        s.solo[on].bitmap = makeButtonSkin(SKIN_SOLO_COLOUR, face, edge, "S", on, false);
    }
    struct { ButtonSkin* skins; const char* text; } reverse[] = {
        {s.reverseX, "X"}, {s.reverseY, "Y"}, {s.reverseZ, "Z"}};
    for (auto& r : reverse)
        for (int k = 0; k < 4; k++) r.skins[k].bitmap = makeButtonSkin(SKIN_REVERSE_COLOUR, face, edge, r.text, k & 1, k >= 2);
}

void freeStripSkins(SurroundPanner* p) {
    StripControls& s = p->stripControls;
    freeSkins(s.mute, 2);
    freeSkins(s.solo, 2);
    freeSkins(s.reverseX, 4);
    freeSkins(s.reverseY, 4);
    freeSkins(s.reverseZ, 4);
}

uint32_t textColorFor(uint32_t background) {
    uint32_t r = (background >> 16) & 0xFF, g = (background >> 8) & 0xFF, b = background & 0xFF;
    return 130 * r + 256 * g + 50 * b < 60001 ? 0xFFFFFFFF : 0xFF000000;
}

namespace {

uint32_t rowColour(int channel) { return channel % 2 ? ROW_ODD : ROW_EVEN; }

// One line of text; count bytes at the most, fewer when a NUL comes first.
void drawName(MIRQ_IBitmap* bitmap, const char* text, size_t count, TextRect rect, uint32_t colour) {
    MIRQ_IFont* font = labelFont();
    if (!font) return;
    font->setTextColor(int(colour));
    font->drawText(bitmap, text, int(strnlen(text, count)), &rect, MIRQ_DT_SINGLELINE | MIRQ_DT_NOPREFIX);
}

}  // namespace

void drawNameStrips(const SurroundPanner* p, MIRQ_IBitmap* bitmap, int rowH) {
    if (!bitmap || rowH < 1) return;
    const int width = bitmap->width();
    const int swatch = scaled(8, p->dpiScale);
    const int inputWidth = p->dialogMetrics[METRIC_INPUT_NAME_WIDTH];
    const int speakerWidth = p->dialogMetrics[METRIC_SPEAKER_NAME_WIDTH];

    // Inputs: the row colour as a swatch, the input's own colour behind its name, a dot on the
    // selected ones while edits follow the selection.
    const bool showSelection = !(p->uiFlags & FLAG_EDIT_ALL);
    for (int r = 0; r < STRIP_ROWS; r++) {
        const int i = p->firstInputStrip + r, y = r * rowH;
        if (i < 0 || i >= inputCount(p)) {
            fillRect(bitmap, 0, y, width, rowH, rowColour(i), 1.0f);
            continue;
        }
        const PanInput& in = inputRecords(p)[i];
        fillRect(bitmap, 0, y, swatch, rowH, rowColour(i), 1.0f);
        fillRect(bitmap, swatch, y, inputWidth - swatch, rowH, in.color, 1.0f);
        if (showSelection && in.selected && hostApi.MIRQ_FillCircle)
            hostApi.MIRQ_FillCircle(bitmap, float(swatch / 2 - 1), float(y + rowH / 2), float(p->dpiScale * 1.5 / 256.0),
                                    int(textColorFor(rowColour(i))), 1.0f, 0, true);
        drawName(bitmap, in.name, sizeof in.name, TextRect{swatch + 3, y + 2, inputWidth - swatch - 3, y + rowH}, textColorFor(in.color));
    }

    // Speakers: numbered names on the row colour.
    if (MIRQ_IFont* font = labelFont()) font->setTextColor(int(0xFF000000));
    for (int r = 0; r < STRIP_ROWS; r++) {
        const int s = p->firstSpeakerStrip + r, y = (STRIP_ROWS + r) * rowH;
        if (s < 0 || s >= speakerCount(p)) {
            fillRect(bitmap, 0, y, width, rowH, rowColour(s), 1.0f);
            continue;
        }
        fillRect(bitmap, 0, y, speakerWidth, rowH, rowColour(s), 1.0f);
        char text[80];
        std::snprintf(text, sizeof text, "%d %s", s + 1, speakerRecords(p)[s].name);
        drawName(bitmap, text, sizeof text, TextRect{3, y + 2, speakerWidth - 3, y + rowH}, textColorFor(rowColour(s)));
    }
}
