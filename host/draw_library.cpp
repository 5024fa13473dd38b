#include "host/draw_library.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace {

// ---- the stored pixels of a target ----

// A bitmap's stored pixels, rows counted from the top of the picture; k stored pixels make one
// logical pixel.
struct Canvas {
    uint32_t* base;
    int span, w, h;
    bool bottomUp;
    int scale;  // 256 when the bitmap has none
    double k;

    uint32_t* row(int y) const { return base + ptrdiff_t(bottomUp ? h - 1 - y : y) * span; }
    // A logical point (pixel centres at whole numbers) in stored pixels.
    double storedX(double x) const { return (x + 0.5) * k - 0.5; }
    // A logical pixel edge (whole numbers between pixels) in stored pixels.
    int storedEdge(int v) const { return int((int64_t(v) * scale) >> 8); }
};

bool openCanvas(MIRQ_IBitmap* b, Canvas* c) {
    if (!b) return false;
    uint32_t* p = b->pixels();
    if (!p) return false;
    int s = bitmapScale(b);
    if (s <= 0) s = MIRQ_SCALE_ONE;
    int w = b->width(), h = b->height();
    if (w <= 0 || h <= 0) return false;
    c->base = p;
    c->scale = s;
    c->k = s / 256.0;
    c->w = int((int64_t(w) * s) >> 8);
    c->h = int((int64_t(h) * s) >> 8);
    c->span = b->rowSpan();
    if (c->span < c->w) c->w = c->span;
    c->bottomUp = b->flipped();
    return c->w > 0 && c->h > 0;
}

int clampInt(int v, int lo, int hi) { return v < lo ? lo : v > hi ? hi : v; }
double clamp01(double v) { return v < 0.0 ? 0.0 : v > 1.0 ? 1.0 : v; }
int floorInt(double v) { return int(std::floor(v)); }

// ---- pixel arithmetic ----

// A shape's colour as it lands on pixels: opaque source, weighed by alpha and coverage.
struct Paint {
    uint32_t colour;
    double alpha;
    bool add;

    Paint(int c, float a, int mode) : colour(uint32_t(c) | 0xFF000000u), alpha(clamp01(a)), add(mode & MIRQ_MODE_ADD) {}

    void put(uint32_t* p, double coverage) const {
        int weight = int(alpha * coverage * 256.0 + 0.5);
        if (weight > 0) *p = mix(*p, weight);
    }
    uint32_t mix(uint32_t d, int weight) const {
        if (!add) {
            // Blue with red and green with alpha, two 16-bit lanes at a time.
            const uint32_t keep = uint32_t(256 - weight), w = uint32_t(weight);
            uint32_t rb = (((colour & 0xFF00FFu) * w + (d & 0xFF00FFu) * keep) >> 8) & 0xFF00FFu;
            uint32_t ag = ((colour >> 8 & 0xFF00FFu) * w + (d >> 8 & 0xFF00FFu) * keep) & 0xFF00FF00u;
            return rb | ag;
        }
        uint32_t out = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            int dc = int((d >> shift) & 0xFF), sc = int((colour >> shift) & 0xFF);
            int v = dc + ((sc * weight) >> 8);
            out |= uint32_t(v > 255 ? 255 : v) << shift;
        }
        return out;
    }
};

// A source pixel over a destination pixel with a weight of 0..256, by the blit's mode.
uint32_t blitPixel(uint32_t d, uint32_t s, int weight, int mode) {
    if (weight >= 256 && !(mode & (MIRQ_MODE_ADD | MIRQ_MODE_SOURCE_ALPHA))) return s;
    bool add = mode & MIRQ_MODE_ADD, sourceAlpha = mode & MIRQ_MODE_SOURCE_ALPHA;
    // Premultiplied source over: what remains of the destination is counted in 255 * 256ths.
    uint32_t keep = 65280u - ((s >> 24) & 0xFF) * uint32_t(weight);
    uint32_t out = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        uint32_t dc = (d >> shift) & 0xFF, sc = (s >> shift) & 0xFF;
        uint32_t v = add           ? dc + ((sc * uint32_t(weight)) >> 8)
                     : sourceAlpha ? (sc * uint32_t(weight) * 255u + dc * keep + 32640u) / 65280u
                                   : (sc * uint32_t(weight) + dc * uint32_t(256 - weight)) >> 8;
        out |= (v > 255 ? 255 : v) << shift;
    }
    return out;
}

