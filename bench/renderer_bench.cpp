// The software renderer on the room view's heaviest picture: the orbit view of a room with six
// textured walls, twelve speaker boxes, sixteen lit input spheres and one blended half sphere,
// drawn into 1040 by 1040 pixels with a depth buffer. Each frame is timed against a plain fill
// of the same pixels in the same run, and the ratio is reported with the milliseconds. Times are
// the thread's CPU time, so that other work on a shared machine does not count.
#include <benchmark/benchmark.h>

#include <time.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "renderer/camera.h"
#include "renderer/material.h"
#include "renderer/mesh_builders.h"
#include "support/memory_bitmap.h"

namespace {

double threadSeconds() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}
constexpr double DEGREES = 180.0 / std::numbers::pi;

Material coloured(uint32_t colour) {
    Material m;
    materialInit(&m);
    m.emissive[0] = ((colour >> 16) & 0xFF) / 255.0;
    m.emissive[1] = ((colour >> 8) & 0xFF) / 255.0;
    m.emissive[2] = (colour & 0xFF) / 255.0;
    return m;
}

struct RoomScene {
    MemoryBitmap frame{1040, 1040};
    Camera camera;
    Light light = {};
    std::vector<Material> materials;  // reserved up front: meshes point into it
    std::vector<MemoryBitmap> textures;
    std::vector<Mesh*> opaque, blended;
    int facesListed = 0;  // faces that passed culling in the last frame

    RoomScene() {
        materials.reserve(32);
        textures.reserve(8);
        placeOrbitCamera(-67.5, 22.5, 4.1);
        light.set(LIGHT_FALLOFF | LIGHT_ANGLE, 0.0, 2.0, 0.5, 1.0, 1.0, 1.0, 2.0);
        addWalls();
        addSpeakers();
        addInputs();
        addDome();
    }
    ~RoomScene() {
        for (Mesh* m : opaque) destroyMesh(m);
        for (Mesh* m : blended) destroyMesh(m);
    }

    void placeOrbitCamera(double yaw, double pitch, double radius) {
        const double t = pitch / DEGREES, p = (90.0 - yaw) / DEGREES;
        camera.fov = 75.0;
        camera.useDepth = 1;
        camera.posZ = std::sin(t) * radius + 0.5;
        camera.posX = std::cos(p) * std::cos(t) * radius;
        camera.posY = -std::cos(t) * radius * std::sin(p);
        Matrix4 turn;
        rotationMatrix(camera.viewMatrix, 1, -90.0);
        rotationMatrix(turn, 2, -yaw);
        multiplyMatrix(camera.viewMatrix, turn);
        rotationMatrix(turn, 1, -pitch);
        multiplyMatrix(camera.viewMatrix, turn);
        camera.viewFromAngles = 0;
    }

