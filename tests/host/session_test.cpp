// A whole host session with the real plugin binary, from open to close, with every audioMaster
// call the plugin makes checked in order: what it asks at open, what a channel change sends, and
// the silence of automation, chunks and audio.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "engine/records.h"
#include "foundation/host_api.h"
#include "host/session.h"
#include "plugin_paths.h"
#include "shell/state_chunk.h"
#include "support/audio_run.h"

namespace {

bool isCountQuery(const AudioMasterCall& c) {
    return c.opcode == HOST_LOOKUP_OPCODE && c.index == HOST_LOOKUP_QUERY && c.value == HOST_QUERY_CHANNEL_COUNT;
}
bool isLookup(const AudioMasterCall& c) { return c.opcode == HOST_LOOKUP_OPCODE && c.index == HOST_LOOKUP_FUNCTION; }

// Blocks of a sine on every input; returns the peak of every output.
std::vector<double> runBlocks(AEffect* e, int blocks, int frames) {
    AudioRun run(e);
    std::vector<double> peaks(size_t(e->numOutputs), 0.0);
    for (int b = 0; b < blocks; b++) {
        const auto& out = run.block(frames, [](int, long long t) { return std::sin(0.05 * double(t)); });
        for (size_t o = 0; o < out.size(); o++)
            for (int k = 0; k < frames; k++) peaks[o] = std::fmax(peaks[o], std::fabs(out[o][size_t(k)]));
    }
    return peaks;
}

}  // namespace

TEST(SessionTest, OpenToCloseWithTheCallsAHostSees) {
    PluginSession s{};
    std::string error;
    ASSERT_TRUE(sessionOpen(&s, pluginPath().c_str(), 2, nullptr, 48000.0, &error)) << error;
    AEffect* e = s.effect;

    // Open: any function lookups come first (only the first instance of a process binds), then
    // the channel-count query of the constructor, then the request for idle calls from effOpen.
    std::vector<AudioMasterCall> calls = refHostCalls(s.host);
    size_t at = 0;
    while (at < calls.size() && isLookup(calls[at])) at++;
    if (at > 0) {
        std::vector<std::string> names = refHostLookups(s.host);
        ASSERT_GE(names.size(), 3u);
        EXPECT_EQ(names[0], "SetWindowAccessibilityString");
        EXPECT_EQ(names[1], "DB2SLIDER");
        EXPECT_EQ(names[2], "SLIDER2DB");
    }
    ASSERT_EQ(calls.size(), at + 2) << "a count query and the idle request after the lookups";
    EXPECT_TRUE(isCountQuery(calls[at]));
    EXPECT_EQ(calls[at + 1].opcode, audioMasterNeedIdle);
    EXPECT_EQ(calls[at + 1].effect, e);
    EXPECT_EQ(e->numInputs, 2);
    EXPECT_EQ(e->numOutputs, 2);

    // The host's rate, block size and channel notice: the notice takes 5.1 and waits for idle.
    refHostClearCalls(s.host);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, 44100.0f);
    e->dispatcher(e, effSetBlockSize, 0, 256, nullptr, 0.0f);
    e->dispatcher(e, effVendorSpecific, 42, 6, nullptr, 0.0f);
    EXPECT_TRUE(refHostCalls(s.host).empty()) << "nothing is sent before idle";
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    calls = refHostCalls(s.host);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].opcode, audioMasterVendorSpecific);
    EXPECT_EQ(calls[0].value, 0);
    EXPECT_EQ(calls[0].shiftFirst, 2 * 9 + 6 + 2 * 3);
    EXPECT_EQ(calls[0].shiftChange, 4 * 3);
    EXPECT_EQ(calls[1].value, 13);
    EXPECT_EQ(calls[1].ptr, intptr_t(2 << 12 | 0xF00 | 6 << 20));
    EXPECT_EQ(e->numParams, 9 * 2 + 6 + 3 * 6);
    EXPECT_EQ(e->numOutputs, 2) << "the effect's own counts change with the next block";
    runBlocks(e, 1, 256);
    EXPECT_EQ(e->numOutputs, 6);

    // A chunk from another instance with other counts; after it, no notice changes anything.
    std::vector<unsigned char> chunk;
    {
        PluginSession other{};
        ASSERT_TRUE(sessionOpen(&other, pluginPath().c_str(), 3, nullptr, 48000.0, &error)) << error;
        sessionWriteNamed(&other, "NUMSPEAKERS", "8");
        ASSERT_TRUE(sessionSetFromText(&other, sessionFindParameter(&other, "in 1 X"), "-100"));
        chunk = sessionSaveState(&other);
        sessionClose(&other);
    }
    ASSERT_FALSE(chunk.empty());
    refHostClearCalls(s.host);
    sessionLoadState(&s, chunk);
    EXPECT_EQ(e->numInputs, 3);
    EXPECT_EQ(e->numOutputs, 8);
    EXPECT_EQ(e->numParams, 9 * 3 + 6 + 3 * 8);
    e->dispatcher(e, effVendorSpecific, 42, 12, nullptr, 0.0f);
    EXPECT_EQ(sessionSpeakerCount(&s), 8);

    // Automation and audio make no host calls. Input 1 hard left, the others silenced: only the
    // front-left speaker sounds.
    e->setParameter(e, sessionFindParameter(&s, "in 2 mute"), 1.0f);
    e->setParameter(e, sessionFindParameter(&s, "in 3 mute"), 1.0f);
    e->setParameter(e, sessionFindParameter(&s, "in 1 Y"), 1.0f);
    std::vector<double> peaks = runBlocks(e, 20, 256);
    EXPECT_TRUE(refHostCalls(s.host).empty());
    ASSERT_EQ(peaks.size(), 8u);
    EXPECT_NEAR(peaks[0], 1.0, 1e-3);
    for (size_t o = 1; o < peaks.size(); o++) EXPECT_EQ(peaks[o], 0.0) << "output " << o;

    // Idle with nothing pending says nothing; the chunk saved carries what was loaded and set.
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    EXPECT_TRUE(refHostCalls(s.host).empty());
    std::vector<unsigned char> after = sessionSaveState(&s);
    EXPECT_EQ(after.size(), chunk.size());
    EXPECT_NE(after, chunk) << "the mutes and Y are in it";
    sessionLoadState(&s, chunk);
    EXPECT_EQ(sessionSaveState(&s), chunk);

    e->dispatcher(e, effMainsChanged, 0, 0, nullptr, 0.0f);
    sessionClose(&s);
}

