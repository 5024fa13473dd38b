#include "roomview/overlays.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <vector>

#include "engine/records.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/localize.h"

namespace {

constexpr double TAU = 2.0 * std::numbers::pi;

// ---- the speaker sprites ----

// The glyph of a speaker, 14 by 10 coverage bytes from the top row.
constexpr int SPRITE_SIDE = 24, GLYPH_W = 14, GLYPH_H = 10;
const unsigned char SPEAKER_GLYPH[GLYPH_H][GLYPH_W] = {
    {0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0},
    {0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0},
    {0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0},
    {0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0},
    {0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 0, 0, 0, 0},
    {0, 0, 0, 0xC0, 255, 255, 255, 255, 255, 255, 0xC0, 0, 0, 0},
    {0, 0, 0xC0, 255, 255, 255, 255, 255, 255, 255, 255, 0xC0, 0, 0},
    {0, 0xC0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0xC0, 0},
    {0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
    {0, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0},
};

// Process-wide: plain and selected, made on first use in the colours of that moment.
MIRQ_IBitmap* sprites[2] = {nullptr, nullptr};

MIRQ_IBitmap* sprite(bool selected, const ThemeColours& theme) {
    MIRQ_IBitmap*& s = sprites[selected ? 1 : 0];
    if (!s && hostApi.MIRQ_CreateBitmap) {
        s = hostApi.MIRQ_CreateBitmap(0, SPRITE_SIDE, SPRITE_SIDE);
        if (s && hostApi.MIRQ_Clear) hostApi.MIRQ_Clear(s, 0);
        if (s && hostApi.MIRQ_DrawGlyph)
            hostApi.MIRQ_DrawGlyph(s, 5, 7, int(selected ? theme.selspkcol : theme.spkcol), &SPEAKER_GLYPH[0][0],
                                   GLYPH_W, GLYPH_H, 1.0f, 0);
    }
    return s;
}

// ---- the size rule and projections ----

// The diameter of an input at depth d in a pane of width w.
double inputSize(int pane, double d, int w) { return (1.0 - (d - 1.0) * 0.5) * paneWeight(pane) * 0.75 * w * 0.078125; }

struct Projected {
    int x, y;
    double d;
};

// A room point on a pane's camera, rounded to pane pixels; d against the room's middle.
Projected projectPoint(const Camera* c, double middle, double x, double y, double z) {
    double sx = 0, sy = 0, dist = 0;
    c->project(x, y, z, &sx, &sy, &dist);
    return {int(std::floor(sx + 0.5)), int(std::floor(sy + 0.5)), dist - middle};
}

double middleDistance(const Camera* c) {
    double dist = 0;
    c->project(0.0, 0.0, 0.5, nullptr, nullptr, &dist);
    return dist;
}

// A pane that the layers draw on, with its camera.
struct PaneView {
    int pane;
    PaneRect rect;
    const Camera* camera;
    double middle;
};

// The panes a layer goes through, in index order.
int layerPanes(const SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, PaneView* out) {
    int n = 0;
    for (int pane = 0; pane < PANE_COUNT; pane++) {
        PaneRect r;
        const Camera* c = viewCamera(p, pane);
        if (!c || !paneDrawn(p, pane, small) || !paneRect(p, pane, bitmap->width(), bitmap->height(), &r)) continue;
        out[n++] = {pane, r, c, middleDistance(c)};
    }
    return n;
}

// The entry's place on a pane, each entry one pixel up and left of an earlier one that stands
// at the same pixel and nearly the same depth, so that a pile stays visible.
void projectVisible(const SurroundPanner* p, const PaneView& v, VisibleInput* list, int count) {
    const PanInput* in = inputRecords(p);
    for (int k = 0; k < count; k++) {
        const PanInput& input = in[list[k].index];
        Projected q = projectPoint(v.camera, v.middle, sharedLoad(input.posX), sharedLoad(input.posY), sharedLoad(input.posZ));
        for (int j = 0; j < k; j++)
            if (list[j].screenX == q.x && list[j].screenY == q.y && std::fabs(list[j].depth - q.d) < 0.1) q.x--, q.y--;
        list[k].screenX = q.x;
        list[k].screenY = q.y;
        list[k].depth = q.d;
    }
}

int farFirst(const void* a, const void* b) {
    const VisibleInput& x = *static_cast<const VisibleInput*>(a);
    const VisibleInput& y = *static_cast<const VisibleInput*>(b);
    if (x.depth != y.depth) return x.depth > y.depth ? -1 : 1;
    return y.index - x.index;
}

void sortFarFirst(VisibleInput* list, int count) {
    if (hostApi.__mergesort) {
        std::vector<VisibleInput> scratch;
        scratch.resize(size_t(count));
        hostApi.__mergesort(list, size_t(count), sizeof(VisibleInput), farFirst, scratch.data());
    } else {
        std::stable_sort(list, list + count, [](const VisibleInput& a, const VisibleInput& b) { return farFirst(&a, &b) < 0; });
    }
}

// ---- drawing helpers over the host's functions ----

void drawLabel(MIRQ_IBitmap* bitmap, const char* text, int count, int x, int y, uint32_t colour, int flags) {
    MIRQ_IFont* font = labelFont();
    if (!font || !text) return;
    font->setTextColor(int(colour));
    TextRect r = {x, y, x, y};
    font->drawText(bitmap, text, count, &r, flags);
}

constexpr int LABEL_FLAGS = MIRQ_DT_NOCLIP | MIRQ_DT_SINGLELINE | MIRQ_DT_VCENTER;
constexpr int CAPTION_FLAGS = MIRQ_DT_CENTER | MIRQ_DT_VCENTER | MIRQ_DT_SINGLELINE | MIRQ_DT_NOCLIP | MIRQ_DT_NOPREFIX;

void drawCaption(MIRQ_IBitmap* bitmap, const char* text, int left, int top, int right, int bottom, uint32_t colour) {
    MIRQ_IFont* font = labelFont();
    if (!font || !text) return;
    font->setTextColor(int(colour));
    TextRect r = {left, top, right, bottom};
    font->drawText(bitmap, text, -1, &r, CAPTION_FLAGS);
}

// Three circles make a ring that shows on any background.
void drawRing(MIRQ_IBitmap* bitmap, float x, float y, float r, uint32_t colour) {
    if (!hostApi.MIRQ_Circle) return;
    hostApi.MIRQ_Circle(bitmap, x, y, r - 0.375f, int(colour), 1.0f, 0, true);
    hostApi.MIRQ_Circle(bitmap, x, y, r + 0.375f, int(colour), 1.0f, 0, true);
    hostApi.MIRQ_Circle(bitmap, x, y, r, int(colour), 1.0f, 0, false);
}

uint32_t pixelUnder(MIRQ_IBitmap* bitmap, int x, int y) {
    return hostApi.MIRQ_GetPixel ? uint32_t(hostApi.MIRQ_GetPixel(bitmap, x, y)) : 0u;
}

// Anti-aliased lines through the points of an ellipse, steps first to last of n to a turn.
void drawArc(MIRQ_IBitmap* bitmap, double cx, double cy, double rx, double ry, int first, int last, int n,
             uint32_t colour) {
    if (!hostApi.MIRQ_Line) return;
    for (int i = first; i < last; i++) {
        double t0 = i * TAU / n, t1 = (i + 1) * TAU / n;
        hostApi.MIRQ_Line(bitmap, float(cx + rx * std::cos(t0)), float(cy - ry * std::sin(t0)),
                          float(cx + rx * std::cos(t1)), float(cy - ry * std::sin(t1)), int(colour), 1.0f, 0, true);
    }
}

void lineInt(MIRQ_IBitmap* b, int x1, int y1, int x2, int y2, uint32_t colour) {
    if (hostApi.MIRQ_LineInt) hostApi.MIRQ_LineInt(b, x1, y1, x2, y2, int(colour), 1.0f, 0, y1 != y2);
}

// ---- the disc's clip: the room's outline through the input ----

struct ClipBox {
    int left, top, right, bottom;
};

ClipBox discClip(const SurroundPanner* p, const PaneView& v, double x, double y, double z) {
    int fixed, a, b;
    screenAxes(p, v.pane, &fixed, &a, &b);
    const double lowA = a == 2 ? 0.0 : -1.0, lowB = b == 2 ? 0.0 : -1.0;
    const double corners[4][2] = {{lowA, lowB}, {1.0, lowB}, {1.0, 1.0}, {lowA, 1.0}};
    Projected q[4];
    for (int i = 0; i < 4; i++) {
        double point[3] = {x, y, z};
        point[a] = corners[i][0];
        point[b] = corners[i][1];
        q[i] = projectPoint(v.camera, v.middle, point[0], point[1], point[2]);
    }
    std::sort(q, q + 4, [](const Projected& l, const Projected& r) { return l.x != r.x ? l.x < r.x : l.y < r.y; });
    return {q[0].x, q[0].y, q[3].x, q[3].y};
}

// One disc through a view clipped to the room's outline; also the spread in the window.
void drawDisc(SurroundPanner* p, MIRQ_IBitmap* bitmap, const PaneView& v, const PanInput& input, const Projected& at,
              double x, double y, double z, uint32_t colour, bool spread) {
    ClipBox box = discClip(p, v, x, y, z);
    const double e = box.bottom - box.top;
    // A view starts inside its parent: an outline that reaches past the bitmap's top or left edge
    // is cut there, so that the disc keeps its place.
    box.left = std::max(box.left, -v.rect.x);
    box.top = std::max(box.top, -v.rect.y);
    if (box.right <= box.left || box.bottom <= box.top) return;
    MIRQ_SubBitmap view(bitmap, v.rect.x + box.left, v.rect.y + box.top, box.right - box.left, box.bottom - box.top);
    const double radius = inputSize(v.pane, at.d, v.rect.w) / 2.0;
    const float cx = float(at.x - box.left), cy = float(at.y - box.top);
    hostApi.MIRQ_FillCircle(&view, cx, cy, float(radius), int(colour), 1.0f, 0, true);
    double divergence = sharedLoad(input.divergence);
    if (spread && divergence > 0.0) {
        hostApi.MIRQ_FillCircle(&view, cx, cy, float(radius + divergence * (e / 2.0 - radius)), int(colour), 0.125f, 0,
                                true);
    }
}

// ---- the cube of the view buttons ----

struct Edge {
    int x1, y1, x2, y2;
    int faces;  // bits of the faces it borders
};
enum { FACE_TOP = 1, FACE_RIGHT = 2, FACE_FRONT = 4 };
const Edge CUBE_EDGES[9] = {
    {9, 5, 19, 5, FACE_TOP},           {5, 9, 9, 5, FACE_TOP},           {19, 5, 19, 15, FACE_RIGHT},
    {19, 15, 15, 19, FACE_RIGHT},      {5, 9, 5, 19, FACE_FRONT},        {5, 19, 15, 19, FACE_FRONT},
    {5, 9, 15, 9, FACE_TOP | FACE_FRONT}, {15, 9, 19, 5, FACE_TOP | FACE_RIGHT}, {15, 9, 15, 19, FACE_RIGHT | FACE_FRONT},
};

void drawCube(MIRQ_IBitmap* b, int filled, uint32_t ink, uint32_t background) {
    if (filled & FACE_TOP && hostApi.MIRQ_FillConvexPolygon) {
        const int xs[4] = {9, 19, 15, 5}, ys[4] = {5, 5, 9, 9};
        hostApi.MIRQ_FillConvexPolygon(b, xs, ys, 4, int(ink), 1.0f, 0);
    }
    if (filled & FACE_RIGHT && hostApi.MIRQ_FillConvexPolygon) {
        const int xs[4] = {15, 19, 19, 15}, ys[4] = {9, 5, 15, 19};
        hostApi.MIRQ_FillConvexPolygon(b, xs, ys, 4, int(ink), 1.0f, 0);
    }
    if (filled & FACE_FRONT && hostApi.MIRQ_FillRect) hostApi.MIRQ_FillRect(b, 5, 9, 11, 11, int(ink), 1.0f, 0);
    for (const Edge& e : CUBE_EDGES) {
        bool inner = (e.faces & (e.faces - 1)) != 0;
        lineInt(b, e.x1, e.y1, e.x2, e.y2, inner && (filled & e.faces) ? background : ink);
    }
}

const char* cachedText(const char*& cache, const char* text) {
    if (!cache) cache = hostApi.__localizeFunc ? hostApi.__localizeFunc(text, "kelvanepan", 0) : text;
    if (!cache) cache = text;
    return cache;
}

}  // namespace

double paneWeight(int pane) {
    switch (pane) {
        case PANE_INLINE: return 1.25;
        case PANE_TOP: return 0.875;
        case PANE_ORBIT: return 0.5;
        default: return 0.75;
    }
}

uint32_t contrastColour(uint32_t colour) {
    int r = int((colour >> 16) & 0xFF), g = int((colour >> 8) & 0xFF), b = int(colour & 0xFF);
    return 130 * r + 256 * g + 50 * b > 60000 ? 0xFF000000u : 0xFFFFFFFFu;
}

uint32_t dialogFaceColour() {
    uint32_t bgr = hostApi.GSC_darkwrap ? uint32_t(hostApi.GSC_darkwrap(15)) : 0xF0F0F0u;
    return 0xFF000000u | (bgr & 0xFF) << 16 | (bgr & 0xFF00) | (bgr >> 16 & 0xFF);
}

void screenAxes(const SurroundPanner* p, int pane, int* fixed, int* first, int* second) {
    const Camera* c = viewCamera(p, pane);
    double yaw = c ? c->yaw : 0.0, pitch = c ? c->pitch : 90.0;
    bool side = std::fabs(yaw) >= 45.0 && std::fabs(yaw) < 135.0;
    if (pitch >= 30.0) {
        *fixed = 2, *first = side ? 1 : 0, *second = side ? 0 : 1;
    } else {
        *fixed = side ? 0 : 1, *first = side ? 1 : 0, *second = 2;
    }
}

bool viewButtonRect(const SurroundPanner* p, int kind, int index, int w, int h, PaneRect* rect) {
    const int right = w * 63 / 64, bottom = h * 63 / 64;
    PaneRect r = {};
    bool shown = true;
    switch (kind) {
        case BUTTON_OPTIONS: r = {w / 64, bottom - 24, 48, 24}; break;
        case BUTTON_ZSHAPE: r = {w / 2 - 36, bottom - 24, 72, 24}; break;
        case BUTTON_MODE: r = {right - 72 + 24 * index - (48 - 24 * index) / 8, bottom - 24, 24, 24}; break;
        case BUTTON_VIEW:
            r = {right - 24, bottom - 96 + 24 * index, 24, 24};
            shown = viewMode(p) == VIEW_ORBIT;
            break;
        default: shown = false;
    }
    if (rect) *rect = r;
    return shown;
}

void drawSpeakerLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, const ThemeColours& theme) {
    PaneView panes[PANE_COUNT];
    int paneCount = layerPanes(p, bitmap, small, panes);
    const PanSpeaker* spk = speakerRecords(p);
    const int selected = selectedSpeaker(p), dragged = small ? -1 : p->dragState[DRAG_SPEAKER];
    const bool numbered = p->layoutId == 0 && !(p->uiFlags & FLAG_LOCK_SPEAKERS);
    for (int k = 0; k < paneCount; k++) {
        const PaneView& v = panes[k];
        const int w = v.rect.w;
        if (p->layoutFamily == 2 && (v.pane == PANE_TOP || v.pane == PANE_INLINE) && hostApi.MIRQ_Circle) {
            double edgeX = 0;
            v.camera->project(1.0, 0.0, 0.0, &edgeX, nullptr, nullptr);
            float radius = float(int(std::floor(edgeX + 0.5)) - w / 2);
            hostApi.MIRQ_Circle(bitmap, float(v.rect.x + w / 2), float(v.rect.y + v.rect.h / 2), radius, int(theme.infcol),
                                1.0f, 0, true);
        }
        Projected middle = projectPoint(v.camera, v.middle, 0.0, 0.0, 0.5);
        for (int i = 0; i < speakerCount(p); i++) {
            if (!speakerShown(p, i)) continue;
            const PanSpeaker& s = spk[i];
            const double x = sharedLoad(s.posX);
            Projected at = projectPoint(v.camera, v.middle, x, sharedLoad(s.posY), sharedLoad(s.posZ));
            const int size = int((1.0 - (0.75 * at.d - 1.0) * 0.5) * paneWeight(v.pane) * w * 0.078125);
            const int dx = at.x - middle.x, dy = middle.y - at.y;
            const double angle = dx == 0 && dy == 0 ? 0.0 : std::atan2(double(dx), double(dy));
            const int sx = v.rect.x + at.x, sy = v.rect.y + at.y;
            MIRQ_IBitmap* picture = sprite(i == selected, theme);
            if (picture && hostApi.MIRQ_RotatedBlit)
                hostApi.MIRQ_RotatedBlit(bitmap, picture, sx - size / 2, sy - size / 2, size, size, 0.0f, 0.0f, 24.0f, 24.0f,
                                         angle, false, float(speakerOpacity(p, s)),
                                         MIRQ_MODE_FILTER | MIRQ_MODE_SOURCE_ALPHA, 0.0f, 0.0f);
            if (i == dragged) drawRing(bitmap, float(sx), float(sy), float(size / 2), theme.spkcol);
            if (v.pane == PANE_TOP && numbered) {
                char text[128];
                if (i == dragged) std::snprintf(text, sizeof text, "%d %s", i + 1, s.name);
                else std::snprintf(text, sizeof text, "%d", i + 1);
                const int gap = i == dragged ? size * 3 / 4 : size / 2;
                drawLabel(bitmap, text, -1, x < 0 ? sx - gap : sx + gap, sy, theme.spkcol,
                          LABEL_FLAGS | (x < 0 ? MIRQ_DT_RIGHT : 0));
            }
        }
    }
}

void drawInputLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small) {
    if (!hostApi.MIRQ_FillCircle) return;
    PaneView panes[PANE_COUNT];
    int paneCount = layerPanes(p, bitmap, small, panes);
    int count = 0;
    VisibleInput* list = visibleInputs(&count);
    const PanInput* in = inputRecords(p);
    for (int k = 0; k < paneCount; k++) {
        const PaneView& v = panes[k];
        projectVisible(p, v, list, count);
        sortFarFirst(list, count);
        if (v.pane == PANE_TOP || v.pane == PANE_INLINE)
            for (int e = 0; e < count; e++) {
                const PanInput& input = in[list[e].index];
                const double x = sharedLoad(input.posX), y = sharedLoad(input.posY);
                if (sharedLoad(input.posZ) == 0.0) continue;
                Projected shadow = projectPoint(v.camera, v.middle, x, y, 0.0);
                drawDisc(p, bitmap, v, input, shadow, x, y, 0.0, 0xFF404040u, false);
            }
        for (int e = 0; e < count; e++) {
            const PanInput& input = in[list[e].index];
            const double x = sharedLoad(input.posX), y = sharedLoad(input.posY), z = sharedLoad(input.posZ);
            const Projected at = {list[e].screenX, list[e].screenY, list[e].depth};
            drawDisc(p, bitmap, v, input, at, x, y, z, input.color | 0xFF000000u, !small);
            if (v.pane == PANE_TOP) {
                char number[16];
                std::snprintf(number, sizeof number, "%d", list[e].index + 1);
                const int px = v.rect.x + at.x, py = v.rect.y + at.y;
                drawLabel(bitmap, number, -1, px, py, contrastColour(pixelUnder(bitmap, px, py)),
                          LABEL_FLAGS | MIRQ_DT_CENTER);
            }
        }
    }
}

