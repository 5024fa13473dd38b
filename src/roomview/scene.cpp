#include "roomview/scene.h"

#include <cmath>
#include <new>
#include <numbers>

#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/bitmap.h"
#include "foundation/grow_buffer.h"
#include "foundation/host_api.h"
#include "renderer/mesh_builders.h"

namespace {

constexpr double DEGREES = 180.0 / std::numbers::pi;

// ---- tables ----

struct CameraRow {
    double fov, yaw, pitch;
};
const CameraRow CAMERA_ROWS[PANE_COUNT] = {
    {45.0, 0.0, 90.0},     // PANE_TOP
    {45.0, 90.0, 0.0},     // PANE_SIDE: from the right
    {45.0, 0.0, 0.0},      // PANE_REAR: from behind the listener
    {75.0, -67.5, 22.5},   // PANE_ORBIT
    {45.0, 0.0, 90.0},     // PANE_INLINE
};

double orbitRadius(int camera) { return camera == PANE_TOP || camera == PANE_INLINE ? 5.5 : camera == PANE_ORBIT ? 4.1 : 6.0; }

enum { WALL_LEFT, WALL_RIGHT, WALL_REAR, WALL_FRONT, WALL_FLOOR, WALL_CEILING, WALL_COUNT };
struct WallRow {
    double height, x, y, z, rotX, rotY, rotZ;
    uint32_t ThemeColours::*colour;
};
const WallRow WALL_ROWS[WALL_COUNT] = {
    {1.0, -1.0, 0.0, 0.5, 180.0, 0.0, -90.0, &ThemeColours::wallcol},
    {1.0, 1.0, 0.0, 0.5, 180.0, 0.0, 90.0, &ThemeColours::wallcol},
    {1.0, 0.0, -1.0, 0.5, 0.0, 180.0, 0.0, &ThemeColours::wallcol},
    {1.0, 0.0, 1.0, 0.5, 180.0, 0.0, 0.0, &ThemeColours::frontcol},
    {2.0, 0.0, 0.0, 0.0, -90.0, 0.0, 0.0, &ThemeColours::floorcol},
    {2.0, 0.0, 0.0, 1.0, 90.0, 0.0, 0.0, &ThemeColours::ceilcol},
};

// Z shape surfaces: the half sphere, then planes of the widths each shape needs.
enum { ZSHAPE_DOME, ZSHAPE_WEDGE_A, ZSHAPE_WEDGE_B, ZSHAPE_SLOPE, ZSHAPE_FLAT, ZSHAPE_OBJECTS };
const double ZSHAPE_PLANE_HEIGHTS[ZSHAPE_OBJECTS] = {0.0, 1.414213562373095, 1.414213562373095, 1.2806248474865696, 1.2};

// Where each zShape puts its objects: up to two (object, y, z, rotX).
struct ZPlacement {
    int object;
    double y, z, rotX;
};
struct ZShapeRow {
    int count;
    ZPlacement place[2];
};
const double SLOPE_DEGREES = std::atan(0.8) * DEGREES;
const ZShapeRow ZSHAPE_ROWS[7] = {
    {0, {}},
    {1, {{ZSHAPE_DOME, 0.0, 0.0, -90.0}}},                                                 // dome +
    {1, {{ZSHAPE_DOME, 0.0, 1.0, 90.0}}},                                                  // dome -
    {2, {{ZSHAPE_WEDGE_A, 0.5, 0.5, -45.0}, {ZSHAPE_WEDGE_B, -0.5, 0.5, 45.0}}},           // wedge +
    {2, {{ZSHAPE_WEDGE_A, 0.5, 0.5, 45.0}, {ZSHAPE_WEDGE_B, -0.5, 0.5, -45.0}}},           // wedge -
    {2, {{ZSHAPE_SLOPE, 0.6, 0.5, -SLOPE_DEGREES}, {ZSHAPE_FLAT, -0.4, 0.99, 90.0}}},      // ceiling +
    {2, {{ZSHAPE_SLOPE, 0.6, 0.5, SLOPE_DEGREES}, {ZSHAPE_FLAT, -0.4, 0.01, 90.0}}},       // ceiling -
};

constexpr double INPUT_RADIUS = 0.078125;
constexpr double SPREAD_REACH = 0.921875;
constexpr double SHADOW_HEIGHT = 0.0078125;

// ---- process-wide lists ----

GrowBuffer sharedFrameObjects = {nullptr, 0, 0, GROW_GRANULARITY};  // SceneObject*
GrowBuffer sharedVisibleInputs = {nullptr, 0, 0, GROW_GRANULARITY};  // VisibleInput
uint64_t renderCount = 0;

void appendObject(SceneObject* object) {
    if (object && object->mesh) growBufferAppend(&sharedFrameObjects, &object, sizeof object);
}

// ---- small helpers ----

void setEmissive(Material& m, uint32_t colour) {
    m.emissive[0] = ((colour >> 16) & 0xFF) / 255.0;
    m.emissive[1] = ((colour >> 8) & 0xFF) / 255.0;
    m.emissive[2] = (colour & 0xFF) / 255.0;
}

void place(Mesh* mesh, double x, double y, double z) {
    mesh->x = x;
    mesh->y = y;
    mesh->z = z;
}

SceneObject* newObject() {
    SceneObject* o = new (std::nothrow) SceneObject();
    if (!o) return nullptr;
    materialInit(&o->material);
    o->scale = 1.0;
    return o;
}

// A new object whose mesh a builder makes on the object's own material; null when either fails.
template <class Build>
SceneObject* buildObject(Build build) {
    SceneObject* o = newObject();
    if (!o) return nullptr;
    o->mesh = build(&o->material);
    if (!o->mesh) {
        delete o;
        return nullptr;
    }
    return o;
}

template <class T>
T* item(const GrowBuffer& list, int index) {
    return index >= 0 && index < growCount<T*>(list) ? growItems<T*>(list)[index] : nullptr;
}

// The input's colour with its value (of hue, saturation and value) divided by 8.
uint32_t shadowColour(uint32_t colour) {
    int r = int((colour >> 16) & 0xFF), g = int((colour >> 8) & 0xFF), b = int(colour & 0xFF);
    if (hostApi.MIRQ_RGB2HSV && hostApi.MIRQ_HSV2RGB) {
        int h = 0, s = 0, v = 0;
        hostApi.MIRQ_RGB2HSV(r, g, b, &h, &s, &v);
        hostApi.MIRQ_HSV2RGB(h, s, v / 8, &r, &g, &b);
    } else {
        int v = r > g ? (r > b ? r : b) : (g > b ? g : b);
        if (v > 0) r = r * (v / 8) / v, g = g * (v / 8) / v, b = b * (v / 8) / v;
    }
    return 0xFF000000u | uint32_t(r & 0xFF) << 16 | uint32_t(g & 0xFF) << 8 | uint32_t(b & 0xFF);
}

// ---- lists that grow as counts grow ----

void ensureSpeakerObjects(SurroundPanner* p, int count) {
    while (growCount<SceneObject*>(p->speakerMeshes) < count) {
        SceneObject* o = buildObject([](Material* m) { return makeSpeakerMesh(m); });
        if (!o || !growBufferAppend(&p->speakerMeshes, &o, sizeof o)) {
            destroySceneObject(o);
            return;
        }
    }
}

void ensureInputObjects(SurroundPanner* p, int count) {
    const PanInput* in = inputRecords(p);
    while (growCount<SceneObject*>(p->inputMeshes) < count * INPUT_OBJECTS) {
        int index = growCount<SceneObject*>(p->inputMeshes) / INPUT_OBJECTS;
        uint32_t colour = in[index].color;
        SceneObject* made[INPUT_OBJECTS] = {
            buildObject([](Material* m) { return makeSphere(INPUT_RADIUS, 15, 15, m); }),
            buildObject([](Material* m) { return makeDisc(INPUT_RADIUS, 15, m); }),
            buildObject([](Material* m) { return makeSphere(INPUT_RADIUS, 15, 15, m); }),
        };
        bool complete = made[0] && made[1] && made[2];
        if (complete) {
            setEmissive(made[INPUT_BALL]->material, colour);
            Material& shadow = made[INPUT_SHADOW]->material;
            shadow.blendType = BLEND_BLENDED;
            shadow.opacity = 0.375;
            shadow.lit = 0;
            setEmissive(shadow, shadowColour(colour));
            made[INPUT_SHADOW]->mesh->rotX = -90.0;
            made[INPUT_SHADOW]->mesh->z = SHADOW_HEIGHT;
            Material& spread = made[INPUT_SPREAD]->material;
            spread.blendType = BLEND_BLENDED;
            spread.opacity = 0.25;
            setEmissive(spread, colour);
        }
        if (!complete || !growBufferAppend(&p->inputMeshes, made, sizeof made)) {
            for (SceneObject* o : made) destroySceneObject(o);
            return;
        }
    }
}

bool ensureZShapeObjects(SurroundPanner* p, const ThemeColours& theme) {
    if (growCount<SceneObject*>(p->zShapeMeshes) == ZSHAPE_OBJECTS) return true;
    SceneObject* made[ZSHAPE_OBJECTS] = {};
    bool complete = true;
    for (int i = 0; i < ZSHAPE_OBJECTS; i++) {
        double height = ZSHAPE_PLANE_HEIGHTS[i];
        made[i] = buildObject([&](Material* m) { return i == ZSHAPE_DOME ? makeHalfSphere(1.0, m) : makePlane(2.0, height, 1, m); });
        if (!made[i]) {
            complete = false;
            continue;
        }
        Material& m = made[i]->material;
        m.blendType = BLEND_BLENDED;
        m.opacity = 0.25;
        m.cullBack = 0;
        setEmissive(m, theme.marqcol);
    }
    if (!complete || !growBufferAppend(&p->zShapeMeshes, made, sizeof made)) {
        for (SceneObject* o : made) destroySceneObject(o);
        return false;
    }
    return true;
}

// ---- orbit view objects ----

void appendOrbitSpeakers(SurroundPanner* p, const ThemeColours& theme) {
    int n = speakerCount(p);
    ensureSpeakerObjects(p, n);
    const PanSpeaker* spk = speakerRecords(p);
    int selected = selectedSpeaker(p);
    for (int i = 0; i < n && i < growCount<SceneObject*>(p->speakerMeshes); i++) {
        SceneObject* o = growItems<SceneObject*>(p->speakerMeshes)[i];
        setEmissive(o->material, i == selected ? theme.selspkcol : theme.spkcol);
        if (!speakerShown(p, i)) continue;
        const PanSpeaker& s = spk[i];
        placeSpeakerMesh(o->mesh, sharedLoad(s.posX), sharedLoad(s.posY), sharedLoad(s.posZ));
        double opacity = speakerOpacity(p, s);
        o->material.opacity = opacity;
        o->material.blendType = opacity == 1.0 ? BLEND_OPAQUE : BLEND_BLENDED;
        appendObject(o);
    }
}

void appendOrbitInputs(SurroundPanner* p) {
    ensureInputObjects(p, inputCount(p));
    int listed = 0;
    const VisibleInput* list = visibleInputs(&listed);
    const PanInput* in = inputRecords(p);
    int available = growCount<SceneObject*>(p->inputMeshes) / INPUT_OBJECTS;
    for (int k = 0; k < listed; k++) {
        int i = list[k].index;
        if (i >= available) continue;
        SceneObject** objects = growItems<SceneObject*>(p->inputMeshes) + i * INPUT_OBJECTS;
        const PanInput& input = in[i];
        double x = sharedLoad(input.posX), y = sharedLoad(input.posY), z = sharedLoad(input.posZ);
        place(objects[INPUT_BALL]->mesh, x, y, z);
        appendObject(objects[INPUT_BALL]);
        if (z > 0.0) {
            objects[INPUT_SHADOW]->mesh->x = x;
            objects[INPUT_SHADOW]->mesh->y = y;
            appendObject(objects[INPUT_SHADOW]);
        }
        double divergence = sharedLoad(input.divergence);
        if (divergence > 0.0) {
            SceneObject* spread = objects[INPUT_SPREAD];
            if (spread->scale != divergence + 1.0) {
                scaleMesh(spread->mesh, (divergence * SPREAD_REACH + INPUT_RADIUS) /
                                            ((spread->scale - 1.0) * SPREAD_REACH + INPUT_RADIUS));
                spread->scale = divergence + 1.0;
            }
            place(spread->mesh, x, y, z);
            appendObject(spread);
        }
    }
}

// ---- wall footprints ----

// One quarter of a speaker's footprint: rings in the quarter q (1 up right, 2 up left, 3 down
// left, 4 down right) of radii up to (rx, ry), each weaker than the one inside it.
void drawQuarterRings(MIRQ_IBitmap* texture, int cx, int cy, float rx, float ry, int quarter, uint32_t colour) {
    const float stepX = rx / 12.0f, stepY = ry / 12.0f;
    float opacity = 1.0f;
    for (float a = stepX, b = stepY; a <= rx && b <= ry; a += stepX, b += stepY) {
        float lastX = 0, lastY = 0;
        for (int i = 16 * (quarter - 1); i <= 16 * quarter; i++) {
            double t = i * 2.0 * std::numbers::pi / 64.0;
            float x = float(cx + a * std::cos(t)), y = float(cy - b * std::sin(t));
            if (i > 16 * (quarter - 1)) hostApi.MIRQ_Line(texture, lastX, lastY, x, y, int(colour), opacity, 0, true);
            lastX = x, lastY = y;
        }
        opacity *= 0.75f;
    }
}

void drawFootprint(MIRQ_IBitmap* texture, int wall, const PanSpeaker& s, uint32_t colour) {
    const double* neg = s.reachNeg[REACH_ROW_VIEW];
    const double* pos = s.reachPos[REACH_ROW_VIEW];
    auto reach = [](double v, int axis) { return v < 0 ? (axis == 2 ? 1.0 : 2.0) : v; };
    const double x = sharedLoad(s.posX), y = sharedLoad(s.posY), z = sharedLoad(s.posZ);
    double u, v;
    int across, upDown = 2;  // the axes of the texture's left-right and down-up reach
    switch (wall) {
        case WALL_LEFT: u = y, v = 2.0 * z - 1.0, across = 1; break;
        case WALL_RIGHT: u = -y, v = 2.0 * z - 1.0, across = 1; break;
        case WALL_REAR: u = -x, v = 2.0 * z - 1.0, across = 0; break;
        case WALL_FRONT: u = x, v = 2.0 * z - 1.0, across = 0; break;
        default: u = x, v = y, across = 0, upDown = 1; break;
    }
    const double left = reach(neg[across], across), right = reach(pos[across], across);
    const double down = reach(neg[upDown], upDown), up = reach(pos[upDown], upDown);
    const int width = texture->width(), height = texture->height();
    const int hw = width / 2, hh = height / 2;
    const int cx = int((u + 1.0) * hw), cy = int((1.0 - v) * hh);
    const double radii[4][2] = {{right, up}, {left, up}, {left, down}, {right, down}};
    for (int q = 1; q <= 4; q++) {
        if ((q == 2 || q == 3) && cx <= 0) continue;
        if ((q == 1 || q == 2) && cy <= 0) continue;
        if ((q == 1 || q == 4) && cx >= width) continue;
        if ((q == 3 || q == 4) && cy >= height) continue;
        float rx = float(radii[q - 1][0] * hw), ry = float(radii[q - 1][1] * hh);
        if (rx == 0.0f || ry == 0.0f) continue;
        drawQuarterRings(texture, cx, cy, rx, ry, q, colour);
    }
}

}  // namespace

