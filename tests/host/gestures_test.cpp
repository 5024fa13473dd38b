// Gestures as the host sees them, through the real plugin binary: begin, values, end, in order.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "host/session.h"
#include "plugin_paths.h"
#include "support/gesture_order.h"

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
    std::this_thread::sleep_for(std::chrono::milliseconds(600));
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    calls = gestureCalls(s.host);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].opcode, audioMasterEndEdit);
    EXPECT_EQ(calls[0].index, 6 + 9 + 3) << "input 2's Z closes first";
    EXPECT_EQ(calls[1].opcode, audioMasterEndEdit);
    EXPECT_EQ(calls[1].index, 6 + 3);
    refHostClearCalls(s.host);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    EXPECT_TRUE(gestureCalls(s.host).empty()) << "each gesture closes once";
    sessionClose(&s);
}

// A drag in the small view, through the binary's vendor call: each changed parameter opens its
// gesture before its first value, input 1's X follows each move, and the release closes them all.
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
    const std::vector<AudioMasterCall> during = gestureCalls(s.host);
    EXPECT_EQ(send(0x202, 160, 60), 1);
    const std::vector<AudioMasterCall> calls = gestureCalls(s.host);
    EXPECT_EQ(std::count_if(during.begin(), during.end(), [](const AudioMasterCall& c) { return c.opcode == audioMasterEndEdit; }), 0);
    EXPECT_EQ(std::count_if(during.begin(), during.end(),
                            [](const AudioMasterCall& c) { return c.opcode == audioMasterAutomate && c.index == 6 + 1; }),
              4);
    EXPECT_GT(calls.size(), during.size());
    expectGestureOrder(calls);
    EXPECT_GT(e->getParameter(e, 6 + 1), 0.5f) << "input 1 went right";
    sessionClose(&s);
}
