#include "renderer/mesh_builders.h"

#include <climits>
#include <cmath>
#include <cstring>
#include <numbers>

namespace {

// Sizes both buffers once and clears them; a mesh whose storage can't be had keeps none.
bool sizeMesh(Mesh* mesh, unsigned long long vertexCount, unsigned long long faceCount) {
    if (vertexCount > INT_MAX / sizeof(Vertex) || faceCount > INT_MAX / sizeof(Face)) return false;
    if (!growBufferResize(&mesh->vertices, size_t(vertexCount) * sizeof(Vertex)) ||
        !growBufferResize(&mesh->faces, size_t(faceCount) * sizeof(Face))) {
        growBufferFree(&mesh->vertices);
        growBufferFree(&mesh->faces);
        return false;
    }
    if (vertexCount) std::memset(mesh->vertices.data, 0, mesh->vertices.used);
    if (faceCount) std::memset(mesh->faces.data, 0, mesh->faces.used);
    return true;
}

void setVertex(Vertex& v, double x, double y, double z) {
    v.x = x;
    v.y = y;
    v.z = z;
}

// Corners and their set-0 texture coordinates, corner by corner.
void setFace(Face& f, Material* material, int a, double ua, double va, int b, double ub, double vb, int c,
             double uc, double vc) {
    f.material = material;
    f.a = a;
    f.b = b;
    f.c = c;
    f.u[0][0] = ua;
    f.v[0][0] = va;
    f.u[0][1] = ub;
    f.v[0][1] = vb;
    f.u[0][2] = uc;
    f.v[0][2] = vc;
}

// Corners of the box as signs of the half width, half depth and half height.
const int BOX_CORNERS[8][3] = {
    {-1, 1, 1},
    {1, 1, 1},
    {-1, 1, -1},
    {1, 1, -1},
    {-1, -1, 1},
    {1, -1, 1},
    {-1, -1, -1},
    {1, -1, -1},
};

struct BoxFace {
    int a, b, c;
    double ua, va, ub, vb, uc, vc;
};
const BoxFace BOX_FACES[12] = {
    {0, 4, 1, 1, 0, 1, 1, 0, 0},
    {1, 4, 5, 0, 0, 1, 1, 0, 1},
    {0, 1, 2, 0, 0, 1, 0, 0, 1},
    {3, 2, 1, 1, 1, 0, 1, 1, 0},
    {2, 3, 6, 0, 0, 1, 0, 0, 1},
    {3, 7, 6, 1, 0, 1, 1, 0, 1},
    {6, 7, 4, 0, 0, 1, 0, 0, 1},
    {4, 7, 5, 0, 1, 1, 0, 1, 1},
    {1, 7, 3, 1, 0, 0, 1, 0, 0},
    {7, 1, 5, 0, 1, 1, 0, 1, 1},
    {2, 6, 0, 1, 0, 1, 1, 0, 0},
    {4, 0, 6, 0, 1, 0, 0, 1, 1},
};

}  // namespace

Mesh* makePlane(double width, double height, unsigned divisions, Material* material) {
    Mesh* mesh = createMesh();
    if (!mesh) return nullptr;
    const unsigned n = divisions ? divisions : 1;
    const unsigned long long side = n + 1ull;
    if (n > 0xFFFF || !sizeMesh(mesh, side * side, 2ull * n * n)) return mesh;

    Vertex* vertex = meshVertices(mesh);
    for (unsigned j = 0; j <= n; j++)
        for (unsigned i = 0; i <= n; i++)
            setVertex(*vertex++, i * width / n - width * 0.5, 0.0, j * height / n - height * 0.5);

    Face* face = meshFaces(mesh);
    const int row = int(n + 1);
    for (unsigned j = 0; j < n; j++)
        for (unsigned i = 0; i < n; i++) {
            double uL = double(i) / n, uR = double(i + 1) / n, vT = double(j) / n, vB = double(j + 1) / n;
            int topLeft = int(j) * row + int(i);
            int bottomLeft = topLeft + row;
            setFace(*face++, material, topLeft, uL, vT, bottomLeft, uL, vB, topLeft + 1, uR, vT);
            setFace(*face++, material, bottomLeft, uL, vB, bottomLeft + 1, uR, vB, topLeft + 1, uR, vT);
        }
    computeNormals(mesh);
    return mesh;
}

