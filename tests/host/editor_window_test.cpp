// The plugin's editor in a host window under a real window system: the strips laid out for the
// channel counts, paging shown only beyond 16 channels, a clean close and a second open. Each
// editor is captured to editor-captures/ beside the build's bin folder for review. Windows builds
// need a display (Xvfb under wine) and skip, saying so, without one; on Linux kelvane-host edit
// only says that the editor is a Windows dialog.
#if !defined(_WIN32)
#include <gtest/gtest.h>

#include "tool_run.h"

TEST(EditorWindowTest, OnLinuxEditSaysInOneLineThatTheEditorIsAWindowsDialog) {
    TempDir dir;
    ToolResult r = runTool(dir, "edit --channels 8 --capture " + shellQuote(dir.file("x.png")));
    EXPECT_EQ(r.code, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_NE(r.err.find("Windows dialog"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find('\n'), r.err.size() - 1) << "one line";
    EXPECT_FALSE(std::filesystem::exists(dir.file("x.png")));
}
#else
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>
#include <string>
#include <utility>

#include "editor/dialog_controls.h"
#include "editor/dialog_layout.h"
#include "engine/instance.h"
#include "hostservices/controls.h"
#include "hostservices/drawing.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "platform/utf8_win32.h"
#include "tests/host/plugin_paths.h"

namespace {

PixelRect rectOf(HWND dialog, int id) {
    RECT r{};
    GetWindowRect(GetDlgItem(dialog, id), &r);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
    return PixelRect{r.left, r.top, r.right - r.left, r.bottom - r.top};
}

bool shown(HWND dialog, int id) { return IsWindowVisible(GetDlgItem(dialog, id)) != 0; }

int visibleRows(HWND dialog, int role) {
    int n = 0;
    for (int r = 0; r < STRIP_ROWS; r++) n += shown(dialog, stripControlId(role, r));
    return n;
}

// Host services for a host at 200 % that wraps dialog procedures, as a translating host does: the
// wrapper takes the plugin's procedure and parameter from the record it was handed.
int doubleScale(void*) { return 512; }

struct PrepareCall {
    std::string prefix;
    void* module;
    uintptr_t id;
    void* param;
    int size;
    void* fifth;
};
PrepareCall prepared;
DLGPROC wrappedProc;

INT_PTR CALLBACK wrapperProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        void** record = reinterpret_cast<void**>(lParam);
        wrappedProc = reinterpret_cast<DLGPROC>(record[0]);
        lParam = LPARAM(record[1]);
    }
    return wrappedProc ? wrappedProc(window, message, wParam, lParam) : 0;
}

void* prepareDialog(const char* prefix, void* module, const char* id, void* proc, void* param, void* buffer, int size) {
    void** record = static_cast<void**>(buffer);
    prepared = PrepareCall{prefix ? prefix : "", module, uintptr_t(id), param, size, record[4]};
    record[0] = proc;
    record[1] = param;
    return reinterpret_cast<void*>(&wrapperProc);
}

// The host's bitmaps behind a counter, so that a test sees every one the plugin lets go.
int liveBitmaps = 0;
struct CountingBitmap final : MIRQ_IBitmap {
    MIRQ_IBitmap* inner;
    explicit CountingBitmap(MIRQ_IBitmap* bitmap) : inner(bitmap) { liveBitmaps++; }
    ~CountingBitmap() {
        mirqDestroy(inner);
        liveBitmaps--;
    }
    void* destroySelf(unsigned flags) override { return mirqDestroySelf(this, flags); }
    uint32_t* pixels() override { return inner->pixels(); }
    int width() override { return inner->width(); }
    int height() override { return inner->height(); }
    int rowSpan() override { return inner->rowSpan(); }
    bool flipped() override { return inner->flipped(); }
    bool resize(int w, int h) override { return inner->resize(w, h); }
    void* deviceContext() override { return inner->deviceContext(); }
    int extended(int id, void* data) override { return inner->extended(id, data); }
};
MIRQ_IBitmap* createCounted(int kind, int w, int h) {
    MIRQ_IBitmap* bitmap = hostCreateBitmap(kind, w, h);
    return bitmap ? new CountingBitmap(bitmap) : nullptr;
}

// A few blocks of a half-scale tone on every input, so that the meters have something to show.
void playBlocks(AEffect* effect, int inputs, int speakers) {
    constexpr int FRAMES = 512;
    using Channels = std::vector<std::vector<double>>;
    Channels in = Channels(size_t(inputs), std::vector<double>(FRAMES, 0.0));
    Channels out = Channels(size_t(speakers), std::vector<double>(FRAMES, 0.0));
    std::vector<double*> inPtr, outPtr;
    for (auto& c : in) inPtr.push_back(c.data());
    for (auto& c : out) outPtr.push_back(c.data());
    for (int block = 0; block < 4; block++) {
        for (auto& c : in)
            for (int f = 0; f < FRAMES; f++) c[size_t(f)] = 0.5 * std::sin(0.05 * (block * FRAMES + f));
        effect->processDoubleReplacing(effect, inPtr.data(), outPtr.data(), FRAMES);
    }
}

// A host that translates into three scripts: the dialog's lists and labels must hold them whole.
const char* translateScripts(const char* text, const char*, int) {
    static const std::pair<const char*, const char*> TRANSLATIONS[] = {
        {"5.1 surround", "5.1 \xCE\xBA\xCF\x85\xCE\xBA\xCE\xBB\xCE\xB9\xCE\xBA\xCF\x8C"},  // κυκλικό
        {"Gain", "\xE5\xA2\x9E\xE7\x9B\x8A"},                                          // 增益
        {"Delay", "\xE5\xBB\xB6\xE8\xBF\x9F \xF0\x9F\x95\x92"},                          // 延迟 🕒
        {"Influence", "\xCE\x95\xCF\x80\xCE\xB9\xCF\x81\xCF\x81\xCE\xBF\xCE\xAE \xF0\x9F\x94\x8A"},  // Επιρροή 🔊
    };
    for (const auto& [from, to] : TRANSLATIONS)
        if (!std::strcmp(text, from)) return to;
    return text;
}

// An item of a combo box as the box holds it, asked below the dialog's UTF-8 hook.
std::wstring heldItem(HWND combo, int index) {
    WNDPROC own = reinterpret_cast<WNDPROC>(GetPropA(combo, "QVXUTF8OldProcW"));
    wchar_t text[64] = {0};
    if (own) CallWindowProcW(own, combo, CB_GETLBTEXT, WPARAM(index), LPARAM(text));
    return text;
}

struct EditorWindowTest : ::testing::Test {
    PluginSession s{};
    EditorHost h{};
    bool opened = false;

    // The session by hand, so that extra host services are in place before the plugin binds the
    // host; a null layout keeps the one the plugin takes for the count.
    using Services = std::vector<std::pair<const char*, void*>>;
    bool open(int inputs, const char* layout, const Services& services = {}) {
        EXPECT_TRUE(pluginLibraryOpen(&s.library, pluginPath().c_str())) << s.library.error;
        s.host = refHostCreate();
        s.host->channelCount = inputs;
        for (const auto& [name, function] : services) refHostSetService(s.host, name, function);
        s.effect = s.library.main ? s.library.main(refHostCallback(s.host)) : nullptr;
        if (!s.effect) return false;
        s.effect->dispatcher(s.effect, effOpen, 0, 0, nullptr, 0.0f);
        s.effect->dispatcher(s.effect, effSetSampleRate, 0, 0, nullptr, 48000.0f);
        s.effect->dispatcher(s.effect, effMainsChanged, 0, 1, nullptr, 0.0f);
        std::string error;
        if (layout) {
            int id = layoutFromOption(layout, &error);
            EXPECT_GE(id, 0) << error;
            EXPECT_TRUE(sessionApplyLayout(&s, id, &error)) << error;
        }
        if (sessionInputCount(&s) != inputs) sessionWriteNamed(&s, "NUMCHANNELS", std::to_string(inputs));
        opened = editorHostOpen(&h, s.effect, false, &error);
        if (!opened && error.find("display") != std::string::npos) return false;
        EXPECT_TRUE(opened) << error;
        return opened;
    }
    void TearDown() override {
        editorHostClose(&h);
        sessionClose(&s);
    }
    SurroundPanner* panner() { return static_cast<SurroundPanner*>(s.effect->object); }
};

}  // namespace

