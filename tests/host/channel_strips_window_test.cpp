// The channel strips of the real dialog, driven through the host's own controls: a fader drag
// that moves a selected group and reaches the host inside gestures, mute buttons with and without
// keys, the mode lists' centre marks and grey rows, and paging with 20 inputs. The last picture
// goes to editor-captures/ beside the build's bin folder for review. Windows builds only; without
// a display the tests skip, saying so.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <initializer_list>
#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/dialog_frame.h"
#include "editor/dialog_layout.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "hostservices/controls.h"
#include "hostservices/services.h"
#include "support/gesture_order.h"
#include "tests/host/plugin_paths.h"

namespace {

int gainIndex(int input) { return 6 + 9 * input; }
int muteIndex(int input) { return 6 + 9 * input + 7; }

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

// The dialog's procedure with the requests for the name editor taken out and kept.
WNDPROC dialogProc = nullptr;
std::vector<WPARAM> nameEditRequests;
LRESULT CALLBACK keepNameEditRequests(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == MSG_NAME_EDIT_BEGIN) {
        nameEditRequests.push_back(wParam);
        return 0;
    }
    return CallWindowProcW(dialogProc, window, message, wParam, lParam);
}

HostControlState stateOf(HWND control) {
    HostControlState state{};
    EXPECT_TRUE(hostControlState(control, &state));
    return state;
}

struct ChannelStripsWindowTest : ::testing::Test {
    PluginSession s{};
    EditorHost h{};
    HWND dialog = nullptr;

