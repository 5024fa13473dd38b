// The view's window procedure in Windows builds: a left drag takes the capture, moves the input
// under the pointer and lets go; a right drag selects with a marquee. Builds without windows have
// no procedure to test.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>

#include "engine/position.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "roomview/pointer.h"
#include "shell/panner.h"
#include "support/panner_fixture.h"

namespace {

struct ViewWindowTest : PannerFixture {
    SurroundPanner* p = nullptr;
    HWND dialog = nullptr, view = nullptr;

    void SetUp() override {
        PannerFixture::SetUp();
        p = createPanner();
        ASSERT_TRUE(p);
        applyLayout(p, 5);  // 5.1 surround
        ASSERT_TRUE(setInputCount(p, 2));
        PanInput* in = inputRecords(p);
        in[0].posX = 0.2, in[0].posY = -0.1, in[0].posZ = 0.0;
        in[1].posX = -0.5, in[1].posY = 0.4, in[1].posZ = 0.0;
        beginEdit(p);
        dialog = CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 600, 600, nullptr, nullptr, nullptr, nullptr);
        if (dialog) SetWindowLongPtrA(dialog, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(p));
        view = dialog ? CreateWindowExA(0, VIEW_WINDOW_CLASS, "", WS_CHILD, 0, 0, 520, 520, dialog,
                                        reinterpret_cast<HMENU>(1023), GetModuleHandleA(nullptr), nullptr)
                      : nullptr;
    }
    void TearDown() override {
        if (view) DestroyWindow(view);
        if (dialog) DestroyWindow(dialog);
        destroyPanner(p);
        PannerFixture::TearDown();
    }
    POINT inputPixel(int i) {
        Camera* c = paneCamera(p, PANE_TOP, 520, 520);
        PaneRect r;
        paneRect(p, PANE_TOP, 520, 520, &r);
        const PanInput& in = inputRecords(p)[i];
        double sx = 0, sy = 0;
        c->project(in.posX, in.posY, in.posZ, &sx, &sy, nullptr);
        return {LONG(std::floor(sx + 0.5)) + r.x, LONG(std::floor(sy + 0.5)) + r.y};
    }
    void mouse(UINT message, POINT at) { SendMessageA(view, message, 0, MAKELPARAM(at.x, at.y)); }
};

TEST_F(ViewWindowTest, DragsTakeTheCaptureAndMoveUnderThePointer) {
    if (!view) GTEST_SKIP() << "no window could be made here";
    const POINT from = inputPixel(0), to = {from.x + 40, from.y - 30};
    mouse(WM_LBUTTONDOWN, from);
    EXPECT_EQ(GetCapture(), view);
    EXPECT_TRUE(p->viewRedrawFlags & 1) << "a pick asks for a repaint";
    mouse(WM_MOUSEMOVE, to);
    mouse(WM_LBUTTONUP, to);
    EXPECT_EQ(GetCapture(), nullptr);
    const POINT now = inputPixel(0);
    EXPECT_NEAR(now.x, to.x, 1);
    EXPECT_NEAR(now.y, to.y, 1);
    EXPECT_EQ(p->dragState[1], -1);
    // Moves without the capture do nothing.
    mouse(WM_MOUSEMOVE, from);
    EXPECT_NEAR(inputPixel(0).x, to.x, 1);
    // A right drag around input 2 selects it alone.
    const POINT b = inputPixel(1);
    mouse(WM_RBUTTONDOWN, {b.x - 6, b.y - 6});
    EXPECT_EQ(GetCapture(), view);
    mouse(WM_MOUSEMOVE, {b.x + 6, b.y + 6});
    mouse(WM_RBUTTONUP, {b.x + 6, b.y + 6});
    EXPECT_EQ(GetCapture(), nullptr);
    EXPECT_FALSE(inputRecords(p)[0].selected);
    EXPECT_TRUE(inputRecords(p)[1].selected);
}

}  // namespace
#endif
