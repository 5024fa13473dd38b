// The dispatcher's negotiation with the host: channel notices, named values, idle reports,
// vendor calls and parameter properties, with the host's side recorded call by call.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "engine/records.h"
#include "layouts/layouts.h"
#include "shell/dispatcher.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/parameters.h"
#include "shell/state_chunk.h"
#include "support/panner_fixture.h"

namespace {

struct HostNote {
    int32_t opcode;
    int32_t index;
    intptr_t value;
    intptr_t ptr;
    int32_t first, change;  // the pair behind an automation-shift call
};

std::vector<HostNote> notes;

intptr_t VST_CALL recordingCallback(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY)
        return PannerFixture::callback(e, opcode, index, value, ptr, opt);
    HostNote n{opcode, index, value, reinterpret_cast<intptr_t>(ptr), 0, 0};
    if (opcode == audioMasterVendorSpecific && index == HOST_LOOKUP_OPCODE && value == 0 && ptr) {
        std::memcpy(&n.first, ptr, 4);
        std::memcpy(&n.change, static_cast<char*>(ptr) + 4, 4);
    }
    notes.push_back(n);
    return 0;
}

struct DispatcherTest : PannerFixture {
    SurroundPanner* p = nullptr;
    AEffect* e = nullptr;

    void SetUp() override {
        PannerFixture::SetUp();
        hostCallback = recordingCallback;
        notes.clear();
        p = make();
        e = &p->effect;
    }
    intptr_t vendor(int32_t index, intptr_t value, void* ptr, float opt = 0.0f) {
        return e->dispatcher(e, effVendorSpecific, index, value, ptr, opt);
    }
    std::string readNamed(const char* name) {
        char text[64] = "untouched";
        intptr_t answer = vendor(0x17, reinterpret_cast<intptr_t>(name), text, float(sizeof text));
        return answer == 0xF00D ? std::string(text) : std::string("(unknown)");
    }
    void writeNamed(const char* name, const char* text) {
        vendor(0x18, reinterpret_cast<intptr_t>(name), const_cast<char*>(text));
    }
    void idle() { e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f); }
    std::vector<unsigned char> savedChunk() {
        void* data = nullptr;
        intptr_t size = e->dispatcher(e, effGetChunk, 0, 0, &data, 0.0f);
        const unsigned char* bytes = static_cast<const unsigned char*>(data);
        return std::vector<unsigned char>(bytes, bytes + size);
    }
    // The channel-change reports of the last idle calls, other notes left out.
    std::vector<HostNote> channelReports() const {
        std::vector<HostNote> out;
        for (const HostNote& n : notes)
            if ((n.opcode == audioMasterVendorSpecific && n.index == HOST_LOOKUP_OPCODE) || n.opcode == audioMasterIOChanged)
                out.push_back(n);
        return out;
    }
};

constexpr intptr_t countWord(int inputs, int speakers) { return intptr_t(inputs) << 12 | 0xF00 | intptr_t(speakers) << 20; }

}  // namespace

TEST_F(DispatcherTest, ChannelNoticeTakesALayoutOnceAndParametersWaitForIdle) {
    ASSERT_EQ(speakerCount(p), 2);
    ASSERT_NE(p->layoutId, 0);
    EXPECT_EQ(vendor(42, 6, nullptr), 0);
    EXPECT_EQ(p->layoutId, 5);
    EXPECT_EQ(speakerCount(p), 6);
    EXPECT_EQ(p->pendingChannelChange, 2u | 2u << 8) << "old counts, not forced";
    vendor(42, 12, nullptr);
    EXPECT_EQ(speakerCount(p), 6) << "a second notice does nothing";

    // Until idle tells the host, parameter writes are refused.
    double gain = inputRecords(p)[0].gain;
    e->setParameter(e, 6, 1.0f);
    EXPECT_EQ(inputRecords(p)[0].gain, gain);

    notes.clear();
    idle();
    std::vector<HostNote> r = channelReports();
    ASSERT_EQ(r.size(), 2u) << "one shift for the speakers, then the counts; not forced: no IOChanged";
    EXPECT_EQ(r[0].value, 0);
    EXPECT_EQ(r[0].first, 2 * 9 + 6 + 2 * 3);
    EXPECT_EQ(r[0].change, 4 * 3);
    EXPECT_EQ(r[1].value, 13);
    EXPECT_EQ(r[1].ptr, countWord(2, 6));
    EXPECT_EQ(e->numParams, 42) << "two inputs and six speakers";
    EXPECT_EQ(p->pendingChannelChange, 0u);
    e->setParameter(e, 6, 1.0f);
    EXPECT_EQ(inputRecords(p)[0].gain, 4.0) << "idle lifted the refusal";
    notes.clear();
    idle();
    EXPECT_TRUE(channelReports().empty()) << "nothing pending, nothing sent";
}

