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

#if defined(KVP_HAVE_SNDFILE)
namespace {

int countLines(const std::string& text, const std::string& start) {
    int n = 0;
    for (size_t at = text.find(start); at != std::string::npos; at = text.find(start, at + 1)) n++;
    return n;
}

}  // namespace

TEST(RenderTest, IntegerOutputClipsAndCountsWhatItClipped) {
    TempDir dir;
    // 1000 frames at 0.5 and 1000 at -0.5 clip at +12 dB; the last 1000 at 0.1 do not.
    std::string in = writeMono(dir, "loud.wav", 3000, [](int n) { return n < 1000 ? 0.5 : n < 2000 ? -0.5 : 0.1; });
    const std::string place = " --layout Stereo --set " + q("in 1 X=-100") + " --set " + q("in 1 Y=100") + " --set " +
                              q("in 1 gain=12");
    for (const char* format : {"16", "24"}) {
        std::string out = dir.file(std::string("clip") + format + ".wav");
        ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + place + " --format " + format);
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.out.find("clipped at full scale: channel 1 2000 samples\n"), std::string::npos) << r.out;
        Audio a = readAudio(out);
        ASSERT_EQ(a.data[0].size(), 3000u);
        // Full scale, each with the sign it had: nothing wrapped.
        for (int n : {0, 999, 1000, 1999}) EXPECT_NEAR(a.data[0][size_t(n)], n < 1000 ? 1.0 : -1.0, 1e-4) << format << " " << n;
        EXPECT_NEAR(a.data[0][2500], 0.1 * std::pow(10.0, 12.0 / 20.0), 1e-3);
        EXPECT_EQ(a.peak(1), 0.0);
    }
    // Float output is written as it is: no clipping line, the peak above full scale.
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(dir.file("float.wav")) + place);
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.out.find("clipped"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("peak dBFS: 6.0 -inf"), std::string::npos) << r.out;
    EXPECT_NEAR(readAudio(dir.file("float.wav")).peak(0), 0.5 * std::pow(10.0, 12.0 / 20.0), 1e-5);
}

// A 5.1 file with its channel mask, rendered into "5.1 surround", comes out as it went in: each
// channel on its own speaker at unity, the LFE channel on the LFE speaker; the layout is the
// file's own without --layout.
TEST(RenderTest, AFiveOneFileRendersIntoItsLayoutUnchanged) {
    TempDir dir;
    std::string in = dir.file("six.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 6 -b 24 " + q(in) +
                           " synth 0.1 sine 100 sine 200 sine 300 sine 40 sine 500 sine 600 gain -6")
                              .c_str()),
              0);
    ASSERT_EQ(channelMask(dir.read("six.wav")), 0x3Fu) << "sox writes the 5.1 mask";
    Audio source = readAudio(in);
    for (const std::string& layout : {" --layout " + q("5.1 surround"), std::string()}) {
        std::string out = dir.file("out.wav");
        ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + layout);
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.out.find("placed by the file's channel mask"), std::string::npos) << r.out;
        Audio a = readAudio(out);
        ASSERT_EQ(a.channels, 6);
        EXPECT_EQ(channelMask(dir.read("out.wav")), 0x3Fu);
        for (int c = 0; c < 6; c++)
            for (size_t n = 0; n < source.data[0].size(); n++)
                ASSERT_NEAR(a.data[size_t(c)][n], source.data[size_t(c)][n], 1e-7) << "channel " << c << " frame " << n;
    }
    // Without a mask the summary says where each input went.
    std::string plain = dir.file("plain.wav");
    ASSERT_EQ(std::system(("sox " + q(in) + " -t wavpcm " + q(plain)).c_str()), 0);
    ASSERT_EQ(channelMask(dir.read("plain.wav")), 0u);
    ToolResult r = runTool(dir, "render " + q(plain) + " " + q(dir.file("o.wav")) + " --layout " + q("5.1 surround"));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("inputs placed in order: 1 on left front, 2 on right front, 3 on center front, "),
              std::string::npos) << r.out;
}

