// kelvane-host render-test-scene: the picture, its bad arguments, and the same picture from the
// Windows build under wine64.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "host/test_scene.h"
#include "png_read.h"
#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

bool readPngFile(const TempDir& dir, const std::string& name, RgbPicture* picture) {
    std::string bytes = dir.read(name);
    return readPng(std::vector<unsigned char>(bytes.begin(), bytes.end()), picture);
}

bool inLabel(int x, int y, int scale) {
    const TextRect& l = TEST_SCENE_LABEL;
    return x >= (l.left * scale) >> 8 && x < (l.right * scale) >> 8 && y >= (l.top * scale) >> 8 &&
           y < (l.bottom * scale) >> 8;
}

// Pixels of the label brighter than its dark band: the glyphs.
int glyphPixels(const RgbPicture& p, int scale) {
    int n = 0;
    for (int y = 0; y < p.height; y++)
        for (int x = 0; x < p.width; x++)
            if (inLabel(x, y, scale) && p.at(x, y)[0] > 128) n++;
    return n;
}

// How many pixels outside the label are not the background, and how many colours they have.
void rendered(const RgbPicture& p, int scale, int* covered, int* colours) {
    std::vector<uint32_t> seen;
    *covered = 0;
    for (int y = 0; y < p.height; y++)
        for (int x = 0; x < p.width; x++) {
            if (inLabel(x, y, scale)) continue;
            const uint8_t* c = p.at(x, y);
            uint32_t rgb = uint32_t(c[0]) << 16 | uint32_t(c[1]) << 8 | c[2];
            if (rgb != 0x303840u) ++*covered;
            seen.push_back(rgb);
        }
    std::sort(seen.begin(), seen.end());
    *colours = int(std::unique(seen.begin(), seen.end()) - seen.begin());
}

TEST(TestSceneTest, RendersTheSceneAndTheLabel) {
    TempDir dir;
    ToolResult r = runTool(dir, "render-test-scene " + q(dir.file("scene.png")));
    ASSERT_EQ(r.code, 0) << r.err;
    RgbPicture p;
    ASSERT_TRUE(readPngFile(dir, "scene.png", &p));
    EXPECT_EQ(p.width, TEST_SCENE_WIDTH);
    EXPECT_EQ(p.height, TEST_SCENE_HEIGHT);
    int covered = 0, colours = 0;
    rendered(p, 256, &covered, &colours);
    EXPECT_GT(covered, p.width * p.height * 9 / 10) << "the room fills the picture";
    EXPECT_GT(colours, 2000) << "lit, textured and blended faces make many colours";
    EXPECT_GT(glyphPixels(p, 256), 60) << "the label has glyphs";
    EXPECT_FALSE(std::filesystem::exists(dir.file("scene.png.partial")));

    // At twice the scale the picture stores twice the pixels each way, the label's glyphs too.
    ASSERT_EQ(runTool(dir, "render-test-scene " + q(dir.file("double.png")) + " --scale 512").code, 0);
    RgbPicture twice;
    ASSERT_TRUE(readPngFile(dir, "double.png", &twice));
    EXPECT_EQ(twice.width, 2 * TEST_SCENE_WIDTH);
    EXPECT_EQ(twice.height, 2 * TEST_SCENE_HEIGHT);
    EXPECT_GT(glyphPixels(twice, 512), 2 * glyphPixels(p, 256)) << "a face of twice the height";
}

TEST(TestSceneTest, BadArgumentsGetOneLineExitTwoAndNoFile) {
    TempDir dir;
    dir.write("good.png", "keep me");
    std::string good = q(dir.file("good.png"));
    struct Case {
        std::string args, mentions;
    };
    const Case cases[] = {
        {"", "PNG file"},
        {good + " --scale", "--scale"},
        {good + " --scale big", "--scale"},
        {good + " --scale 1025", "--scale"},
        {good + " --scale -1", "--scale"},
        {good + " --size 3", "--size"},
        {good + " " + q(dir.file("other.png")), "other.png"},
        {q(dir.file("no/such/folder/out.png")), "folder does not exist"},
    };
    for (const Case& c : cases) {
        ToolResult r = runTool(dir, "render-test-scene " + c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << c.args << " said: " << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << "one line: " << r.err;
        EXPECT_EQ(dir.read("good.png"), "keep me") << c.args;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("other.png")));
    for (auto& entry : std::filesystem::directory_iterator(dir.path))
        EXPECT_EQ(entry.path().string().find(".partial"), std::string::npos) << entry.path();
}

// The Windows build's picture, from KVP_WINDOWS_HOST (the mingw-x86_64 kelvane-host.exe) run
// through tools/wine-run, matches the Linux one within 2 in every channel outside the label.
// tools/test runs it after both builds; without the variable it is skipped.
TEST(TestSceneTest, LinuxAndWindowsRenderTheSamePicture) {
    const char* windowsHost = std::getenv("KVP_WINDOWS_HOST");
    if (!windowsHost || !*windowsHost) GTEST_SKIP() << "KVP_WINDOWS_HOST names no Windows kelvane-host.exe";
    TempDir dir;
    ToolResult native = runTool(dir, "render-test-scene " + q(dir.file("linux.png")));
    ASSERT_EQ(native.code, 0) << native.err;
    std::string command = q(std::string(KVP_SOURCE_DIR) + "/tools/wine-run") + " " + q(windowsHost) +
                          " render-test-scene " + q(dir.file("windows.png")) + " >" + q(dir.file("wine.out")) + " 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0) << dir.read("wine.out");

    RgbPicture a, b;
    ASSERT_TRUE(readPngFile(dir, "linux.png", &a));
    ASSERT_TRUE(readPngFile(dir, "windows.png", &b));
    ASSERT_EQ(a.width, b.width);
    ASSERT_EQ(a.height, b.height);
    int differing = 0, worst = 0, worstX = -1, worstY = -1;
    for (int y = 0; y < a.height; y++)
        for (int x = 0; x < a.width; x++) {
            if (inLabel(x, y, 256)) continue;
            int d = 0;
            for (int c = 0; c < 3; c++) d = std::max(d, std::abs(int(a.at(x, y)[c]) - int(b.at(x, y)[c])));
            if (d > 0) differing++;
            if (d > worst) {
                worst = d;
                worstX = x;
                worstY = y;
            }
        }
    EXPECT_LE(worst, 2) << differing << " pixels differ; the most, by " << worst << ", at " << worstX << "," << worstY;
    std::printf("renderer part: %d of %d pixels differ, by at most %d\n", differing, a.width * a.height, worst);
    EXPECT_GT(glyphPixels(b, 256), 60) << "the Windows label has glyphs too";
}

}  // namespace
#endif
