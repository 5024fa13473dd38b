// ThemeColours: the room view's colours, read from section "kelvane" of the host's ini file
// by the entry point on every instantiation and shared by all instances of the process.
#pragma once

#include <cstdint>

#include "foundation/theme_colours.h"

// [host's instantiating thread] Reads the ten keys in table order, each with its present value
// as the default, so that a missing key keeps what it had. A null or empty path reads nothing.
void readThemeColours(const char* iniPath);
