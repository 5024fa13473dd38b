// The plugin binary with its editor open in a host window, as the dialog's window tests use it:
// the session, the host window and the dialog, opened and closed in one way. Windows builds only.
#pragma once

#if defined(_WIN32)
#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "host/editor_host.h"
#include "host/session.h"
#include "tests/host/plugin_paths.h"

struct SurroundPanner;

struct OpenEditor {
    PluginSession s{};
    EditorHost h{};
    HWND dialog = nullptr;
    SurroundPanner* panner() const { return static_cast<SurroundPanner*>(s.effect->object); }
};

// The plugin with that many inputs, a built-in layout (null keeps the plugin's own) and the
// host's ini file (null: none). False after reporting the failure.
inline bool openSession(OpenEditor* o, int inputs, const char* layout, const char* ini = nullptr) {
    std::string error;
    if (!sessionOpen(&o->s, pluginPath().c_str(), inputs, ini, 48000.0, &error)) {
        ADD_FAILURE() << error;
        return false;
    }
    if (layout) {
        int id = layoutFromOption(layout, &error);
        EXPECT_TRUE(id >= 0 && sessionApplyLayout(&o->s, id, &error)) << error;
    }
    if (sessionInputCount(&o->s) != inputs) sessionWriteNamed(&o->s, "NUMCHANNELS", std::to_string(inputs));
    return true;
}

// The editor in a host window (framed as for a user, or a plain popup for pictures), run until its
// first tick. False when no window can be made, which only a missing display may explain.
inline bool openEditor(OpenEditor* o, bool framed = false) {
    std::string error;
    if (!editorHostOpen(&o->h, o->s.effect, framed, &error)) {
        EXPECT_NE(error.find("display"), std::string::npos) << error;
        return false;
    }
    o->dialog = static_cast<HWND>(editorHostDialog(&o->h));
    editorHostRun(&o->h, 150);
    EXPECT_NE(o->dialog, nullptr);
    return o->dialog != nullptr;
}

// Both; and the closing, safe on what did not open.
inline bool openWithEditor(OpenEditor* o, int inputs, const char* layout, bool framed = false) {
    return openSession(o, inputs, layout) && openEditor(o, framed);
}
inline void closeEditor(OpenEditor* o) {
    editorHostClose(&o->h);
    sessionClose(&o->s);
}
#endif
