#include <gtest/gtest.h>

#include <cstdio>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "editor/dialog_menus.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "layouts/presets.h"
#include "support/panner_fixture.h"
#include "support/preset_folder.h"
#include "support/temp_dir.h"

namespace {

// The host's name prompt, answering from a script; "<cancel>" cancels. Each call is noted.
struct PromptCall {
    std::string title, prompt, start;
    int size;
};
std::deque<std::string> replies;
std::vector<PromptCall> prompts;

int scriptedPrompt(void*, const char* title, const char* prompt, char* buffer, int size) {
    prompts.push_back({title, prompt, buffer, size});
    if (replies.empty()) return 0;
    std::string reply = replies.front();
    replies.pop_front();
    if (reply == "<cancel>") return 0;
    std::snprintf(buffer, size_t(size), "%s", reply.c_str());
    return 1;
}

int hostCalls = 0;
intptr_t VST_CALL countingHost(AEffect*, int32_t, int32_t, intptr_t, void*, float) {
    hostCalls++;
    return 0;
}

std::vector<std::string> texts(const MenuTable& table) {
    std::vector<std::string> out;
    for (int i = 0; i < table.count; i++) out.push_back(table.items[i].separator ? "---" : table.items[i].text);
    return out;
}

std::vector<std::string> presetNames(const PresetMenu& menu) {
    return std::vector<std::string>(menu.name, menu.name + menu.count);
}

struct Speaker {
    double x, y, z;
    int lfe;
    bool operator==(const Speaker&) const = default;
};
std::vector<Speaker> speakersOf(const SurroundPanner* p) {
    std::vector<Speaker> out;
    for (int s = 0; s < speakerCount(p); s++) {
        const PanSpeaker& r = speakerRecords(p)[s];
        out.push_back({r.posX, r.posY, r.posZ, r.lfe});
    }
    return out;
}

}  // namespace

struct DialogMenusTest : PannerFixture {
    TempDir dir;
    void SetUp() override {
        PannerFixture::SetUp();
        replies.clear();
        prompts.clear();
        hostApi.DoRenameDialogEx = scriptedPrompt;
    }
    // The pan law menu's checked item, -1 for none; and the item carrying the default's suffix.
    static int checkedLaw(const PanLawMenu& m) {
        for (int i = 0; i < PANLAW_ROW_COUNT; i++)
            if (m.table.items[i].checked) return i;
        return -1;
    }
    static int defaultLaw(const PanLawMenu& m) {
        for (int i = 0; i < PANLAW_ROW_COUNT; i++)
            if (std::string(m.table.items[i].text).find(" (default)") != std::string::npos) return i;
        return -1;
    }
};

TEST_F(DialogMenusTest, PanLawMenuChecksTheBandOfTheLawAndMarksTheDefault) {
    iniPath = dir.write("host.ini", "[kelvane]\nother=1\n");
    SurroundPanner* p = make();
    PanLawMenu m;
    buildPanLawMenu(p, &m);
    EXPECT_EQ(texts(m.table), (std::vector<std::string>{"+0.0 dB", "-2.5 dB", "-3.0 dB (default)", "-4.5 dB", "-6.0 dB",
                                                         "---", "Set as default"}));
    const int commands[] = {1000, 1025, 1030, 1045, 1060, 0, 2000};
    for (int i = 0; i < 7; i++) EXPECT_EQ(m.table.items[i].command, commands[i]) << "item " << i;

    // A law between the items checks its band's item; the commands are the items' values only.
    struct Case {
        double law;
        int checked;
    };
    const Case cases[] = {{0.0, 0},  {-0.1, 1},  {-2.0, 1},    {-2.9999, 1}, {-3.0, 2}, {-3.0001, 3},
                          {-5.0, 3}, {-6.0, 4},  {-9.0, 4},    {0.5, -1}};
    for (const Case& c : cases) {
        p->panLawDb = c.law;
        buildPanLawMenu(p, &m);
        EXPECT_EQ(checkedLaw(m), c.checked) << "law " << c.law;
        EXPECT_EQ(defaultLaw(m), 2) << "the missing key marks -3.0 whatever the law";
    }

    // A default that is no item marks none; one beyond the range counts as its bound.
    for (auto [text, marked] : {std::pair{"-2.0", -1}, {"-4.5", 3}, {"-12", 4}, {"3", 0}, {"", 2}}) {
        iniPath = dir.write("host.ini", std::string("[kelvane]\npanlaw=") + text + "\n");
        buildPanLawMenu(p, &m);
        EXPECT_EQ(defaultLaw(m), marked) << "panlaw=" << text;
    }
}

