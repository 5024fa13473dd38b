// kelvane-host view: every mode for a rectangular, a larger and an Auro layout, the small view
// through the binary's vendor call, bad arguments, and the Windows build's pictures.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "png_read.h"
#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

bool readPicture(const TempDir& dir, const std::string& name, RgbPicture* out) {
    std::string bytes = dir.read(name);
    return readPng(std::vector<unsigned char>(bytes.begin(), bytes.end()), out);
}

const char* const LAYOUTS[3] = {"5.1 surround", "7.1.4 surround", "5.1.4 (9.1) Auro"};
const char* const MODES[4] = {"top", "sides", "orbit", "small"};

TEST(ViewCommandTest, EveryModeOfThreeLayouts) {
    TempDir dir;
    for (const char* layout : LAYOUTS)
        for (const char* mode : MODES) {
            std::string out = dir.file(std::string(mode) + ".png");
            ToolResult r = runTool(dir, "view " + q(out) + " --layout " + q(layout) + " --mode " + mode +
                                            " --size 300x260 --channels 3 --select 1");
            ASSERT_EQ(r.code, 0) << layout << " " << mode << ": " << r.err;
            RgbPicture picture;
            ASSERT_TRUE(readPicture(dir, std::string(mode) + ".png", &picture)) << layout << " " << mode;
            EXPECT_EQ(picture.width, 300);
            EXPECT_EQ(picture.height, 260);
            // More than a cleared bitmap: the room has many colours.
            int distinct = 0;
            for (int x = 0; x < picture.width; x += 7)
                distinct += std::memcmp(picture.at(x, 130), picture.at(x + 3 < 300 ? x + 3 : x, 130), 3) != 0;
            EXPECT_GT(distinct, 5) << layout << " " << mode;
        }
    // At scale 512 the small view's bitmap stores twice the pixels each way.
    ToolResult r = runTool(dir, "view " + q(dir.file("s.png")) + " --mode small --scale 512 --size 100x80");
    ASSERT_EQ(r.code, 0) << r.err;
    RgbPicture twice;
    ASSERT_TRUE(readPicture(dir, "s.png", &twice));
    EXPECT_EQ(twice.width, 200);
    EXPECT_EQ(twice.height, 160);
}

TEST(ViewCommandTest, BadArgumentsGetOneLineExitTwoAndNoFile) {
    TempDir dir;
    dir.write("good.png", "keep me");
    std::string good = q(dir.file("good.png"));
    const std::pair<std::string, std::string> cases[] = {
        {"", "PNG file"},
        {good + " --mode", "--mode"},
        {good + " --mode front", "--mode"},
        {good + " --size 10x10", "--size"},
        {good + " --size 300", "--size"},
        {good + " --scale 384", "--scale"},
        {good + " --yaw 10", "--yaw"},
        {good + " --mode orbit --pitch up", "--pitch"},
        {good + " --select 0", "--select"},
        {good + " --select 1,,2", "--select"},
        {good + " --select 9", "--select"},
        {good + " --layout nothing-like-it", "nothing-like-it"},
        {good + " --layout 5.1 --state " + q(dir.file("x")), "exclude"},
        {good + " --plugin " + q(dir.file("none.so")), "none.so"},
        {good + " --channels 0", "--channels"},
        {good + " --frobnicate", "--frobnicate"},
        {good + " --drag 1,2", "--drag"},
        {good + " --drag 1,2:3,x", "--drag"},
        {good + " --drag 1,2:3,4:jump", "--drag"},
        {good + " --drag 1,2:3,4:right:double", "--drag"},
        {good + " --mode small --drag 1,2:3,4:shift", "--drag"},
        {q(dir.file("no/such/folder/out.png")), "folder does not exist"},
    };
    for (const auto& [args, mentions] : cases) {
        ToolResult r = runTool(dir, "view " + args);
        EXPECT_EQ(r.code, 2) << args;
        EXPECT_NE(r.err.find(mentions), std::string::npos) << args << " said: " << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << "one line: " << r.err;
        EXPECT_EQ(dir.read("good.png"), "keep me") << args;
    }
    for (auto& entry : std::filesystem::directory_iterator(dir.path))
        EXPECT_EQ(entry.path().string().find(".partial"), std::string::npos) << entry.path();
}

