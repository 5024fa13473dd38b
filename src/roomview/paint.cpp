#include "roomview/paint.h"

#include <cstring>

#include "engine/records.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"
#include "roomview/overlays.h"
#include "roomview/pointer.h"
#include "roomview/scene.h"
#include "roomview/view_window.h"

namespace {

// The small view's messages and its record: the size at bytes 24 and 28, flags at 40.
enum { SMALL_VIEW_PAINT = 0x0F, SMALL_VIEW_SIZE_HINTS = 0x24 };
constexpr uint32_t SMALL_VIEW_ONLY_CHANGED = 1;

// The window's room goes to the frame bitmap at twice its size unless the bitmap has a scale of
// its own or is advised one of 512 and more.
int frameScale(MIRQ_IBitmap* bitmap, bool small) {
    int s0 = bitmapScale(bitmap);
    if (s0 == 0 && !small && bitmap->extended(MIRQ_EXT_GET_ADVISED_SCALE, nullptr) < 512) return 512;
    return s0;
}

// The frame bitmap of this view at this scale and size; worldChanged when it had to change.
MIRQ_IBitmap* frameTarget(SurroundPanner* p, bool small, int scale, int w, int h, bool* worldChanged) {
    MIRQ_IBitmap*& frame = p->frameBitmap[small ? 1 : 0];
    if (!frame) {
        frame = hostApi.MIRQ_CreateBitmap(1, w, h);
        if (!frame) return nullptr;
        *worldChanged = true;
    }
    if (bitmapScale(frame) != scale) {
        frame->extended(MIRQ_EXT_SET_SCALE, &scale);
        *worldChanged = true;
    }
    if (frame->width() != w || frame->height() != h) {
        if (!frame->resize(w, h)) return nullptr;
        *worldChanged = true;
    }
    return frame;
}

// Each pixel of dest is the mean of the 2 by 2 stored pixels of source below it, alpha 0.
void filterHalf(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int w, int h) {
    uint32_t* out = dest->pixels();
    uint32_t* in = source->pixels();
    if (!out || !in) return;
    const int outSpan = dest->rowSpan(), inSpan = source->rowSpan();
    const bool outUp = dest->flipped(), inUp = source->flipped();
    for (int y = 0; y < h; y++) {
        uint32_t* o = out + ptrdiff_t(outUp ? h - 1 - y : y) * outSpan;
        const uint32_t* a = in + ptrdiff_t(inUp ? 2 * h - 1 - 2 * y : 2 * y) * inSpan;
        const uint32_t* b = in + ptrdiff_t(inUp ? 2 * h - 2 - 2 * y : 2 * y + 1) * inSpan;
        for (int x = 0; x < w; x++, a += 2, b += 2) {
            // Two neighbours in one word each: blue and red in 16-bit lanes, green in 32-bit
            // lanes; the sums of four fit their lanes.
            uint64_t top, bottom;
            std::memcpy(&top, a, 8);
            std::memcpy(&bottom, b, 8);
            uint64_t rb = (top & 0x00FF00FF00FF00FFull) + (bottom & 0x00FF00FF00FF00FFull);
            uint64_t g = ((top >> 8) & 0x000000FF000000FFull) + ((bottom >> 8) & 0x000000FF000000FFull);
            uint32_t rbSum = uint32_t(rb) + uint32_t(rb >> 32), gSum = uint32_t(g) + uint32_t(g >> 32);
            o[x] = ((rbSum >> 2) & 0xFF00FFu) | ((gSum << 6) & 0xFF00u);
        }
    }
}

}  // namespace

