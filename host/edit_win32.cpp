// kelvane-host edit: opens the plugin's editor in a window of the host, plays the steps given on
// it as a user would (typing, clicks, list choices, fader drags, raw messages), and then runs it
// until the window closes, or for --after milliseconds before it writes a picture and the state.
#include "host/edit.h"

#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "host/args.h"
#include "host/edit_steps.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host: edit: %s\n", message.c_str());
    return 2;
}

// Between two steps the editor's own timers run, so that its 50 ms tick shows each step.
constexpr int STEP_SETTLE_MS = 120;
// A fader drag: where the pointer moves the thumb, then the end of the drag.
constexpr WPARAM SCROLL_THUMBTRACK = 5;
constexpr WPARAM SCROLL_END = 8;

struct EditOptions {
    std::string plugin;
    int channels = 2;
    int layoutId = -1;
    std::string state;
    std::string saveState;
    std::string capture;
    int afterMs = 1000;
    bool afterGiven = false;
    std::vector<EditStep> steps;
};

bool parseEdit(int argc, char** argv, const char* defaultPlugin, EditOptions* o, std::string* error) {
    std::vector<OptionSpec> specs = {{"--channels", true}, {"--layout", true}, {"--state", true},
                                     {"--save-state", true}, {"--capture", true}, {"--after", true}};
    specs.insert(specs.end(), EDIT_STEP_OPTIONS.begin(), EDIT_STEP_OPTIONS.end());
    ParsedArgs args;
    if (!parseArgs(argc, argv, specs, &args, error)) return false;
    if (args.positional.size() > 1) return *error = "unexpected argument '" + args.positional[1] + "'", false;
    o->plugin = args.positional.empty() ? defaultPlugin : args.positional[0];
    if (optionGiven(args, "--channels") && !channelsFromOption(optionValue(args, "--channels"), &o->channels, error))
        return false;
    if (optionGiven(args, "--layout") && (o->layoutId = layoutFromOption(optionValue(args, "--layout"), error)) < 0)
        return false;
    o->state = optionValue(args, "--state");
    o->saveState = optionValue(args, "--save-state");
    o->capture = optionValue(args, "--capture");
    if ((o->afterGiven = optionGiven(args, "--after"))) {
        std::string value = optionValue(args, "--after");
        char* end = nullptr;
        long ms = std::strtol(value.c_str(), &end, 10);
        if (value.empty() || *end || ms < 0 || ms > EDIT_WAIT_MAX_MS)
            return *error = "--after: not a time from 0 to 600000 ms: '" + value + "'", false;
        o->afterMs = int(ms);
    }
    return parseEditSteps(args, &o->steps, error);
}

// Every file the command writes differs from every file it reads, and from the other output.
bool checkOutputs(const EditOptions& o, std::string* error) {
    std::vector<NamedInput> inputs = {{"the plugin", o.plugin}, {"--state", o.state}};
    for (const std::string* out : {&o.capture, &o.saveState}) {
        if (out->empty()) continue;
        if (!folderExists(*out)) return *error = *out + ": the folder does not exist", false;
        if (!outputDiffersFromInputs(*out, inputs, error)) return false;
    }
    if (!o.capture.empty() && !o.saveState.empty() &&
        !outputDiffersFromInputs(o.saveState, {{"--capture", o.capture}}, error))
        return false;
    return true;
}

// A user typing: the field's text selected, then one character after the other, each reaching
// the dialog as a change of the field.
void typeText(HWND field, const std::string& utf8) {
    SetFocus(field);
    SendMessageW(field, EM_SETSEL, 0, -1);
    SendMessageW(field, WM_CHAR, VK_BACK, 1);
    int n = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
    std::wstring text(size_t(n > 0 ? n : 1), L'\0');
    if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, &text[0], n);
    for (wchar_t c : text)
        if (c) SendMessageW(field, WM_CHAR, WPARAM(c), 1);
}

