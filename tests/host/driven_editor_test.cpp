// kelvane-host edit drives the real dialog, and the state it saves is the one the portable
// handlers make of the same start: each scenario is played through the Windows dialog (the tool's
// steps under a window system) and through the core library's handlers on a bare instance, one
// step more each time, and after every step the two state chunks must be the same bytes. Windows builds only, with a display
// (Xvfb under wine); without one the test skips.
#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "editor/channel_strips.h"
#include "editor/dialog_controls.h"
#include "editor/selected_controls.h"
#include "engine/instance.h"
#include "engine/position.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "host/host.h"
#include "host/session.h"
#include "shell/state_chunk.h"
#include "support/temp_dir.h"
#include "tests/host/plugin_paths.h"

namespace {

// kelvane-host with arguments, its exit code (-1 when it cannot start) and what it said.
int runHostTool(const std::string& args, std::string* output) {
    std::string utf8 = "\"" + besideTestProgram(KVP_HOST_TOOL_FILE) + "\" " + args;
    int n = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
    std::wstring line(size_t(n), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, &line[0], n);
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    CreatePipe(&readEnd, &writeEnd, &inherit, 0);
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOW si{};
    si.cb = sizeof si;
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdOutput = si.hStdError = writeEnd;
    PROCESS_INFORMATION pi{};
    if (!CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si, &pi)) return -1;
    CloseHandle(writeEnd);
    char chunk[512];
    DWORD got = 0;
    while (ReadFile(readEnd, chunk, sizeof chunk, &got, nullptr) && got) output->append(chunk, got);
    WaitForSingleObject(pi.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(pi.hProcess, &code);
    CloseHandle(pi.hProcess);
    CloseHandle(pi.hThread);
    CloseHandle(readEnd);
    return int(code);
}

std::string inQuotes(const std::string& path) { return "\"" + path + "\""; }

struct DrivenEditorTest : ::testing::Test {
    TempDir dir;
    RefHost* host = nullptr;

    void SetUp() override {
        // The core library's handlers in this process reach the host services as the plugin does.
        host = refHostCreate();
        refHostImportServices(host);
        hostCallback = refHostCallback(host);
    }
    void TearDown() override {
        hostCallback = nullptr;
        refHostDestroy(host);
    }

    // The start: a fresh instance of the plugin with a layout, its chunk saved.
    std::vector<unsigned char> startState(int channels, const char* layout) {
        PluginSession s{};
        std::string error;
        EXPECT_TRUE(sessionOpen(&s, pluginPath().c_str(), channels, nullptr, 48000.0, &error)) << error;
        int id = layoutFromOption(layout, &error);
        EXPECT_TRUE(id >= 0 && sessionApplyLayout(&s, id, &error)) << error;
        std::vector<unsigned char> chunk = sessionSaveState(&s);
        sessionClose(&s);
        return chunk;
    }

