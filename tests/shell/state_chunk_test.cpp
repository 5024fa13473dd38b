#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "engine/records.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/state_chunk.h"
#include "support/panner_fixture.h"

struct StateChunkTest : PannerFixture {};

namespace {

// Builds chunks field by field, little-endian, for versions and damage the saver never writes.
struct ChunkBuilder {
    std::vector<unsigned char> bytes;
    ChunkBuilder& u32(uint32_t v) {
        for (int i = 0; i < 4; i++) bytes.push_back(uint8_t(v >> (8 * i)));
        return *this;
    }
    ChunkBuilder& i32(int32_t v) { return u32(uint32_t(v)); }
    ChunkBuilder& f64(double v) {
        uint64_t b;
        std::memcpy(&b, &v, 8);
        u32(uint32_t(b));
        return u32(uint32_t(b >> 32));
    }
    ChunkBuilder& text(const std::string& s) {
        i32(int32_t(s.size()));
        bytes.insert(bytes.end(), s.begin(), s.end());
        return *this;
    }
    ChunkBuilder& head(int32_t version, int32_t inputs, int32_t speakers, uint32_t packed = 0) {
        i32(version).u32(0x300).u32(packed).i32(0).i32(0).i32(0).i32(1).i32(2).f64(1.0).f64(1.0);
        return i32(inputs).i32(speakers);
    }
    ChunkBuilder& input(const std::string& name, bool color, uint32_t bits = 0) {
        f64(1.0).f64(0.0).f64(0.25).f64(0.5).f64(0.0).f64(0.0).f64(0.0).u32(bits).text(name);
        return color ? u32(0xFF123456) : *this;
    }
    ChunkBuilder& speaker(const std::string& name, uint32_t bits = 0) {
        return f64(1.0).f64(-1.0).f64(1.0).f64(0.0).f64(1.0).u32(bits).text(name);
    }
};

std::vector<unsigned char> saved(SurroundPanner* p) {
    void* data = nullptr;
    int32_t size = saveState(p, &data);
    const unsigned char* b = static_cast<const unsigned char*>(data);
    return std::vector<unsigned char>(b, b + size);
}

}  // namespace

TEST_F(StateChunkTest, ChunkLayoutByteForByte) {
    SurroundPanner* p = make();
    p->layoutId = 5;
    p->layoutFamily = 2;
    p->channelOptions = 0x101;  // only the low byte is kept
    p->uiFlags = 0x4200;
    inputRecords(p)[1].mute = 1;
    inputRecords(p)[1].reverseZ = 1;
    std::vector<unsigned char> b = saved(p);
    auto word = [&](size_t at) { return uint32_t(b[at]) | b[at + 1] << 8 | b[at + 2] << 16 | uint32_t(b[at + 3]) << 24; };
    EXPECT_EQ(word(0), 5u) << "version";
    EXPECT_EQ(word(4), 0x4200u);
    EXPECT_EQ(word(8), 0x00010205u) << "layout id, family, options byte";
    EXPECT_EQ(word(20), 0u);
    EXPECT_EQ(word(28), 2u) << "third edit row mode";
    EXPECT_EQ(word(48), 2u) << "inputs";
    EXPECT_EQ(word(52), 2u) << "speakers";
    // First input: 7 doubles at 56, flags at 112, name length at 116, "channel 1", colour.
    EXPECT_EQ(word(112), 0u) << "input 0 starts with no flag; input 1 starts reversed in X";
    EXPECT_EQ(word(116), 9u);
    EXPECT_EQ(std::string(b.begin() + 120, b.begin() + 129), "channel 1");
    EXPECT_EQ(word(129), 0xFFF0F0F0u);
    EXPECT_EQ(word(133 + 56), 0x01u | 0x08u | 0x20u) << "mute, reverseX, reverseZ of input 1";
    // Tail: pan law then Z shape, at the very end.
    EXPECT_EQ(word(b.size() - 4), uint32_t(p->zShape));
    destroy(p);
}

