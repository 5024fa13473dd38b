// Opening a plugin library the way a DAW does (dlopen, LoadLibrary) and finding VSTPluginMain.
// Used by the reference host's tools and by the tests that drive the built plugin binary.
#pragma once

#include "vst/aeffect.h"

using PluginMainProc = AEffect*(VST_CALL*)(audioMasterCallback host);

struct PluginLibrary {
    void* handle;
    PluginMainProc main;
    char error[512];
};

// [any thread] Opens the library at path (UTF-8; a bare file name is looked for in the current
// folder) and looks up VSTPluginMain. Returns false with a one-line reason in error when either
// fails; the record is then closed.
bool pluginLibraryOpen(PluginLibrary* library, const char* path);
// [any thread] Closes the library; a closed record does nothing.
void pluginLibraryClose(PluginLibrary* library);