// ---- the view's state ----

int viewMode(const SurroundPanner* p) { return int((p->uiFlags >> UI_VIEW_MODE_SHIFT) & 0xF); }

bool paneRect(const SurroundPanner* p, int pane, int w, int h, PaneRect* rect) {
    PaneRect r = {};
    int mode = viewMode(p);
    bool exists = true;
    switch (pane) {
        case PANE_TOP:
            if (mode == VIEW_TOP) r = {w * 17 / 384, h / 96, w * 350 / 384, w * 350 / 384};
            else if (mode == VIEW_TOP_SIDES) r = {w * 67 / 384, h / 96, w * 250 / 384, w * 250 / 384};
            else exists = false;
            break;
        case PANE_SIDE:
        case PANE_REAR:
            if (mode != VIEW_TOP_SIDES) exists = false;
            else r = {pane == PANE_SIDE ? w / 64 : w * 65 / 128, h * 253 / 384, w * 61 / 128, w * 61 / 256};
            break;
        case PANE_ORBIT:
            if (mode == VIEW_ORBIT) r = {w / 128, 0, w * 63 / 64, w * 63 / 64};
            else exists = false;
            break;
        case PANE_INLINE: r = {0, 0, w, h}; break;
        default: exists = false;
    }
    if (rect) *rect = r;
    return exists;
}

