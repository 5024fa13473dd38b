// RefHost: the reference host. It answers a plugin's audioMaster calls as a DAW would: the
// lookup of host functions by name, the number queries, and the plain VST 2 requests; it records
// every call. Any service can be left out or replaced per host, so tests reach "host lacks X".
// Used by kelvane-host and by the tests that drive the real plugin binary.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "vst/aeffect.h"

struct AudioMasterCall {
    AEffect* effect;
    int32_t opcode;
    int32_t index;
    intptr_t value;
    intptr_t ptr;
    float opt;
    std::string name;  // the function name of a lookup call, else empty
    // The pair behind the pointer of an automation-shift call (first parameter moved, change of
    // count), read while the call runs; 0, 0 for every other call.
    int32_t shiftFirst, shiftChange;
};

// One track channel of a project whose tracks send to the effect's track (refHostLoadTracks).
struct SendingChannel {
    int channel;            // the track channel, from 0
    std::vector<int> pins;  // the effect's input pins it feeds, from 0
    std::string name;       // UTF-8
    int32_t colour;         // as the host's channel call gives it: red, green, blue in bytes 0..2
                            // and bit 24 when the channel has a colour of its own; else 0
};

// The answer of a scripted name prompt that cancels it.
extern const char* const RENAME_CANCEL;  // "<cancel>"

struct RefHost {
    int slot;                                  // which callback trampoline is this host's
    std::map<std::string, void*> services;     // the functions offered by name
    intptr_t channelCount;                     // answer to the channel-count query
    intptr_t effectHandle;                     // answer to the effect-handle query
    intptr_t trackHandle;                      // answer to the track query
    double sampleRate;
    std::string iniPath;                       // what get_ini_file gives
    std::map<std::string, std::string> translations;  // key: section + '\n' + text
    // The project of refHostLoadTracks; the two handle queries answer with this host then.
    std::vector<SendingChannel> sendingChannels;
    // The name prompt: with a script, each prompt takes the next answer (RENAME_CANCEL, or none
    // left, cancels it); without one, a window asks the user. Every prompt's title is noted.
    bool renameScripted;
    std::deque<std::string> renameReplies;
    std::vector<std::string> renameTitles;
    std::mutex callsMutex;
    std::vector<AudioMasterCall> calls;
};

constexpr int REF_HOST_MAX = 16;

// [any thread] A host with every service (none while KELVANE_HOST_SERVICES is "none"), a channel count of 2 and no ini file. Returns null
// when all REF_HOST_MAX hosts are in use.
RefHost* refHostCreate();
void refHostDestroy(RefHost* host);
// [any thread] The callback to hand to VSTPluginMain; it is this host's own.
audioMasterCallback refHostCallback(RefHost* host);

// [setup] Leaves a service out, or offers another function under its name.
void refHostRemoveService(RefHost* host, const char* name);
void refHostSetService(RefHost* host, const char* name, void* function);

// [setup] Loads a translation table: one entry a line, "section<TAB>text<TAB>translation",
// with \t, \n and \\ escapes; blank lines and lines starting with '#' are skipped. Returns false
// with the line number in *badLine (0 when the file cannot be read) on the first bad line.
bool refHostLoadTranslations(RefHost* host, const char* path, int* badLine);

// [setup] Loads a project of sending tracks: one line per track channel, "CHANNEL PINS COLOUR
// NAME": the channel and the effect inputs it feeds (a comma list) counted from 1 up to 128, a
// colour "#RRGGBB" or "none", and the rest of the line as the name (may be empty). Blank lines
// and lines starting with '#' are skipped. False with "FILE:LINE: reason" (or "FILE: reason"
// when it cannot be read) on the first bad line, the host unchanged.
bool refHostLoadTracks(RefHost* host, const char* path, std::string* error);
// [setup] Loads answers for the name prompt, one a line (a trailing CR is dropped), and makes
// the prompt scripted. False with "FILE: reason" when the file cannot be read.
bool refHostLoadReplies(RefHost* host, const char* path, std::string* error);

// [one thread] Fills the process's host function table (hostApi) by name from this host, as the
// plugin's entry point does: for running the core library's user-interface code in the host.
void refHostImportServices(RefHost* host);

// [any thread] Copies of the recorded calls; and the names looked up, in order.
std::vector<AudioMasterCall> refHostCalls(RefHost* host);
std::vector<std::string> refHostLookups(RefHost* host);
void refHostClearCalls(RefHost* host);

