// kelvane-host render through the real plugin: the numbers that come out of known layouts,
// the delay in samples, the WAV channel mask, and sox's independent reading of the files.
#include <gtest/gtest.h>

#if defined(KVP_HAVE_SNDFILE)
#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

// A mono 48 kHz float file of `frames` samples from a function of the frame.
template <typename F>
std::string writeMono(const TempDir& dir, const std::string& name, int frames, F sample) {
    std::string path = dir.file(name);
    SF_INFO info = {};
    info.samplerate = 48000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    EXPECT_NE(f, nullptr);
    std::vector<float> data(static_cast<size_t>(frames));
    for (int n = 0; n < frames; n++) data[size_t(n)] = float(sample(n));
    sf_writef_float(f, data.data(), frames);
    sf_close(f);
    return path;
}

struct Audio {
    int channels = 0, rate = 0;
    std::vector<std::vector<double>> data;  // per channel
    double peak(int c) const {
        double p = 0.0;
        for (double v : data[size_t(c)]) p = std::fmax(p, std::fabs(v));
        return p;
    }
};

Audio readAudio(const std::string& path) {
    Audio a;
    SF_INFO info = {};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (!f) return a;
    a.channels = info.channels;
    a.rate = info.samplerate;
    std::vector<double> interleaved(size_t(info.frames) * size_t(info.channels));
    sf_readf_double(f, interleaved.data(), info.frames);
    sf_close(f);
    a.data.assign(size_t(info.channels), std::vector<double>(size_t(info.frames)));
    for (sf_count_t n = 0; n < info.frames; n++)
        for (int c = 0; c < info.channels; c++)
            a.data[size_t(c)][size_t(n)] = interleaved[size_t(n) * size_t(info.channels) + size_t(c)];
    return a;
}

// The fmt chunk's format tag and, for WAVE_FORMAT_EXTENSIBLE, its channel mask; 0 without one.
uint32_t channelMask(const std::string& bytes) {
    if (bytes.size() < 44 || bytes.compare(12, 4, "fmt ") != 0) return 0;
    auto u16 = [&](size_t at) { return uint32_t(uint8_t(bytes[at])) | uint32_t(uint8_t(bytes[at + 1])) << 8; };
    if (u16(20) != 0xFFFE) return 0;
    return u16(40) | u16(42) << 16;
}

// sox's own reading of a file: one value of `sox --i`, and the "Pk lev dB" row of its stats.
std::string soxInfo(const TempDir& dir, const std::string& flag, const std::string& file) {
    std::string out = dir.file("sox.out");
    EXPECT_EQ(std::system(("sox --i " + flag + " " + q(file) + " > " + q(out)).c_str()), 0);
    std::string text = dir.read("sox.out");
    return text.substr(0, text.find('\n'));
}
std::vector<double> soxPeaksDb(const TempDir& dir, const std::string& file) {
    std::string out = dir.file("stats.out");
    EXPECT_EQ(std::system(("sox " + q(file) + " -n stats 2> " + q(out)).c_str()), 0);
    std::istringstream lines(dir.read("stats.out"));
    std::string line;
    std::vector<double> peaks;
    while (std::getline(lines, line)) {
        if (line.rfind("Pk lev dB", 0) != 0) continue;
        std::istringstream fields(line.substr(9));
        std::string field;
        fields >> field;  // the overall column
        while (fields >> field) peaks.push_back(field == "-inf" ? -INFINITY : std::stod(field));
    }
    return peaks;
}

}  // namespace

