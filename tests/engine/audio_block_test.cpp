#include <gtest/gtest.h>

#include <cmath>

#include "engine/audio_block.h"
#include "support/audio_run.h"
#include "support/panner_fixture.h"
#include "support/speaker_rigs.h"

struct AudioBlockTest : PannerFixture {};

namespace {

void moveInput(SurroundPanner* p, int i, double x, double y, double z) {
    PanInput& in = inputRecords(p)[i];
    in.posX = x;
    in.posY = y;
    in.posZ = z;
    markInputDirty(p, i);
}

}  // namespace

TEST_F(AudioBlockTest, APositionChangeRampsOverExactlyOneBlock) {
    countAnswer = 1;
    for (int n : {64, 4096, 7}) {
        SurroundPanner* p = make();
        placeRig(p, stereoRig());
        moveInput(p, 0, -1, 1, 0);
        AudioRun run(&p->effect);
        run.block(n, constantOne);
        EXPECT_EQ(run.out[0][0], 1.0) << "the first block starts at its gains";
        moveInput(p, 0, 1, 1, 0);
        run.block(n, constantOne);
        for (int k = 0; k < n; k++) EXPECT_NEAR(run.out[0][size_t(k)], 1.0 - double(k + 1) / n, 1e-12) << n;
        EXPECT_EQ(run.out[0][size_t(n - 1)], 0.0) << "the last sample has the target exactly";
        EXPECT_EQ(run.out[1][size_t(n - 1)], 1.0);
        run.block(n, constantOne);
        EXPECT_EQ(run.out[0][0], 0.0) << "no ramp without a change";
        EXPECT_EQ(run.out[1][0], 1.0);
        destroy(p);
    }
}

TEST_F(AudioBlockTest, DelayLinesDelayCrossfadeAndKeepRunningWhileMuted) {
    countAnswer = 1;
    SurroundPanner* p = make();
    placeRig(p, stereoRig());
    moveInput(p, 0, -1, 1, 0);
    inputRecords(p)[0].delay = 0.01;  // 480 samples at 48 kHz
    AudioRun run(&p->effect);
    auto impulseAt = [](long long when) {
        return [when](int, long long t) { return t == when ? 1.0 : 0.0; };
    };
    run.block(256, silence);
    run.block(256, silence);
    // Muted while the impulse goes in; unmuted before it comes out.
    inputRecords(p)[0].mute = 1;
    run.block(256, impulseAt(512));
    EXPECT_EQ(run.out[0][0], 0.0);
    inputRecords(p)[0].mute = 0;
    run.block(256, silence);  // samples 768..1023: the impulse is due at 512 + 480 = 992
    for (int k = 0; k < 256; k++) EXPECT_EQ(run.out[0][size_t(k)], k == 992 - 768 ? 1.0 : 0.0) << k;

    // From 10 ms to none: one crossfade over one block between the two taps.
    inputRecords(p)[0].delay = 0.0;
    run.block(256, constantOne);
    // The old tap still reads the silence of 480 samples ago, the new tap reads 1.0.
    for (int k : {0, 128, 255}) EXPECT_NEAR(run.out[0][size_t(k)], double(k) / 256, 1e-12) << k;
    run.block(256, constantOne);
    EXPECT_EQ(run.out[0][0], 1.0);


    // A resized block drops all delay history and jumps to the new gains.
    inputRecords(p)[0].delay = 0.01;
    run.block(480, impulseAt(run.clock + 10));
    {
        LockHold hold(&p->stateLock);
        p->inputs.resize(2);
        newInputRecord(&inputRecords(p)[1], 1);
    }
    moveInput(p, 0, 1, 1, 0);
    run.block(480, silence);  // still the old shape for the host: one input, two outputs
    EXPECT_EQ(p->effect.numInputs, 2);
    for (int k = 0; k < 480; k++) EXPECT_EQ(run.out[0][size_t(k)], 0.0) << "the delayed impulse was dropped";
    const double* current = growItems<double>(p->gainTables[GAIN_CURRENT]);
    EXPECT_EQ(current[0], 0.0) << "input 0 now stands right, without a ramp";
    EXPECT_EQ(current[1], 1.0);
    run.block(480, constantOne);
    EXPECT_EQ(run.out[1][0], std::sqrt(0.5)) << "only the new input: input 0's line restarts from silence";
    destroy(p);
}

