// kelvane-host render-test-scene: a picture that puts the renderer through its paths (textures,
// lights, flat and smooth faces, blending, depth, clipping) on the host's own bitmaps, with a
// label in the shared label font through the host's font objects. Linux and Windows builds must
// render it alike outside the label; the cross-platform test compares them.
#pragma once

#include "foundation/bitmap.h"
#include "foundation/font.h"

constexpr int TEST_SCENE_WIDTH = 480;
constexpr int TEST_SCENE_HEIGHT = 320;
// The label's rectangle, in logical pixels. Glyphs differ from one system to the next; no other
// pixel may.
constexpr TextRect TEST_SCENE_LABEL = {8, 6, 312, 26};

// [one thread] Renders the scene at a bitmap scale (0: none) into a new host bitmap of
// TEST_SCENE_WIDTH by TEST_SCENE_HEIGHT logical pixels, which the caller deletes. The host's
// services come by name through a reference host of its own. Null when memory runs out.
MIRQ_IBitmap* renderTestScene(int scale);

// kelvane-host render-test-scene OUT.png [--scale S]: argc and argv after the command's name.
// Returns the exit code: 0, or 2 with one line on standard error and OUT left as it was.
int commandRenderTestScene(int argc, char** argv);
