// kelvane-host edit: opens the plugin's editor in a window of the host, plays the steps given on
// it as a user would (typing, clicks, list choices, fader drags, raw messages), and then runs it
// until the window closes, or for --after milliseconds before it writes a picture and the state.
#include "host/edit.h"

#include <windows.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "editor/dialog_controls.h"
#include "host/args.h"
#include "host/edit_steps.h"
#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "hostservices/services.h"

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
    std::string ini;
    std::string tracks;
    std::string replies;
    std::string state;
    std::string saveState;
    std::string capture;
    int afterMs = 1000;
    bool afterGiven = false;
    std::vector<EditStep> steps;
};

bool parseEdit(int argc, char** argv, const char* defaultPlugin, EditOptions* o, std::string* error) {
    std::vector<OptionSpec> specs = {{"--channels", true},   {"--layout", true},  {"--state", true},
                                     {"--save-state", true}, {"--capture", true}, {"--after", true},
                                     {"--ini", true},        {"--tracks", true},  {"--replies", true}};
    specs.insert(specs.end(), EDIT_STEP_OPTIONS.begin(), EDIT_STEP_OPTIONS.end());
    ParsedArgs args;
    if (!parseArgs(argc, argv, specs, &args, error)) return false;
    if (args.positional.size() > 1) return *error = "unexpected argument '" + args.positional[1] + "'", false;
    o->plugin = args.positional.empty() ? defaultPlugin : args.positional[0];
    if (optionGiven(args, "--channels") && !channelsFromOption(optionValue(args, "--channels"), &o->channels, error))
        return false;
    if (optionGiven(args, "--layout") && (o->layoutId = layoutFromOption(optionValue(args, "--layout"), error)) < 0)
        return false;
    o->ini = optionValue(args, "--ini");
    o->tracks = optionValue(args, "--tracks");
    o->replies = optionValue(args, "--replies");
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
    std::vector<NamedInput> inputs = {{"the plugin", o.plugin}, {"--state", o.state}, {"--tracks", o.tracks},
                                      {"--replies", o.replies}, {"--ini", o.ini}};
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

// A user typing: the field's text selected and cleared, then one character after the other
// through the message loop, each reaching the dialog as a change of the field.
void typeText(HWND field, const std::string& utf8) {
    SetFocus(field);
    SendMessageW(field, EM_SETSEL, 0, -1);
    SendMessageW(field, WM_CHAR, VK_BACK, 1);
    editorHostPostText(field, utf8);
}

// The first channel a strip list shows: its paging list picks every fourth from the first.
int firstStrip(HWND dialog, bool speaker) {
    HWND paging = GetDlgItem(dialog, speaker ? IDC_SPEAKER_PAGE_LIST : IDC_INPUT_PAGE_LIST);
    LRESULT page = paging && IsWindowVisible(paging) ? SendMessageW(paging, CB_GETCURSEL, 0, 0) : 0;
    return page > 0 ? int(page) * 4 : 0;
}

RECT childRect(HWND dialog, int id) {
    RECT r{};
    GetWindowRect(GetDlgItem(dialog, id), &r);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&r), 2);
    return r;
}

// A user renaming a channel in place: a double click on its name in the strips, the new name
// typed over the old one, Return. The name column lies between the row's last button or meter
// and its fader.
bool renameStrip(EditorHost* h, HWND dialog, const EditStep& step, std::string* error) {
    int row = step.number - firstStrip(dialog, step.speaker);
    int fader = step.speaker ? STRIP_SPEAKER_FADER : STRIP_INPUT_FADER;
    int before = step.speaker ? STRIP_SPEAKER_METER : STRIP_INPUT_REVERSE_Z;
    if (row < 0 || row >= STRIP_ROWS || !IsWindowVisible(GetDlgItem(dialog, stripControlId(fader, row))))
        return *error = step.option + ": the strips show no such channel now", false;
    RECT left = childRect(dialog, stripControlId(before, row)), right = childRect(dialog, stripControlId(fader, row));
    LPARAM at = MAKELPARAM((left.right + right.left) / 2, (right.top + right.bottom) / 2);
    for (UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP, WM_LBUTTONDBLCLK, WM_LBUTTONUP})
        SendMessageW(dialog, message, message == WM_LBUTTONUP ? 0 : MK_LBUTTON, at);
    editorHostRun(h, 50);
    HWND field = static_cast<HWND>(editorHostKeyField(dialog));
    if (!field) return *error = step.option + ": the double click opened no name field", false;
    editorHostPostText(field, step.text);
    editorHostPostKey(field, VK_RETURN);
    editorHostRun(h, STEP_SETTLE_MS);
    if (editorHostKeyField(dialog)) return *error = step.option + ": Return left the name field open", false;
    return true;
}