TEST_F(DispatcherTest, NeitherAStateNorAHandMadeLayoutIsOverridden) {
    void* data = nullptr;
    int32_t size = saveState(p, &data);
    std::vector<unsigned char> chunk(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
    e->dispatcher(e, effSetChunk, 0, intptr_t(chunk.size()), chunk.data(), 0.0f);
    vendor(42, 6, nullptr);
    EXPECT_EQ(speakerCount(p), 2) << "the notice after a chunk changes nothing";
    EXPECT_EQ(p->pendingChannelChange, 0u);

    // The speaker arrangement call: only a larger output count on a built-in layout.
    SurroundPanner* q = make();
    AEffect* f = &q->effect;
    VstSpeakerArrangement in = {}, out = {};
    out.numChannels = 2;
    f->dispatcher(f, effSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out, 0.0f);
    EXPECT_EQ(q->layoutChosenOnce, 0) << "no growth, nothing taken";
    f->dispatcher(f, effSetSpeakerArrangement, 0, 0, &out, 0.0f);
    out.numChannels = 8;
    f->dispatcher(f, effSetSpeakerArrangement, 0, 0, &out, 0.0f);
    EXPECT_EQ(speakerCount(q), 2) << "without the input arrangement the call is ignored";
    f->dispatcher(f, effSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out, 0.0f);
    EXPECT_EQ(q->layoutId, layoutForChannelCount(8));
    EXPECT_EQ(speakerCount(q), 8);
    destroy(q);

    // A hand-made arrangement only gets its analysis refreshed.
    SurroundPanner* r = make();
    r->layoutId = 0;
    r->effect.dispatcher(&r->effect, effVendorSpecific, 42, 6, nullptr, 0.0f);
    EXPECT_EQ(speakerCount(r), 2);
    EXPECT_EQ(r->layoutChosenOnce, 1);
    destroy(r);
}

TEST_F(DispatcherTest, NamedValuesReadAndWriteTheCounts) {
    EXPECT_EQ(readNamed("NUMCHANNELS"), "2");
    EXPECT_EQ(readNamed("NUMSPEAKERS"), "2");
    EXPECT_EQ(readNamed("numchannels"), "(unknown)") << "names are exact";
    EXPECT_EQ(readNamed("RESETCHANNELS"), "(unknown)");

    // Two more inputs: one shift of 18 from the first input's end, the counts, and no IOChanged
    // since the speakers did not change.
    writeNamed("NUMCHANNELS", "4");
    EXPECT_EQ(p->pendingChannelChange, 2u | 2u << 8 | 0x10000u);
    EXPECT_EQ(inputCount(p), 4);
    notes.clear();
    idle();
    std::vector<HostNote> r = channelReports();
    ASSERT_EQ(r.size(), 2u);
    EXPECT_EQ(r[0].first, 2 * 9 + 6);
    EXPECT_EQ(r[0].change, 18);
    EXPECT_EQ(r[1].ptr, countWord(4, 2));
    EXPECT_EQ(readNamed("NUMCHANNELS"), "4");

    // A second write before the idle call notes the counts it started from, not the first ones.
    writeNamed("NUMCHANNELS", "5");
    writeNamed("NUMCHANNELS", "3");
    EXPECT_EQ(p->pendingChannelChange, 5u | 2u << 8 | 0x10000u);
    idle();
    writeNamed("NUMCHANNELS", "4");
    idle();

    for (const char* bad : {"0", "129", "x", ""}) {
        writeNamed("NUMCHANNELS", bad);
        EXPECT_EQ(inputCount(p), 4) << "\"" << bad << "\" is ignored";
        EXPECT_EQ(p->pendingChannelChange, 0u);
    }

    // Speakers of a family: the layout of that count and family, forced to the host's attention.
    writeNamed("NUMSPEAKERS", "4Q");
    EXPECT_EQ(p->layoutId, 2);
    EXPECT_EQ(readNamed("NUMSPEAKERS"), "4Q");
    notes.clear();
    idle();
    r = channelReports();
    ASSERT_EQ(r.size(), 4u);
    EXPECT_EQ(r[0].first, 4 * 9 + 6 + 2 * 3);
    EXPECT_EQ(r[0].change, 2 * 3);
    EXPECT_EQ(r[1].ptr, countWord(4, 4));
    EXPECT_EQ(r[2].value, 13);
    EXPECT_EQ(r[2].ptr, 4) << "the forced count call carries the speakers alone";
    EXPECT_EQ(r[3].opcode, audioMasterIOChanged);

    writeNamed("NUMSPEAKERS", "6");
    EXPECT_EQ(p->layoutId, 5);
    EXPECT_EQ(readNamed("NUMSPEAKERS"), "6") << "a plain layout has no letter";
    idle();
    writeNamed("NUMSPEAKERS", "6I");
    EXPECT_EQ(readNamed("NUMSPEAKERS"), "6I");
    idle();
    writeNamed("NUMSPEAKERS", "12A");
    EXPECT_EQ(readNamed("NUMSPEAKERS"), "12A");
    idle();

    // A read into a buffer too small is cut, never overrun.
    char tiny[3] = {'x', 'x', 'x'};
    const char* name = "NUMSPEAKERS";
    vendor(0x17, reinterpret_cast<intptr_t>(name), tiny, 2.0f);
    EXPECT_EQ(tiny[2], 'x');
}

TEST_F(DispatcherTest, ResetChannelsPlacesOneInputAndSwitchesTheLfeChannel) {
    writeNamed("NUMCHANNELS", "1");
    idle();
    ASSERT_EQ(inputCount(p), 1);
    // Two speakers: the lone input sits at the default place.
    writeNamed("RESETCHANNELS", "");
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posX, -0.5);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posY, 1.0);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posZ, 0.0);
    // More speakers: on the centre speaker.
    writeNamed("NUMSPEAKERS", "6");
    idle();
    writeNamed("RESETCHANNELS", "lfe");
    EXPECT_EQ(p->channelOptions & 1u, 1u) << "compared without regard to case";
    const PanSpeaker& centre = speakerRecords(p)[2];
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posX, centre.posX);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posY, centre.posY);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posZ, centre.posZ);
    writeNamed("RESETCHANNELS", "other");
    EXPECT_EQ(p->channelOptions & 1u, 1u);
    writeNamed("RESETCHANNELS", "!LFE");
    EXPECT_EQ(p->channelOptions & 1u, 0u);
}