bool paneDrawn(const SurroundPanner* p, int pane, bool small) {
    if (small) return pane == PANE_INLINE;
    return pane != PANE_INLINE && paneRect(p, pane, 0, 0, nullptr);
}

Camera* viewCamera(const SurroundPanner* p, int index) { return item<Camera>(p->viewCameras, index); }

void setOrbit(SurroundPanner* p, int cameraIndex, double yaw, double pitch) {
    Camera* c = viewCamera(p, cameraIndex);
    if (!c) return;
    const double radius = orbitRadius(cameraIndex);
    if (pitch < 0.001) pitch = 0.0;
    if (pitch > 89.5) pitch = 90.0;
    if (yaw > 180.0) yaw -= 360.0;
    else if (yaw < -180.0) yaw += 360.0;
    const double t = pitch / DEGREES, turn = (90.0 - yaw) / DEGREES;
    c->posZ = std::sin(t) * radius + 0.5;
    c->posX = std::cos(turn) * std::cos(t) * radius;
    c->posY = -std::cos(t) * radius * std::sin(turn);
    // View: R1(-pitch) * R2(-yaw) * R1(-90); its inverse turns screen rays into the room.
    Matrix4 m;
    rotationMatrix(c->viewMatrix, 1, -90.0);
    rotationMatrix(m, 2, -yaw);
    multiplyMatrix(c->viewMatrix, m);
    rotationMatrix(m, 1, -pitch);
    multiplyMatrix(c->viewMatrix, m);
    c->viewFromAngles = 0;
    rotationMatrix(c->rayMatrix, 1, pitch);
    rotationMatrix(m, 2, yaw);
    multiplyMatrix(c->rayMatrix, m);
    rotationMatrix(m, 1, 90.0);
    multiplyMatrix(c->rayMatrix, m);
    c->yaw = yaw;
    c->pitch = pitch;
}

