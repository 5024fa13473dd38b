// The selected-channel controls of the real dialog under a window system: a count typed into its
// field takes effect a second after the last key, the Center fader reaches the records and the
// host, a typed value moves the value row's channel, and the inputs' "Lock" disables and a new
// count enables the edit rows and input strips again. The dialog is captured to editor-captures/
// for review. Windows builds only, with a display (Xvfb under wine); without one the test skips.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/selected_controls.h"
#include "engine/instance.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "tests/host/open_editor.h"
#include "tests/host/plugin_paths.h"

namespace {

struct SelectedControlsWindowTest : ::testing::Test, OpenEditor {
    bool open(int inputs, const char* layout) { return openWithEditor(this, inputs, layout); }
    void TearDown() override { closeEditor(this); }

    // Typing: the text goes in as a key would put it, and the edit tells the dialog of the change.
    void type(int id, const wchar_t* text) { SetWindowTextW(GetDlgItem(dialog, id), text); }
    std::wstring textOf(int id) {
        wchar_t text[64] = {0};
        GetDlgItemTextW(dialog, id, text, 64);
        return text;
    }
    void click(int id) { SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), LPARAM(GetDlgItem(dialog, id))); }
    bool enabled(int id) { return IsWindowEnabled(GetDlgItem(dialog, id)) != 0; }
    bool inputEditingEnabled() {
        return enabled(IDC_EDIT_ROW_LIST_1 + 2) && enabled(IDC_EDIT_ROW_RESET_1) &&
               enabled(stripControlId(STRIP_INPUT_MUTE, 0)) && enabled(stripControlId(STRIP_INPUT_FADER, 5));
    }
};

}  // namespace

TEST_F(SelectedControlsWindowTest, TypedCountsFaderValueAndLockReachTheInstance) {
    if (!open(2, "5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    EXPECT_EQ(textOf(IDC_INPUT_COUNT), L"2");
    EXPECT_TRUE(enabled(IDC_CENTER_EDIT)) << "5.1 has a centre speaker";
    EXPECT_FALSE(enabled(IDC_SPEAKER_COUNT)) << "a built-in layout";

    // A count: nothing before the second is up, the new count after it.
    type(IDC_INPUT_COUNT, L"6");
    editorHostRun(&h, 500);
    EXPECT_EQ(sessionInputCount(&s), 2);
    editorHostRun(&h, 900);
    EXPECT_EQ(sessionInputCount(&s), 6);
    EXPECT_EQ(textOf(IDC_INPUT_COUNT), L"6");
    EXPECT_NE(textOf(IDC_FOCUS_CHANNEL), L"") << "the new inputs moved, one of them has the focus";

    // The Center fader, moved and let go.
    refHostClearCalls(s.host);
    HWND fader = GetDlgItem(dialog, IDC_CENTER_FADER);
    SendMessageW(fader, CTL_FADER_SET_POS, 1, 250);
    SendMessageW(dialog, WM_HSCROLL, MAKEWPARAM(SB_THUMBTRACK, 250), LPARAM(fader));
    SendMessageW(dialog, WM_HSCROLL, MAKEWPARAM(SB_ENDSCROLL, 0), LPARAM(fader));
    EXPECT_EQ(panner()->centerPercent, 0.25);
    EXPECT_EQ(textOf(IDC_CENTER_EDIT), L"25");
    std::vector<int32_t> gesture;
    for (const AudioMasterCall& c : refHostCalls(s.host))
        if (c.index == 0 && (c.opcode == audioMasterBeginEdit || c.opcode == audioMasterAutomate ||
                             c.opcode == audioMasterEndEdit))
            gesture.push_back(c.opcode);
    EXPECT_EQ(gesture, (std::vector<int32_t>{audioMasterBeginEdit, audioMasterAutomate, audioMasterAutomate,
                                             audioMasterEndEdit}));
    EXPECT_EQ(s.effect->getParameter(s.effect, 0), 0.25f);

    // A gain typed into the value row (input 0, as the dialog opened).
    type(IDC_VALUE_EDIT, L"-6.0206");
    editorHostRun(&h, 1300);
    EXPECT_NEAR(s.effect->getParameter(s.effect, 6), 0.5f / 4.0f, 1e-6);

    // The inputs' lock takes the edit rows and input strips away; a new count gives them back.
    click(IDC_LOCK_INPUTS);
    EXPECT_FALSE(inputEditingEnabled());
    editorHostRun(&h, 120);
    EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_LOCK_INPUTS), BST_CHECKED);
    click(IDC_LOCK_INPUTS);
    EXPECT_TRUE(inputEditingEnabled());
    click(IDC_LOCK_INPUTS);
    type(IDC_INPUT_COUNT, L"4");
    editorHostRun(&h, 1300);
    EXPECT_EQ(sessionInputCount(&s), 4);
    EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_LOCK_INPUTS), BST_UNCHECKED);
    EXPECT_TRUE(inputEditingEnabled()) << "the new count lifted the lock";

    // "Custom speakers" from the list: the speaker count may be typed now.
    SendDlgItemMessageW(dialog, IDC_LAYOUT_LIST, CB_SETCURSEL, 0, 0);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDC_LAYOUT_LIST, CBN_SELCHANGE),
                 LPARAM(GetDlgItem(dialog, IDC_LAYOUT_LIST)));
    editorHostRun(&h, 150);
    EXPECT_EQ(panner()->layoutId, 0);
    EXPECT_EQ(sessionSpeakerCount(&s), 6);
    EXPECT_TRUE(enabled(IDC_SPEAKER_COUNT));
    EXPECT_TRUE(enabled(IDC_LFE_SPEAKER));

    CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
    std::vector<unsigned char> png = editorHostCapture(&h);
    ASSERT_FALSE(png.empty());
    std::string error;
    EXPECT_TRUE(writeFileSafely(besideTestProgram("../editor-captures/selected-controls.png"), png, &error)) << error;
}
#endif