Mesh* makeBox(double width, double height, double depth, Material* material) {
    Mesh* mesh = createMesh();
    if (!mesh) return nullptr;
    if (!sizeMesh(mesh, 8, 12)) return mesh;
    const double w = width * 0.5, h = height * 0.5, d = depth * 0.5;
    for (int i = 0; i < 8; i++)
        setVertex(meshVertices(mesh)[i], BOX_CORNERS[i][0] * w, BOX_CORNERS[i][1] * d, BOX_CORNERS[i][2] * h);
    for (int i = 0; i < 12; i++) {
        const BoxFace& f = BOX_FACES[i];
        setFace(meshFaces(mesh)[i], material, f.a, f.ua, f.va, f.b, f.ub, f.vb, f.c, f.uc, f.vc);
    }
    computeNormals(mesh);
    return mesh;
}

Mesh* makeDisc(double radius, unsigned segments, Material* material) {
    Mesh* mesh = createMesh();
    if (!mesh) return nullptr;
    const unsigned n = segments;
    if (!sizeMesh(mesh, n, n)) return mesh;

    Vertex* vertices = meshVertices(mesh);
    const double step = 2.0 * std::numbers::pi / n;
    double t = 0.0;
    for (unsigned k = 0; k < n; k++, t += step) setVertex(vertices[k], radius * std::cos(t), 0.0, radius * std::sin(t));

    // Face k spans rim vertices m = k + 1 and k; the texture coordinates follow the same summed
    // angles, and corner 2 takes the middle of the texture although it is vertex 0.
    t = 0.0;
    for (unsigned k = 0; k < n; k++, t += step) {
        bool last = k + 1 == n;
        double tm = last ? 0.0 : t + step;
        setFace(meshFaces(mesh)[k], material, last ? 0 : int(k + 1), 0.5 + 0.5 * std::cos(tm),
                0.5 + 0.5 * std::sin(tm), int(k), 0.5 + 0.5 * std::cos(t), 0.5 + 0.5 * std::sin(t), 0, 0.5, 0.5);
    }
    computeNormals(mesh);
    return mesh;
}

Mesh* makeSphere(double radius, unsigned segments, unsigned rings, Material* material) {
    Mesh* mesh = createMesh();
    if (!mesh) return nullptr;
    const unsigned s = segments < 3 ? 3 : segments;
    const unsigned r = rings < 3 ? 3 : rings;
    const unsigned long long ringCount = r - 2;
    if (!sizeMesh(mesh, s * ringCount + 2, 2ull * s * ringCount)) return mesh;

    Vertex* vertices = meshVertices(mesh);
    setVertex(vertices[0], 0.0, radius, 0.0);
    setVertex(vertices[1], 0.0, -radius, 0.0);
    const double ringStep = std::numbers::pi / (r - 1), segmentStep = 2.0 * std::numbers::pi / s;
    double b = ringStep;
    for (unsigned k = 0; k < ringCount; k++, b += ringStep) {
        double y = radius * std::cos(b), q = radius * std::sin(b);
        double a = 0.0;
        for (unsigned j = 0; j < s; j++, a += segmentStep)
            setVertex(vertices[2 + k * s + j], q * std::cos(a), y, q * std::sin(a));
    }

    // One over rings, not rings - 1: the last ring stops short of the texture's bottom.
    const double du = 1.0 / s, dv = 1.0 / r;
    auto ring = [s](unsigned k, unsigned j) { return int(2 + k * s + j); };
    Face* face = meshFaces(mesh);
    for (unsigned j = 0; j < s; j++) {
        unsigned next = j + 1 < s ? j + 1 : 0;
        double u = j * du, U = u + du;
        setFace(*face++, material, 0, u, 0.0, ring(0, next), U, dv, ring(0, j), u, dv);
    }
    double vEnd = dv;
    for (unsigned k = 0; k + 1 < ringCount; k++) {
        double vT = (k + 1) * dv, vB = vT + dv;
        for (unsigned j = 0; j < s; j++) {
            unsigned next = j + 1 < s ? j + 1 : 0;
            double u = j * du, U = u + du;
            setFace(*face++, material, ring(k, j), u, vT, ring(k + 1, next), U, vB, ring(k + 1, j), u, vB);
            setFace(*face++, material, ring(k, j), u, vT, ring(k, next), U, vT, ring(k + 1, next), U, vB);
        }
        vEnd = vB;
    }
    const unsigned lastRing = unsigned(ringCount - 1);
    for (unsigned j = 0; j < s; j++) {
        unsigned next = j + 1 < s ? j + 1 : 0;
        double u = j * du, U = u + du;
        setFace(*face++, material, 1, u, 1.0, ring(lastRing, j), u, vEnd, ring(lastRing, next), U, vEnd);
    }
    computeNormals(mesh);
    return mesh;
}