    bool open(int inputs, const char* layout) {
        std::string error;
        EXPECT_TRUE(sessionOpen(&s, pluginPath().c_str(), inputs, nullptr, 48000.0, &error)) << error;
        if (!s.effect) return false;
        if (layout) {
            EXPECT_TRUE(sessionApplyLayout(&s, layoutFromOption(layout, &error), &error)) << error;
        }
        if (sessionInputCount(&s) != inputs) sessionWriteNamed(&s, "NUMCHANNELS", std::to_string(inputs));
        if (!editorHostOpen(&h, s.effect, false, &error)) {
            EXPECT_NE(error.find("display"), std::string::npos) << error;
            return false;
        }
        editorHostRun(&h, 150);
        dialog = static_cast<HWND>(editorHostDialog(&h));
        EXPECT_NE(dialog, nullptr);
        return dialog != nullptr;
    }
    void TearDown() override {
        holdKeys({});
        editorHostClose(&h);
        sessionClose(&s);
    }
    SurroundPanner* panner() { return static_cast<SurroundPanner*>(s.effect->object); }
    HWND control(int role, int row) { return GetDlgItem(dialog, stripControlId(role, row)); }
    float parameter(int index) { return s.effect->getParameter(s.effect, index); }
    // A click on a name, in the dialog's client pixels at 100 %.
    LPARAM nameAt(int row, bool speaker = false) {
        const int32_t* m = panner()->dialogMetrics;
        return MAKELPARAM(m[speaker ? METRIC_SPEAKER_NAME_X : METRIC_INPUT_NAME_X] + 5, m[METRIC_STRIP_TOP] + 16 * row + 8);
    }
    void clickName(int row) {
        SendMessageW(dialog, WM_LBUTTONDOWN, MK_LBUTTON, nameAt(row));
        SendMessageW(dialog, WM_LBUTTONUP, 0, nameAt(row));
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
    void capture(const char* name) {
        CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
        std::vector<unsigned char> png = editorHostCapture(&h);
        EXPECT_FALSE(png.empty());
        std::string error;
        EXPECT_TRUE(writeFileSafely(besideTestProgram(("../editor-captures/" + std::string(name)).c_str()), png, &error))
            << error;
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
    const PanInput* in = inputRecords(panner());
    for (int i = 0; i < 8; i++) EXPECT_EQ(in[i].selected, i == 2 || i == 5) << i;
    // The scene's gestures that the selection opened close when they are old.
    editorHostRun(&h, 600);

    HWND fader2 = control(STRIP_INPUT_FADER, 2), fader5 = control(STRIP_INPUT_FADER, 5);
    int start2 = faderPos(fader2), start5 = faderPos(fader5);
    EXPECT_EQ(start2, int(hostDbToSlider(0.0)));
    EXPECT_LT(start5, start2);
    refHostClearCalls(s.host);
    RECT r;
    GetClientRect(fader2, &r);
    SendMessageW(fader2, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(r.right / 2, 5));
    SendMessageW(fader2, WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(r.right / 3, 5));
    SendMessageW(fader2, WM_LBUTTONUP, 0, MAKELPARAM(r.right / 3, 5));
    int end2 = faderPos(fader2);
    ASSERT_NE(end2, start2);

    // The moved input has the fader's value; the other member moved by as many steps, and its
    // fader shows it at once.
    EXPECT_NEAR(parameter(gainIndex(2)), std::exp(hostSliderToDb(end2) / 8.685889638065037) / 4, 1e-6);
    EXPECT_EQ(faderPos(fader5), start5 + end2 - start2);
    EXPECT_NEAR(parameter(gainIndex(5)), std::exp(hostSliderToDb(start5 + end2 - start2) / 8.685889638065037) / 4, 1e-6);
    EXPECT_EQ(parameter(gainIndex(3)), 0.25f) << "an unselected input stays at 0 dB";

    std::vector<AudioMasterCall> calls = gestureCalls();
    expectGestureOrder(calls);
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front().opcode, audioMasterBeginEdit);
    EXPECT_EQ(calls.front().index, gainIndex(2));
    EXPECT_EQ(calls.back().opcode, audioMasterEndEdit) << "the release closes the gestures";
    float lastValue = -1;
    for (const AudioMasterCall& c : calls)
        if (c.opcode == audioMasterAutomate && c.index == gainIndex(5)) lastValue = c.opt;
    EXPECT_FLOAT_EQ(lastValue, parameter(gainIndex(5)));

    // The value row follows the fader; the next ticks leave the faders where the drag put them.
    EXPECT_EQ(panner()->selectionState[SELECTION_VALUE_INPUT], 2);
    EXPECT_EQ(panner()->selectionState[SELECTION_VALUE_KIND], 0);
    editorHostRun(&h, 120);
    EXPECT_EQ(faderPos(fader2), end2);
    EXPECT_EQ(faderPos(fader5), start5 + end2 - start2);
}

TEST_F(ChannelStripsWindowTest, MuteButtonsModeListsAndGreyRows) {
    if (!open(8, "5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    SurroundPanner* p = panner();
    HWND mute3 = control(STRIP_INPUT_MUTE, 3);
    click(mute3);
    EXPECT_EQ(parameter(muteIndex(3)), 1.0f);
    editorHostRun(&h, 120);
    EXPECT_EQ(stateOf(mute3).skin, &p->stripControls.mute[1]) << "the next tick shows the skin";
    EXPECT_EQ(stateOf(control(STRIP_INPUT_MUTE, 2)).skin, &p->stripControls.mute[0]);

    // Ctrl+Alt leaves only this row muted, and the host hears of every input.
    refHostClearCalls(s.host);
    holdKeys({VK_CONTROL, VK_MENU});
    click(control(STRIP_INPUT_MUTE, 6));
    holdKeys({});
    for (int i = 0; i < 8; i++) EXPECT_EQ(parameter(muteIndex(i)), i == 6 ? 1.0f : 0.0f) << i;
    int told = 0;
    for (const AudioMasterCall& c : gestureCalls()) told += c.opcode == audioMasterAutomate;
    EXPECT_EQ(told, 8);

    // A speaker's solo.
    click(control(STRIP_SPEAKER_SOLO, 1));
    EXPECT_EQ(parameter(6 + 9 * 8 + 3 * 1 + 2), 1.0f);

    // Mode lists: the centre marks follow the mode; with "4=LFE" the fourth input's row is grey
    // in Gain mode and free in LFE mode.
    choose(IDC_INPUT_MODE_LIST, 3);
    choose(IDC_SPEAKER_MODE_LIST, 1);
    EXPECT_EQ(p->uiFlags & 0xFF, 0x13u);
    editorHostRun(&h, 120);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_FADER, 0)).tic, 0);
    EXPECT_EQ(stateOf(control(STRIP_SPEAKER_FADER, 0)).tic, 500);
    EXPECT_EQ(faderPos(control(STRIP_SPEAKER_FADER, 2)), 500) << "100 % influence in the middle";
    int lfeSpeaker = -1;
    for (int k = 0; k < 6; k++)
        if (speakerRecords(p)[k].lfe) lfeSpeaker = k;
    ASSERT_GE(lfeSpeaker, 0);
    EXPECT_EQ(stateOf(control(STRIP_SPEAKER_FADER, lfeSpeaker)).greyed, 1) << "no influence for the LFE speaker";

    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    choose(IDC_INPUT_MODE_LIST, 0);
    choose(IDC_SPEAKER_MODE_LIST, 0);
    editorHostRun(&h, 120);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_FADER, 0)).tic, int(hostDbToSlider(0.0)));
    EXPECT_EQ(stateOf(control(STRIP_INPUT_FADER, 3)).greyed, 1);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_FADER, 2)).greyed, 0);
    EXPECT_EQ(stateOf(control(STRIP_SPEAKER_FADER, lfeSpeaker)).greyed, 0);
    choose(IDC_INPUT_MODE_LIST, 1);
    editorHostRun(&h, 120);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_FADER, 3)).greyed, 0);
}

