#include "renderer/camera.h"

#include <cmath>
#include <cstring>

namespace {

// tan(fov / 2) with fov in degrees: pi / 360 per degree.
constexpr double HALF_DEGREE_RADIANS = 0.008726646259971648;
// The side planes keep corners a hair inside the eye's wedge, so that every kept corner lies in
// front of the eye: there is no near plane.
constexpr double SIDE_PLANE_OFFSET = 1e-8;
constexpr double SIDE_PLANE_Z = 20000.0;
// A face turned away from the eye, or seen exactly edge-on, is culled.
constexpr double CULL_LIMIT = 1e-07;

double clampedFov(double fov) {
    return fov < 1.0 ? 1.0 : fov > 179.0 ? 179.0 : fov;
}

// Makes room for entry `count` of a list whose used size only grows: after the first frames
// the allocation suffices and nothing is allocated.
template <class T>
T* listSlot(GrowBuffer& list, int count) {
    size_t needed = size_t(count + 1) * sizeof(T);
    if (needed > list.used && !growBufferResize(&list, needed)) return nullptr;
    return growItems<T>(list) + count;
}

ClipPlane sidePlane(double nx, double ny) {
    return ClipPlane{nx, ny, SIDE_PLANE_Z, SIDE_PLANE_OFFSET};
}

void copyCorner(CornerSet& to, int at, const CornerSet& from, int index) {
    to.vertex[at] = from.vertex[index];
    to.red[at] = from.red[index];
    to.green[at] = from.green[index];
    to.blue[at] = from.blue[index];
    for (int set = 0; set < UV_SETS; set++) {
        to.u[set][at] = from.u[set][index];
        to.v[set][at] = from.v[set][index];
    }
}

}  // namespace

Camera::Camera() {
    growBufferInit(&depthBuffer);
    growBufferInit(&faceEntries);
    growBufferInit(&lightEntries);
    growBufferInit(&sortScratch);
    identityMatrix(viewMatrix);
    identityMatrix(rayMatrix);
}

Camera::~Camera() {
    growBufferFree(&depthBuffer);
    growBufferFree(&faceEntries);
    growBufferFree(&lightEntries);
    growBufferFree(&sortScratch);
}

void Camera::beginFrame(MIRQ_IBitmap* bitmap, bool clearDepth, float depthValue) {
    if (target.bits || !bitmap || !bitmap->pixels()) return;

    logicalWidth = bitmap->width();
    logicalHeight = bitmap->height();
    scale = bitmapScale(bitmap);
    if (scale <= 0 || scale > 4 * MIRQ_SCALE_ONE) scale = MIRQ_SCALE_ONE;
    target.bits = bitmap->pixels();
    target.bitsSpan = bitmap->rowSpan();
    target.bitsFlipped = bitmap->flipped() ? 1 : 0;
    target.bitsWidth = (logicalWidth * scale) >> 8;
    target.bitsHeight = (logicalHeight * scale) >> 8;
    if (target.bitsWidth < 0) target.bitsWidth = 0;
    if (target.bitsHeight < 0) target.bitsHeight = 0;

    if (useDepth) {
        size_t pixels = size_t(target.bitsWidth) * size_t(target.bitsHeight);
        if (!growBufferResize(&depthBuffer, pixels * sizeof(float))) {
            growBufferFree(&depthBuffer);
        } else if (clearDepth) {
            float* depth = growItems<float>(depthBuffer);
            if (depthValue == 0.0f && !std::signbit(depthValue))
                std::memset(depth, 0, pixels * sizeof(float));  // the usual value: all bits zero
            else
                for (size_t i = 0; i < pixels; i++) depth[i] = depthValue;
        }
    } else {
        growBufferFree(&depthBuffer);
    }

    faceCount = 0;
    sortedCount = 0;
    lightCount = 0;

    if (viewFromAngles) {
        Matrix4 turn;
        rotationMatrix(viewMatrix, 2, -rotY);
        rotationMatrix(turn, 1, -rotX);
        multiplyMatrix(viewMatrix, turn);
        rotationMatrix(turn, 3, -rotZ);
        multiplyMatrix(viewMatrix, turn);
    }
    setupProjection();
}

