// A small stage for renderer tests: a memory bitmap, a camera at the origin looking along +z
// with a 90 degree view (so a point at depth 1 and x = +-0.5 lands on the bitmap's edges), and
// quads built to face that camera.
#pragma once

#include <vector>

#include "renderer/camera.h"
#include "renderer/material.h"
#include "renderer/mesh_builders.h"
#include "support/memory_bitmap.h"

// An unlit material of one colour (0..1 each).
inline Material solidMaterial(double r, double g, double b) {
    Material m;
    materialInit(&m);
    m.lit = 0;
    m.emissive[0] = r, m.emissive[1] = g, m.emissive[2] = b;
    return m;
}

// A width by height quad at depth z facing the eye at the origin: its texture's u runs left to
// right, v top to bottom (screen rows grow with camera y).
inline Mesh* facingQuad(Material* material, double width, double height, double x, double y, double z) {
    Mesh* quad = makePlane(width, height, 1, material);
    quad->rotX = 90.0;
    quad->x = x, quad->y = y, quad->z = z;
    return quad;
}

// Sets set-0 texture coordinates of a facing quad to u0..u1 (left to right) and v0..v1.
inline void setQuadCoordinates(Mesh* quad, double u0, double u1, double v0, double v1) {
    Face* f = meshFaces(quad);
    const Vertex* v = meshVertices(quad);
    for (int i = 0; i < 2; i++) {
        const int32_t corner[3] = {f[i].a, f[i].b, f[i].c};
        for (int c = 0; c < 3; c++) {
            f[i].u[0][c] = v[corner[c]].x < 0.0 ? u0 : u1;
            f[i].v[0][c] = v[corner[c]].z < 0.0 ? v0 : v1;
        }
    }
}

struct RenderStage {
    MemoryBitmap bitmap;
    Camera camera;
    std::vector<Mesh*> meshes;

    explicit RenderStage(int w, int h, int scale = 0) : bitmap(w, h, scale) {}
    ~RenderStage() {
        for (Mesh* m : meshes) destroyMesh(m);
    }
    Mesh* keep(Mesh* mesh) {
        meshes.push_back(mesh);
        return mesh;
    }
    // One frame with the given meshes, in order.
    void render(std::initializer_list<Mesh*> list) {
        camera.beginFrame(&bitmap, true, 0.0f);
        for (Mesh* m : list) camera.addMesh(m, nullptr, nullptr);
        camera.endFrame();
    }
    int count(uint32_t colour) {
        int n = 0;
        for (int y = 0; y < bitmap.storedHeight(); y++)
            for (int x = 0; x < bitmap.storedWidth(); x++) n += bitmap.pixel(x, y) == colour;
        return n;
    }
};