void drawSelectionLayer(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small) {
    const bool editAll = (p->uiFlags & FLAG_EDIT_ALL) != 0;
    if (small && editAll) return;
    PaneView panes[PANE_COUNT];
    int paneCount = layerPanes(p, bitmap, small, panes);
    int count = 0;
    VisibleInput* list = visibleInputs(&count);
    const PanInput* in = inputRecords(p);
    const char* channel = localize("channel ", "kelvanepan", 0);
    for (int k = 0; k < paneCount; k++) {
        const PaneView& v = panes[k];
        projectVisible(p, v, list, count);
        for (int e = 0; e < count; e++) {
            const PanInput& input = in[list[e].index];
            if (!sharedLoad(input.selected)) continue;
            const uint32_t colour = input.color | 0xFF000000u;
            const double x = sharedLoad(input.posX), y = sharedLoad(input.posY), z = sharedLoad(input.posZ);
            const double size = inputSize(v.pane, list[e].depth, v.rect.w);
            const int sx = v.rect.x + list[e].screenX, sy = v.rect.y + list[e].screenY;
            if (small) {
                if (hostApi.MIRQ_Circle)
                    hostApi.MIRQ_Circle(bitmap, float(sx), float(sy), float(size * 0.75), int(colour), 1.0f, 0, true);
                continue;
            }
            if (!editAll) drawRing(bitmap, float(sx), float(sy), float(size * 0.75), colour);
            if (v.pane == PANE_TOP) {
                const char* name = input.name;
                if (std::strncmp(name, "channel ", 8) != 0 && (!channel || std::strncmp(name, channel, std::strlen(channel)) != 0)) {
                    // The first eight characters, counted in UTF-8.
                    int bytes = 0;
                    for (int chars = 0; name[bytes] && chars < 8; chars++) {
                        bytes++;
                        while ((uint8_t(name[bytes]) & 0xC0) == 0x80) bytes++;
                    }
                    int gap = int(size);
                    drawLabel(bitmap, name, bytes, x < 0 ? sx - gap : sx + gap, sy, colour,
                              LABEL_FLAGS | (x < 0 ? MIRQ_DT_RIGHT : 0));
                }
            } else if (z != 0.0 && hostApi.MIRQ_Line) {
                Projected floor = projectPoint(v.camera, v.middle, x, y, 0.0);
                hostApi.MIRQ_Line(bitmap, float(v.rect.x + floor.x), float(v.rect.y + floor.y), float(sx), float(sy),
                                  int(colour), 1.0f, 0, true);
            }
            if (v.pane == PANE_ORBIT && p->dragState[DRAG_INPUT] >= 0 && hostApi.MIRQ_Line) {
                int fixed, first, second;
                screenAxes(p, v.pane, &fixed, &first, &second);
                const bool side = first == 1;
                const bool alongY = v.camera->pitch >= 30.0 || side, alongX = v.camera->pitch >= 30.0 || !side;
                auto guide = [&](double x1, double y1, double x2, double y2) {
                    Projected a = projectPoint(v.camera, v.middle, x1, y1, 0.0), b = projectPoint(v.camera, v.middle, x2, y2, 0.0);
                    hostApi.MIRQ_Line(bitmap, float(v.rect.x + a.x), float(v.rect.y + a.y), float(v.rect.x + b.x),
                                      float(v.rect.y + b.y), int(colour), 1.0f, 0, true);
                };
                if (alongY) guide(x, -1.0, x, 1.0);
                if (alongX) guide(-1.0, y, 1.0, y);
            }
        }
        if (v.pane != PANE_INLINE && p->sceneAutomated && hostApi.MIRQ_ThickFLine) {
            Projected at = projectPoint(v.camera, v.middle, p->sceneX, p->sceneY, (p->sceneZ + 1.0) * 0.5);
            const int half = int(inputSize(v.pane, at.d, v.rect.w) * 0.125 + 0.5);
            const int sx = v.rect.x + at.x, sy = v.rect.y + at.y;
            const int ink = int(contrastColour(pixelUnder(bitmap, sx, sy)));
            hostApi.MIRQ_ThickFLine(bitmap, sx - half, sy - half, sx + half, sy + half, ink, 1.0f, 0, true, 3.0);
            hostApi.MIRQ_ThickFLine(bitmap, sx - half, sy + half, sx + half, sy - half, ink, 1.0f, 0, true, 3.0);
        }
    }
}