int alphaWeight(float alpha) { return int(clamp01(alpha) * 256.0 + 0.5); }

// ---- spans and shapes in stored pixels ----

void fillStoredRect(const Canvas& c, const Paint& paint, int x0, int y0, int x1, int y1) {
    x0 = clampInt(x0, 0, c.w), x1 = clampInt(x1, 0, c.w);
    y0 = clampInt(y0, 0, c.h), y1 = clampInt(y1, 0, c.h);
    int weight = int(paint.alpha * 256.0 + 0.5);
    if (weight <= 0) return;
    for (int y = y0; y < y1; y++) {
        uint32_t* r = c.row(y);
        for (int x = x0; x < x1; x++) r[x] = paint.mix(r[x], weight);
    }
}

// A line whose pixels are counted along its longer axis: at each step the pixels within
// halfWidth of the line across the shorter axis, ends extended by `cap`. Anti-aliased, a pixel
// takes the share of it inside that band.
void drawBand(const Canvas& c, const Paint& paint, double x1, double y1, double x2, double y2, double halfWidth,
              double cap, bool aa) {
    if (!std::isfinite(x1) || !std::isfinite(y1) || !std::isfinite(x2) || !std::isfinite(y2)) return;
    bool steep = std::fabs(y2 - y1) > std::fabs(x2 - x1);
    if (steep) std::swap(x1, y1), std::swap(x2, y2);
    if (x1 > x2) std::swap(x1, x2), std::swap(y1, y2);
    int majorLimit = steep ? c.h : c.w, minorLimit = steep ? c.w : c.h;
    double slope = x2 > x1 ? (y2 - y1) / (x2 - x1) : 0.0;
    double from = std::floor(x1 - cap + 0.5), to = std::floor(x2 + cap + 0.5);
    if (to < 0 || from >= majorLimit) return;
    int first = int(from < 0 ? 0 : from), last = int(to >= majorLimit ? majorLimit - 1 : to);
    int count = int(std::floor(2.0 * halfWidth + 0.5));
    if (count < 1) count = 1;
    for (int m = first; m <= last; m++) {
        double along = m < x1 ? x1 : m > x2 ? x2 : m;
        double centre = y1 + (along - x1) * slope;
        int lo, hi;
        if (aa) {
            lo = floorInt(centre - halfWidth - 0.5), hi = floorInt(centre + halfWidth + 0.5) + 1;
        } else {
            lo = floorInt(centre - halfWidth + 1.0), hi = lo + count - 1;
        }
        lo = lo < 0 ? 0 : lo;
        hi = hi >= minorLimit ? minorLimit - 1 : hi;
        for (int n = lo; n <= hi; n++) {
            double coverage = 1.0;
            if (aa) {
                double top = n - 0.5 > centre - halfWidth ? n - 0.5 : centre - halfWidth;
                double bottom = n + 0.5 < centre + halfWidth ? n + 0.5 : centre + halfWidth;
                coverage = bottom - top;
                if (coverage <= 0.0) continue;
            }
            paint.put(steep ? c.row(m) + n : c.row(n) + m, coverage);
        }
    }
}

