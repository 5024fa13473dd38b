#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "renderer/geometry.h"
#include "renderer/mesh_builders.h"

namespace {

Matrix4 fromRows(std::initializer_list<double> values) {
    Matrix4 m;
    const double* v = values.begin();
    for (int i = 0; i < 16; i++) m.m[i / 4][i % 4] = v[i];
    return m;
}

void expectFace(const Face& f, int a, int b, int c) {
    EXPECT_EQ(f.a, a);
    EXPECT_EQ(f.b, b);
    EXPECT_EQ(f.c, c);
}

}  // namespace

TEST(GeometryTest, MatrixOrderAndRotations) {
    Matrix4 r;
    rotationMatrix(r, 3, 30.0);
    EXPECT_DOUBLE_EQ(r.m[0][0], std::cos(std::numbers::pi / 6));
    EXPECT_DOUBLE_EQ(r.m[0][1], 0.5);
    EXPECT_DOUBLE_EQ(r.m[1][0], -0.5);
    EXPECT_DOUBLE_EQ(r.m[1][1], std::cos(std::numbers::pi / 6));
    EXPECT_EQ(r.m[2][2], 1.0);
    double x, y, z;
    rotationMatrix(r, 1, 90.0);
    transformPoint(r, 0.0, 1.0, 0.0, x, y, z);
    EXPECT_NEAR(x, 0.0, 1e-15);
    EXPECT_NEAR(y, 0.0, 1e-15);
    EXPECT_NEAR(z, -1.0, 1e-15) << "axis 1 turns y towards -z";
    rotationMatrix(r, 2, 90.0);
    transformPoint(r, 1.0, 0.0, 0.0, x, y, z);
    EXPECT_NEAR(z, 1.0, 1e-15) << "axis 2 turns x towards +z";

    // a := b * a, twice: b2 * b1 * a.
    Matrix4 a = fromRows({1, 2, 0, 1, 0, 1, 3, 0, 4, 0, 1, 2, 0, 0, 0, 1});
    Matrix4 b1 = fromRows({0, 1, 0, 0, 1, 0, 0, 5, 0, 0, 2, 0, 0, 0, 0, 1});
    Matrix4 b2 = fromRows({1, 0, 1, 0, 0, 3, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1});
    Matrix4 expected = fromRows({8, 1, 5, 4, 3, 6, 0, 18, 8, 0, 2, 4, 0, 1, 3, 1});
    multiplyMatrix(a, b1);
    multiplyMatrix(a, b2);
    for (int i = 0; i < 4; i++)
        for (int j = 0; j < 4; j++) EXPECT_EQ(a.m[i][j], expected.m[i][j]) << i << "," << j;

    double nx = 1e-6, ny = 0.0, nz = 0.0;
    normalize(nx, ny, nz);
    EXPECT_EQ(nx, 0.0) << "too short to have a direction";
}

TEST(GeometryTest, NormalsOfDegenerateFacesAndUnusedVertices) {
    Mesh* mesh = createMesh();
    ASSERT_NE(mesh, nullptr);
    Vertex vertices[5] = {};
    vertices[0].x = 0.0, vertices[1].x = 1.0, vertices[2].z = 1.0;  // a face in the plane y = 0
    vertices[3].x = 2.0, vertices[4].x = 3.0;                        // on one line with 0 and 1
    growBufferAppend(&mesh->vertices, vertices, sizeof vertices);
    Face faces[2] = {};
    faces[0].a = 0, faces[0].b = 1, faces[0].c = 2;
    faces[1].a = 0, faces[1].b = 1, faces[1].c = 3;
    growBufferAppend(&mesh->faces, faces, sizeof faces);
    computeNormals(mesh);
    const Face* f = meshFaces(mesh);
    EXPECT_EQ(f[1].nx, 0.0);
    EXPECT_EQ(f[1].ny, 0.0);
    EXPECT_EQ(f[1].nz, 0.0);
    EXPECT_EQ(std::fabs(f[0].ny), 1.0);
    const Vertex* v = meshVertices(mesh);
    EXPECT_EQ(v[0].ny, f[0].ny) << "the zero-area face adds nothing to its corners";
    EXPECT_EQ(v[3].ny, 0.0) << "only a zero-area face uses vertex 3";
    EXPECT_EQ(v[4].nx, 0.0);
    EXPECT_EQ(v[4].ny, 0.0) << "no face uses vertex 4";
    destroyMesh(mesh);
}