void drawShapePicture(MIRQ_IBitmap* bitmap, int x, int y, int shape, uint32_t colour) {
    MIRQ_SubBitmap b(bitmap, x, y, 24, 24);
    struct Segment {
        int x1, y1, x2, y2;
    };
    static const Segment LINES[4][7] = {
        {{5, 19, 14, 19}, {7, 5, 16, 5}, {5, 19, 7, 5}, {14, 19, 16, 5}, {15, 15, 19, 15}, {19, 15, 16, 5}, {0, 0, 0, 0}},
        {{5, 5, 14, 5}, {7, 19, 16, 19}, {5, 5, 7, 19}, {14, 5, 16, 19}, {15, 9, 19, 9}, {19, 9, 16, 19}, {0, 0, 0, 0}},
        {{5, 19, 15, 19}, {7, 7, 17, 7}, {5, 19, 7, 7}, {15, 19, 17, 7}, {7, 7, 9, 5}, {9, 5, 19, 5}, {19, 5, 17, 7}},
        {{5, 5, 15, 5}, {7, 17, 17, 17}, {5, 5, 7, 17}, {15, 5, 17, 17}, {7, 17, 9, 19}, {9, 19, 19, 19}, {19, 19, 17, 17}},
    };
    switch (shape) {
        case 1:
            drawArc(&b, 12, 19, 7, 14, 1, 16, 32, colour);
            drawArc(&b, 10, 16, 9, 4, 21, 32, 32, colour);
            break;
        case 2:
            drawArc(&b, 12, 5, 7, 14, 17, 32, 32, colour);
            drawArc(&b, 14, 8, 9, 4, 5, 16, 32, colour);
            break;
        case 3:
        case 4:
        case 5:
        case 6:
            for (const Segment& s : LINES[shape - 3])
                if (s.x1 || s.y1 || s.x2 || s.y2) lineInt(&b, s.x1, s.y1, s.x2, s.y2, colour);
            break;
        default: break;
    }
}

