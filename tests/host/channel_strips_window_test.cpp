// The channel strips of the real dialog, driven through the host's own controls: a fader drag
// that moves a selected group inside the host's gestures, buttons, and paging with 20 inputs. The last picture goes to
// editor-captures/ beside the build's bin folder for review. Windows builds only; without a
// display the tests skip, saying so.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/dialog_layout.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "hostservices/controls.h"
#include "hostservices/services.h"
#include "support/gesture_order.h"
#include "tests/host/open_editor.h"
#include "tests/host/plugin_paths.h"

namespace {

int gainIndex(int input) { return 6 + 9 * input; }
int muteIndex(int input) { return 6 + 9 * input + 7; }
float gainAt(int position) { return float(std::exp(hostSliderToDb(position) / 8.685889638065037) / 4); }

// The keys that GetKeyState reports on this thread from now on.
void holdKeys(std::initializer_list<int> held) {
    BYTE keys[256];
    GetKeyboardState(keys);
    for (int vk : {VK_SHIFT, VK_CONTROL, VK_MENU}) keys[vk] = 0;
    for (int vk : held) keys[vk] = 0x80;
    SetKeyboardState(keys);
}

// A press and release in the middle of a control, as a user clicks it.
void click(HWND control, int x = 5, int y = 5) {
    SendMessageW(control, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(x, y));
    SendMessageW(control, WM_LBUTTONUP, 0, MAKELPARAM(x, y));
}

int faderPos(HWND fader) { return int(SendMessageW(fader, HOSTCTL_FADER_GET_POS, 0, 0)); }

HostControlState stateOf(HWND control) {
    HostControlState state{};
    EXPECT_TRUE(hostControlState(control, &state));
    return state;
}

struct ChannelStripsWindowTest : ::testing::Test, OpenEditor {
    bool open(int inputs, const char* layout) { return openWithEditor(this, inputs, layout); }
    void TearDown() override {
        holdKeys({});
        closeEditor(this);
    }
    HWND control(int role, int row) { return GetDlgItem(dialog, stripControlId(role, row)); }
    float parameter(int index) { return s.effect->getParameter(s.effect, index); }
    // A click on an input's name, in the dialog's client pixels at 100 %.
    void clickName(int row) {
        const int32_t* m = panner()->dialogMetrics;
        LPARAM at = MAKELPARAM(m[METRIC_INPUT_NAME_X] + 5, m[METRIC_STRIP_TOP] + 16 * row + 8);
        SendMessageW(dialog, WM_LBUTTONDOWN, MK_LBUTTON, at);
        SendMessageW(dialog, WM_LBUTTONUP, 0, at);
    }
    // A choice in a list, as the list reports it.
    void choose(int id, int entry) {
        SendDlgItemMessageW(dialog, id, CB_SETCURSEL, WPARAM(entry), 0);
        SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), LPARAM(GetDlgItem(dialog, id)));
    }
    std::vector<AudioMasterCall> gestureCalls() {
        std::vector<AudioMasterCall> out;
        for (const AudioMasterCall& c : refHostCalls(s.host))
            if (c.opcode == audioMasterBeginEdit || c.opcode == audioMasterEndEdit || c.opcode == audioMasterAutomate)
                out.push_back(c);
        return out;
    }
};

}  // namespace

TEST_F(ChannelStripsWindowTest, FaderDragMovesTheSelectedGroupInsideGestures) {
    if (!open(8, "5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    // Input 5 at -6 dB from the host; inputs 2 and 5 selected by clicks in the name column.
    s.effect->setParameter(s.effect, gainIndex(5), float(std::pow(10.0, -6.0 / 20) / 4));
    clickName(2);
    holdKeys({VK_CONTROL});
    clickName(5);
    holdKeys({});
    EXPECT_TRUE(inputRecords(panner())[5].selected && inputRecords(panner())[2].selected);
    editorHostRun(&h, 600);  // the scene's gestures that the selection opened close when old

    HWND fader2 = control(STRIP_INPUT_FADER, 2), fader5 = control(STRIP_INPUT_FADER, 5);
    int start2 = faderPos(fader2), start5 = faderPos(fader5);
    EXPECT_EQ(start2, int(hostDbToSlider(0.0)));
    refHostClearCalls(s.host);
    RECT r;
    GetClientRect(fader2, &r);
    SendMessageW(fader2, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(r.right / 2, 5));
    SendMessageW(fader2, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(r.right / 3, 5));
    SendMessageW(fader2, WM_LBUTTONUP, 0, MAKELPARAM(r.right / 3, 5));
    int step = faderPos(fader2) - start2;
    ASSERT_NE(step, 0);
    EXPECT_NEAR(parameter(gainIndex(2)), gainAt(start2 + step), 1e-6);
    EXPECT_NEAR(parameter(gainIndex(5)), gainAt(start5 + step), 1e-6) << "as many steps for the other member";
    EXPECT_EQ(faderPos(fader5), start5 + step) << "its fader follows at once";
    EXPECT_EQ(parameter(gainIndex(3)), 0.25f) << "an unselected input stays";

    std::vector<AudioMasterCall> calls = gestureCalls();
    expectGestureOrder(calls);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front().index, gainIndex(2));
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit) << "the release closes the gestures";
    EXPECT_EQ(panner()->selectionState[SELECTION_VALUE_INPUT], 2) << "the value row follows";
    editorHostRun(&h, 120);
    EXPECT_EQ(faderPos(fader5), start5 + step) << "the ticks leave the faders where the drag put them";
}

TEST_F(ChannelStripsWindowTest, TwentyInputsPageByFour) {
    if (!open(20, "7.1.4 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    HWND pages = GetDlgItem(dialog, IDC_INPUT_PAGE_LIST);
    ASSERT_EQ(SendMessageW(pages, CB_GETCOUNT, 0, 0), 2);
    char text[32] = {0};
    SendMessageA(pages, CB_GETLBTEXT, 1, LPARAM(text));
    EXPECT_STREQ(text, "5-20");
    choose(IDC_INPUT_PAGE_LIST, 1);
    EXPECT_EQ(panner()->firstInputStrip, 4);
    editorHostRun(&h, 150);
    EXPECT_EQ(SendMessageW(pages, CB_GETCURSEL, 0, 0), 1) << "the rebuilt list keeps the page";

    // Row 0 is input 5 now; Ctrl+Alt on another row's mute leaves that row alone muted.
    click(control(STRIP_INPUT_MUTE, 3));
    holdKeys({VK_CONTROL, VK_MENU});
    click(control(STRIP_INPUT_MUTE, 0));
    holdKeys({});
    click(control(STRIP_INPUT_SOLO, 2));
    for (int i = 0; i < 20; i++) EXPECT_EQ(parameter(muteIndex(i)), i == 4 ? 1.0f : 0.0f) << i;
    EXPECT_EQ(parameter(6 + 9 * 6 + 8), 1.0f);
    editorHostRun(&h, 120);  // a fader takes the values stamp again: the buttons show first
    HWND fader = control(STRIP_INPUT_FADER, 15);
    RECT r;
    GetClientRect(fader, &r);
    click(fader, r.right / 4);
    EXPECT_LT(parameter(gainIndex(19)), 0.25f);
    editorHostRun(&h, 150);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_MUTE, 0)).skin, &panner()->stripControls.mute[1]);

    CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
    std::string error;
    EXPECT_TRUE(writeFileSafely(besideTestProgram("../editor-captures/strips-20-inputs-page-5.png"), editorHostCapture(&h), &error))
        << error;
}
#endif
