#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "editor/sending_tracks.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "support/panner_fixture.h"

namespace {

// A project as the host sees it: which track channels feed which pins of the effect, and each
// channel's name and colour word. Every call the effect makes is noted in order.
struct TrackChannel {
    std::vector<int> pins;
    std::string name;
    int colour;
    bool answers;  // the host's channel call gives true
};
std::map<int, TrackChannel> project;
intptr_t effectHandle, trackHandle;
std::vector<std::string> calls;

intptr_t VST_CALL host(AEffect*, int32_t opcode, int32_t index, intptr_t value, void*, float) {
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY) {
        calls.push_back("query " + std::to_string(value));
        if (value == HOST_QUERY_EFFECT_HANDLE) return effectHandle;
        if (value == HOST_QUERY_TRACK) return trackHandle;
        if (value == HOST_QUERY_CHANNEL_COUNT) return 2;
    }
    return 0;
}

int pinMap(void* fx, int isOutput, uint32_t* map, int pinBase, int count) {
    calls.push_back("map " + std::to_string(pinBase));
    EXPECT_EQ(intptr_t(fx), effectHandle);
    EXPECT_EQ(isOutput, 0);
    EXPECT_EQ(count, 0);
    for (int w = 0; w < PIN_MAP_WORDS; w++) EXPECT_EQ(map[w], 0u) << "zeroed first";
    for (const auto& [channel, c] : project)
        if (channel >= pinBase && channel < pinBase + 32)
            for (int pin : c.pins) map[pin] |= 1u << (channel - pinBase);
    return 1;
}

bool channelInfo(void* track, int channel, char* name, int size, int* colour) {
    calls.push_back("info " + std::to_string(channel));
    EXPECT_EQ(intptr_t(track), trackHandle);
    EXPECT_EQ(size, 128);
    auto it = project.find(channel);
    if (it == project.end()) return false;
    std::snprintf(name, size_t(size), "%s", it->second.name.c_str());
    *colour = it->second.colour;
    return it->second.answers;
}

// A colour word of the host: red in the low byte, and the bit for a colour of its own.
int ownColour(int r, int g, int b) { return int(SENDING_OWN_COLOUR) | r | g << 8 | b << 16; }

}  // namespace

struct SendingTracksTest : PannerFixture {
    SurroundPanner* p = nullptr;
    void SetUp() override {
        PannerFixture::SetUp();
        p = make();
        hostCallback = host;
        hostApi.fxGetSetPinMap2 = pinMap;
        hostApi.GetReceiveChannelInfo = channelInfo;
        project.clear();
        calls.clear();
        effectHandle = 0x1000;
        trackHandle = 0x2000;
    }
    void nameAll(int inputs, const char* name, uint32_t colour) {
        ASSERT_TRUE(setInputCount(p, inputs));
        for (int i = 0; i < inputs; i++) {
            std::snprintf(inputRecords(p)[i].name, 64, "%s", name);
            inputRecords(p)[i].color = colour;
        }
    }
    std::string name(int i) const { return inputRecords(p)[i].name; }
    uint32_t colour(int i) const { return inputRecords(p)[i].color; }
};

TEST_F(SendingTracksTest, NamesAndColoursOfTheLowestFeedingChannelInTheHostsOrder) {
    nameAll(4, "typed", 0xFF123456);
    project[9] = {{0}, "Overheads", ownColour(1, 2, 3), true};
    project[5] = {{0, 3}, "Kick", ownColour(0xFF, 0x20, 0x10), true};
    project[40] = {{1}, "Bass DI", 0, true};  // no colour of its own
    importSendingTracks(p);
    EXPECT_EQ(calls, (std::vector<std::string>{"query 4", "map 0", "map 32", "map 64", "map 96", "query 1", "info 5",
                                               "info 40", "info 5"}));
    EXPECT_EQ(name(0), "Kick") << "channels 5 and 9 feed it: the lower one names it";
    EXPECT_EQ(colour(0), 0xFFFF2010u);
    EXPECT_EQ(name(1), "Bass DI") << "a channel of the second block";
    EXPECT_EQ(colour(1), INPUT_COLOURS[1]) << "no colour of its own: the default of the index";
    EXPECT_EQ(name(2), "channel 3") << "fed by nothing: the default, whatever it was called";
    EXPECT_EQ(colour(2), INPUT_COLOURS[2]);
    EXPECT_EQ(name(3), "Kick");
}

TEST_F(SendingTracksTest, WhatTheHostDoesNotGiveBecomesTheDefaults) {
    project[0] = {{0}, "", ownColour(9, 9, 9), true};            // an empty name
    project[1] = {{1}, "Refused", ownColour(9, 9, 9), false};    // the call says false
    std::string longName;
    for (int i = 0; i < 31; i++) longName += "Ω";  // 62 bytes
    longName += "東京";                             // 東 would take bytes 63 to 65
    project[2] = {{2}, longName, 0, true};

    nameAll(3, "typed", 0xFF123456);
    importSendingTracks(p);
    EXPECT_EQ(name(0), "channel 1");
    EXPECT_EQ(colour(0), 0xFF090909u) << "the colour counts though the name is empty";
    EXPECT_EQ(name(1), "channel 2");
    EXPECT_EQ(name(2), longName.substr(0, 62)) << "cut to 63 bytes at most, whole characters";

    // A host without the channel call: as if every call said false.
    hostApi.GetReceiveChannelInfo = nullptr;
    nameAll(3, "typed", 0xFF123456);
    importSendingTracks(p);
    for (int i = 0; i < 3; i++) EXPECT_EQ(name(i), "channel " + std::to_string(i + 1));

    // No track handle: no channel calls; no effect handle: no map calls, the map stays empty.
    hostApi.GetReceiveChannelInfo = channelInfo;
    for (auto [effect, track, expected] :
         {std::tuple{0x1000, 0, std::vector<std::string>{"query 4", "map 0", "map 32", "map 64", "map 96", "query 1"}},
          {0, 0x2000, std::vector<std::string>{"query 4", "query 1"}}}) {
        effectHandle = effect;
        trackHandle = track;
        calls.clear();
        nameAll(3, "typed", 0xFF123456);
        importSendingTracks(p);
        EXPECT_EQ(calls, expected);
        EXPECT_EQ(name(2), "channel 3");
        EXPECT_EQ(colour(2), INPUT_COLOURS[2]);
    }
}

TEST_F(SendingTracksTest, WithoutThePinMapCallNothingHappensAtAll) {
    hostApi.fxGetSetPinMap2 = nullptr;
    project[0] = {{0}, "Kick", 0, true};
    nameAll(2, "typed", 0xFF123456);
    importSendingTracks(p);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(name(0), "typed");
    EXPECT_EQ(colour(0), 0xFF123456u);
}

TEST_F(SendingTracksTest, InputsFromTheHundredAndTwentyEighthOnTakeTheDefaults) {
    // More track channels than inputs, and channels feeding the last pins of the map.
    for (int c = 0; c < 128; c++) project[c] = {{c}, "track " + std::to_string(c), 0, true};
    nameAll(2, "typed", 0xFF123456);
    importSendingTracks(p);
    EXPECT_EQ(name(1), "track 1");
    EXPECT_EQ(calls.size(), 6u + 2u) << "one channel call for each input";

    nameAll(130, "typed", 0xFF123456);
    importSendingTracks(p);
    EXPECT_EQ(name(127), "track 127");
    EXPECT_EQ(name(128), "channel 129");
    EXPECT_EQ(colour(129), INPUT_COLOURS[129 & 7]);
}