TEST_F(EditorWindowTest, StripsFollowTheCountsAndPicturesAreKept) {
    const char* layouts[] = {"5.1 surround", "7.1.4 surround", "9.1.6"};
    CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
    for (int inputs : {2, 8, 20})
        for (const char* layout : layouts) {
            SCOPED_TRACE(std::to_string(inputs) + " inputs into " + layout);
            if (!open(inputs, layout)) GTEST_SKIP() << "no window can be made here (no display)";
            playBlocks(s.effect, inputs, sessionSpeakerCount(&s));
            editorHostRun(&h, 150);
            HWND dialog = static_cast<HWND>(editorHostDialog(&h));
            ASSERT_NE(dialog, nullptr);
            SurroundPanner* p = panner();
            EXPECT_EQ(p->editorWindow, dialog);
            int speakers = sessionSpeakerCount(&s);
            int visIn = inputs < 16 ? inputs : 16, visSp = speakers < 16 ? speakers : 16;

            // Rows and paging
            EXPECT_EQ(visibleRows(dialog, STRIP_INPUT_METER), visIn);
            EXPECT_EQ(visibleRows(dialog, STRIP_INPUT_REVERSE_Z), visIn);
            EXPECT_EQ(visibleRows(dialog, STRIP_SPEAKER_FADER), visSp);
            EXPECT_EQ(shown(dialog, IDC_INPUT_PAGE_LIST), inputs > 16);
            EXPECT_EQ(shown(dialog, IDC_SPEAKER_PAGE_LIST), speakers > 16);
            EXPECT_TRUE(shown(dialog, IDC_ROOM_VIEW));
            EXPECT_TRUE(shown(dialog, IDC_INPUT_MODE_LIST));

            // Geometry at 100 %: rows 16 pixels apart under the group's top, buttons 12 square,
            // each group as tall as its rows, the line under it two paddings lower.
            PixelRect group = rectOf(dialog, IDC_INPUT_GROUP);
            const int32_t* m = p->dialogMetrics;
            EXPECT_EQ(m[METRIC_STRIP_TOP], group.y + 20);
            PixelRect mute = rectOf(dialog, stripControlId(STRIP_INPUT_MUTE, 1));
            EXPECT_EQ(mute.x, group.x + 8);
            EXPECT_EQ(mute.y, m[METRIC_STRIP_TOP] + 16 + 2);
            EXPECT_EQ(mute.w, 12);
            EXPECT_EQ(mute.h, 12);
            PixelRect fader = rectOf(dialog, stripControlId(STRIP_SPEAKER_FADER, 0));
            EXPECT_EQ(fader.x, m[METRIC_SPEAKER_NAME_X] + m[METRIC_SPEAKER_NAME_WIDTH] + 4);
            EXPECT_EQ(fader.w, 94);
            EXPECT_EQ(group.h, visIn * 16 + 32);
            EXPECT_EQ(rectOf(dialog, IDC_SPEAKER_GROUP).h, visSp * 16 + 32);
            EXPECT_EQ(rectOf(dialog, IDC_INPUT_MODE_LABEL).y, group.y + group.h + 8);
            RECT client;
            GetClientRect(dialog, &client);
            int lower = std::max(group.y + group.h, rectOf(dialog, IDC_SPEAKER_GROUP).y + rectOf(dialog, IDC_SPEAKER_GROUP).h);
            EXPECT_EQ(client.bottom, lower + 4 + 28);
            EXPECT_NE(p->nameStripBitmap, nullptr) << "the first paint makes the name columns";
            // The tick feeds the meters of the rows with a channel: input 0 plays at half scale.
            HostControlState meter{};
            ASSERT_TRUE(hostControlState(GetDlgItem(dialog, stripControlId(STRIP_INPUT_METER, 0)), &meter));
            EXPECT_NEAR(meter.peakLeft, -6.0, 3.0);
            EXPECT_EQ(meter.peakLeft, meter.peakRight);

            std::vector<unsigned char> png = editorHostCapture(&h);
            EXPECT_FALSE(png.empty());
            std::string name = std::string(layout).substr(0, std::string(layout).find(' '));
            std::string file = besideTestProgram(("../editor-captures/editor-" + std::to_string(inputs) + "-" + name + ".png").c_str());
            std::string error;
            EXPECT_TRUE(writeFileSafely(file, png, &error)) << error;
            editorHostClose(&h);
            sessionClose(&s);
            s = PluginSession{};
        }
}