TEST_F(AudioBlockTest, SoloMuteAndVacantRules) {
    countAnswer = 6;
    SurroundPanner* p = make();
    placeRig(p, surround51Rig());
    for (int i = 0; i < 6; i++) moveInput(p, i, 0, 1, 0);  // all on the centre speaker
    auto sumOfInputs = [](int i, long long) { return double(1 << i); };
    AudioRun run(&p->effect);
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 63.0) << "every input reaches the centre";

    inputRecords(p)[1].solo = 1;
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 2.0) << "a solo silences every other input";
    inputRecords(p)[1].solo = 0;

    p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
    markInputDirty(p, 3);
    inputRecords(p)[3].solo = 1;
    inputRecords(p)[3].lfeSend = 1.0;
    run.block(16, sumOfInputs);
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 63.0 - 8.0) << "a solo on the LFE input alone silences nobody";
    EXPECT_EQ(run.out[3][0], 8.0) << "the LFE input feeds the LFE speaker";
    inputRecords(p)[3].solo = 0;
    inputRecords(p)[2].mute = 1;
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 63.0 - 8.0 - 4.0);
    inputRecords(p)[2].mute = 0;

    speakerRecords(p)[4].solo = 1;
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 0.0) << "a soloed speaker silences the others";
    speakerRecords(p)[4].vacant = 1;
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][0], 55.0) << "a vacant speaker's solo is ignored";
    EXPECT_EQ(run.out[4][0], 0.0) << "and it carries nothing";
    speakerRecords(p)[2].mute = 1;
    run.block(16, sumOfInputs);
    EXPECT_EQ(run.out[2][5], 0.0);
    destroy(p);
}

TEST_F(AudioBlockTest, MetersHalveIn75MillisecondsAndNoInputsGiveSilence) {
    countAnswer = 1;
    SurroundPanner* p = make();
    placeRig(p, stereoRig());
    moveInput(p, 0, -1, 1, 0);
    AudioRun run(&p->effect);
    run.block(480, [](int, long long t) { return t == 100 ? -1.0 : 0.0; });
    EXPECT_EQ(meterPeak(p, 0), 1.0);
    EXPECT_EQ(meterPeak(p, 16), 1.0) << "the first speaker's strip";
    for (int b = 0; b < 10; b++) run.block(360, silence);  // 3600 samples, 75 ms
    EXPECT_NEAR(meterPeak(p, 0), 0.5, 1e-12);
    for (int b = 0; b < 400; b++) run.block(480, silence);
    EXPECT_EQ(meterPeak(p, 0), 0.0) << "below 1e-8 a meter stops";

    {
        LockHold hold(&p->stateLock);
        p->inputs.resize(0);
    }
    run.block(64, silence);
    run.out[0].assign(64, 7.0);
    run.out[1].assign(64, 7.0);
    run.outPtrs = {run.out[0].data(), run.out[1].data()};
    p->effect.processDoubleReplacing(&p->effect, run.inPtrs.data(), run.outPtrs.data(), 64);
    EXPECT_EQ(run.out[0][63], 0.0) << "with no inputs every output is zero";
    EXPECT_EQ(run.out[1][0], 0.0);
    destroy(p);
}

// A damaged state can put the first metered strip anywhere an int reaches; the block must still
// mix, and meter nothing that is not a channel.
TEST_F(AudioBlockTest, StripStartsAtTheIntLimitsMixAndMeterNothing) {
    countAnswer = 2;
    for (int32_t start : {INT32_MIN, INT32_MIN + 1, INT32_MAX}) {
        SurroundPanner* p = make();
        placeRig(p, stereoRig());
        p->firstInputStrip = start;
        p->firstSpeakerStrip = start;
        AudioRun run(&p->effect);
        run.block(64, constantOne);
        run.block(64, constantOne);
        EXPECT_GT(std::fabs(run.out[0][63]) + std::fabs(run.out[1][63]), 0.0) << start;
        for (double peak : p->meterPeaks) EXPECT_EQ(peak, 0.0) << start;
        destroy(p);
    }
}