void Camera::setupProjection() {
    const int w = target.bitsWidth, h = target.bitsHeight;
    invAspect = 1.0 / aspect;
    // The offsets are scaled as unsigned values: the picture is only ever shifted right and down.
    centerX = int((uint32_t(offsetX) * uint32_t(scale)) >> 8) + w / 2;
    centerY = int((uint32_t(offsetY) * uint32_t(scale)) >> 8) + h / 2;
    focal = w / std::tan(clampedFov(fov) * HALF_DEGREE_RADIANS);

    // Each side plane passes through the eye and one edge of the bitmap; a centre beyond that
    // edge turns the plane over.
    const double f = focal, g = focal * invAspect;
    const double cx = centerX, cy = centerY;
    std::memset(planes, 0, sizeof planes);
    planes[CLIP_FAR] = ClipPlane{0.0, 0.0, -1.0, -farDistance};

    ClipPlane& left = planes[CLIP_LEFT];
    left = centerX == 0 ? ClipPlane{1.0, 0.0, 0.0, SIDE_PLANE_OFFSET} : sidePlane(SIDE_PLANE_Z * f / cx, 0.0);
    ClipPlane& right = planes[CLIP_RIGHT];
    right = centerX == w ? ClipPlane{-1.0, 0.0, 0.0, SIDE_PLANE_OFFSET} : sidePlane(-SIDE_PLANE_Z * f / (w - cx), 0.0);
    ClipPlane& top = planes[CLIP_TOP];
    top = centerY == 0 ? ClipPlane{0.0, 1.0, 0.0, SIDE_PLANE_OFFSET} : sidePlane(0.0, SIDE_PLANE_Z * g / cy);
    ClipPlane& bottom = planes[CLIP_BOTTOM];
    bottom = centerY == h ? ClipPlane{0.0, -1.0, 0.0, SIDE_PLANE_OFFSET} : sidePlane(0.0, SIDE_PLANE_Z * g / (cy - h));

    auto turnOver = [](ClipPlane& p) {
        p.nx = -p.nx;
        p.ny = -p.ny;
        p.nz = -p.nz;
    };
    if (centerX < 0) turnOver(left);
    if (centerX > w) turnOver(right);
    if (centerY < 0) turnOver(top);
    if (centerY > h) turnOver(bottom);
}

void Camera::addLight(const Light* light) {
    if (!light || !target.bits || light->type == LIGHT_OFF) return;
    LightEntry* entry = listSlot<LightEntry>(lightEntries, lightCount);
    if (!entry) return;
    std::memset(entry, 0, sizeof *entry);
    entry->light = light;
    if (light->type == LIGHT_DIRECTIONAL)
        transformPoint(viewMatrix, light->x, light->y, light->z, entry->x, entry->y, entry->z);
    else if (light->type & (LIGHT_FALLOFF | LIGHT_ANGLE))
        transformPoint(viewMatrix, light->x - posX, light->y - posY, light->z - posZ, entry->x, entry->y, entry->z);
    lightCount++;
}

void Camera::addMesh(Mesh* mesh, const Matrix4* parentPos, const Matrix4* parentRot) {
    if (!mesh || !target.bits) return;

    Matrix4 rot, pos, step;
    rotationMatrix(rot, 1, mesh->rotX);
    rotationMatrix(step, 2, mesh->rotY);
    multiplyMatrix(rot, step);
    rotationMatrix(step, 3, mesh->rotZ);
    multiplyMatrix(rot, step);
    pos = rot;
    translationMatrix(step, mesh->x, mesh->y, mesh->z);
    multiplyMatrix(pos, step);
    if (parentRot) multiplyMatrix(rot, *parentRot);
    if (parentPos) multiplyMatrix(pos, *parentPos);

    for (int i = 0; i < meshChildCount(mesh); i++)
        if (meshChildren(mesh)[i]) addMesh(meshChildren(mesh)[i], &pos, &rot);

    const int vertexCount = meshVertexCount(mesh), faceTotal = meshFaceCount(mesh);
    if (!vertexCount || !faceTotal) return;

    translationMatrix(step, -posX, -posY, -posZ);
    multiplyMatrix(pos, step);
    multiplyMatrix(pos, viewMatrix);
    multiplyMatrix(rot, viewMatrix);

    Vertex* vertices = meshVertices(mesh);
    for (int i = 0; i < vertexCount; i++) {
        Vertex& v = vertices[i];
        transformPoint(pos, v.x, v.y, v.z, v.camX, v.camY, v.camZ);
        transformPoint(rot, v.nx, v.ny, v.nz, v.camNX, v.camNY, v.camNZ);
    }

    const LightEntry* lights = growItems<LightEntry>(lightEntries);
    Face* faces = meshFaces(mesh);
    for (int i = 0; i < faceTotal; i++) {
        Face& face = faces[i];
        const Material* m = face.material;
        if (!m || face.a < 0 || face.a >= vertexCount || face.b < 0 || face.b >= vertexCount || face.c < 0 ||
            face.c >= vertexCount)
            continue;
        double nx, ny, nz;
        transformPoint(rot, face.nx, face.ny, face.nz, nx, ny, nz);
        const Vertex &a = vertices[face.a], &b = vertices[face.b], &c = vertices[face.c];
        if (m->cullBack && !(dot(nx, ny, nz, a.camX, a.camY, a.camZ) < CULL_LIMIT)) continue;
        if (!inFrustum(face, mesh)) continue;
        shadeFace(face, vertices, *m, nx, ny, nz, lights, lightCount);
        FaceEntry* entry = listSlot<FaceEntry>(faceEntries, faceCount);
        if (!entry) return;
        *entry = FaceEntry{a.camZ + b.camZ + c.camZ, &face, mesh};
        faceCount++;
    }
}