bool ensureScene(SurroundPanner* p, const ThemeColours& theme) {
    if (growCount<Camera*>(p->viewCameras) == 0) {
        for (int i = 0; i < PANE_COUNT; i++) {
            Camera* c = new (std::nothrow) Camera();
            if (!c) break;
            if (!growBufferAppend(&p->viewCameras, &c, sizeof c)) {
                delete c;
                break;
            }
            c->useDepth = 1;
            c->fov = CAMERA_ROWS[i].fov;
            setOrbit(p, i, CAMERA_ROWS[i].yaw, CAMERA_ROWS[i].pitch);
        }
    }
    if (growCount<SceneObject*>(p->roomWalls) == 0) {
        for (int i = 0; i < WALL_COUNT; i++) {
            SceneObject* o = makeWallObject(i, theme);
            if (!o || !growBufferAppend(&p->roomWalls, &o, sizeof o)) {
                destroySceneObject(o);
                break;
            }
        }
    }
    return growCount<Camera*>(p->viewCameras) == PANE_COUNT && growCount<SceneObject*>(p->roomWalls) == WALL_COUNT;
}

bool speakerShown(const SurroundPanner* p, int index) {
    if (index < 0 || index >= speakerCount(p)) return false;
    const PanSpeaker& s = speakerRecords(p)[index];
    if (sharedLoad(s.lfe) || sharedLoad(s.vacant)) return false;
    return anySpeakerSolo(p) ? sharedLoad(s.solo) != 0 : !sharedLoad(s.mute);
}

