// kelvanepan-daw, the built binary, in a host that offers no function by name: where its channel
// count comes from, its float path against the plugin's own double path with separate, in-place
// and shared buffers and with blocks longer than announced, allocation in steady blocks, what
// the host is told, and the validator's battery.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "foundation/host_api.h"
#include "host/alloc_watch.h"
#include "host/host.h"
#include "host/loader.h"
#include "host/session.h"
#include "plugin_paths.h"
#include "support/temp_dir.h"
#include "tool_run.h"

namespace {

constexpr int CHANNELS = 6;
constexpr int VENDOR_WRITE_NAMED = 24;

void setVariable(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value);
#else
    setenv(name, value, 1);
#endif
}
void removeVariable(const char* name) {
#if defined(_WIN32)
    _putenv_s(name, "");
#else
    unsetenv(name);
#endif
}
// Where the user's configuration folder comes from.
#if defined(_WIN32)
const char* const CONFIG_VARIABLE = "APPDATA";
#else
const char* const CONFIG_VARIABLE = "XDG_CONFIG_HOME";
#endif

double sample(int channel, long frame) { return 0.5 * std::sin(0.013 * double(frame) * (channel + 1) + channel); }

// How the host hands its buffers over: each its own; every output on the input of its number;
// the last two outputs on one scratch buffer, as a host does for pins it does not connect.
enum class Wiring { SEPARATE, IN_PLACE, SHARED_LAST_OUTPUTS };

using Render = std::vector<std::vector<double>>;  // one vector of samples per output

// Blocks through the float entry. Inputs carry sample(); every output is kept.
Render renderFloat(AEffect* e, int blocks, int frames, Wiring wiring) {
    const int ni = e->numInputs, no = e->numOutputs;
    std::vector<std::vector<float>> ins(static_cast<size_t>(ni), std::vector<float>(static_cast<size_t>(frames)));
    std::vector<std::vector<float>> outs(static_cast<size_t>(no), std::vector<float>(static_cast<size_t>(frames)));
    std::vector<float*> ip, op;
    for (auto& b : ins) ip.push_back(b.data());
    for (int o = 0; o < no; o++) op.push_back(wiring == Wiring::IN_PLACE && o < ni ? ins[size_t(o)].data() : outs[size_t(o)].data());
    if (wiring == Wiring::SHARED_LAST_OUTPUTS && no >= 2) op[size_t(no - 1)] = op[size_t(no - 2)];
    Render result(static_cast<size_t>(no));
    for (int b = 0; b < blocks; b++) {
        for (int i = 0; i < ni; i++)
            for (int n = 0; n < frames; n++) ins[size_t(i)][size_t(n)] = float(sample(i, long(b) * frames + n));
        e->processReplacing(e, ip.data(), op.data(), frames);
        for (int o = 0; o < no; o++) result[size_t(o)].insert(result[size_t(o)].end(), op[size_t(o)], op[size_t(o)] + frames);
    }
    return result;
}

// The same through the double entry with separate buffers; inputs rounded to float like the
// float path's, so that both see the same samples.
Render renderDouble(AEffect* e, int blocks, int frames) {
    const int ni = e->numInputs, no = e->numOutputs;
    std::vector<std::vector<double>> ins(static_cast<size_t>(ni), std::vector<double>(static_cast<size_t>(frames)));
    std::vector<std::vector<double>> outs(static_cast<size_t>(no), std::vector<double>(static_cast<size_t>(frames)));
    std::vector<double*> ip, op;
    for (auto& b : ins) ip.push_back(b.data());
    for (auto& b : outs) op.push_back(b.data());
    Render result(static_cast<size_t>(no));
    for (int b = 0; b < blocks; b++) {
        for (int i = 0; i < ni; i++)
            for (int n = 0; n < frames; n++) ins[size_t(i)][size_t(n)] = double(float(sample(i, long(b) * frames + n)));
        e->processDoubleReplacing(e, ip.data(), op.data(), frames);
        for (int o = 0; o < no; o++) result[size_t(o)].insert(result[size_t(o)].end(), outs[size_t(o)].begin(), outs[size_t(o)].end());
    }
    return result;
}

// Outputs [0, count) of two renders agree within float precision; something was heard.
void expectSameOutputs(const Render& got, const Render& want, int count) {
    ASSERT_GE(got.size(), size_t(count));
    ASSERT_GE(want.size(), size_t(count));
    double loudest = 0.0;
    for (int o = 0; o < count; o++) {
        ASSERT_EQ(got[size_t(o)].size(), want[size_t(o)].size());
        for (size_t n = 0; n < got[size_t(o)].size(); n++) {
            ASSERT_NEAR(got[size_t(o)][n], want[size_t(o)][n], 1e-6) << "output " << o << " sample " << n;
            loudest = std::fmax(loudest, std::fabs(want[size_t(o)][n]));
        }
    }
    EXPECT_GT(loudest, 0.1);
}

class AdapterTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        // The adapter's ini file goes to a configuration folder of this test program's own.
        static TempDir config;
        setVariable(CONFIG_VARIABLE, config.path.string().c_str());
    }
    void SetUp() override {
        setVariable("KELVANEPAN_CHANNELS", std::to_string(CHANNELS).c_str());
        ASSERT_TRUE(pluginLibraryOpen(&library, besideTestProgram(KVP_ADAPTER_FILE).c_str())) << library.error;
        host = refHostCreate();
        host->services.clear();
    }
    void TearDown() override {
        for (AEffect* e : effects) e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
        refHostDestroy(host);
        pluginLibraryClose(&library);
        sessionClose(&reference);
        removeVariable("KELVANEPAN_CHANNELS");
    }
    // An instance of the adapter, resumed for blocks of the length given, in 1 X at 0.2 (off
    // the speakers, so that an input reaches several).
    AEffect* open(int blockSize) {
        AEffect* e = library.main(refHostCallback(host));
        if (!e) return nullptr;
        effects.push_back(e);
        e->dispatcher(e, effOpen, 0, 0, nullptr, 0.0f);
        e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, 48000.0f);
        e->dispatcher(e, effSetBlockSize, 0, blockSize, nullptr, 0.0f);
        e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0.0f);
        e->setParameter(e, 0, 0.2f);
        return e;
    }
    // The plugin itself in a host with every service, set up the same way.
    AEffect* openReference() {
        std::string error;
        if (!sessionOpen(&reference, pluginPath().c_str(), CHANNELS, nullptr, 48000.0, &error)) {
            ADD_FAILURE() << error;
            return nullptr;
        }
        reference.effect->setParameter(reference.effect, 0, 0.2f);
        return reference.effect;
    }
    PluginLibrary library{};
    RefHost* host = nullptr;
    std::vector<AEffect*> effects;
    PluginSession reference{};
};

TEST_F(AdapterTest, ChannelCountComesFromTheEnvironmentThenItsIniFileThenSixteen) {
    setVariable("KELVANEPAN_CHANNELS", "3");
    AEffect* e = open(256);
    ASSERT_NE(e, nullptr) << "the adapter needs nothing of the host";
    // The inputs follow the count; the host is shown the speakers of the layout picked for it
    // at once, not after the first block.
    EXPECT_EQ(e->numInputs, 3);
    EXPECT_EQ(e->numOutputs, 4);

    std::string ini = std::string(std::getenv(CONFIG_VARIABLE)) + "/kelvanepan-daw/kelvanepan-daw.ini";
    ASSERT_TRUE(std::filesystem::is_directory(std::filesystem::path(ini).parent_path())) << "the folder is made";
    std::ofstream(ini) << "[kelvane]\nchannels=5\n";
    for (const char* bad : {"0", "129", "six", ""}) {
        setVariable("KELVANEPAN_CHANNELS", bad);
        e = open(256);
        ASSERT_NE(e, nullptr);
        EXPECT_EQ(e->numInputs, 5) << "KELVANEPAN_CHANNELS=" << bad;
    }
    removeVariable("KELVANEPAN_CHANNELS");
    std::ofstream(ini) << "[kelvane]\nchannels=200\n";
    EXPECT_EQ(open(256)->numInputs, 16);
    std::filesystem::remove(ini);
    EXPECT_EQ(open(256)->numInputs, 16);

    // Nothing of it reached the host: no lookup, no count query.
    for (const AudioMasterCall& c : refHostCalls(host)) EXPECT_NE(c.opcode, HOST_LOOKUP_OPCODE) << c.name;
}

TEST_F(AdapterTest, FloatBlocksEqualThePluginsDoublePathWhateverTheWiring) {
    AEffect* ref = openReference();
    ASSERT_NE(ref, nullptr);
    const Render want = renderDouble(ref, 6, 512);
    for (Wiring wiring : {Wiring::SEPARATE, Wiring::IN_PLACE, Wiring::SHARED_LAST_OUTPUTS}) {
        SCOPED_TRACE(int(wiring));
        AEffect* e = open(512);
        ASSERT_NE(e, nullptr);
        ASSERT_EQ(e->numOutputs, CHANNELS);
        // With shared outputs only those that have a buffer of their own are heard.
        expectSameOutputs(renderFloat(e, 6, 512, wiring), want, wiring == Wiring::SHARED_LAST_OUTPUTS ? CHANNELS - 2 : CHANNELS);
    }
    // The double entry, in place: an input that is also an output is read before it is written.
    AEffect* e = open(512);
    std::vector<std::vector<double>> bufs(CHANNELS, std::vector<double>(512));
    std::vector<double*> p;
    for (auto& b : bufs) p.push_back(b.data());
    Render got(CHANNELS);
    for (int b = 0; b < 6; b++) {
        for (int i = 0; i < CHANNELS; i++)
            for (int n = 0; n < 512; n++) bufs[size_t(i)][size_t(n)] = double(float(sample(i, long(b) * 512 + n)));
        e->processDoubleReplacing(e, p.data(), p.data(), 512);
        for (int o = 0; o < CHANNELS; o++) got[size_t(o)].insert(got[size_t(o)].end(), bufs[size_t(o)].begin(), bufs[size_t(o)].end());
    }
    expectSameOutputs(got, want, CHANNELS);
}

