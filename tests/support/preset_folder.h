// The speaker preset folder is fixed for a process at its first use, from the ini path the host
// names then. Tests that reach presets by name share one: made beside a scratch ini file at the
// first call from a PannerFixture test, and removed when the process ends. Each test leaves it
// as empty as it found it.
#pragma once

#include <string>

#include "layouts/presets.h"
#include "support/panner_fixture.h"
#include "support/temp_dir.h"

struct ProcessPresets {
    std::string ini;     // the ini path the folder was built from
    std::string folder;  // speakerPresetFolder()
};

// [test thread] The process's preset folder; the first call fixes it.
inline const ProcessPresets& processPresets() {
    static TempDir dir;
    static const ProcessPresets made = [] {
        ProcessPresets p{dir.file("host.ini"), ""};
        PannerFixture::iniPath = p.ini;
        p.folder = speakerPresetFolder();
        return p;
    }();
    return made;
}