TEST_F(DialogMenusTest, ALawCommandRecomputesAllGainsAndTellsTheHostNothing) {
    SurroundPanner* p = make();
    p->gainsDirtyInputs[0] = p->gainsDirtyInputs[1] = 0;
    hostCallback = countingHost;
    hostCalls = 0;
    EXPECT_TRUE(panLawMenuCommand(p, PANLAW_COMMAND_4_5));
    EXPECT_EQ(p->panLawDb, -4.5);
    EXPECT_EQ(p->gainsDirtyInputs[0], ~uint64_t(0));
    EXPECT_EQ(p->gainsDirtyInputs[1], ~uint64_t(0));
    EXPECT_EQ(hostCalls, 0);
    EXPECT_TRUE(panLawMenuCommand(p, PANLAW_COMMAND_0));
    EXPECT_EQ(p->panLawDb, 0.0);

    for (int command : {0, 1001, 1031, 1999, 2001, 100}) EXPECT_FALSE(panLawMenuCommand(p, command)) << command;
    EXPECT_EQ(p->panLawDb, 0.0);
}

TEST_F(DialogMenusTest, SetAsDefaultWritesThePresentLawForTheNextInstance) {
    iniPath = dir.write("host.ini", "[kelvane]\nframecol=1\n");
    SurroundPanner* p = make();
    EXPECT_EQ(p->panLawDb, -3.0);
    panLawMenuCommand(p, PANLAW_COMMAND_4_5);
    EXPECT_TRUE(panLawMenuCommand(p, PANLAW_COMMAND_SET_DEFAULT));
    EXPECT_NE(dir.read("host.ini").find("panlaw=-4.5"), std::string::npos) << dir.read("host.ini");
    EXPECT_NE(dir.read("host.ini").find("framecol=1"), std::string::npos) << "other keys stay";
    PanLawMenu m;
    buildPanLawMenu(p, &m);
    EXPECT_EQ(defaultLaw(m), 3);
    EXPECT_EQ(make()->panLawDb, -4.5) << "a new instance starts at the default";

    // A law that is no item (from a state chunk) becomes the default all the same, as one decimal.
    p->panLawDb = -2.04;
    panLawMenuCommand(p, PANLAW_COMMAND_SET_DEFAULT);
    EXPECT_EQ(readDefaultPanLaw(), -2.0);
    buildPanLawMenu(p, &m);
    EXPECT_EQ(defaultLaw(m), -1);
    EXPECT_EQ(p->panLawDb, -2.04) << "the present law stays";
}

TEST_F(DialogMenusTest, WithoutPresetsTheMenuOffersSavingAndThreeGreySubmenus) {
    const ProcessPresets& presets = processPresets();
    ASSERT_TRUE(std::filesystem::is_empty(presets.folder));
    PresetMenu m;
    presetMenuOpen(&m);
    EXPECT_EQ(texts(m.main), (std::vector<std::string>{"Save preset...", "Replace", "Rename", "Delete"}));
    EXPECT_EQ(m.main.items[0].command, PRESET_COMMAND_SAVE);
    for (int i = 1; i < 4; i++) {
        EXPECT_TRUE(m.main.items[i].greyed);
        EXPECT_EQ(m.main.items[i].submenu, i - 1);
        EXPECT_EQ(m.submenus[i - 1].count, 0);
    }
    SurroundPanner* p = make();
    for (int command : {100, 200, 300, 400, 99, 500}) EXPECT_FALSE(presetMenuCommand(p, &m, command, nullptr)) << command;
    presetMenuClose(&m);
}

