#include "editor/dialog_menus.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "foundation/localize.h"
#include "foundation/numbers.h"
#include "layouts/presets.h"
#include "platform/platform.h"

const char* const PANLAW_INI_SECTION = "kelvane";
const char* const PANLAW_INI_KEY = "panlaw";

namespace {

const char* const SECTION = "kelvanepan";
constexpr double BELOW_ALL = -std::numeric_limits<double>::infinity();

// The suffix that marks the default law, as the host's translation first gave it; kept for the
// process.
const char* defaultSuffix = nullptr;

const char* suffixText() {
    if (!defaultSuffix) defaultSuffix = localize(" (default)", SECTION, LOCALIZE_TRANSIENT);
    return defaultSuffix ? defaultSuffix : "";
}

bool inBand(const PanLawRow& row, double law) {
    bool low = row.closedBelow ? law >= row.above : law > row.above;
    bool high = row.closedAbove ? law <= row.below : law < row.below;
    return low && high;
}

void addItem(MenuTable* table, const char* text, int32_t command, bool checked, bool greyed, int submenu) {
    if (table->count >= MENU_ITEMS_MAX) return;
    MenuItem& item = table->items[table->count++];
    item = MenuItem{text, command, uint8_t(checked), uint8_t(greyed), 0, int8_t(submenu)};
}

void addSeparator(MenuTable* table) {
    if (table->count >= MENU_ITEMS_MAX) return;
    table->items[table->count++] = MenuItem{nullptr, 0, 0, 0, 1, -1};
}

// Asks the host's prompt for a name into buffer, which holds the text to start from. True when
// the user accepted a text.
bool askName(void* window, const char* title, char* buffer) {
    if (!hostApi.DoRenameDialogEx) return false;
    int accepted = hostApi.DoRenameDialogEx(window, localize(title, SECTION, 0), localize("Preset name", SECTION, 0),
                                            buffer, PRESET_NAME_PROMPT_SIZE);
    buffer[PRESET_NAME_PROMPT_SIZE - 1] = 0;
    return uint8_t(accepted) != 0;
}

}  // namespace

const PanLawRow PANLAW_ROWS[PANLAW_ROW_COUNT] = {
    {"+0.0 dB%s", PANLAW_COMMAND_0, 0.0, 0.0, 0.0, 1, 1},
    {"-2.5 dB%s", PANLAW_COMMAND_2_5, -2.5, -3.0, 0.0, 0, 0},
    {"-3.0 dB%s", PANLAW_COMMAND_3, -3.0, -3.0, -3.0, 1, 1},
    {"-4.5 dB%s", PANLAW_COMMAND_4_5, -4.5, -6.0, -3.0, 0, 0},
    {"-6.0 dB%s", PANLAW_COMMAND_6, -6.0, BELOW_ALL, -6.0, 0, 1},
};

// ---- the pan law ----

double readDefaultPanLaw() {
    char text[128] = {0};
    const char* path = hostApi.get_ini_file ? hostApi.get_ini_file() : nullptr;
    if (path && *path) iniReadString(path, PANLAW_INI_SECTION, PANLAW_INI_KEY, "", text, sizeof text);
    if (!text[0]) return PAN_LAW_DEFAULT_DB;
    double db = parseLeadingDouble(text);
    if (db < PANLAW_MIN_DB) db = PANLAW_MIN_DB;
    if (db > PANLAW_MAX_DB) db = PANLAW_MAX_DB;
    return db;
}

void buildPanLawMenu(const SurroundPanner* p, PanLawMenu* menu) {
    std::memset(menu, 0, sizeof *menu);
    double defaultDb = readDefaultPanLaw();
    double law = sharedLoad(p->panLawDb);
    for (int i = 0; i < PANLAW_ROW_COUNT; i++) {
        const PanLawRow& row = PANLAW_ROWS[i];
        std::snprintf(menu->texts[i], sizeof menu->texts[i], row.format, row.value == defaultDb ? suffixText() : "");
        addItem(&menu->table, menu->texts[i], row.command, inBand(row, law), false, -1);
    }
    addSeparator(&menu->table);
    addItem(&menu->table, localize("Set as default", SECTION, 0), PANLAW_COMMAND_SET_DEFAULT, false, false, -1);
}

