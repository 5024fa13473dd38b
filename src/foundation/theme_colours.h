// ThemeColours: the room view's ten colours, process-wide. The entry point reads them from the
// host's ini file (shell/theme.h); the room view draws with them.
#pragma once

#include <cstdint>

// 0xAARRGGBB values; the alpha byte of the colours is not used.
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
