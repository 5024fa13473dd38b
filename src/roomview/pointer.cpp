#include "roomview/pointer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "engine/parameter_map.h"
#include "engine/position.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/theme_colours.h"
#include "layouts/layouts.h"
#include "roomview/overlays.h"
#include "roomview/stamps.h"
#include "roomview/view_window.h"

namespace {

// A one-axis drag picks its axis once the pointer has travelled this far on it, in room units.
constexpr double LOCK_DISTANCE = 1.0 / 48.0;
// Degrees the orbit camera turns for a travel of the whole view.
constexpr double ORBIT_DEGREES = 80.0;
constexpr intptr_t VIEW_TAKES_CAPTURE = 0x1000000;

enum { SMALL_MOUSE_MOVE = 0x200, SMALL_LEFT_DOWN, SMALL_LEFT_UP, SMALL_DOUBLE, SMALL_RIGHT_DOWN, SMALL_RIGHT_UP };

// A room point on a camera, in whole pane pixels, with its depth against the room's middle.
struct ScreenPoint {
    int x, y;
    double d;
    bool front;
};

ScreenPoint screenPoint(const Camera* c, double middle, double x, double y, double z) {
    double sx = 0, sy = 0, dist = 0;
    c->project(x, y, z, &sx, &sy, &dist);
    double px, py, pz;
    transformPoint(c->viewMatrix, x - c->posX, y - c->posY, z - c->posZ, px, py, pz);
    return {int(std::floor(sx + 0.5)), int(std::floor(sy + 0.5)), dist - middle, pz >= 1e-10};
}

double middleDistance(const Camera* c) {
    double dist = 0;
    c->project(0.0, 0.0, 0.5, nullptr, nullptr, &dist);
    return dist;
}

bool oneAxisDrag(const SurroundPanner* p, uint32_t keys) {
    return ((p->uiFlags & FLAG_EDIT_1D) != 0) != ((keys & POINTER_SHIFT) != 0);
}

void clampToRoom(const SurroundPanner* p, double v[3]) {
    v[0] = std::clamp(v[0], -1.0, 1.0);
    v[1] = std::clamp(v[1], -1.0, 1.0);
    v[2] = std::clamp(v[2], 0.0, 1.0);
    const double r2 = v[0] * v[0] + v[1] * v[1];
    if (p->layoutFamily == 2 && r2 > 1.0) {
        const double r = std::sqrt(r2);
        v[0] /= r;
        v[1] /= r;
    }
}

void clearSelection(SurroundPanner* p, int except) {
    PanInput* in = inputRecords(p);
    for (int i = 0; i < inputCount(p); i++)
        if (i != except) in[i].selected = 0;
}

void setViewMode(SurroundPanner* p, int mode) {
    p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(mode) << UI_VIEW_MODE_SHIFT;
}

// The buttons of the window; true when one was pressed, with the gesture's result in *result.
bool pressButton(SurroundPanner* p, const ViewPointer& at, ViewMenuRequest* menu, bool* result) {
    auto inside = [&](const PaneRect& r) { return r.x <= at.x && at.x < r.x + r.w && r.y <= at.y && at.y < r.y + r.h; };
    PaneRect r;
    *result = false;
    const int menus[2][2] = {{BUTTON_OPTIONS, VIEW_MENU_OPTIONS}, {BUTTON_ZSHAPE, VIEW_MENU_ZSHAPE}};
    for (const auto& m : menus) {
        if (viewButtonRect(p, m[0], 0, at.width, at.height, &r) && inside(r)) {
            if (menu) *menu = {m[1], r.x, r.y + r.h};
            return true;
        }
    }
    for (int i = 0; i < 3; i++) {
        if (!viewButtonRect(p, BUTTON_MODE, i, at.width, at.height, &r) || !inside(r)) continue;
        setViewMode(p, i);
        if (i == VIEW_ORBIT) {
            p->dragState[DRAG_ORBIT] = 3;
            *result = true;
        }
        return true;
    }
    // From above, from the side, from behind.
    const double ORBIT_VIEWS[3][2] = {{0.0, 90.0}, {90.0, 0.0}, {0.0, 0.0}};
    for (int i = 0; i < 3; i++) {
        if (!viewButtonRect(p, BUTTON_VIEW, i, at.width, at.height, &r) || !inside(r)) continue;
        setOrbit(p, PANE_ORBIT, ORBIT_VIEWS[i][0], ORBIT_VIEWS[i][1]);
        return true;
    }
    return false;
}

// Moves the dragged speaker by delta, kept in the room (and on the circle of the circular
// layouts); the analysis and the gains follow.
void moveSpeaker(SurroundPanner* p, int index, const double delta[3]) {
    PanSpeaker& s = speakerRecords(p)[index];
    double v[3] = {sharedLoad(s.posX) + delta[0], sharedLoad(s.posY) + delta[1], sharedLoad(s.posZ) + delta[2]};
    clampToRoom(p, v);
    sharedStore(s.posX, v[0]);
    sharedStore(s.posY, v[1]);
    sharedStore(s.posZ, v[2]);
    analyzeSpeakers(p);
    sharedStore(p->speakersChanged, uint8_t(1));
}

// Moves the inputs of the drag by delta, each axis turned by the reverse flags that differ from
// the grabbed input's.
void moveInputs(SurroundPanner* p, const double delta[3]) {
    PanInput* in = inputRecords(p);
    const PanInput& grabbed = in[p->dragState[DRAG_INPUT]];
    const bool all = (p->uiFlags & FLAG_EDIT_ALL) != 0, respect = !(p->uiFlags & FLAG_IGNORE_REVERSE);
    const bool solo = anyInputSolo(p);
    for (int i = 0; i < inputCount(p); i++) {
        PanInput& input = in[i];
        if (!inputDrawn(p, i, solo) || !(input.selected || all)) continue;
        auto sign = [&](uint8_t mine, uint8_t theirs) { return respect && mine != theirs ? -1.0 : 1.0; };
        input.workX += sign(input.reverseX, grabbed.reverseX) * delta[0];
        input.workY += sign(input.reverseY, grabbed.reverseY) * delta[1];
        input.workZ += sign(input.reverseZ, grabbed.reverseZ) * delta[2];
    }
    finishEdit(p, true);
}

// The one-axis rule: the axis that has travelled furthest, past the threshold and beyond both
// others, is kept for the rest of the drag. False while no axis qualifies.
bool lockAxis(SurroundPanner* p, double delta[3]) {
    int32_t& locked = p->dragState[DRAG_LOCKED_AXIS];
    if (locked < 0) {
        const double* a = p->dragAnchor;
        for (int k = 0; k < 3 && locked < 0; k++) {
            const double size = std::fabs(a[k]);
            if (size > LOCK_DISTANCE && size > std::fabs(a[(k + 1) % 3]) && size > std::fabs(a[(k + 2) % 3])) locked = k;
        }
        if (locked < 0) return false;
    }
    for (int k = 0; k < 3; k++)
        if (k != locked) delta[k] = 0.0;
    return true;
}

// Where the dragged channel stands: an input's working position, or a speaker's place.
void draggedPoint(const SurroundPanner* p, bool dragsInput, int input, int speaker, double point[3]) {
    if (dragsInput) {
        const PanInput& in = inputRecords(p)[input];
        point[0] = in.workX, point[1] = in.workY, point[2] = in.workZ;
    } else {
        const PanSpeaker& s = speakerRecords(p)[speaker];
        point[0] = sharedLoad(s.posX), point[1] = sharedLoad(s.posY), point[2] = sharedLoad(s.posZ);
    }
}

}  // namespace