void paintView(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, bool worldChanged, const ThemeColours& theme) {
    if (!bitmap || !hostApi.MIRQ_CreateBitmap) return;
    const int w = bitmap->width(), h = bitmap->height();
    const bool is3D = !small && viewMode(p) == VIEW_ORBIT;
    // The scene's lists and the font.
    ensureScene(p, theme);
    labelFont();
    // The scale and the bitmap the room goes to.
    const int s0 = bitmapScale(bitmap), scale = frameScale(bitmap, small);
    MIRQ_IBitmap* target = bitmap;
    if (!(is3D && (scale <= 256 || s0 != 0))) {
        target = frameTarget(p, small, scale, w, h, &worldChanged);
        if (!target) return;
    }
    // Wall textures for a changed world; the inputs of this paint.
    if (worldChanged && !small) paintWallTextures(p, scale ? scale : 256, theme);
    buildVisibleInputs(p);
    // The room.
    if (worldChanged || is3D) {
        uint32_t clear = small ? theme.floorcol : dialogFaceColour();
        if (hostApi.MIRQ_Clear) hostApi.MIRQ_Clear(target, int(clear | 0xFF000000u));
        assembleFrame(p, target, small, theme);
        if (!is3D) drawSpeakerLayer(p, target, small, theme);
    }
    // The cached room into the bitmap.
    if (target != bitmap) {
        if (bitmapScale(target) == 512 && s0 == 0 && target->width() == w && target->height() == h &&
            target->rowSpan() >= 2 * w)
            filterHalf(bitmap, target, w, h);
        else if (hostApi.MIRQ_Blit)
            hostApi.MIRQ_Blit(bitmap, target, 0, 0, 0, 0, w, h, 1.0f, MIRQ_MODE_FILTER);
    }
    // The flat layers.
    if (!is3D) drawInputLayer(p, bitmap, small);
    drawSelectionLayer(p, bitmap, small);
    if (!small) drawButtons(p, bitmap);
    if (p->dragState[DRAG_MARQUEE] == (small ? 2 : 1)) drawMarquee(p, bitmap, theme);
}

MIRQ_IBitmap* paintWindowBitmap(SurroundPanner* p, int w, int h, int dpiScale, const ThemeColours& theme) {
    bool worldChanged = (p->viewRedrawFlags & VIEW_REDRAW_WORLD) != 0;
    p->viewRedrawFlags = 0;
    if (!hostApi.MIRQ_CreateBitmap) return nullptr;
    if (!p->roomBitmap) {
        p->roomBitmap = hostApi.MIRQ_CreateBitmap(1, w, h);
        if (!p->roomBitmap) return nullptr;
        worldChanged = true;
    } else if (p->roomBitmap->width() != w || p->roomBitmap->height() != h) {
        if (!p->roomBitmap->resize(w, h)) return nullptr;
        worldChanged = true;
    }
    // The advised scale keeps 256 as 0, the bitmap's way of saying 100 %.
    int advised = dpiScale == MIRQ_SCALE_ONE ? 0 : dpiScale;
    if (p->roomBitmap->extended(MIRQ_EXT_GET_ADVISED_SCALE, nullptr) != advised) {
        p->roomBitmap->extended(MIRQ_EXT_SET_ADVISED_SCALE, &advised);
        worldChanged = true;
    }
    paintView(p, p->roomBitmap, false, worldChanged, theme);
    return p->roomBitmap;
}

bool smallViewMessage(SurroundPanner* p, int message, intptr_t value, void* ptr, const ThemeColours& theme,
                      intptr_t* result) {
    int32_t* record = static_cast<int32_t*>(ptr);
    switch (message) {
        case SMALL_VIEW_SIZE_HINTS:
            if (record) {
                record[0] = 0x10000;
                record[6] = 20;
            }
            *result = 1;
            return true;
        case SMALL_VIEW_PAINT: {
            MIRQ_IBitmap* bitmap = reinterpret_cast<MIRQ_IBitmap*>(value);
            *result = 0;
            if (!bitmap || !record) return true;
            const bool inputs = inputStampChanged(p, true);
            const bool speakers = speakerStampChanged(p, true);
            const bool onlyChanged = (uint32_t(record[10]) & SMALL_VIEW_ONLY_CHANGED) != 0;
            if (onlyChanged && !inputs && !speakers) return true;
            paintView(p, bitmap, true, !onlyChanged || speakers, theme);
            *result = 1;
            return true;
        }
        default: return smallViewPointerMessage(p, message, ptr, viewKeyState(), result);
    }
}

void releaseRoomViewShared() {
    releaseViewSprites();
    releaseSceneLists();
}