int selectedSpeaker(const SurroundPanner* p) {
    int32_t focus = p->selectionState[SELECTION_FOCUS];
    if (focus < 0 || !(focus & SELECT_SPEAKER) || p->layoutId != 0) return -1;
    return focus & ~SELECT_SPEAKER;
}

double speakerOpacity(const SurroundPanner* p, const PanSpeaker& s) {
    double opacity = s.flags & SPK_CENTERGROUP ? sharedLoad(p->centerPercent)
                     : s.flags & SPK_SIDEGROUP  ? sharedLoad(p->sidePercent)
                                                : 1.0;
    double influence = sharedLoad(s.influence);
    if (influence < 1.0) opacity *= influence;
    return opacity;
}

bool inputDrawn(const SurroundPanner* p, int index, bool anySolo) {
    if (index < 0 || index >= inputCount(p)) return false;
    if (index == 3 && (sharedLoad(p->channelOptions) & CHANNEL_OPTION_LFE_INPUT)) return false;
    const PanInput& in = inputRecords(p)[index];
    return anySolo ? sharedLoad(in.solo) != 0 : !sharedLoad(in.mute);
}

VisibleInput* visibleInputs(int* count) {
    if (count) *count = growCount<VisibleInput>(sharedVisibleInputs);
    return growItems<VisibleInput>(sharedVisibleInputs);
}

