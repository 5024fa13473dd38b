#include "layouts/presets.h"

#include <cstdio>
#include <cstring>

#include "engine/instance.h"
#include "engine/records.h"
#include "engine/speaker_analysis.h"
#include "foundation/host_api.h"
#include "foundation/numbers.h"
#include "foundation/state_stream.h"
#include "foundation/token_line.h"
#include "layouts/layouts.h"
#include "layouts/naming.h"
#include "platform/files.h"

const char* const PRESET_FOLDER_NAME = "SpeakerSetups";
const char* const PRESET_EXTENSION = ".BrasselSpeakerSetup";

namespace {

#if defined(_WIN32)
constexpr char PATH_SEPARATOR = '\\';
bool endsFolder(char c) { return c == '/' || c == '\\'; }
#else
constexpr char PATH_SEPARATOR = '/';
bool endsFolder(char c) { return c == '/'; }
#endif

// The process's preset folder, built once.
struct PresetFolder {
    char path[PRESET_PATH_MAX];
};

PresetFolder buildPresetFolder() {
    PresetFolder folder;
    folder.path[0] = 0;
    const char* ini = hostApi.get_ini_file ? hostApi.get_ini_file() : nullptr;
    if (!ini || !*ini) return folder;
    int keep = 0;
    for (int i = 0; ini[i]; i++)
        if (endsFolder(ini[i])) keep = i + 1;
    int n = std::snprintf(folder.path, sizeof folder.path, "%.*s%s", keep, ini, PRESET_FOLDER_NAME);
    if (n < 0 || n >= int(sizeof folder.path)) {
        folder.path[0] = 0;
        return folder;
    }
    // Made once; a folder that is already there is no failure.
    folderCreate(folder.path);
    return folder;
}

bool equalsIgnoringCase(const char* a, const char* b) {
    for (; *a && *b; a++, b++) {
        char x = *a >= 'A' && *a <= 'Z' ? char(*a + 32) : *a;
        char y = *b >= 'A' && *b <= 'Z' ? char(*b + 32) : *b;
        if (x != y) return false;
    }
    return *a == *b;
}

struct PresetList {
    GrowBuffer* names;
    int count;
};

void addIfPreset(const char* entry, void* context) {
    PresetList* list = static_cast<PresetList*>(context);
    if (entry[0] == '.') return;
    const char* extension = std::strrchr(entry, '.');
    if (!extension || !equalsIgnoringCase(extension, PRESET_EXTENSION)) return;
    size_t before = list->names->used;
    if (growBufferAppend(list->names, entry, size_t(extension - entry)) && growBufferAppend(list->names, "", 1))
        list->count++;
    else
        growBufferResize(list->names, before);
}

// The file a preset name stands for. A file copied from another system may spell the extension
// in another case; it is the same preset, as the listing shows it. Where several files differ
// only there, the one spelled as this program writes it wins, else the first the folder lists.
struct PresetFileMatch {
    const char* name;
    size_t length;
    char extension[32];  // the extension as the chosen file spells it; empty when none matched
    bool exact;
};

void matchPresetFile(const char* entry, void* context) {
    PresetFileMatch* match = static_cast<PresetFileMatch*>(context);
    if (match->exact || std::strncmp(entry, match->name, match->length) != 0) return;
    const char* extension = entry + match->length;
    if (!equalsIgnoringCase(extension, PRESET_EXTENSION)) return;
    match->exact = std::strcmp(extension, PRESET_EXTENSION) == 0;
    if (match->exact || !match->extension[0]) std::snprintf(match->extension, sizeof match->extension, "%s", extension);
}

}  // namespace

const char* speakerPresetFolder() {
    static const PresetFolder folder = buildPresetFolder();
    return folder.path;
}

int listPresetFolder(const char* folder, GrowBuffer* names) {
    if (!names) return 0;
    PresetList list{names, 0};
    folderScan(folder, addIfPreset, &list);
    return list.count;
}

int listSpeakerPresets(GrowBuffer* names) { return listPresetFolder(speakerPresetFolder(), names); }