// One step on the open dialog. False with a one-line reason when it names no control.
bool playStep(EditorHost* h, HWND dialog, const EditStep& step, std::string* error) {
    if (step.kind == EDIT_STEP_WAIT) {
        editorHostRun(h, step.number);
        return true;
    }
    HWND target = step.control ? GetDlgItem(dialog, step.control) : dialog;
    if (!target) return *error = step.option + ": the editor has no control " + std::to_string(step.control), false;
    WPARAM notifyId = WPARAM(step.control);
    switch (step.kind) {
        case EDIT_STEP_SEND: SendMessageW(target, step.message, WPARAM(step.wParam), LPARAM(step.lParam)); break;
        case EDIT_STEP_TYPE: typeText(target, step.text); break;
        case EDIT_STEP_CLICK: SendMessageW(target, BM_CLICK, 0, 0); break;
        case EDIT_STEP_SELECT:
            // A list answers its own selection without telling the dialog; a user's choice does.
            SendMessageW(target, CB_SETCURSEL, WPARAM(step.number), 0);
            SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(notifyId, CBN_SELCHANGE), LPARAM(target));
            break;
        case EDIT_STEP_FADER: {
            SendMessageW(target, 0x405 /* set position */, 1, step.number);
            UINT scroll = (GetWindowLongW(target, GWL_STYLE) & 1) ? WM_VSCROLL : WM_HSCROLL;
            SendMessageW(dialog, scroll, MAKEWPARAM(SCROLL_THUMBTRACK, step.number), LPARAM(target));
            SendMessageW(dialog, scroll, MAKEWPARAM(SCROLL_END, 0), LPARAM(target));
            break;
        }
        case EDIT_STEP_WAIT: break;
    }
    editorHostRun(h, STEP_SETTLE_MS);
    return true;
}

}  // namespace

int commandEdit(int argc, char** argv, const char* defaultPlugin) {
    EditOptions o;
    std::string error;
    if (!parseEdit(argc, argv, defaultPlugin, &o, &error) || !checkOutputs(o, &error)) return fail(error);
    std::vector<unsigned char> chunk;
    if (!o.state.empty() && !readChunkFile(o.state, &chunk, &error)) return fail(error);

    PluginSession s{};
    if (!sessionOpen(&s, o.plugin.c_str(), o.channels, nullptr, 48000.0, &error)) return fail(error);
    if (!chunk.empty()) sessionLoadState(&s, chunk);
    if (o.layoutId >= 0 && !sessionApplyLayout(&s, o.layoutId, &error)) {
        sessionClose(&s);
        return fail(error);
    }
    if (chunk.empty() && sessionInputCount(&s) != o.channels) sessionWriteNamed(&s, "NUMCHANNELS", std::to_string(o.channels));

    bool interactive = o.capture.empty() && o.saveState.empty() && !o.afterGiven;
    EditorHost h{};
    if (!editorHostOpen(&h, s.effect, interactive, &error)) {
        sessionClose(&s);
        return fail(error);
    }
    HWND dialog = static_cast<HWND>(editorHostDialog(&h));
    int status = 0;
    editorHostRun(&h, STEP_SETTLE_MS);
    for (const EditStep& step : o.steps)
        if (!playStep(&h, dialog, step, &error)) {
            status = fail(error);
            break;
        }
    if (status == 0 && interactive) {
        // Until the user closes the window.
        MSG msg;
        while (IsWindow(static_cast<HWND>(h.window)) && GetMessageW(&msg, nullptr, 0, 0) > 0) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    } else if (status == 0) {
        editorHostRun(&h, o.afterMs);
        if (!o.capture.empty()) {
            std::vector<unsigned char> png = editorHostCapture(&h);
            if (png.empty()) status = fail("the window could not be read back");
            else if (!writeFileSafely(o.capture, png, &error)) status = fail(error);
            else std::printf("%s: %d inputs, %d speakers\n", o.capture.c_str(), sessionInputCount(&s), sessionSpeakerCount(&s));
        }
        if (status == 0 && !o.saveState.empty()) {
            std::vector<unsigned char> state = sessionSaveState(&s);
            if (state.empty()) status = fail("the plugin gave no state");
            else if (!writeFileSafely(o.saveState, state, &error)) status = fail(error);
            else std::printf("%s: state, %zu bytes\n", o.saveState.c_str(), state.size());
        }
    }
    editorHostClose(&h);
    sessionClose(&s);
    return status;
}