TEST_F(DispatcherTest, VendorCallsAndParameterProperties) {
    // Ranges: only X of an input and scene X.
    double range[2] = {-7, -7};
    EXPECT_EQ(vendor(int32_t(0xDEADBEF0), 7, range), 0xBEEF);
    EXPECT_EQ(range[0], 1.0);
    EXPECT_EQ(range[1], 0.0);
    range[0] = -7;
    EXPECT_EQ(vendor(int32_t(0xDEADBEF0), 3, range), 0xBEEF);
    EXPECT_EQ(range[0], 1.0);
    range[0] = -7;
    EXPECT_EQ(vendor(int32_t(0xDEADBEF0), 6, range), 0);
    EXPECT_EQ(vendor(int32_t(0xDEADBEF0), 8, range), 0);
    EXPECT_EQ(range[0], -7.0);
    EXPECT_EQ(vendor(int32_t(0xDEADBEF0), 7, nullptr), 0);

    // Display for a given value, and text back to a value.
    char text[256] = {};
    EXPECT_EQ(vendor(7, 7, text, 0.75f), 0xBEEF);
    EXPECT_STREQ(text, "50");
    EXPECT_EQ(vendor(7, 12, text, 0.5f), 0xBEEF);
    EXPECT_STREQ(text, "10.0");
    std::snprintf(text, sizeof text, "6");
    EXPECT_EQ(vendor(27, 6, text), 0xBEEF);
    EXPECT_NEAR(std::atof(text), 0.4988, 1e-4);
    std::snprintf(text, sizeof text, "soloed");
    vendor(27, 14, text);
    EXPECT_STREQ(text, "1.000000");
    EXPECT_EQ(vendor(27, 6, nullptr), 0);
    EXPECT_EQ(vendor(99, 0, text), 0);

    // Automatable: everything but the Z shape and the scene.
    for (int i = 0; i < 8; i++)
        EXPECT_EQ(e->dispatcher(e, effCanBeAutomated, i, 0, nullptr, 0.0f), (i >= 2 && i <= 5) ? 0 : 1) << i;
    EXPECT_EQ(e->dispatcher(e, effCanBeAutomated, e->numParams, 0, nullptr, 0.0f), 0);
    EXPECT_EQ(e->dispatcher(e, effCanBeAutomated, -1, 0, nullptr, 0.0f), 0);

    // Switches and the Z shape's steps.
    struct Case {
        int index;
        int32_t flags, maxInteger;
    };
    const Case cases[] = {{13, 0xB, 1}, {14, 0xB, 1}, {22, 0xB, 1}, {25, 0xB, 1}, {26, 0xB, 1}, {2, 0xA, 6}};
    for (const Case& c : cases) {
        VstParameterProperties props;
        std::memset(&props, 0, sizeof props);
        EXPECT_EQ(e->dispatcher(e, effGetParameterProperties, c.index, 0, &props, 0.0f), 1) << c.index;
        EXPECT_EQ(props.flags, c.flags) << c.index;
        EXPECT_EQ(props.minInteger, 0);
        EXPECT_EQ(props.maxInteger, c.maxInteger);
        EXPECT_EQ(props.stepInteger, 1);
        EXPECT_EQ(props.largeStepInteger, 1);
    }
    VstParameterProperties props;
    for (int index : {0, 6, 7, 12, 24, 99, -1})
        EXPECT_EQ(e->dispatcher(e, effGetParameterProperties, index, 0, &props, 0.0f), 0) << index;
    EXPECT_EQ(e->dispatcher(e, effGetParameterProperties, 13, 0, nullptr, 0.0f), 0);
}

