#include "foundation/theme_colours.h"

ThemeColours themeColours = {
    0xFF999999,  // frontcol
    0xFF000000,  // rearcol
    0xFF344040,  // wallcol
    0xFF242E2E,  // ceilcol
    0xFF242E2E,  // floorcol
    0xFF000000,  // spkcol
    0xFF000070,  // selspkcol
    0xFF4E9C9C,  // infcol
    0xFF4060C4,  // marqcol
    100,         // infalpha
};