bool Camera::inFrustum(const Face& face, const Mesh* mesh) const {
    const Vertex* vertices = meshVertices(mesh);
    const Vertex* corner[3] = {&vertices[face.a], &vertices[face.b], &vertices[face.c]};
    const double w = target.bitsWidth, h = target.bitsHeight, cx = centerX, cy = centerY;
    const double f = focal, g = focal * invAspect;
    // Out when all three corners lie beyond the same plane.
    auto allBeyond = [&](auto beyond) { return beyond(*corner[0]) && beyond(*corner[1]) && beyond(*corner[2]); };
    if (farDistance > 0.0 && allBeyond([&](const Vertex& p) { return p.camZ > farDistance; })) return false;
    if (allBeyond([](const Vertex& p) { return p.camZ < 0.0; })) return false;
    if (allBeyond([&](const Vertex& p) { return (w - cx) * p.camZ < p.camX * f; })) return false;
    if (allBeyond([&](const Vertex& p) { return -cx * p.camZ > p.camX * f; })) return false;
    if (allBeyond([&](const Vertex& p) { return (h - cy) * p.camZ < p.camY * g; })) return false;
    if (allBeyond([&](const Vertex& p) { return -cy * p.camZ > p.camY * g; })) return false;
    return true;
}

void Camera::flushFaces() {
    int unsorted = faceCount - sortedCount;
    if (sortOrder != 0 && unsorted > 1) {
        FaceEntry* scratch = nullptr;
        if (growBufferResize(&sortScratch, size_t(unsorted / 2) * sizeof(FaceEntry)))
            scratch = growItems<FaceEntry>(sortScratch);
        if (scratch) sortFaceEntries(growItems<FaceEntry>(faceEntries) + sortedCount, unsorted, sortOrder, scratch);
    }
    sortedCount = faceCount;
}

void Camera::endFrame() {
    if (!target.bits) return;
    flushFaces();
    const FaceEntry* entries = growItems<FaceEntry>(faceEntries);
    for (int i = 0; i < faceCount; i++)
        if (entries[i].face->material) drawFace(*entries[i].face, entries[i].mesh);
    target.bits = nullptr;
    faceCount = 0;
    sortedCount = 0;
    lightCount = 0;
}

int Camera::clipFace(const Face& face, const Mesh* mesh) {
    const Vertex* vertices = meshVertices(mesh);
    const int32_t index[3] = {face.a, face.b, face.c};
    CornerSet& in = cornersIn;
    in.count = 3;
    for (int i = 0; i < 3; i++) {
        in.vertex[i] = vertices[index[i]];
        in.red[i] = face.color[i][0];
        in.green[i] = face.color[i][1];
        in.blue[i] = face.color[i][2];
        for (int set = 0; set < UV_SETS; set++) {
            in.u[set][i] = face.u[set][i];
            in.v[set][i] = face.v[set][i];
        }
    }
    for (int plane = planes[CLIP_FAR].d < 0.0 ? CLIP_FAR : CLIP_LEFT; plane < CLIP_PLANES; plane++) {
        clipPolygon(plane);
        if (in.count < 3) return in.count;
    }
    return in.count;
}

void Camera::clipPolygon(int plane) {
    const ClipPlane& p = planes[plane];
    CornerSet& in = cornersIn;
    CornerSet& out = cornersOut;
    double side[CLIP_CORNERS];
    bool allKept = true;
    for (int i = 0; i < in.count; i++) {
        const Vertex& v = in.vertex[i];
        side[i] = dot(v.camX, v.camY, v.camZ, p.nx, p.ny, p.nz);
        allKept = allKept && p.d <= side[i];
    }
    if (allKept) return;  // the polygon comes out as it went in

    int n = 0;
    auto between = [](double a, double b, double t) { return a + (b - a) * t; };
    for (int i = 0; i < in.count && n < CLIP_CORNERS; i++) {
        int j = i + 1 == in.count ? 0 : i + 1;
        bool keepI = p.d <= side[i], keepJ = p.d <= side[j];
        if (keepI) copyCorner(out, n++, in, i);
        if (keepI == keepJ || n == CLIP_CORNERS) continue;
        double t = (p.d - side[i]) / (side[j] - side[i]);
        const Vertex &a = in.vertex[i], &b = in.vertex[j];
        Vertex& cut = out.vertex[n];
        cut.camX = between(a.camX, b.camX, t);
        cut.camY = between(a.camY, b.camY, t);
        cut.camZ = between(a.camZ, b.camZ, t);
        out.red[n] = between(in.red[i], in.red[j], t);
        out.green[n] = between(in.green[i], in.green[j], t);
        out.blue[n] = between(in.blue[i], in.blue[j], t);
        for (int set = 0; set < UV_SETS; set++) {
            out.u[set][n] = between(in.u[set][i], in.u[set][j], t);
            out.v[set][n] = between(in.v[set][i], in.v[set][j], t);
        }
        n++;
    }

    in.count = n;
    for (int i = 0; i < n; i++) copyCorner(in, i, out, i);
}