// One step on the open dialog. False with a one-line reason when it names no control.
bool playStep(EditorHost* h, HWND dialog, const EditStep& step, std::string* error) {
    if (step.kind == EDIT_STEP_WAIT) {
        editorHostRun(h, step.number);
        return true;
    }
    if (step.kind == EDIT_STEP_PICK) {
        editorHostPickMenu(step.path);
        return true;
    }
    if (step.kind == EDIT_STEP_RENAME) return renameStrip(h, dialog, step, error);
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
        case EDIT_STEP_WAIT:
        case EDIT_STEP_PICK:
        case EDIT_STEP_RENAME: break;
    }
    editorHostRun(h, STEP_SETTLE_MS);
    return true;
}

// A pick armed by an earlier step has had its menu once the next step is played.
bool pickSettled(const EditStep* pickStep, std::string* error) {
    if (!pickStep) return true;
    int state = editorHostPickState();
    if (state == EDITOR_PICK_WAITING) {
        editorHostPickCancel();
        return *error = pickStep->option + ": no popup menu opened", false;
    }
    if (state == EDITOR_PICK_FAILED) return *error = pickStep->option + ": the menu has no item there to choose", false;
    return true;
}

// The host's ini file: the one given, else the user's, as kelvane-host preset takes it, so that
// presets saved in the editor are the command's.
bool editIniFile(const EditOptions& o, std::string* ini, std::string* error) {
    *ini = o.ini;
    if (ini->empty()) {
        *ini = userIniPath("kelvane-host");
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(*ini).parent_path(), ec);
    }
    if (!folderExists(*ini)) return *error = "--ini " + *ini + ": the folder does not exist", false;
    return true;
}

}  // namespace

int commandEdit(int argc, char** argv, const char* defaultPlugin) {
    EditOptions o;
    std::string error;
    if (!parseEdit(argc, argv, defaultPlugin, &o, &error) || !checkOutputs(o, &error)) return fail(error);
    std::vector<unsigned char> chunk;
    if (!o.state.empty() && !readChunkFile(o.state, &chunk, &error)) return fail(error);

    std::string ini;
    if (!editIniFile(o, &ini, &error)) return fail(error);

    PluginSession s{};
    if (!sessionOpen(&s, o.plugin.c_str(), o.channels, ini.c_str(), 48000.0, &error)) return fail(error);
    // The project and the answers to the name prompt; a run that is not interactive never waits
    // for a user, so without answers every prompt is cancelled.
    bool interactive = o.capture.empty() && o.saveState.empty() && !o.afterGiven;
    s.host->renameScripted = !interactive;
    if ((!o.tracks.empty() && !refHostLoadTracks(s.host, o.tracks.c_str(), &error)) ||
        (!o.replies.empty() && !refHostLoadReplies(s.host, o.replies.c_str(), &error))) {
        sessionClose(&s);
        return fail(error);
    }
    if (!chunk.empty()) sessionLoadState(&s, chunk);
    if (o.layoutId >= 0 && !sessionApplyLayout(&s, o.layoutId, &error)) {
        sessionClose(&s);
        return fail(error);
    }
    if (chunk.empty() && sessionInputCount(&s) != o.channels) sessionWriteNamed(&s, "NUMCHANNELS", std::to_string(o.channels));

    EditorHost h{};
    if (!editorHostOpen(&h, s.effect, interactive, &error)) {
        sessionClose(&s);
        return fail(error);
    }
    HWND dialog = static_cast<HWND>(editorHostDialog(&h));
    int status = 0;
    editorHostRun(&h, STEP_SETTLE_MS);
    const EditStep* armedPick = nullptr;
    for (const EditStep& step : o.steps) {
        if (!playStep(&h, dialog, step, &error) || (step.kind != EDIT_STEP_PICK && !pickSettled(armedPick, &error))) {
            status = fail(error);
            break;
        }
        if (step.kind == EDIT_STEP_PICK) armedPick = &step;
        else armedPick = nullptr;
    }
    if (status == 0 && armedPick && !pickSettled(armedPick, &error)) status = fail(error);
    if (status == 0 && interactive) {
        // Until the user closes the window.
        MSG msg;
        while (IsWindow(static_cast<HWND>(h.window)) && GetMessageW(&msg, nullptr, 0, 0) > 0) editorHostDispatch(&msg);
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
