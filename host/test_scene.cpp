#include "host/test_scene.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "foundation/host_api.h"
#include "host/args.h"
#include "hostservices/drawing.h"
#include "host/host.h"
#include "host/png.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "renderer/camera.h"
#include "renderer/geometry.h"
#include "renderer/material.h"
#include "renderer/mesh_builders.h"
#include "roomview/scene.h"

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host render-test-scene: %s\n", message.c_str());
    return 2;
}

constexpr uint32_t BACKGROUND = 0xFF303840u;
constexpr int TEXTURE_SIDE = 64;

// A checkerboard of 8-pixel squares with a ramp of red across and of blue down, so that filtering,
// wrapping and orientation all show.
void paintTexture(MIRQ_IBitmap* texture) {
    uint32_t* pixels = texture->pixels();
    for (int y = 0; y < TEXTURE_SIDE; y++)
        for (int x = 0; x < TEXTURE_SIDE; x++) {
            bool light = ((x / 8) + (y / 8)) & 1;
            uint32_t r = (light ? 150u : 60u) + uint32_t(x), g = light ? 140u : 70u, b = (light ? 110u : 90u) + uint32_t(y);
            pixels[y * texture->rowSpan() + x] = 0xFF000000u | (r << 16) | (g << 8) | b;
        }
}

struct Scene {
    MIRQ_IBitmap* texture;
    Material room, red, blue, green, shade, dome, disc;
    Light lamp, sky, glow;
    std::vector<Mesh*> opaque;   // drawn first, in one sorted group
    std::vector<Mesh*> blended;  // each in a group of its own, after the opaque ones
};

void setColour(double (&c)[3], double r, double g, double b) {
    c[0] = r;
    c[1] = g;
    c[2] = b;
}

Mesh* placed(Mesh* mesh, double x, double y, double z, double rotX, double rotY, double rotZ) {
    if (!mesh) return nullptr;
    mesh->x = x;
    mesh->y = y;
    mesh->z = z;
    mesh->rotX = rotX;
    mesh->rotY = rotY;
    mesh->rotZ = rotZ;
    return mesh;
}

// The world: y grows downward as on the screen, the floor lies at y = 1.5, the room is 4 wide
// (x) and 4 deep (z).
void buildScene(Scene* s) {
    // The room, seen from inside: no culling, lit from behind its faces, a checkered texture.
    materialInit(&s->room);
    s->room.smooth = 0;
    s->room.cullBack = 0;
    s->room.backLight = 1.0;
    setColour(s->room.diffuse, 0.8, 0.8, 0.75);
    setColour(s->room.emissive, 0.05, 0.05, 0.06);
    s->room.texture[0].bitmap = s->texture;
    s->room.texture[0].blendMode = TEXTURE_BILINEAR | FILL_NORMAL;
    s->room.texture[0].alpha = 0.55;
    s->room.texture[0].uScale = 3.0;
    s->room.texture[0].vScale = 3.0;
    s->opaque.push_back(makeBox(4.0, 4.0, 3.0, &s->room));

    // Smooth spheres, one with an environment map added on top.
    materialInit(&s->red);
    setColour(s->red.diffuse, 0.9, 0.3, 0.2);
    s->opaque.push_back(placed(makeSphere(0.45, 24, 16, &s->red), -1.15, 1.05, 0.4, 0, 0, 0));
    materialInit(&s->blue);
    setColour(s->blue.diffuse, 0.2, 0.45, 0.9);
    s->blue.texture[1].bitmap = s->texture;
    s->blue.texture[1].alpha = 0.35;
    s->blue.perspectiveStep = 0;
    s->opaque.push_back(placed(makeSphere(0.35, 20, 14, &s->blue), 0.95, 1.15, 1.0, 0, 0, 0));

    // Flat boxes, turned; the tall one multiplies what lies behind it.
    materialInit(&s->green);
    s->green.smooth = 0;
    setColour(s->green.diffuse, 0.3, 0.8, 0.3);
    s->opaque.push_back(placed(makeBox(0.6, 0.6, 0.6, &s->green), 0.6, 1.2, -0.2, 0, 30, 0));
    materialInit(&s->shade);
    s->shade.smooth = 0;
    s->shade.fillMode = FILL_MULTIPLY;
    setColour(s->shade.diffuse, 0.9, 0.8, 0.5);
    s->opaque.push_back(placed(makeBox(0.3, 0.3, 1.4, &s->shade), 1.4, 0.8, 1.6, 10, -25, 0));

    // A disc on the floor, unlit and added; then a see-through dome over it, the room view's
    // half sphere.
    materialInit(&s->disc);
    s->disc.lit = 0;
    s->disc.cullBack = 0;
    s->disc.blendType = BLEND_BLENDED;
    s->disc.fillMode = FILL_ADD;
    s->disc.opacity = 0.6;
    setColour(s->disc.emissive, 0.9, 0.6, 0.1);
    s->blended.push_back(placed(makeDisc(0.9, 40, &s->disc), -0.3, 1.49, 1.3, 0, 0, 0));
    materialInit(&s->dome);
    s->dome.blendType = BLEND_BLENDED;
    s->dome.cullBack = 0;
    s->dome.opacity = 0.5;
    setColour(s->dome.diffuse, 0.6, 0.65, 1.0);
    s->blended.push_back(placed(makeHalfSphere(0.7, &s->dome), -0.3, 1.5, 1.3, 180, 0, 0));

    // A lamp under the ceiling that fades with distance, a directional light, a warm glow.
    s->lamp.set(LIGHT_FALLOFF | LIGHT_ANGLE, 0.2, -1.2, 0.6, 0.95, 0.92, 0.85, 4.5);
    s->sky.set(LIGHT_DIRECTIONAL, 40.0, 30.0, 0.0, 0.3, 0.3, 0.36, 0.0);
    s->glow.set(LIGHT_FALLOFF, 1.5, 1.0, 1.5, 0.25, 0.12, 0.0, 2.0);
}

