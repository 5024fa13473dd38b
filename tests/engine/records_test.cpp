#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "engine/records.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "support/panner_fixture.h"

struct RecordsTest : PannerFixture {};

TEST_F(RecordsTest, NewInputDefaultsByIndex) {
    PanInput in;
    newInputRecord(&in, 1);
    EXPECT_EQ(in.reverseX, 1);
    EXPECT_EQ(in.gain, 1.0);
    EXPECT_EQ(in.color, 0xFFFF2020u);
    newInputRecord(&in, 2);
    EXPECT_EQ(in.reverseX, 0);
    EXPECT_EQ(in.reverseY, 0);
    newInputRecord(&in, 8);
    EXPECT_EQ(in.color, 0xFFF0F0F0u) << "the ninth input takes the first colour again";
    newInputRecord(&in, 11);
    EXPECT_STREQ(in.name, "channel 12");
    EXPECT_EQ(in.lfeSend, 0.0);
    EXPECT_EQ(in.posX, 0.0);

    PanSpeaker spk;
    newSpeakerRecord(&spk, 0.5, -1.0, 1.0, true);
    EXPECT_EQ(spk.gain, 1.0);
    EXPECT_EQ(spk.influence, 1.0);
    EXPECT_EQ(spk.lfe, 1);
    EXPECT_EQ(spk.vacant, 0);
    EXPECT_EQ(spk.posY, -1.0);
    EXPECT_EQ(spk.name[0], 0);

    char name[64];
    setRecordName(name, std::string(100, 'x').c_str());
    EXPECT_EQ(std::string(name).size(), 63u) << "names stay NUL-terminated within 64 bytes";
}

TEST_F(RecordsTest, PolarAndSphericalPairs) {
    Polar o = polarFromXY(0.0, 0.0, 0.3);
    EXPECT_EQ(o.radius, 0.0);
    EXPECT_EQ(o.angle, 0.0);
    EXPECT_EQ(o.z, 0.3);
    Polar right = polarFromXY(1.0, 0.0, 0.0);
    EXPECT_DOUBLE_EQ(right.angle, std::numbers::pi / 2) << "positive angles are to the right";
    Polar rearLeft = polarFromXY(-1.0, -1.0, 0.0);
    EXPECT_DOUBLE_EQ(rearLeft.angle, -3 * std::numbers::pi / 4);
    EXPECT_DOUBLE_EQ(rearLeft.radius, std::sqrt(2.0));
    Point3 back = xyFromPolar(rearLeft.radius, rearLeft.angle, 0.7);
    EXPECT_NEAR(back.x, -1.0, 1e-12);
    EXPECT_NEAR(back.y, -1.0, 1e-12);
    EXPECT_EQ(back.z, 0.7);

    Spherical s = spherical(0.0, 1.0, 1.0);
    EXPECT_DOUBLE_EQ(s.length, std::sqrt(2.0));
    EXPECT_DOUBLE_EQ(s.elevation, std::numbers::pi / 4);
    EXPECT_EQ(s.azimuth, 0.0);
    Point3 q = fromSpherical(s.length, s.azimuth, s.elevation);
    EXPECT_NEAR(q.x, 0.0, 1e-12);
    EXPECT_NEAR(q.y, 1.0, 1e-12);
    EXPECT_NEAR(q.z, 1.0, 1e-12);
    Spherical zero = spherical(0.0, 0.0, 0.0);
    EXPECT_EQ(zero.elevation, 0.0);
    EXPECT_EQ(zero.length, 0.0);
}

TEST_F(RecordsTest, SoloTestsSkipTheLfeInputAndVacantSpeakers) {
    countAnswer = 6;
    SurroundPanner* p = make();
    ASSERT_GE(inputCount(p), 4);
    ASSERT_GE(speakerCount(p), 2);
    EXPECT_FALSE(anyInputSolo(p));
    inputRecords(p)[3].solo = 1;
    EXPECT_TRUE(anyInputSolo(p));
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    EXPECT_FALSE(anyInputSolo(p)) << "input 3 is the LFE channel and is not looked at";
    inputRecords(p)[0].solo = 1;
    EXPECT_TRUE(anyInputSolo(p));

    EXPECT_FALSE(anySpeakerSolo(p));
    speakerRecords(p)[1].solo = 1;
    speakerRecords(p)[1].vacant = 1;
    EXPECT_FALSE(anySpeakerSolo(p));
    speakerRecords(p)[1].vacant = 0;
    EXPECT_TRUE(anySpeakerSolo(p));
    destroy(p);
}
