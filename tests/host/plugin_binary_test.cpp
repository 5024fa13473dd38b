// The built plugin binary, loaded through VSTPluginMain by the reference host as a DAW would.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "host/host.h"
#include "host/loader.h"
#include "hostservices/services.h"
#include "plugin_paths.h"

namespace {

struct PluginBinaryTest : ::testing::Test {
    PluginLibrary library = {};
    std::vector<RefHost*> hosts;

    void SetUp() override { ASSERT_TRUE(pluginLibraryOpen(&library, pluginPath().c_str())) << library.error; }
    void TearDown() override {
        pluginLibraryClose(&library);
        for (RefHost* h : hosts) refHostDestroy(h);
    }
    RefHost* host(intptr_t channels = 2) {
        RefHost* h = refHostCreate();
        h->channelCount = channels;
        hosts.push_back(h);
        return h;
    }
    static void close(AEffect* e) { e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f); }
};

TEST_F(PluginBinaryTest, CountQueryShapesTheEffect) {
    AEffect* e = library.main(refHostCallback(host(3)));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->magic, 0x56737450);
    EXPECT_EQ(e->uniqueID, 0x6b767032);
    EXPECT_EQ(e->version, 1100);
    EXPECT_EQ(e->flags, 0x1031);
    EXPECT_EQ(e->numInputs, 3);
    EXPECT_EQ(e->numOutputs, 3);
    EXPECT_EQ(e->numParams, 42);
    close(e);

    e = library.main(refHostCallback(host(129)));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->numInputs, 2);
    EXPECT_EQ(e->numOutputs, 2);
    EXPECT_EQ(e->numParams, 30);
    close(e);
}

TEST_F(PluginBinaryTest, HostLackingAFaderFunctionGetsNothingUntilAFullHostComes) {
    RefHost* lacking = host();
    refHostRemoveService(lacking, "SLIDER2DB");
    EXPECT_EQ(library.main(refHostCallback(lacking)), nullptr);
    std::vector<std::string> expected = {"SetWindowAccessibilityString", "DB2SLIDER", "SLIDER2DB"};
    EXPECT_EQ(refHostLookups(lacking), expected) << "no further imports after the missing fader function";

    RefHost* noIni = host();
    refHostRemoveService(noIni, "get_ini_file");
    EXPECT_EQ(library.main(refHostCallback(noIni)), nullptr);

    RefHost* full = host();
    AEffect* e = library.main(refHostCallback(full));
    ASSERT_NE(e, nullptr) << "a later call with a full host binds";
    std::vector<std::string> names = refHostLookups(full);
    EXPECT_GT(names.size(), 10u);
    EXPECT_EQ(names[0], "SetWindowAccessibilityString");

    // A second instance imports nothing more but is a new, independent instance.
    RefHost* second = host(6);
    AEffect* e2 = library.main(refHostCallback(second));
    ASSERT_NE(e2, nullptr);
    EXPECT_NE(e2, e);
    EXPECT_TRUE(refHostLookups(second).empty());
    EXPECT_EQ(e2->numInputs, 6);
    close(e2);
    close(e);
}

TEST_F(PluginBinaryTest, OpenAsksForIdleAndTheDispatcherAnswers) {
    RefHost* h = host();
    AEffect* e = library.main(refHostCallback(h));
    ASSERT_NE(e, nullptr);
    refHostClearCalls(h);
    e->dispatcher(e, effOpen, 0, 0, nullptr, 0.0f);
    std::vector<AudioMasterCall> calls = refHostCalls(h);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].opcode, audioMasterNeedIdle);
    EXPECT_EQ(calls[0].effect, e);
    char name[64] = {0};
    e->dispatcher(e, effGetEffectName, 0, 0, name, 0.0f);
    EXPECT_STREQ(name, "KelvanePan");
    EXPECT_EQ(e->dispatcher(e, effCanDo, 0, 0, const_cast<char*>("hasTarnwickEmbeddedUI"), 0.0f),
              intptr_t(0xBEEF0000u));
    close(e);
}