    // The same start through the portable handlers, one call per step, and the value row's
    // correction that the dialog's tick makes after each.
    std::vector<unsigned char> predicted(const std::vector<unsigned char>& start,
                                         const std::vector<std::function<void(SurroundPanner*)>>& steps) {
        SurroundPanner* p = instanceCreate();
        loadState(p, start.data(), int32_t(start.size()));
        refreshValueRowState(p);
        for (const auto& step : steps) {
            step(p);
            refreshValueRowState(p);
        }
        void* data = nullptr;
        int32_t size = saveState(p, &data);
        std::vector<unsigned char> out(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
        instanceDestroy(p);
        return out;
    }

    // The steps through the real dialog; false when there is no display.
    bool driven(const std::vector<unsigned char>& start, const std::string& steps, std::vector<unsigned char>* out) {
        std::string startFile = dir.write("start.chunk", std::string(start.begin(), start.end()));
        std::string outFile = dir.file("driven.chunk");
        std::string said;
        int code = runHostTool("edit " + inQuotes(pluginPath()) + " --state " + inQuotes(startFile) + " " + steps +
                                   " --after 200 --save-state " + inQuotes(outFile),
                               &said);
        if (code == 2 && said.find("display") != std::string::npos) return false;
        EXPECT_EQ(code, 0) << said;
        std::string bytes = dir.read("driven.chunk");
        out->assign(bytes.begin(), bytes.end());
        return true;
    }

    // Where two chunks part, field by field, for the failure message.
    static std::string difference(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
        StateChunk x{}, y{};
        stateChunkInit(&x);
        stateChunkInit(&y);
        readStateChunk(a.data(), int32_t(a.size()), &x.head, &x.inputs, &x.speakers);
        readStateChunk(b.data(), int32_t(b.size()), &y.head, &y.inputs, &y.speakers);
        std::string out = "sizes " + std::to_string(a.size()) + " and " + std::to_string(b.size()) + ";";
        auto note = [&](const std::string& what, double u, double v) {
            if (u != v) out += " " + what + " " + std::to_string(u) + " vs " + std::to_string(v) + ";";
        };
        note("uiFlags", x.head.uiFlags, y.head.uiFlags);
        note("layoutId", x.head.layoutId, y.head.layoutId);
        note("channelOptions", x.head.channelOptions, y.head.channelOptions);
        note("centerPercent", x.head.centerPercent, y.head.centerPercent);
        note("sidePercent", x.head.sidePercent, y.head.sidePercent);
        note("firstInputStrip", x.head.firstInputStrip, y.head.firstInputStrip);
        note("inputs", x.inputs.size(), y.inputs.size());
        note("speakers", x.speakers.size(), y.speakers.size());
        for (int i = 0; i < x.inputs.size() && i < y.inputs.size(); i++) {
            const PanInput &u = x.inputs[i], &v = y.inputs[i];
            std::string at = "input " + std::to_string(i) + " ";
            note(at + "x", u.posX, v.posX);
            note(at + "y", u.posY, v.posY);
            note(at + "z", u.posZ, v.posZ);
            note(at + "gain", u.gain, v.gain);
            note(at + "divergence", u.divergence, v.divergence);
            note(at + "mute", u.mute, v.mute);
            note(at + "selected", u.selected, v.selected);
            note(at + "reverseX", u.reverseX, v.reverseX);
        }
        for (int s = 0; s < x.speakers.size() && s < y.speakers.size(); s++) {
            const PanSpeaker &u = x.speakers[s], &v = y.speakers[s];
            std::string at = "speaker " + std::to_string(s) + " ";
            note(at + "x", u.posX, v.posX);
            note(at + "y", u.posY, v.posY);
            note(at + "gain", u.gain, v.gain);
        }
        stateChunkFree(&x);
        stateChunkFree(&y);
        return out;
    }

    // One step of a scenario: what the tool plays on the dialog, and the handler call it stands for.
    struct Step {
        std::string driven;
        std::function<void(SurroundPanner*)> handler;
        bool unsaved = false;  // the step changes only what the state does not keep (the focus)
    };

    // After each step, the state the dialog saved is the one the handlers make of the same start,
    // and the step changed it.
    void expectSameStates(const std::vector<unsigned char>& start, const std::vector<Step>& steps) {
        std::string played;
        std::vector<std::function<void(SurroundPanner*)>> handlers;
        std::vector<unsigned char> before = start;
        for (const Step& step : steps) {
            played += " " + step.driven;
            handlers.push_back(step.handler);
            std::vector<unsigned char> dialog;
            if (!driven(start, played, &dialog)) GTEST_SKIP() << "no display";
            std::vector<unsigned char> portable = predicted(start, handlers);
            ASSERT_FALSE(portable.empty());
            EXPECT_TRUE(dialog == portable) << "after " << step.driven << ": " << difference(dialog, portable);
            if (!step.unsaved) EXPECT_NE(dialog, before) << step.driven << " changed nothing";
            before = dialog;
        }
    }
};

constexpr int ENDED = 1;

TEST_F(DrivenEditorTest, CountsFadersButtonsAndTypedValuesSaveWhatTheHandlersPredict) {
    expectSameStates(startState(6, "5.1 surround"),
                     {
                         {"--type 1231=8 --wait 1200", [](SurroundPanner* p) { applyInputCountText(p, "8"); }},
                         {"--fader 1241=500",
                          [](SurroundPanner* p) {
                              stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 500, false);
                              stripFaderMoved(p, STRIP_LIST_INPUTS, 2, 500, ENDED);
                          }},
                         {"--click 1142", [](SurroundPanner* p) { stripButtonClicked(p, STRIP_INPUT_MUTE, 0, 0); }},
                         {"--click 1288", [](SurroundPanner* p) { clickSelectedControl(p, 1288); }},
                         {"--fader 1079=250",
                          [](SurroundPanner* p) {
                              moveMixFader(p, false, 250, false);
                              moveMixFader(p, false, 250, ENDED);
                          }},
                         {"--type 1257=-6 --wait 1200", [](SurroundPanner* p) { applyValueText(p, "-6"); }},
                     });
}

TEST_F(DrivenEditorTest, LayoutListSpeakerCountModesAndEditAllSaveWhatTheHandlersPredict) {
    expectSameStates(startState(4, "Quadraphonic"),
                     {
                         {"--select 1131=0", [](SurroundPanner* p) { chooseLayoutEntry(p, 0); }},
                         {"--type 1222=7 --wait 1200", [](SurroundPanner* p) { applySpeakerCountText(p, "7"); }},
                         {"--select 1277=2", [](SurroundPanner* p) { stripModeChosen(p, STRIP_LIST_INPUTS, 2); }},
                         {"--fader 1239=300",
                          [](SurroundPanner* p) {
                              stripFaderMoved(p, STRIP_LIST_INPUTS, 0, 300, false);
                              stripFaderMoved(p, STRIP_LIST_INPUTS, 0, 300, ENDED);
                          }},
                         {"--click 1291", [](SurroundPanner* p) { clickSelectedControl(p, 1291); }},
                         {"--click 1292", [](SurroundPanner* p) { stripButtonClicked(p, STRIP_INPUT_REVERSE_X, 0, 0); }},
                         {"--pick 1 --click 1040", [](SurroundPanner* p) { chooseFocus(p, 101); }, true},
                         {"--type 1035=50 --wait 1200", [](SurroundPanner* p) { applyPositionTexts(p, "50", "", ""); }},
                     });
}

TEST_F(DrivenEditorTest, ANameTypedInPlaceInAnyScriptSavesWhatTheHandlersPredict) {
    // The name comes through the command line: the tool must read it whole, not in a code page.
    expectSameStates(startState(4, "Quadraphonic"),
                     {
                         {"--rename-strip \"input:2=\u03A9\u03BC\u03AD\u03B3\u03B1 \u58F0 \U0001F3A7\"",
                          [](SurroundPanner* p) {
                              // The double click's first press makes the input the only one selected.
                              for (int i = 0; i < inputCount(p); i++) inputRecords(p)[i].selected = i == 1;
                              recomputeScene(p);
                              setRecordName(inputRecords(p)[1].name, "\u03A9\u03BC\u03AD\u03B3\u03B1 \u58F0 \U0001F3A7");
                          }},
                     });
}

}  // namespace
#endif
