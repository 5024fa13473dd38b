// Camera::fillTriangle: from a screen-space triangle of doubles to fixed-point corners and one
// filler chosen once for the whole triangle.
#include <cstring>

#include "renderer/camera.h"
#include "renderer/plain_fillers.h"
#include "renderer/scan.h"
#include "renderer/texture_fillers.h"

namespace {

// Opacities and texture strengths are weights of 256; far beyond 1.0 they mean nothing more,
// and keeping them within 16.0 keeps every product of a filler inside int.
int weightOf(double fraction) {
    const int w = fixedFromDouble(fraction * 256.0);
    return w < -4096 ? -4096 : w > 4096 ? 4096 : w;
}

// Colours far beyond full scale keep within 32.0, so that differences of 8.24 values fit.
int smoothColorOf(double c) {
    return fixedFromDouble((c < -32.0 ? -32.0 : c > 32.0 ? 32.0 : c) * SCAN_COLOR_ONE);
}

int flatChannelOf(double c) {
    const int v = fixedFromDouble(c * 255.0);
    return v < 0 ? 0 : v > 255 ? 255 : v;
}

int uvSetOf(const TextureSlot& slot) {
    return slot.uvSet >= 0 && slot.uvSet < UV_SETS ? slot.uvSet : UV_SET_ENVIRONMENT;
}

}  // namespace

void Camera::fillTriangle(const Face& face) {
    if (!target.bits || !face.material) return;
    const Material& m = *face.material;
    const int w = target.bitsWidth, h = target.bitsHeight;

    ScanTarget st;
    st.rows = target.bits;
    st.stride = target.bitsSpan;
    if (target.bitsFlipped) {
        st.rows += ptrdiff_t(h - 1) * target.bitsSpan;
        st.stride = -st.stride;
    }
    st.width = w;
    st.height = h;
    st.depth = nullptr;
    DepthUse depth = DEPTH_NONE;
    if (m.blendType != BLEND_NO_DEPTH && depthBuffer.used >= size_t(w) * size_t(h) * sizeof(float)) {
        st.depth = growItems<float>(depthBuffer);
        depth = m.blendType == BLEND_BLENDED ? DEPTH_TEST : DEPTH_TEST_WRITE;
    }
    const int opacity = weightOf(m.opacity);

    ScanCorner corners[3];
    for (int i = 0; i < 3; i++) {
        ScanCorner& c = corners[i];
        std::memset(&c, 0, sizeof c);
        c.screenY = face.screenY[i];
        c.x = fixedFromDouble(face.screenX[i] * SCAN_X_ONE);
        c.y = fixedFromDouble(face.screenY[i] + 0.5);
        for (int k = 0; k < 3; k++) c.values.color[k] = smoothColorOf(face.color[i][k]);
        c.values.invZ = face.invZ[i];
    }

    // Textured: each used slot's coordinates, in texels and divided by z, join the scan.
    int slots[2], layers = 0;
    for (int s = 0; s < 2; s++)
        if (textureUsable(m.texture[s])) slots[layers++] = s;
    if (layers) {
        TextureFill fill;
        std::memset(&fill, 0, sizeof fill);
        fill.layerCount = layers;
        for (int l = 0; l < layers; l++) {
            const TextureSlot& slot = m.texture[slots[l]];
            prepareTextureLayer(&fill.layer[l], slot, weightOf(slot.alpha));
            const int set = uvSetOf(slot);
            for (int i = 0; i < 3; i++) {
                corners[i].values.tex[2 * l] = face.u[set][i] * slot.uScale * fill.layer[l].wrapU * face.invZ[i];
                corners[i].values.tex[2 * l + 1] = face.v[set][i] * slot.vScale * fill.layer[l].wrapV * face.invZ[i];
            }
        }
        RowFiller row = prepareTextureFill(&fill, m.fillMode, opacity, m.perspectiveStep, depth);
        scanTriangle(corners, st, row, &fill);
        return;
    }

    const int flat[3] = {flatChannelOf(face.color[0][0]), flatChannelOf(face.color[0][1]),
                         flatChannelOf(face.color[0][2])};
    PlainFill fill;
    RowFiller row = preparePlainFill(&fill, m.fillMode & 0xFF, opacity, m.smooth != 0, flat, depth);
    if (row) scanTriangle(corners, st, row, &fill);
}
