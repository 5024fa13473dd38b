// Builds effect instances straight from the core library with a stand-in host: a count answer,
// an ini file and nothing else. Restores the process-wide host state afterwards.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "foundation/host_api.h"
#include "shell/entry.h"
#include "shell/panner.h"

struct PannerTest : ::testing::Test {
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

    void SetUp() override {
        savedCallback = hostCallback;
        savedApi = hostApi;
        hostCallback = callback;
        hostApi.get_ini_file = iniFile;
        countAnswer = 2;
        iniPath.clear();
    }
    void TearDown() override {
        hostCallback = savedCallback;
        hostApi = savedApi;
    }
};
