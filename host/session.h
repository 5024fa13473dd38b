// A plugin instance driven by the reference host: the library, the host, the effect, and the
// calls a DAW makes around them (counts, parameters by name, chunks, blocks). Used by the
// kelvane-host commands and by the tests that drive the real binary.
#pragma once

#include <string>
#include <vector>

#include "host/host.h"
#include "host/loader.h"

struct PluginSession {
    PluginLibrary library;
    RefHost* host;
    AEffect* effect;
};

// The longest block any command hands to a plugin; it is told so before it is resumed.
constexpr int SESSION_MAX_BLOCK = 65536;

// [one thread] Loads the library, makes a host with the channel count and ini path given, and
// instantiates and opens the effect at the sample rate. Returns false with a one-line reason.
bool sessionOpen(PluginSession* s, const char* pluginPath, int channels, const char* iniPath, double sampleRate,
                 std::string* error);
// [one thread] Closes the effect, the host and the library; safe on a session that failed to open.
void sessionClose(PluginSession* s);

// [one thread] The present input and speaker counts, as the effect tells them by its named
// values; the AEffect counts when it does not.
int sessionInputCount(PluginSession* s);
int sessionSpeakerCount(PluginSession* s);

// [one thread] Writes a named value ("NUMCHANNELS", "NUMSPEAKERS", "RESETCHANNELS") and runs the
// idle call that lets the change reach the host.
void sessionWriteNamed(PluginSession* s, const char* name, const std::string& text);

// [one thread] The name of parameter index; the index of a name, or -1.
std::string sessionParameterName(PluginSession* s, int index);
int sessionFindParameter(PluginSession* s, const std::string& name);
// [one thread] Sets a parameter from a display text through the effect's own text-to-value call.
// Returns false when the effect does not parse texts.
bool sessionSetFromText(PluginSession* s, int index, const std::string& text);

// [one thread] Whether the effect answers this project's named-value calls (the channel counts by
// name, texts read into values). Other VST 2 plugins get only the plain VST 2 calls.
bool sessionSpeaksProtocol(PluginSession* s);
// [one thread] The normalised value (0..1) that a text stands for, checked before any use: the
// effect's own reader for protocol plugins, whose display of the result must show the same value
// (so that out-of-range numbers, trailing letters, NaN and infinities are refused); for other
// plugins a plain number from 0 to 1. The unit label may follow a number ("-6 dB"). False with
// the reason, naming the range the display shows.
bool sessionValueFromText(PluginSession* s, int index, const std::string& text, float* value, std::string* why);

// [one thread] The state chunk, or an empty vector; and loading one.
std::vector<unsigned char> sessionSaveState(PluginSession* s);
void sessionLoadState(PluginSession* s, const std::vector<unsigned char>& chunk);

// [one thread] Puts the built-in layout `layoutId` into the effect: the core library composes it
// onto the effect's own state, and the result goes back in as a chunk, as a host restoring a
// project would. False with a one-line reason.
bool sessionApplyLayout(PluginSession* s, int layoutId, std::string* error);
// [one thread] Puts the speakers of a preset file into the effect in the same way: the core
// library's preset reader loads them onto the effect's own state. False with a one-line reason
// naming the file.
bool sessionApplyPreset(PluginSession* s, const std::string& path, std::string* error);
// [one thread] What the effect's state says of its speakers: the built-in layout (0 custom) and,
// per speaker, the layout slot (-1 when custom), the name and the LFE flag. False when the
// effect gives no state.
struct SpeakerInfo {
    int slot;
    bool lfe;
    std::string name;
};
bool sessionSpeakers(PluginSession* s, int* layoutId, int* family, std::vector<SpeakerInfo>* speakers);
// [one thread] Puts input i onto speaker speakerOf[i] (its position; -1 leaves the input where it
// is). An input put onto an LFE speaker feeds the LFE speakers only, which the effect offers for
// input 4 alone; false with the reason for any other.
bool sessionPlaceInputs(PluginSession* s, const std::vector<int>& speakerOf, std::string* error);
// [one thread] Where each input stands: the name of the speaker at its position ("LFE" for the
// LFE channel), else its coordinates.
std::vector<std::string> sessionInputPlaces(PluginSession* s);

// The built-in layout a name picks, exactly or by a unique prefix, without regard to case
// ("Custom speakers" is no layout to pick). -1 when none matches, LAYOUT_NAME_AMBIGUOUS when
// several do; `closest` then names the nearest or the matching layouts, comma-separated.
constexpr int LAYOUT_NAME_AMBIGUOUS = -2;
int findLayoutByName(const std::string& name, std::string* closest);
// The layout of a --layout option, or -1 with a one-line reason that names the nearest layouts.
int layoutFromOption(const std::string& name, std::string* error);
// A --channels value: a whole number from 1 to 128. False with a one-line reason.
bool channelsFromOption(const std::string& text, int* channels, std::string* error);

// [one thread] Reads a whole file; false with a one-line reason naming it.
bool readWholeFile(const std::string& path, std::vector<unsigned char>* out, std::string* error);
// [one thread] Reads a state chunk file and refuses anything that is not one whole chunk.
bool readChunkFile(const std::string& path, std::vector<unsigned char>* chunk, std::string* error);
// The folder part of a path ("." for a bare name) and whether it exists as a folder.
bool folderExists(const std::string& path);
