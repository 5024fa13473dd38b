// The dialog's two button menus under a window system, chosen with the keys a user presses: a
// preset saved under a scripted name is a file beside the ini file that loads back through the
// same menu, and the pan law menu sets the law and its default. The menus are captured open. The
// view's options menu and the dialog's timer take names from the host's sending tracks, and the
// host's own name prompt answers from its window. Windows builds only, with a display (Xvfb
// under wine); without one the tests skip.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/selected_controls.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "host/editor_host.h"
#include "host/name_prompt.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "roomview/overlays.h"
#include "support/temp_dir.h"
#include "tests/host/open_editor.h"
#include "tests/host/plugin_paths.h"

namespace {

// A picture of the screen around the host's window and every popup menu open, taken from a timer
// while a menu runs its loop; then the pick goes in.
struct MenuShot {
    HWND host;
    std::string file;
    std::vector<int> path;
    int ticks;
    bool saved;
};
MenuShot shot;

void CALLBACK shotTick(HWND, UINT, UINT_PTR timer, DWORD) {
    // A few ticks with the menu shown let it paint.
    std::vector<void*> popups = editorHostPopupMenus();
    if (popups.empty() || ++shot.ticks < 4) return;
    RECT area, r;
    GetWindowRect(shot.host, &area);
    for (void* popup : popups) {
        GetWindowRect(static_cast<HWND>(popup), &r);
        UnionRect(&area, &area, &r);
    }
    KillTimer(nullptr, timer);
    std::string error;
    std::vector<unsigned char> png = editorHostCaptureScreen(area.left, area.top, area.right - area.left, area.bottom - area.top);
    shot.saved = !png.empty() && writeFileSafely(shot.file, png, &error);
    editorHostPickMenu(shot.path);
}

struct DialogMenusWindowTest : ::testing::Test, OpenEditor {
    TempDir dir;

    bool open(const char* layout) {
        if (!openSession(this, 2, layout, dir.file("host.ini").c_str())) return false;
        s.host->renameScripted = true;
        return openEditor(this);
    }
    void TearDown() override { closeEditor(this); }

    // A click on a menu button, the item at path chosen from the menu; with a file name the open
    // menu is captured first. Returns how the pick went.
    int choose(int button, const std::vector<int>& path, const char* capture = nullptr) {
        if (capture) {
            CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
            shot = MenuShot{static_cast<HWND>(h.window), besideTestProgram(capture), path, 0, false};
            SetTimer(nullptr, 0, 40, shotTick);
        } else {
            editorHostPickMenu(path);
        }
        SendMessageW(GetDlgItem(dialog, button), BM_CLICK, 0, 0);
        editorHostRun(&h, 120);
        if (capture) {
            EXPECT_TRUE(shot.saved) << capture;
        }
        int state = editorHostPickState();
        editorHostPickCancel();
        return state;
    }
    std::vector<std::string> presetFiles() {
        std::vector<std::string> names;
        for (auto& e : std::filesystem::directory_iterator(dir.path / "SpeakerSetups")) {
            std::u8string name = e.path().filename().u8string();
            names.emplace_back(name.begin(), name.end());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

}  // namespace

TEST_F(DialogMenusWindowTest, APresetSavedFromTheMenuLoadsBackThroughIt) {
    if (!open("5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    ASSERT_TRUE(IsWindowVisible(GetDlgItem(dialog, IDC_SPEAKER_PRESETS))) << "the host has a name prompt";

    // No presets yet: the submenus take no choice, "Save preset..." is the first item, and the
    // prompt's answer names the file.
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {1}), EDITOR_PICK_FAILED) << "the greyed Replace";
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {3, 0}), EDITOR_PICK_FAILED) << "the greyed Delete";
    s.host->renameReplies = {"Salle Σκηνή"};
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {0}, "../editor-captures/menu-presets-empty.png"), EDITOR_PICK_CHOSEN);
    EXPECT_EQ(s.host->renameTitles, std::vector<std::string>{"Save Speaker Preset"});
    EXPECT_EQ(presetFiles(), std::vector<std::string>{"Salle Σκηνή.BrasselSpeakerSetup"});

    // Other speakers, then the preset from the list: its six speakers as a custom setup.
    std::string error;
    ASSERT_TRUE(sessionApplyLayout(&s, layoutFromOption("Quadraphonic", &error), &error)) << error;
    editorHostRun(&h, 120);
    ASSERT_EQ(sessionSpeakerCount(&s), 4);
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {0}, "../editor-captures/menu-presets.png"), EDITOR_PICK_CHOSEN);
    EXPECT_EQ(sessionSpeakerCount(&s), 6);
    EXPECT_EQ(panner()->layoutId, 0);

    // Rename through the submenu; a cancelled prompt keeps the name.
    s.host->renameReplies = {"<cancel>", "Hall"};
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {4, 0}), EDITOR_PICK_CHOSEN);
    EXPECT_EQ(presetFiles(), std::vector<std::string>{"Salle Σκηνή.BrasselSpeakerSetup"});
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {4, 0}), EDITOR_PICK_CHOSEN);
    EXPECT_EQ(presetFiles(), std::vector<std::string>{"Hall.BrasselSpeakerSetup"});
    EXPECT_EQ(s.host->renameTitles.back(), "Rename Speaker Preset");
    EXPECT_EQ(choose(IDC_SPEAKER_PRESETS, {5, 0}), EDITOR_PICK_CHOSEN);
    EXPECT_TRUE(presetFiles().empty()) << "deleted";
}