TEST_F(StateChunkTest, ChunkRoundTripsRandomStatesToTheSameBytes) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    for (int round = 0; round < 20; round++) {
        countAnswer = 1 + int(rng() % 16);
        SurroundPanner* a = make();
        a->uiFlags = rng();
        a->layoutId = int32_t(rng() % 300) - 1;
        a->layoutFamily = int32_t(rng() % 4);
        a->channelOptions = rng() & 1;
        a->editRowMode[1] = int32_t(rng() % 9);
        a->centerPercent = unit(rng) * 0.5 + 0.5;
        a->panLawDb = -6.0 * (unit(rng) * 0.5 + 0.5);
        a->zShape = int32_t(rng() % 7);
        for (int i = 0; i < inputCount(a); i++) {
            PanInput& in = inputRecords(a)[i];
            in.gain = unit(rng) + 1.0;
            in.posX = unit(rng);
            in.posY = unit(rng);
            in.posZ = unit(rng) * 0.5 + 0.5;
            in.delay = 0.02 * (unit(rng) + 1.0);
            in.mute = rng() & 1;
            in.solo = rng() & 1;
            in.selected = rng() & 1;
            in.reverseY = rng() & 1;
            in.color = rng();
            if (rng() & 1) setRecordName(in.name, std::string(rng() % 70, 'n').c_str());
        }
        for (int s = 0; s < speakerCount(a); s++) {
            PanSpeaker& spk = speakerRecords(a)[s];
            spk.posZ = unit(rng) * 0.5 + 0.5;
            spk.influence = unit(rng) + 1.0;
            spk.lfe = rng() & 1;
            spk.vacant = rng() & 1;
            setRecordName(spk.name, "spk");
        }
        std::vector<unsigned char> first = saved(a);
        countAnswer = 2;
        SurroundPanner* b = make();
        loadState(b, first.data(), int32_t(first.size()));
        EXPECT_EQ(saved(b), first) << "round " << round;
        EXPECT_EQ(b->stateLoaded, 1);
        EXPECT_EQ(b->effect.numInputs, inputCount(a));
        EXPECT_EQ(b->effect.numOutputs, speakerCount(a));
        EXPECT_EQ(b->uiFlags, a->uiFlags);
        EXPECT_EQ(b->audioInputs, -1);
        int32_t expectedLayout = a->layoutId > 254 ? 255 : a->layoutId < 0 ? 0 : a->layoutId;
        EXPECT_EQ(b->layoutId, expectedLayout);

        // The same block read as plain data, without an instance, writes back to the same bytes.
        StateChunk plain;
        stateChunkInit(&plain);
        EXPECT_EQ(readStateChunk(first.data(), int32_t(first.size()), &plain.head, &plain.inputs, &plain.speakers),
                  STATE_READ_WHOLE);
        EXPECT_EQ(plain.inputs.size(), inputCount(a));
        GrowBuffer rewritten;
        growBufferInit(&rewritten);
        ASSERT_TRUE(writeStateChunk(plain.head, plain.inputs.data(), plain.inputs.size(), plain.speakers.data(),
                                    plain.speakers.size(), &rewritten));
        const unsigned char* bytes = static_cast<const unsigned char*>(rewritten.data);
        EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + rewritten.used), first) << "round " << round;
        growBufferFree(&rewritten);
        stateChunkFree(&plain);
        destroy(a);
        destroy(b);
    }
}

TEST_F(StateChunkTest, ChunkVersionsAndShortBlocks) {
    SurroundPanner* p = make();
    p->zShape = 4;
    int inputsBefore = inputCount(p);

    // Below version 3 nothing is read, but counts are refreshed.
    ChunkBuilder old;
    old.head(2, 1, 1);
    loadState(p, old.bytes.data(), int32_t(old.bytes.size()));
    EXPECT_EQ(inputCount(p), inputsBefore);
    EXPECT_EQ(p->stateLoaded, 0);

    // A 4-byte block of version 5: the records are emptied and nothing else happens.
    ChunkBuilder tiny;
    tiny.i32(5);
    p->effect.numInputs = 77;
    loadState(p, tiny.bytes.data(), 4);
    EXPECT_EQ(inputCount(p), 0);
    EXPECT_EQ(p->effect.numInputs, 77) << "no refresh";
    EXPECT_EQ(p->stateLoaded, 0);

    // Version 3: colours by index, no colour field, Z shape kept.
    ChunkBuilder v3;
    v3.head(3, 9, 1);
    for (int i = 0; i < 9; i++) v3.input("in", false);
    v3.speaker("L").f64(-4.5);
    loadState(p, v3.bytes.data(), int32_t(v3.bytes.size()));
    ASSERT_EQ(inputCount(p), 9);
    EXPECT_EQ(inputRecords(p)[8].color, inputRecords(p)[0].color) << "input 9 has the colour of input 1";
    EXPECT_EQ(inputRecords(p)[1].color, 0xFFFF2020u);
    EXPECT_EQ(p->zShape, 4);
    EXPECT_EQ(p->panLawDb, -4.5);
    EXPECT_EQ(p->editRowMode[2], 2);
    EXPECT_EQ(p->stateLoaded, 1);

    // Version 4 reads colours but still keeps the Z shape; a version above 5 reads as 5.
    ChunkBuilder v4;
    v4.head(4, 1, 1).input("a", true).speaker("b").f64(-3.0).i32(2);
    loadState(p, v4.bytes.data(), int32_t(v4.bytes.size()));
    EXPECT_EQ(inputRecords(p)[0].color, 0xFF123456u);
    EXPECT_EQ(p->zShape, 4);
    ChunkBuilder v9;
    v9.head(9, 1, 1).input("a", true).speaker("b").f64(-3.0).i32(2);
    loadState(p, v9.bytes.data(), int32_t(v9.bytes.size()));
    EXPECT_EQ(p->zShape, 2);

    // A block cut inside the second input: the first holds, the rest stay zero.
    ChunkBuilder cut;
    cut.head(5, 2, 2).input("first", true).f64(0.5);
    loadState(p, cut.bytes.data(), int32_t(cut.bytes.size()));
    ASSERT_EQ(inputCount(p), 2);
    EXPECT_STREQ(inputRecords(p)[0].name, "first");
    EXPECT_EQ(inputRecords(p)[1].gain, 0.5);
    EXPECT_EQ(inputRecords(p)[1].posY, 0.0);
    EXPECT_EQ(speakerCount(p), 2);
    EXPECT_EQ(speakerRecords(p)[1].gain, 0.0) << "missing records keep gain 0";
    destroy(p);
}

