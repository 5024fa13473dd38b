#include <gtest/gtest.h>

#include "support/panner_fixture.h"
#include "support/speaker_rigs.h"

struct SpeakerAnalysisTest : PannerFixture {};

TEST_F(SpeakerAnalysisTest, ClassifiesTheFiveOneLayout) {
    SurroundPanner* p = make();
    placeRig(p, surround51Rig());
    const PanSpeaker* s = speakerRecords(p);
    EXPECT_EQ(s[0].flags, SPK_LEFT | SPK_FRONT | SPK_EXACT);
    EXPECT_EQ(s[1].flags, SPK_RIGHT | SPK_FRONT | SPK_EXACT);
    EXPECT_EQ(s[2].flags, SPK_XCENTER | SPK_FRONT | SPK_EXACT | SPK_CENTERGROUP);
    EXPECT_EQ(s[3].flags, 0u) << "the LFE speaker is not classified";
    EXPECT_EQ(s[4].flags, SPK_LEFT | SPK_REAR | SPK_EXACT);
    EXPECT_TRUE(p->speakerFlagsUnion & SPK_CENTERGROUP);
    EXPECT_FALSE(p->speakerFlagsUnion & SPK_SIDEGROUP);
    EXPECT_EQ(p->warpActive, 0);
    EXPECT_EQ(s[3].warpX, 0.0);
    EXPECT_DOUBLE_EQ(s[1].angle, std::numbers::pi / 4);

    // 7.1 SMPTE: the side speakers are a side group and an edge pair; the centre pairs with nothing.
    placeRig(p, smpte71Rig());
    s = speakerRecords(p);
    EXPECT_EQ(s[4].flags, SPK_LEFT | SPK_YMID | SPK_EXACT | SPK_SIDEGROUP | SPK_EDGEPAIR);
    EXPECT_EQ(s[2].flags & SPK_EDGEPAIR, 0u);
    destroy(p);
}

TEST_F(SpeakerAnalysisTest, SpeakersOffTheGridAreBentOntoIt) {
    SurroundPanner* p = make();
    // A speaker beside the left front one is inside its quadrant: a front centre speaker.
    placeRig(p, {at(-1, 1), at(1, 1), at(-0.5, 1)});
    const PanSpeaker* s = speakerRecords(p);
    EXPECT_EQ(s[2].flags & (SPK_XCENTER | SPK_FRONT | SPK_EXACT), SPK_XCENTER | SPK_FRONT);
    EXPECT_EQ(s[2].warpX, 0.0);
    EXPECT_EQ(s[2].warpY, 1.0);
    EXPECT_EQ(p->warpActive, 1);

    // With a real centre speaker there, the key is held; the off-grid one is bent between neighbours.
    placeRig(p, {at(-1, 1), at(1, 1), at(0, 1), at(-0.5, 1)});
    s = speakerRecords(p);
    EXPECT_EQ(s[2].warpX, 0.0);
    EXPECT_GT(s[3].warpX, -1.0);
    EXPECT_LT(s[3].warpX, 0.0);
    EXPECT_EQ(p->warpActive, 1);

    // Two speakers with one key: the first takes the grid point unless the second is exact.
    placeRig(p, {at(-0.95, 0.95), at(-0.93, 0.97), at(1, 1)});
    s = speakerRecords(p);
    EXPECT_EQ(s[0].warpX, -1.0);
    EXPECT_EQ(s[0].warpY, 1.0);
    EXPECT_NE(s[1].warpX, -1.0);
    placeRig(p, {at(-0.95, 0.95), at(-1, 1), at(1, 1)});
    s = speakerRecords(p);
    EXPECT_EQ(s[1].flags & SPK_EXACT, SPK_EXACT);
    EXPECT_EQ(s[1].warpX, -1.0);
    EXPECT_NE(s[0].warpX, -1.0) << "the exact speaker holds the key";

    // The ITU layout stands on a circle: every speaker but the centre is bent.
    placeRig(p, itu51Rig(), 2);
    EXPECT_EQ(p->warpActive, 1);
    EXPECT_EQ(speakerRecords(p)[0].warpX, -1.0);
    EXPECT_EQ(speakerRecords(p)[4].warpY, -1.0);
    destroy(p);
}

TEST_F(SpeakerAnalysisTest, ReachTablesAndInfluence) {
    SurroundPanner* p = make();
    placeRig(p, stereoRig());
    buildReachTables(p);
    const PanSpeaker& left = speakerRecords(p)[0];
    EXPECT_EQ(left.reachNeg[0][0], -1.0) << "at the left wall";
    EXPECT_EQ(left.reachPos[0][0], 2.0) << "the right speaker";
    EXPECT_EQ(left.reachPos[0][1], -1.0) << "at the front wall";
    EXPECT_EQ(left.reachNeg[0][1], -1.0) << "nobody behind";
    EXPECT_EQ(left.reachNeg[0][2], -1.0);
    EXPECT_EQ(left.reachPos[0][2], -1.0) << "no other layer";

    placeRig(p, quadRig());
    speakerRecords(p)[0].influence = 0.5;
    buildReachTables(p);
    const PanSpeaker* s = speakerRecords(p);
    EXPECT_EQ(s[0].reachPos[0][0], 1.0) << "halved: 2.0 * 0.5";
    EXPECT_EQ(s[0].reachNeg[0][1], 1.0);
    EXPECT_EQ(s[0].reachNeg[0][0], -1.0) << "no fade stays no fade";
    EXPECT_EQ(s[1].reachNeg[0][0], 2.0) << "the neighbour keeps its reach";

    // The centre group leaves set 1: there left and right are neighbours again.
    placeRig(p, surround51Rig());
    buildReachTables(p);
    s = speakerRecords(p);
    EXPECT_EQ(s[0].reachPos[0][0], 1.0);
    EXPECT_EQ(s[0].reachPos[1][0], 2.0);
    EXPECT_EQ(s[2].reachPos[1][0], 0.0) << "excluded from the set";
    EXPECT_EQ(s[3].reachPos[0][0], 0.0) << "the LFE speaker has no reach";
    speakerRecords(p)[2].influence = 0.0;
    buildReachTables(p);
    EXPECT_EQ(speakerRecords(p)[2].reachNeg[0][0], 0.0);
    destroy(p);
}
