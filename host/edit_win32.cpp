// kelvane-host edit: opens the plugin's editor in a window of the host and runs it until the
// window closes, or for --after milliseconds and then writes a picture of it.
#include "host/edit.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/editor_host.h"
#include "host/safe_output.h"
#include "host/session.h"

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host: edit: %s\n", message.c_str());
    return 2;
}

struct EditOptions {
    std::string plugin;
    int channels = 2;
    std::string layout;
    std::string capture;
    int afterMs = 1000;
};

bool parseEdit(int argc, char** argv, EditOptions* o, std::string* error) {
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        if (arg == "--channels" || arg == "--layout" || arg == "--capture" || arg == "--after") {
            if (i + 1 >= argc) return *error = "option " + arg + " needs a value", false;
            std::string value = argv[++i];
            if (arg == "--channels" && !channelsFromOption(value, &o->channels, error)) return false;
            if (arg == "--layout") o->layout = value;
            if (arg == "--capture") o->capture = value;
            if (arg == "--after") {
                char* end = nullptr;
                long ms = std::strtol(value.c_str(), &end, 10);
                if (value.empty() || *end || ms < 0 || ms > 600000)
                    return *error = "--after: not a time from 0 to 600000 ms: '" + value + "'", false;
                o->afterMs = int(ms);
            }
        } else if (arg.size() > 1 && arg[0] == '-') {
            return *error = "unknown option '" + arg + "'", false;
        } else if (o->plugin.empty()) {
            o->plugin = arg;
        } else {
            return *error = "unexpected argument '" + arg + "'", false;
        }
    }
    return true;
}

}  // namespace

int commandEdit(int argc, char** argv, const char* defaultPlugin) {
    EditOptions o;
    std::string error;
    if (!parseEdit(argc, argv, &o, &error)) return fail(error);
    if (o.plugin.empty()) o.plugin = defaultPlugin;
    int layoutId = -1;
    if (!o.layout.empty() && (layoutId = layoutFromOption(o.layout, &error)) < 0) return fail(error);
    if (!o.capture.empty() && !folderExists(o.capture)) return fail(o.capture + ": the folder does not exist");

    PluginSession s{};
    if (!sessionOpen(&s, o.plugin.c_str(), o.channels, nullptr, 48000.0, &error)) return fail(error);
    if (layoutId >= 0 && !sessionApplyLayout(&s, layoutId, &error)) {
        sessionClose(&s);
        return fail(error);
    }
    if (sessionInputCount(&s) != o.channels) sessionWriteNamed(&s, "NUMCHANNELS", std::to_string(o.channels));

    EditorHost h{};
    if (!editorHostOpen(&h, s.effect, o.capture.empty(), &error)) {
        sessionClose(&s);
        return fail(error);
    }
    int status = 0;
    if (o.capture.empty()) {
        // Until the user closes the window.
        MSG msg;
        while (IsWindow(static_cast<HWND>(h.window)) && GetMessageW(&msg, nullptr, 0, 0) > 0) {
            TranslateMessage(&msg);
            DispatchMessageW(&msg);
        }
    } else {
        editorHostRun(&h, o.afterMs);
        std::vector<unsigned char> png = editorHostCapture(&h);
        if (png.empty()) status = fail("the window could not be read back");
        else if (!writeFileSafely(o.capture, png, &error)) status = fail(error);
        else std::printf("%s: %d inputs, %d speakers\n", o.capture.c_str(), sessionInputCount(&s), sessionSpeakerCount(&s));
    }
    editorHostClose(&h);
    sessionClose(&s);
    return status;
}