bool buildVisibleInputs(const SurroundPanner* p) {
    growBufferResize(&sharedVisibleInputs, 0);
    const bool solo = anyInputSolo(p);
    for (int i = inputCount(p) - 1; i >= 0; i--) {
        if (!inputDrawn(p, i, solo)) continue;
        VisibleInput v = {i, 0, 0, 0.0};
        if (!growBufferAppend(&sharedVisibleInputs, &v, sizeof v)) {
            growBufferResize(&sharedVisibleInputs, 0);
            return false;
        }
    }
    return true;
}

// ---- builders ----

SceneObject* makeWallObject(int wall, const ThemeColours& theme) {
    if (wall < 0 || wall >= WALL_COUNT) return nullptr;
    const WallRow& row = WALL_ROWS[wall];
    SceneObject* o = buildObject([&](Material* m) { return makePlane(2.0, row.height, 1, m); });
    if (!o) return nullptr;
    Material& m = o->material;
    setEmissive(m, theme.*row.colour);
    m.texture[0].blendMode = TEXTURE_BILINEAR | FILL_ADD;
    m.texture[0].alpha = (theme.infalpha & 0xFF) / 255.0;
    if (wall == WALL_REAR) m.lit = 0;
    if (wall == WALL_FRONT) {
        m.backLight = 0.5;
        m.texture[0].alpha = -m.texture[0].alpha;
    }
    place(o->mesh, row.x, row.y, row.z);
    o->mesh->rotX = row.rotX;
    o->mesh->rotY = row.rotY;
    o->mesh->rotZ = row.rotZ;
    return o;
}

