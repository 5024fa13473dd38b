#include <gtest/gtest.h>

#include "platform/ini_text.h"

TEST(IniTextTest, IntegerReadingFollowsTheProfileRules) {
    EXPECT_EQ(iniParseInt("300", 0), 300);
    EXPECT_EQ(iniParseInt("  -9", 0), -9);
    EXPECT_EQ(iniParseInt("+12abc", 0), 12);
    EXPECT_EQ(uint32_t(iniParseInt("0xFF999999", 0)), 0xFF999999u);
    EXPECT_EQ(iniParseInt("0b101", 0), 5);
    EXPECT_EQ(iniParseInt("0o17", 0), 15);
    EXPECT_EQ(iniParseInt("abc", 5), 0) << "present but not a number reads as 0";
    EXPECT_EQ(iniParseInt("", 5), 5);
    EXPECT_EQ(uint32_t(iniParseInt("4294967297", 0)), 1u) << "wraps at 32 bits";
}

TEST(IniTextTest, CopyNeverSplitsAUtf8Sequence) {
    char out[4];
    EXPECT_EQ(iniCopyValue("a\xC3\xA9z", out, 3), 1);  // "aé" would need 3 bytes + NUL
    EXPECT_STREQ(out, "a");
    EXPECT_EQ(iniCopyValue("a\xC3\xA9z", out, 4), 3);
    EXPECT_STREQ(out, "a\xC3\xA9");
    EXPECT_EQ(iniCopyValue("x", out, 0), 0);
}

TEST(IniTextTest, RewritingKeepsLineEndingsAndPlacesNewKeysInTheirSection) {
    std::string text = "[a]\r\nx=1\r\n\r\n[b]\r\ny=2\r\n";
    std::string out = iniSetValue(text, "A", "z", "3");
    EXPECT_EQ(out, "[a]\r\nx=1\r\nz=3\r\n\r\n[b]\r\ny=2\r\n");
    std::string value;
    EXPECT_TRUE(iniFindValue(out, "a", "Z", &value));
    EXPECT_EQ(value, "3");
    EXPECT_FALSE(iniFindValue("x=1\n", "a", "x", &value)) << "keys before any section belong to none";
}
