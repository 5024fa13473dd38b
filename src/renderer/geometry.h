// What every stage of the software renderer shares: double-precision vectors and 4x4 matrices,
// and the three records of a model (Vertex, Face, Mesh). A mesh is built once and then only
// moved; each frame writes its camera-space results into these records. Used by the mesh
// builders, the frame pipeline, the fillers and the room view's scene.
#pragma once

#include <cstdint>

#include "foundation/grow_buffer.h"

struct Material;

// Row by row: m[row][column]. Points are columns: x' = m[0][0] x + m[0][1] y + m[0][2] z + m[0][3].
struct Matrix4 {
    double m[4][4];
};

struct Vertex {
    double x, y, z;           // the mesh's own space
    double nx, ny, nz;        // unit normal: the mean direction of the faces that use the vertex
    double camX, camY, camZ;  // camera space, rewritten each time the mesh enters a frame
    double camNX, camNY, camNZ;
};

// Texture coordinate sets of a face: the builders fill set 0; set 2 takes environment mapping.
enum { UV_SETS = 3, UV_SET_ENVIRONMENT = 2 };

// One triangle and all that a frame computes for it. Colours are doubles, 1.0 full scale.
struct Face {
    Material* material;  // not owned; a face without one is not drawn
    int32_t a, b, c;     // vertex indices of corners 0, 1, 2
    double nx, ny, nz;   // unit face normal in the mesh's own space
    double u[UV_SETS][3];  // [set][corner], 0..1 across a texture
    double v[UV_SETS][3];
    double flatBase[3];       // red, green, blue the light sum of a flat face starts from
    double cornerBase[3][3];  // the same for each corner of a smooth face
    double color[3][3];       // [corner][channel]: the final colour, written as the face enters a frame
    double screenX[3], screenY[3], invZ[3];  // of the triangle being filled (a work copy)
};

// One node of a model. Owns its buffers and its children; materials belong to the caller.
struct Mesh {
    double x, y, z;           // place within the parent
    double rotX, rotY, rotZ;  // degrees about the first, second and third axis
    GrowBuffer vertices;      // Vertex
    GrowBuffer faces;         // Face
    GrowBuffer children;      // Mesh*, owned; null entries are skipped
};

inline Vertex* meshVertices(const Mesh* mesh) { return growItems<Vertex>(mesh->vertices); }
inline Face* meshFaces(const Mesh* mesh) { return growItems<Face>(mesh->faces); }
inline Mesh** meshChildren(const Mesh* mesh) { return growItems<Mesh*>(mesh->children); }
inline int meshVertexCount(const Mesh* mesh) { return growCount<Vertex>(mesh->vertices); }
inline int meshFaceCount(const Mesh* mesh) { return growCount<Face>(mesh->faces); }
inline int meshChildCount(const Mesh* mesh) { return growCount<Mesh*>(mesh->children); }

// [window thread] A new empty mesh at the origin without a turn, or null when it can't be had.
Mesh* createMesh();
// [window thread] Frees the mesh, its buffers and its children, the last child first. Null is fine.
void destroyMesh(Mesh* mesh);
// [window thread] Appends a child that the mesh then owns. False, with nothing appended, when the
// list can't grow; the caller keeps the child.
bool addChildMesh(Mesh* parent, Mesh* child);

// [any thread] To unit length in place; a vector shorter than 1e-5 becomes (0, 0, 0).
void normalize(double& x, double& y, double& z);
// [any thread]
double dot(double ax, double ay, double az, double bx, double by, double bz);
// [any thread] Rows 0 to 2 of m applied to (x, y, z, 1); the bottom row is not read.
void transformPoint(const Matrix4& m, double x, double y, double z, double& outX, double& outY, double& outZ);
// [any thread] a := b * a: b stands on the left of the product.
void multiplyMatrix(Matrix4& a, const Matrix4& b);
// [any thread]
void identityMatrix(Matrix4& m);
// [any thread] The identity with (x, y, z) in the last column.
void translationMatrix(Matrix4& m, double x, double y, double z);
// [any thread] A turn about axis 1 (in the y-z plane), 2 (z-x) or 3 (x-y); angles in degrees.
// Any other axis is taken modulo 3 the same way.
void rotationMatrix(Matrix4& m, int axis, double degrees);

// [window thread] Face normals from the corners' positions, vertex normals as the unweighted
// mean of the faces that use them; then the same for each child.
void computeNormals(Mesh* mesh);
// [window thread] Scales the vertex positions of the mesh and its children; normals and the
// meshes' own places stay.
void scaleMesh(Mesh* mesh, double factor);
