// kelvane-host: the reference host as a command-line tool. Loads the plugin binary exactly as a
// DAW does and reports on it. Bad arguments get one line on standard error and exit code 2.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/host.h"
#include "host/inspect.h"
#include "host/loader.h"
#include "host/presets.h"
#include "host/view.h"
#include "host/render.h"
#include "host/session.h"
#include "host/test_scene.h"
#include "host/validate.h"

namespace {

const char* const USAGE =
    "usage: kelvane-host COMMAND ...\n"
    "  info PLUGIN [--channels N] [--ini FILE]\n"
    "      load PLUGIN through VSTPluginMain and print what its AEffect says\n"
    "      --channels N  the channel count the host reports (default 2)\n"
    "      --ini FILE    the host's ini file handed to the plugin\n"
    "  params PLUGIN [--channels N] [--state FILE]\n"
    "      every parameter: index, name, display text, unit, value\n"
    "  state show FILE\n"
    "      the contents of a state chunk file\n"
    "  state get PLUGIN OUT [--channels N] [--state FILE]\n"
    "      the state chunk of an instance, written to OUT\n"
    "  validate PLUGIN [--strictness 1..10] [--seed N] [--only NAME]\n"
    "      a battery of host-side tests; one PASS or FAIL line each and a closing count\n"
    "  render INPUT OUTPUT [options]\n"
    "      pan every channel of INPUT through the plugin into OUTPUT, a WAV file with one\n"
    "      channel per speaker\n"
    "      --plugin PATH       the plugin binary (default: the one beside this program)\n"
    "      --block N           block length in samples (default 512)\n"
    "      --format F          float (default), 16 or 24\n"
    "      --layout NAME       the speakers of a built-in layout (a unique start of its name will do)\n"
    "      --preset FILE       the speakers of a speaker preset file\n"
    "      --state FILE        a state chunk to load first\n"
    "      --save-state FILE   the state chunk after the render\n"
    "      --set NAME=TEXT     a parameter by name, from its display text (repeatable)\n"
    "      --automation FILE   lines 'seconds parameter text', applied at the block holding the time\n"
    "      --tail SECONDS      silence fed after the input so delays come out\n"
    "  render-test-scene OUT.png [--scale S]\n"
    "      render the renderer's test scene with a label in the label font, through the host's\n"
    "      own bitmaps and fonts, into a PNG file\n"
    "      --scale S           the bitmap's scale, 0 (none, default) to 1024; 256 = 100 %\n"
    "  view OUT.png [options]\n"
    "      draw the room view of an instance of the plugin into a PNG file\n"
    "      --plugin PATH       the plugin binary (default: the one beside this program)\n"
    "      --layout NAME | --preset FILE | --state FILE   the speakers, or a whole state\n"
    "      --channels N        the channel count the host reports\n"
    "      --mode M            top (default), sides, orbit, or small (the host's small view)\n"
    "      --size WxH          the view's size in pixels (default 520x520)\n"
    "      --scale S           256 (default) or 512: the window's scale, or the small bitmap's\n"
    "      --yaw DEG --pitch DEG   the orbit camera\n"
    "      --select LIST       inputs to select, numbers from 1: 1,3\n"
    "      --drag X0,Y0:X1,Y1[:KEYS]   a pointer drag played on the view first (repeatable); KEYS\n"
    "                          any of shift, ctrl, alt (window modes), right, double, joined by ':'\n"
    "      --print-state       print every input's and speaker's position and the selection\n"
    "  preset list [--ini FILE]\n"
    "  preset save NAME (--layout NAME | --state FILE) [--ini FILE]\n"
    "  preset load NAME [--plugin PATH] [--channels N] [--ini FILE]\n"
    "  preset rename OLD NEW [--ini FILE]\n"
    "  preset delete NAME [--ini FILE]\n"
    "      speaker presets in the folder SpeakerSetups beside the host's ini file (default:\n"
    "      kelvane-host/kelvane-host.ini in the user's configuration folder); load puts one into\n"
    "      a fresh instance of the plugin and prints the speakers it then has\n";

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host: %s\n", message.c_str());
    return 2;
}

