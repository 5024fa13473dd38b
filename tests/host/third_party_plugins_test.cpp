// kelvane-host with VST 2 plugins it was not written for: the IEM plugin suite from Debian
// (iem-plugin-suite-vst). The tests are skipped, saying so, when the package is not installed.
#include <gtest/gtest.h>

#if defined(KVP_HAVE_SNDFILE)
#include <sndfile.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "tool_run.h"

namespace {

std::string q(const std::string& s) { return shellQuote(s); }

// The installed library of one plugin of the suite, as the package lists it; empty when absent.
std::string iemPlugin(const std::string& name) {
    FILE* list = popen("dpkg -L iem-plugin-suite-vst 2>/dev/null", "r");
    if (!list) return "";
    std::string found;
    char line[4096];
    while (std::fgets(line, sizeof line, list)) {
        std::string path = line;
        while (!path.empty() && (path.back() == '\n' || path.back() == '\r')) path.pop_back();
        if (path.size() > name.size() && path.compare(path.size() - name.size(), name.size(), name) == 0) found = path;
    }
    pclose(list);
    return found;
}

struct Channels {
    int count = 0;
    std::vector<double> peak;
    bool finite = true;
};

Channels readPeaks(const std::string& path) {
    Channels c;
    SF_INFO info = {};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    if (!f) return c;
    c.count = info.channels;
    c.peak.assign(size_t(info.channels), 0.0);
    std::vector<double> frame(size_t(info.channels));
    while (sf_readf_double(f, frame.data(), 1) == 1)
        for (int k = 0; k < info.channels; k++) {
            c.finite = c.finite && std::isfinite(frame[size_t(k)]);
            c.peak[size_t(k)] = std::fmax(c.peak[size_t(k)], std::fabs(frame[size_t(k)]));
        }
    sf_close(f);
    return c;
}

class ThirdPartyPluginTest : public ::testing::Test {
protected:
    std::string stereoEncoder, multiEncoder, allRADecoder;
    void SetUp() override {
#if defined(__SANITIZE_THREAD__)
        GTEST_SKIP() << "the IEM plugins' own threads are not instrumented: ThreadSanitizer cannot judge them";
#endif
        stereoEncoder = iemPlugin("/libStereoEncoder.so");
        multiEncoder = iemPlugin("/libMultiEncoder.so");
        allRADecoder = iemPlugin("/libAllRADecoder.so");
        if (stereoEncoder.empty() || multiEncoder.empty() || allRADecoder.empty())
            GTEST_SKIP() << "iem-plugin-suite-vst is not installed (tools/test installs it)";
    }
};

TEST_F(ThirdPartyPluginTest, InfoAndValidateKeepToGeneralVst2) {
    TempDir dir;
    // The whole battery for one, the first tests for the other: the audio tests take long with
    // 64 channels in sanitizer builds.
    struct Battery {
        std::string plugin, strictness;
        std::vector<std::string> general, protocol;
    };
    const Battery batteries[] = {
        {stereoEncoder, "8", {"open-close", "parameter-texts", "audio", "block-extremes", "automation", "state", "threads"},
         {"channel-count", "value-texts", "channel-changes"}},
        {allRADecoder, "2", {"open-close", "parameter-texts"}, {"channel-count", "value-texts"}},
    };
    for (const Battery& b : batteries) {
        ToolResult r = runTool(dir, "info " + q(b.plugin));
        ASSERT_EQ(r.code, 0) << r.err;
        EXPECT_NE(r.out.find("vendor      IEM"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("inputs      "), std::string::npos) << r.out;

        // The battery runs to its end: the host's own protocol tests are skipped, the general
        // ones each say PASS or FAIL, and a state that changes on its way says where.
        r = runTool(dir, "validate " + q(b.plugin) + " --strictness " + b.strictness);
        EXPECT_TRUE(r.code == 0 || r.code == 1) << r.out << r.err;
        for (const std::string& test : b.protocol) EXPECT_NE(r.out.find("SKIP " + test + ":"), std::string::npos) << r.out;
        for (const std::string& test : b.general)
            EXPECT_TRUE(r.out.find("PASS " + test + "\n") != std::string::npos ||
                        r.out.find("FAIL " + test + ":") != std::string::npos)
                << test << ": " << r.out;
        EXPECT_EQ(r.out.find("crashed"), std::string::npos) << r.out;
        size_t stateFail = r.out.find("FAIL state:");
        if (stateFail != std::string::npos) {
            EXPECT_NE(r.out.find("first difference at byte", stateFail), std::string::npos) << r.out;
        }
        EXPECT_NE(r.out.find(", " + std::to_string(b.protocol.size()) + " skipped\n"), std::string::npos) << r.out;
    }
}

TEST_F(ThirdPartyPluginTest, RenderThroughEncodersAndADecoder) {
    TempDir dir;
    std::string in = dir.file("in.wav");
    ASSERT_EQ(std::system(("sox -n -r 48000 -c 2 " + q(in) + " synth 0.2 sine 300 sine 500 gain -6").c_str()), 0);
    const double inPeak = std::pow(10.0, -6.0 / 20.0);

    // The encoder's own channel count, its processed output: W carries both inputs.
    std::string all = dir.file("all.wav");
    ToolResult r = runTool(dir, "render " + q(in) + " " + q(all) + " --plugin " + q(stereoEncoder));
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("inputs 3 to"), std::string::npos) << "silence for the inputs the file lacks: " << r.out;
    Channels c = readPeaks(all);
    EXPECT_GE(c.count, 4);
    EXPECT_TRUE(c.finite);
    EXPECT_GT(c.peak[0], inPeak * 1.05) << "not the input copied through";

    // The first four outputs only, turned by a normalised value, its state saved and passed back.
    std::string foa = dir.file("foa.wav"), state = dir.file("enc.state");
    r = runTool(dir, "render " + q(in) + " " + q(foa) + " --plugin " + q(stereoEncoder) + " --outputs 4 --set=" +
                         q("Azimuth Angle=0.75") + " --save-state " + q(state));
    ASSERT_EQ(r.code, 0) << r.err;
    c = readPeaks(foa);
    ASSERT_EQ(c.count, 4);
    EXPECT_GT(c.peak[1], 0.1) << "turned to the side, Y carries sound";
    r = runTool(dir, "render " + q(in) + " " + q(dir.file("again.wav")) + " --plugin " + q(stereoEncoder) +
                         " --outputs 4 --state " + q(state));
    ASSERT_EQ(r.code, 0) << r.err;
    Channels again = readPeaks(dir.file("again.wav"));
    for (int k = 0; k < 4; k++) EXPECT_NEAR(again.peak[size_t(k)], c.peak[size_t(k)], 1e-6) << "the state came through";

    // What only this project's plugin reads is refused with a reason.
    r = runTool(dir, "render " + q(in) + " " + q(dir.file("x.wav")) + " --plugin " + q(stereoEncoder) + " --set " +
                         q("Azimuth Angle=30"));
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find("from 0 to 1"), std::string::npos) << r.err;
    r = runTool(dir, "render " + q(in) + " " + q(dir.file("x.wav")) + " --plugin " + q(stereoEncoder) + " --layout Stereo");
    EXPECT_EQ(r.code, 2);

    // The other encoder, and the decoder fed with the encoded file.
    r = runTool(dir, "render " + q(in) + " " + q(dir.file("multi.wav")) + " --plugin " + q(multiEncoder) + " --outputs 4");
    ASSERT_EQ(r.code, 0) << r.err;
    c = readPeaks(dir.file("multi.wav"));
    EXPECT_TRUE(c.finite);
    EXPECT_GT(c.peak[0], 0.0);
    r = runTool(dir, "render " + q(foa) + " " + q(dir.file("dec.wav")) + " --plugin " + q(allRADecoder));
    ASSERT_EQ(r.code, 0) << r.err;
    c = readPeaks(dir.file("dec.wav"));
    EXPECT_GE(c.count, 1);
    EXPECT_TRUE(c.finite);
}

}  // namespace
#endif