// A logical line one pixel wide.
void drawLogicalLine(MIRQ_IBitmap* dest, double x1, double y1, double x2, double y2, int colour, float alpha,
                     int mode, bool aa) {
    Canvas c;
    if (!openCanvas(dest, &c)) return;
    drawBand(c, Paint(colour, alpha, mode), c.storedX(x1), c.storedX(y1), c.storedX(x2), c.storedX(y2), c.k * 0.5,
             (c.k - 1.0) * 0.5, aa);
}

// A convex polygon in stored pixels. A pixel is inside when its centre lies at most `grow`
// outside every edge; anti-aliased, it takes the distance to the nearest edge plus a half as
// its share.
struct Point {
    double x, y;
};

void fillStoredPolygon(const Canvas& c, const Paint& paint, const std::vector<Point>& points, double grow, bool aa) {
    size_t n = points.size();
    if (n < 3) return;
    // Edge lines with unit normals pointing inward: the polygon's winding decides the side.
    double area = 0.0;
    for (size_t i = 0; i < n; i++) {
        const Point &a = points[i], &b = points[(i + 1) % n];
        area += a.x * b.y - b.x * a.y;
    }
    double side = area < 0 ? -1.0 : 1.0;
    struct Edge {
        double nx, ny, offset;
    };
    std::vector<Edge> edges;
    double minX = points[0].x, maxX = minX, minY = points[0].y, maxY = minY;
    for (size_t i = 0; i < n; i++) {
        const Point &a = points[i], &b = points[(i + 1) % n];
        minX = std::fmin(minX, a.x), maxX = std::fmax(maxX, a.x);
        minY = std::fmin(minY, a.y), maxY = std::fmax(maxY, a.y);
        double dx = b.x - a.x, dy = b.y - a.y, length = std::sqrt(dx * dx + dy * dy);
        if (!(length > 1e-12)) continue;
        double nx = -dy / length * side, ny = dx / length * side;
        edges.push_back({nx, ny, -(nx * a.x + ny * a.y)});
    }
    if (edges.empty() || !std::isfinite(minX + maxX + minY + maxY)) return;
    double reach = grow + 1.0;
    int y0 = clampInt(floorInt(minY - reach), 0, c.h), y1 = clampInt(floorInt(maxY + reach) + 1, 0, c.h);
    int x0 = clampInt(floorInt(minX - reach), 0, c.w), x1 = clampInt(floorInt(maxX + reach) + 1, 0, c.w);
    for (int y = y0; y < y1; y++) {
        // The row's span: where every edge leaves room, widened by one for the edge pixels.
        double left = x0, right = x1 - 1;
        for (const Edge& e : edges) {
            double base = e.ny * y + e.offset + reach;  // inside where nx * x + base >= 0
            if (std::fabs(e.nx) < 1e-12) {
                if (base < 0) left = 1, right = 0;
            } else if (e.nx > 0) {
                left = std::fmax(left, -base / e.nx);
            } else {
                right = std::fmin(right, -base / e.nx);
            }
        }
        if (left > right) continue;
        uint32_t* r = c.row(y);
        for (int x = int(std::ceil(left)); x <= int(std::floor(right)); x++) {
            double inside = 1e300;
            for (const Edge& e : edges) inside = std::fmin(inside, e.nx * x + e.ny * y + e.offset);
            if (aa) {
                double coverage = clamp01(inside + grow + 0.5);
                if (coverage > 0.0) paint.put(r + x, coverage);
            } else if (inside >= -grow - 1e-9) {
                paint.put(r + x, 1.0);
            }
        }
    }
}

