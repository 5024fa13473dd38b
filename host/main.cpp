// kelvane-host: the reference host as a command-line tool. Loads the plugin binary exactly as a
// DAW does and reports on it. Bad arguments get one line on standard error and exit code 2.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "engine/instance.h"
#include "engine/records.h"
#include "host/args.h"
#include "host/edit.h"
#include "host/host.h"
#include "host/inspect.h"
#include "host/loader.h"
#include "host/presets.h"
#include "host/render.h"
#include "host/session.h"
#include "host/test_scene.h"
#include "host/validate.h"
#include "host/view.h"
#include "layouts/layouts.h"

namespace {

// One entry per command: its name, as `kelvane-host NAME --help` shows it, and its text.
struct CommandHelp {
    const char* name;
    const char* text;
};
const CommandHelp COMMAND_HELP[] = {
    {"info",
     "  info PLUGIN [--channels N] [--ini FILE]\n"
     "      load PLUGIN through VSTPluginMain and print what its AEffect says\n"
     "      --channels N        the channel count the host reports, 1 to 128 (default 2)\n"
     "      --ini FILE          the host's ini file handed to the plugin (default: none)\n"},
    {"params",
     "  params PLUGIN [--channels N] [--state FILE]\n"
     "      every parameter: index, name, display text, unit, value\n"
     "      --channels N        as for info (default 2)\n"
     "      --state FILE        a state chunk to load first (default: none)\n"},
    {"state",
     "  state show FILE\n"
     "      the contents of a state chunk file\n"
     "  state get PLUGIN OUT [--channels N] [--state FILE]\n"
     "      the state chunk of an instance, written to OUT ('-' for standard output)\n"
     "      --channels N        as for info (default 2)\n"},
    {"validate",
     "  validate PLUGIN [--strictness 1..10] [--seed N] [--only NAME]\n"
     "  validate --list\n"
     "      a battery of host-side tests; one PASS, FAIL or SKIP line each and a closing count\n"
     "      --strictness N      run the tests that start at N or below (default 5)\n"
     "      --seed N            the seed of the random inputs (default 1)\n"
     "      --only NAME         one test, whatever its strictness\n"
     "      --list              the tests, the strictness each starts at, and their kind\n"},
    {"render",
     "  render INPUT OUTPUT [options]\n"
     "      pan every channel of INPUT through the plugin into OUTPUT ('-' for standard output),\n"
     "      a WAV file with one channel per speaker (per output for other plugins)\n"
     "      --plugin PATH       the plugin binary (default: the one beside this program)\n"
     "      --block N           block length in samples, 1 to 65536 (default 512)\n"
     "      --format F          float, 16 or 24 (default float; 16 and 24 clip at full scale)\n"
     "      --layout NAME       the speakers of a built-in layout (a unique start of its name will do;\n"
     "                          default: the layout of the file's channel mask, else the plugin's own)\n"
     "      --preset FILE       the speakers of a speaker preset file\n"
     "      --state FILE        a state chunk to load first (default: none)\n"
     "      --save-state FILE   the state chunk after the render (default: none)\n"
     "      --set NAME=TEXT     a parameter by name, from its display text (repeatable)\n"
     "      --automation FILE   lines 'seconds parameter text', applied at the block holding the time\n"
     "      --tail SECONDS      silence fed after the input so delays come out, 0 to 3600 (default 0)\n"
     "      --outputs N         write only the first N of the plugin's outputs (default: all)\n"},
    {"render-test-scene",
     "  render-test-scene OUT.png [--scale S]\n"
     "      render the renderer's test scene with a label in the label font, through the host's\n"
     "      own bitmaps and fonts, into a PNG file\n"
     "      --scale S           the bitmap's scale, 0 (none) to 1024; 256 = 100 % (default 0)\n"},
    {"layouts",
     "  layouts\n"
     "      every built-in layout with its speakers, in order\n"},
    {"view",
     "  view OUT.png [options]\n"
     "      draw the room view of an instance of the plugin into a PNG file\n"
     "      --plugin PATH       the plugin binary (default: the one beside this program)\n"
     "      --layout NAME | --preset FILE | --state FILE   the speakers, or a whole state\n"
     "      --channels N        the channel count the host reports (default 2)\n"
     "      --mode M            top (default), sides, orbit, or small (the host's small view)\n"
     "      --size WxH          the view's size in pixels (default 520x520)\n"
     "      --scale S           256 (default) or 512: the window's scale, or the small bitmap's\n"
     "      --yaw DEG --pitch DEG   the orbit camera\n"
     "      --select LIST       inputs to select, numbers from 1: 1,3\n"
     "      --drag X0,Y0:X1,Y1[:KEYS]   a pointer drag played on the view first (repeatable); KEYS\n"
     "                          any of shift, ctrl, alt (window modes), right, double, joined by ':'\n"
     "      --print-state       print every input's and speaker's position and the selection\n"},
    {"preset",
     "  preset list [--ini FILE]\n"
     "  preset save NAME (--layout NAME | --state FILE) [--force] [--ini FILE]\n"
     "  preset load NAME [--plugin PATH] [--channels N] [--ini FILE]\n"
     "  preset rename OLD NEW [--force] [--ini FILE]\n"
     "  preset delete NAME [--ini FILE]\n"
     "      speaker presets in the folder SpeakerSetups beside the host's ini file (default:\n"
     "      kelvane-host/kelvane-host.ini in the user's configuration folder); load puts one into\n"
     "      a fresh instance of the plugin and prints the speakers it then has; save and rename\n"
     "      replace an existing preset only with --force\n"},
    {"edit",
     "  edit [PLUGIN] [--channels N] [--layout NAME] [--state FILE] [--ini FILE] [--tracks FILE]\n"
     "       [--replies FILE] [STEP ...] [--capture OUT.png] [--save-state FILE] [--after MS]\n"
     "      the plugin's editor in a window of the host (Windows); the steps are played on it in\n"
     "      order, each followed by a short pause for the editor's tick; without --capture,\n"
     "      --save-state or --after the window stays until the user closes it\n"
     "      --state FILE        a state chunk to load first (default: none)\n"
     "      --ini FILE          the host's ini file, the speaker presets beside it (default: that of\n"
     "                          preset, kelvane-host/kelvane-host.ini in the user's configuration folder)\n"
     "      --tracks FILE       a project of tracks sending to the effect: a line 'CHANNEL PINS\n"
     "                          COLOUR NAME' per track channel, e.g. '5 1,3 #FF2010 Kick': channel and\n"
     "                          inputs from 1 to 128, colour #RRGGBB or none, the name the rest of the\n"
     "                          line; '#' starts a comment line (default: no sending tracks)\n"
     "      --replies FILE      answers for the host's name prompt, one a line, <cancel> to cancel\n"
     "                          (default: a window asks; in a run that is not interactive, every\n"
     "                          prompt is cancelled)\n"
     "      --send ID:MESSAGE:WPARAM:LPARAM   a message to control ID (0: the dialog); MESSAGE a\n"
     "                          number or a name (WM_COMMAND, WM_HSCROLL, BM_CLICK, WM_LBUTTONDBLCLK ...)\n"
     "      --type ID=TEXT      select the text of edit ID and type TEXT into it, key by key\n"
     "      --click ID          click button ID\n"
     "      --select ID=N       choose entry N (from 0) of list ID\n"
     "      --fader ID=POS      drag fader ID to POS (0 to 1000) and let go\n"
     "      --wait MS           let the editor run for MS milliseconds (typed values apply a second\n"
     "                          after the last key)\n"
     "      --pick N[/N...]     choose item N (from 0, separators count) of the next popup menu, and\n"
     "                          item N of its submenu after a '/'; give it before the step that opens\n"
     "                          the menu: --pick 0 --click 1341\n"
     "      --rename-strip input:N=TEXT | speaker:N=TEXT   double-click the name of input or speaker N\n"
     "                          (from 1) in the strips, type TEXT over it and press Return\n"
     "      --after MS          how long the editor runs after the steps (default 1000)\n"
     "      --capture OUT.png   a picture of the window then\n"
     "      --save-state FILE   the instance's state chunk then\n"},
};

void printUsage(FILE* to) {
    std::fputs("usage: kelvane-host COMMAND ...   (kelvane-host COMMAND --help for one command)\n"
               "       kelvane-host --version\n", to);
    for (const CommandHelp& h : COMMAND_HELP) std::fputs(h.text, to);
}

// Whether --help or -h stands among a command's arguments, before any "--".
bool asksForHelp(int argc, char** argv) {
    for (int i = 0; i < argc; i++) {
        if (!std::strcmp(argv[i], "--")) return false;
        if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) return true;
    }
    return false;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host: %s\n", message.c_str());
    return 2;
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
    ParsedArgs args;
    std::string problem;
    if (!parseArgs(argc, argv, {{"--channels", true}, {"--ini", true}}, &args, &problem)) return fail(problem);
    int channels = 2;
    if (optionGiven(args, "--channels") && !channelsFromOption(optionValue(args, "--channels"), &channels, &problem))
        return fail(problem);
    std::string ini = optionValue(args, "--ini");
    if (args.positional.empty()) return fail("info needs the path of a plugin library");
    if (args.positional.size() > 1) return fail("unexpected argument '" + args.positional[1] + "'");
    const char* pluginPath = args.positional[0].c_str();

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

// Every built-in layout, its speakers named as the plugin names them.
int commandLayouts(int argc, char** argv) {
    ParsedArgs args;
    std::string problem;
    if (!parseArgs(argc, argv, {}, &args, &problem)) return fail(problem);
    if (!args.positional.empty()) return fail("layouts takes no arguments");
    SurroundPanner* p = instanceCreate();
    if (!p) return fail("out of memory");
    for (int i = 0; i < LAYOUT_COUNT; i++) {
        const LayoutRow& row = LAYOUT_TABLE[i];
        if (row.id == 0) continue;
        applyLayout(p, row.id);
        std::printf("%s (%d):", row.name, speakerCount(p));
        for (int k = 0; k < speakerCount(p); k++) {
            const PanSpeaker& spk = speakerRecords(p)[k];
            std::printf("%s %s", k ? "," : "", spk.vacant ? "(vacant)" : spk.name);
        }
        std::printf("\n");
    }
    instanceDestroy(p);
    return 0;
}

}  // namespace

