#include "host/presets.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "host/session.h"
#include "layouts/layouts.h"
#include "layouts/presets.h"
#include "shell/state_chunk.h"

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host preset: %s\n", message.c_str());
    return 2;
}

struct PresetOptions {
    std::vector<std::string> positional;
    std::string ini, layout, state, plugin;
    int channels = 2;
};

std::string parseOptions(int argc, char** argv, PresetOptions* o) {
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        if (arg == "--ini" || arg == "--layout" || arg == "--state" || arg == "--plugin" || arg == "--channels") {
            if (i + 1 >= argc) return "option " + arg + " needs a value";
            std::string v = argv[++i];
            if (v.empty()) return "option " + arg + " needs a value";
            if (arg == "--ini") o->ini = v;
            else if (arg == "--layout") o->layout = v;
            else if (arg == "--state") o->state = v;
            else if (arg == "--plugin") o->plugin = v;
            else if (std::string problem; !channelsFromOption(v, &o->channels, &problem)) return problem;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return "unknown option '" + arg + "'";
        } else {
            o->positional.push_back(arg);
        }
    }
    return "";
}

// The ini file a host of this machine would have: in the user's configuration folder.
std::string defaultIniPath() {
#if defined(_WIN32)
    const char* base = std::getenv("APPDATA");
    return std::string(base && *base ? base : ".") + "\\kelvane-host\\kelvane-host.ini";
#else
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    std::string base = config && *config ? config : std::string(home && *home ? home : ".") + "/.config";
    return base + "/kelvane-host/kelvane-host.ini";
#endif
}

// What the core library's preset code asks the host for: the ini file of this command.
std::string& commandIni() {
    static std::string path;
    return path;
}
const char* commandIniFile() { return commandIni().c_str(); }

// Points the core library at the ini file; the preset folder beside it is made on first use.
std::string useIniFile(const PresetOptions& o) {
    std::string ini = o.ini;
    if (ini.empty()) {
        ini = defaultIniPath();
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(ini).parent_path(), ec);
    }
    if (!folderExists(ini)) return "--ini " + ini + ": the folder does not exist";
    commandIni() = ini;
    hostApi.get_ini_file = commandIniFile;
    if (!*speakerPresetFolder()) return ini + ": no preset folder can be made beside it";
    return "";
}

// The file of a preset name; "" with the reason in *problem when the name cannot be one.
std::string pathOf(const std::string& name, std::string* problem) {
    if (name.empty()) *problem = "a preset name may not be empty";
    else if (name.find_first_of("/\\") != std::string::npos) *problem = "preset name '" + name + "': may not hold / or \\";
    else if (name[0] == '.') *problem = "preset name '" + name + "': a name starting with '.' is never listed";
    if (!problem->empty()) return "";
    char path[PRESET_PATH_MAX];
    if (!presetPath(name.c_str(), path, sizeof path)) *problem = "preset name '" + name + "': the path is too long";
    return path;
}

