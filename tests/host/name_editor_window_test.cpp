// The in-place name editor under a window system: the field over a strip's name takes typed
// Greek, Chinese and emoji through the host's key hook, Return keeps the text, Escape drops it,
// Tab and Shift-Tab move on, a focus elsewhere keeps it, and the name reaches the strip and the state chunk.
// A second instance's field closes the first one's without its text. Windows builds only, with
// a display (Xvfb under wine); without one the tests skip.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "editor/dialog_frame.h"
#include "editor/dialog_layout.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "host/editor_host.h"
#include "host/key_hooks.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "shell/state_chunk.h"
#include "tests/host/open_editor.h"
#include "tests/host/plugin_paths.h"

namespace {

// One instance with its editor open.
using Opened = OpenEditor;

std::string fieldText(HWND field) {
    wchar_t text[256] = {0};
    GetWindowTextW(field, text, 256);
    char utf8[512] = {0};
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, nullptr, nullptr);
    return utf8;
}

// Shift as GetKeyState reports it on this thread from now on.
void holdShift(bool held) {
    BYTE keys[256];
    GetKeyboardState(keys);
    keys[VK_SHIFT] = held ? 0x80 : 0;
    SetKeyboardState(keys);
}

struct NameEditorWindowTest : ::testing::Test {
    Opened a, b;

    bool open(Opened* o, int inputs) { return openSession(o, inputs, nullptr) && openEditor(o, true); }
    void TearDown() override {
        for (Opened* o : {&b, &a}) closeEditor(o);
    }
    // What a double click on a name column sends: the field opens over the item.
    HWND begin(Opened& o, int item) {
        SendMessageW(o.dialog, MSG_NAME_EDIT_BEGIN, WPARAM(item), 0);
        editorHostRun(&o.h, 30);
        return static_cast<HWND>(editorHostKeyField(o.dialog));
    }
    void type(Opened& o, HWND field, const std::string& text, unsigned key) {
        editorHostPostText(field, text);
        if (key) editorHostPostKey(field, key);
        editorHostRun(&o.h, 150);
    }
    void capture(Opened& o, const char* file) {
        CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
        std::vector<unsigned char> png = editorHostCapture(&o.h);
        std::string error;
        EXPECT_TRUE(!png.empty() && writeFileSafely(besideTestProgram(file), png, &error)) << error;
    }
};

}  // namespace

TEST_F(NameEditorWindowTest, ANameTypedInPlaceReachesTheStripAndTheStateChunk) {
    if (!open(&a, 4)) GTEST_SKIP() << "no window can be made here (no display)";
    SurroundPanner* p = a.panner();
    const std::string name = "Κρουστά 鼓 🥁";

    HWND field = begin(a, 1);
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(GetParent(field), a.dialog);
    EXPECT_EQ(fieldText(field), "channel 2");
    EXPECT_EQ(hostKeyHookCount(), 1) << "the key hook is registered while a name is edited";
    RECT r;
    GetWindowRect(field, &r);
    MapWindowPoints(nullptr, a.dialog, reinterpret_cast<POINT*>(&r), 2);
    const int32_t* m = p->dialogMetrics;
    EXPECT_EQ(r.left, m[METRIC_INPUT_NAME_X]);
    EXPECT_EQ(r.top, m[METRIC_STRIP_TOP] + 16);
    EXPECT_EQ(r.right - r.left, m[METRIC_INPUT_NAME_WIDTH]);
    EXPECT_EQ(GetFocus(), field);

    // Typed over the selected old name; the picture shows the field open.
    type(a, field, name, 0);
    EXPECT_EQ(fieldText(field), name);
    capture(a, "../editor-captures/name-editor-open.png");
    editorHostPostKey(field, VK_RETURN);
    editorHostRun(&a.h, 150);
    EXPECT_EQ(editorHostKeyField(a.dialog), nullptr) << "Return ends the field";
    EXPECT_EQ(hostKeyHookCount(), 0);
    EXPECT_EQ(std::string(inputRecords(p)[1].name), name);

    // Tab keeps the text and opens the next name; Escape drops what was typed there.
    field = begin(a, 2);
    type(a, field, "Bass", VK_TAB);
    EXPECT_STREQ(inputRecords(p)[2].name, "Bass");
    field = static_cast<HWND>(editorHostKeyField(a.dialog));
    ASSERT_NE(field, nullptr) << "Tab opened the next name";
    EXPECT_EQ(fieldText(field), "channel 4");
    type(a, field, "Dropped", VK_ESCAPE);
    EXPECT_EQ(editorHostKeyField(a.dialog), nullptr);
    EXPECT_STREQ(inputRecords(p)[3].name, "channel 4");

    // Shift-Tab walks back.
    field = begin(a, 3);
    holdShift(true);
    type(a, field, "Back", VK_TAB);
    holdShift(false);
    EXPECT_STREQ(inputRecords(p)[3].name, "Back");
    field = static_cast<HWND>(editorHostKeyField(a.dialog));
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(fieldText(field), "Bass");
    type(a, field, "", VK_ESCAPE);

    // The focus elsewhere: the field goes, its text kept.
    field = begin(a, 0);
    type(a, field, "Voix", 0);
    SetFocus(GetDlgItem(a.dialog, IDC_INPUT_COUNT));
    editorHostRun(&a.h, 250);
    EXPECT_EQ(editorHostKeyField(a.dialog), nullptr);
    EXPECT_STREQ(inputRecords(p)[0].name, "Voix");
    capture(a, "../editor-captures/name-editor.png");

    // The state chunk carries the names.
    std::vector<unsigned char> chunk = sessionSaveState(&a.s);
    StateChunk state{};
    stateChunkInit(&state);
    ASSERT_NE(readStateChunk(chunk.data(), int32_t(chunk.size()), &state.head, &state.inputs, &state.speakers),
              STATE_READ_EMPTY);
    ASSERT_EQ(state.inputs.size(), 4);
    EXPECT_STREQ(state.inputs[0].name, "Voix");
    EXPECT_EQ(std::string(state.inputs[1].name), name);
    EXPECT_STREQ(state.inputs[2].name, "Bass");
    EXPECT_STREQ(state.inputs[3].name, "Back");
    stateChunkFree(&state);
}

TEST_F(NameEditorWindowTest, ASecondInstancesFieldClosesTheFirstsWithoutItsText) {
    if (!open(&a, 2) || !open(&b, 2)) GTEST_SKIP() << "no window can be made here (no display)";
    HWND first = begin(a, 0);
    ASSERT_NE(first, nullptr);
    type(a, first, "First", 0);
    HWND second = begin(b, 1);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(editorHostKeyField(a.dialog), nullptr) << "one field in the process";
    EXPECT_STREQ(inputRecords(a.panner())[0].name, "channel 1") << "the first's text is not taken";
    EXPECT_EQ(hostKeyHookCount(), 1);
    type(b, second, "Second", VK_RETURN);
    EXPECT_STREQ(inputRecords(b.panner())[1].name, "Second");

    // Closing the editor while a name is edited drops the text and the hook.
    second = begin(b, 0);
    type(b, second, "Gone", 0);
    editorHostClose(&b.h);
    EXPECT_EQ(hostKeyHookCount(), 0);
    EXPECT_STREQ(inputRecords(b.panner())[0].name, "channel 1");
}
#endif