TEST_F(PluginBinaryTest, FaderCurveIsItsOwnInverse) {
    EXPECT_EQ(hostDbToSlider(-200.0), 0.0);
    EXPECT_EQ(hostDbToSlider(40.0), 1000.0);
    double zero = hostDbToSlider(0.0);
    EXPECT_GT(zero, 0.0);
    EXPECT_LT(zero, 1000.0);
    for (double db : {-150.0, -60.0, -6.0, 0.0, 6.0, 12.0}) EXPECT_NEAR(hostSliderToDb(hostDbToSlider(db)), db, 1e-9);
    for (double pos : {0.0, 1.0, 500.0, 999.0, 1000.0}) EXPECT_NEAR(hostDbToSlider(hostSliderToDb(pos)), pos, 1e-9);
}

TEST_F(PluginBinaryTest, ServicesThroughTheLookup) {
    RefHost* h = refHostCreate();
    audioMasterCallback cb = refHostCallback(h);
    auto lookup = [&](const char* name) {
        return reinterpret_cast<void*>(cb(nullptr, int32_t(0xDEADBEEF), int32_t(0xDEADF00D), 0, const_cast<char*>(name), 0.0f));
    };
    h->iniPath = "/some/host.ini";
    auto iniFile = reinterpret_cast<const char* (*)()>(lookup("get_ini_file"));
    ASSERT_NE(iniFile, nullptr);
    EXPECT_STREQ(iniFile(), "/some/host.ini");
    EXPECT_EQ(lookup("no_such_function"), nullptr);

    h->channelCount = 12;
    h->trackHandle = 77;
    EXPECT_EQ(cb(nullptr, int32_t(0xDEADBEEF), int32_t(0xDEADF00E), 5, nullptr, 0.0f), 12);
    EXPECT_EQ(cb(nullptr, int32_t(0xDEADBEEF), int32_t(0xDEADF00E), 1, nullptr, 0.0f), 77);

    // The stable sort keeps equal keys in their order.
    struct Item {
        int key, order;
    };
    std::vector<Item> items = {{2, 0}, {1, 1}, {2, 2}, {0, 3}, {1, 4}, {2, 5}, {0, 6}};
    auto sort = reinterpret_cast<void (*)(void*, size_t, size_t, int (*)(const void*, const void*), void*)>(
        lookup("__mergesort"));
    sort(items.data(), items.size(), sizeof(Item),
         [](const void* a, const void* b) { return static_cast<const Item*>(a)->key - static_cast<const Item*>(b)->key; },
         nullptr);
    std::vector<int> order;
    for (const Item& i : items) order.push_back(i.order);
    EXPECT_EQ(order, (std::vector<int>{3, 6, 1, 4, 0, 2, 5}));

    auto localizeFn = reinterpret_cast<const char* (*)(const char*, const char*, int)>(lookup("__localizeFunc"));
    EXPECT_STREQ(localizeFn("channel ", "kelvanepan", 0), "channel ") << "identity without a table";
    h->translations[std::string("kelvanepan\nchannel ")] = "Kanal ";
    EXPECT_STREQ(localizeFn("channel ", "kelvanepan", 0), "Kanal ");
    EXPECT_STREQ(localizeFn("channel ", "other", 0), "channel ");
    refHostDestroy(h);
}

#if !defined(_WIN32)
TEST_F(PluginBinaryTest, InfoReportsAndBadArgumentsExitTwo) {
    std::string tool = besideTestProgram(KVP_HOST_TOOL_FILE);
    std::string out = besideTestProgram("info-out.txt");
    ASSERT_EQ(std::system((tool + " info " + pluginPath() + " --channels 3 > " + out).c_str()), 0);
    FILE* f = std::fopen(out.c_str(), "r");
    ASSERT_NE(f, nullptr);
    char buffer[4096] = {0};
    std::fread(buffer, 1, sizeof buffer - 1, f);
    std::fclose(f);
    std::remove(out.c_str());
    std::string text = buffer;
    EXPECT_NE(text.find("parameters  42"), std::string::npos) << text;
    EXPECT_NE(text.find("'kvp2'"), std::string::npos) << text;

    auto status = [](const std::string& command) {
        int raw = std::system((command + " 2>/dev/null").c_str());
        return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    };
    EXPECT_EQ(status(tool + " info /no/such/plugin.so"), 2);
    EXPECT_EQ(status(tool + " info " + pluginPath() + " --channels x"), 2);
    EXPECT_EQ(status(tool + " info"), 2);
    EXPECT_EQ(status(tool + " frobnicate"), 2);
}
#endif

}  // namespace
