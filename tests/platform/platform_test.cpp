#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

#include "platform/platform.h"
#include "platform/window.h"
#include "support/temp_dir.h"

TEST(PlatformTest, SameThreadReentersOtherThreadWaits) {
    RecursiveLock lock;
    lockInit(&lock);
    lockEnter(&lock);
    lockEnter(&lock);  // must not deadlock
    std::atomic<bool> entered{false};
    std::thread other([&] {
        lockEnter(&lock);
        entered = true;
        lockLeave(&lock);
    });
    lockLeave(&lock);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    EXPECT_FALSE(entered.load()) << "one leave of two must keep the lock held";
    lockLeave(&lock);
    other.join();
    EXPECT_TRUE(entered.load());
    lockDestroy(&lock);
}

TEST(PlatformTest, CountsMilliseconds) {
    uint32_t a = tickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    uint32_t elapsed = tickCount() - a;  // unsigned difference survives the wrap
    EXPECT_GE(elapsed, 40u);
    EXPECT_LT(elapsed, 5000u);
}

TEST(PlatformTest, ReadsWithoutRegardToCaseAndFallsBack) {
    TempDir dir;
    std::string path = dir.write("host.ini",
                                 "; comment\n"
                                 "[other]\npanlaw=5\n"
                                 "[Kelvane]\n"
                                 "PanLaw = -9 \n"
                                 "wallcol=0xFF344040\n"
                                 "name=\"quoted value\"\n"
                                 "empty=\n"
                                 "negative=-12\n");
    char text[64];
    EXPECT_EQ(iniReadString(path.c_str(), "kelvane", "panlaw", "", text, sizeof text), 2);
    EXPECT_STREQ(text, "-9");
    EXPECT_EQ(iniReadString(path.c_str(), "KELVANE", "NAME", "", text, sizeof text), 12);
    EXPECT_STREQ(text, "quoted value");
    EXPECT_EQ(iniReadString(path.c_str(), "kelvane", "missing", "dflt", text, sizeof text), 4);
    EXPECT_STREQ(text, "dflt");
    EXPECT_EQ(iniReadString(path.c_str(), "nosection", "panlaw", nullptr, text, sizeof text), 0);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(iniReadString(path.c_str(), "kelvane", "name", "", text, 6), 5) << "cut to capacity - 1";
    EXPECT_STREQ(text, "quote");
    EXPECT_EQ(iniReadString(dir.file("absent.ini").c_str(), "kelvane", "panlaw", "x", text, sizeof text), 1);

    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "panlaw", 7), -9);
    EXPECT_EQ(uint32_t(iniReadInt(path.c_str(), "kelvane", "wallcol", 0)), 0xFF344040u);
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "negative", 0), -12);
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "empty", 77), 77) << "an empty value reads as missing";
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "missing", 300), 300);
    EXPECT_EQ(iniReadInt(path.c_str(), "other", "panlaw", 0), 5) << "keys belong to their own section";
    EXPECT_EQ(iniReadInt(dir.file("absent.ini").c_str(), "kelvane", "x", 3), 3);
}

TEST(PlatformTest, WritingCreatesAndKeepsOtherLines) {
    TempDir dir;
    std::string path = dir.file("new.ini");
    ASSERT_TRUE(iniWriteString(path.c_str(), "kelvane", "panlaw", "-4.5")) << "writing creates the file";
    char text[64];
    iniReadString(path.c_str(), "kelvane", "panlaw", "", text, sizeof text);
    EXPECT_STREQ(text, "-4.5");

    dir.write("keep.ini", "[a]\nx=1\n; note\n\n[kelvane]\nfrontcol=5\n\n[b]\ny=2\n");
    path = dir.file("keep.ini");
    ASSERT_TRUE(iniWriteString(path.c_str(), "KELVANE", "FrontCol", "6"));
    ASSERT_TRUE(iniWriteString(path.c_str(), "kelvane", "panlaw", "-3"));
    ASSERT_TRUE(iniWriteString(path.c_str(), "new section", "k", "v"));
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "frontcol", 0), 6);
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "panlaw", 0), -3);
    EXPECT_EQ(iniReadInt(path.c_str(), "a", "x", 0), 1);
    EXPECT_EQ(iniReadInt(path.c_str(), "b", "y", 0), 2);
    iniReadString(path.c_str(), "new section", "k", "", text, sizeof text);
    EXPECT_STREQ(text, "v");
    std::string file = dir.read("keep.ini");
    EXPECT_NE(file.find("; note"), std::string::npos) << file;
    EXPECT_EQ(file.find("frontcol=5"), std::string::npos) << file;

    ASSERT_TRUE(iniWriteString(path.c_str(), "kelvane", "panlaw", nullptr));
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "panlaw", 99), 99) << "a null value removes the key";
    EXPECT_EQ(iniReadInt(path.c_str(), "kelvane", "frontcol", 0), 6);
    ASSERT_TRUE(iniWriteString(path.c_str(), "a", nullptr, nullptr));
    EXPECT_EQ(iniReadInt(path.c_str(), "a", "x", 42), 42) << "a null key removes the section";
    EXPECT_EQ(iniReadInt(path.c_str(), "b", "y", 0), 2);
}

TEST(PlatformTest, RegistersAndUnregistersByName) {
    const char* name = "KvpTestClass";
    EXPECT_FALSE(windowClassRegistered(name));
    EXPECT_TRUE(windowClassRegister(name, nullptr));
    EXPECT_TRUE(windowClassRegistered(name));
    EXPECT_FALSE(windowClassRegister(name, nullptr)) << "a second registration of the same name fails";
    EXPECT_TRUE(windowClassUnregister(name));
    EXPECT_FALSE(windowClassRegistered(name));
    EXPECT_FALSE(windowClassUnregister(name));
}

TEST(PlatformTest, HandleCarriesItsDescription) {
    FontDescription d = {};
    d.height = -17;
    d.width = 6;
    d.weight = 700;
    d.italic = 1;
    std::strcpy(d.faceName, "Arial");
    void* font = fontCreate(&d);
    ASSERT_NE(font, nullptr);
    FontDescription back;
    std::memset(&back, 0x55, sizeof back);
    ASSERT_TRUE(fontDescribe(font, &back));
    EXPECT_EQ(back.height, -17);
    EXPECT_EQ(back.width, 6);
    EXPECT_EQ(back.weight, 700);
    EXPECT_EQ(back.italic, 1);
    EXPECT_EQ(back.underline, 0);
    EXPECT_STREQ(back.faceName, "Arial");
    fontDestroy(font);

    // A face name that fills the field keeps its terminator.
    std::memset(d.faceName, 'x', sizeof d.faceName);
    font = fontCreate(&d);
    ASSERT_NE(font, nullptr);
    ASSERT_TRUE(fontDescribe(font, &back));
    EXPECT_LT(std::strlen(back.faceName), sizeof back.faceName);
    fontDestroy(font);

    EXPECT_EQ(fontCreate(nullptr), nullptr);
    EXPECT_FALSE(fontDescribe(nullptr, &back));
    fontDestroy(nullptr);
}