// What a new instance holds for the track widths hosts use: the default layout of the ladder,
// named, and every input at the room's centre until the host resets the channels.
TEST(SessionTest, NewInstancesByChannelCount) {
    const std::vector<std::string> stereo = {"left front", "right front"};
    const std::vector<std::string> five = {"left front", "right front", "center front", "LFE", "left surround",
                                           "right surround"};
    const std::vector<std::string> seven = {"left front", "right front", "center front", "LFE",
                                            "left side",  "right side",  "left rear",    "right rear"};
    std::vector<std::string> twelve = seven;
    for (const char* n : {"left front height", "right front height", "left rear height", "right rear height"})
        twelve.push_back(n);
    struct Case {
        int channels, layoutId;
        const std::vector<std::string>* names;
    };
    const Case cases[] = {{1, 1, &stereo}, {2, 1, &stereo}, {6, 5, &five}, {8, 6, &seven}, {12, 11, &twelve}, {16, 11, &twelve}};
    for (const Case& c : cases) {
        PluginSession s{};
        std::string error;
        ASSERT_TRUE(sessionOpen(&s, pluginPath().c_str(), c.channels, nullptr, 48000.0, &error)) << error;
        EXPECT_EQ(s.effect->numInputs, c.channels);
        EXPECT_EQ(s.effect->numOutputs, c.channels) << "the effect shows the track's width until its first block";
        std::vector<unsigned char> chunk = sessionSaveState(&s);
        sessionClose(&s);

        // The chunk read back by the core library, as plain data, shows the records.
        StateChunk state;
        stateChunkInit(&state);
        readStateChunk(chunk.data(), int32_t(chunk.size()), &state.head, &state.inputs, &state.speakers);
        std::vector<PanSpeaker> speakers(state.speakers.data(), state.speakers.data() + state.speakers.size());
        std::vector<PanInput> inputs(state.inputs.data(), state.inputs.data() + state.inputs.size());
        stateChunkFree(&state);
        EXPECT_EQ(state.head.layoutId, c.layoutId) << c.channels;
        ASSERT_EQ(speakers.size(), c.names->size()) << c.channels;
        for (size_t i = 0; i < speakers.size(); i++) {
            EXPECT_EQ(std::string(speakers[i].name), (*c.names)[i]) << c.channels << " speaker " << i;
            EXPECT_EQ(speakers[i].lfe, i == 3 && c.channels > 2) << c.channels << " speaker " << i;
        }
        ASSERT_EQ(int(inputs.size()), c.channels);
        for (size_t i = 0; i < inputs.size(); i++) {
            const PanInput& in = inputs[i];
            EXPECT_EQ(std::string(in.name), "channel " + std::to_string(i + 1));
            EXPECT_EQ(in.posX, 0.0);
            EXPECT_EQ(in.posY, 0.0);
            EXPECT_EQ(in.posZ, 0.0);
            EXPECT_EQ(in.gain, 1.0);
        }
    }
}