TEST(RenderTest, DelaysActFromTheFirstSampleAndShortDataIsReported) {
    TempDir dir;
    // A constant from frame 0, delayed 10 ms: nothing before frame 480, the whole value from it on.
    std::string in = writeMono(dir, "dc.wav", 2000, [](int) { return 0.5; });
    std::string out = dir.file("late.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(out) + " --layout Stereo --block 256 --set " +
                                    q("in 1 X=-100") + " --set " + q("in 1 Y=100") + " --set " + q("in 1 delay=10"));
    ASSERT_EQ(r.code, 0) << r.err;
    Audio a = readAudio(out);
    for (size_t n : {size_t(0), size_t(100), size_t(479)}) EXPECT_EQ(a.data[0][n], 0.0) << n;
    for (size_t n : {size_t(480), size_t(481), size_t(600), size_t(1999)}) EXPECT_NEAR(a.data[0][n], 0.5, 1e-7) << n;

    // A file cut short of what its header says is rendered as far as it goes, with a warning.
    std::string bytes = dir.read("dc.wav");
    dir.write("cut.wav", bytes.substr(0, bytes.size() - 4 * 500));
    r = runTool(dir, "render " + q(dir.file("cut.wav")) + " " + q(dir.file("cut-out.wav")));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.err.find("cut.wav: the data holds 1500 frames; the header says 2000"), std::string::npos) << r.err;
}

TEST(RenderTest, StatesKeepTheirInputsAndValuesAreCheckedBeforeUse) {
    TempDir dir;
    std::string mono = writeMono(dir, "mono.wav", 480, [](int n) { return 0.25 * std::sin(0.05 * n); });
    std::string six = dir.file("six.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 6 " + q(six) + " synth 0.01 sine 300").c_str()), 0);
    // A state with two inputs, the first hard left.
    std::string chunk = dir.file("two.chunk");
    ASSERT_EQ(runTool(dir, "state get " + q(pluginPath()) + " " + q(chunk) + " --channels 2").code, 0);
    std::string placed = dir.file("placed.chunk");
    ASSERT_EQ(runTool(dir, "render " + q(mono) + " " + q(dir.file("x.wav")) + " --state " + q(chunk) + " --set " +
                               q("in 1 X=-100") + " --save-state " + q(placed))
                  .code,
              0);
    // The state's inputs stay as they were; the one the file lacks gets silence.
    ToolResult r = runTool(dir, "render " + q(mono) + " " + q(dir.file("o.wav")) + " --state " + q(placed) + " --save-state " +
                                    q(dir.file("after.chunk")));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("inputs 2 to 2 get silence"), std::string::npos) << r.out;
    EXPECT_EQ(dir.read("after.chunk"), dir.read("placed.chunk"));
    r = runTool(dir, "render " + q(six) + " " + q(dir.file("o.wav")) + " --state " + q(placed));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("has 2 inputs"), std::string::npos) << r.err;

    struct Case {
        std::string args, says;
    };
    const Case cases[] = {
        {"--set " + q("in 1 X="), "empty value"},
        {"--set " + q("in 1 X=left"), "'left' is not a value of this parameter (-100 to 100)"},
        {"--set " + q("in 1 X=50abc"), "'50abc' is not a value"},
        {"--set " + q("in 1 X=nan"), "not a finite number"},
        {"--set " + q("in 1 X=inf"), "not a finite number"},
        {"--set " + q("in 1 X=150"), "'150' is out of range (-100 to 100)"},
        {"--set " + q("in 1 delay=-5"), "out of range"},
        {"--set " + q("in 1 gain=40 dB"), "out of range"},
        {"--set " + q("in 1 mute=yes"), "'yes' is not a value"},
        {"--set=" + q("in 1 X"), "expected NAME=TEXT"},
        {"--automation " + q(dir.write("a1", "0.5 in 1 X\n")), "a1:1: missing value after 'in 1 X'"},
        {"--automation " + q(dir.write("a2", "# x\n0 in 1 X 0\n1.5 in 1 X 101\n")), "a2:3: in 1 X: '101' is out of range"},
        {"--automation " + q(dir.write("a3", "soon in 1 X 0\n")), "a3:1: 'soon' is no time"},
        {"--layout=", "empty layout name"},
    };
    for (const Case& c : cases) {
        r = runTool(dir, "render " + q(mono) + " " + q(dir.file("bad.wav")) + " " + c.args);
        EXPECT_EQ(r.code, 2) << c.args;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << c.args << " said: " << r.err;
        EXPECT_EQ(countLines(r.err, "\n"), 1) << r.err;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.file("bad.wav")));
    // Texts as the display shows them, with or without the unit, and --option=value.
    r = runTool(dir, "render " + q(mono) + " " + q(dir.file("good.wav")) + " --set=" + q("in 1 gain=-6 dB") +
                         " --set " + q("in 1 mute=MUTED") + " --set " + q("in 1 X=-99.6") + " --block=64");
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("peak dBFS: -inf -inf"), std::string::npos) << "muted: " << r.out;
}
#endif
