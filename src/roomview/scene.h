// The room view's three-dimensional scene: the five cameras and the orbit, the walls with their
// speaker footprints, the Z shape surfaces, the speaker and input meshes, the panes that divide
// the view's bitmap, and the frame handed to the renderer. Called by the view's paint, its
// overlays and its pointer handling; the benchmark and the host's test scene borrow its builders.
// Everything here runs on the window thread [window thread] and takes no lock.
#pragma once

#include <cstdint>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/theme_colours.h"
#include "renderer/camera.h"
#include "renderer/material.h"

// Panes, and the index of the camera each one looks through.
enum { PANE_TOP = 0, PANE_SIDE = 1, PANE_REAR = 2, PANE_ORBIT = 3, PANE_INLINE = 4, PANE_COUNT = 5 };
// The uiFlags field viewMode.
enum { VIEW_TOP = 0, VIEW_TOP_SIDES = 1, VIEW_ORBIT = 2 };

// One drawn thing: a mesh with its own material. wallTexture is set on walls only; scale keeps
// the divergence + 1 the mesh was last scaled for (input spreads).
struct SceneObject {
    Mesh* mesh;
    Material material;
    MIRQ_IBitmap* wallTexture;
    double scale;
};

// An input to draw in this paint, with its screen place and depth in the pane drawn last.
struct VisibleInput {
    int32_t index;
    int32_t screenX, screenY;
    double depth;
};

struct PaneRect {
    int x, y, w, h;
};

// Slots of the three objects of each input in inputMeshes.
enum { INPUT_BALL = 0, INPUT_SHADOW = 1, INPUT_SPREAD = 2, INPUT_OBJECTS = 3 };

// ---- the view's state ----

int viewMode(const SurroundPanner* p);
// The pane's rectangle in a bitmap of w by h for the present view mode. False when the pane is
// not part of that mode (PANE_INLINE, the small view's, always is).
bool paneRect(const SurroundPanner* p, int pane, int w, int h, PaneRect* rect);
// Whether a pane is drawn: the small view has only PANE_INLINE, the window the panes of its mode.
bool paneDrawn(const SurroundPanner* p, int pane, bool small);

// The camera of a pane, null before the cameras exist or past the list.
Camera* viewCamera(const SurroundPanner* p, int index);
// Moves a camera on its orbit about the room's middle: pitch 0..90, yaw -180..180 (wrapped
// once), its position, view matrix and ray matrix. A missing camera: nothing.
void setOrbit(SurroundPanner* p, int cameraIndex, double yaw, double pitch);
// The cameras, then the walls, each list only when it is empty. False when either is missing
// afterwards (no memory).
bool ensureScene(SurroundPanner* p, const ThemeColours& theme);

// A speaker shown in the view: neither LFE nor vacant, and soloed, or unmuted without any solo.
bool speakerShown(const SurroundPanner* p, int index);
// The speaker picked for editing in a hand-made layout, or -1.
int selectedSpeaker(const SurroundPanner* p);
// Group share and influence: the opacity a speaker is drawn with.
double speakerOpacity(const SurroundPanner* p, const PanSpeaker& s);

// An input the view draws and edits: not the LFE input, and soloed, or unmuted without any solo
// (anySolo: anyInputSolo, taken once by the caller).
bool inputDrawn(const SurroundPanner* p, int index, bool anySolo);

// Process-wide, shared by all instances: the inputs of the paint and the objects of the frame.
VisibleInput* visibleInputs(int* count);
// Rebuilds visibleInputs, last index first. False when the list cannot grow (it is then empty).
bool buildVisibleInputs(const SurroundPanner* p);

// ---- builders the benchmark and the test scene share ----

// A wall of the room: its plane, place and material from the theme, without a texture.
SceneObject* makeWallObject(int wall, const ThemeColours& theme);
// A speaker's parent mesh with its box, facing the room's middle from (x, y, z).
Mesh* makeSpeakerMesh(Material* material);
void placeSpeakerMesh(Mesh* parent, double x, double y, double z);
// The upper half of a 31 by 31 sphere: its first 899 vertices and faces.
Mesh* makeHalfSphere(double radius, Material* material);
void destroySceneObject(SceneObject* object);

// ---- one frame ----

// Wall textures for a world that changed: footprint rings of every shown speaker at a texture
// side of `size` (256 or 512), the front wall's frame, the floor's cross and circle. Needs the
// host's bitmaps and lines; without them the walls stay bare.
void paintWallTextures(SurroundPanner* p, int size, const ThemeColours& theme);
// Lists the frame's objects (walls, Z shape, in the orbit view the speakers and inputs) and
// renders every drawn pane of bitmap.
void assembleFrame(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small, const ThemeColours& theme);
// Renders the listed objects into each drawn pane: opaque ones sorted together, each blended one
// after all before it.
void renderPanes(SurroundPanner* p, MIRQ_IBitmap* bitmap, bool small);
// Process-wide count of pane renders since the process started.
uint64_t roomRenderCount();

// Frees the cameras, the scene objects and their textures, and the view's bitmaps.
void releaseRoomView(SurroundPanner* p);
// Frees the process-wide lists of inputs and frame objects; they grow again on use.
void releaseSceneLists();
