#include "host/presets.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "host/args.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "hostservices/services.h"
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
    bool force = false;
};

std::string parseOptions(int argc, char** argv, PresetOptions* o) {
    ParsedArgs args;
    std::string problem;
    const std::vector<OptionSpec> specs = {{"--ini", true},     {"--layout", true},   {"--state", true},
                                           {"--plugin", true},  {"--channels", true}, {"--force", false}};
    if (!parseArgs(argc, argv, specs, &args, &problem)) return problem;
    for (const ParsedOption& option : args.options)
        if (option.value.empty() && option.name != "--force")
            return option.name == "--layout" ? "--layout: empty layout name (kelvane-host layouts lists them)"
                                             : "option " + option.name + " needs a value";
    o->positional = args.positional;
    o->ini = optionValue(args, "--ini");
    o->layout = optionValue(args, "--layout");
    o->state = optionValue(args, "--state");
    o->plugin = optionValue(args, "--plugin");
    o->force = optionGiven(args, "--force");
    if (optionGiven(args, "--channels") && !channelsFromOption(optionValue(args, "--channels"), &o->channels, &problem))
        return problem;
    return "";
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
        ini = userIniPath("kelvane-host");
        std::error_code ec;
        std::filesystem::create_directories(std::filesystem::path(ini).parent_path(), ec);
    }
    if (!folderExists(ini)) return "--ini " + ini + ": the folder does not exist";
    commandIni() = ini;
    hostApi.get_ini_file = commandIniFile;
    if (!*speakerPresetFolder()) return ini + ": no preset folder can be made beside it";
    return "";
}

// The longest file name the file systems in use take, in bytes.
constexpr size_t NAME_MAX_BYTES = 255;

// The file of a preset name; "" with the reason in *problem when the name cannot be one.
std::string pathOf(const std::string& name, std::string* problem) {
    if (name.empty()) *problem = "a preset name may not be empty";
    else if (name.find_first_of("/\\") != std::string::npos) *problem = "preset name '" + name + "': may not hold / or \\";
    else if (name[0] == '.') *problem = "preset name '" + name + "': a name starting with '.' is never listed";
    else if (name.size() + std::strlen(PRESET_EXTENSION) > NAME_MAX_BYTES)
        *problem = "preset name '" + name.substr(0, 20) + "...': name too long: " + std::to_string(name.size()) +
                   " bytes, at most " + std::to_string(NAME_MAX_BYTES - std::strlen(PRESET_EXTENSION));
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

// Save goes through a temporary of its own beside the preset, renamed over it only when
// complete, so that a good preset is never replaced by a broken one.
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
    if (exists(path) && !o.force)
        return fail("a preset named '" + name + "' exists already (" + path + "); --force replaces it");
    if (!outputDiffersFromInputs(path, {{"--state", o.state}}, &problem)) return fail(problem);
    SurroundPanner* p = instanceCreate();
    if (!p) return fail("out of memory");
    if (!chunk.empty()) loadState(p, chunk.data(), int32_t(chunk.size()));
    else applyLayout(p, layoutId);
    SafeOutput out;
    bool ok = safeOutputOpen(&out, path, false, &problem);
    // The core library writes the preset by name: onto this run's own temporary.
    int64_t written = ok ? savePresetFile(p, out.temp.c_str()) : -1;
    int speakers = speakerCount(p);
    instanceDestroy(p);
    std::error_code ec;
    if (ok && (written < 0 || int64_t(std::filesystem::file_size(out.temp, ec)) != written || ec)) {
        problem = path + ": cannot write";
        ok = false;
    }
    ok = ok && safeOutputCommit(&out, &problem);
    safeOutputClose(&out);
    if (!ok) return fail(problem);
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

int runRename(const std::string& from, const std::string& to, bool force) {
    std::string problem, oldPath = pathOf(from, &problem);
    if (oldPath.empty()) return fail(problem);
    std::string newPath = pathOf(to, &problem);
    if (newPath.empty()) return fail(problem);
    if (!exists(oldPath)) return fail("no preset named '" + from + "' (" + oldPath + ")");
    if (exists(newPath) && !force)
        return fail("a preset named '" + to + "' exists already (" + newPath + "); --force replaces it");
    std::error_code ec;
    auto writable = std::filesystem::perms::owner_write | std::filesystem::perms::group_write | std::filesystem::perms::others_write;
    if (exists(newPath) && (std::filesystem::status(newPath, ec).permissions() & writable) == std::filesystem::perms::none)
        return fail(newPath + ": the file is read-only; it is not replaced");
    // Onto an existing preset in one step: the renamed one stands in place of the one it replaces.
    if (exists(newPath)) std::filesystem::rename(oldPath, newPath, ec);
    else renamePreset(from.c_str(), to.c_str());
    if (ec || !exists(newPath)) return fail(oldPath + ": cannot rename");
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
    if (o.force && verb != "save" && verb != "rename") return fail("--force belongs to save and rename");
    problem = useIniFile(o);
    if (!problem.empty()) return fail(problem);
    if (verb == "list") return runList();
    if (verb == "save") return runSave(o.positional[0], o);
    if (verb == "load") return runLoad(o.positional[0], o, defaultPlugin);
    if (verb == "rename") return runRename(o.positional[0], o.positional[1], o.force);
    return runDelete(o.positional[0]);
}
