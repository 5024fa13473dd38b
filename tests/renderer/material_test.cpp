#include <gtest/gtest.h>

#include <cmath>

#include "renderer/material.h"

namespace {

LightEntry at(const Light& light, double x, double y, double z) {
    return LightEntry{x, y, z, &light};
}

// The light that one light gives a point, as red.
double lightOn(const LightEntry& entry, double backLight, double px, double py, double pz, double nx, double ny,
               double nz) {
    double sum[3] = {};
    addLightTerm(entry, backLight, px, py, pz, nx, ny, nz, sum);
    return sum[0];
}

// A face over three vertices of the given depths, normals towards -z.
struct FaceStage {
    Vertex vertices[3] = {};
    Face face = {};
    FaceStage(double z0, double z1, double z2) {
        const double z[3] = {z0, z1, z2};
        for (int i = 0; i < 3; i++) {
            vertices[i].camX = i == 1 ? 1.0 : 0.0;
            vertices[i].camY = i == 2 ? 1.0 : 0.0;
            vertices[i].camZ = z[i];
            vertices[i].camNZ = -1.0;
        }
        face.a = 0, face.b = 1, face.c = 2;
    }
};

}  // namespace

TEST(MaterialTest, LightTypesAndFalloff) {
    Light light = {};
    light.set(LIGHT_FALLOFF | LIGHT_ANGLE, 0.0, 0.0, 0.0, 1.0, 0.5, 0.25, 2.0);
    EXPECT_EQ(light.falloffSquared, 4.0);
    EXPECT_EQ(light.type, 6);
    // 1 - (d^2 / 4) / 2 reaches zero at d = sqrt(8), not at the falloff distance 2.
    EXPECT_NEAR(lightOn(at(light, 0, 0, -1.0), 0, 0, 0, 0, 0, 0, -1), 1.0 - 0.125, 1e-15);
    EXPECT_NEAR(lightOn(at(light, 0, 0, -2.0), 0, 0, 0, 0, 0, 0, -1), 0.5, 1e-15);
    EXPECT_GT(lightOn(at(light, 0, 0, -2.8), 0, 0, 0, 0, 0, 0, -1), 0.0);
    EXPECT_EQ(lightOn(at(light, 0, 0, -2.9), 0, 0, 0, 0, 0, 0, -1), 0.0);
    double sum[3] = {};
    addLightTerm(at(light, 0, 0, -2.0), 0, 0, 0, 0, 0, 0, -1, sum);
    EXPECT_DOUBLE_EQ(sum[1], 0.25) << "the light's colour times the term";
    EXPECT_DOUBLE_EQ(sum[2], 0.125);
    EXPECT_EQ(lightOn(at(light, 0, 0, 0), 0, 0, 0, 0, 0, 0, -1), 0.0) << "a light on the point gives no angle";

    Light distanceOnly = {};
    distanceOnly.set(LIGHT_FALLOFF, 5, 5, 5, 1, 1, 1, 2.0);
    EXPECT_EQ(distanceOnly.x, 5.0);
    const LightEntry behind = at(distanceOnly, 0, 0, 1.0);
    EXPECT_EQ(lightOn(behind, 0, 0, 0, 0, 0, 0, -1), 0.875) << "no angle term: all sides alike";
    EXPECT_EQ(lightOn(behind, 0, 0, 0, 0, 0, 0, 1), 0.875);

    Light angleOnly = {};
    angleOnly.set(LIGHT_ANGLE, 0, 0, 0, 1, 1, 1, 0.0);
    const LightEntry side = at(angleOnly, 0, 0, -4.0);
    EXPECT_EQ(lightOn(side, 0.0, 0, 0, 0, 0, 0, 1), 0.0) << "the far side gets nothing";
    EXPECT_EQ(lightOn(side, 0.5, 0, 0, 0, 0, 0, 1), 0.5) << "backLight: half of it on the far side";
    EXPECT_EQ(lightOn(side, 0.5, 0, 0, 0, 0.6, 0, -0.8), 0.8);

    Light sun = {};
    sun.set(LIGHT_DIRECTIONAL, 90.0, 0.0, 0.0, 1, 1, 1, 0.0);
    EXPECT_NEAR(sun.x, 0.0, 1e-15);
    EXPECT_NEAR(sun.y, -1.0, 1e-15) << "(0, 0, -1) turned by 90 degrees about the first axis";
    EXPECT_NEAR(sun.z, 0.0, 1e-15);
    EXPECT_NEAR(lightOn(at(sun, 0.0, 0.6, -0.8), 0, 9, 9, 9, 0, 0, -1), 0.8, 1e-15) << "position does not count";

    Light off = {};
    off.x = 3.0;
    off.set(8, 1, 1, 1, 1, 1, 1, 1);
    EXPECT_EQ(off.x, 3.0) << "a type without a place keeps its position";
    EXPECT_EQ(lightOn(at(off, 0, 0, -1), 0, 0, 0, 0, 0, 0, -1), 0.0);
}