// ---- geometry ----

int findPane(const SurroundPanner* p, int* x, int* y, int width, int height, bool small, int pane) {
    if (small) return PANE_INLINE;
    PaneRect r;
    if (pane >= 0) {
        if (!paneDrawn(p, pane, false) || !paneRect(p, pane, width, height, &r)) return -1;
        *x -= r.x;
        *y -= r.y;
        return pane;
    }
    const int margins[3][2] = {{0, 0}, {width / 32, height / 32}, {width / 16, height / 16}};
    for (const auto& m : margins) {
        for (int k = 0; k < PANE_COUNT; k++) {
            if (!paneDrawn(p, k, false) || !paneRect(p, k, width, height, &r)) continue;
            if (*x >= r.x - m[0] && *x < r.x + r.w + m[0] && *y >= r.y - m[1] && *y < r.y + r.h + m[1]) {
                *x -= r.x;
                *y -= r.y;
                return k;
            }
        }
    }
    return -1;
}

Camera* paneCamera(SurroundPanner* p, int pane, int width, int height) {
    ensureScene(p, themeColours);
    Camera* c = viewCamera(p, pane);
    PaneRect r;
    if (!c || !paneRect(p, pane, width, height, &r)) return nullptr;
    c->logicalWidth = r.w;
    c->logicalHeight = r.h;
    return c;
}

