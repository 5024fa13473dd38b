#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "engine/audio_mix.h"

namespace {

// The mix written the plain way: one source at a time over the block, in order.
void referenceMix(std::vector<double>& out, const std::vector<MixSource>& sources, int n) {
    for (size_t j = 0; j < sources.size(); j++) {
        const MixSource& s = sources[j];
        for (int k = 0; k < n; k++) {
            double g = s.step == 0.0 ? s.gain : k == n - 1 ? s.target : s.gain + double(k + 1) * s.step;
            out[size_t(k)] = j == 0 ? s.samples[k] * g : out[size_t(k)] + s.samples[k] * g;
        }
    }
}

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0;
}

}  // namespace

TEST(AudioMixTest, EveryCopyGivesThePlainMixToTheBit) {
    std::vector<MixKernels> copies = {mixKernelsBaseline()};
    if (mixKernelsAvx2().mixSpeaker) copies.push_back(mixKernelsAvx2());
    std::mt19937_64 random(19);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<std::vector<double>> signals(9, std::vector<double>(515));
    for (auto& x : signals)
        for (double& v : x) v = value(random);
    for (int count = 1; count <= 9; count++)
        for (int n : {1, 2, 3, 4, 5, 7, 8, 13, 64, 515})
            for (int ramping = 0; ramping <= 1; ramping++) {
                std::vector<MixSource> sources;
                std::vector<double> inputPeaks(size_t(count), -1.0);
                for (int j = 0; j < count; j++) {
                    double g = std::fabs(value(random)), target = ramping && j % 3 != 1 ? std::fabs(value(random)) : g;
                    double* wanted = j % 2 == 0 ? &inputPeaks[size_t(j)] : nullptr;
                    sources.push_back(MixSource{signals[size_t(j)].data(), g, (target - g) / n, target, wanted});
                }
                std::vector<double> expected(size_t(n), 7.0);
                referenceMix(expected, sources, n);
                double expectedPeak = 0.0;
                for (double v : expected) expectedPeak = std::fmax(expectedPeak, std::fabs(v));
                for (const MixKernels& k : copies) {
                    std::vector<double> out(size_t(n), 7.0);
                    double peak = k.mixSpeaker(out.data(), sources.data(), count, n, true);
                    ASSERT_TRUE(sameBits(out, expected)) << count << " sources, " << n << " samples, ramp " << ramping;
                    EXPECT_EQ(peak, expectedPeak);
                    for (int j = 0; j < count; j++) {
                        double m = j % 2 == 0 ? 0.0 : -1.0;
                        for (int i = 0; j % 2 == 0 && i < n; i++) m = std::fmax(m, std::fabs(signals[size_t(j)][size_t(i)]));
                        EXPECT_EQ(inputPeaks[size_t(j)], m) << "source " << j << " of " << count;
                    }
                    EXPECT_EQ(k.mixSpeaker(out.data(), sources.data(), count, n, false), 0.0);
                }
            }
}

TEST(AudioMixTest, PeaksPassOverNaNAndTakeMagnitudes) {
    std::vector<double> x(11, 0.25);
    x[3] = -0.75;
    x[9] = std::numeric_limits<double>::quiet_NaN();
    x[10] = -0.5;
    for (MixKernels k : {mixKernelsBaseline(), mixKernelsForCpu()}) {
        EXPECT_EQ(k.absPeak(x.data(), 11), 0.75);
        EXPECT_EQ(k.absPeak(x.data() + 9, 2), 0.5);
        EXPECT_EQ(k.absPeak(x.data(), 0), 0.0);
    }
}
