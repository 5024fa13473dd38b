// kelvane-host's commands run as a person would run them: answers, files, and bad input.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <cstring>
#include <filesystem>
#include <string>

#include "host/alloc_watch.h"
#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

// A short stereo test file made with sox, the independent tool.
std::string makeInput(const TempDir& dir, const std::string& name, int channels, double seconds) {
    std::string path = dir.file(name);
    std::string synth = "synth " + std::to_string(seconds);
    for (int c = 0; c < channels; c++) synth += " sine " + std::to_string(300 + 100 * c);
    EXPECT_EQ(std::system(("sox -n -r 48000 -c " + std::to_string(channels) + " " + q(path) + " " + synth).c_str()), 0);
    return path;
}

TEST(HostCommandsTest, RenderWritesOneChannelPerSpeakerAndTheTail) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav", 2, 0.5);
    std::string out = dir.file("out.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --tail 0.25 --block 100");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("rendered 36000 frames"), std::string::npos) << r.out;
    TempDir probe;
    EXPECT_EQ(std::system(("sox --i -c " + q(out) + " > " + q(probe.file("c"))).c_str()), 0);
    EXPECT_EQ(std::stoi(probe.read("c")), 2);
    EXPECT_EQ(std::system(("sox --i -s " + q(out) + " > " + q(probe.file("s"))).c_str()), 0);
    EXPECT_EQ(std::stol(probe.read("s")), 36000);
    EXPECT_FALSE(std::filesystem::exists(out + ".partial"));

    // The chunk after the render reads back through state show.
    std::string chunk = dir.file("after.chunk");
    ASSERT_EQ(runTool(dir, "render " + q(in) + " " + q(out) + " --save-state " + q(chunk)).code, 0);
    ToolResult show = runTool(dir, "state show " + q(chunk));
    EXPECT_EQ(show.code, 0) << show.err;
    EXPECT_NE(show.out.find("2 inputs:"), std::string::npos) << show.out;
}

TEST(HostCommandsTest, BadInputGetsOneLineExitTwoAndNoFile) {
    TempDir dir;
    std::string in = makeInput(dir, "in.wav", 2, 0.1);
    std::string good = dir.write("good.wav", "keep me");
    dir.write("bad.auto", "# header\n\n0.0 nonsense here\n");
    dir.write("notchunk.bin", "hello, world, this is no chunk");
    std::string auto_ = dir.file("bad.auto"), notChunk = dir.file("notchunk.bin");
    struct Case {
        std::string args, mentions;
    };
    const Case cases[] = {
        {"render " + q(dir.file("missing.wav")) + " " + q(good), "missing.wav"},
        {"render " + q(dir.file("notchunk.bin")) + " " + q(good), "notchunk.bin"},
        {"render " + q(in) + " " + q(dir.file("no/such/folder/out.wav")), "folder does not exist"},
        {"render " + q(in) + " " + q(good) + " --set " + q("no such=1"), "no such"},
        {"render " + q(in) + " " + q(good) + " --automation " + q(auto_), "bad.auto:3"},
        {"render " + q(in) + " " + q(good) + " --state " + q(notChunk), "not a state chunk"},
        {"render " + q(in) + " " + q(good) + " --block 0", "--block"},
        {"render " + q(in) + " " + q(good) + " --tail -1", "--tail"},
        {"render " + q(in), "INPUT and OUTPUT"},
        {"state show " + q(notChunk), "not a state chunk"},
        {"params /no/such/plugin.so", "plugin.so"},
    };
    for (const Case& c : cases) {
        ToolResult r = runTool(dir, c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << c.args << " said: " << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << "one line: " << r.err;
        EXPECT_EQ(dir.read("good.wav"), "keep me") << "a good output stays untouched: " << c.args;
    }
    for (auto& entry : std::filesystem::directory_iterator(dir.path))
        EXPECT_EQ(entry.path().string().find(".partial"), std::string::npos) << entry.path();
}

TEST(HostCommandsTest, TheCommandLineAsPeopleExpectIt) {
    TempDir dir;
    ToolResult r = runTool(dir, "--version");
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.out.rfind("kelvane-host ", 0), 0u) << r.out;
    // Every command explains itself, with its defaults.
    for (const char* command : {"info", "params", "state", "validate", "render", "render-test-scene", "layouts", "preset"}) {
        r = runTool(dir, std::string(command) + " --help");
        EXPECT_EQ(r.code, 0) << command;
        EXPECT_EQ(r.out.rfind(std::string("  ") + command, 0), 0u) << command << ": " << r.out;
    }
    r = runTool(dir, "render --help");
    EXPECT_NE(r.out.find("(default 512)"), std::string::npos) << r.out;

    // One reading of --channels for every command that takes it, in both spellings.
    const std::string plugin = q(pluginPath());
    for (const std::string& args : {"info " + plugin + " --channels=0", "params " + plugin + " --channels 129",
                                    "state get " + plugin + " " + q(dir.file("s")) + " --channels=x",
                                    "preset load X --channels 0 --ini " + q(dir.file("h.ini"))}) {
        r = runTool(dir, args);
        EXPECT_EQ(r.code, 2) << args;
        EXPECT_NE(r.err.find("--channels '"), std::string::npos) << args << ": " << r.err;
        EXPECT_NE(r.err.find("': expected 1 to 128\n"), std::string::npos) << args << ": " << r.err;
    }
    r = runTool(dir, "info " + plugin + " --channels=6");
    EXPECT_NE(r.out.find("outputs     6"), std::string::npos) << r.out;

    // A bare file name opens the plugin in the current folder.
    std::filesystem::copy_file(pluginPath(), dir.path / "copy.so");
    std::string out = dir.file("bare.out");
    EXPECT_EQ(std::system(("cd " + q(dir.path) + " && " + q(besideTestProgram(KVP_HOST_TOOL_FILE)) + " info copy.so > " + q(out)).c_str()), 0);
    EXPECT_NE(dir.read("bare.out").find("name        KelvanePan"), std::string::npos);

    // The layouts with their speakers; the validator's tests with the strictness each starts at.
    r = runTool(dir, "layouts");
    EXPECT_EQ(r.code, 0);
    EXPECT_NE(r.out.find("\n5.1 surround (6): left front, right front, center front, LFE, left surround, right surround\n"),
              std::string::npos) << r.out;
    EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 19);
    r = runTool(dir, "validate --list");
    EXPECT_NE(r.out.find("         7  channel-changes  this project's host protocol\n"), std::string::npos) << r.out;

    // Exact causes.
    struct Case {
        std::string args, says;
    };
    const Case cases[] = {
        {"render a.wav b.wav --layout ''", "--layout: empty layout name"},
        {"preset save P --layout= --ini " + q(dir.file("h.ini")), "--layout: empty layout name"},
        {"preset save " + std::string(300, 'n') + " --layout Stereo --ini " + q(dir.file("h.ini")),
         "name too long: 300 bytes, at most 235"},
        {"render a.wav b.wav --block", "option --block needs a value"},
        {"validate " + plugin + " --list=3", "option --list takes no value"},
        {"layouts extra", "layouts takes no arguments"},
    };
    for (const Case& c : cases) {
        r = runTool(dir, c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << c.args << " said: " << r.err;
    }
}

