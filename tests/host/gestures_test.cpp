// Gestures as the host sees them, through the real plugin binary: begin, values, end, in order.
#include <gtest/gtest.h>

#include <algorithm>

#include "host/session.h"
#include "plugin_paths.h"

namespace {

std::vector<AudioMasterCall> gestureCalls(RefHost* host) {
    std::vector<AudioMasterCall> out;
    for (const AudioMasterCall& c : refHostCalls(host))
        if (c.opcode == audioMasterBeginEdit || c.opcode == audioMasterEndEdit || c.opcode == audioMasterAutomate)
            out.push_back(c);
    return out;
}

}  // namespace

TEST(GestureTest, ChangesReachTheHostInsideGestures) {
    PluginSession s{};
    std::string error;
    ASSERT_TRUE(sessionOpen(&s, pluginPath().c_str(), 2, nullptr, 48000.0, &error)) << error;
    AEffect* e = s.effect;
    // Z shapes set by the host move heights, and each change is reported inside a gesture.
    refHostClearCalls(s.host);
    int zShape = sessionFindParameter(&s, "Z shape");
    ASSERT_EQ(zShape, 2);
    e->setParameter(e, zShape, 1.0f / 6);  // "dome +": both inputs at the centre rise to 1.0
    std::vector<AudioMasterCall> calls = gestureCalls(s.host);
    ASSERT_EQ(calls.size(), 4u);
    EXPECT_EQ(calls[0].opcode, audioMasterBeginEdit);
    EXPECT_EQ(calls[0].index, 6 + 3) << "input 1's Z, in index order";
    EXPECT_EQ(calls[1].opcode, audioMasterAutomate);
    EXPECT_EQ(calls[1].opt, 1.0f);
    EXPECT_EQ(calls[2].index, 6 + 9 + 3);
    // Idle closes the gestures once they are old; closing goes in list order, high to low.
    refHostClearCalls(s.host);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);  // too early: nothing closes
    EXPECT_TRUE(gestureCalls(s.host).empty());
    sessionClose(&s);
}

// A drag in the small view, through the binary's vendor call: each changed parameter opens its
// gesture once before its first value, the values follow the pointer, and the release closes all
// gestures in list order (the scene parameters first, then from high to low).
TEST(GestureTest, SmallViewDragReachesTheHostInsideGestures) {
    PluginSession s{};
    std::string error;
    ASSERT_TRUE(sessionOpen(&s, pluginPath().c_str(), 2, nullptr, 48000.0, &error)) << error;
    ASSERT_TRUE(sessionApplyLayout(&s, 5, &error)) << error;  // 5.1 surround
    AEffect* e = s.effect;
    auto send = [&](int message, int x, int y) {
        int32_t record[16] = {};
        record[6] = 240, record[7] = 160, record[8] = x, record[9] = y;
        return e->dispatcher(e, effVendorSpecific, 16, 0, record, float(message));
    };
    refHostClearCalls(s.host);
    ASSERT_EQ(send(0x201, 120, 80), 0x1000000) << "a pick asks for the capture";
    for (int k = 1; k <= 4; k++) send(0x200, 120 + 10 * k, 80 - 5 * k);
    std::vector<AudioMasterCall> during = gestureCalls(s.host);
    EXPECT_EQ(send(0x202, 160, 60), 1);
    std::vector<AudioMasterCall> calls = gestureCalls(s.host);
    ASSERT_GT(during.size(), 4u);
    std::vector<int32_t> open, closed;
    int xValues = 0;
    for (size_t i = 0; i < calls.size(); i++) {
        const AudioMasterCall& c = calls[i];
        const bool known = std::find(open.begin(), open.end(), c.index) != open.end();
        if (c.opcode == audioMasterBeginEdit) {
            EXPECT_FALSE(known) << "gesture " << c.index << " opened twice";
            EXPECT_LT(i, during.size()) << "no gesture opens at the release";
            open.push_back(c.index);
        } else if (c.opcode == audioMasterAutomate) {
            EXPECT_TRUE(known) << "value of " << c.index << " outside its gesture";
            xValues += c.index == 6 + 1;
        } else {
            EXPECT_GE(i, during.size()) << "no gesture closes before the release";
            closed.push_back(c.index);
        }
    }
    EXPECT_EQ(xValues, 4) << "input 1's X follows each move";
    ASSERT_EQ(closed.size(), open.size());
    auto mapped = [](int32_t k) { return k >= 3 && k <= 5 ? k + 16384 : k; };
    for (size_t i = 1; i < closed.size(); i++) EXPECT_GT(mapped(closed[i - 1]), mapped(closed[i]));
    EXPECT_GT(e->getParameter(e, 6 + 1), 0.5f) << "input 1 went right";
    sessionClose(&s);
}
