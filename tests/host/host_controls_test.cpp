// The host's control classes answer every message a plugin's dialog sends them and report to
// their parent as a dialog expects. Windows builds only; the windows need a display (Xvfb under
// wine), and the test is skipped, saying so, when none can be made.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <vector>

#include "foundation/button_skin.h"
#include "hostservices/controls.h"
#include "hostservices/drawing.h"

namespace {

struct Report {
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};
std::vector<Report> reports;

LRESULT CALLBACK parentProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_HSCROLL || message == WM_COMMAND || message == 0x7EE) reports.push_back({message, wParam, lParam});
    return DefWindowProcW(window, message, wParam, lParam);
}

struct HostControlsTest : ::testing::Test {
    HWND parent = nullptr;
    void SetUp() override {
        ASSERT_TRUE(hostControlsRegister());
        WNDCLASSW wc{};
        wc.lpfnWndProc = parentProc;
        wc.hInstance = GetModuleHandleW(nullptr);
        wc.lpszClassName = L"KvpControlsTestParent";
        RegisterClassW(&wc);
        parent = CreateWindowW(L"KvpControlsTestParent", L"", WS_POPUP, 0, 0, 400, 200, nullptr, nullptr,
                               GetModuleHandleW(nullptr), nullptr);
        if (!parent) GTEST_SKIP() << "no window can be made here (no display)";
        reports.clear();
    }
    void TearDown() override {
        if (parent) DestroyWindow(parent);
        UnregisterClassW(L"KvpControlsTestParent", GetModuleHandleW(nullptr));
        hostControlsUnregister();
    }
    // A control made with another module handle than the host's, as a plugin's dialog makes it.
    HWND make(const wchar_t* cls, int id, int w, int h) {
        return CreateWindowExW(0, cls, L"", WS_CHILD | WS_VISIBLE, 0, 0, w, h, parent, HMENU(intptr_t(id)),
                               HINSTANCE(intptr_t(0x10000)), nullptr);
    }
    HostControlState state(HWND w) {
        HostControlState s{};
        EXPECT_TRUE(hostControlState(w, &s));
        return s;
    }
};

}  // namespace

TEST_F(HostControlsTest, FaderPositionsRangeMarkCaptionAndGreyedState) {
    HWND fader = make(L"BRASSELhfader", 1079, 208, 20);
    ASSERT_NE(fader, nullptr);
    // Without a range message the range is 0 .. 1000.
    SendMessageW(fader, HOSTCTL_FADER_SET_POS, 1, 1500);
    EXPECT_EQ(SendMessageW(fader, HOSTCTL_FADER_GET_POS, 0, 0), 1000) << "clamped to the default range";
    SendMessageW(fader, HOSTCTL_FADER_SET_RANGE, 0, 1000 << 16);
    SendMessageW(fader, HOSTCTL_FADER_SET_POS, 1, 794);
    SendMessageW(fader, HOSTCTL_FADER_SET_TIC, 0, 500);
    SendMessageW(fader, HOSTCTL_FADER_CAPTION, 1, LPARAM("Center %"));
    EXPECT_EQ(SendMessageW(fader, HOSTCTL_FADER_GET_POS, 0, 0), 794);
    HostControlState s = state(fader);
    EXPECT_EQ(s.rangeMin, 0);
    EXPECT_EQ(s.rangeMax, 1000);
    EXPECT_EQ(s.tic, 500);
    EXPECT_STREQ(s.caption, "Center %");

    // A drag reports each step with WM_HSCROLL and the fader's window, then SB_ENDSCROLL.
    SendMessageW(fader, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(4, 10));
    SendMessageW(fader, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(104, 10));
    SendMessageW(fader, WM_LBUTTONUP, 0, MAKELPARAM(104, 10));
    ASSERT_EQ(reports.size(), 3u);
    for (const Report& r : reports) {
        EXPECT_EQ(r.message, UINT(WM_HSCROLL));
        EXPECT_EQ(r.lParam, LPARAM(fader));
    }
    EXPECT_EQ(LOWORD(reports[2].wParam), SB_ENDSCROLL);
    EXPECT_EQ(SendMessageW(fader, HOSTCTL_FADER_GET_POS, 0, 0), 500) << "the middle of a 200-pixel track";

    // Greyed out, it ignores the pointer; back to normal, it takes it again.
    SendMessageW(fader, HOSTCTL_FADER_CAPTION, 0, 1);
    EXPECT_EQ(state(fader).greyed, 1);
    reports.clear();
    SendMessageW(fader, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(200, 10));
    SendMessageW(fader, WM_LBUTTONUP, 0, MAKELPARAM(200, 10));
    EXPECT_TRUE(reports.empty());
    EXPECT_EQ(SendMessageW(fader, HOSTCTL_FADER_GET_POS, 0, 0), 500);
    SendMessageW(fader, HOSTCTL_FADER_CAPTION, 0, 0);
    EXPECT_EQ(state(fader).greyed, 0);
}