// Rings and discs in stored pixels: each pixel's share from its distance to the centre.
// For a ring, `band` is its half width; for a disc, band < 0.
void drawRound(const Canvas& c, const Paint& paint, double cx, double cy, double radius, double band, bool aa,
               double grow) {
    if (!std::isfinite(cx) || !std::isfinite(cy) || !std::isfinite(radius) || radius < 0) return;
    bool ring = band >= 0;
    double outer = radius + (ring ? band : grow) + 1.0;
    double inner = ring ? radius - band - 1.0 : -1.0;
    // Pixels this near the centre of a disc are covered whole.
    const double solidRadius = radius - 0.5 > 0.0 ? radius - 0.5 : 0.0, solid = solidRadius * solidRadius;
    int y0 = clampInt(floorInt(cy - outer), 0, c.h), y1 = clampInt(floorInt(cy + outer) + 1, 0, c.h);
    for (int y = y0; y < y1; y++) {
        double dy = y - cy;
        if (dy * dy > outer * outer) continue;
        double reachOut = std::sqrt(outer * outer - dy * dy);
        double reachIn = inner > std::fabs(dy) ? std::sqrt(inner * inner - dy * dy) : -1.0;
        int x0 = clampInt(floorInt(cx - reachOut), 0, c.w), x1 = clampInt(floorInt(cx + reachOut) + 1, 0, c.w);
        uint32_t* r = c.row(y);
        for (int x = x0; x < x1; x++) {
            double dx = x - cx;
            if (reachIn > 0 && std::fabs(dx) < reachIn) continue;
            double squared = dx * dx + dy * dy;
            if (!ring && squared <= solid) {  // wholly inside a disc: no root needed
                paint.put(r + x, 1.0);
                continue;
            }
            double d = std::sqrt(squared);
            double coverage;
            if (ring) coverage = aa ? clamp01(band + 0.5 - std::fabs(d - radius)) : (std::fabs(d - radius) <= band ? 1.0 : 0.0);
            else coverage = aa ? clamp01(radius + 0.5 - d) : (d <= radius + grow ? 1.0 : 0.0);
            if (coverage > 0.0) paint.put(r + x, coverage);
        }
    }
}

// ---- sampling a source for blits ----

struct Sampler {
    Canvas c;
    // Stored bounds that samples may come from.
    int left, top, right, bottom;  // exclusive right, bottom
    bool zeroOutside;

    uint32_t at(int x, int y) const {
        if (x < left || x >= right || y < top || y >= bottom) {
            if (zeroOutside) return 0;
            x = clampInt(x, left, right - 1);
            y = clampInt(y, top, bottom - 1);
        }
        return c.row(y)[x];
    }
    // Bilinear at a point in stored pixel-centre coordinates.
    uint32_t filtered(double x, double y) const {
        int ix = floorInt(x), iy = floorInt(y);
        int fx = int((x - ix) * 256.0 + 0.5), fy = int((y - iy) * 256.0 + 0.5);
        if (fx == 256) ix++, fx = 0;
        if (fy == 256) iy++, fy = 0;
        uint32_t p00 = at(ix, iy), p10 = fx ? at(ix + 1, iy) : 0, p01 = fy ? at(ix, iy + 1) : 0,
                 p11 = fx && fy ? at(ix + 1, iy + 1) : 0;
        uint32_t out = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            uint32_t a = (p00 >> shift) & 0xFF, b = (p10 >> shift) & 0xFF, cc = (p01 >> shift) & 0xFF,
                     d = (p11 >> shift) & 0xFF;
            uint32_t top = a * uint32_t(256 - fx) + b * uint32_t(fx);
            uint32_t bottom = cc * uint32_t(256 - fx) + d * uint32_t(fx);
            uint32_t v = (top * uint32_t(256 - fy) + bottom * uint32_t(fy) + 32768) >> 16;
            out |= (v > 255 ? 255 : v) << shift;
        }
        return out;
    }
};

}  // namespace

void mirqClear(MIRQ_IBitmap* dest, int colour) {
    Canvas c;
    if (!openCanvas(dest, &c)) return;
    for (int y = 0; y < c.h; y++) {
        uint32_t* r = c.row(y);
        for (int x = 0; x < c.w; x++) r[x] = uint32_t(colour);
    }
}