bool panLawMenuCommand(SurroundPanner* p, int command) {
    if (command == PANLAW_COMMAND_SET_DEFAULT) {
        // Any law can become the default, also one that is no item of the menu.
        char text[32];
        std::snprintf(text, sizeof text, "%.1f", sharedLoad(p->panLawDb));
        const char* path = hostApi.get_ini_file ? hostApi.get_ini_file() : nullptr;
        if (path && *path) iniWriteString(path, PANLAW_INI_SECTION, PANLAW_INI_KEY, text);
        return true;
    }
    for (const PanLawRow& row : PANLAW_ROWS) {
        if (row.command != command) continue;
        sharedStore(p->panLawDb, row.value);
        markAllInputsDirty(p);
        return true;
    }
    return false;
}

// ---- the speaker presets ----

void presetMenuOpen(PresetMenu* menu) {
    std::memset(menu, 0, sizeof *menu);
    growBufferInit(&menu->names);
    int listed = listSpeakerPresets(&menu->names);
    // The command ranges hold PRESET_MENU_LIMIT presets each; from there on a command would name
    // a preset of the next range. The list is cut instead: presets past the first hundred the
    // folder gives are not offered, and stay untouched on disk.
    const char* at = static_cast<const char*>(menu->names.data);
    for (int i = 0; i < listed && menu->count < PRESET_MENU_LIMIT; i++) {
        menu->name[menu->count++] = at;
        at += std::strlen(at) + 1;
    }

    int n = menu->count;
    for (int s = 0; s < PRESET_SUBMENU_COUNT; s++) {
        const int32_t first = s == PRESET_SUBMENU_REPLACE  ? PRESET_COMMAND_REPLACE
                              : s == PRESET_SUBMENU_RENAME ? PRESET_COMMAND_RENAME
                                                           : PRESET_COMMAND_DELETE;
        for (int i = 0; i < n; i++) addItem(&menu->submenus[s], menu->name[i], first + i, false, false, -1);
    }
    for (int i = 0; i < n; i++) addItem(&menu->main, menu->name[i], PRESET_COMMAND_LOAD + i, false, false, -1);
    if (n > 0) addSeparator(&menu->main);
    addItem(&menu->main, localize("Save preset...", SECTION, 0), PRESET_COMMAND_SAVE, false, false, -1);
    addItem(&menu->main, localize("Replace", SECTION, 0), 0, false, n == 0, PRESET_SUBMENU_REPLACE);
    addItem(&menu->main, localize("Rename", SECTION, 0), 0, false, n == 0, PRESET_SUBMENU_RENAME);
    addItem(&menu->main, localize("Delete", SECTION, 0), 0, false, n == 0, PRESET_SUBMENU_DELETE);
}

void presetMenuClose(PresetMenu* menu) {
    growBufferFree(&menu->names);
    menu->count = 0;
}

bool presetMenuCommand(SurroundPanner* p, const PresetMenu* menu, int command, void* window) {
    char buffer[PRESET_NAME_PROMPT_SIZE] = {0};
    if (command == PRESET_COMMAND_SAVE) {
        if (askName(window, "Save Speaker Preset", buffer)) savePreset(p, buffer);
        return true;
    }
    if (command < PRESET_COMMAND_LOAD || command >= PRESET_COMMAND_DELETE + PRESET_MENU_LIMIT) return false;
    int index = command % PRESET_MENU_LIMIT;
    if (index >= menu->count) return false;
    const char* name = menu->name[index];
    switch (command / PRESET_MENU_LIMIT * PRESET_MENU_LIMIT) {
        case PRESET_COMMAND_LOAD:
            loadPreset(p, name);
            break;
        case PRESET_COMMAND_REPLACE:
            deletePreset(name);
            savePreset(p, name);
            break;
        case PRESET_COMMAND_RENAME:
            std::snprintf(buffer, sizeof buffer, "%s", name);
            if (askName(window, "Rename Speaker Preset", buffer)) renamePreset(name, buffer);
            break;
        default:
            deletePreset(name);
            break;
    }
    return true;
}
