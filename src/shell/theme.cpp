#include "shell/theme.h"

#include <cstddef>

#include "platform/platform.h"

struct ThemeKey {
    const char* key;
    size_t offset;
};

static const ThemeKey THEME_KEYS[] = {
    {"frontcol", offsetof(ThemeColours, frontcol)},
    {"rearcol", offsetof(ThemeColours, rearcol)},
    {"wallcol", offsetof(ThemeColours, wallcol)},
    {"ceilcol", offsetof(ThemeColours, ceilcol)},
    {"floorcol", offsetof(ThemeColours, floorcol)},
    {"spkcol", offsetof(ThemeColours, spkcol)},
    {"selspkcol", offsetof(ThemeColours, selspkcol)},
    {"infcol", offsetof(ThemeColours, infcol)},
    {"marqcol", offsetof(ThemeColours, marqcol)},
    {"infalpha", offsetof(ThemeColours, infalpha)},
};

void readThemeColours(const char* iniPath) {
    if (!iniPath || !*iniPath) return;
    for (const ThemeKey& row : THEME_KEYS) {
        uint32_t* field = reinterpret_cast<uint32_t*>(reinterpret_cast<char*>(&themeColours) + row.offset);
        *field = uint32_t(iniReadInt(iniPath, "kelvane", row.key, int(*field)));
    }
    themeColours.infalpha &= 0xFF;
}