Mesh* makeSpeakerMesh(Material* material) {
    Mesh* parent = createMesh();
    Mesh* box = makeBox(0.087890625, 0.05859375, 0.05859375, material);
    if (!parent || !box || !addChildMesh(parent, box)) {
        destroyMesh(box);
        destroyMesh(parent);
        return nullptr;
    }
    box->y = -0.078125;
    return parent;
}

void placeSpeakerMesh(Mesh* parent, double x, double y, double z) {
    place(parent, x, y, z);
    parent->rotY = 0.0;
    // Turn the box toward the room's middle: about Z for its direction in the plan, about X for
    // its height against the middle's.
    const double d = z - 0.5;
    if (x == 0.0 && !(y == 0.0 && d == 0.0)) {
        parent->rotZ = 0.0;
        parent->rotX = -std::atan2(d, y) * DEGREES;
    } else {
        parent->rotX = x > 0.0 ? std::atan2(d, x) * DEGREES + 180.0 : x < 0.0 ? -std::atan2(d, x) * DEGREES : 0.0;
        parent->rotZ = x != 0.0 ? std::atan2(x, y) * DEGREES - 180.0 : 0.0;
    }
}

Mesh* makeHalfSphere(double radius, Material* material) {
    Mesh* mesh = makeSphere(radius, 31, 31, material);
    if (!mesh) return nullptr;
    if (meshVertexCount(mesh) >= 899 && meshFaceCount(mesh) >= 899) {
        growBufferResize(&mesh->vertices, 899 * sizeof(Vertex));
        growBufferResize(&mesh->faces, 899 * sizeof(Face));
    }
    return mesh;
}

void destroySceneObject(SceneObject* object) {
    if (!object) return;
    destroyMesh(object->mesh);
    mirqDestroy(object->wallTexture);
    delete object;
}

// ---- one frame ----

void paintWallTextures(SurroundPanner* p, int size, const ThemeColours& theme) {
    const HostApi& api = hostApi;
    if (!api.MIRQ_CreateBitmap || !api.MIRQ_Clear) return;
    buildViewReachRow(p);
    const int walls = growCount<SceneObject*>(p->roomWalls) < WALL_CEILING ? growCount<SceneObject*>(p->roomWalls)
                                                                           : WALL_CEILING;
    const int n = speakerCount(p);
    const PanSpeaker* spk = speakerRecords(p);
    for (int w = 0; w < walls; w++) {
        SceneObject* o = growItems<SceneObject*>(p->roomWalls)[w];
        int height = w == WALL_FLOOR ? size : size / 2;
        if (!o->wallTexture) o->wallTexture = api.MIRQ_CreateBitmap(0, size, height);
        MIRQ_IBitmap* t = o->wallTexture;
        if (!t) continue;
        if ((t->width() != size || t->height() != height) && !t->resize(size, height)) continue;
        api.MIRQ_Clear(t, 0);
        if (api.MIRQ_Line)
            for (int i = 0; i < n; i++)
                if (speakerShown(p, i)) drawFootprint(t, w, spk[i], theme.infcol);
        if (w == WALL_FRONT && api.MIRQ_DrawRect)
            api.MIRQ_DrawRect(t, size / 16, size / 16, size * 7 / 8, size * 3 / 8, int(theme.infcol), 1.0f, 0);
        if (w == WALL_FLOOR) {
            if (api.MIRQ_LineInt) {
                api.MIRQ_LineInt(t, 0, size / 2, size, size / 2, int(theme.infcol), 0.75f, 0, false);
                api.MIRQ_LineInt(t, size / 2, 0, size / 2, size, int(theme.infcol), 0.75f, 0, false);
            }
            if (p->layoutFamily == 2 && api.MIRQ_Circle)
                api.MIRQ_Circle(t, size / 2.0f, size / 2.0f, size / 2.0f, int(theme.infcol), 1.0f, 0, true);
        }
    }
}

