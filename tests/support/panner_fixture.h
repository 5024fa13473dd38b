// A fixture for tests that build effect instances straight from the core library with a
// stand-in host: a count answer, an ini file and nothing else. It owns the instances made with
// make(), so that a failed assertion leaks none, checks that the instance count comes back to
// where it started, and restores the process-wide host state afterwards.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/host_api.h"
#include "shell/entry.h"
#include "shell/panner.h"

struct PannerFixture : ::testing::Test {
    static inline intptr_t countAnswer = 2;
    static inline std::string iniPath;

    static intptr_t VST_CALL callback(AEffect*, int32_t opcode, int32_t index, intptr_t value, void*, float) {
        if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY && value == HOST_QUERY_CHANNEL_COUNT)
            return countAnswer;
        return 0;
    }
    static const char* iniFile() { return iniPath.c_str(); }

    audioMasterCallback savedCallback = nullptr;
    HostApi savedApi = {};
    int32_t countAtStart = 0;
    std::vector<SurroundPanner*> owned;

    // An instance destroyed at the end of the test unless the test destroys it first.
    SurroundPanner* make() {
        SurroundPanner* p = createPanner();
        if (p) owned.push_back(p);
        return p;
    }
    void destroy(SurroundPanner* p) {
        forget(p);
        destroyPanner(p);
    }
    // For an instance the test closes another way (effClose).
    void forget(SurroundPanner* p) { owned.erase(std::remove(owned.begin(), owned.end(), p), owned.end()); }

    void SetUp() override {
        savedCallback = hostCallback;
        savedApi = hostApi;
        hostCallback = callback;
        hostApi.get_ini_file = iniFile;
        countAnswer = 2;
        iniPath.clear();
        countAtStart = instanceCount;
    }
    void TearDown() override {
        for (auto p = owned.rbegin(); p != owned.rend(); ++p) destroyPanner(*p);
        owned.clear();
        EXPECT_EQ(instanceCount, countAtStart) << "instances made outside make() were left alive";
        hostCallback = savedCallback;
        hostApi = savedApi;
    }
};