ChannelHit hitChannel(SurroundPanner* p, int pane, int x, int y, int width, int height, bool small, bool wantInputs,
                      bool wantSpeakers) {
    ChannelHit hit = {-1, -1};
    const Camera* c = viewCamera(p, pane);
    PaneRect r;
    if (!c || !paneRect(p, pane, width, height, &r)) return hit;
    const int w = small ? width : r.w;
    const double weight = paneWeight(pane), middle = middleDistance(c);
    const PanInput* in = inputRecords(p);
    const PanSpeaker* spk = speakerRecords(p);
    const bool solo = anyInputSolo(p);
    int grabX = 0, grabY = 0;
    for (int attempt = 0; attempt < (small ? 2 : 1); attempt++) {
        // The first attempt looks at the inner half of each disc.
        auto radius = [&](double size) { return attempt == 0 ? int(size) / 2 : int(size); };
        double best = 1000000.0;
        auto consider = [&](const ScreenPoint& s, int radiusPixels, int index, int* out) {
            if (!s.front || std::abs(s.x - x) >= radiusPixels || std::abs(s.y - y) >= radiusPixels || !(s.d < best)) return;
            best = s.d;
            *out = index;
            grabX = s.x - x;
            grabY = s.y - y;
        };
        for (int i = 0; wantInputs && i < inputCount(p); i++) {
            if (!inputDrawn(p, i, solo)) continue;
            ScreenPoint s = screenPoint(c, middle, sharedLoad(in[i].posX), sharedLoad(in[i].posY), sharedLoad(in[i].posZ));
            consider(s, radius((1.0 - (s.d - 1.0) * 0.5) * weight * 0.75 * w * 0.078125), i, &hit.input);
        }
        if (hit.input < 0) {
            for (int i = 0; wantSpeakers && i < speakerCount(p); i++) {
                if (!speakerShown(p, i)) continue;
                ScreenPoint s = screenPoint(c, middle, sharedLoad(spk[i].posX), sharedLoad(spk[i].posY), sharedLoad(spk[i].posZ));
                consider(s, radius((1.0 - (0.75 * s.d - 1.0) * 0.5) * weight * w * 0.078125), i, &hit.speaker);
            }
        }
        if (hit.input >= 0 || hit.speaker >= 0) {
            p->grabOffset[0] = grabX;
            p->grabOffset[1] = grabY;
            break;
        }
    }
    return hit;
}

bool pixelToPlane(const SurroundPanner* p, int pane, int px, int py, int axis, double value, double out[3]) {
    const Camera* c = viewCamera(p, pane);
    if (!c || axis < 0 || axis > 2) return false;
    const int w = c->logicalWidth, h = c->logicalHeight;
    const double fov = std::clamp(c->fov, 1.0, 179.0);
    // The inverse of the camera's projection: the ray through the pixel, turned into the room.
    double d[3];
    transformPoint(c->rayMatrix, px - w / 2, (py - h / 2) / c->invAspect, w / std::tan(fov * std::numbers::pi / 360.0),
                   d[0], d[1], d[2]);
    if (d[axis] == 0.0) return false;
    const double eye[3] = {c->posX, c->posY, c->posZ};
    const double t = (value - eye[axis]) / d[axis];
    for (int k = 0; k < 3; k++) out[k] = k == axis ? value : d[k] * t + eye[k];
    return true;
}

// ---- gestures ----

void resetDrag(SurroundPanner* p) {
    const int32_t idle[6] = {-1, -1, -1, 0, 0, -1};
    std::memcpy(p->dragState, idle, sizeof idle);
    std::memset(p->marqueeRect, 0, sizeof p->marqueeRect);
    std::memset(p->dragAnchor, 0, sizeof p->dragAnchor);
}