TEST_F(StateChunkTest, ChunkNamesAreCutAndCountsOutOfRangeChangeNothing) {
    SurroundPanner* p = make();
    ChunkBuilder b;
    b.head(5, 1, 2).input("x", true).speaker(std::string(70, 'S')).speaker("next\0hidden").f64(-2.0).i32(1);
    loadState(p, b.bytes.data(), int32_t(b.bytes.size()));
    ASSERT_EQ(speakerCount(p), 2);
    EXPECT_EQ(std::string(speakerRecords(p)[0].name), std::string(63, 'S'));
    EXPECT_EQ(speakerRecords(p)[1].posX, -1.0) << "the field after a long name is read at the right place";
    EXPECT_STREQ(speakerRecords(p)[1].name, "next");
    EXPECT_EQ(p->zShape, 1);

    int before = inputCount(p);
    p->stateLoaded = 0;
    for (int32_t bad : {-1, 65537}) {
        ChunkBuilder r;
        r.head(5, bad, 1, 7u).input("y", true);
        loadState(p, r.bytes.data(), int32_t(r.bytes.size()));
        EXPECT_EQ(inputCount(p), before);
        EXPECT_EQ(p->layoutId, 7) << "the head is applied";
        EXPECT_EQ(p->stateLoaded, 0);
    }
    destroy(p);
}

TEST_F(StateChunkTest, DamagedChunksLoadWithinTheirBytes) {
    countAnswer = 6;
    SurroundPanner* p = make();
    std::vector<unsigned char> good = saved(p);
    // Every truncation, and copies with random bytes replaced; the sanitizer builds check the bounds.
    for (size_t n = 0; n <= good.size(); n += 3) {
        std::vector<unsigned char> part(good.begin(), good.begin() + long(n));
        loadState(p, part.data(), int32_t(part.size()));
    }
    std::mt19937 rng(11);
    for (int round = 0; round < 200; round++) {
        std::vector<unsigned char> bad = good;
        for (int k = 0; k < 4; k++) bad[rng() % bad.size()] = uint8_t(rng());
        loadState(p, bad.data(), int32_t(bad.size()));
        EXPECT_LE(inputCount(p), STATE_MAX_RECORDS);
    }
    // A negative name length moves back inside the data and copies nothing.
    ChunkBuilder neg;
    neg.head(5, 1, 1).f64(1).f64(0).f64(0).f64(0).f64(0).f64(0).f64(0).u32(0).i32(-100000);
    neg.u32(1).speaker("s");
    loadState(p, neg.bytes.data(), int32_t(neg.bytes.size()));
    EXPECT_EQ(inputRecords(p)[0].name[0], 0);
    // Numbers no setting can hold load as 0, or as the nearest bound when merely huge.
    ChunkBuilder odd;
    odd.head(5, 1, 1).f64(NAN).f64(INFINITY).f64(1e300).f64(-1e300).f64(4e-320).f64(0.5).f64(-INFINITY);
    odd.u32(0).text("i").u32(0).speaker("s");
    loadState(p, odd.bytes.data(), int32_t(odd.bytes.size()));
    const PanInput& in = inputRecords(p)[0];
    EXPECT_EQ(in.gain, 0.0);
    EXPECT_EQ(in.lfeSend, 0.0);
    EXPECT_EQ(in.posX, 1e6);
    EXPECT_EQ(in.posY, -1e6);
    EXPECT_EQ(in.posZ, 0.0);
    EXPECT_EQ(in.divergence, 0.5) << "an ordinary number is kept";
    EXPECT_EQ(in.delay, 0.0);
    loadState(p, nullptr, 0);
    loadState(p, good.data(), int32_t(good.size()));
    EXPECT_EQ(saved(p), good) << "a good chunk after damaged ones restores everything";
    destroy(p);
}