void drawButtons(SurroundPanner* p, MIRQ_IBitmap* bitmap) {
    const int w = bitmap->width(), h = bitmap->height();
    const uint32_t background = dialogFaceColour(), ink = contrastColour(background);
    const int mode = viewMode(p);
    PaneRect r;
    auto frame = [&](MIRQ_IBitmap* b, int x, int y, int fw, int fh) {
        if (hostApi.MIRQ_DrawRect) hostApi.MIRQ_DrawRect(b, x, y, fw, fh, int(ink), 1.0f, 0);
    };
    auto fillOrFrame = [&](MIRQ_IBitmap* b, int x, int y, int fw, int fh, bool fill) {
        if (fill && hostApi.MIRQ_FillRect) hostApi.MIRQ_FillRect(b, x, y, fw, fh, int(ink), 1.0f, 0);
        else frame(b, x, y, fw, fh);
    };
    if (mode == VIEW_ORBIT)
        for (int i = 0; i < 3; i++)
            if (viewButtonRect(p, BUTTON_VIEW, i, w, h, &r)) {
                MIRQ_SubBitmap b(bitmap, r.x, r.y, r.w, r.h);
                drawCube(&b, i == 0 ? FACE_TOP : i == 1 ? FACE_RIGHT : FACE_FRONT, ink, background);
            }
    for (int i = 0; i < 3; i++) {
        viewButtonRect(p, BUTTON_MODE, i, w, h, &r);
        MIRQ_SubBitmap b(bitmap, r.x, r.y, r.w, r.h);
        const bool chosen = mode == i;
        if (i == 0) {
            fillOrFrame(&b, 2, 2, 20, 20, chosen);
        } else if (i == 1) {
            fillOrFrame(&b, 6, 2, 12, 12, chosen);
            fillOrFrame(&b, 2, 17, 9, 5, chosen);
            fillOrFrame(&b, 13, 17, 9, 5, chosen);
        } else {
            drawCube(&b, chosen ? FACE_TOP | FACE_RIGHT | FACE_FRONT : 0, ink, background);
            // The sign of turning, on the view itself, so not cut at the button's edge.
            drawArc(bitmap, r.x + 12, r.y + 12, 13, 13, 12, 16, 16, ink);
            const int tips[2][6] = {{21, 14, 27, 14, 24, 9}, {14, 21, 14, 27, 9, 24}};
            for (const auto& t : tips) {
                if (hostApi.MIRQ_FillTriangle)
                    hostApi.MIRQ_FillTriangle(bitmap, r.x + t[0], r.y + t[1], r.x + t[2], r.y + t[3], r.x + t[4], r.y + t[5],
                                              int(ink), 1.0f, 0);
                if (hostApi.MIRQ_Line)
                    for (int side = 0; side < 2; side++)
                        hostApi.MIRQ_Line(bitmap, float(r.x + t[side * 2]), float(r.y + t[side * 2 + 1]), float(r.x + t[4]),
                                          float(r.y + t[5]), int(ink), 1.0f, 0, true);
            }
        }
    }
    static const char* zShapeText = nullptr;
    static const char* zShapeColonText = nullptr;
    static const char* optionsText = nullptr;
    viewButtonRect(p, BUTTON_ZSHAPE, 0, w, h, &r);
    {
        MIRQ_SubBitmap b(bitmap, r.x, r.y, r.w, r.h);
        frame(&b, 0, 0, r.w, r.h);
    }
    if (p->zShape == 0) {
        drawCaption(bitmap, cachedText(zShapeText, "Z shape"), w / 2 - 27, r.y, w / 2 + 27, r.y + r.h, ink);
    } else {
        drawCaption(bitmap, cachedText(zShapeColonText, "Z shape:"), w / 2 - 27, r.y, w / 2 + 12, r.y + r.h, ink);
        drawShapePicture(bitmap, w / 2 + 12, r.y, p->zShape, ink);
    }
    viewButtonRect(p, BUTTON_OPTIONS, 0, w, h, &r);
    {
        MIRQ_SubBitmap b(bitmap, r.x, r.y, r.w, r.h);
        frame(&b, 0, 0, r.w, r.h);
        drawCaption(&b, cachedText(optionsText, "Options"), 0, 0, r.w, r.h, ink);
    }
}

void drawMarquee(SurroundPanner* p, MIRQ_IBitmap* bitmap, const ThemeColours& theme) {
    PaneRect origin = {};
    int pane = p->dragState[DRAG_PANE];
    if (pane != PANE_INLINE) paneRect(p, pane, bitmap->width(), bitmap->height(), &origin);
    const int32_t* m = p->marqueeRect;
    const int x1 = origin.x + std::min(m[0], m[2]), y1 = origin.y + std::min(m[1], m[3]);
    const int x2 = origin.x + std::max(m[0], m[2]), y2 = origin.y + std::max(m[1], m[3]);
    if (hostApi.MIRQ_FillRect) hostApi.MIRQ_FillRect(bitmap, x1, y1, x2 - x1, y2 - y1, int(theme.marqcol), 0.125f, MIRQ_MODE_ADD);
    if (hostApi.MIRQ_DrawRect) hostApi.MIRQ_DrawRect(bitmap, x1, y1, x2 - x1, y2 - y1, int(theme.marqcol), 1.0f, 0);
}

void releaseViewSprites() {
    for (MIRQ_IBitmap*& s : sprites) {
        mirqDestroy(s);
        s = nullptr;
    }
}
