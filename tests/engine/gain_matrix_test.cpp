#include <gtest/gtest.h>

#include <numeric>

#include "support/panner_fixture.h"
#include "support/speaker_rigs.h"

struct GainMatrixTest : PannerFixture {};

namespace {

void expectRow(const std::vector<double>& got, std::initializer_list<double> want, const char* what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    size_t s = 0;
    for (double w : want) {
        EXPECT_NEAR(got[s], w, 5e-5) << what << ", speaker " << s;
        s++;
    }
}

}  // namespace

TEST_F(GainMatrixTest, FiveSettingsAtTheMiddle) {
    EXPECT_NEAR(panLaw(0.5, -2.5), 0.7560, 1e-4);  // 0.75592, -2.43 dB
    EXPECT_NEAR(panLaw(0.5, -3.0), 0.7071, 5e-5);
    EXPECT_NEAR(panLaw(0.5, -4.5), 0.6036, 5e-5);
    EXPECT_NEAR(panLaw(0.5, -6.0), 0.5, 1e-12);
    EXPECT_NEAR(panLaw(0.5, 0.0), 1.0, 1e-12);
    EXPECT_NEAR(panLaw(0.75, 0.0), 0.5, 1e-12);
    EXPECT_NEAR(panLaw(0.25, -9.0), 0.75, 1e-12) << "below -6 is linear";
    EXPECT_NEAR(panLaw(0.8, 3.0), 0.4, 1e-12) << "above 0 holds then falls";
}

TEST_F(GainMatrixTest, GainLawWorkedCases) {
    SurroundPanner* p = make();
    placeRig(p, stereoRig());
    expectRow(gainsAt(p, 0, 1, 0), {0.7071, 0.7071}, "stereo centre");
    expectRow(gainsAt(p, -1, 1, 0), {1.0, 0.0}, "stereo left");
    expectRow(gainsAt(p, -1, -1, 1), {1.0, 0.0}, "stereo ignores Y and Z");
    p->panLawDb = 0.0;
    expectRow(gainsAt(p, -0.5, 1, 0), {1.0, 0.5}, "0 dB law a quarter across");
    p->panLawDb = -3.0;

    placeRig(p, surround51Rig());
    expectRow(gainsAt(p, 0, 1, 0), {0, 0, 1, 0, 0, 0}, "5.1 front centre");
    expectRow(gainsAt(p, 0, 0, 0), {0, 0, 0.7071, 0, 0.5, 0.5}, "5.1 room centre");
    p->centerPercent = 0.0;
    expectRow(gainsAt(p, 0, 1, 0), {0.7071, 0.7071, 0, 0, 0, 0}, "center % 0: a phantom centre");
    p->centerPercent = 0.5;
    expectRow(gainsAt(p, 0, 1, 0), {0.3536, 0.3536, 0.5, 0, 0, 0}, "center % 0.5");
    p->centerPercent = 1.0;
    inputRecords(p)[0].lfeSend = 0.5;
    speakerRecords(p)[3].gain = 2.0;
    std::vector<double> lfeRow = gainsAt(p, 0.3, -0.2, 0.4);
    EXPECT_NEAR(lfeRow[3], 1.0, 1e-12) << "LFE send times the LFE speaker's gain";
    inputRecords(p)[0].lfeSend = 0.0;
    speakerRecords(p)[3].gain = 1.0;

    placeRig(p, quadRig(), 1);
    expectRow(gainsAt(p, 0, 0, 0), {0.5, 0.5, 0.5, 0.5}, "quad centre");
    inputRecords(p)[0].divergence = 1.0;
    std::vector<double> wide = gainsAt(p, 1, 1, 0);
    expectRow(wide, {0.2426, 0.3431, 0.1716, 0.2426}, "quad divergence 1");
    EXPECT_NEAR(std::accumulate(wide.begin(), wide.end(), 0.0), 1.0, 1e-12);
    inputRecords(p)[0].divergence = 0.0;

    placeRig(p, itu51Rig(), 2);
    expectRow(gainsAt(p, -1, 0, 0), {0.4115, 0, 0, 0, 0.9114, 0}, "5.1 ITU bent left");
    for (int s : {0, 1, 2, 4, 5}) {
        const PanSpeaker& spk = speakerRecords(p)[s];
        std::vector<double> row = gainsAt(p, spk.posX, spk.posY, spk.posZ);
        for (int t : {0, 1, 2, 4, 5}) EXPECT_NEAR(row[size_t(t)], s == t ? 1.0 : 0.0, 1e-9) << "on speaker " << s;
    }

    placeRig(p, smpte71Rig());
    expectRow(gainsAt(p, -1, 0, 0), {0, 0, 0, 0, 1, 0, 0, 0}, "7.1 left side");
    p->sidePercent = 0.0;
    expectRow(gainsAt(p, -1, 0, 0), {0.7071, 0, 0, 0, 0, 0, 0.7071, 0}, "side % 0");
    p->sidePercent = 1.0;

    placeRig(p, surround714Rig());
    expectRow(gainsAt(p, 0, 0, 0.5), {0, 0, 0, 0, 0.5, 0.5, 0, 0, 0.3536, 0.3536, 0.3536, 0.3536}, "7.1.4 middle");
    destroy(p);
}

TEST_F(GainMatrixTest, GainRowsForTheLfeInputAndSilentSpeakers) {
    countAnswer = 6;
    SurroundPanner* p = make();
    placeRig(p, surround51Rig());
    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    inputRecords(p)[3].lfeSend = 0.25;
    inputRecords(p)[3].gain = 3.0;
    expectRow(gainsAt(p, 0, 1, 0, 3), {0, 0, 0, 0.25, 0, 0}, "the LFE input feeds the LFE speaker only");

    speakerRecords(p)[2].influence = 0.0;
    EXPECT_EQ(gainsAt(p, 0.1, 1, 0)[2], 0.0) << "influence 0 silences a speaker";
    EXPECT_EQ(gainsAt(p, 0, 1, 0)[2], 1.0) << "unless the input is exactly on it";

    // A row for more speakers than any layout has: every one is computed.
    std::vector<RigSpeaker> many;
    for (int i = 0; i < 100; i++) many.push_back(at(-1 + 2.0 * (i % 10) / 9, -1 + 2.0 * (i / 10) / 9));
    placeRig(p, many);
    std::vector<double> row = gainsAt(p, 1, 1, 0);
    EXPECT_NEAR(row[99], 1.0, 1e-12);
    EXPECT_NEAR(std::accumulate(row.begin(), row.end(), 0.0), 1.0, 1e-12);
    destroy(p);
}