void mirqFillRect(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode) {
    Canvas c;
    if (w <= 0 || h <= 0 || !openCanvas(dest, &c)) return;
    fillStoredRect(c, Paint(colour, alpha, mode), c.storedEdge(x), c.storedEdge(y), c.storedEdge(x + w),
                   c.storedEdge(y + h));
}

void mirqDrawRect(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode) {
    if (w <= 0 || h <= 0) return;
    // Top and bottom rows whole, the sides between them: no pixel is drawn twice.
    mirqFillRect(dest, x, y, w, 1, colour, alpha, mode);
    if (h > 1) mirqFillRect(dest, x, y + h - 1, w, 1, colour, alpha, mode);
    if (h > 2) {
        mirqFillRect(dest, x, y + 1, 1, h - 2, colour, alpha, mode);
        if (w > 1) mirqFillRect(dest, x + w - 1, y + 1, 1, h - 2, colour, alpha, mode);
    }
}

void mirqLineInt(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int colour, float alpha, int mode, bool aa) {
    drawLogicalLine(dest, x1, y1, x2, y2, colour, alpha, mode, aa);
}

void mirqLine(MIRQ_IBitmap* dest, float x1, float y1, float x2, float y2, int colour, float alpha, int mode, bool aa) {
    drawLogicalLine(dest, x1, y1, x2, y2, colour, alpha, mode, aa);
}

void mirqThickFLine(MIRQ_IBitmap* dest, double x1, double y1, double x2, double y2, int colour, float alpha, int mode,
                    bool aa, double thickness) {
    Canvas c;
    if (!openCanvas(dest, &c) || !(thickness > 0.0)) return;
    double ax = c.storedX(x1), ay = c.storedX(y1), bx = c.storedX(x2), by = c.storedX(y2);
    double dx = bx - ax, dy = by - ay, length = std::sqrt(dx * dx + dy * dy);
    double half = thickness * c.k * 0.5;
    if (!(length > 1e-9)) {
        drawRound(c, Paint(colour, alpha, mode), ax, ay, half, -1.0, aa, 0.0);
        return;
    }
    // At a scale the end points' logical pixels are covered whole, as at 100 %.
    double grow = (c.k - 1.0) * 0.5, ex = dx / length * grow, ey = dy / length * grow;
    ax -= ex, ay -= ey, bx += ex, by += ey;
    double nx = -dy / length * half, ny = dx / length * half;
    std::vector<Point> quad = {{ax + nx, ay + ny}, {bx + nx, by + ny}, {bx - nx, by - ny}, {ax - nx, ay - ny}};
    fillStoredPolygon(c, Paint(colour, alpha, mode), quad, 0.0, aa);
}

void mirqCircle(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode, bool aa) {
    Canvas c;
    if (!openCanvas(dest, &c)) return;
    drawRound(c, Paint(colour, alpha, mode), c.storedX(cx), c.storedX(cy), double(r) * c.k, c.k * 0.5, aa, 0.0);
}

void mirqFillCircle(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode, bool aa) {
    Canvas c;
    if (!openCanvas(dest, &c)) return;
    drawRound(c, Paint(colour, alpha, mode), c.storedX(cx), c.storedX(cy), double(r) * c.k, -1.0, aa,
              (c.k - 1.0) * 0.5);
}

void mirqFillConvexPolygon(MIRQ_IBitmap* dest, const int* x, const int* y, int count, int colour, float alpha,
                           int mode) {
    Canvas c;
    if (!x || !y || count < 3 || !openCanvas(dest, &c)) return;
    std::vector<Point> points;
    points.reserve(size_t(count));
    for (int i = 0; i < count; i++) points.push_back({c.storedX(x[i]), c.storedX(y[i])});
    // At a scale a logical pixel on the edge brings all of its stored pixels.
    fillStoredPolygon(c, Paint(colour, alpha, mode), points, (c.k - 1.0) * 0.5, false);
}