bool pointerDown(SurroundPanner* p, const ViewPointer& at, ViewMenuRequest* menu) {
    // A fresh gesture on a fresh snapshot.
    resetDrag(p);
    beginEdit(p);
    p->lastPointer[0] = at.x;
    p->lastPointer[1] = at.y;
    // The window's buttons.
    if (bool result = false; !at.small && pressButton(p, at, menu, &result)) return result;
    // The pane and the channel under the pointer.
    int x = at.x, y = at.y;
    const int pane = findPane(p, &x, &y, at.width, at.height, at.small, -1);
    if (pane < 0 || !paneCamera(p, pane, at.width, at.height)) return false;
    p->dragState[DRAG_PANE] = pane;
    const ChannelHit hit = hitChannel(p, pane, x, y, at.width, at.height, at.small, true, true);
    // The selection, unless inputs are locked.
    if (!(p->uiFlags & FLAG_LOCK_INPUTS)) {
        const int i = hit.input;
        PanInput* in = inputRecords(p);
        const bool keys = (at.keys & (POINTER_SHIFT | POINTER_CTRL)) != 0;
        if (i < 0 && hit.speaker < 0) clearSelection(p, -1);
        else if (i >= 0 && !in[i].selected && !keys) clearSelection(p, i);
        if (i >= 0) in[i].selected = (at.keys & POINTER_CTRL) ? !in[i].selected : 1;
        recomputeScene(p);
        if (i >= 0) {
            p->selectionState[SELECTION_VALUE_SPEAKER] = -1;
            p->selectionState[SELECTION_VALUE_INPUT] = i;
            p->selectionState[SELECTION_FOCUS] = i;
            p->dragState[DRAG_INPUT] = i;
            return true;
        }
    }
    // A speaker of a hand-made layout, when speakers are free, outside the orbit view.
    const int s = hit.speaker;
    if (s >= 0 && p->layoutId == 0 && !(p->uiFlags & FLAG_LOCK_SPEAKERS) && !at.small && pane != PANE_ORBIT) {
        p->selectionState[SELECTION_VALUE_INPUT] = -1;
        p->selectionState[SELECTION_VALUE_SPEAKER] = s;
        p->selectionState[SELECTION_FOCUS] = s | SELECT_SPEAKER;
        p->dragState[DRAG_SPEAKER] = s;
        return true;
    }
    return false;
}

bool pointerMove(SurroundPanner* p, const ViewPointer& at) {
    const int dx = at.x - p->lastPointer[0], dy = p->lastPointer[1] - at.y;
    p->lastPointer[0] = at.x;
    p->lastPointer[1] = at.y;
    int32_t* drag = p->dragState;
    // The orbit camera: the window only, as only the window has it.
    if (drag[DRAG_ORBIT] && !at.small) {
        const Camera* c = viewCamera(p, PANE_ORBIT);
        if (c && at.width > 0 && at.height > 0) {
            const double yaw = drag[DRAG_ORBIT] & 1 ? c->yaw - double(dx) / at.width * ORBIT_DEGREES : c->yaw;
            const double pitch = drag[DRAG_ORBIT] & 2 ? c->pitch - double(dy) / at.height * ORBIT_DEGREES : c->pitch;
            setOrbit(p, PANE_ORBIT, yaw, pitch);
        }
        return true;
    }
    // The marquee's second corner.
    if (drag[DRAG_MARQUEE] == (at.small ? 2 : 1)) {
        int x = at.x, y = at.y;
        if (findPane(p, &x, &y, at.width, at.height, at.small, drag[DRAG_PANE]) >= 0) {
            p->marqueeRect[2] = x;
            p->marqueeRect[3] = y;
        }
        return true;
    }
    // Nothing is dragged.
    const int input = drag[DRAG_INPUT], speaker = drag[DRAG_SPEAKER];
    if ((input < 0 || input >= inputCount(p)) && (speaker < 0 || speaker >= speakerCount(p))) return false;
    const bool dragsInput = input >= 0 && input < inputCount(p);
    // The pane, its axes, and what Alt makes of them.
    int x = at.x, y = at.y;
    const int pane = findPane(p, &x, &y, at.width, at.height, at.small, drag[DRAG_PANE]);
    const Camera* camera = pane >= 0 ? paneCamera(p, pane, at.width, at.height) : nullptr;
    if (!camera || at.height <= 0) return false;
    int fixed, first, second;
    screenAxes(p, pane, &fixed, &first, &second);
    bool heightMove = false;
    if (at.keys & POINTER_ALT) {
        if (fixed == 2) heightMove = true;
        else if (pane == PANE_ORBIT) fixed = first;
    }
    // The travel, in room units.
    double delta[3] = {0.0, 0.0, 0.0};
    double point[3];
    draggedPoint(p, dragsInput, input, speaker, point);
    double q[3];
    if (heightMove) {
        delta[2] = dy * 2.0 / at.height;
    } else if (pixelToPlane(p, pane, x + p->grabOffset[0], y + p->grabOffset[1], fixed, point[fixed], q)) {
        for (int k = 0; k < 3; k++) {
            delta[k] = q[k] - point[k];
            p->dragAnchor[k] += delta[k];
        }
    }
    // One axis; no height under a Z shape.
    if (!heightMove && oneAxisDrag(p, at.keys) && !lockAxis(p, delta)) return false;
    if (p->zShape != 0) delta[2] = 0.0;
    // The channels move.
    if (dragsInput) moveInputs(p, delta);
    else moveSpeaker(p, speaker, delta);
    // After a height move the grab follows the channel, so that a plain move goes on from here.
    if (heightMove) {
        draggedPoint(p, dragsInput, input, speaker, point);
        const ScreenPoint s = screenPoint(camera, 0.0, point[0], point[1], point[2]);
        p->grabOffset[0] = s.x - x;
        p->grabOffset[1] = s.y - y;
    }
    return true;
}

