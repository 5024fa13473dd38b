// Speaker presets: speaker setups kept outside any project, as small text files in a folder
// beside the host's ini file, one line "x y z flags gain influence" per speaker. For the
// dialog's preset menu and kelvane-host; all of it runs on the window thread.
#pragma once

#include <cstdint>

#include "foundation/grow_buffer.h"

struct SurroundPanner;

extern const char* const PRESET_FOLDER_NAME;  // "SpeakerSetups"
extern const char* const PRESET_EXTENSION;    // ".BrasselSpeakerSetup"
constexpr int PRESET_SPEAKERS_MAX = 32;
constexpr int PRESET_LINE_MAX = 4096;
constexpr int PRESET_PATH_MAX = 4096;

// Preset line flags.
constexpr uint32_t PRESET_FLAG_LFE = 1;
constexpr uint32_t PRESET_FLAG_VACANT = 2;

// [window thread] The folder: the host's ini file path cut after its last separator, then
// "SpeakerSetups" ("SpeakerSetups" in the working folder for an ini path without one). Built,
// and the folder created, on the first call in the process and kept. "" when the host gives
// no ini file.
const char* speakerPresetFolder();

// [window thread] Appends the name of every preset in the folder to `names`, each with its NUL,
// in the folder's own order. Returns how many; 0 when the folder cannot be read.
int listSpeakerPresets(GrowBuffer* names);
// [window thread] The same for any folder: entries not starting with '.' whose text from the
// last '.' is the extension, in any case.
int listPresetFolder(const char* folder, GrowBuffer* names);

// [window thread] The path of a preset into `out` of `capacity` bytes: the existing file of
// that name, its extension compared without regard to case (the one spelled ".BrasselSpeakerSetup"
// first, else the first the folder lists), or the name with ".BrasselSpeakerSetup" when none
// exists. Returns its length; 0, with `out` empty, when there is no folder, the name is empty or
// holds a path separator (it would leave the folder), or the path does not fit.
int presetPath(const char* name, char* out, int capacity);

// [window thread] Deletes a preset of that name, then writes the speakers into a new one spelled
// with ".BrasselSpeakerSetup". When the file cannot be made nothing more happens (the old file
// is gone all the same).
void savePreset(const SurroundPanner* p, const char* name);
// [window thread] Writes the speakers, one line each, to a file. Reads the records without the
// lock. Returns the bytes written, or -1 when the file cannot be made.
int64_t savePresetFile(const SurroundPanner* p, const char* path);

// [window thread, takes stateLock] Replaces all speakers by those of a preset: at most 32,
// lines that do not parse or have fewer than six tokens skipped. The setup becomes custom, the
// speakers are analysed and named from their places, and the old counts are noted as a pending
// change for the host. Returns false, with nothing changed, when the file cannot be read or
// holds no speaker.
bool loadPreset(SurroundPanner* p, const char* name);
bool loadPresetFile(SurroundPanner* p, const char* path);

// [window thread] Deletes a preset; a missing one is no error, and nothing is reported.
void deletePreset(const char* name);
// [window thread] Renames a preset; on failure (the new name taken, among others) the old file
// stays, and nothing is reported.
void renamePreset(const char* oldName, const char* newName);
