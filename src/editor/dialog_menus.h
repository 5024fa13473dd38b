// The popup menus of the dialog's "Pan law" and "Speaker presets" buttons as plain tables: what
// each item says, its command, its marks, and what a chosen command does to the instance. Also
// the pan law default of new instances, which the shell reads when it builds one. Portable; the
// window code (dialog_menus_win32.cpp) builds the popups from these tables and shows them.
#pragma once

#include <cstdint>

#include "foundation/grow_buffer.h"

struct SurroundPanner;

// One item of a popup menu. A separator has no text and no command; a submenu item names the
// index of its submenu and has no command.
struct MenuItem {
    const char* text;  // UTF-8, living as long as the table it stands in
    int32_t command;
    uint8_t checked;
    uint8_t greyed;
    uint8_t separator;
    int8_t submenu;  // -1 for none
};

// Each range of the preset menu has room for this many presets; the list is cut there.
constexpr int PRESET_MENU_LIMIT = 100;
// The largest popup the dialog builds: every preset, a separator, "Save preset..." and the
// three submenus.
constexpr int MENU_ITEMS_MAX = PRESET_MENU_LIMIT + 5;

struct MenuTable {
    MenuItem items[MENU_ITEMS_MAX];
    int count;
};

// ---- the pan law ----

// The ini section and key that keep the pan law of new instances.
extern const char* const PANLAW_INI_SECTION;  // "kelvane"
extern const char* const PANLAW_INI_KEY;      // "panlaw"
constexpr double PANLAW_MIN_DB = -6.0;
constexpr double PANLAW_MAX_DB = 0.0;

// The pan law menu's commands: the laws of its table, and "Set as default".
enum : int32_t {
    PANLAW_COMMAND_0 = 1000,
    PANLAW_COMMAND_2_5 = 1025,
    PANLAW_COMMAND_3 = 1030,
    PANLAW_COMMAND_4_5 = 1045,
    PANLAW_COMMAND_6 = 1060,
    PANLAW_COMMAND_SET_DEFAULT = 2000,
};

// One law of the menu: its text (a format taking the default suffix), command and value, and the
// band of laws that checks it: above `above` (or equal to it with `closedBelow`) and below
// `below` (or equal to it with `closedAbove`).
struct PanLawRow {
    const char* format;
    int32_t command;
    double value;
    double above, below;
    uint8_t closedBelow, closedAbove;
};
constexpr int PANLAW_ROW_COUNT = 5;
extern const PanLawRow PANLAW_ROWS[PANLAW_ROW_COUNT];

// [window thread] The pan law for new instances: the ini key of the host's ini file, -3.0 when
// it is missing or empty (or the host names no ini file), else its number clamped to -6 .. 0.
double readDefaultPanLaw();

// The pan law menu with the texts its items point at.
struct PanLawMenu {
    MenuTable table;
    char texts[PANLAW_ROW_COUNT][48];
};

// [window thread] Builds the menu for the instance's law and the default the ini file holds now.
void buildPanLawMenu(const SurroundPanner* p, PanLawMenu* menu);
// [window thread] Carries out a command of the menu: a law becomes the instance's (all gains are
// recomputed; the host is not told, the law travels in the state chunk), "Set as default" writes
// the present law to the ini file. False for a command that is not the menu's.
bool panLawMenuCommand(SurroundPanner* p, int command);

// ---- the speaker presets ----

// The preset menu's commands: a range of PRESET_MENU_LIMIT for each action, and saving.
enum : int32_t {
    PRESET_COMMAND_LOAD = 100,
    PRESET_COMMAND_REPLACE = 200,
    PRESET_COMMAND_RENAME = 300,
    PRESET_COMMAND_DELETE = 400,
    PRESET_COMMAND_SAVE = 1000,
};
// The submenus of the preset menu, in the order they follow "Save preset...".
enum { PRESET_SUBMENU_REPLACE, PRESET_SUBMENU_RENAME, PRESET_SUBMENU_DELETE, PRESET_SUBMENU_COUNT };

// The size of the buffer the host's name prompt fills.
constexpr int PRESET_NAME_PROMPT_SIZE = 512;

// The preset menu for the length of one click: the listed names and the four tables over them.
// Zero-filled before presetMenuOpen; presetMenuClose frees the names.
struct PresetMenu {
    GrowBuffer names;  // the names, each with its NUL
    const char* name[PRESET_MENU_LIMIT];
    int count;
    MenuTable main;
    MenuTable submenus[PRESET_SUBMENU_COUNT];
};

// [window thread] Lists the presets of the folder (the first PRESET_MENU_LIMIT of them) and builds
// the main menu and its three submenus. A folder that cannot be read gives an empty list: then
// only "Save preset..." and the three greyed submenus.
void presetMenuOpen(PresetMenu* menu);
// [window thread] Frees the names; the tables point at nothing then.
void presetMenuClose(PresetMenu* menu);
// [window thread] Carries out a command of the open menu: load, replace, rename or delete the
// preset it names, or save under a new name. Names are asked through the host's prompt, with
// `window` as its owner; without that prompt, renaming and saving do nothing, and a cancelled
// prompt changes nothing. False for a command that names no listed preset or is not the menu's.
bool presetMenuCommand(SurroundPanner* p, const PresetMenu* menu, int command, void* window);