void pointerUp(SurroundPanner* p) {
    if (p->dragState[DRAG_INPUT] < 0 && p->dragState[DRAG_SPEAKER] >= 0) tellDialogSpeakersMoved(p);
    resetDrag(p);
    beginEdit(p);
    endGestures(p);
}

bool marqueeDown(SurroundPanner* p, const ViewPointer& at) {
    if (p->uiFlags & FLAG_LOCK_INPUTS) return false;
    int x = at.x, y = at.y;
    const int pane = findPane(p, &x, &y, at.width, at.height, at.small, -1);
    if (pane < 0) return false;
    p->dragState[DRAG_PANE] = pane;
    p->dragState[DRAG_MARQUEE] = at.small ? 2 : 1;
    p->marqueeRect[0] = p->marqueeRect[2] = x;
    p->marqueeRect[1] = p->marqueeRect[3] = y;
    return true;
}

bool marqueeUp(SurroundPanner* p, const ViewPointer& at) {
    if (p->uiFlags & FLAG_LOCK_INPUTS) return false;
    // A release with no marquee of this view running is left alone.
    int x = at.x, y = at.y;
    const int pane = p->dragState[DRAG_MARQUEE] == (at.small ? 2 : 1)
                         ? findPane(p, &x, &y, at.width, at.height, at.small, p->dragState[DRAG_PANE])
                         : -1;
    const Camera* c = pane >= 0 ? paneCamera(p, pane, at.width, at.height) : nullptr;
    if (!c) {
        resetDrag(p);
        return false;
    }
    // The second corner.
    int32_t* m = p->marqueeRect;
    m[2] = x;
    m[3] = y;
    // The selection.
    if (!(at.keys & POINTER_SHIFT)) clearSelection(p, -1);
    const int left = std::min(m[0], m[2]), right = std::max(m[0], m[2]);
    const int top = std::min(m[1], m[3]), bottom = std::max(m[1], m[3]);
    PanInput* in = inputRecords(p);
    const bool solo = anyInputSolo(p);
    for (int i = 0; i < inputCount(p); i++) {
        if (!inputDrawn(p, i, solo)) continue;
        const ScreenPoint s = screenPoint(c, 0.0, sharedLoad(in[i].posX), sharedLoad(in[i].posY), sharedLoad(in[i].posZ));
        if (!s.front || s.x < left || s.x >= right || s.y < top || s.y >= bottom) continue;
        in[i].selected = (at.keys & POINTER_CTRL) ? !in[i].selected : 1;
    }
    // 4, 5.
    recomputeScene(p);
    resetDrag(p);
    beginEdit(p);
    return true;
}

bool pointerDouble(SurroundPanner* p, const ViewPointer& at) {
    if (p->uiFlags & FLAG_LOCK_INPUTS) return false;
    int x = at.x, y = at.y;
    const int pane = findPane(p, &x, &y, at.width, at.height, at.small, -1);
    if (pane < 0 || !paneCamera(p, pane, at.width, at.height)) return false;
    const ChannelHit hit = hitChannel(p, pane, x, y, at.width, at.height, at.small, true, true);
    if (hit.input >= 0) {
        resetInputPositions(p, hit.input);
        finishEdit(p, true);
        return true;
    }
    if (hit.speaker < 0) return false;
    // The selected inputs go to the speaker's place.
    const PanSpeaker& s = speakerRecords(p)[hit.speaker];
    double target[3] = {sharedLoad(s.posX), sharedLoad(s.posY), sharedLoad(s.posZ)};
    clampToRoom(p, target);
    beginEdit(p);
    const bool lfeInput = (p->channelOptions & CHANNEL_OPTION_LFE_INPUT) != 0;
    PanInput* in = inputRecords(p);
    for (int i = 0; i < inputCount(p); i++) {
        if (!in[i].selected || (lfeInput && i == 3)) continue;
        in[i].workX = target[0];
        in[i].workY = target[1];
        in[i].workZ = target[2];
    }
    finishEdit(p, true);
    return true;
}

