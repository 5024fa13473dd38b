// Where the built plugin and kelvane-host are: beside the test program.
#pragma once

#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

inline std::string besideTestProgram(const char* file) {
    char self[4096] = {0};
#if defined(_WIN32)
    GetModuleFileNameA(nullptr, self, sizeof self - 1);
    const char* seps = "\\/";
#else
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n > 0) self[n] = 0;
    const char* seps = "/";
#endif
    std::string dir(self);
    size_t cut = dir.find_last_of(seps);
    return (cut == std::string::npos ? std::string(".") : dir.substr(0, cut)) + "/" + file;
}

inline std::string pluginPath() { return besideTestProgram(KVP_PLUGIN_FILE); }
