#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "renderer/camera.h"
#include "support/render_fixture.h"

TEST(FrameTest, FacesBehindOrBesideTheEyeAreDropped) {
    RenderStage stage(16, 16);
    Material m = solidMaterial(1, 1, 1);
    Mesh* behind = stage.keep(facingQuad(&m, 1.0, 1.0, 0.0, 0.0, -2.0));
    m.cullBack = 0;
    Mesh* beside = stage.keep(facingQuad(&m, 1.0, 1.0, 5.0, 0.0, 1.0));
    Mesh* ahead = stage.keep(facingQuad(&m, 0.5, 0.5, 0.0, 0.0, 1.0));
    Camera& cam = stage.camera;
    cam.beginFrame(&stage.bitmap, true, 0.0f);
    cam.addMesh(behind, nullptr, nullptr);
    EXPECT_EQ(cam.faceCount, 0);
    cam.addMesh(beside, nullptr, nullptr);
    EXPECT_EQ(cam.faceCount, 0);
    cam.addMesh(ahead, nullptr, nullptr);
    EXPECT_EQ(cam.faceCount, 2);
    cam.endFrame();
    EXPECT_EQ(stage.count(0xFFFFFFFFu), 64) << "a quad half the view wide covers a quarter of it";

    Material back = solidMaterial(1, 0, 0);
    Mesh* turnedAway = stage.keep(facingQuad(&back, 0.5, 0.5, 0.0, 0.0, 1.0));
    turnedAway->rotX = -90.0;
    stage.render({turnedAway});
    EXPECT_EQ(stage.count(0xFFFF0000u), 0) << "culled: turned away from the eye";
    back.cullBack = 0;
    stage.render({turnedAway});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64);
}

TEST(FrameTest, FaceAcrossTheEyePlaneIsCutByTheSidePlanes) {
    RenderStage stage(16, 16);
    Material m = solidMaterial(0, 1, 0);
    m.cullBack = 0;
    // A floor below the eye, from behind it to far ahead: only the part in front is drawn.
    Mesh* floor = stage.keep(makePlane(4.0, 8.0, 1, &m));
    floor->y = 0.5;
    stage.render({floor});
    int drawn = stage.count(0xFF00FF00u);
    EXPECT_GT(drawn, 0);
    EXPECT_LT(drawn, 16 * 8) << "only the lower half of the picture shows a floor";
    for (int x = 0; x < 16; x++) EXPECT_EQ(stage.bitmap.pixel(x, 3), 0u) << "nothing above the horizon";
}

TEST(FrameTest, ClippingByAllPlanesLeavesAtMostEightCorners) {
    RenderStage stage(32, 24);
    Camera& cam = stage.camera;
    // The triangle lies in z = 10 - 0.08 x + 0.08 y around the view; the far plane cuts off the
    // lower left corner of the picture, the side planes the rest.
    cam.farDistance = 10.5;
    Material m = solidMaterial(1, 1, 1);
    m.cullBack = 0;
    Mesh* mesh = stage.keep(createMesh());
    Vertex v[3] = {};
    v[0].camX = -30, v[0].camY = -30, v[0].camZ = 10;
    v[1].camX = 30, v[1].camY = -30, v[1].camZ = 5.2;
    v[2].camX = 0, v[2].camY = 40, v[2].camZ = 13.2;
    growBufferAppend(&mesh->vertices, v, sizeof v);
    Face face = {};
    face.material = &m;
    face.a = 0, face.b = 1, face.c = 2;
    for (auto& corner : face.color)
        for (double& channel : corner) channel = 1.0;
    cam.beginFrame(&stage.bitmap, true, 0.0f);
    int corners = cam.clipFace(face, mesh);
    EXPECT_GE(corners, 3);
    EXPECT_LE(corners, CLIP_CORNERS);
    EXPECT_LE(corners - 2, 6) << "the fan has at most 6 triangles";
    for (int p = 0; p < CLIP_PLANES; p++) {
        const ClipPlane& plane = cam.planes[p];
        bool onPlane = false;
        for (int i = 0; i < corners; i++) {
            const Vertex& c = cam.cornersIn.vertex[i];
            double s = dot(c.camX, c.camY, c.camZ, plane.nx, plane.ny, plane.nz);
            EXPECT_GE(s - plane.d, -1e-6) << "plane " << p << " corner " << i;
            onPlane = onPlane || std::fabs(s - plane.d) <= 1e-6;
        }
        EXPECT_TRUE(onPlane) << "plane " << p << " cut the triangle";
    }
    cam.drawFace(face, mesh);
    cam.endFrame();
    int drawn = stage.count(0xFFFFFFFFu);
    EXPECT_GT(drawn, 32 * 24 * 3 / 4) << "the triangle covers the view but for the far corner";
    EXPECT_LT(drawn, 32 * 24);
    EXPECT_EQ(stage.bitmap.pixel(0, 23), 0u);
    EXPECT_EQ(stage.bitmap.pixel(31, 0), 0xFFFFFFFFu);
}

