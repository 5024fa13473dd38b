// The reference host's drawing library: the MIRQ_ functions that draw on any MIRQ_IBitmap, the
// host's own and the plugin's views on them. The host's service table offers each by name; the
// plugin reaches them only through its imported function table.
//
// Coordinates are logical pixels; a bitmap with a scale gets every shape in stored pixels, scaled
// (a line one logical pixel wide covers scale / 256 stored pixels). Pixel (x, y) has its centre
// at (x, y): a line from (0, 5) to (9, 5) lies on row 5. Everything is clipped to the bitmap.
// Colours are 0xAARRGGBB; a shape's own colour counts as opaque and alpha (0..1) weighs it.
// Modes: MIRQ_MODE_ADD adds the colour instead of blending it over; MIRQ_MODE_FILTER samples
// blit sources bilinearly; MIRQ_MODE_SOURCE_ALPHA blends a blit source by its own alpha, taking
// its pixels as premultiplied (as shapes drawn on a clear bitmap come out).
// Anti-aliasing weighs each pixel by the share of it that the shape covers.
// [window thread] for all: no function keeps state between calls.
#pragma once

#include "foundation/bitmap.h"

// One service of the library: the name the plugin imports and the function.
struct HostDrawingService {
    const char* name;
    void* function;
};
extern const HostDrawingService HOST_DRAWING_SERVICES[];
extern const int HOST_DRAWING_SERVICE_COUNT;

// Every colour channel and alpha set to the colour, as it is given (alpha byte included).
void mirqClear(MIRQ_IBitmap* dest, int colour);
// Rectangles: x, y, w, h; DrawRect frames the rectangle's outermost pixels.
void mirqFillRect(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode);
void mirqDrawRect(MIRQ_IBitmap* dest, int x, int y, int w, int h, int colour, float alpha, int mode);
// Lines one logical pixel wide, both ends drawn. Without aa, one pixel a step along the longer
// axis (at a scale: one block of stored pixels).
void mirqLineInt(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int colour, float alpha, int mode, bool aa);
void mirqLine(MIRQ_IBitmap* dest, float x1, float y1, float x2, float y2, int colour, float alpha, int mode, bool aa);
// A line of a thickness measured across it, with flat ends at the two points.
void mirqThickFLine(MIRQ_IBitmap* dest, double x1, double y1, double x2, double y2, int colour, float alpha, int mode,
                    bool aa, double thickness);
// A ring one logical pixel wide about radius r; a disc of radius r.
void mirqCircle(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode, bool aa);
void mirqFillCircle(MIRQ_IBitmap* dest, float cx, float cy, float r, int colour, float alpha, int mode, bool aa);
// Pixels whose centres lie inside or on the edges. A polygon of fewer than 3 points draws
// nothing; a polygon that is not convex gets each row filled from its leftmost to its rightmost
// edge.
void mirqFillTriangle(MIRQ_IBitmap* dest, int x1, int y1, int x2, int y2, int x3, int y3, int colour, float alpha,
                      int mode);
void mirqFillConvexPolygon(MIRQ_IBitmap* dest, const int* x, const int* y, int count, int colour, float alpha,
                           int mode);
// Copies w by h logical pixels of source at (sourceX, sourceY) to (destX, destY); source and
// dest may have different scales. Null or overlapping source and dest: nothing.
void mirqBlit(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int sourceX, int sourceY, int w, int h,
              float alpha, int mode);
// Maps the source rectangle onto the dest rectangle and turns it by angle (radians, clockwise
// on the screen) about the dest rectangle's centre moved by (rotationX, rotationY). Pixels whose
// point falls outside the source rectangle (cliptosource) or outside the source bitmap stay.
void mirqRotatedBlit(MIRQ_IBitmap* dest, MIRQ_IBitmap* source, int destX, int destY, int destW, int destH,
                     float sourceX, float sourceY, float sourceW, float sourceH, double angle, bool cliptosource,
                     float alpha, int mode, float rotationX, float rotationY);
// A coverage mask of w by h bytes, top row first, 255 = the colour in full.
void mirqDrawGlyph(MIRQ_IBitmap* dest, int x, int y, int colour, const unsigned char* glyph, int w, int h,
                   float alpha, int mode);
// The colour at a logical pixel (the stored pixel under its centre); 0 outside the bitmap.
int mirqGetPixel(MIRQ_IBitmap* dest, int x, int y);
// Hue 0..359 degrees, saturation and value 0..255; red, green, blue 0..255 (clamped).
void mirqRgbToHsv(int r, int g, int b, int* h, int* s, int* v);
void mirqHsvToRgb(int h, int s, int v, int* r, int* g, int* b);