TEST(RenderTest, LayoutsGiveTheGainLawsNumbers) {
    TempDir dir;
    std::string in = writeMono(dir, "tone.wav", 4800, [](int n) { return 0.5 * std::sin(0.03 * n); });
    const double inPeak = readAudio(in).peak(0);

    // Straight ahead in "5.1 surround": the centre alone.
    std::string out = dir.file("front.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("5.1 surround") +
                                    " --set " + q("in 1 X=0") + " --set " + q("in 1 Y=100"));
    ASSERT_EQ(r.code, 0) << r.err;
    Audio a = readAudio(out);
    ASSERT_EQ(a.channels, 6);
    for (int c = 0; c < 6; c++) EXPECT_NEAR(a.peak(c), c == 2 ? inPeak : 0.0, 1e-6) << "channel " << c;
    EXPECT_EQ(channelMask(dir.read("front.wav")), 0x3Fu) << "FL FR FC LFE BL BR";

    // Hard left in "5.1 ITU": front left and left surround share it by the law; the prefix picks
    // the layout.
    out = dir.file("left.wav");
    r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("5.1 i") + " --set " + q("in 1 X=-100") +
                         " --set " + q("in 1 Y=0"));
    ASSERT_EQ(r.code, 0) << r.err;
    a = readAudio(out);
    ASSERT_EQ(a.channels, 6);
    EXPECT_NEAR(a.peak(0) / inPeak, 0.4115, 1e-4);
    EXPECT_NEAR(a.peak(4) / inPeak, 0.9114, 1e-4);
    for (int c : {1, 2, 3, 5}) EXPECT_EQ(a.peak(c), 0.0) << "channel " << c;
    EXPECT_EQ(channelMask(dir.read("left.wav")), 0x60Fu) << "FL FR FC LFE SL SR";

    // sox reads the same file the same way.
    EXPECT_EQ(soxInfo(dir, "-c", out), "6");
    EXPECT_EQ(soxInfo(dir, "-r", out), "48000");
    EXPECT_EQ(soxInfo(dir, "-s", out), "4800");
    std::vector<double> db = soxPeaksDb(dir, out);
    ASSERT_EQ(db.size(), 6u);
    EXPECT_NEAR(db[0], 20 * std::log10(0.4115 * inPeak), 0.02);
    EXPECT_NEAR(db[4], 20 * std::log10(0.9114 * inPeak), 0.02);
    EXPECT_TRUE(std::isinf(db[1]));

    // Layouts without the mask's order get none; a 16-bit file is what --format asks.
    out = dir.file("smpte.wav");
    ASSERT_EQ(runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("7.1 surround SMPTE") + " --format 16").code, 0);
    EXPECT_EQ(channelMask(dir.read("smpte.wav")), 0u);
    EXPECT_EQ(soxInfo(dir, "-c", out), "8");
    EXPECT_EQ(soxInfo(dir, "-b", out), "16");
}

TEST(RenderTest, DelayAndTailInSamples) {
    TempDir dir;
    // One click at frame 1000: after 10 ms at 48 kHz it sits at frame 1480, whole.
    std::string in = writeMono(dir, "click.wav", 2000, [](int n) { return n == 1000 ? 1.0 : 0.0; });
    std::string out = dir.file("late.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout Stereo --set " + q("in 1 X=-100") +
                                    " --set " + q("in 1 Y=100") + " --set " + q("in 1 delay=10") + " --tail 0.01");
    ASSERT_EQ(r.code, 0) << r.err;
    Audio a = readAudio(out);
    ASSERT_EQ(a.channels, 2);
    ASSERT_EQ(a.data[0].size(), 2480u) << "the tail adds 480 frames";
    size_t loudest = 0;
    for (size_t n = 0; n < a.data[0].size(); n++)
        if (std::fabs(a.data[0][n]) > std::fabs(a.data[0][loudest])) loudest = n;
    EXPECT_EQ(loudest, 1480u);
    EXPECT_NEAR(a.data[0][loudest], 1.0, 1e-6);
    EXPECT_EQ(a.peak(1), 0.0);
    EXPECT_EQ(channelMask(dir.read("late.wav")), 0x3u);
}

TEST(RenderTest, WithoutAStateEachChannelStandsOnItsSpeaker) {
    TempDir dir;
    std::string in = dir.file("two.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 2 -e floating-point -b 32 " + q(in) + " synth 0.05 sine 300 sine 700").c_str()), 0);
    std::string out = dir.file("out.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout Quadraphonic");
    ASSERT_EQ(r.code, 0) << r.err;
    Audio source = readAudio(in), a = readAudio(out);
    ASSERT_EQ(a.channels, 4);
    for (int c = 0; c < 2; c++)
        for (size_t n = 0; n < source.data[0].size(); n++)
            ASSERT_NEAR(a.data[size_t(c)][n], source.data[size_t(c)][n], 1e-7) << "channel " << c << " frame " << n;
    EXPECT_EQ(a.peak(2), 0.0);
    EXPECT_EQ(a.peak(3), 0.0);
    EXPECT_EQ(channelMask(dir.read("out.wav")), 0x33u);
}

TEST(RenderTest, LayoutNamesThatPickNothingAreExplained) {
    TempDir dir;
    std::string in = writeMono(dir, "tone.wav", 480, [](int n) { return 0.1 * std::sin(0.1 * n); });
    std::string out = dir.file("out.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("7.1.4 surrond"));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("nearest: \"7.1.4 surround\""), std::string::npos) << r.err;
    r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout 7.1.4");
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("\"7.1.4 surround\", \"7.1.4 ITU\""), std::string::npos) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
    EXPECT_FALSE(std::filesystem::exists(out));
    r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("custom speakers"));
    EXPECT_EQ(r.code, 2) << "the custom entry is no layout to render into";
    r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout " + q("9.1.6 SURROUND"));
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readAudio(out).channels, 16);
}
#endif