TEST_F(ChannelStripsWindowTest, DoubleClicksOnNamesAskForTheNameEditor) {
    if (!open(8, "5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    SurroundPanner* p = panner();
    EXPECT_TRUE(GetClassLongPtrW(dialog, GCL_STYLE) & CS_DBLCLKS) << "the dialog hears double clicks";
    nameEditRequests.clear();
    dialogProc = reinterpret_cast<WNDPROC>(SetWindowLongPtrW(dialog, GWLP_WNDPROC, LONG_PTR(&keepNameEditRequests)));
    SendMessageW(dialog, WM_LBUTTONDBLCLK, MK_LBUTTON, nameAt(3));
    SendMessageW(dialog, WM_LBUTTONDBLCLK, MK_LBUTTON, nameAt(1, true));
    EXPECT_EQ(nameEditRequests, (std::vector<WPARAM>{3})) << "a built-in layout's speakers keep their names";
    p->layoutId = 0;
    p->uiFlags |= FLAG_LOCK_INPUTS;
    SendMessageW(dialog, WM_LBUTTONDBLCLK, MK_LBUTTON, nameAt(3));
    SendMessageW(dialog, WM_LBUTTONDBLCLK, MK_LBUTTON, nameAt(1, true));
    EXPECT_EQ(nameEditRequests, (std::vector<WPARAM>{3, 8 + 1})) << "locked inputs keep theirs";
    SetWindowLongPtrW(dialog, GWLP_WNDPROC, LONG_PTR(dialogProc));
}

TEST_F(ChannelStripsWindowTest, TwentyInputsPageByFour) {
    if (!open(20, "7.1.4 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    SurroundPanner* p = panner();
    HWND pages = GetDlgItem(dialog, IDC_INPUT_PAGE_LIST);
    ASSERT_EQ(SendMessageW(pages, CB_GETCOUNT, 0, 0), 2);
    char text[32] = {0};
    SendMessageA(pages, CB_GETLBTEXT, 1, LPARAM(text));
    EXPECT_STREQ(text, "5-20");
    EXPECT_EQ(SendMessageW(pages, CB_GETCURSEL, 0, 0), 0);

    choose(IDC_INPUT_PAGE_LIST, 1);
    EXPECT_EQ(p->firstInputStrip, 4);
    editorHostRun(&h, 150);
    EXPECT_EQ(SendMessageW(pages, CB_GETCURSEL, 0, 0), 1) << "the rebuilt list keeps the page";
    EXPECT_TRUE(IsWindowVisible(control(STRIP_INPUT_FADER, 15)));

    // Row 0 is input 5 now: its mute, its solo and its fader.
    click(control(STRIP_INPUT_MUTE, 0));
    click(control(STRIP_INPUT_SOLO, 2));
    EXPECT_EQ(parameter(muteIndex(4)), 1.0f);
    EXPECT_EQ(parameter(muteIndex(0)), 0.0f);
    EXPECT_EQ(parameter(6 + 9 * 6 + 8), 1.0f);
    // A tick shows the buttons before the fader moves: the fader takes the values stamp again,
    // and with it any change that no tick has shown yet.
    editorHostRun(&h, 120);
    HWND fader = control(STRIP_INPUT_FADER, 15);
    RECT r;
    GetClientRect(fader, &r);
    click(fader, r.right / 4);
    EXPECT_LT(parameter(gainIndex(19)), 0.25f);
    clickName(1);
    EXPECT_TRUE(inputRecords(p)[5].selected);
    editorHostRun(&h, 150);
    EXPECT_EQ(stateOf(control(STRIP_INPUT_MUTE, 0)).skin, &p->stripControls.mute[1]);
    capture("strips-20-inputs-page-5.png");
}
#endif
