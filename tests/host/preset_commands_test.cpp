// kelvane-host's preset commands as a person would run them, with the real plugin binary.
#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// One speaker line of "preset load": number, x, y, z, gain, influence, kind, name.
struct Shown {
    double x, y, z, gain, influence;
    std::string kind, name;
};
Shown shown(const std::string& line) {
    std::istringstream in(line);
    Shown s;
    std::string word;
    int index;
    in >> index >> word >> s.x >> word >> s.y >> word >> s.z >> word >> s.gain >> word >> s.influence >> s.kind;
    std::getline(in, s.name);
    s.name.erase(0, s.name.find_first_not_of(' '));
    return s;
}

}  // namespace

TEST(PresetCommandsTest, SaveListLoadRenameDeleteThroughThePlugin) {
    TempDir dir;
    std::string ini = " --ini " + q(dir.file("host.ini"));
    ToolResult r = runTool(dir, "preset save Room --layout " + q("5.1 surround") + ini);
    ASSERT_EQ(r.code, 0) << r.err;
    std::string file = (dir.path / "SpeakerSetups" / "Room.BrasselSpeakerSetup").string();
    EXPECT_NE(r.out.find("saved 6 speakers to " + file), std::string::npos) << r.out;
    EXPECT_EQ(dir.read("SpeakerSetups/Room.BrasselSpeakerSetup"),
              "-1 1 0 0 1 1\r\n1 1 0 0 1 1\r\n0 1 0 0 1 1\r\n0 0 0 1 1 1\r\n-1 -1 0 0 1 1\r\n1 -1 0 0 1 1\r\n");

    r = runTool(dir, "preset load Room" + ini);
    ASSERT_EQ(r.code, 0) << r.err;
    std::vector<std::string> lines = linesOf(r.out);
    ASSERT_EQ(lines.size(), 7u) << r.out;
    EXPECT_EQ(lines[0].rfind("loaded 6 speakers from " + file, 0), 0u) << lines[0];
    Shown lfe = shown(lines[4]);
    EXPECT_EQ(lfe.kind, "LFE");
    EXPECT_EQ(shown(lines[1]).name, "left front");
    EXPECT_EQ(shown(lines[6]).x, 1.0);
    EXPECT_EQ(shown(lines[6]).y, -1.0);

    // A hand-made preset with odd values comes back exactly as written.
    dir.write("SpeakerSetups/Odd.BrasselSpeakerSetup",
              "-0.123456 0.654321 0.25 0 0.5 2\r\n0.75 -0.3 1 2 1 1\r\n0.1 0.2 0.3 1 0.000123 0.9\r\n");
    r = runTool(dir, "preset load Odd --channels 4" + ini);
    ASSERT_EQ(r.code, 0) << r.err;
    lines = linesOf(r.out);
    ASSERT_EQ(lines.size(), 4u) << r.out;
    Shown a = shown(lines[1]), b = shown(lines[2]), c = shown(lines[3]);
    EXPECT_EQ(a.x, -0.123456);
    EXPECT_EQ(a.y, 0.654321);
    EXPECT_EQ(a.z, 0.25);
    EXPECT_EQ(a.gain, 0.5);
    EXPECT_EQ(a.influence, 2.0);
    EXPECT_EQ(a.kind, "-");
    EXPECT_EQ(b.kind, "vacant");
    EXPECT_EQ(b.x, 0.75);
    EXPECT_EQ(c.kind, "LFE");
    EXPECT_EQ(c.gain, 0.000123);

    // Saved from a state chunk; listed; renamed; deleted.
    std::string chunk = dir.file("quad.chunk");
    ASSERT_EQ(runTool(dir, "state get " + q(pluginPath()) + " " + q(chunk) + " --channels 4").code, 0);
    r = runTool(dir, "preset save Quad --state " + q(chunk) + ini);
    ASSERT_EQ(r.code, 0) << r.err;
    r = runTool(dir, "preset list" + ini);
    std::vector<std::string> names = linesOf(r.out);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Odd", "Quad", "Room"}));
    EXPECT_EQ(runTool(dir, "preset rename Room Hall" + ini).code, 0);
    EXPECT_EQ(runTool(dir, "preset delete Quad" + ini).code, 0);
    r = runTool(dir, "preset list" + ini);
    names = linesOf(r.out);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Hall", "Odd"}));
}

TEST(PresetCommandsTest, RenderPutsThePresetSpeakersIntoThePlugin) {
    TempDir dir;
    std::string in = dir.file("in.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 2 " + q(in) + " synth 0.1 sine 300 sine 400").c_str()), 0);
    std::string preset = dir.write("five.txt", "-1 1 0 0 1 1\n1 1 0 0 1 1\n0 -1 0 2 1 1\n0 0 0 1 1 1\n0 0 1 0 1 1\n");
    std::string out = dir.file("out.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --preset " + q(preset));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("into 5 speaker channels"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("-inf -inf -inf"), std::string::npos) << "vacant, LFE and the ceiling take nothing: " << r.out;
}

