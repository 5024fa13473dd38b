// kelvanepan-daw: the plugin for any VST 2 host. The same core, given a callback that offers the
// host services itself and answers the channel-count query, behind a proxy AEffect that forwards
// every call and runs the host's float audio through the double path. Called by the adapter's
// VSTPluginMain; the tests drive it through the built binary.
#pragma once

#include <atomic>
#include <cstdint>

#include "vst/aeffect.h"

// The most channels the channel-count query answers.
constexpr int ADAPTER_MAX_CHANNELS = 128;
// The longest piece the plugin is handed at once; a longer host block is split.
constexpr int ADAPTER_MAX_FRAMES = 8192;
// The block length prepared before the host announces one.
constexpr int ADAPTER_DEFAULT_FRAMES = 1024;
// The channel count when neither the environment nor the ini file names one.
constexpr int ADAPTER_DEFAULT_CHANNELS = 16;

// Buffers for one shape: per channel one input and one output, then one output nobody reads,
// each `frames` doubles; and the pointer arrays handed to the plugin. Made
// on the host's window thread, used by the audio thread; a replaced set is retired and freed
// only while no block can run.
struct AdapterScratch {
    int channels;
    int frames;
    double* samples;
    double** inputPointers;
    double** outputPointers;
    AdapterScratch* nextRetired;
};

struct AdapterEffect {
    AEffect proxy;  // what the host holds; first, so that the host's pointer is this record's
    AEffect* inner;
    audioMasterCallback host;
    std::atomic<AdapterScratch*> scratch;
    AdapterScratch* retired;
    int blockSize;  // the host's announced block length, 0 before it said one
};

// [host's instantiating thread] VSTPluginMain of the adapter: binds the core to the adapter's
// callback and wraps the instance. Null for a null host or when the core makes no instance.
AEffect* adapterMain(audioMasterCallback host);

// [library detach] Undoes what adapterMain set up for the process: on Windows, the editor's
// control classes when this library registered them.
void adapterDetach();

// [any thread] The callback the core calls: function lookups and queries are answered here,
// everything else goes to the real host with the proxy in place of the core's effect.
intptr_t VST_CALL adapterCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                  float opt);

// [any thread] The channel count the core is told: KELVANEPAN_CHANNELS (1..128), else the key
// "channels" of section "kelvane" in the adapter's ini file (1..128), else 16.
int adapterChannelCount();
// [any thread] The adapter's ini file: kelvanepan-daw/kelvanepan-daw.ini in the user's
// configuration folder. Its folder is made on first use.
const char* adapterIniFile();

// [host's instantiating thread] The proxy around an instance of the core, with buffers for a
// default block; null when out of memory (the instance is then closed).
AdapterEffect* adapterWrap(AEffect* inner, audioMasterCallback host);
// [window thread] Shows the counts of the core's records on the proxy; true when they changed.
bool adapterTakeCounts(AdapterEffect* a);