TEST_F(EditorWindowTest, CloseFreesEverythingAndASecondOpenStartsClean) {
    liveBitmaps = 0;
    if (!open(8, "7.1.4 surround", {{"MIRQ_CreateBitmap", reinterpret_cast<void*>(&createCounted)}}))
        GTEST_SKIP() << "no window can be made here (no display)";
    editorHostRun(&h, 120);
    SurroundPanner* p = panner();
    HWND host = static_cast<HWND>(h.window);
    int atOpen[2] = {0, 0};
    for (int round = 0; round < 2; round++) {
        SCOPED_TRACE(round ? "second open" : "first open");
        ASSERT_NE(p->editorWindow, nullptr);
        EXPECT_NE(p->stripControls.mute[1].bitmap, nullptr);
        EXPECT_NE(p->stripControls.reverseZ[3].bitmap, nullptr);
        int children = 0;
        for (HWND c = GetWindow(static_cast<HWND>(p->editorWindow), GW_CHILD); c; c = GetWindow(c, GW_HWNDNEXT)) children++;
        EXPECT_EQ(children, dialogControlTotal());

        atOpen[round] = liveBitmaps;
        EXPECT_GT(liveBitmaps, 16 + 1) << "the skins, the name columns and the room view's own";
        s.effect->dispatcher(s.effect, effEditClose, 0, 0, nullptr, 0.0f);
        EXPECT_LE(liveBitmaps, 2) << "every bitmap of the editor is gone but the speaker sprites all views share";
        EXPECT_EQ(p->editorWindow, nullptr);
        EXPECT_EQ(GetWindow(host, GW_CHILD), nullptr) << "the dialog and its children are gone";
        EXPECT_EQ(p->nameStripBitmap, nullptr);
        EXPECT_EQ(p->roomBitmap, nullptr);
        for (const ButtonSkin& skin : p->stripControls.reverseX) EXPECT_EQ(skin.bitmap, nullptr);
        ERect* rect = nullptr;
        s.effect->dispatcher(s.effect, effEditGetRect, 0, 0, &rect, 0.0f);
        ASSERT_NE(rect, nullptr);
        EXPECT_EQ(rect->right, 520) << "closed, the editor has its default size";
        s.effect->dispatcher(s.effect, effIdle, 0, 0, nullptr, 0.0f);

        // Open again in the same window: the stamps start over, so the first tick fills everything.
        p->editorStamps[0] = 12345;
        EXPECT_EQ(s.effect->dispatcher(s.effect, effEditOpen, 0, 0, host, 0.0f), 1);
        EXPECT_EQ(p->editorStamps[0], 0u);
        editorHostRun(&h, 120);
        EXPECT_NE(p->editorStamps[0], 0u) << "the tick ran";
    }
    EXPECT_EQ(atOpen[1], atOpen[0]) << "a second open makes as many bitmaps as the first";
    editorHostClose(&h);
    sessionClose(&s);
    s = PluginSession{};
    EXPECT_EQ(liveBitmaps, 0) << "the shared sprites go with the last instance";
}

