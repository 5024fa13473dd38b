#include "engine/position.h"

#include <cmath>
#include <numbers>

#include "engine/instance.h"
#include "engine/parameter_map.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "platform/platform.h"

const char* const EDIT_MODE_NAMES[7] = {
    "Left/Right",
    "Rear/Front",
    "Low/High",
    "Left rear/Right front",
    "Left front/Right rear",
    "Width",
    "Rotation",
};

namespace {

double clamp(double v, double lo, double hi) { return v < lo ? lo : v > hi ? hi : v; }

bool skipsAsLfe(const SurroundPanner* p, int i) { return (p->channelOptions & CHANNEL_OPTION_LFE_INPUT) && i == 3; }

// The inputs group edits act on: all with "Edit all" or no selection, else the selected ones.
bool inEditGroup(const SurroundPanner* p, int i, bool anySelected) {
    if (skipsAsLfe(p, i)) return false;
    return (p->uiFlags & FLAG_EDIT_ALL) || !anySelected || inputRecords(p)[i].selected;
}
// The inputs the scene values describe: all with "Edit all", else only the selected ones.
bool inSceneGroup(const SurroundPanner* p, int i) {
    if (skipsAsLfe(p, i)) return false;
    return (p->uiFlags & FLAG_EDIT_ALL) || inputRecords(p)[i].selected;
}
bool anyInputSelected(const SurroundPanner* p) {
    for (int i = 0; i < inputCount(p); i++)
        if (inputRecords(p)[i].selected) return true;
    return false;
}

double* workAxis(PanInput& in, int a) { return a == 0 ? &in.workX : a == 1 ? &in.workY : &in.workZ; }
double axisLow(int a) { return a == 2 ? 0.0 : -1.0; }

double reverseSign(const SurroundPanner* p, uint8_t reversed) {
    return (!(p->uiFlags & FLAG_IGNORE_REVERSE) && reversed) ? -1.0 : 1.0;
}

// The n-th speaker that pans, or null.
const PanSpeaker* panningSpeaker(const SurroundPanner* p, int n) {
    for (int s = 0; s < speakerCount(p); s++) {
        const PanSpeaker& spk = speakerRecords(p)[s];
        if (!isPanningSpeaker(spk)) continue;
        if (n-- == 0) return &spk;
    }
    return nullptr;
}

// A radial move that stops at the centre: what went past it is kept in overflow and worked off
// first when the move turns back.
double radialMove(double length, double delta, double* overflow) {
    double moved = length + delta;
    if (moved < 0.0) {
        *overflow -= moved;
        return 0.0;
    }
    if (*overflow > 0.0) {
        double k = std::fmin(moved, *overflow);
        *overflow -= k;
        return moved - k;
    }
    return moved;
}

// The group's smallest and largest working value on each axis; false for an empty group.
bool sceneExtent(const SurroundPanner* p, double lo[3], double hi[3]) {
    bool any = false;
    for (int i = 0; i < inputCount(p); i++) {
        if (!inSceneGroup(p, i)) continue;
        PanInput& in = inputRecords(p)[i];
        for (int a = 0; a < 3; a++) {
            double v = *workAxis(in, a);
            lo[a] = any ? std::fmin(lo[a], v) : v;
            hi[a] = any ? std::fmax(hi[a], v) : v;
        }
        any = true;
    }
    return any;
}

double* sceneField(SurroundPanner* p, int a) { return a == 0 ? &p->sceneX : a == 1 ? &p->sceneY : &p->sceneZ; }

void moveOne(SurroundPanner* p, PanInput& in, int mode, double delta) {
    double sx = reverseSign(p, in.reverseX), sy = reverseSign(p, in.reverseY), sz = reverseSign(p, in.reverseZ);
    switch (mode) {
        case EDIT_LEFT_RIGHT: in.workX += sx * delta; return;
        case EDIT_REAR_FRONT: in.workY += sy * delta; return;
        case EDIT_LOW_HIGH: in.workZ += sz * delta; return;
        case EDIT_DIAGONAL:
            in.workX += sx * delta;
            in.workY += sy * delta;
            return;
        case EDIT_ANTIDIAGONAL:
            in.workX += sx * delta;
            in.workY -= sy * delta;
            return;
        case EDIT_WIDTH: {
            Polar w = polarFromXY(in.workX, in.workY, in.workZ);
            if (w.radius == 0.0) {
                Polar start = polarFromXY(in.editStartX, in.editStartY, in.editStartZ);
                w.angle = start.angle;
                w.z = start.z;
            }
            Point3 q = xyFromPolar(radialMove(w.radius, delta, &in.workOverflow), w.angle, w.z);
            in.workX = q.x;
            in.workY = q.y;
            in.workZ = q.z;
            return;
        }
        case EDIT_ROTATION: {
            double s = (!(p->uiFlags & FLAG_IGNORE_REVERSE) && in.reverseX != in.reverseY) ? -1.0 : 1.0;
            Polar w = polarFromXY(in.workX, in.workY, in.workZ);
            Point3 q = xyFromPolar(w.radius, w.angle + s * delta * 2.0 * std::numbers::pi, w.z);
            in.workX = q.x;
            in.workY = q.y;
            return;
        }
        default: {
            const PanSpeaker* t = panningSpeaker(p, mode - EDIT_SPEAKER);
            if (!t) return;
            Spherical v = spherical(t->posX - in.workX, t->posY - in.workY, t->posZ - in.workZ);
            if (v.length == 0.0) {
                Spherical start = spherical(t->posX - in.editStartX, t->posY - in.editStartY, t->posZ - in.editStartZ);
                v.azimuth = start.azimuth;
                v.elevation = start.elevation;
            }
            // A positive delta shortens the way to the speaker.
            Point3 back = fromSpherical(radialMove(v.length, -delta, &in.workOverflow), v.azimuth, v.elevation);
            in.workX = t->posX - back.x;
            in.workY = t->posY - back.y;
            in.workZ = t->posZ - back.z;
        }
    }
}

}  // namespace

