// What the reference host offers for the dialog's menus, names and keys: a project of sending
// tracks read from a file and told through the routing services, scripted answers of the name
// prompt, and the key hooks that plugins register.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/host_api.h"
#include "host/host.h"
#include "host/key_hooks.h"
#include "host/sending_tracks.h"
#include "support/temp_dir.h"

namespace {

using PinMapCall = int (*)(void*, int, uint32_t*, int, int);
using ChannelCall = bool (*)(void*, int, char*, int, int*);
using PromptCall = int (*)(void*, const char*, const char*, char*, int);

template <class F>
F service(RefHost* host, const char* name) {
    auto it = host->services.find(name);
    return it == host->services.end() ? nullptr : reinterpret_cast<F>(it->second);
}

struct Hosted {
    RefHost* host = refHostCreate();
    ~Hosted() { refHostDestroy(host); }
};

int hookCalls[2];
int firstHook(void*, HostAccelerator*) { return ++hookCalls[0], 0; }
int eatingHook(void*, HostAccelerator* self);
HostAccelerator first = {firstHook, 1, nullptr}, eating = {eatingHook, 1, nullptr};
int eatingHook(void*, HostAccelerator* self) {
    ++hookCalls[1];
    hostPluginRegister("-accelerator", self);  // lets itself go while it answers
    return 1;
}

}  // namespace

TEST(HostProjectTest, ATracksFileFeedsThePinMapAndTheChannelCalls) {
    TempDir dir;
    std::string path = dir.write("tracks.txt",
                                 "# channel pins colour name\r\n"
                                 "\n"
                                 "6   1,4   #FF2010   Kick  drum \r\n"
                                 "10  1     none      Overheads\n"
                                 "   # indented comment\n"
                                 "41  2     #0000ff\n"
                                 "128 128   none      Σκηνή 東京 🎧\n");
    Hosted h;
    EXPECT_EQ(h.host->effectHandle, 0) << "no project: no handles";
    std::string error;
    ASSERT_TRUE(refHostLoadTracks(h.host, path.c_str(), &error)) << error;
    ASSERT_NE(h.host->effectHandle, 0);
    ASSERT_NE(h.host->trackHandle, 0);

    PinMapCall pinMap = service<PinMapCall>(h.host, "fxGetSetPinMap2");
    ChannelCall channel = service<ChannelCall>(h.host, "GetReceiveChannelInfo");
    ASSERT_TRUE(pinMap && channel);
    uint32_t map[4][128] = {};
    void* fx = reinterpret_cast<void*>(h.host->effectHandle);
    for (int b = 0; b < 4; b++) EXPECT_EQ(pinMap(fx, 0, map[b], 32 * b, 0), 1);
    EXPECT_EQ(map[0][0], (1u << 5) | (1u << 9)) << "channels 6 and 10 feed input 1";
    EXPECT_EQ(map[0][3], 1u << 5);
    EXPECT_EQ(map[1][1], 1u << 8) << "channel 41 is bit 8 of the second block";
    EXPECT_EQ(map[3][127], 1u << 31);
    EXPECT_EQ(map[0][2], 0u);
    uint32_t outputs[128] = {};
    EXPECT_EQ(pinMap(fx, 1, outputs, 0, 0), 0) << "no output routing";

    void* track = reinterpret_cast<void*>(h.host->trackHandle);
    char name[128];
    int colour = -1;
    ASSERT_TRUE(channel(track, 5, name, 128, &colour));
    EXPECT_STREQ(name, "Kick  drum") << "the rest of the line, blanks around it dropped";
    EXPECT_EQ(colour, 0x1000000 | 0xFF | 0x20 << 8 | 0x10 << 16);
    ASSERT_TRUE(channel(track, 9, name, 128, &colour));
    EXPECT_EQ(colour, 0);
    ASSERT_TRUE(channel(track, 40, name, 128, &colour));
    EXPECT_STREQ(name, "");
    EXPECT_EQ(colour, 0x1000000 | 0xFF << 16);
    ASSERT_TRUE(channel(track, 127, name, 10, &colour));
    EXPECT_STREQ(name, "Σκην") << "cut to the buffer at a whole character";
    EXPECT_FALSE(channel(track, 6, name, 128, &colour));
}

