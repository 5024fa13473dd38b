#include "renderer/geometry.h"

#include <cmath>
#include <cstring>
#include <initializer_list>
#include <new>
#include <numbers>

Mesh* createMesh() {
    Mesh* mesh = new (std::nothrow) Mesh;
    if (!mesh) return nullptr;
    std::memset(mesh, 0, sizeof *mesh);
    growBufferInit(&mesh->vertices);
    growBufferInit(&mesh->faces);
    growBufferInit(&mesh->children);
    return mesh;
}

void destroyMesh(Mesh* mesh) {
    if (!mesh) return;
    for (int i = meshChildCount(mesh) - 1; i >= 0; i--) destroyMesh(meshChildren(mesh)[i]);
    growBufferFree(&mesh->children);
    growBufferFree(&mesh->faces);
    growBufferFree(&mesh->vertices);
    delete mesh;
}

bool addChildMesh(Mesh* parent, Mesh* child) {
    return growBufferAppend(&parent->children, &child, sizeof child);
}

void normalize(double& x, double& y, double& z) {
    double square = x * x + y * y + z * z;
    if (square > 1e-10) {
        double length = std::sqrt(square);
        x /= length;
        y /= length;
        z /= length;
    } else {
        x = y = z = 0.0;
    }
}

double dot(double ax, double ay, double az, double bx, double by, double bz) {
    return ax * bx + ay * by + az * bz;
}

void transformPoint(const Matrix4& m, double x, double y, double z, double& outX, double& outY, double& outZ) {
    outX = m.m[0][0] * x + m.m[0][1] * y + m.m[0][2] * z + m.m[0][3];
    outY = m.m[1][0] * x + m.m[1][1] * y + m.m[1][2] * z + m.m[1][3];
    outZ = m.m[2][0] * x + m.m[2][1] * y + m.m[2][2] * z + m.m[2][3];
}

void multiplyMatrix(Matrix4& a, const Matrix4& b) {
    Matrix4 product;
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) {
            double sum = 0.0;
            for (int k = 0; k < 4; k++) sum += b.m[i][k] * a.m[k][j];
            product.m[i][j] = sum;
        }
    a = product;
}

void identityMatrix(Matrix4& m) {
    std::memset(&m, 0, sizeof m);
    for (int i = 0; i < 4; i++) m.m[i][i] = 1.0;
}

void translationMatrix(Matrix4& m, double x, double y, double z) {
    identityMatrix(m);
    m.m[0][3] = x;
    m.m[1][3] = y;
    m.m[2][3] = z;
}

void rotationMatrix(Matrix4& m, int axis, double degrees) {
    double radians = degrees * std::numbers::pi / 180.0;
    double c = std::cos(radians), s = std::sin(radians);
    int u = ((axis % 3) + 3) % 3;
    int v = (u + 1) % 3;
    identityMatrix(m);
    m.m[u][u] = c;
    m.m[u][v] = s;
    m.m[v][v] = c;
    m.m[v][u] = -s;
}

void computeNormals(Mesh* mesh) {
    Vertex* vertices = meshVertices(mesh);
    int vertexCount = meshVertexCount(mesh);
    for (int i = 0; i < vertexCount; i++) vertices[i].nx = vertices[i].ny = vertices[i].nz = 0.0;

    Face* faces = meshFaces(mesh);
    int faceCount = meshFaceCount(mesh);
    for (int f = 0; f < faceCount; f++) {
        Face& face = faces[f];
        if (face.a < 0 || face.a >= vertexCount || face.b < 0 || face.b >= vertexCount || face.c < 0 ||
            face.c >= vertexCount)
            continue;
        Vertex& A = vertices[face.a];
        Vertex& B = vertices[face.b];
        Vertex& C = vertices[face.c];
        double d1x = A.x - B.x, d1y = A.y - B.y, d1z = A.z - B.z;
        double d2x = A.x - C.x, d2y = A.y - C.y, d2z = A.z - C.z;
        face.nx = d1y * d2z - d2y * d1z;
        face.ny = d2x * d1z - d2z * d1x;
        face.nz = d1x * d2y - d1y * d2x;
        normalize(face.nx, face.ny, face.nz);
        for (Vertex* corner : {&A, &B, &C}) {
            corner->nx += face.nx;
            corner->ny += face.ny;
            corner->nz += face.nz;
        }
    }

    for (int i = 0; i < vertexCount; i++) normalize(vertices[i].nx, vertices[i].ny, vertices[i].nz);
    for (int i = 0; i < meshChildCount(mesh); i++)
        if (meshChildren(mesh)[i]) computeNormals(meshChildren(mesh)[i]);
}

void scaleMesh(Mesh* mesh, double factor) {
    Vertex* vertices = meshVertices(mesh);
    for (int i = 0; i < meshVertexCount(mesh); i++) {
        vertices[i].x *= factor;
        vertices[i].y *= factor;
        vertices[i].z *= factor;
    }
    for (int i = 0; i < meshChildCount(mesh); i++)
        if (meshChildren(mesh)[i]) scaleMesh(meshChildren(mesh)[i], factor);
}