// A drag in each kind of view puts input 1 under the pointer: the printed state says where it
// went, and the picture shows input 1's colour there and input 2's at the place both started.
TEST(ViewCommandTest, DragMovesInputOneUnderThePointer) {
    TempDir dir;
    struct Case {
        const char* args;
        int x0, y0, x1, y1;
    };
    // Both inputs start in the room's middle: (259, 241) in the top pane of a 520 by 520 view.
    const Case cases[] = {{" --mode top", 259, 241, 359, 141}, {" --mode small --size 240x160", 120, 80, 160, 50}};
    for (const Case& c : cases) {
        std::string drag = std::to_string(c.x0) + "," + std::to_string(c.y0) + ":" + std::to_string(c.x1) + "," +
                           std::to_string(c.y1);
        ToolResult r = runTool(dir, "view " + q(dir.file("d.png")) + " --layout " + q("5.1 surround") + c.args +
                                        " --drag " + drag + " --print-state");
        ASSERT_EQ(r.code, 0) << c.args << ": " << r.err;
        double x = 0, y = 0, z = -1;
        char selected[16] = {};
        ASSERT_EQ(std::sscanf(r.out.c_str(), "input 1: x %lf y %lf z %lf, %15s", &x, &y, &z, selected), 4) << r.out;
        EXPECT_GT(x, 0.3) << c.args << ": right of the middle";
        EXPECT_GT(y, 0.3) << c.args << ": toward the front";
        EXPECT_EQ(z, 0.0);
        EXPECT_STREQ(selected, "selected");
        EXPECT_NE(r.out.find("input 2: x 0.0000 y 0.0000 z 0.0000\n"), std::string::npos) << r.out;
        RgbPicture picture;
        ASSERT_TRUE(readPicture(dir, "d.png", &picture));
        const uint8_t* moved = picture.at(c.x1 - 5, c.y1);
        const uint8_t* stayed = picture.at(c.x0 - 5, c.y0);
        EXPECT_EQ(moved[0], 0xF0) << c.args << ": input 1's colour under the pointer";
        EXPECT_EQ(moved[2], 0xF0);
        EXPECT_EQ(stayed[0], 0xFF) << c.args << ": input 2's red where both started";
        EXPECT_EQ(stayed[1], 0x20);
    }
    // Shift adds with a marquee: a right drag around the middle selects input 2 as well.
    ToolResult r = runTool(dir, "view " + q(dir.file("m.png")) + " --layout " + q("5.1 surround") +
                                    " --drag 259,241:359,141 --drag 240,220:280,260:right:shift --print-state");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("input 1: x 0.5254 y 0.5254 z 0.0000, selected\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("input 2: x 0.0000 y 0.0000 z 0.0000, selected\n"), std::string::npos) << r.out;
}

// The Windows build's pictures (KVP_WINDOWS_HOST, run through tools/wine-run) match the Linux
// ones within 2 in every channel, away from text: pixels near the black or white of the
// labels and captions are left out.
TEST(ViewCommandTest, LinuxAndWindowsDrawTheSameRoom) {
    const char* windowsHost = std::getenv("KVP_WINDOWS_HOST");
    if (!windowsHost || !*windowsHost) GTEST_SKIP() << "KVP_WINDOWS_HOST names no Windows kelvane-host.exe";
    TempDir dir;
    const std::pair<const char*, const char*> cases[] = {
        {"5.1 surround", "top"}, {"7.1.4 surround", "orbit"}, {"5.1.4 (9.1) Auro", "sides"}, {"7.1.4 surround", "small"}};
    for (const auto& [layout, mode] : cases) {
        std::string args = std::string(" --layout ") + q(layout) + " --mode " + mode + " --select 1";
        ToolResult native = runTool(dir, "view " + q(dir.file("linux.png")) + args);
        ASSERT_EQ(native.code, 0) << native.err;
        std::string command = q(std::string(KVP_SOURCE_DIR) + "/tools/wine-run") + " " + q(windowsHost) + " view " +
                              q(dir.file("windows.png")) + args + " >" + q(dir.file("wine.out")) + " 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0) << dir.read("wine.out");
        RgbPicture a, b;
        ASSERT_TRUE(readPicture(dir, "linux.png", &a));
        ASSERT_TRUE(readPicture(dir, "windows.png", &b));
        ASSERT_EQ(a.width, b.width);
        ASSERT_EQ(a.height, b.height);
        auto inked = [&](const RgbPicture& p, int x, int y) {
            const uint8_t* c = p.at(x, y);
            return (c[0] == 0 && c[1] == 0 && c[2] == 0) || (c[0] == 255 && c[1] == 255 && c[2] == 255);
        };
        int worst = 0, differing = 0;
        for (int y = 0; y < a.height; y++)
            for (int x = 0; x < a.width; x++) {
                int d = 0;
                for (int c = 0; c < 3; c++) d = std::max(d, std::abs(int(a.at(x, y)[c]) - int(b.at(x, y)[c])));
                if (d <= 2) continue;
                bool nearText = false;
                for (int dy = -6; dy <= 6 && !nearText; dy++)
                    for (int dx = -6; dx <= 6 && !nearText; dx++) {
                        int u = x + dx, v = y + dy;
                        if (u >= 0 && v >= 0 && u < a.width && v < a.height) nearText = inked(a, u, v) || inked(b, u, v);
                    }
                if (nearText) continue;
                differing++;
                worst = std::max(worst, d);
            }
        EXPECT_EQ(differing, 0) << layout << " " << mode << ": by up to " << worst;
    }
}

}  // namespace
#endif