TEST(FrameTest, ProjectAnswersInLogicalPixels) {
    RenderStage stage(200, 100, 512);
    Camera& cam = stage.camera;
    cam.posZ = -1.0;
    cam.offsetX = 10;
    cam.beginFrame(&stage.bitmap, true, 0.0f);
    EXPECT_EQ(cam.target.bitsWidth, 400);
    EXPECT_EQ(cam.target.bitsHeight, 200);
    EXPECT_EQ(cam.centerX, 220) << "the offset counts double at scale 512";
    EXPECT_EQ(cam.centerY, 100);
    EXPECT_EQ(cam.focal, 400.0 / std::tan(45.0 * std::numbers::pi / 180.0));
    cam.endFrame();

    double x = -1, y = -1, distance = -1;
    EXPECT_TRUE(cam.project(0.25, 0.1, 1.0, &x, &y, &distance));
    EXPECT_NEAR(x, 100 + 10 + 0.125 * 200, 1e-9);
    EXPECT_NEAR(y, 50 + 0.05 * 200, 1e-9);
    EXPECT_NEAR(distance, std::sqrt(0.25 * 0.25 + 0.1 * 0.1 + 4.0), 1e-12);

    x = y = -1;
    EXPECT_FALSE(cam.project(0.0, 0.0, -4.0, &x, &y, &distance));
    EXPECT_EQ(distance, 3.0) << "the distance is given even behind the camera";
    EXPECT_EQ(x, -1.0);
    EXPECT_FALSE(cam.project(3.0, 0.0, 1.0, &x, &y, nullptr)) << "in front but beside the bitmap";
    EXPECT_GT(x, 200.0);
}

TEST(FrameTest, ChildrenDrawAtTheirParentsPlaceAndTurn) {
    RenderStage stage(16, 16);
    Material m = solidMaterial(1, 1, 1);
    Mesh* parent = stage.keep(createMesh());
    parent->z = 2.0;
    parent->x = 0.5;
    parent->rotY = 90.0;
    Mesh* child = makePlane(0.5, 0.5, 1, &m);
    child->rotX = 90.0;
    child->x = -0.5;  // turned by the parent: -0.5 along x becomes +-0.5 along z
    ASSERT_TRUE(addChildMesh(parent, child));
    stage.camera.beginFrame(&stage.bitmap, true, 0.0f);
    stage.camera.addMesh(parent, nullptr, nullptr);
    double centreZ = 0, centreX = 0;
    for (int i = 0; i < 4; i++) centreZ += meshVertices(child)[i].camZ / 4, centreX += meshVertices(child)[i].camX / 4;
    EXPECT_NEAR(centreX, 0.5, 1e-12);
    EXPECT_NEAR(std::fabs(centreZ - 2.0), 0.5, 1e-12);
    stage.camera.endFrame();
}

