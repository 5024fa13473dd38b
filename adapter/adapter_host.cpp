// The adapter's side of the host: the services by name, the queries, and the road of every
// other call to the real host.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <string>

#include "adapter/adapter.h"
#include "foundation/host_api.h"
#include "hostservices/services.h"
#include "platform/platform.h"
#include "shell/entry.h"

#if defined(_WIN32)
#include <windows.h>

#include "hostservices/controls.h"
#endif

namespace {

// Process-wide: the real host of the most recent VSTPluginMain call; it takes the calls that
// name no instance of the adapter.
std::atomic<audioMasterCallback> latestHost{nullptr};
// Process-wide: whether this library registered the editor's control classes.
bool controlsRegisteredHere = false;

const char* iniFile() { return adapterIniFile(); }

intptr_t lookup(const char* name) {
    if (!name) return 0;
    if (std::strcmp(name, "get_ini_file") == 0) return reinterpret_cast<intptr_t>(&iniFile);
    return reinterpret_cast<intptr_t>(hostServiceFind(name));
}

int countFromText(const char* text) {
    if (!text) return 0;
    char* end = nullptr;
    long n = std::strtol(text, &end, 10);
    while (end && (*end == ' ' || *end == '\t')) end++;
    return end != text && end && !*end && n >= 1 && n <= ADAPTER_MAX_CHANNELS ? int(n) : 0;
}

}  // namespace

const char* adapterIniFile() {
    static std::once_flag once;
    static std::string path;
    std::call_once(once, [] {
        path = userIniPath("kelvanepan-daw");
        std::error_code ignored;
        std::filesystem::path file(std::u8string(path.begin(), path.end()));
        std::filesystem::create_directories(file.parent_path(), ignored);
    });
    return path.c_str();
}

int adapterChannelCount() {
    if (int n = countFromText(std::getenv("KELVANEPAN_CHANNELS"))) return n;
    char text[32] = {0};
    iniReadString(adapterIniFile(), "kelvane", "channels", "", text, sizeof text);
    if (int n = countFromText(text)) return n;
    return ADAPTER_DEFAULT_CHANNELS;
}

intptr_t VST_CALL adapterCallback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                  float opt) {
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_FUNCTION) return lookup(static_cast<const char*>(ptr));
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY)
        return value == HOST_QUERY_CHANNEL_COUNT ? adapterChannelCount() : 0;
    // The core's effect carries its adapter in the host's field; while it is being made it does
    // not yet, and its calls go to the host that is making it, naming no effect.
    AdapterEffect* a = effect ? static_cast<AdapterEffect*>(effect->user) : nullptr;
    audioMasterCallback host = a ? a->host : latestHost.load();
    if (!host) return 0;
    // The host reads the counts when told they changed: the proxy shows them first.
    if (a && opcode == audioMasterIOChanged) adapterTakeCounts(a);
    return host(a ? &a->proxy : nullptr, opcode, index, value, ptr, opt);
}

AEffect* adapterMain(audioMasterCallback host) {
    if (!host) return nullptr;
    latestHost.store(host);
#if defined(_WIN32)
    // The editor's dialog names control classes a DAW does not register; this library does,
    // unless the process has them already (a failure leaves the editor without them).
    static std::once_flag once;
    std::call_once(once, [] {
        WNDCLASSW existing;
        if (!GetClassInfoW(GetModuleHandleW(nullptr), L"BRASSELknob", &existing))
            controlsRegisteredHere = hostControlsRegister();
    });
#endif
    AEffect* inner = pluginMain(&adapterCallback);
    if (!inner) return nullptr;
    AdapterEffect* a = adapterWrap(inner, host);
    return a ? &a->proxy : nullptr;
}

void adapterDetach() {
#if defined(_WIN32)
    // The classes' window procedures live in this library: they go with it.
    if (controlsRegisteredHere) hostControlsUnregister();
    controlsRegisteredHere = false;
#endif
}
