// kelvane-host's preset commands: list, save, load, rename and delete speaker presets in the
// folder beside the host's ini file, through the core library's preset code; load shows what
// the plugin binary holds after the preset's speakers went into it.
#pragma once

// [main thread] "preset list|save|load|rename|delete ...". Exit code 0, or 2 on bad input.
int commandPreset(int argc, char** argv, const char* defaultPlugin);