TEST_F(DialogMenusTest, PresetCommandsLoadReplaceRenameAndDeleteTheNamedPreset) {
    const ProcessPresets& presets = processPresets();
    SurroundPanner* p = make();
    applyLayout(p, 5);
    std::vector<Speaker> saved = speakersOf(p);

    // Saving asks for a name; a cancelled prompt saves nothing.
    PresetMenu m;
    presetMenuOpen(&m);
    replies = {"<cancel>", "Hall"};
    EXPECT_TRUE(presetMenuCommand(p, &m, PRESET_COMMAND_SAVE, nullptr));
    EXPECT_TRUE(std::filesystem::is_empty(presets.folder));
    presetMenuCommand(p, &m, PRESET_COMMAND_SAVE, nullptr);
    presetMenuClose(&m);
    ASSERT_EQ(prompts.size(), 2u);
    EXPECT_EQ(prompts[1].title, "Save Speaker Preset");
    EXPECT_EQ(prompts[1].prompt, "Preset name");
    EXPECT_EQ(prompts[1].start, "");
    EXPECT_EQ(prompts[1].size, 512);
    applyLayout(p, 11);
    ASSERT_TRUE(loadPreset(p, "Hall")) << "the saved preset is a file the preset reader takes";
    EXPECT_EQ(speakersOf(p), saved);

    // The list, the separator, and the name in every submenu under its own range.
    applyLayout(p, 11);
    presetMenuOpen(&m);
    EXPECT_EQ(texts(m.main), (std::vector<std::string>{"Hall", "---", "Save preset...", "Replace", "Rename", "Delete"}));
    EXPECT_EQ(m.main.items[0].command, 100);
    EXPECT_FALSE(m.main.items[3].greyed);
    for (int s = 0; s < PRESET_SUBMENU_COUNT; s++) {
        ASSERT_EQ(texts(m.submenus[s]), std::vector<std::string>{"Hall"});
        EXPECT_EQ(m.submenus[s].items[0].command, 200 + 100 * s);
    }
    EXPECT_FALSE(presetMenuCommand(p, &m, 101, nullptr)) << "no second preset";
    EXPECT_FALSE(presetMenuCommand(p, &m, 500, nullptr));

    // Replace writes the present speakers under the name; load puts them back as a custom setup.
    std::vector<Speaker> replaced = speakersOf(p);
    EXPECT_TRUE(presetMenuCommand(p, &m, PRESET_COMMAND_REPLACE, nullptr));
    applyLayout(p, 2);
    EXPECT_TRUE(presetMenuCommand(p, &m, PRESET_COMMAND_LOAD, nullptr));
    EXPECT_EQ(speakersOf(p), replaced);
    EXPECT_EQ(p->layoutId, LAYOUT_CUSTOM);

    // Rename starts from the old name; a cancel keeps it, an answer moves the file.
    replies = {"<cancel>", "Σκηνή 東京 🎧"};
    prompts.clear();
    presetMenuCommand(p, &m, PRESET_COMMAND_RENAME, nullptr);
    presetMenuCommand(p, &m, PRESET_COMMAND_RENAME, nullptr);
    presetMenuClose(&m);
    ASSERT_EQ(prompts.size(), 2u);
    EXPECT_EQ(prompts[0].title, "Rename Speaker Preset");
    EXPECT_EQ(prompts[0].start, "Hall");
    presetMenuOpen(&m);
    EXPECT_EQ(presetNames(m), std::vector<std::string>{"Σκηνή 東京 🎧"});
    EXPECT_TRUE(presetMenuCommand(p, &m, PRESET_COMMAND_DELETE, nullptr));
    presetMenuClose(&m);
    EXPECT_TRUE(std::filesystem::is_empty(presets.folder));

    // Without the host's prompt nothing is asked and nothing saved.
    hostApi.DoRenameDialogEx = nullptr;
    presetMenuOpen(&m);
    replies = {"Never"};
    presetMenuCommand(p, &m, PRESET_COMMAND_SAVE, nullptr);
    presetMenuClose(&m);
    EXPECT_TRUE(std::filesystem::is_empty(presets.folder));
}

TEST_F(DialogMenusTest, FromAHundredPresetsOnTheMenuListsTheFirstHundred) {
    const ProcessPresets& presets = processPresets();
    for (int i = 0; i < 105; i++)
        std::ofstream(std::filesystem::path(presets.folder) / ("P" + std::to_string(i) + ".BrasselSpeakerSetup"))
            << "0 1 0 0 1 1\r\n";
    PresetMenu m;
    presetMenuOpen(&m);
    EXPECT_EQ(m.count, PRESET_MENU_LIMIT);
    EXPECT_EQ(m.main.count, PRESET_MENU_LIMIT + 5);
    EXPECT_EQ(m.main.items[99].command, 199);
    EXPECT_EQ(m.submenus[PRESET_SUBMENU_DELETE].items[99].command, 499);
    // The last command of the delete range names the hundredth preset and no other.
    std::string last = m.name[99];
    SurroundPanner* p = make();
    EXPECT_TRUE(presetMenuCommand(p, &m, 499, nullptr));
    presetMenuClose(&m);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(presets.folder) / (last + ".BrasselSpeakerSetup")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(presets.folder), {}), 104);
    for (auto& entry : std::filesystem::directory_iterator(presets.folder)) std::filesystem::remove(entry.path());
}