TEST(MaterialTest, FaceAndCornerColours) {
    Material m;
    materialInit(&m);
    m.emissive[0] = 0.25;
    m.diffuse[1] = 0.5;
    Light light = {};
    light.set(LIGHT_ANGLE, 0, 0, 0, 1, 1, 1, 0);
    const LightEntry lights[2] = {at(light, 0, 0, -100.0), at(light, 0, 0, -100.0)};

    FaceStage flat(1.0, 1.0, 1.0);
    flat.face.flatBase[1] = 0.5;
    m.smooth = 0;
    shadeFace(flat.face, flat.vertices, m, 0, 0, -1, nullptr, 0);
    EXPECT_EQ(flat.face.color[0][0], 0.25) << "no lights: base times diffuse plus emissive";
    EXPECT_EQ(flat.face.color[0][1], 0.25);
    EXPECT_EQ(flat.face.color[2][1], 0.25) << "one colour for every corner";
    shadeFace(flat.face, flat.vertices, m, 0, 0, -1, lights, 2);
    EXPECT_NEAR(flat.face.color[1][0], 2.0 * 1.0 + 0.25, 1e-4) << "every light counts, unclamped";

    m.lit = 0;
    shadeFace(flat.face, flat.vertices, m, 0, 0, -1, lights, 2);
    EXPECT_EQ(flat.face.color[0][1], 0.0) << "neither lit nor faded: emissive alone";
    EXPECT_EQ(flat.face.color[0][0], 0.25);

    // Fade at 4: a face at mean depth 1 keeps 3/4; unlit, that much is added instead.
    m.fadeDistance = 4.0;
    shadeFace(flat.face, flat.vertices, m, 0, 0, -1, lights, 2);
    EXPECT_EQ(flat.face.color[0][1], (0.5 + 0.75) * 0.5) << "unlit fade brightens near faces";
    m.lit = 1;
    flat.face.flatBase[1] = 1.0;
    shadeFace(flat.face, flat.vertices, m, 0, 0, -1, nullptr, 0);
    EXPECT_EQ(flat.face.color[0][1], 0.75 * 0.5);
    EXPECT_EQ(flat.face.color[0][0], 0.25);

    FaceStage smooth(1.0, 2.0, 8.0);
    m.smooth = 1;
    for (int i = 0; i < 3; i++) smooth.face.cornerBase[i][2] = 1.0;
    shadeFace(smooth.face, smooth.vertices, m, 0, 0, -1, nullptr, 0);
    EXPECT_EQ(smooth.face.color[0][2], 0.75);
    EXPECT_EQ(smooth.face.color[1][2], 0.5);
    EXPECT_EQ(smooth.face.color[2][2], 0.0) << "beyond the fade distance: clamped to nothing";
}

TEST(MaterialTest, EnvironmentCoordinatesFromCornerNormals) {
    Material m;
    materialInit(&m);
    int bitmap = 0;  // any non-null pointer marks the slot used
    m.texture[1].bitmap = reinterpret_cast<MIRQ_IBitmap*>(&bitmap);
    FaceStage stage(1, 1, 1);
    stage.vertices[1].camNX = 0.25;
    stage.vertices[2].camNY = -0.5;
    stage.face.u[0][1] = 0.9;
    shadeFace(stage.face, stage.vertices, m, 0, 0, -1, nullptr, 0);
    EXPECT_EQ(stage.face.u[UV_SET_ENVIRONMENT][0], 0.5);
    EXPECT_EQ(stage.face.u[UV_SET_ENVIRONMENT][1], 0.75);
    EXPECT_EQ(stage.face.v[UV_SET_ENVIRONMENT][2], 1.0);
    EXPECT_EQ(stage.face.u[0][1], 0.9) << "set 0 stays";

    m.texture[1].bitmap = nullptr;
    stage.vertices[1].camNX = -0.5;
    shadeFace(stage.face, stage.vertices, m, 0, 0, -1, nullptr, 0);
    EXPECT_EQ(stage.face.u[UV_SET_ENVIRONMENT][1], 0.75) << "an empty slot asks for nothing";
}