void destroyScene(Scene* s) {
    for (Mesh* m : s->opaque) destroyMesh(m);
    for (Mesh* m : s->blended) destroyMesh(m);
    mirqDestroy(s->texture);
}

void drawLabel(MIRQ_IBitmap* bitmap) {
    const TextRect& l = TEST_SCENE_LABEL;
    MIRQ_SubBitmap area(bitmap, l.left, l.top, l.right - l.left, l.bottom - l.top);
    MIRQ_IFont* font = labelFont();
    if (!font || !area.pixels()) return;
    // A dark band behind the text, drawn through the view as any label is.
    int rows = bitmapScale(bitmap) > 0 ? (area.height() * bitmapScale(bitmap)) >> 8 : area.height();
    int columns = bitmapScale(bitmap) > 0 ? (area.width() * bitmapScale(bitmap)) >> 8 : area.width();
    for (int y = 0; y < rows; y++)
        for (int x = 0; x < columns; x++) area.pixels()[y * area.rowSpan() + x] = 0xFF101418u;
    font->setTextColor(int(0xFFFFFFFFu));
    TextRect r = {4, 0, area.width(), area.height()};
    font->drawText(&area, "KelvanePan test scene", -1, &r, MIRQ_DT_SINGLELINE | MIRQ_DT_VCENTER | MIRQ_DT_NOPREFIX);
}

}  // namespace

MIRQ_IBitmap* renderTestScene(int scale) {
    // The services come by name, as the plugin gets them.
    RefHost* host = refHostCreate();
    if (!host) return nullptr;
    HostApi saved = hostApi;
    importHostFunction(reinterpret_cast<void**>(&hostApi.MIRQ_CreateBitmap), "MIRQ_CreateBitmap", refHostCallback(host));
    importHostFunction(reinterpret_cast<void**>(&hostApi.MIRQ_CreateFont), "MIRQ_CreateFont", refHostCallback(host));

    MIRQ_IBitmap* bitmap = nullptr;
    Scene scene{};
    if (hostApi.MIRQ_CreateBitmap) {
        bitmap = hostApi.MIRQ_CreateBitmap(1, TEST_SCENE_WIDTH, TEST_SCENE_HEIGHT);
        scene.texture = hostApi.MIRQ_CreateBitmap(0, TEXTURE_SIDE, TEXTURE_SIDE);
    }
    if (bitmap && scene.texture && bitmap->extended(MIRQ_EXT_SET_SCALE, &scale)) {
        int stored = bitmapScale(bitmap) > 0 ? bitmapScale(bitmap) : MIRQ_SCALE_ONE;
        int w = (TEST_SCENE_WIDTH * stored) >> 8, h = (TEST_SCENE_HEIGHT * stored) >> 8;
        for (int y = 0; y < h; y++)
            for (int x = 0; x < w; x++) bitmap->pixels()[y * bitmap->rowSpan() + x] = BACKGROUND;
        paintTexture(scene.texture);
        buildScene(&scene);

        Camera camera;
        camera.useDepth = 1;
        camera.fov = 110.0;
        camera.posX = -0.5;
        camera.posY = -0.4;
        camera.posZ = -1.8;
        camera.rotX = 24.0;
        camera.rotY = -10.0;
        camera.beginFrame(bitmap, true, 0.0f);
        camera.addLight(&scene.lamp);
        camera.addLight(&scene.sky);
        camera.addLight(&scene.glow);
        for (Mesh* m : scene.opaque) camera.addMesh(m, nullptr, nullptr);
        for (Mesh* m : scene.blended) {
            camera.flushFaces();
            camera.addMesh(m, nullptr, nullptr);
        }
        camera.endFrame();
        drawLabel(bitmap);
        releaseLabelFont();
    } else {
        mirqDestroy(bitmap);
        bitmap = nullptr;
    }
    destroyScene(&scene);
    hostApi = saved;
    refHostDestroy(host);
    return bitmap;
}

int commandRenderTestScene(int argc, char** argv) {
    ParsedArgs args;
    std::string error;
    if (!parseArgs(argc, argv, {{"--scale", true}}, &args, &error)) return fail(error);
    if (args.positional.size() > 1) return fail("unexpected argument '" + args.positional[1] + "'");
    std::string output = args.positional.empty() ? "" : args.positional[0];
    int scale = 0;
    if (optionGiven(args, "--scale")) {
        std::string value = optionValue(args, "--scale");
        char* end = nullptr;
        long s = std::strtol(value.c_str(), &end, 10);
        if (value.empty() || *end || s < 0 || s > HOST_BITMAP_MAX_SCALE)
            return fail("--scale: not a scale from 0 to " + std::to_string(HOST_BITMAP_MAX_SCALE) + " (256 = 100 %): '" +
                        value + "'");
        scale = int(s);
    }
    if (output.empty()) return fail("needs the path of the PNG file to write");
    if (!outputDiffersFromInputs(output, {}, &error)) return fail(error);
    if (!folderExists(output)) return fail(output + ": the folder does not exist");
    MIRQ_IBitmap* picture = renderTestScene(scale);
    if (!picture) return fail("out of memory");
    std::vector<unsigned char> png = pngEncodeBitmap(picture);
    mirqDestroy(picture);
    if (png.empty()) return fail("the picture could not be encoded");
    if (!writeFileSafely(output, png, &error)) return fail(error);
    std::fprintf(output == "-" ? stderr : stdout, "wrote %s\n", output.c_str());
    return 0;
}
