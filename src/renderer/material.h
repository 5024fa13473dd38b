// How a face is coloured and how its pixels meet the bitmap (Material, TextureSlot), the lights
// of a frame, and the shading that turns both into the colours of a face's corners as the face
// enters a frame. Used by the frame pipeline and the fillers; the room view's scene owns the
// materials and lights.
#pragma once

#include <cstdint>

#include "renderer/geometry.h"

struct MIRQ_IBitmap;

// Material.blendType: how the face uses the depth buffer.
enum : uint8_t {
    BLEND_NO_DEPTH = 0,  // neither tested nor written
    BLEND_OPAQUE = 1,    // tested and written (as is any value but 0 and 2)
    BLEND_BLENDED = 2,   // tested, not written
};

// Material.fillMode (low byte) and the low byte of TextureSlot.blendMode: how a colour combines
// with what lies beneath.
enum : int {
    FILL_NORMAL = 0,
    FILL_ADD = 1,
    FILL_DODGE = 2,
    FILL_MULTIPLY = 3,
    FILL_OVERLAY = 4,
    FILL_HSV = 5,
};

// TextureSlot.blendMode bits above the mode.
constexpr int TEXTURE_FILTER_MASK = 0xFF00;
constexpr int TEXTURE_BILINEAR = 0x100;          // the filter byte equal to 1: bilinear, else nearest
constexpr int TEXTURE_ALPHA_STRENGTH = 0x10000;  // the texture's own alpha scales its strength

struct TextureSlot {
    MIRQ_IBitmap* bitmap;  // not owned; null = slot empty
    double uScale, vScale; // 1.0 = once across the bitmap
    double alpha;          // strength, 1.0 = full; negative subtracts in the add mode
    int blendMode;
    int uvSet;  // coordinate set 0, 1 or 2; anything else reads set 2, and below 0 asks for
                // environment mapping
};

struct Material {
    uint8_t smooth;          // a colour for each corner, interpolated; 0 = one for the face
    uint8_t lit;             // run the light loop
    uint8_t blendType;       // BLEND_
    uint8_t perspectiveStep; // texture spans: true perspective every 2^(significant bits, at most 6) pixels
    double fadeDistance;     // depth fade, 0 = off
    uint8_t cullBack;        // drop faces turned away from the camera
    double backLight;        // how much a light counts on the side turned away from it
    double emissive[3];      // added after the light sum: the colour of an unlit material
    double diffuse[3];       // the light sum is multiplied by it
    double opacity;          // 1.0 = full
    int fillMode;            // FILL_ in the low byte
    TextureSlot texture[2];
};

// [any thread] Zero-fills the material, then: smooth, lit, opaque, perspective step 16, back
// faces culled, white diffuse, full opacity; slot 0 reads set 0, slot 1 asks for environment
// mapping, both additive at full strength and scale 1.
void materialInit(Material* material);

// Light.type: 0 off, 1 directional, otherwise a set of these bits.
enum : uint8_t {
    LIGHT_OFF = 0,
    LIGHT_DIRECTIONAL = 1,
    LIGHT_FALLOFF = 2,  // weakens with distance
    LIGHT_ANGLE = 4,    // the angle to the light counts
};

struct Light {
    uint8_t type;
    double x, y, z;  // position, or for a directional light the direction
    double red, green, blue;
    double falloffSquared;

    // [any thread] Stores colour, type and the squared falloff. Positional types take x, y, z
    // as the position; a directional light takes them as turns in degrees about the three axes
    // and points its direction (0, 0, -1) that way. Other types keep their position.
    void set(int type, double x, double y, double z, double red, double green, double blue, double falloff);
};

// A light of a frame: its position or direction in camera space.
struct LightEntry {
    double x, y, z;
    const Light* light;
};

// [window thread] Adds to sum the light that one light gives a surface point P with unit
// normal N, both in camera space.
void addLightTerm(const LightEntry& entry, double backLight, double px, double py, double pz, double nx, double ny,
                  double nz, double sum[3]);

// [window thread] Writes the face's corner colours from its material and the frame's lights, and
// its environment coordinates (set 2) when a texture asks for them. The face's vertices have
// their camera-space positions and normals; (nx, ny, nz) is the face normal in camera space.
void shadeFace(Face& face, const Vertex* vertices, const Material& material, double nx, double ny, double nz,
               const LightEntry* lights, int lightCount);
