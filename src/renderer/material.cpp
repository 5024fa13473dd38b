#include "renderer/material.h"

#include <cstring>

void materialInit(Material* material) {
    std::memset(material, 0, sizeof *material);
    material->smooth = 1;
    material->lit = 1;
    material->blendType = BLEND_OPAQUE;
    material->perspectiveStep = 16;
    material->cullBack = 1;
    for (double& d : material->diffuse) d = 1.0;
    material->opacity = 1.0;
    for (TextureSlot& slot : material->texture) {
        slot.uScale = 1.0;
        slot.vScale = 1.0;
        slot.alpha = 1.0;
        slot.blendMode = FILL_ADD;
    }
    material->texture[1].uvSet = -1;
}

void Light::set(int lightType, double lx, double ly, double lz, double r, double g, double b, double falloff) {
    red = r;
    green = g;
    blue = b;
    falloffSquared = falloff * falloff;
    type = uint8_t(lightType);
    if (lightType == LIGHT_DIRECTIONAL) {
        Matrix4 direction, turn;
        rotationMatrix(direction, 1, lx);
        rotationMatrix(turn, 2, ly);
        multiplyMatrix(direction, turn);
        rotationMatrix(turn, 3, lz);
        multiplyMatrix(direction, turn);
        transformPoint(direction, 0.0, 0.0, -1.0, x, y, z);
    } else if (lightType & (LIGHT_FALLOFF | LIGHT_ANGLE)) {
        x = lx;
        y = ly;
        z = lz;
    }
}

namespace {

double clampUnit(double f) {
    if (!(f > 0.0)) return 0.0;  // NaN too: a light that can't be weighed gives nothing
    return f > 1.0 ? 1.0 : f;
}

}  // namespace

void addLightTerm(const LightEntry& entry, double backLight, double px, double py, double pz, double nx, double ny,
                  double nz, double sum[3]) {
    const Light& light = *entry.light;
    double d = 0.0;
    double dx = entry.x - px, dy = entry.y - py, dz = entry.z - pz;
    if (light.type & LIGHT_ANGLE) {
        // A light on the surface point itself keeps the zero vector: no angle, no light.
        double ux = dx, uy = dy, uz = dz;
        if (ux * ux + uy * uy + uz * uz > 1e-10) normalize(ux, uy, uz);
        d = dot(nx, ny, nz, ux, uy, uz);
    }
    if (light.type & LIGHT_FALLOFF) {
        double f = clampUnit(1.0 - ((dx * dx + dy * dy + dz * dz) / light.falloffSquared) * 0.5);
        d = (light.type & LIGHT_ANGLE) ? d * f : f;
    }
    if (light.type == LIGHT_DIRECTIONAL) d = dot(nx, ny, nz, entry.x, entry.y, entry.z);

    // On the far side the light counts by backLight, with the sign turned: it still lights.
    double weight;
    if (d > 0.0)
        weight = d;
    else if (backLight != 0.0)
        weight = -d * backLight;
    else
        return;
    sum[0] += light.red * weight;
    sum[1] += light.green * weight;
    sum[2] += light.blue * weight;
}

namespace {

// One colour: the base, the frame's lights at (P, N), the fade factor, then diffuse and emissive.
void shadePoint(const Material& m, const double base[3], double px, double py, double pz, double nx, double ny,
                double nz, double fade, const LightEntry* lights, int lightCount, double out[3]) {
    double sum[3] = {base[0], base[1], base[2]};
    if (m.lit)
        for (int i = 0; i < lightCount; i++) addLightTerm(lights[i], m.backLight, px, py, pz, nx, ny, nz, sum);
    if (m.fadeDistance != 0.0) {
        double f = clampUnit(fade);
        for (double& s : sum) s = m.lit ? s * f : s + f;
    }
    for (int k = 0; k < 3; k++) out[k] = sum[k] * m.diffuse[k] + m.emissive[k];
}

}  // namespace

void shadeFace(Face& face, const Vertex* vertices, const Material& m, double nx, double ny, double nz,
               const LightEntry* lights, int lightCount) {
    const Vertex* corner[3] = {&vertices[face.a], &vertices[face.b], &vertices[face.c]};
    if (!m.lit && m.fadeDistance == 0.0) {
        for (auto& colour : face.color) std::memcpy(colour, m.emissive, sizeof colour);
    } else if (!m.smooth) {
        const Vertex& p = *corner[0];
        double fade = 0.0;
        if (m.fadeDistance != 0.0)
            fade = 1.0 - (corner[0]->camZ + corner[1]->camZ + corner[2]->camZ) / (m.fadeDistance * 3.0);
        shadePoint(m, face.flatBase, p.camX, p.camY, p.camZ, nx, ny, nz, fade, lights, lightCount, face.color[0]);
        std::memcpy(face.color[1], face.color[0], sizeof face.color[0]);
        std::memcpy(face.color[2], face.color[0], sizeof face.color[0]);
    } else {
        for (int i = 0; i < 3; i++) {
            const Vertex& p = *corner[i];
            double fade = m.fadeDistance != 0.0 ? 1.0 - p.camZ / m.fadeDistance : 0.0;
            shadePoint(m, face.cornerBase[i], p.camX, p.camY, p.camZ, p.camNX, p.camNY, p.camNZ, fade, lights,
                       lightCount, face.color[i]);
        }
    }

    for (const TextureSlot& slot : m.texture)
        if (slot.bitmap && slot.uvSet < 0) {
            for (int i = 0; i < 3; i++) {
                face.u[UV_SET_ENVIRONMENT][i] = corner[i]->camNX + 0.5;
                face.v[UV_SET_ENVIRONMENT][i] = 0.5 - corner[i]->camNY;
            }
            break;
        }
}