// ---- the buttons' menus ----

bool viewMenuChecked(const SurroundPanner* p, int menu, int command) {
    if (menu == VIEW_MENU_OPTIONS) return command == OPTIONS_AUTO_SEND_NAMES && (p->uiFlags & FLAG_AUTO_SEND_NAMES);
    return menu == VIEW_MENU_ZSHAPE && command == ZSHAPE_MENU_FIRST + p->zShape;
}

bool viewMenuCommand(SurroundPanner* p, int menu, int command) {
    if (menu == VIEW_MENU_OPTIONS) {
        if (command != OPTIONS_AUTO_SEND_NAMES) return false;
        p->uiFlags ^= FLAG_AUTO_SEND_NAMES;
        return true;
    }
    if (menu != VIEW_MENU_ZSHAPE || command < ZSHAPE_MENU_FIRST || command >= ZSHAPE_MENU_FIRST + ZSHAPE_MENU_COUNT)
        return false;
    changeZShape(p, command - ZSHAPE_MENU_FIRST);
    notifyParameter(p, -1, -1, PG_ZSHAPE);
    return true;
}

// ---- the window's and the small view's messages ----

ViewMouseAnswer windowMouseMessage(SurroundPanner* p, int message, const ViewPointer& at, bool captured) {
    ViewMouseAnswer a = {};
    const int32_t* drag = p->dragState;
    switch (message) {
        case VIEW_MOUSE_LEFT_DOWN:
            if (!pointerDown(p, at, &a.menu)) break;
            a.capture = true;
            inputStampChanged(p, false);
            a.redraw = speakerStampChanged(p, false) ? VIEW_REDRAW_PAINT | VIEW_REDRAW_WORLD : uint32_t(VIEW_REDRAW_PAINT);
            break;
        case VIEW_MOUSE_DOUBLE: pointerDouble(p, at); break;
        case VIEW_MOUSE_RIGHT_DOWN: a.capture = marqueeDown(p, at); break;
        case VIEW_MOUSE_MOVE:
            if (!captured || !(drag[DRAG_ORBIT] || drag[DRAG_INPUT] >= 0 || drag[DRAG_SPEAKER] >= 0 || drag[DRAG_MARQUEE]))
                break;
            p->viewBusy = 1;
            pointerMove(p, at);
            break;
        case VIEW_MOUSE_LEFT_UP:
            if (!captured) break;
            a.release = true;
            pointerUp(p);
            break;
        case VIEW_MOUSE_RIGHT_UP:
            if (!captured) break;
            a.release = true;
            marqueeUp(p, at);
            a.redraw = VIEW_REDRAW_PAINT;
            break;
        default: break;
    }
    return a;
}

bool smallViewPointerMessage(SurroundPanner* p, int message, void* ptr, uint32_t keys, intptr_t* result) {
    if (message < SMALL_MOUSE_MOVE || message > SMALL_RIGHT_UP) return false;
    *result = 1;
    if (message == SMALL_LEFT_UP) {
        pointerUp(p);
        return true;
    }
    const int32_t* record = static_cast<const int32_t*>(ptr);
    if (!record || record[6] <= 0 || record[7] <= 0) return true;
    const ViewPointer at = {record[8], record[9], record[6], record[7], true, keys};
    bool took = false;
    switch (message) {
        case SMALL_MOUSE_MOVE: took = pointerMove(p, at); break;
        case SMALL_LEFT_DOWN: took = pointerDown(p, at, nullptr); break;
        case SMALL_DOUBLE: took = pointerDouble(p, at); break;
        case SMALL_RIGHT_DOWN: took = marqueeDown(p, at); break;
        case SMALL_RIGHT_UP: took = marqueeUp(p, at); break;
        default: break;
    }
    if (took) *result = VIEW_TAKES_CAPTURE;
    return true;
}