TEST(GeometryTest, ScaleMeshMovesVerticesOnly) {
    Mesh* parent = createMesh();
    Mesh* box = makeBox(2.0, 2.0, 2.0, nullptr);
    ASSERT_TRUE(addChildMesh(parent, box));
    ASSERT_TRUE(addChildMesh(parent, nullptr)) << "null children are allowed and skipped";
    box->x = 0.5;
    Vertex before = meshVertices(box)[5];
    scaleMesh(parent, 3.0);
    const Vertex& after = meshVertices(box)[5];
    EXPECT_EQ(after.x, 3.0 * before.x);
    EXPECT_EQ(after.y, 3.0 * before.y);
    EXPECT_EQ(after.z, 3.0 * before.z);
    EXPECT_EQ(after.nx, before.nx) << "lighting stays as it was";
    EXPECT_EQ(after.nz, before.nz);
    EXPECT_EQ(box->x, 0.5);
    computeNormals(parent);
    destroyMesh(parent);
}

TEST(GeometryTest, PlaneGrid) {
    Material* material = reinterpret_cast<Material*>(0x40);
    Mesh* plane = makePlane(2.0, 1.0, 1, material);
    ASSERT_NE(plane, nullptr);
    ASSERT_EQ(meshVertexCount(plane), 4);
    ASSERT_EQ(meshFaceCount(plane), 2);
    const Vertex* v = meshVertices(plane);
    EXPECT_EQ(v[0].x, -1.0);
    EXPECT_EQ(v[0].z, -0.5);
    EXPECT_EQ(v[1].x, 1.0);
    EXPECT_EQ(v[2].z, 0.5) << "height runs along z, rows of vertices along it";
    const Face* f = meshFaces(plane);
    expectFace(f[0], 0, 2, 1);
    expectFace(f[1], 2, 3, 1);
    EXPECT_EQ(f[0].material, material);
    EXPECT_EQ(f[1].u[0][1], 1.0);
    EXPECT_EQ(f[1].v[0][1], 1.0);
    EXPECT_EQ(f[0].u[0][2], 1.0);
    EXPECT_EQ(f[0].v[0][2], 0.0);
    EXPECT_EQ(f[0].u[1][2], 0.0) << "set 1 stays empty";
    EXPECT_EQ(f[0].ny, 1.0) << "the plane faces +y";
    EXPECT_EQ(v[3].ny, 1.0);
    destroyMesh(plane);

    Mesh* grid = makePlane(4.0, 4.0, 4, nullptr);
    EXPECT_EQ(meshVertexCount(grid), 25);
    EXPECT_EQ(meshFaceCount(grid), 32);
    expectFace(meshFaces(grid)[2 * (4 * 2 + 3)], 2 * 5 + 3, 3 * 5 + 3, 2 * 5 + 4);
    EXPECT_EQ(meshFaces(grid)[2 * (4 * 2 + 3)].u[0][0], 0.75);
    EXPECT_EQ(meshFaces(grid)[2 * (4 * 2 + 3)].v[0][1], 0.75);
    destroyMesh(grid);
}

TEST(GeometryTest, BoxFacesPointOutwards) {
    Mesh* box = makeBox(2.0, 4.0, 6.0, nullptr);
    ASSERT_EQ(meshVertexCount(box), 8);
    ASSERT_EQ(meshFaceCount(box), 12);
    const Vertex* v = meshVertices(box);
    EXPECT_EQ(v[0].x, -1.0);
    EXPECT_EQ(v[0].y, 3.0) << "depth runs along y";
    EXPECT_EQ(v[0].z, 2.0) << "height runs along z";
    EXPECT_EQ(v[7].x, 1.0);
    EXPECT_EQ(v[7].y, -3.0);
    EXPECT_EQ(v[7].z, -2.0);
    const Face* f = meshFaces(box);
    expectFace(f[0], 0, 4, 1);
    expectFace(f[11], 4, 0, 6);
    EXPECT_EQ(f[3].u[0][0], 1.0);
    EXPECT_EQ(f[3].v[0][1], 1.0);
    EXPECT_EQ(f[7].v[0][0], 1.0);
    for (int i = 0; i < 12; i++) {
        const Vertex &a = v[f[i].a], &b = v[f[i].b], &c = v[f[i].c];
        double cx = a.x + b.x + c.x, cy = a.y + b.y + c.y, cz = a.z + b.z + c.z;
        EXPECT_GT(dot(f[i].nx, f[i].ny, f[i].nz, cx, cy, cz), 0.0) << "face " << i;
        EXPECT_NEAR(dot(f[i].nx, f[i].ny, f[i].nz, f[i].nx, f[i].ny, f[i].nz), 1.0, 1e-12);
    }
    destroyMesh(box);
}

