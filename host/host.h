// RefHost: the reference host. It answers a plugin's audioMaster calls as a DAW would: the
// lookup of host functions by name, the number queries, and the plain VST 2 requests; it records
// every call. Any service can be left out or replaced per host, so tests reach "host lacks X".
// Used by kelvane-host and by the tests that drive the real plugin binary.
#pragma once

#include <cstdint>
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

struct RefHost {
    int slot;                                  // which callback trampoline is this host's
    std::map<std::string, void*> services;     // the functions offered by name
    intptr_t channelCount;                     // answer to the channel-count query
    intptr_t effectHandle;                     // answer to the effect-handle query
    intptr_t trackHandle;                      // answer to the track query
    double sampleRate;
    std::string iniPath;                       // what get_ini_file gives
    std::map<std::string, std::string> translations;  // key: section + '\n' + text
    std::mutex callsMutex;
    std::vector<AudioMasterCall> calls;
};

constexpr int REF_HOST_MAX = 16;

// [any thread] A host with every service, a channel count of 2 and no ini file. Returns null
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

// [one thread] Fills the process's host function table (hostApi) by name from this host, as the
// plugin's entry point does: for running the core library's user-interface code in the host.
void refHostImportServices(RefHost* host);

// [any thread] Copies of the recorded calls; and the names looked up, in order.
std::vector<AudioMasterCall> refHostCalls(RefHost* host);
std::vector<std::string> refHostLookups(RefHost* host);
void refHostClearCalls(RefHost* host);

// The host's fader curve on 0..1000: DB2SLIDER and SLIDER2DB are each other's inverse within
// -150 dB .. +12 dB, 0 dB lying at about 794.
double hostDbToSlider(double dB);
double hostSliderToDb(double position);