TEST(FrameTest, SortsFarFirstAndKeepsFlushedGroupsInOrder) {
    RenderStage stage(8, 8);
    Material red = solidMaterial(1, 0, 0), green = solidMaterial(0, 1, 0), blue = solidMaterial(0, 0, 1);
    Mesh* nearRed = stage.keep(facingQuad(&red, 4.0, 4.0, 0.0, 0.0, 1.0));
    Mesh* farGreen = stage.keep(facingQuad(&green, 8.0, 8.0, 0.0, 0.0, 2.0));
    Mesh* sameBlue = stage.keep(facingQuad(&blue, 4.0, 4.0, 0.0, 0.0, 1.0));
    Camera& cam = stage.camera;

    stage.render({nearRed, farGreen});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "far faces first: the near quad ends on top";

    cam.beginFrame(&stage.bitmap, true, 0.0f);
    cam.addMesh(nearRed, nullptr, nullptr);
    cam.flushFaces();
    cam.addMesh(farGreen, nullptr, nullptr);
    cam.endFrame();
    EXPECT_EQ(stage.count(0xFF00FF00u), 64) << "a flushed group is drawn before all later faces";

    stage.render({nearRed, sameBlue});
    EXPECT_EQ(stage.count(0xFF0000FFu), 64) << "equal depth: the face added first is drawn first";
    stage.render({sameBlue, nearRed});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64);

    cam.sortOrder = -1;
    stage.render({nearRed, farGreen});
    EXPECT_EQ(stage.count(0xFF00FF00u), 64) << "near faces first";
    cam.sortOrder = 0;
    stage.render({farGreen, nearRed});
    EXPECT_EQ(stage.count(0xFFFF0000u), 64) << "unsorted: as added";
}

TEST(FrameTest, MergeSortIsStable) {
    std::mt19937 generator(7);
    for (int count : {2, 3, 5, 17, 64, 1000}) {
        const size_t n = size_t(count);
        std::vector<FaceEntry> entries(n), scratch(n / 2);
        for (int i = 0; i < count; i++)
            entries[size_t(i)] = FaceEntry{double(generator() % 8), reinterpret_cast<Face*>(intptr_t(i + 1)), nullptr};
        for (int order : {1, -1}) {
            std::vector<FaceEntry> expected = entries, sorted = entries;
            std::stable_sort(expected.begin(), expected.end(), [order](const FaceEntry& a, const FaceEntry& b) {
                return order > 0 ? a.sortKey > b.sortKey : a.sortKey < b.sortKey;
            });
            sortFaceEntries(sorted.data(), count, order, scratch.data());
            for (int i = 0; i < count; i++) {
                ASSERT_EQ(sorted[size_t(i)].face, expected[size_t(i)].face) << count << " entries, order " << order;
            }
        }
    }
}

TEST(FrameTest, NothingHappensOutsideAFrame) {
    RenderStage stage(8, 8);
    Material m = solidMaterial(1, 1, 1);
    Mesh* quad = stage.keep(facingQuad(&m, 4.0, 4.0, 0.0, 0.0, 1.0));
    Camera& cam = stage.camera;
    cam.addMesh(quad, nullptr, nullptr);
    Light light = {};
    light.set(LIGHT_FALLOFF, 0, 0, 0, 1, 1, 1, 1);
    cam.addLight(&light);
    EXPECT_EQ(cam.faceCount, 0);
    EXPECT_EQ(cam.lightCount, 0);
    cam.endFrame();
    cam.beginFrame(nullptr, true, 0.0f);
    EXPECT_EQ(cam.target.bits, nullptr);
    MIRQ_SubBitmap empty(&stage.bitmap, 20, 20, 5, 5);
    cam.beginFrame(&empty, true, 0.0f);
    cam.addMesh(quad, nullptr, nullptr);
    cam.endFrame();
    EXPECT_EQ(stage.count(0u), 64) << "an empty view takes a frame and draws nothing";
}