TEST_F(HostControlsTest, KnobGrabsAndReportsMovementByCommand) {
    HWND knob = make(L"BRASSELknob", 1134, 21, 21);
    ASSERT_NE(knob, nullptr);
    SendMessageW(knob, HOSTCTL_KNOB_MODE, 3, 0);
    SendMessageW(knob, HOSTCTL_KNOB_GRAB_MESSAGE, 0x7EE, 0);
    EXPECT_EQ(state(knob).knobMode, 3);
    EXPECT_EQ(state(knob).grabMessage, 0x7EEu);
    SendMessageW(knob, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(10, 10));
    SendMessageW(knob, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(10, 4));
    SendMessageW(knob, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(10, 7));
    SendMessageW(knob, WM_LBUTTONUP, 0, MAKELPARAM(10, 7));
    ASSERT_EQ(reports.size(), 4u);
    EXPECT_EQ(reports[0].message, 0x7EEu) << "the grab comes first";
    EXPECT_EQ(reports[1].message, UINT(WM_COMMAND));
    EXPECT_EQ(LOWORD(reports[1].wParam), 1134);
    EXPECT_EQ(reports[1].lParam & 0xFFFF, 0x8000 + 6) << "six pixels up";
    EXPECT_EQ(reports[2].lParam & 0xFFFF, 0x8000 - 3);
    EXPECT_EQ(reports[3].lParam & 0xFFFF, 0x8000) << "the release: no movement";
}

TEST_F(HostControlsTest, MeterTakesItsConfigurationAndPeaks) {
    HWND meter = make(L"BRASSELhorzvu", 1108, 84, 6);
    ASSERT_NE(meter, nullptr);
    SendMessageW(meter, HOSTCTL_METER_CONFIG, 0, 6);
    double peaks[2] = {-6.5, -6.5};
    SendMessageW(meter, HOSTCTL_METER_PEAKS, 0, LPARAM(peaks));
    SendMessageW(meter, HOSTCTL_METER_PEAKS, 0, 0);  // no pointer: nothing changes
    HostControlState s = state(meter);
    EXPECT_EQ(s.meterConfig, 6);
    EXPECT_EQ(s.peakLeft, -6.5);
    EXPECT_EQ(s.peakRight, -6.5);
    UpdateWindow(meter);
}

TEST_F(HostControlsTest, ButtonDrawsItsSkinFramesAndReportsClicks) {
    HWND button = make(L"HotTrackButton", 1142, 12, 12);
    ASSERT_NE(button, nullptr);
    MIRQ_IBitmap* bitmap = hostCreateBitmap(1, 36, 12);
    ASSERT_NE(bitmap, nullptr);
    ButtonSkin skin{bitmap, {}};
    SendMessageW(button, HOSTCTL_BUTTON_SKIN, 0, LPARAM(&skin));
    EXPECT_EQ(state(button).skin, nullptr) << "only the skin image type is taken";
    SendMessageW(button, HOSTCTL_BUTTON_SKIN, HOSTCTL_SKIN_IMAGE_TYPE, LPARAM(&skin));
    EXPECT_EQ(state(button).skin, &skin);

    ShowWindow(parent, SW_SHOWNA);
    SendMessageW(button, WM_MOUSEMOVE, 0, MAKELPARAM(5, 5));
    EXPECT_EQ(state(button).frame, 1) << "under the pointer";
    SendMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    UpdateWindow(button);  // paints the pressed frame from the skin
    EXPECT_EQ(state(button).frame, 2) << "pressed";
    SendMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(5, 5));
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].message, UINT(WM_COMMAND));
    EXPECT_EQ(LOWORD(reports[0].wParam), 1142);
    EXPECT_EQ(HIWORD(reports[0].wParam), BN_CLICKED);
    // A release outside is no click.
    SendMessageW(button, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    SendMessageW(button, WM_LBUTTONUP, 0, MAKELPARAM(50, 5));
    EXPECT_EQ(reports.size(), 1u);
    // A click without the pointer counts, except on a disabled button.
    SendMessageW(button, BM_CLICK, 0, 0);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(HIWORD(reports[1].wParam), BN_CLICKED);
    EnableWindow(button, FALSE);
    SendMessageW(button, BM_CLICK, 0, 0);
    EXPECT_EQ(reports.size(), 2u);
    DestroyWindow(button);
    mirqDestroy(bitmap);
}
#endif