void mirqFillTriangle(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int x3, int y3, int colour, float alpha,
                      int mode) {
    const int xs[3] = {x1, x2, x3}, ys[3] = {y1, y2, y3};
    mirqFillConvexPolygon(dest, xs, ys, 3, colour, alpha, mode);
}

void mirqBlit(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int sourceX, int sourceY, int w, int h,
              float alpha, int mode) {
    Canvas d;
    Sampler s;
    if (!source || source == dest || !openCanvas(dest, &d) || !openCanvas(source, &s.c)) return;
    // Keep the source rectangle inside the source, moving the destination along.
    if (sourceX < 0) destX -= sourceX, w += sourceX, sourceX = 0;
    if (sourceY < 0) destY -= sourceY, h += sourceY, sourceY = 0;
    if (w > source->width() - sourceX) w = source->width() - sourceX;
    if (h > source->height() - sourceY) h = source->height() - sourceY;
    int weight = alphaWeight(alpha);
    if (w <= 0 || h <= 0 || weight <= 0) return;
    s.left = s.c.storedEdge(sourceX), s.right = s.c.storedEdge(sourceX + w);
    s.top = s.c.storedEdge(sourceY), s.bottom = s.c.storedEdge(sourceY + h);
    s.right = s.right > s.c.w ? s.c.w : s.right, s.bottom = s.bottom > s.c.h ? s.c.h : s.bottom;
    s.zeroOutside = false;
    if (s.right <= s.left || s.bottom <= s.top) return;
    int x0 = clampInt(d.storedEdge(destX), 0, d.w), x1 = clampInt(d.storedEdge(destX + w), 0, d.w);
    int y0 = clampInt(d.storedEdge(destY), 0, d.h), y1 = clampInt(d.storedEdge(destY + h), 0, d.h);
    if (x0 >= x1 || y0 >= y1) return;
    // Where the centre of each destination column and row falls in the source's stored pixels.
    double ratio = s.c.k / d.k;
    auto sourcePoint = [&](int stored, int destOrigin, int sourceOrigin) {
        return ((stored + 0.5) / d.k - destOrigin + sourceOrigin) * s.c.k - 0.5;
    };
    bool filter = (mode & MIRQ_MODE_FILTER) && ratio != 1.0;
    std::vector<double> columns(size_t(x1 - x0));
    for (int x = x0; x < x1; x++) columns[size_t(x - x0)] = sourcePoint(x, destX, sourceX);
    for (int y = y0; y < y1; y++) {
        double sy = sourcePoint(y, destY, sourceY);
        uint32_t* out = d.row(y);
        for (int x = x0; x < x1; x++) {
            double sx = columns[size_t(x - x0)];
            uint32_t p = filter ? s.filtered(sx, sy) : s.at(floorInt(sx + 0.5), floorInt(sy + 0.5));
            out[x] = blitPixel(out[x], p, weight, mode);
        }
    }
}