TEST(PresetCommandsTest, BadInputGetsOneLineAndKeepsWhatWasThere) {
    TempDir dir;
    std::string ini = " --ini " + q(dir.file("host.ini"));
    ASSERT_EQ(runTool(dir, "preset save Keep --layout Stereo" + ini).code, 0);
    std::string kept = dir.read("SpeakerSetups/Keep.BrasselSpeakerSetup");
    ASSERT_EQ(runTool(dir, "preset save Other --layout Quadraphonic" + ini).code, 0);
    dir.write("SpeakerSetups/Blank.BrasselSpeakerSetup", "\r\n  \r\n");
    dir.write("notchunk.bin", "no chunk here");
    // A folder where the temporary would go makes the save fail after the preset was chosen.
    std::filesystem::create_directory(dir.path / "SpeakerSetups" / "Keep.BrasselSpeakerSetup.partial");
    std::string in = dir.file("in.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 1 " + q(in) + " synth 0.05 sine 300").c_str()), 0);
    std::string good = dir.write("good.wav", "keep me");
    struct Case {
        std::string args, mentions;
    };
    const Case cases[] = {
        {"preset", "expected list"},
        {"preset frob" + ini, "frob"},
        {"preset load" + ini, "load expects 1"},
        {"preset load a/b" + ini, "a/b"},
        {"preset load .hidden" + ini, ".hidden"},
        {"preset load Missing" + ini, "Missing"},
        {"preset load Blank" + ini, "Blank.BrasselSpeakerSetup: no speaker line"},
        {"preset load Keep --plugin /no/such/plugin.so" + ini, "plugin.so"},
        {"preset save Keep" + ini, "--layout NAME and --state FILE"},
        {"preset save Keep --layout Nowhere" + ini, "Nowhere"},
        {"preset save Keep --state " + q(dir.file("notchunk.bin")) + ini, "notchunk.bin"},
        {"preset save Keep --layout Quadraphonic" + ini, "cannot write"},
        {"preset save X --layout Stereo --ini " + q(dir.file("no/such/host.ini")), "no/such"},
        {"preset rename Keep Other" + ini, "'Other' exists"},
        {"preset rename Gone New" + ini, "Gone"},
        {"preset delete Gone" + ini, "Gone"},
        {"preset list --layout Stereo" + ini, "belong to save"},
        {"preset list --channels 0" + ini, "--channels"},
        {"render " + q(in) + " " + q(good) + " --preset " + q(dir.file("SpeakerSetups/Blank.BrasselSpeakerSetup")),
         "no speaker line"},
        {"render " + q(in) + " " + q(good) + " --preset " + q(dir.file("absent")), "absent"},
        {"render " + q(in) + " " + q(good) + " --preset x --layout Stereo", "exclude each other"},
    };
    for (const Case& c : cases) {
        ToolResult r = runTool(dir, c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << c.args << " said: " << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << "one line: " << r.err;
    }
    EXPECT_EQ(dir.read("SpeakerSetups/Keep.BrasselSpeakerSetup"), kept) << "a good preset is never replaced by a broken one";
    EXPECT_TRUE(std::filesystem::is_directory(dir.path / "SpeakerSetups" / "Keep.BrasselSpeakerSetup.partial"))
        << "what the command did not make it does not remove";
    EXPECT_EQ(dir.read("good.wav"), "keep me");
    EXPECT_TRUE(std::filesystem::exists(dir.path / "SpeakerSetups" / "Other.BrasselSpeakerSetup"));
}
// Files copied from another system often spell the extension in capitals; the listing shows
// them, so every command that takes a name must find them too.
TEST(PresetCommandsTest, ExtensionInAnyCaseWorksForEveryCommand) {
    TempDir dir;
    std::string ini = " --ini " + q(dir.file("host.ini"));
    std::filesystem::create_directory(dir.path / "SpeakerSetups");
    const std::string six = "-1 1 0 0 1 1\r\n1 1 0 0 1 1\r\n0 1 0 0 1 1\r\n0 0 0 1 1 1\r\n-1 -1 0 0 1 1\r\n1 -1 0 0 1 1\r\n";
    dir.write("SpeakerSetups/Hall A.BRASSELSPEAKERSETUP", six);
    dir.write("SpeakerSetups/Mixed.brasselSpeakerSETUP", six);
    ToolResult r = runTool(dir, "preset list" + ini);
    std::vector<std::string> names = linesOf(r.out);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Hall A", "Mixed"}));
    for (const char* name : {"Hall A", "Mixed"}) {
        r = runTool(dir, "preset load " + q(name) + ini);
        ASSERT_EQ(r.code, 0) << name << ": " << r.err;
        EXPECT_EQ(r.out.rfind("loaded 6 speakers", 0), 0u) << r.out;
    }
    ASSERT_EQ(runTool(dir, "preset rename " + q("Hall A") + " Hall" + ini).code, 0);
    EXPECT_EQ(dir.read("SpeakerSetups/Hall.BrasselSpeakerSetup"), six) << "renamed with its speakers";
    EXPECT_FALSE(std::filesystem::exists(dir.path / "SpeakerSetups" / "Hall A.BRASSELSPEAKERSETUP"));
    r = runTool(dir, "preset rename Hall Mixed" + ini);
    EXPECT_EQ(r.code, 2) << "a name taken under another spelling of the extension is taken";
    ASSERT_EQ(runTool(dir, "preset delete Mixed" + ini).code, 0);
    EXPECT_FALSE(std::filesystem::exists(dir.path / "SpeakerSetups" / "Mixed.brasselSpeakerSETUP"));
    r = runTool(dir, "preset list" + ini);
    EXPECT_EQ(linesOf(r.out), std::vector<std::string>{"Hall"});
}
#endif