double zFromShape(int shape, double x, double y) {
    auto dome = [&] {
        double arg = 1.0 - x * x - y * y;
        return arg <= 0.0 ? 0.0 : arg >= 1.0 ? 1.0 : std::sqrt(arg);
    };
    auto ceilingDown = [&] { return y <= 0.2 ? 0.0 : clamp((y - 0.2) / 0.8, 0.0, 1.0); };
    switch (shape) {
        case ZSHAPE_DOME_UP: return dome();
        case ZSHAPE_DOME_DOWN: return 1.0 - dome();
        case ZSHAPE_WEDGE_UP: return 1.0 - std::fabs(y);
        case ZSHAPE_WEDGE_DOWN: return std::fabs(y);
        case ZSHAPE_CEILING_UP: return 1.0 - ceilingDown();
        case ZSHAPE_CEILING_DOWN: return ceilingDown();
        default: return 0.0;
    }
}

void beginEdit(SurroundPanner* p) {
    for (int i = 0; i < inputCount(p); i++) {
        PanInput& in = inputRecords(p)[i];
        in.editStartX = in.workX = in.posX;
        in.editStartY = in.workY = in.posY;
        in.editStartZ = in.workZ = in.posZ;
        in.workOverflow = 0.0;
    }
    p->lastEditTick = tickCount();
}

