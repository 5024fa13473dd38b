#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "engine/records.h"
#include "layouts/layouts.h"
#include "layouts/presets.h"
#include "support/panner_fixture.h"
#include "support/preset_folder.h"
#include "support/temp_dir.h"

struct PresetsTest : PannerFixture {};

namespace {

std::vector<std::string> fileLines(const std::string& text) {
    std::vector<std::string> lines;
    size_t at = 0;
    for (size_t end; (end = text.find("\r\n", at)) != std::string::npos; at = end + 2) lines.push_back(text.substr(at, end - at));
    EXPECT_EQ(at, text.size()) << "every line ends in CR LF";
    return lines;
}

std::string field(const std::string& line, int index) {
    std::istringstream in(line);
    std::string token;
    for (int i = 0; i <= index; i++) in >> token;
    return token;
}

struct Snapshot {
    double x, y, z, gain, influence;
    int lfe, vacant;
    bool operator==(const Snapshot&) const = default;
};
std::vector<Snapshot> speakersOf(const SurroundPanner* p) {
    std::vector<Snapshot> out;
    for (int s = 0; s < speakerCount(p); s++) {
        const PanSpeaker& r = speakerRecords(p)[s];
        out.push_back({r.posX, r.posY, r.posZ, r.gain, r.influence, r.lfe, r.vacant});
    }
    return out;
}

std::vector<std::string> listed(const std::string& folder) {
    GrowBuffer names;
    growBufferInit(&names);
    int count = listPresetFolder(folder.c_str(), &names);
    std::vector<std::string> out;
    for (size_t at = 0; at < names.used; at += out.back().size() + 1) out.push_back(static_cast<char*>(names.data) + at);
    growBufferFree(&names);
    EXPECT_EQ(count, int(out.size()));
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace

TEST_F(PresetsTest, PresetFilesOfBuiltInLayouts) {
    TempDir dir;
    SurroundPanner* p = make();
    applyLayout(p, 5);  // "5.1 surround"
    std::string path = dir.file("51.BrasselSpeakerSetup");
    int64_t written = savePresetFile(p, path.c_str());
    std::string text = dir.read("51.BrasselSpeakerSetup");
    EXPECT_EQ(written, int64_t(text.size()));
    std::vector<std::string> lines = fileLines(text);
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_EQ(lines[0], "-1 1 0 0 1 1") << "left front at unity gain";
    for (int s = 0; s < 6; s++) EXPECT_EQ(field(lines[size_t(s)], 3), s == 3 ? "1" : "0") << "line " << s + 1;

    applyLayout(p, 13);  // "Quadraphonic SMPTE": speakers 3 and 4 vacant
    path = dir.file("quad.BrasselSpeakerSetup");
    savePresetFile(p, path.c_str());
    lines = fileLines(dir.read("quad.BrasselSpeakerSetup"));
    ASSERT_EQ(lines.size(), 6u);
    for (int s = 0; s < 6; s++) EXPECT_EQ(field(lines[size_t(s)], 3), s == 2 || s == 3 ? "2" : "0") << "line " << s + 1;
    std::vector<Snapshot> saved = speakersOf(p);
    applyLayout(p, 1);
    ASSERT_TRUE(loadPresetFile(p, path.c_str()));
    EXPECT_EQ(speakersOf(p), saved) << "vacant speakers come back vacant";

    // Gains and influences other than 1, and a built-in layout with half-way slots.
    applyLayout(p, 18);  // "9.1.6 surround"
    speakerRecords(p)[0].gain = 0.5;
    speakerRecords(p)[1].influence = 2.25;
    speakerRecords(p)[2].gain = 0.0001;  // -80 dB
    saved = speakersOf(p);
    savePresetFile(p, path.c_str());
    applyLayout(p, 1);
    ASSERT_TRUE(loadPresetFile(p, path.c_str()));
    EXPECT_EQ(speakersOf(p), saved);
    destroy(p);
}

TEST_F(PresetsTest, LoadedSpeakersBecomeACustomSetupNamedFromTheirPlaces) {
    TempDir dir;
    SurroundPanner* p = make();
    applyLayout(p, 2);  // "Quadraphonic", family 1
    setInputCount(p, 3);
    std::vector<double> inputX;
    for (int i = 0; i < 3; i++) inputX.push_back(inputRecords(p)[i].posX);
    setRecordName(speakerRecords(p)[0].name, "my own name");
    p->firstSpeakerStrip = 5;
    p->pendingChannelChange = 0;
    // Eight speakers, the LFE one at index 6, in the reader's other forms: comma decimals,
    // quotes, tabs, a seventh token.
    std::string path = dir.write("eight.BrasselSpeakerSetup",
                                 "-1,0 1,0 0,0 0 1,0 1,0\r\n"
                                 "1 1 0 0 1 1 extra\r\n"
                                 "'0' \"1\" 0\t0 0,5 1\n"
                                 "-1 -1 0 0 1 1\n"
                                 "1 -1 0 0 1 1\n"
                                 "-1 0 1 0 1 1\n"
                                 "0 0 0 1 1 1\n"
                                 "1 0 1 2 1 1\n");
    ASSERT_TRUE(loadPresetFile(p, path.c_str()));
    ASSERT_EQ(speakerCount(p), 8);
    const PanSpeaker* spk = speakerRecords(p);
    EXPECT_EQ(spk[0].posX, -1.0);
    EXPECT_EQ(spk[2].gain, 0.5);
    EXPECT_TRUE(spk[6].lfe) << "an LFE speaker away from index 3 stays LFE";
    EXPECT_FALSE(spk[3].lfe);
    EXPECT_TRUE(spk[7].vacant);
    EXPECT_EQ(std::string(spk[0].name), "left front") << "names come from the places, not the old setup";
    EXPECT_EQ(std::string(spk[6].name), "LFE");
    EXPECT_EQ(p->layoutId, LAYOUT_CUSTOM);
    EXPECT_EQ(p->layoutFamily, 1) << "the family stays";
    EXPECT_EQ(p->firstSpeakerStrip, 0);
    EXPECT_EQ(p->audioSpeakers, -1);
    EXPECT_EQ(p->pendingChannelChange, 3u | 4u << 8) << "the counts the host knew";
    ASSERT_EQ(inputCount(p), 3);
    for (int i = 0; i < 3; i++) EXPECT_EQ(inputRecords(p)[i].posX, inputX[size_t(i)]) << "inputs stay where they were";
    destroy(p);
}

TEST_F(PresetsTest, PresetReadingSkipsWhatItCannotUse) {
    TempDir dir;
    SurroundPanner* p = make();
    applyLayout(p, 5);
    std::vector<Snapshot> before = speakersOf(p);

    for (const char* text : {"", "\r\n", "   \n\t\n", "1 2 3 4 5\n", "\"open 1 2 3 4 5 6\n"}) {
        std::string path = dir.write("bad.BrasselSpeakerSetup", text);
        EXPECT_FALSE(loadPresetFile(p, path.c_str())) << "'" << text << "'";
        EXPECT_EQ(speakersOf(p), before) << "nothing changes";
    }
    EXPECT_FALSE(loadPresetFile(p, dir.file("missing.BrasselSpeakerSetup").c_str()));
    EXPECT_FALSE(loadPresetFile(p, dir.path.string().c_str())) << "a folder is no preset";
    EXPECT_EQ(p->pendingChannelChange, 0u) << "nothing loaded, nothing to tell the host";

    // 40 good lines give 32 speakers; bad lines between them do not count.
    std::string many = "short line\n";
    for (int i = 0; i < 40; i++) many += std::to_string(i % 2 ? 1 : -1) + " " + std::to_string(i / 40.0) + " 0 0 1 1\n";
    ASSERT_TRUE(loadPresetFile(p, dir.write("many.BrasselSpeakerSetup", many).c_str()));
    EXPECT_EQ(speakerCount(p), 32);
    EXPECT_DOUBLE_EQ(speakerRecords(p)[31].posY, 31 / 40.0);

    // Numbers that are no settings read as 0 or their bound; '#' and ';' are text; a line over
    // the reading limit comes in pieces, read as lines of their own.
    std::string odd = "nan inf -inf 3 1e300 0x10\n# 1 0 0 1 1\n;x 1 0 0 1 1\n" + std::string(PRESET_LINE_MAX - 1, 'x') + "1e300 1 1 1 1 1\n";
    ASSERT_TRUE(loadPresetFile(p, dir.write("odd.BrasselSpeakerSetup", odd).c_str()));
    ASSERT_EQ(speakerCount(p), 4);
    const PanSpeaker* spk = speakerRecords(p);
    EXPECT_EQ(spk[0].posX, 0.0);
    EXPECT_EQ(spk[0].posY, 0.0);
    EXPECT_TRUE(spk[0].lfe && spk[0].vacant);
    EXPECT_EQ(spk[0].gain, 1e6);
    EXPECT_EQ(spk[0].influence, 0.0) << "hex is no decimal float";
    EXPECT_EQ(spk[1].posX, 0.0);
    EXPECT_EQ(spk[2].posY, 1.0);
    EXPECT_EQ(spk[3].posX, 1e6) << "the tail of the long line, its first number bounded";
    destroy(p);
}

TEST_F(PresetsTest, ExtensionInAnyCaseAndNoHiddenFiles) {
    TempDir dir;
    for (const char* name : {"Room A.BrasselSpeakerSetup", "LOUD.BRASSELSPEAKERSETUP", ".hidden.BrasselSpeakerSetup",
                             "notes.txt", "half.BrasselSpeakerSetup.partial", "x.y.brasselspeakersetup"})
        dir.write(name, "0 1 0 0 1 1\n");
    std::filesystem::create_directory(dir.path / "folder.BrasselSpeakerSetup.d");
    EXPECT_EQ(listed(dir.path.string()), (std::vector<std::string>{"LOUD", "Room A", "x.y"}));
    EXPECT_TRUE(listed(dir.file("missing")).empty());
}

// The process's own preset folder, built once per process (and shared with the other tests
// that name presets).
TEST_F(PresetsTest, PresetsByNameInTheFolderBesideTheIniFile) {
    const ProcessPresets& presets = processPresets();
    std::string folder = (std::filesystem::path(presets.ini).parent_path() / "SpeakerSetups").string();
    EXPECT_EQ(std::string(speakerPresetFolder()), folder);
    EXPECT_TRUE(std::filesystem::is_directory(folder)) << "made with the path";
    TempDir dir;
    iniPath = dir.file("elsewhere/other.ini");
    EXPECT_EQ(std::string(speakerPresetFolder()), folder) << "kept for the process";

    char path[PRESET_PATH_MAX];
    EXPECT_EQ(presetPath("Hall", path, sizeof path), int(folder.size() + 25));
    EXPECT_EQ(std::filesystem::path(path), std::filesystem::path(folder) / "Hall.BrasselSpeakerSetup");
    for (const char* bad : {"", "a/b", "..\\up"}) EXPECT_EQ(presetPath(bad, path, sizeof path), 0) << bad;
    EXPECT_EQ(presetPath(nullptr, path, sizeof path), 0);
    EXPECT_EQ(presetPath("Hall", path, 10), 0) << "does not fit";
    EXPECT_STREQ(path, "");

    SurroundPanner* p = make();
    applyLayout(p, 5);
    savePreset(p, "Room");
    applyLayout(p, 11);
    savePreset(p, "Room");  // replaces
    GrowBuffer names;
    growBufferInit(&names);
    EXPECT_EQ(listSpeakerPresets(&names), 1);
    EXPECT_STREQ(static_cast<char*>(names.data), "Room");
    growBufferFree(&names);
    applyLayout(p, 1);
    ASSERT_TRUE(loadPreset(p, "Room"));
    EXPECT_EQ(speakerCount(p), 12);

    renamePreset("Room", "Hall");
    EXPECT_EQ(listed(folder), std::vector<std::string>{"Hall"});
    savePreset(p, "Other");
    renamePreset("Other", "Hall");
    EXPECT_EQ(listed(folder), (std::vector<std::string>{"Hall", "Other"})) << "a taken name stays taken";
    deletePreset("Hall");
    deletePreset("Hall");  // gone already: nothing happens
    deletePreset("Other");
    EXPECT_TRUE(listed(folder).empty());

    // Two spellings of one preset's extension: this program's own wins; without it, the other.
    std::filesystem::path upper = std::filesystem::path(folder) / "Twin.BRASSELSPEAKERSETUP";
    std::filesystem::path own = std::filesystem::path(folder) / "Twin.BrasselSpeakerSetup";
    applyLayout(p, 5);
    savePresetFile(p, upper.string().c_str());
    ASSERT_GT(presetPath("Twin", path, sizeof path), 0);
    EXPECT_EQ(std::filesystem::path(path), upper);
    applyLayout(p, 11);
    savePreset(p, "Twin");  // over the old file, in this program's spelling
    EXPECT_EQ(listed(folder), std::vector<std::string>{"Twin"});
    ASSERT_GT(presetPath("Twin", path, sizeof path), 0);
    EXPECT_EQ(std::filesystem::path(path), own);
#if !defined(_WIN32)
    // Files that differ only in the extension's case can stand side by side here alone.
    savePresetFile(p, upper.string().c_str());
    ASSERT_GT(presetPath("Twin", path, sizeof path), 0);
    EXPECT_EQ(std::filesystem::path(path), own);
    deletePreset("Twin");
#endif
    deletePreset("Twin");
    EXPECT_TRUE(listed(folder).empty());
    EXPECT_FALSE(loadPreset(p, "Hall"));
    EXPECT_FALSE(loadPreset(p, "../SpeakerSetups/Hall"));
    EXPECT_EQ(speakerCount(p), 12);
    destroy(p);
}