bool exists(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

int runList() {
    GrowBuffer names;
    growBufferInit(&names);
    listSpeakerPresets(&names);
    for (size_t at = 0; at < names.used;) {
        const char* name = static_cast<const char*>(names.data) + at;
        std::printf("%s\n", name);
        at += std::string(name).size() + 1;
    }
    growBufferFree(&names);
    return 0;
}

// Save goes through a temporary beside the preset, renamed over it only when complete, so that
// a good preset is never replaced by a broken one.
int runSave(const std::string& name, const PresetOptions& o) {
    if (o.layout.empty() == o.state.empty()) return fail("save needs one of --layout NAME and --state FILE");
    std::string problem, path = pathOf(name, &problem);
    if (path.empty()) return fail(problem);
    std::vector<unsigned char> chunk;
    int layoutId = -1;
    if (!o.state.empty() && !readChunkFile(o.state, &chunk, &problem)) return fail(problem);
    if (!o.state.empty() && stateChunkShape(chunk.data(), int32_t(chunk.size())).speakers < 1)
        return fail(o.state + ": the state holds no speakers");
    if (!o.layout.empty() && (layoutId = layoutFromOption(o.layout, &problem)) < 0) return fail(problem);
    SurroundPanner* p = instanceCreate();
    if (!p) return fail("out of memory");
    if (!chunk.empty()) loadState(p, chunk.data(), int32_t(chunk.size()));
    else applyLayout(p, layoutId);
    std::string temp = path + ".partial";
    int64_t written = savePresetFile(p, temp.c_str());
    int speakers = speakerCount(p);
    instanceDestroy(p);
    std::error_code ec;
    bool whole = written >= 0 && int64_t(std::filesystem::file_size(temp, ec)) == written && !ec;
    if (whole) std::filesystem::rename(temp, path, ec);
    if (!whole || ec) {
        if (written >= 0) std::filesystem::remove(temp, ec);  // only what this command made
        return fail(path + ": cannot write");
    }
    std::printf("saved %d speaker%s to %s\n", speakers, speakers == 1 ? "" : "s", path.c_str());
    return 0;
}

// The preset goes into a fresh instance of the plugin binary; what is printed is read back
// from the plugin's own state chunk.
int runLoad(const std::string& name, const PresetOptions& o, const char* defaultPlugin) {
    std::string problem, path = pathOf(name, &problem);
    if (path.empty()) return fail(problem);
    if (!exists(path)) return fail("no preset named '" + name + "' (" + path + ")");
    std::string plugin = o.plugin.empty() ? defaultPlugin : o.plugin;
    PluginSession s{};
    if (!sessionOpen(&s, plugin.c_str(), o.channels, commandIni().c_str(), 48000.0, &problem) ||
        !sessionApplyPreset(&s, path, &problem)) {
        sessionClose(&s);
        return fail(problem);
    }
    std::vector<unsigned char> chunk = sessionSaveState(&s);
    sessionClose(&s);
    if (chunk.empty()) return fail(plugin + ": the plugin gives no state to read the speakers from");
    StateChunk state;
    stateChunkInit(&state);
    readStateChunk(chunk.data(), int32_t(chunk.size()), &state.head, &state.inputs, &state.speakers);
    int speakers = state.speakers.size();
    std::printf("loaded %d speaker%s from %s into %s\n", speakers, speakers == 1 ? "" : "s", path.c_str(),
                plugin.c_str());
    for (int i = 0; i < speakers; i++) {
        const PanSpeaker& r = state.speakers[i];
        std::printf("%3d  x %9.6f  y %9.6f  z %8.6f  gain %.6f  influence %.6f  %-6s  %s\n", i + 1, r.posX, r.posY,
                    r.posZ, r.gain, r.influence, r.lfe ? "LFE" : r.vacant ? "vacant" : "-", r.name);
    }
    stateChunkFree(&state);
    return 0;
}

int runRename(const std::string& from, const std::string& to) {
    std::string problem, oldPath = pathOf(from, &problem);
    if (oldPath.empty()) return fail(problem);
    std::string newPath = pathOf(to, &problem);
    if (newPath.empty()) return fail(problem);
    if (!exists(oldPath)) return fail("no preset named '" + from + "' (" + oldPath + ")");
    if (exists(newPath)) return fail("a preset named '" + to + "' exists already (" + newPath + ")");
    renamePreset(from.c_str(), to.c_str());
    if (!exists(newPath)) return fail(oldPath + ": cannot rename");
    std::printf("renamed '%s' to '%s'\n", from.c_str(), to.c_str());
    return 0;
}

int runDelete(const std::string& name) {
    std::string problem, path = pathOf(name, &problem);
    if (path.empty()) return fail(problem);
    if (!exists(path)) return fail("no preset named '" + name + "' (" + path + ")");
    deletePreset(name.c_str());
    if (exists(path)) return fail(path + ": cannot delete");
    std::printf("deleted '%s'\n", name.c_str());
    return 0;
}

}  // namespace

int commandPreset(int argc, char** argv, const char* defaultPlugin) {
    if (argc < 1) return fail("expected list, save, load, rename or delete");
    std::string verb = argv[0];
    PresetOptions o;
    std::string problem = parseOptions(argc - 1, argv + 1, &o);
    if (!problem.empty()) return fail(problem);
    struct Verb {
        const char* name;
        size_t names;
    };
    const Verb verbs[] = {{"list", 0}, {"save", 1}, {"load", 1}, {"rename", 2}, {"delete", 1}};
    const Verb* known = nullptr;
    for (const Verb& v : verbs)
        if (verb == v.name) known = &v;
    if (!known) return fail("unknown verb '" + verb + "' (list, save, load, rename or delete)");
    if (o.positional.size() != known->names)
        return fail(verb + (known->names ? " expects " + std::to_string(known->names) + " preset name" : " takes no preset name") +
                    (known->names > 1 ? "s" : ""));
    if ((!o.layout.empty() || !o.state.empty()) && verb != "save") return fail("--layout and --state belong to save");
    if ((!o.plugin.empty() || o.channels != 2) && verb != "load") return fail("--plugin and --channels belong to load");
    problem = useIniFile(o);
    if (!problem.empty()) return fail(problem);
    if (verb == "list") return runList();
    if (verb == "save") return runSave(o.positional[0], o);
    if (verb == "load") return runLoad(o.positional[0], o, defaultPlugin);
    if (verb == "rename") return runRename(o.positional[0], o.positional[1]);
    return runDelete(o.positional[0]);
}
