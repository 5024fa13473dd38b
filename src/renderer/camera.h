// Camera: the renderer's one active object. It holds the view and the projection, opens a frame
// on a bitmap, takes lights and meshes (transformed, culled and coloured as they come), sorts
// their faces by depth and draws them, clipped and projected, with the fillers. The room view
// runs one frame for each pane and projects points with it outside frames.
#pragma once

#include <cstdint>

#include "foundation/bitmap.h"
#include "foundation/grow_buffer.h"
#include "renderer/geometry.h"
#include "renderer/material.h"

// A face of the frame: sortKey is z0 + z1 + z2 in camera space.
struct FaceEntry {
    double sortKey;
    Face* face;
    Mesh* mesh;
};

// A plane keeps the points p with d <= dot(p, normal).
struct ClipPlane {
    double nx, ny, nz, d;
};
enum { CLIP_FAR, CLIP_LEFT, CLIP_RIGHT, CLIP_TOP, CLIP_BOTTOM, CLIP_PLANES };

// A polygon in clipping: 3 corners to start with, one more at most for each plane.
constexpr int CLIP_CORNERS = 3 + CLIP_PLANES;
struct CornerSet {
    int count;
    Vertex vertex[CLIP_CORNERS];
    double red[CLIP_CORNERS], green[CLIP_CORNERS], blue[CLIP_CORNERS];
    double u[UV_SETS][CLIP_CORNERS], v[UV_SETS][CLIP_CORNERS];
};

// The camera looks along +z; screen x and y grow with camera x and y. All its operations run on
// the thread that paints the view [window thread]; it takes no lock.
struct Camera {
    double rotX = 0.0, rotY = 0.0, rotZ = 0.0;  // degrees; beginFrame builds viewMatrix from them
    double fov = 90.0;                          // degrees, clamped to 1..179 where used
    double aspect = 1.0;                        // screen y counts 1 / aspect of screen x
    double farDistance = -1.0;                  // far plane; 0 or below: none
    double posX = 0.0, posY = 0.0, posZ = 0.0;  // the eye
    Matrix4 viewMatrix{};                       // world to camera, without the eye's translation
    int8_t sortOrder = 1;       // above 0: far faces first; below 0: near faces first; 0: as added
    int offsetX = 0, offsetY = 0;  // shift of the picture's centre, logical pixels
    uint8_t useDepth = 0;          // keep a depth buffer
    uint8_t viewFromAngles = 1;    // clear it after writing viewMatrix directly
    GrowBuffer depthBuffer;        // float 1/z for each target pixel, rows target width long
    MIRQ_WrapperBitmap target;     // the frame's stored pixels; bits non-null while a frame runs
    int logicalWidth = 0, logicalHeight = 0;
    int scale = MIRQ_SCALE_ONE;    // stored pixels per logical pixel, 256 = one
    int centerX = 0, centerY = 0;  // the picture's centre in stored pixels
    CornerSet cornersIn{}, cornersOut{};
    ClipPlane planes[CLIP_PLANES]{};
    double focal = 0.0;  // stored pixels per unit of x / z
    double invAspect = 1.0;
    int faceCount = 0, sortedCount = 0;
    GrowBuffer faceEntries;  // FaceEntry
    int lightCount = 0;
    GrowBuffer lightEntries;  // LightEntry
    GrowBuffer sortScratch;
    // The room view's orbit keeps its angles and the inverse of viewMatrix here; the renderer
    // does not read them.
    double yaw = 0.0, pitch = 0.0;
    Matrix4 rayMatrix{};

    Camera();
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    // Opens a frame on bitmap: sizes, scale, depth buffer (each float set to depthValue when
    // clearDepth), view matrix and projection. Does nothing in a frame, for a null bitmap or one
    // without pixels. A depth buffer that can't be had leaves the frame without depth.
    void beginFrame(MIRQ_IBitmap* bitmap, bool clearDepth, float depthValue);
    // Takes the light into camera space for this frame. Ignored outside a frame, for null, for a
    // light that is off, and when the list can't grow. The light must outlive the frame.
    void addLight(const Light* light);
    // Transforms the mesh (its children first, at its place and turn), drops faces turned away
    // or outside the view, colours the rest and lists them. parentPos and parentRot may be null.
    // Ignored outside a frame; faces the list can't take are dropped. The mesh and its
    // materials must outlive the frame, and a mesh goes through a frame once.
    void addMesh(Mesh* mesh, const Matrix4* parentPos, const Matrix4* parentRot);
    // Sorts the faces listed since the last call by depth; they are drawn before all later ones.
    void flushFaces();
    // Sorts, draws every listed face that has a material and closes the frame.
    void endFrame();
    // A world point in logical pixels of the last frame's bitmap. distance (the eye's distance
    // to the point) is always written; screenX and screenY only when the point is in front of
    // the eye. True when the point lands on the bitmap. Any out-argument may be null.
    bool project(double x, double y, double z, double* screenX, double* screenY, double* distance) const;

    // The steps of a frame, open for tests.
    void setupProjection();
    bool inFrustum(const Face& face, const Mesh* mesh) const;
    // Loads the face into cornersIn and clips it by the planes; the number of corners left
    // (below 3: nothing to draw).
    int clipFace(const Face& face, const Mesh* mesh);
    void clipPolygon(int plane);
    void drawFace(const Face& face, const Mesh* mesh);
    // Writes the pixels of one screen-space triangle. It reads the face's material and, of
    // corners 0 to 2, screenX, screenY, invZ, color and the texture coordinates; nothing else.
    // Does nothing outside a frame.
    void fillTriangle(const Face& face);
};

// [any thread] A stable top-down merge sort of entries by sortKey: larger keys first for a
// positive order, smaller first for a negative one; equal keys keep their order. scratch holds
// count / 2 entries at least.
void sortFaceEntries(FaceEntry* entries, int count, int order, FaceEntry* scratch);