TEST_F(EditorWindowTest, AScaledHostThatWrapsTheProcedureGetsScaledStrips) {
    wrappedProc = nullptr;
    if (!open(4, nullptr, {{"GetWindowDPIScalingForDialog", reinterpret_cast<void*>(&doubleScale)},
                           {"__localizePrepareDialog", reinterpret_cast<void*>(&prepareDialog)}}))
        GTEST_SKIP() << "no window can be made here (no display)";
    EXPECT_EQ(prepared.prefix, "kelvanepan_");
    EXPECT_EQ(prepared.id, uintptr_t(DIALOG_TEMPLATE_ID));
    EXPECT_EQ(prepared.size, 5);
    EXPECT_EQ(prepared.fifth, nullptr);
    EXPECT_EQ(prepared.param, s.effect->object);
    EXPECT_NE(wrappedProc, nullptr) << "the dialog ran through the host's wrapper";

    HWND dialog = static_cast<HWND>(editorHostDialog(&h));
    SurroundPanner* p = panner();
    EXPECT_EQ(p->dpiScale, 512);
    PixelRect mute0 = rectOf(dialog, stripControlId(STRIP_INPUT_MUTE, 0));
    PixelRect mute1 = rectOf(dialog, stripControlId(STRIP_INPUT_MUTE, 1));
    EXPECT_EQ(mute0.w, 24);
    EXPECT_EQ(mute0.h, 24);
    EXPECT_EQ(mute1.y - mute0.y, 32);
    EXPECT_EQ(rectOf(dialog, stripControlId(STRIP_SPEAKER_METER, 0)).h, 12);
    EXPECT_EQ(rectOf(dialog, IDC_INPUT_GROUP).h, 4 * 32 + 64);
}