TEST(HostProjectTest, ABadTracksLineIsRefusedWithItsPlace) {
    TempDir dir;
    struct Case {
        const char* text;
        const char* reason;
    };
    const Case cases[] = {
        {"1 1 none A\n2 2\n", ":2: not CHANNEL PINS COLOUR NAME"},
        {"0 1 none A\n", ":1: '0' is no track channel from 1 to 128"},
        {"129 1 none A\n", ":1: '129' is no track channel"},
        {"# x\n5 1,,2 none A\n", ":2: '' is no input from 1 to 128"},
        {"5 1,129 none A\n", "'129' is no input"},
        {"5 1 red A\n", ":1: colour 'red' is neither #RRGGBB nor none"},
        {"5 1 #12345G A\n", "colour '#12345G'"},
        {"5 1 none A\n\n5 2 none B\n", ":3: channel 5 is given twice"},
    };
    for (const Case& c : cases) {
        Hosted h;
        std::string path = dir.write("tracks.txt", c.text), error;
        EXPECT_FALSE(refHostLoadTracks(h.host, path.c_str(), &error)) << c.text;
        EXPECT_EQ(error.find(path), 0u) << error;
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
        EXPECT_EQ(h.host->effectHandle, 0) << "the host stays without a project";
        EXPECT_TRUE(h.host->sendingChannels.empty());
    }
    Hosted h;
    std::string error;
    EXPECT_FALSE(refHostLoadTracks(h.host, dir.file("missing.txt").c_str(), &error));
    EXPECT_EQ(error, dir.file("missing.txt") + ": cannot be read");
}

TEST(HostProjectTest, ScriptedPromptsTakeTheRepliesInOrderAndCancelWhenTold) {
    TempDir dir;
    Hosted h;
    std::string error;
    ASSERT_TRUE(refHostLoadReplies(h.host, dir.write("replies.txt", "Hall\r\n<cancel>\nΣκηνή 🎧\n\n").c_str(), &error));
    PromptCall prompt = service<PromptCall>(h.host, "DoRenameDialogEx");
    ASSERT_NE(prompt, nullptr);
    char buffer[512] = "old";
    EXPECT_EQ(prompt(nullptr, "Save Speaker Preset", "Preset name", buffer, 512), 1);
    EXPECT_STREQ(buffer, "Hall");
    EXPECT_EQ(prompt(nullptr, "Rename Speaker Preset", "Preset name", buffer, 512), 0);
    EXPECT_STREQ(buffer, "Hall") << "a cancel leaves the buffer";
    char small[8];
    EXPECT_EQ(prompt(nullptr, "t", "p", small, 8), 1);
    EXPECT_STREQ(small, "Σκη") << "cut at a whole character";
    EXPECT_EQ(prompt(nullptr, "t", "p", buffer, 512), 1);
    EXPECT_STREQ(buffer, "") << "an empty line is an empty answer";
    EXPECT_EQ(prompt(nullptr, "t", "p", buffer, 512), 0) << "no answer left";
    EXPECT_EQ(h.host->renameTitles.size(), 5u);
    EXPECT_EQ(h.host->renameTitles[1], "Rename Speaker Preset");
}

TEST(HostProjectTest, KeyHooksAreAskedLastKeptFirstAndMayLetThemselvesGo) {
    hookCalls[0] = hookCalls[1] = 0;
    ASSERT_EQ(hostKeyHookCount(), 0);
    EXPECT_EQ(hostPluginRegister("<accelerator", &first), 1);
    EXPECT_EQ(hostPluginRegister("<accelerator", &first), 0) << "kept once";
    EXPECT_EQ(hostPluginRegister("<accelerator", &eating), 1);
    EXPECT_EQ(hostPluginRegister("accelerator", &eating), 0);
    EXPECT_EQ(hostPluginRegister("<accelerator", nullptr), 0);
    int message = 0;
    EXPECT_EQ(hostTranslateMessage(&message), 1);
    EXPECT_EQ(hookCalls[0], 0) << "the hook kept last ate it";
    EXPECT_EQ(hostKeyHookCount(), 1);
    EXPECT_EQ(hostTranslateMessage(&message), 0);
    EXPECT_EQ(hookCalls[0], 1);
    EXPECT_EQ(hostPluginRegister("-accelerator", &first), 1);
    EXPECT_EQ(hostPluginRegister("-accelerator", &first), 0);
    EXPECT_EQ(hostKeyHookCount(), 0);
}