void mirqRotatedBlit(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int destW, int destH,
                     float sourceX, float sourceY, float sourceW, float sourceH, double angle, bool cliptosource,
                     float alpha, int mode, float rotationX, float rotationY) {
    Canvas d;
    Sampler s;
    int weight = alphaWeight(alpha);
    if (!source || source == dest || destW <= 0 || destH <= 0 || !(sourceW > 0) || !(sourceH > 0) || weight <= 0 ||
        !std::isfinite(angle) || !openCanvas(dest, &d) || !openCanvas(source, &s.c))
        return;
    // Samples come from the source rectangle or from the whole source; outside, nothing.
    double boundLeft = cliptosource ? sourceX : 0.0, boundTop = cliptosource ? sourceY : 0.0;
    double boundRight = cliptosource ? sourceX + sourceW : source->width();
    double boundBottom = cliptosource ? sourceY + sourceH : source->height();
    s.left = clampInt(floorInt(boundLeft * s.c.k), 0, s.c.w), s.right = clampInt(int(std::ceil(boundRight * s.c.k)), 0, s.c.w);
    s.top = clampInt(floorInt(boundTop * s.c.k), 0, s.c.h), s.bottom = clampInt(int(std::ceil(boundBottom * s.c.k)), 0, s.c.h);
    s.zeroOutside = (mode & MIRQ_MODE_SOURCE_ALPHA) != 0;
    if (s.right <= s.left || s.bottom <= s.top) return;

    // In logical edge coordinates (pixel i spans i to i + 1): the turn's centre, then the
    // bounding box of the turned rectangle.
    double pivotX = destX + destW * 0.5 + rotationX, pivotY = destY + destH * 0.5 + rotationY;
    double cosA = std::cos(angle), sinA = std::sin(angle);
    double minX = 1e300, maxX = -1e300, minY = 1e300, maxY = -1e300;
    for (int corner = 0; corner < 4; corner++) {
        double px = destX + (corner & 1 ? destW : 0) - pivotX, py = destY + (corner & 2 ? destH : 0) - pivotY;
        double tx = pivotX + px * cosA - py * sinA, ty = pivotY + px * sinA + py * cosA;
        minX = std::fmin(minX, tx), maxX = std::fmax(maxX, tx), minY = std::fmin(minY, ty), maxY = std::fmax(maxY, ty);
    }
    int x0 = clampInt(floorInt(minX * d.k), 0, d.w), x1 = clampInt(int(std::ceil(maxX * d.k)), 0, d.w);
    int y0 = clampInt(floorInt(minY * d.k), 0, d.h), y1 = clampInt(int(std::ceil(maxY * d.k)), 0, d.h);
    double unitX = sourceW / destW, unitY = sourceH / destH;  // source logical pixels per dest pixel
    bool filter = mode & MIRQ_MODE_FILTER;
    for (int y = y0; y < y1; y++) {
        uint32_t* out = d.row(y);
        for (int x = x0; x < x1; x++) {
            // Turn the pixel's centre back, then map the dest rectangle onto the source's.
            double px = (x + 0.5) / d.k - pivotX, py = (y + 0.5) / d.k - pivotY;
            double ux = pivotX + px * cosA + py * sinA - destX, uy = pivotY - px * sinA + py * cosA - destY;
            if (ux < 0 || uy < 0 || ux >= destW || uy >= destH) continue;
            double vx = sourceX + ux * unitX, vy = sourceY + uy * unitY;
            if (vx < boundLeft || vy < boundTop || vx >= boundRight || vy >= boundBottom) continue;
            double sx = vx * s.c.k, sy = vy * s.c.k;
            uint32_t p = filter ? s.filtered(sx - 0.5, sy - 0.5) : s.at(floorInt(sx), floorInt(sy));
            out[x] = blitPixel(out[x], p, weight, mode);
        }
    }
}

void mirqDrawGlyph(MIRQ_IBitmap* dest, int x, int y, int colour, const unsigned char* glyph, int w, int h,
                   float alpha, int mode) {
    Canvas c;
    if (!glyph || w <= 0 || h <= 0 || !openCanvas(dest, &c)) return;
    Paint paint(colour, alpha, mode);
    int x0 = clampInt(c.storedEdge(x), 0, c.w), x1 = clampInt(c.storedEdge(x + w), 0, c.w);
    int y0 = clampInt(c.storedEdge(y), 0, c.h), y1 = clampInt(c.storedEdge(y + h), 0, c.h);
    for (int sy = y0; sy < y1; sy++) {
        int gy = clampInt(floorInt((sy + 0.5) / c.k) - y, 0, h - 1);
        uint32_t* r = c.row(sy);
        for (int sx = x0; sx < x1; sx++) {
            int gx = clampInt(floorInt((sx + 0.5) / c.k) - x, 0, w - 1);
            unsigned char coverage = glyph[size_t(gy) * size_t(w) + size_t(gx)];
            if (coverage) paint.put(r + sx, coverage / 255.0);
        }
    }
}