TEST_F(AdapterTest, BlocksLongerThanAnnouncedAreSplitAndAllocateNothing) {
    AEffect* ref = openReference();
    ASSERT_NE(ref, nullptr);
    const Render want = renderDouble(ref, 4, 1000);
    AEffect* e = open(64);
    ASSERT_NE(e, nullptr);
    expectSameOutputs(renderFloat(e, 4, 1000, Wiring::IN_PLACE), want, CHANNELS);

    if (!allocWatchAvailable()) GTEST_SKIP() << "this build cannot count allocations";
    std::vector<std::vector<float>> bufs(CHANNELS, std::vector<float>(1000, 0.25f));
    std::vector<float*> p;
    for (auto& b : bufs) p.push_back(b.data());
    std::vector<double> dbl(1000, 0.25);
    std::vector<double*> dp(CHANNELS, dbl.data());
    allocWatchBegin();
    for (int b = 0; b < 20; b++) {
        e->processReplacing(e, p.data(), p.data(), 1000);
        e->processDoubleReplacing(e, dp.data(), dp.data(), 1000);
    }
    EXPECT_EQ(allocWatchEnd(), 0) << "steady blocks allocate";
}

TEST_F(AdapterTest, TheHostSeesTheProxyAndIsToldWhenCountsChange) {
    AEffect* e = open(256);
    ASSERT_NE(e, nullptr);
    renderFloat(e, 1, 256, Wiring::SEPARATE);
    refHostClearCalls(host);
    char four[] = "4";
    e->dispatcher(e, effVendorSpecific, VENDOR_WRITE_NAMED, reinterpret_cast<intptr_t>("NUMCHANNELS"), four, 0.0f);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    renderFloat(e, 2, 256, Wiring::SEPARATE);  // the plugin takes the new shape in a block
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    EXPECT_EQ(e->numInputs, 4);
    EXPECT_EQ(e->numOutputs, CHANNELS);
    EXPECT_EQ(e->numParams, 9 * 4 + 6 + 3 * CHANNELS);
    int ioChanged = 0;
    for (const AudioMasterCall& c : refHostCalls(host)) {
        if (c.effect) {
            EXPECT_EQ(c.effect, e) << "opcode " << c.opcode << " names an effect the host does not know";
        }
        ioChanged += c.opcode == audioMasterIOChanged;
    }
    EXPECT_GE(ioChanged, 1);
    refHostClearCalls(host);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    for (const AudioMasterCall& c : refHostCalls(host)) EXPECT_NE(c.opcode, audioMasterIOChanged) << "told twice";
}

#if !defined(_WIN32)
TEST_F(AdapterTest, PassesTheValidatorWithAHostOfferingNothing) {
    TempDir dir;
    setVariable("KELVANE_HOST_SERVICES", "none");
    // Every general VST 2 test of the battery, as the validator lists them. The tests of the
    // host protocol ask, among others, for the host's own count answers, which the adapter gives
    // itself.
    ToolResult list = runTool(dir, "validate --list");
    int run = 0;
    for (size_t at = 0, end; at < list.out.size(); at = end + 1) {
        end = list.out.find('\n', at);
        if (end == std::string::npos) end = list.out.size();
        std::string line = list.out.substr(at, end - at);
        if (line.find("general VST 2") == std::string::npos) continue;
        std::string test = line.substr(12, line.find(' ', 12) - 12);
        ToolResult r = runTool(dir, "validate " + shellQuote(besideTestProgram(KVP_ADAPTER_FILE)) + " --only " + test);
        EXPECT_EQ(r.code, 0) << test << ":\n" << r.out << r.err;
        run++;
    }
    EXPECT_GE(run, 6) << list.out;
    // The plugin itself still refuses such a host.
    ToolResult r = runTool(dir, "info " + shellQuote(pluginPath()));
    removeVariable("KELVANE_HOST_SERVICES");
    EXPECT_EQ(r.code, 2);
}
#endif

}  // namespace