TEST(HostCommandsTest, DamagedChunkFilesAreNamedNotCrashedOn) {
    TempDir dir;
    std::string chunk = dir.file("s.chunk");
    ToolResult get = runTool(dir, "state get " + q(pluginPath()) + " " + q(chunk) + " --channels 3");
    ASSERT_EQ(get.code, 0) << get.err;
    std::string bytes = dir.read("s.chunk");
    for (size_t cut : {size_t(4), size_t(57), bytes.size() / 2, bytes.size() - 1}) {
        dir.write("cut.chunk", bytes.substr(0, cut));
        ToolResult r = runTool(dir, "state show " + q(dir.file("cut.chunk")));
        EXPECT_EQ(r.code, 2) << cut;
        EXPECT_NE(r.err.find("cut.chunk"), std::string::npos) << r.err;
    }
    ToolResult whole = runTool(dir, "state show " + q(chunk));
    EXPECT_EQ(whole.code, 0);
    EXPECT_NE(whole.out.find("3 inputs:"), std::string::npos) << whole.out;
}

}  // namespace
#endif

#if !defined(_WIN32)
namespace {

// The validator catches each fault of the faulty plugin in the test made for it, and passes the
// same plugin when it has none.
TEST(HostCommandsTest, EachFaultFailsItsTest) {
    TempDir dir;
    std::string faulty = q(besideTestProgram(KVP_FAULTY_PLUGIN_FILE));
    struct Case {
        const char* fault;
        const char* test;
        const char* says;
    };
    const Case cases[] = {
        {"nan", "audio", "not finite"},
        {"skip", "block-extremes", "output 1"},
        {"overrun", "block-extremes", "past the block end"},
        {"state", "state", "other bytes"},
        {"jump", "automation", "jumps"},
        {"alloc", "audio", "allocates"},
        {"shortchunk", "state", "crashed"},
    };
    for (const Case& c : cases) {
        if (std::strcmp(c.fault, "alloc") == 0 && !allocWatchAvailable()) continue;
        ToolResult r = runTool(dir, std::string("validate ") + faulty + " --only " + c.test);
        EXPECT_EQ(r.code, 0) << "without a fault, " << c.test << ": " << r.out;
        r = runTool(dir, std::string("validate ") + faulty + " --only " + c.test + " --seed 3");
        std::string env = std::string("KVP_FAULT=") + c.fault + " ";
        int raw = std::system((env + shellQuote(besideTestProgram(KVP_HOST_TOOL_FILE)) + " validate " + faulty +
                               " --only " + c.test + " > " + q(dir.file("v.out")) + " 2>&1")
                                  .c_str());
        std::string out = dir.read("v.out");
        EXPECT_EQ(WEXITSTATUS(raw), 1) << c.fault << ": " << out;
        EXPECT_NE(out.find(std::string("FAIL ") + c.test), std::string::npos) << out;
        EXPECT_NE(out.find(c.says), std::string::npos) << c.fault << ": " << out;
        EXPECT_NE(out.find("0 passed, 1 failed"), std::string::npos) << out;
    }
    // The real plugin passes the whole battery, with two seeds.
    for (const char* seed : {"1", "7"}) {
        ToolResult real = runTool(dir, "validate " + q(pluginPath()) + " --strictness 8 --seed " + seed);
        EXPECT_EQ(real.code, 0) << real.out;
        EXPECT_NE(real.out.find("10 passed, 0 failed\n"), std::string::npos) << real.out;
    }
    ToolResult bad = runTool(dir, "validate " + faulty + " --only nothing");
    EXPECT_EQ(bad.code, 2);
    bad = runTool(dir, "validate " + faulty + " --strictness 11");
    EXPECT_EQ(bad.code, 2);
}

}  // namespace
#endif