int mirqGetPixel(MIRQ_IBitmap* dest, int x, int y) {
    Canvas c;
    if (!openCanvas(dest, &c) || x < 0 || y < 0 || x >= dest->width() || y >= dest->height()) return 0;
    int sx = clampInt(floorInt((x + 0.5) * c.k), 0, c.w - 1), sy = clampInt(floorInt((y + 0.5) * c.k), 0, c.h - 1);
    return int(c.row(sy)[sx]);
}

void mirqRgbToHsv(int r, int g, int b, int* h, int* s, int* v) {
    r = clampInt(r, 0, 255), g = clampInt(g, 0, 255), b = clampInt(b, 0, 255);
    int high = r > g ? (r > b ? r : b) : (g > b ? g : b);
    int low = r < g ? (r < b ? r : b) : (g < b ? g : b);
    int range = high - low;
    int hue = 0;
    if (range > 0) {
        double part = high == r ? double(g - b) / range : high == g ? 2.0 + double(b - r) / range : 4.0 + double(r - g) / range;
        hue = int(std::floor(part * 60.0 + 0.5));
        hue = ((hue % 360) + 360) % 360;
    }
    if (h) *h = hue;
    if (s) *s = high ? (range * 255 + high / 2) / high : 0;
    if (v) *v = high;
}

void mirqHsvToRgb(int h, int s, int v, int* r, int* g, int* b) {
    h = ((h % 360) + 360) % 360;
    s = clampInt(s, 0, 255), v = clampInt(v, 0, 255);
    int sector = h / 60;
    double f = (h - sector * 60) / 60.0, sat = s / 255.0;
    auto level = [&](double x) { return int(std::floor(v * x + 0.5)); };
    int p = level(1.0 - sat), q = level(1.0 - sat * f), t = level(1.0 - sat * (1.0 - f));
    int rgb[6][3] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    if (r) *r = rgb[sector][0];
    if (g) *g = rgb[sector][1];
    if (b) *b = rgb[sector][2];
}

const HostDrawingService HOST_DRAWING_SERVICES[] = {
    {"MIRQ_Clear", reinterpret_cast<void*>(&mirqClear)},
    {"MIRQ_FillRect", reinterpret_cast<void*>(&mirqFillRect)},
    {"MIRQ_DrawRect", reinterpret_cast<void*>(&mirqDrawRect)},
    {"MIRQ_LineInt", reinterpret_cast<void*>(&mirqLineInt)},
    {"MIRQ_Line", reinterpret_cast<void*>(&mirqLine)},
    {"MIRQ_ThickFLine", reinterpret_cast<void*>(&mirqThickFLine)},
    {"MIRQ_Circle", reinterpret_cast<void*>(&mirqCircle)},
    {"MIRQ_FillCircle", reinterpret_cast<void*>(&mirqFillCircle)},
    {"MIRQ_FillTriangle", reinterpret_cast<void*>(&mirqFillTriangle)},
    {"MIRQ_FillConvexPolygon", reinterpret_cast<void*>(&mirqFillConvexPolygon)},
    {"MIRQ_Blit", reinterpret_cast<void*>(&mirqBlit)},
    {"MIRQ_RotatedBlit", reinterpret_cast<void*>(&mirqRotatedBlit)},
    {"MIRQ_DrawGlyph", reinterpret_cast<void*>(&mirqDrawGlyph)},
    {"MIRQ_GetPixel", reinterpret_cast<void*>(&mirqGetPixel)},
    {"MIRQ_RGB2HSV", reinterpret_cast<void*>(&mirqRgbToHsv)},
    {"MIRQ_HSV2RGB", reinterpret_cast<void*>(&mirqHsvToRgb)},
};
const int HOST_DRAWING_SERVICE_COUNT = int(sizeof HOST_DRAWING_SERVICES / sizeof HOST_DRAWING_SERVICES[0]);