    // Speaker footprints on the walls: rings of translucent colour on a clear texture.
    MemoryBitmap* wallTexture(int w, int h) {
        textures.emplace_back(w, h);
        MemoryBitmap& t = textures.back();
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) {
                int dx = x - w / 3, dy = y - h / 2;
                int ring = int(std::sqrt(double(dx * dx + dy * dy))) / 6;
                t.pixel(x, y) = ring < 8 && ring % 2 == 0 ? 0x60305080u : 0u;
            }
        return &t;
    }

    void addWalls() {
        struct Wall {
            double height, x, y, z, rotX, rotY, rotZ;
            uint32_t colour;
        };
        const Wall walls[6] = {
            {1.0, -1, 0, 0.5, 180, 0, -90, 0x404850},
            {1.0, 1, 0, 0.5, 180, 0, 90, 0x404850},
            {1.0, 0, -1, 0.5, 0, 180, 0, 0x404850},
            {1.0, 0, 1, 0.5, 180, 0, 0, 0x505860},
            {2.0, 0, 0, 0, -90, 0, 0, 0x303438},
            {2.0, 0, 0, 1, 90, 0, 0, 0x383c40},
        };
        for (int i = 0; i < 6; i++) {
            const Wall& w = walls[i];
            materials.push_back(coloured(w.colour));
            Material& m = materials.back();
            m.texture[0].blendMode = 0x101;
            m.texture[0].alpha = 0.75;
            if (i == 2) m.lit = 0;
            if (i == 3) m.backLight = 0.5, m.texture[0].alpha = -0.75;
            if (i < 5) m.texture[0].bitmap = wallTexture(256, i == 4 ? 256 : 128);
            Mesh* mesh = makePlane(2.0, w.height, 1, &m);
            mesh->x = w.x, mesh->y = w.y, mesh->z = w.z;
            mesh->rotX = w.rotX, mesh->rotY = w.rotY, mesh->rotZ = w.rotZ;
            opaque.push_back(mesh);
        }
    }

    void addSpeakers() {
        const double places[12][3] = {
            {-0.7, 1, 0}, {0, 1, 0},    {0.7, 1, 0},     {-1, 0, 0},     {1, 0, 0},      {-0.7, -1, 0},
            {0.7, -1, 0}, {0, -1, 0},   {-0.7, 0.7, 1},  {0.7, 0.7, 1},  {-0.7, -0.7, 1}, {0.7, -0.7, 1},
        };
        materials.push_back(coloured(0xC0C0C8));
        Material* m = &materials.back();
        for (const auto& p : places) {
            Mesh* parent = createMesh();
            Mesh* box = makeBox(0.087890625, 0.05859375, 0.05859375, m);
            box->y = -0.078125;
            addChildMesh(parent, box);
            parent->x = p[0], parent->y = p[1], parent->z = p[2];
            // Each box faces the room's middle.
            const double x = p[0], y = p[1], d = p[2] - 0.5;
            if (x == 0.0) {
                parent->rotX = -std::atan2(d, y) * DEGREES;
            } else {
                parent->rotX = x > 0 ? std::atan2(d, x) * DEGREES + 180.0 : -std::atan2(d, x) * DEGREES;
                parent->rotZ = std::atan2(x, y) * DEGREES - 180.0;
            }
            opaque.push_back(parent);
        }
    }

    void addInputs() {
        const uint32_t colours[8] = {0xF0F0F0, 0xFF2020, 0x20FF20, 0x4040FF, 0xFFFF20, 0x20FFFF, 0xFF20FF, 0xFF8020};
        for (int i = 0; i < 16; i++) {
            materials.push_back(coloured(colours[i % 8]));
            Mesh* ball = makeSphere(0.078125, 15, 15, &materials.back());
            ball->x = std::sin(i * 0.7) * 0.8;
            ball->y = std::cos(i * 1.3) * 0.8;
            ball->z = (i % 4) * 0.25 + 0.1;
            opaque.push_back(ball);
        }
    }

    void addDome() {
        materials.push_back(coloured(0x8080FF));
        Material& m = materials.back();
        m.blendType = BLEND_BLENDED;
        m.opacity = 0.25;
        m.cullBack = 0;
        Mesh* dome = makeSphere(1.0, 31, 31, &m);
        growBufferResize(&dome->vertices, 899 * sizeof(Vertex));
        growBufferResize(&dome->faces, 899 * sizeof(Face));
        dome->rotX = -90.0;
        blended.push_back(dome);
    }

    void render() {
        camera.beginFrame(&frame, true, 0.0f);
        camera.addLight(&light);
        for (Mesh* m : opaque) camera.addMesh(m, nullptr, nullptr);
        for (Mesh* m : blended) {
            camera.flushFaces();
            camera.addMesh(m, nullptr, nullptr);
        }
        facesListed = camera.faceCount;
        camera.endFrame();
    }
};

void roomViewFrame(benchmark::State& state) {
    RoomScene scene;
    scene.render();
    double frameSeconds = 0.0, fillSeconds = 0.0;
    uint32_t shade = 0;
    for (auto _ : state) {
        const double t0 = threadSeconds();
        std::fill(scene.frame.store.begin(), scene.frame.store.end(), 0xFF101820u + (shade++ & 7));
        const double t1 = threadSeconds();
        scene.render();
        const double t2 = threadSeconds();
        benchmark::DoNotOptimize(scene.frame.store.data());
        fillSeconds += t1 - t0;
        frameSeconds += t2 - t1;
        state.SetIterationTime(t2 - t1);
    }
    const double frames = double(state.iterations());
    state.counters["ms_per_frame"] = frameSeconds * 1e3 / frames;
    state.counters["ms_per_fill"] = fillSeconds * 1e3 / frames;
    state.counters["ratio_to_fill"] = frameSeconds / fillSeconds;
    state.counters["faces"] = scene.facesListed;
}
BENCHMARK(roomViewFrame)->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