TEST_F(DispatcherTest, SetParameterSideEffects) {
    // Mute and solo correct the selection.
    inputRecords(p)[0].selected = 1;
    inputRecords(p)[1].selected = 1;
    e->setParameter(e, 6 + 9 + 7, 1.0f);  // mute input 2
    EXPECT_EQ(inputRecords(p)[1].mute, 1);
    EXPECT_EQ(inputRecords(p)[1].selected, 0) << "a muted input leaves the selection";
    EXPECT_EQ(inputRecords(p)[0].selected, 1);
    inputRecords(p)[1].selected = 1;
    e->setParameter(e, 6 + 9 + 8, 1.0f);  // solo input 2
    EXPECT_EQ(inputRecords(p)[0].selected, 0) << "a solo keeps only soloed inputs selected";
    EXPECT_EQ(inputRecords(p)[1].selected, 1) << "soloed though muted";

    // An unchanged centre % sets no dirty bit; a changed one sets them all.
    p->gainsDirtyInputs[0] = p->gainsDirtyInputs[1] = 0;
    e->setParameter(e, 0, float(p->centerPercent));
    EXPECT_EQ(p->gainsDirtyInputs[0], 0u);
    e->setParameter(e, 0, 0.5f);
    EXPECT_EQ(p->centerPercent, 0.5);
    EXPECT_NE(p->gainsDirtyInputs[0], 0u);

    // Delay: stored, no dirty bit; divergence as stored; a speaker gain dirties every input.
    p->gainsDirtyInputs[0] = 0;
    e->setParameter(e, 12, 0.5f);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].delay, 0.01);
    EXPECT_EQ(p->gainsDirtyInputs[0], 0u);
    e->setParameter(e, 11, 0.25f);
    EXPECT_EQ(inputRecords(p)[0].divergence, 0.25);
    EXPECT_EQ(p->gainsDirtyInputs[0], 1u);
    p->gainsDirtyInputs[0] = 0;
    e->setParameter(e, 6 + 18, 0.5f);
    EXPECT_EQ(speakerRecords(p)[0].gain, 2.0);
    EXPECT_EQ(p->gainsDirtyInputs[0] & 3u, 3u);

    // X of an input, and indices outside the list.
    e->setParameter(e, 7, 0.75f);
    EXPECT_DOUBLE_EQ(inputRecords(p)[0].posX, 0.5);
    std::vector<unsigned char> before = savedChunk();
    uint64_t dirty = p->gainsDirtyInputs[0];
    e->setParameter(e, e->numParams, 1.0f);
    e->setParameter(e, -1, 1.0f);
    e->setParameter(nullptr, 0, 1.0f);
    EXPECT_EQ(savedChunk(), before) << "an index outside the list changes nothing";
    EXPECT_EQ(p->gainsDirtyInputs[0], dirty);

    // The scene: a value moves the group and leaves the scene tick for idle to end the edit.
    e->setParameter(e, 3, 1.0f);
    EXPECT_EQ(p->sceneAutomated, 1);
    EXPECT_NE(p->sceneAutomationTick, 0u);
}