void finishEdit(SurroundPanner* p, bool updateScene) {
    // Changes noted per axis for the inputs that have a parameter bit: X, Y, Z masks.
    uint64_t noted[3][2] = {};
    int firstChanged = -1;
    bool focusChanged = false;
    int32_t focus = p->selectionState[SELECTION_FOCUS];
    for (int i = 0; i < inputCount(p); i++) {
        PanInput& in = inputRecords(p)[i];
        // Into the room; onto the circle of the circular layouts; the Z shape.
        double x = clamp(in.workX, -1.0, 1.0), y = clamp(in.workY, -1.0, 1.0), z = clamp(in.workZ, 0.0, 1.0);
        if (p->layoutFamily == 2 && x * x + y * y > 1.0) {
            double r = std::sqrt(x * x + y * y);
            x /= r;
            y /= r;
        }
        if (p->zShape != ZSHAPE_NONE) z = zFromShape(p->zShape, x, y);
        // Store what changed, and note it.
        double* stored[3] = {&in.posX, &in.posY, &in.posZ};
        const double now[3] = {x, y, z};
        bool changed = false;
        for (int a = 0; a < 3; a++) {
            if (*stored[a] == now[a]) continue;
            sharedStore(*stored[a], now[a]);
            changed = true;
            if (i < CHANNEL_MASK_BITS) noted[a][i >> 6] |= uint64_t(1) << (i & 63);
        }
        if (changed && firstChanged < 0) firstChanged = i;
        if (changed && i == focus) focusChanged = true;
    }
    // The focus follows the first input that moved, unless the focused one moved too.
    if (firstChanged >= 0 && !focusChanged) p->selectionState[SELECTION_FOCUS] = firstChanged;
    if (updateScene) recomputeScene(p);
    int last = inputCount(p) < CHANNEL_MASK_BITS ? inputCount(p) : CHANNEL_MASK_BITS;
    for (int i = last - 1; i >= 0; i--) {
        bool any = false;
        for (int a = 2; a >= 0; a--) {
            if (!((noted[a][i >> 6] >> (i & 63)) & 1)) continue;
            notifyParameter(p, i, -1, PI_X + a);
            any = true;
        }
        if (any) markInputDirty(p, i);
    }
}

void recomputeScene(SurroundPanner* p) {
    double lo[3], hi[3];
    if (!sceneExtent(p, lo, hi)) return;
    for (int a = 0; a < 3; a++) {
        double span = axisLow(a) - hi[a] + lo[a];
        double t = (lo[a] - span) / (1.0 - span);
        double v = clamp(2.0 * t - 1.0, -1.0, 1.0);
        if (*sceneField(p, a) == v) continue;
        *sceneField(p, a) = v;
        notifyParameter(p, -1, -1, PG_SCENE_X + a);
    }
}

void setScene(SurroundPanner* p, const double values[3]) {
    double lo[3], hi[3];
    if (!sceneExtent(p, lo, hi)) return;
    for (int a = 0; a < 3; a++) {
        double v = values[a];
        if (*sceneField(p, a) == v) continue;
        double span = axisLow(a) - hi[a] + lo[a];
        double target = span + (1.0 - span) * (v + 1.0) / 2.0;
        for (int i = 0; i < inputCount(p); i++)
            if (inSceneGroup(p, i)) *workAxis(inputRecords(p)[i], a) += target - lo[a];
        *sceneField(p, a) = v;
    }
    finishEdit(p, false);
}

void moveGroup(SurroundPanner* p, int mode, double delta) {
    bool anySelected = anyInputSelected(p);
    if (mode >= 0)
        for (int i = 0; i < inputCount(p); i++)
            if (inEditGroup(p, i, anySelected)) moveOne(p, inputRecords(p)[i], mode, delta);
    finishEdit(p, true);
}

// The "Reset" rule of an edit row for one input; t is the row's speaker, null for none.
static void centerOne(PanInput& in, int mode, const PanSpeaker* t) {
    Polar w = polarFromXY(in.workX, in.workY, in.workZ);
    Point3 q;
    switch (mode) {
        case EDIT_LEFT_RIGHT:
        case EDIT_REAR_FRONT:
        case EDIT_LOW_HIGH: *workAxis(in, mode) = 0.0; break;
        case EDIT_DIAGONAL:
        case EDIT_ANTIDIAGONAL:
            in.workX = in.workY = (in.workX + in.workY) * 0.5 * (mode == EDIT_DIAGONAL ? 1.0 : -1.0);
            break;
        case EDIT_WIDTH:
        case EDIT_ROTATION:
            q = mode == EDIT_WIDTH ? xyFromPolar(0.5, w.angle, w.z) : xyFromPolar(w.radius, 0.0, w.z);
            in.workX = q.x;
            in.workY = q.y;
            break;
        default:
            if (!t) break;
            in.workX = t->posX;
            in.workY = t->posY;
            in.workZ = t->posZ;
    }
}

