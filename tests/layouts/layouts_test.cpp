#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <cmath>
#include <numbers>

#include "engine/position.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "layouts/layouts.h"
#include "layouts/naming.h"
#include "support/panner_fixture.h"

struct LayoutsTest : PannerFixture {};

namespace {

std::vector<std::string> namesOf(const SurroundPanner* p) {
    std::vector<std::string> names;
    for (int s = 0; s < speakerCount(p); s++) names.push_back(speakerRecords(p)[s].name);
    return names;
}

using Names = std::vector<std::string>;

}  // namespace

TEST_F(LayoutsTest, BuiltInLayoutsAreNamedFromWhereTheSpeakersStand) {
    SurroundPanner* p = make();
    const Names smpte = {"left front", "right front", "center front", "LFE", "left side", "right side", "left rear",
                         "right rear"};
    struct Case {
        int id;
        Names names;
    };
    Names h714 = smpte;
    for (const char* n : {"left front height", "right front height", "left rear height", "right rear height"})
        h714.push_back(n);
    Names h914 = smpte;
    for (const char* n : {"left wide", "right wide", "left front height", "right front height", "left rear height",
                          "right rear height"})
        h914.push_back(n);
    const Case cases[] = {
        {1, {"left front", "right front"}},
        {5, {"left front", "right front", "center front", "LFE", "left surround", "right surround"}},
        {8, {"left front", "right front", "center front", "LFE", "left surround", "right surround"}},
        {6, smpte},
        {9, smpte},
        {19, {"left front", "right front", "center front", "LFE", "left rear", "right rear", "left side", "right side"}},
        {11, h714},
        {17, h914},
        {2, {"left front", "right front", "left surround", "right surround"}},
        {13, {"left front", "right front", "", "", "left surround", "right surround"}},
        {3, {"left front", "right front", "left rear", "right rear", "left side", "right side", "center front",
             "center rear"}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(applyLayout(p, c.id), c.id);
        EXPECT_EQ(namesOf(p), c.names) << "layout " << c.id;
    }
    applyLayout(p, 7);
    EXPECT_EQ(namesOf(p).back(), "right side height");
    applyLayout(p, 10);
    EXPECT_EQ(namesOf(p).back(), "right front height");
    applyLayout(p, 15);
    EXPECT_EQ(namesOf(p)[10], "center front height");
    EXPECT_EQ(namesOf(p)[11], "overhead");

    // Quadraphonic has no LFE speaker; its SMPTE form has two vacant channels.
    applyLayout(p, 2);
    EXPECT_EQ(speakerRecords(p)[3].lfe, 0);
    applyLayout(p, 13);
    EXPECT_EQ(speakerRecords(p)[2].vacant, 1);
    EXPECT_EQ(speakerRecords(p)[3].lfe, 0);
    EXPECT_EQ(p->layoutFamily, 1);
    // The ITU surrounds stand at 110 degrees.
    applyLayout(p, 8);
    EXPECT_NEAR(speakerRecords(p)[5].posX, std::sin(110.0 * std::numbers::pi / 180), 1e-12);

    // Free speakers: the middle of the floor, overhead, wide against side.
    {
        LockHold hold(&p->stateLock);
        applyLayout(p, 6);
        PanSpeaker* s = speakerRecords(p);
        s[3].lfe = 0;  // the LFE speaker at (0, 0, 0) becomes a panning one
        s[4].posX = 1.0, s[4].posY = 0.5;
        s[5].posX = 1.0, s[5].posY = 0.7;
        s[6].posX = 0.0, s[6].posY = 0.0, s[6].posZ = 1.0;
        analyzeSpeakers(p);
        nameSpeakers(p, 0, 99);
    }
    EXPECT_EQ(std::string(speakerRecords(p)[3].name), "free");
    EXPECT_EQ(std::string(speakerRecords(p)[4].name), "right wide");
    EXPECT_EQ(std::string(speakerRecords(p)[5].name), "right side");
    EXPECT_EQ(std::string(speakerRecords(p)[6].name), "overhead");
    destroy(p);
}

TEST_F(LayoutsTest, LookupsAndDefaults) {
    struct Case {
        int count, family, id;
    };
    const Case cases[] = {{8, 0, 19}, {8, 2, 9}, {8, 1, 3}, {8, 3, 19}, {7, 0, 1}, {12, 3, 15}, {6, 1, 13}};
    for (const Case& c : cases) {
        int family = c.family, count = c.count;
        EXPECT_EQ(lookupLayout(-1, &family, &count), c.id) << c.count << " family " << c.family;
    }
    int family = 9, count = 9;
    EXPECT_EQ(lookupLayout(0, &family, &count), 1);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(lookupLayout(16, &family, &count), 16);
    EXPECT_EQ(family, 3);
    EXPECT_EQ(count, 14);
    const int defaults[17] = {1, 1, 1, 2, 2, 5, 5, 6, 6, 7, 7, 11, 11, 11, 11, 11, 11};
    for (int n = 1; n <= 16; n++) EXPECT_EQ(layoutForChannelCount(n), defaults[n]) << n;
    EXPECT_NEAR(slotPosition(33, 3).x, std::tan(std::numbers::pi / 6), 1e-15) << "only the low five bits count";
    EXPECT_EQ(slotPosition(3, 2).y, 0.0);
    EXPECT_EQ(slotPosition(0, 7).x, -1.0) << "an unknown family reads family 0";
}

TEST_F(LayoutsTest, SpeakerCountAndInputPlacement) {
    countAnswer = 6;
    SurroundPanner* p = make();
    EXPECT_EQ(p->layoutId, 5);
    EXPECT_EQ(setSpeakerCount(p, 7), 7);
    EXPECT_EQ(p->layoutId, 0);
    const PanSpeaker& added = speakerRecords(p)[6];
    EXPECT_EQ(added.posX, -1.0);
    EXPECT_EQ(added.posY, 1.0);
    EXPECT_EQ(added.posZ, 1.0) << "slots 6 and 7 are taken: the walk ends at slot 8";
    EXPECT_EQ(std::string(added.name), "left front height");
    EXPECT_EQ(setSpeakerCount(p, 40), 32);
    EXPECT_EQ(speakerCount(p), 32);

    auto work = [&](int i) {
        const PanInput& in = inputRecords(p)[i];
        return std::vector<double>{in.workX, in.workY, in.workZ};
    };
    // One input sits on the centre speaker; with stereo, in front on the left.
    applyLayout(p, 5);
    setInputCount(p, 1);
    resetInputPositions(p, -1);
    EXPECT_EQ(work(0), (std::vector<double>{0, 1, 0}));
    applyLayout(p, 1);
    resetInputPositions(p, -1);
    EXPECT_EQ(work(0), (std::vector<double>{-0.5, 1, 0}));

    // Six inputs into 7.1 SMPTE, with and without the LFE input.
    applyLayout(p, 6);
    setInputCount(p, 6);
    setLfeChannel(p, true);
    resetInputPositions(p, -1);
    auto on = [&](int s) {
        const PanSpeaker& spk = speakerRecords(p)[s];
        return std::vector<double>{spk.posX, spk.posY, spk.posZ};
    };
    EXPECT_EQ(work(2), on(2));
    EXPECT_EQ(work(3), on(3));
    EXPECT_EQ(work(4), on(6));
    EXPECT_EQ(work(5), on(7));
    setLfeChannel(p, false);
    resetInputPositions(p, -1);
    EXPECT_EQ(work(3), on(4));
    EXPECT_EQ(work(4), on(5));
    EXPECT_EQ(work(5), on(6));

    // Nine inputs into stereo: the rest line up at the front.
    applyLayout(p, 1);
    setInputCount(p, 9);
    resetInputPositions(p, -1);
    EXPECT_EQ(work(2), (std::vector<double>{-0.5, 0.9375, 0}));
    EXPECT_EQ(work(8), (std::vector<double>{-0.5, 0.75, 0}));
    finishEdit(p, true);
    EXPECT_EQ(inputRecords(p)[8].posY, 0.75);

    toggleLfeSpeaker(p);
    EXPECT_EQ(speakerRecords(p)[1].lfe, 1) << "the last speaker when there are fewer than four";
    EXPECT_EQ(std::string(speakerRecords(p)[1].name), "LFE");
    toggleLfeSpeaker(p);
    EXPECT_EQ(std::string(speakerRecords(p)[1].name), "right front");
    destroy(p);
}