int main(int argc, char** rawArgv) {
    std::vector<std::string> arguments = utf8Arguments(argc, rawArgv);
    std::vector<char*> pointers;
    for (std::string& a : arguments) pointers.push_back(a.data());
    pointers.push_back(nullptr);
    char** argv = pointers.data();
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h")) {
        printUsage(argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    if (!std::strcmp(argv[1], "--version")) {
        std::printf("kelvane-host %s\n", KVP_VERSION);
        return 0;
    }
    std::string command = argv[1];
    int n = argc - 2;
    char** rest = argv + 2;
    for (const CommandHelp& h : COMMAND_HELP)
        if (command == h.name && asksForHelp(n, rest)) {
            std::fputs(h.text, stdout);
            return 0;
        }
    if (command == "info") return commandInfo(n, rest);
    if (command == "validate") return commandValidate(n, rest);
    if (command == "params") return commandParams(n, rest);
    if (command == "state") return commandState(n, rest);
    if (command == "render-test-scene") return commandRenderTestScene(n, rest);
    if (command == "layouts") return commandLayouts(n, rest);
    if (command == "render") return commandRender(n, rest, defaultPluginPath(argv[0]).c_str());
    if (command == "view") return commandView(n, rest, defaultPluginPath(argv[0]).c_str());
    if (command == "edit") return commandEdit(n, rest, defaultPluginPath(argv[0]).c_str());
    if (command == "preset") return commandPreset(n, rest, defaultPluginPath(argv[0]).c_str());
    return fail("unknown command '" + command + "' (try --help)");
}