TEST_F(EditorWindowTest, ListsAndLabelsHoldTextInAnyScript) {
    if (!open(8, "5.1 surround", {{"__localizeFunc", reinterpret_cast<void*>(&translateScripts)}}))
        GTEST_SKIP() << "no window can be made here (no display)";
    editorHostRun(&h, 120);
    HWND dialog = static_cast<HWND>(editorHostDialog(&h));
    ASSERT_NE(dialog, nullptr);
    for (int id : {1128, 1129, 1130, 1131, 1277, 1279, 1281, 1283}) {
        EXPECT_NE(GetPropA(GetDlgItem(dialog, id), "QVXUTF8OldProc"), nullptr) << "combo box " << id << " is hooked";
        EXPECT_NE(GetPropA(GetDlgItem(dialog, id), "QVXUTF8OldProcW"), nullptr) << "combo box " << id;
    }
    HWND layouts = GetDlgItem(dialog, IDC_LAYOUT_LIST);
    HWND inputModes = GetDlgItem(dialog, IDC_INPUT_MODE_LIST);
    HWND speakerModes = GetDlgItem(dialog, IDC_SPEAKER_MODE_LIST);
    const char* surroundName = translateScripts("5.1 surround", "", 0);
    LRESULT surround = SendMessageA(layouts, CB_FINDSTRINGEXACT, WPARAM(-1), LPARAM(surroundName));
    ASSERT_GE(surround, 0);
    EXPECT_EQ(heldItem(layouts, int(surround)), L"5.1 \u03BA\u03C5\u03BA\u03BB\u03B9\u03BA\u03CC");
    EXPECT_EQ(heldItem(inputModes, 0), L"\u589E\u76CA");
    EXPECT_EQ(heldItem(inputModes, 3), L"\u5EF6\u8FDF \U0001F552");
    EXPECT_EQ(heldItem(speakerModes, 1), L"\u0395\u03C0\u03B9\u03C1\u03C1\u03BF\u03AE \U0001F50A");
    // The narrow message gives the UTF-8 back, in a buffer of the bound the box tells.
    LRESULT bound = SendMessageA(speakerModes, CB_GETLBTEXTLEN, 1, 0);
    EXPECT_EQ(bound, 10 * 4 + 32);
    std::string item(size_t(bound), '#');
    SendMessageA(speakerModes, CB_GETLBTEXT, 1, LPARAM(item.data()));
    EXPECT_STREQ(item.c_str(), translateScripts("Influence", "kelvanepan", 0));

    // The degree signs are the system code page's, shown as the sign itself.
    wchar_t label[16] = {0};
    GetDlgItemTextW(dialog, IDC_ANGLE_XY_LABEL, label, 16);
    EXPECT_STREQ(label, L"XY\u00B0:");
    GetDlgItemTextW(dialog, IDC_ANGLE_Z_LABEL, label, 16);
    EXPECT_STREQ(label, L"Z\u00B0:");

    // The dialog's fields are wide windows: text in any script is kept whole.
    EXPECT_TRUE(IsWindowUnicode(GetDlgItem(dialog, IDC_VALUE_EDIT)));
    const char* typed = "\xCE\x95\xCE\xBB \xE4\xB8\xAD \xF0\x9F\x8E\xB5";
    setDlgItemTextUtf8(dialog, IDC_VALUE_EDIT, typed);
    char back[64];
    getDlgItemTextUtf8(dialog, IDC_VALUE_EDIT, back, sizeof back);
    EXPECT_STREQ(back, typed);

    std::vector<unsigned char> png = editorHostCapture(&h);
    std::string error;
    CreateDirectoryA(besideTestProgram("../editor-captures").c_str(), nullptr);
    EXPECT_TRUE(writeFileSafely(besideTestProgram("../editor-captures/editor-translated.png"), png, &error)) << error;
}
#endif