void assembleFrame(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, const ThemeColours& theme) {
    const bool is3D = !small && viewMode(p) == VIEW_ORBIT;
    growBufferResize(&sharedFrameObjects, 0);
    int walls = growCount<SceneObject*>(p->roomWalls);
    for (int i = 0; i < walls; i++) {
        SceneObject* o = growItems<SceneObject*>(p->roomWalls)[i];
        if (i < WALL_CEILING) o->material.texture[0].bitmap = small ? nullptr : o->wallTexture;
        appendObject(o);
    }
    const int shape = p->zShape;
    if (!small && shape > 0 && shape <= 6 && ensureZShapeObjects(p, theme)) {
        const ZShapeRow& row = ZSHAPE_ROWS[shape];
        for (int k = 0; k < row.count; k++) {
            const ZPlacement& zp = row.place[k];
            SceneObject* o = growItems<SceneObject*>(p->zShapeMeshes)[zp.object];
            place(o->mesh, 0.0, zp.y, zp.z);
            o->mesh->rotX = zp.rotX;
            appendObject(o);
        }
    }
    if (is3D) {
        appendOrbitSpeakers(p, theme);
        appendOrbitInputs(p);
    }
    renderPanes(p, bitmap, small);
    growBufferResize(&sharedFrameObjects, 0);
}

void renderPanes(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small) {
    static Light light;
    static bool lightReady = false;
    if (!lightReady) {
        light.set(LIGHT_FALLOFF | LIGHT_ANGLE, 0.0, 2.0, 0.5, 1.0, 1.0, 1.0, 2.0);
        lightReady = true;
    }
    if (!bitmap) return;
    const int w = bitmap->width(), h = bitmap->height();
    const int count = growCount<SceneObject*>(sharedFrameObjects);
    SceneObject** objects = growItems<SceneObject*>(sharedFrameObjects);
    for (int pane = 0; pane < PANE_COUNT; pane++) {
        PaneRect r;
        Camera* camera = viewCamera(p, pane);
        if (!camera || !paneDrawn(p, pane, small) || !paneRect(p, pane, w, h, &r)) continue;
        MIRQ_SubBitmap view(bitmap, r.x, r.y, r.w, r.h);
        camera->beginFrame(&view, true, 0.0f);
        camera->addLight(&light);
        for (int i = 0; i < count; i++)
            if (objects[i]->material.blendType != BLEND_BLENDED) camera->addMesh(objects[i]->mesh, nullptr, nullptr);
        for (int i = 0; i < count; i++) {
            if (objects[i]->material.blendType != BLEND_BLENDED) continue;
            camera->flushFaces();
            camera->addMesh(objects[i]->mesh, nullptr, nullptr);
        }
        camera->endFrame();
        renderCount++;
    }
}

uint64_t roomRenderCount() { return renderCount; }

void releaseRoomView(SurroundPanner* p) {
    for (int i = 0; i < growCount<Camera*>(p->viewCameras); i++) delete growItems<Camera*>(p->viewCameras)[i];
    growBufferResize(&p->viewCameras, 0);
    GrowBuffer* lists[4] = {&p->roomWalls, &p->zShapeMeshes, &p->speakerMeshes, &p->inputMeshes};
    for (GrowBuffer* list : lists) {
        for (int i = 0; i < growCount<SceneObject*>(*list); i++) destroySceneObject(growItems<SceneObject*>(*list)[i]);
        growBufferResize(list, 0);
    }
    mirqDestroy(p->roomBitmap);
    p->roomBitmap = nullptr;
    for (MIRQ_IBitmap*& b : p->frameBitmap) {
        mirqDestroy(b);
        b = nullptr;
    }
}

void releaseSceneLists() {
    growBufferFree(&sharedFrameObjects);
    growBufferFree(&sharedVisibleInputs);
}
