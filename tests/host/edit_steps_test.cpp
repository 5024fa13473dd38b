// The steps of kelvane-host edit: every form parses into the message the editor gets (or the
// menu item, or the strip), in the order given, and a bad step is refused naming the option
// before anything opens.
#include <gtest/gtest.h>

#include "host/edit_steps.h"

namespace {

bool parse(std::vector<const char*> argv, std::vector<EditStep>* steps, std::string* error) {
    std::vector<OptionSpec> specs = EDIT_STEP_OPTIONS;
    specs.push_back({"--capture", true});
    ParsedArgs args;
    if (!parseArgs(int(argv.size()), const_cast<char**>(argv.data()), specs, &args, error)) return false;
    return parseEditSteps(args, steps, error);
}

TEST(EditStepsTest, StepsKeepTheirOrderAndCarryTheirValues) {
    std::vector<EditStep> s;
    std::string error;
    ASSERT_TRUE(parse({"--type", "1231=12", "--capture", "x.png", "--wait=1100", "--click", "1288", "--send",
                       "1079:WM_HSCROLL:0x50008:-1", "--select", "1131=0", "--fader", "1239=794", "--send", "0:1424:3:1"},
                      &s, &error))
        << error;
    ASSERT_EQ(s.size(), 7u);
    EXPECT_EQ(s[0].kind, EDIT_STEP_TYPE);
    EXPECT_EQ(s[0].control, 1231);
    EXPECT_EQ(s[0].text, "12");
    EXPECT_EQ(s[1].kind, EDIT_STEP_WAIT);
    EXPECT_EQ(s[1].number, 1100);
    EXPECT_EQ(s[2].kind, EDIT_STEP_CLICK);
    EXPECT_EQ(s[2].control, 1288);
    EXPECT_EQ(s[3].kind, EDIT_STEP_SEND);
    EXPECT_EQ(s[3].message, 0x114u);
    EXPECT_EQ(s[3].wParam, 0x50008);
    EXPECT_EQ(s[3].lParam, -1);
    EXPECT_EQ(s[4].kind, EDIT_STEP_SELECT);
    EXPECT_EQ(s[4].number, 0);
    EXPECT_EQ(s[5].kind, EDIT_STEP_FADER);
    EXPECT_EQ(s[5].number, 794);
    EXPECT_EQ(s[6].control, 0);
    EXPECT_EQ(s[6].message, 1424u);
    EXPECT_EQ(s[6].option, "--send 0:1424:3:1");
}

TEST(EditStepsTest, TypedTextIsTakenWholeWithEqualsSignsAndAnyScript) {
    std::vector<EditStep> s;
    std::string error;
    ASSERT_TRUE(parse({"--type", "1257=a=b", "--type", "1040=Ωμέγα 声 🎧", "--type", "1231="}, &s, &error)) << error;
    EXPECT_EQ(s[0].text, "a=b");
    EXPECT_EQ(s[1].text, "Ωμέγα 声 🎧");
    EXPECT_EQ(s[2].text, "");
}

TEST(EditStepsTest, MenuPicksAndInPlaceNamesCarryTheirPathsAndStrips) {
    std::vector<EditStep> s;
    std::string error;
    ASSERT_TRUE(parse({"--pick", "5/2", "--click", "1341", "--pick", "0", "--rename-strip", "input:2=Κρουστά = 鼓",
                       "--rename-strip", "speaker:128="},
                      &s, &error))
        << error;
    ASSERT_EQ(s.size(), 5u);
    EXPECT_EQ(s[0].kind, EDIT_STEP_PICK);
    EXPECT_EQ(s[0].path, (std::vector<int>{5, 2}));
    EXPECT_EQ(s[2].path, std::vector<int>{0});
    EXPECT_EQ(s[3].kind, EDIT_STEP_RENAME);
    EXPECT_FALSE(s[3].speaker);
    EXPECT_EQ(s[3].number, 1) << "strips count from 1";
    EXPECT_EQ(s[3].text, "Κρουστά = 鼓");
    EXPECT_TRUE(s[4].speaker);
    EXPECT_EQ(s[4].number, 127);
    EXPECT_EQ(s[4].text, "");
}

TEST(EditStepsTest, BadStepsAreRefusedNamingTheOption) {
    struct Case {
        std::vector<const char*> argv;
        const char* named;
    } cases[] = {
        {{"--click", "button"}, "--click button"},
        {{"--click", "70000"}, "--click 70000"},
        {{"--click", "-1"}, "--click -1"},
        {{"--type", "1231"}, "--type 1231: not ID=VALUE"},
        {{"--send", "1079:WM_HSCROLL:0"}, "not ID:MESSAGE:WPARAM:LPARAM"},
        {{"--send", "1079:WM_NOSUCH:0:0"}, "no message: 'WM_NOSUCH'"},
        {{"--send", "1079:5:0x:0"}, "WPARAM"},
        {{"--send", "1079:5:0:99999999999999999999999"}, "LPARAM"},
        {{"--fader", "1239=1001"}, "--fader 1239=1001"},
        {{"--fader", "1239=5.5"}, "--fader 1239=5.5"},
        {{"--select", "1131=-1"}, "--select 1131=-1"},
        {{"--wait", "600001"}, "--wait 600001"},
        {{"--wait", ""}, "--wait"},
        {{"--pick", ""}, "--pick : not a menu position"},
        {{"--pick", "3/"}, "--pick 3/: not a menu position"},
        {{"--pick", "1000"}, "--pick 1000"},
        {{"--pick", "1/1/1/1"}, "more than three menu levels"},
        {{"--rename-strip", "input:2"}, "--rename-strip input:2: not input:N=TEXT"},
        {{"--rename-strip", "output:2=x"}, "not input:N=TEXT or speaker:N=TEXT"},
        {{"--rename-strip", "input:0=x"}, "no channel from 1 to 128: '0'"},
        {{"--rename-strip", "speaker:129=x"}, "no channel from 1 to 128"},
    };
    for (const Case& c : cases) {
        std::vector<EditStep> s;
        std::string error;
        EXPECT_FALSE(parse(c.argv, &s, &error)) << c.named;
        EXPECT_NE(error.find(c.named), std::string::npos) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
}

}  // namespace