TEST(GeometryTest, DiscFanWithTwoDegenerateFaces) {
    Mesh* disc = makeDisc(2.0, 8, nullptr);
    ASSERT_EQ(meshVertexCount(disc), 8);
    ASSERT_EQ(meshFaceCount(disc), 8);
    const Vertex* v = meshVertices(disc);
    EXPECT_EQ(v[0].x, 2.0);
    EXPECT_NEAR(v[2].z, 2.0, 1e-15);
    const Face* f = meshFaces(disc);
    expectFace(f[0], 1, 0, 0);
    expectFace(f[3], 4, 3, 0);
    expectFace(f[7], 0, 7, 0);
    for (int k : {0, 7}) EXPECT_EQ(f[k].ny, 0.0) << "face " << k << " has no area";
    for (int k = 1; k < 7; k++) EXPECT_EQ(f[k].ny, 1.0) << "face " << k;
    EXPECT_NEAR(f[1].u[0][0], 0.5, 1e-15) << "corner 0 of face 1 is vertex 2, a quarter round";
    EXPECT_NEAR(f[1].v[0][0], 1.0, 1e-15);
    EXPECT_EQ(f[1].u[0][2], 0.5) << "corner 2 takes the texture's middle";
    EXPECT_EQ(f[1].v[0][2], 0.5);
    EXPECT_EQ(f[7].u[0][0], 1.0);
    EXPECT_EQ(f[7].v[0][0], 0.5);
    destroyMesh(disc);

    Mesh* empty = makeDisc(1.0, 0, nullptr);
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(meshFaceCount(empty), 0);
    destroyMesh(empty);
}

TEST(GeometryTest, SphereOrderAndCounts) {
    Mesh* small = makeSphere(1.0, 2, 2, nullptr);
    EXPECT_EQ(meshVertexCount(small), 5) << "2 by 2 counts as 3 by 3";
    EXPECT_EQ(meshFaceCount(small), 6);
    destroyMesh(small);

    const int s = 31;
    Mesh* sphere = makeSphere(1.0, s, 31, nullptr);
    ASSERT_EQ(meshVertexCount(sphere), 901);
    ASSERT_EQ(meshFaceCount(sphere), 1798);
    const Vertex* v = meshVertices(sphere);
    EXPECT_EQ(v[0].y, 1.0);
    EXPECT_EQ(v[1].y, -1.0);
    EXPECT_NEAR(v[2].y, std::cos(std::numbers::pi / 30), 1e-15);
    EXPECT_NEAR(v[2].x, std::sin(std::numbers::pi / 30), 1e-15);
    const Face* f = meshFaces(sphere);
    for (int j = 0; j < s; j++) {
        EXPECT_EQ(f[j].a, 0) << "top cap " << j;
        EXPECT_EQ(f[1798 - s + j].a, 1) << "bottom cap " << j;
    }
    expectFace(f[0], 0, 3, 2);
    expectFace(f[s - 1], 0, 2, 2 + s - 1);  // the cap wraps to segment 0
    expectFace(f[s], 2, 2 + s + 1, 2 + s);
    expectFace(f[s + 1], 2, 3, 2 + s + 1);
    EXPECT_DOUBLE_EQ(f[s + 1].v[0][2], 2.0 / 31);
    EXPECT_DOUBLE_EQ(f[s + 1].u[0][1], 1.0 / 31);
    expectFace(f[1797], 1, 2 + 28 * s + 30, 2 + 28 * s);
    EXPECT_EQ(f[1797].v[0][0], 1.0);
    EXPECT_NEAR(f[1797].v[0][1], 29.0 / 31, 1e-12) << "the last ring stops short of the texture's bottom";

    // The first 899 faces, the cap and 14 bands, use only the first 899 vertices: the half sphere.
    int highest = 0;
    for (int i = 0; i < 899; i++) highest = std::max({highest, f[i].a, f[i].b, f[i].c});
    EXPECT_EQ(highest, 2 + 14 * s + s - 1);
    EXPECT_EQ(f[899].a, 2 + 14 * s) << "face 899 opens band 14";
    EXPECT_NEAR(v[2 + 14 * s].y, 0.0, 1e-15) << "ring 14 is the equator";
    destroyMesh(sphere);
}