TEST_F(DialogMenusWindowTest, ThePanLawMenuSetsTheLawAndItsDefault) {
    if (!open("5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    refHostClearCalls(s.host);
    EXPECT_EQ(choose(IDC_PAN_LAW, {3}), EDITOR_PICK_CHOSEN);
    EXPECT_EQ(panner()->panLawDb, -4.5);
    EXPECT_EQ(choose(IDC_PAN_LAW, {6}, "../editor-captures/menu-pan-law.png"), EDITOR_PICK_CHOSEN);
    EXPECT_NE(dir.read("host.ini").find("panlaw=-4.5"), std::string::npos);
    for (const AudioMasterCall& c : refHostCalls(s.host)) EXPECT_NE(c.opcode, audioMasterAutomate) << "the host is not told";
    EXPECT_EQ(choose(IDC_PAN_LAW, {5}), EDITOR_PICK_FAILED) << "a separator";
    EXPECT_EQ(choose(IDC_EDIT_1D, {0}), EDITOR_PICK_WAITING) << "a button without a menu";
}

TEST_F(DialogMenusWindowTest, TheViewsOptionsMenuAndTheOptionsTimerTakeNamesFromTheSendingTracks) {
    if (!open("5.1 surround")) GTEST_SKIP() << "no window can be made here (no display)";
    std::string error;
    ASSERT_TRUE(refHostLoadTracks(s.host, dir.write("tracks.txt", "9 1 none Overheads\n5 1 #FF2010 Kick 鼓\n").c_str(), &error))
        << error;
    SurroundPanner* p = panner();
    std::snprintf(inputRecords(p)[1].name, 64, "typed");

    // "Set input names/colors from sending tracks", the first item of the view's options menu.
    HWND view = GetDlgItem(dialog, IDC_ROOM_VIEW);
    RECT client;
    GetClientRect(view, &client);
    PaneRect button{};
    ASSERT_TRUE(viewButtonRect(p, BUTTON_OPTIONS, 0, client.right, client.bottom, &button));
    LPARAM at = MAKELPARAM(button.x + button.w / 2, button.y + button.h / 2);
    editorHostPickMenu({0});
    SendMessageW(view, WM_LBUTTONDOWN, MK_LBUTTON, at);
    SendMessageW(view, WM_LBUTTONUP, 0, at);
    editorHostRun(&h, 120);
    EXPECT_EQ(editorHostPickState(), EDITOR_PICK_CHOSEN);
    EXPECT_STREQ(inputRecords(p)[0].name, "Kick 鼓") << "channels 5 and 9 feed input 1: the lower names it";
    EXPECT_EQ(inputRecords(p)[0].color, 0xFFFF2010u);
    EXPECT_STREQ(inputRecords(p)[1].name, "channel 2") << "fed by nothing";

    // With the option on, the dialog asks again each second.
    ASSERT_TRUE(refHostLoadTracks(s.host, dir.write("tracks.txt", "2 1 none Snare\n").c_str(), &error)) << error;
    editorHostRun(&h, 1100);
    EXPECT_STREQ(inputRecords(p)[0].name, "Kick 鼓") << "the option is off";
    p->uiFlags |= FLAG_AUTO_SEND_NAMES;
    editorHostRun(&h, 1100);
    EXPECT_STREQ(inputRecords(p)[0].name, "Snare");
    EXPECT_EQ(inputRecords(p)[0].color, INPUT_COLOURS[0]);
}

// The host's own prompt, answered in its window as a user would.
struct PromptAnswer {
    const wchar_t* text;
    int button;
    std::wstring title;
};
PromptAnswer answer;
void CALLBACK answerTick(HWND, UINT, UINT_PTR timer, DWORD) {
    HWND prompt = GetActiveWindow();
    wchar_t title[64] = {0};
    if (!prompt || !GetWindowTextW(prompt, title, 64)) return;
    KillTimer(nullptr, timer);
    answer.title = title;
    if (answer.text) SetDlgItemTextW(prompt, 101, answer.text);
    SendMessageW(prompt, WM_COMMAND, MAKEWPARAM(answer.button, BN_CLICKED), 0);
}

TEST_F(DialogMenusWindowTest, TheHostsPromptGivesTheTypedNameOrNothing) {
    if (!open("Stereo")) GTEST_SKIP() << "no window can be made here (no display)";
    char buffer[512] = "Hall";
    answer = PromptAnswer{L"Σκηνή 東京 🎧", IDOK, L""};
    SetTimer(nullptr, 0, 50, answerTick);
    EXPECT_EQ(hostNamePrompt(dialog, "Rename Speaker Preset", "Preset name", buffer, 512), 1);
    EXPECT_EQ(answer.title, L"Rename Speaker Preset");
    EXPECT_STREQ(buffer, "Σκηνή 東京 🎧");
    answer = PromptAnswer{L"Never", IDCANCEL, L""};
    SetTimer(nullptr, 0, 50, answerTick);
    EXPECT_EQ(hostNamePrompt(dialog, "Save Speaker Preset", "Preset name", buffer, 512), 0);
    EXPECT_STREQ(buffer, "Σκηνή 東京 🎧");
}
#endif