bool parseCount(const char* text, long* out) {
    char* end = nullptr;
    long value = std::strtol(text, &end, 10);
    if (!*text || *end) return false;
    *out = value;
    return true;
}

std::string fourCC(int32_t value) {
    std::string s;
    for (int shift = 24; shift >= 0; shift -= 8) {
        char c = char((value >> shift) & 0xFF);
        s += (c >= 32 && c < 127) ? c : '?';
    }
    return s;
}

// The plugin binary built beside this program.
std::string defaultPluginPath(const char* program) {
    std::string dir = program;
    size_t cut = dir.find_last_of("/\\");
    dir = cut == std::string::npos ? "." : dir.substr(0, cut);
#if defined(_WIN32)
    return dir + "/kelvanepan.dll";
#else
    return dir + "/kelvanepan.so";
#endif
}

int commandInfo(int argc, char** argv) {
    const char* pluginPath = nullptr;
    long channels = 2;
    std::string ini;
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        if (arg == "--channels" || arg == "--ini") {
            if (i + 1 >= argc) return fail("option " + arg + " needs a value");
            const char* value = argv[++i];
            if (arg == "--ini") ini = value;
            else if (!parseCount(value, &channels)) return fail("--channels: not a whole number: '" + std::string(value) + "'");
        } else if (arg.size() > 1 && arg[0] == '-') {
            return fail("unknown option '" + arg + "'");
        } else if (!pluginPath) {
            pluginPath = argv[i];
        } else {
            return fail("unexpected argument '" + arg + "'");
        }
    }
    if (!pluginPath) return fail("info needs the path of a plugin library");

    PluginLibrary library;
    if (!pluginLibraryOpen(&library, pluginPath)) return fail(library.error);
    RefHost* host = refHostCreate();
    host->channelCount = channels;
    host->iniPath = ini;
    AEffect* effect = library.main(refHostCallback(host));
    if (!effect) {
        refHostDestroy(host);
        pluginLibraryClose(&library);
        return fail(std::string(pluginPath) + ": VSTPluginMain returned no effect");
    }
    effect->dispatcher(effect, effOpen, 0, 0, nullptr, 0.0f);
    char name[64] = {0}, vendor[64] = {0}, product[64] = {0};
    effect->dispatcher(effect, effGetEffectName, 0, 0, name, 0.0f);
    effect->dispatcher(effect, effGetVendorString, 0, 0, vendor, 0.0f);
    effect->dispatcher(effect, effGetProductString, 0, 0, product, 0.0f);
    std::printf("plugin      %s\n", pluginPath);
    std::printf("name        %s\n", name);
    std::printf("vendor      %s\n", vendor);
    std::printf("product     %s\n", product);
    std::printf("magic       0x%08X '%s'\n", unsigned(effect->magic), fourCC(effect->magic).c_str());
    std::printf("unique ID   0x%08X '%s'\n", unsigned(effect->uniqueID), fourCC(effect->uniqueID).c_str());
    std::printf("version     %d\n", effect->version);
    std::printf("flags       0x%X\n", unsigned(effect->flags));
    std::printf("inputs      %d\n", effect->numInputs);
    std::printf("outputs     %d\n", effect->numOutputs);
    std::printf("parameters  %d\n", effect->numParams);
    effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.0f);
    refHostDestroy(host);
    pluginLibraryClose(&library);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        std::fputs(USAGE, argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    std::string command = argv[1];
    if (command == "info") return commandInfo(argc - 2, argv + 2);
    if (command == "validate") return commandValidate(argc - 2, argv + 2);
    if (command == "params") return commandParams(argc - 2, argv + 2);
    if (command == "state") return commandState(argc - 2, argv + 2);
    if (command == "render-test-scene") return commandRenderTestScene(argc - 2, argv + 2);
    if (command == "render") return commandRender(argc - 2, argv + 2, defaultPluginPath(argv[0]).c_str());
    if (command == "view") return commandView(argc - 2, argv + 2, defaultPluginPath(argv[0]).c_str());
    if (command == "preset") return commandPreset(argc - 2, argv + 2, defaultPluginPath(argv[0]).c_str());
    return fail("unknown command '" + command + "' (try --help)");
}