int presetPath(const char* name, char* out, int capacity) {
    if (!out || capacity < 1) return 0;
    out[0] = 0;
    const char* folder = speakerPresetFolder();
    if (!*folder || !name || !*name || std::strpbrk(name, "/\\")) return 0;
    PresetFileMatch match{name, std::strlen(name), {0}, false};
    folderScan(folder, matchPresetFile, &match);
    const char* extension = match.extension[0] ? match.extension : PRESET_EXTENSION;
    int n = std::snprintf(out, size_t(capacity), "%s%c%s%s", folder, PATH_SEPARATOR, name, extension);
    if (n < 0 || n >= capacity) {
        out[0] = 0;
        return 0;
    }
    return n;
}

int64_t savePresetFile(const SurroundPanner* p, const char* path) {
    ProjectStateContext* stream = createStateFileWriter(path);
    if (!stream) return -1;
    const PanSpeaker* spk = speakerRecords(p);
    for (int s = 0; s < speakerCount(p); s++) {
        const PanSpeaker& r = spk[s];
        uint32_t flags = (r.lfe ? PRESET_FLAG_LFE : 0) | (r.vacant ? PRESET_FLAG_VACANT : 0);
        stream->writeLine("%f %f %f %d %f %f", r.posX, r.posY, r.posZ, int(flags), r.gain, r.influence);
    }
    int64_t written = stream->outputSize();
    delete stream;  // closing sends the last buffer and waits for the disk
    return written;
}

void savePreset(const SurroundPanner* p, const char* name) {
    char path[PRESET_PATH_MAX];
    if (!presetPath(name, path, sizeof path)) return;
    fileDelete(path);
    // Asked again: with the old file gone the new one takes this program's spelling.
    if (presetPath(name, path, sizeof path)) savePresetFile(p, path);
}

bool loadPresetFile(SurroundPanner* p, const char* path) {
    // The file is read before the lock is taken, so that the audio thread never waits for the disk.
    ProjectStateContext* stream = createStateFileReader(path);
    if (!stream) return false;
    PanSpeaker read[PRESET_SPEAKERS_MAX];
    int count = 0;
    char line[PRESET_LINE_MAX];
    TokenLine tokens;
    tokenLineInit(&tokens);
    while (count < PRESET_SPEAKERS_MAX && stream->readLine(line, sizeof line) == 0) {
        if (tokenLineParse(&tokens, line, true, true, false) != 0 || tokenLineCount(&tokens) < 6) continue;
        PanSpeaker& s = read[count++];
        std::memset(&s, 0, sizeof s);
        s.posX = saneSetting(tokenLineNumber(&tokens, 0));
        s.posY = saneSetting(tokenLineNumber(&tokens, 1));
        s.posZ = saneSetting(tokenLineNumber(&tokens, 2));
        uint32_t flags = uint32_t(tokenLineInteger(&tokens, 3));
        s.lfe = (flags & PRESET_FLAG_LFE) ? 1 : 0;
        s.vacant = (flags & PRESET_FLAG_VACANT) ? 1 : 0;
        s.gain = saneSetting(tokenLineNumber(&tokens, 4));
        s.influence = saneSetting(tokenLineNumber(&tokens, 5));
    }
    tokenLineFree(&tokens);
    delete stream;
    if (!count) return false;

    notePendingChange(p, false);
    LockHold hold(&p->stateLock);
    if (!p->speakers.resize(count)) return false;
    std::memcpy(speakerRecords(p), read, size_t(count) * sizeof(PanSpeaker));
    p->layoutId = LAYOUT_CUSTOM;
    p->firstSpeakerStrip = 0;
    analyzeSpeakers(p);
    nameSpeakers(p, 0, count);
    p->audioSpeakers = -1;
    return true;
}

bool loadPreset(SurroundPanner* p, const char* name) {
    char path[PRESET_PATH_MAX];
    return presetPath(name, path, sizeof path) && loadPresetFile(p, path);
}

void deletePreset(const char* name) {
    char path[PRESET_PATH_MAX];
    if (presetPath(name, path, sizeof path)) fileDelete(path);
}

void renamePreset(const char* oldName, const char* newName) {
    char from[PRESET_PATH_MAX], to[PRESET_PATH_MAX];
    if (presetPath(oldName, from, sizeof from) && presetPath(newName, to, sizeof to)) fileMove(from, to);
}
