// Checks that a run of recorded host calls keeps the gesture rules: every value goes out inside a
// gesture opened once for its parameter, nothing opens or is sent after the first close, and the
// release closes every opened gesture once, the scene parameters first, the rest from high to low.
// Tests that hold instances in the test process record those calls with GestureCallLog.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <vector>

#include "vst/aeffect.h"

// A begin, a value or an end of a gesture as a stand-in host received it.
struct GestureCall {
    int32_t opcode, index;
    float value;
};

// A host callback that keeps the gesture calls passing through it and hands every call on to
// `next`. A test sets both, and clears `calls` when it starts.
struct GestureCallLog {
    static inline std::vector<GestureCall> calls;
    static inline audioMasterCallback next = nullptr;
    static intptr_t VST_CALL record(AEffect* e, int32_t opcode, int32_t index, intptr_t value, void* ptr, float opt) {
        if (opcode == audioMasterAutomate || opcode == audioMasterBeginEdit || opcode == audioMasterEndEdit)
            calls.push_back({opcode, index, opt});
        return next ? next(e, opcode, index, value, ptr, opt) : 0;
    }
};

// Calls: anything with opcode and index; those that are not gesture calls are skipped.
template <class Call>
void expectGestureOrder(const std::vector<Call>& calls) {
    std::set<int> open;
    std::vector<int> closed;
    for (const Call& c : calls) {
        if (c.opcode == audioMasterBeginEdit) {
            EXPECT_TRUE(closed.empty()) << "gesture " << c.index << " begins after the release";
            EXPECT_TRUE(open.insert(c.index).second) << "gesture " << c.index << " begins twice";
        } else if (c.opcode == audioMasterAutomate) {
            EXPECT_TRUE(open.count(c.index)) << "value of " << c.index << " outside its gesture";
            EXPECT_TRUE(closed.empty()) << "value of " << c.index << " after the release";
        } else if (c.opcode == audioMasterEndEdit) {
            closed.push_back(c.index);
        }
    }
    ASSERT_EQ(closed.size(), open.size());
    auto mapped = [](int k) { return k >= 3 && k <= 5 ? k + 16384 : k; };
    for (size_t i = 1; i < closed.size(); i++) EXPECT_GT(mapped(closed[i - 1]), mapped(closed[i]));
}
