// Runs kelvane-host as a person would, capturing its output and exit code (POSIX only).
#pragma once

#if !defined(_WIN32)
#include <sys/wait.h>

#include <cstdlib>
#include <string>

#include "plugin_paths.h"
#include "support/temp_dir.h"

struct ToolResult {
    int code;
    std::string out;
    std::string err;
};

inline std::string shellQuote(const std::string& s) {
    std::string q = "'";
    for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

inline ToolResult runTool(const TempDir& dir, const std::string& args) {
    std::string out = dir.file("tool.out"), err = dir.file("tool.err");
    std::string command = shellQuote(besideTestProgram(KVP_HOST_TOOL_FILE)) + " " + args + " >" + shellQuote(out) +
                          " 2>" + shellQuote(err) + " </dev/null";
    int raw = std::system(command.c_str());
    return ToolResult{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, dir.read("tool.out"), dir.read("tool.err")};
}
#endif