// The "Reflect" rule of an edit row for one input; t is the row's speaker, null for none.
static void flipOne(PanInput& in, int mode, const PanSpeaker* t) {
    Polar w = polarFromXY(in.workX, in.workY, in.workZ);
    double x = in.workX, y = in.workY;
    Point3 q;
    switch (mode) {
        case EDIT_LEFT_RIGHT:
        case EDIT_REAR_FRONT:
        case EDIT_LOW_HIGH: *workAxis(in, mode) = -*workAxis(in, mode); break;
        case EDIT_DIAGONAL:
            in.workX = y;
            in.workY = x;
            break;
        case EDIT_ANTIDIAGONAL:
            in.workX = -y;
            in.workY = -x;
            break;
        case EDIT_WIDTH:
            q = xyFromPolar(1.0 - w.radius, w.angle, w.z);
            in.workX = q.x;
            in.workY = q.y;
            break;
        case EDIT_ROTATION:
            in.workX = -x;
            in.workY = -y;
            break;
        default:
            if (!t) break;
            q = xyFromPolar(w.radius, 2.0 * polarFromXY(t->posX, t->posY, t->posZ).angle - w.angle, w.z);
            in.workX = q.x;
            in.workY = q.y;
    }
}

// A fresh edit with one rule applied to every input of the group; a mode that names nothing
// only finishes the edit.
static void editEachOfGroup(SurroundPanner* p, int mode, void (*rule)(PanInput&, int, const PanSpeaker*)) {
    beginEdit(p);
    bool anySelected = anyInputSelected(p);
    const PanSpeaker* t = mode >= EDIT_SPEAKER ? panningSpeaker(p, mode - EDIT_SPEAKER) : nullptr;
    if (mode >= 0)
        for (int i = 0; i < inputCount(p); i++)
            if (inEditGroup(p, i, anySelected)) rule(inputRecords(p)[i], mode, t);
    finishEdit(p, true);
}

void centerGroup(SurroundPanner* p, int mode) { editEachOfGroup(p, mode, centerOne); }
void flipGroup(SurroundPanner* p, int mode) { editEachOfGroup(p, mode, flipOne); }

static void setInputAxis(SurroundPanner* p, int index, int axis, double value) {
    if (index < 0 || index >= inputCount(p)) return;
    PanInput& in = inputRecords(p)[index];
    double* pos = axis == 0 ? &in.posX : axis == 1 ? &in.posY : &in.posZ;
    if (*pos == value) return;
    sharedStore(*pos, value);
    *workAxis(in, axis) = value;
    (axis == 0 ? in.editStartX : axis == 1 ? in.editStartY : in.editStartZ) = value;
    if (p->zShape != ZSHAPE_NONE) {
        double z = zFromShape(p->zShape, in.posX, in.posY);
        sharedStore(in.posZ, z);
        in.workZ = in.editStartZ = z;
    }
    markInputDirty(p, index);
}

void setInputX(SurroundPanner* p, int index, double value) { setInputAxis(p, index, 0, value); }
void setInputY(SurroundPanner* p, int index, double value) { setInputAxis(p, index, 1, value); }
void setInputZ(SurroundPanner* p, int index, double value) {
    if (p->zShape == ZSHAPE_NONE) setInputAxis(p, index, 2, value);
}

void changeZShape(SurroundPanner* p, int shape) {
    p->zShape = shape;
    if (shape == ZSHAPE_NONE) return;
    for (int i = 0; i < inputCount(p); i++) {
        if (skipsAsLfe(p, i)) continue;
        PanInput& in = inputRecords(p)[i];
        double z = zFromShape(shape, in.posX, in.posY);
        if (z == in.posZ) continue;
        sharedStore(in.posZ, z);
        notifyParameter(p, i, -1, PI_Z);
        markInputDirty(p, i);
    }
}

void setLfeChannel(SurroundPanner* p, bool on) {
    if (on) {
        sharedStore(p->channelOptions, p->channelOptions | CHANNEL_OPTION_LFE_INPUT);
        if (inputCount(p) > 3 && inputRecords(p)[3].lfeSend == 0.0) sharedStore(inputRecords(p)[3].lfeSend, 1.0);
    } else {
        sharedStore(p->channelOptions, p->channelOptions & ~uint32_t(CHANNEL_OPTION_LFE_INPUT));
    }
    markInputDirty(p, 3);
}
