// ThemeColours: the room view's colours, read from section "kelvane" of the host's ini file
// by the entry point on every instantiation and shared by all instances of the process.
#pragma once

#include <cstdint>

struct ThemeColours {
    uint32_t frontcol;
    uint32_t rearcol;
    uint32_t wallcol;
    uint32_t ceilcol;
    uint32_t floorcol;
    uint32_t spkcol;
    uint32_t selspkcol;
    uint32_t infcol;
    uint32_t marqcol;
    uint32_t infalpha;  // only the low byte counts
};

// Process-wide; starts at the defaults and keeps the last values read.
extern ThemeColours themeColours;

// [host's instantiating thread] Reads the ten keys in table order, each with its present value
// as the default, so that a missing key keeps what it had. A null or empty path reads nothing.
void readThemeColours(const char* iniPath);