void Camera::drawFace(const Face& face, const Mesh* mesh) {
    const Vertex* vertices = meshVertices(mesh);
    const Vertex* corner[3] = {&vertices[face.a], &vertices[face.b], &vertices[face.c]};
    // The work copy takes what the filler reads; the rest of a face is not needed to fill it.
    Face work;
    work.material = face.material;
    std::memcpy(work.color, face.color, sizeof work.color);
    std::memcpy(work.u, face.u, sizeof work.u);
    std::memcpy(work.v, face.v, sizeof work.v);
    auto project = [&](int c, const Vertex& v) {
        const double iz = 1.0 / v.camZ;
        work.invZ[c] = iz;
        work.screenX[c] = v.camX * iz * focal + centerX;
        work.screenY[c] = v.camY * iz * focal * invAspect + centerY;
    };

    // Most faces lie inside every plane: they go to the filler as they are.
    bool inside = true;
    for (int plane = planes[CLIP_FAR].d < 0.0 ? CLIP_FAR : CLIP_LEFT; plane < CLIP_PLANES && inside; plane++) {
        const ClipPlane& p = planes[plane];
        for (const Vertex* v : corner) inside = inside && p.d <= dot(v->camX, v->camY, v->camZ, p.nx, p.ny, p.nz);
    }
    if (inside) {
        for (int c = 0; c < 3; c++) project(c, *corner[c]);
        fillTriangle(work);
        return;
    }

    const int corners = clipFace(face, mesh);
    if (corners < 3) return;
    const CornerSet& in = cornersIn;
    for (int k = 2; k < corners; k++) {
        const int fan[3] = {0, k - 1, k};
        for (int c = 0; c < 3; c++) {
            const int i = fan[c];
            work.color[c][0] = in.red[i];
            work.color[c][1] = in.green[i];
            work.color[c][2] = in.blue[i];
            for (int set = 0; set < UV_SETS; set++) {
                work.u[set][c] = in.u[set][i];
                work.v[set][c] = in.v[set][i];
            }
            project(c, in.vertex[i]);
        }
        fillTriangle(work);
    }
}

bool Camera::project(double x, double y, double z, double* screenX, double* screenY, double* distance) const {
    double px, py, pz;
    transformPoint(viewMatrix, x - posX, y - posY, z - posZ, px, py, pz);
    if (distance) *distance = std::sqrt(px * px + py * py + pz * pz);
    const int w = logicalWidth, h = logicalHeight;
    if (w == 0 || h == 0 || !(pz >= 1e-10)) return false;
    const double s = (w / std::tan(clampedFov(fov) * HALF_DEGREE_RADIANS)) / pz;
    const double sx = w / 2 + offsetX + px * s;
    const double sy = h / 2 + offsetY + py * invAspect * s;
    if (screenX) *screenX = sx;
    if (screenY) *screenY = sy;
    return sx >= 0.0 && sx < w && sy >= 0.0 && sy < h;
}

namespace {

// True when the right entry must go before the left one.
inline bool goesFirst(const FaceEntry& right, const FaceEntry& left, int order) {
    return order > 0 ? right.sortKey > left.sortKey : right.sortKey < left.sortKey;
}

}  // namespace

void sortFaceEntries(FaceEntry* entries, int count, int order, FaceEntry* scratch) {
    if (count < 2 || order == 0) return;
    const int half = count / 2;
    if (count >= 3) {
        sortFaceEntries(entries, half, order, scratch);
        sortFaceEntries(entries + half, count - half, order, scratch);
    }
    // Left entries that no right entry overtakes stay where they are.
    int first = 0;
    while (first < half && !goesFirst(entries[half], entries[first], order)) first++;
    if (first == half) return;
    const int waiting = half - first;
    std::memcpy(scratch, entries + first, size_t(waiting) * sizeof(FaceEntry));
    int out = first, left = 0, right = half;
    while (left < waiting && right < count)
        entries[out++] = goesFirst(entries[right], scratch[left], order) ? entries[right++] : scratch[left++];
    while (left < waiting) entries[out++] = scratch[left++];
}
