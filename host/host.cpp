#include "host/host.h"

#include <cstdio>
#include <cstdlib>
#include <array>
#include <cstring>
#include <fstream>
#include <utility>

#include "foundation/host_api.h"
#include "host/key_hooks.h"
#include "host/name_prompt.h"
#include "host/sending_tracks.h"
#include "hostservices/draw_library.h"
#include "hostservices/services.h"
#include "platform/ini_text.h"

const char* const RENAME_CANCEL = "<cancel>";

namespace {

RefHost* hostSlots[REF_HOST_MAX];
std::mutex slotsMutex;

// ---- the per-host trampolines ----

intptr_t handleCall(RefHost* host, AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                    float opt);
int answerNamePrompt(RefHost* host, void* owner, const char* title, const char* prompt, char* buffer, int size);

template <int N>
struct Slot {
    static intptr_t VST_CALL callback(AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                                      float opt) {
        RefHost* host = hostSlots[N];
        return host ? handleCall(host, effect, opcode, index, value, ptr, opt) : 0;
    }
    static const char* iniFile() {
        RefHost* host = hostSlots[N];
        return host ? host->iniPath.c_str() : "";
    }
    static const char* localizeFunc(const char* text, const char* section, int) {
        RefHost* host = hostSlots[N];
        if (!host || !text) return text;
        auto it = host->translations.find(std::string(section ? section : "") + '\n' + text);
        return it == host->translations.end() ? text : it->second.c_str();
    }
    static int renameDialog(void* owner, const char* title, const char* prompt, char* buffer, int size) {
        RefHost* host = hostSlots[N];
        return host ? answerNamePrompt(host, owner, title, prompt, buffer, size) : 0;
    }
};

struct SlotFunctions {
    audioMasterCallback callback;
    const char* (*iniFile)();
    const char* (*localizeFunc)(const char*, const char*, int);
    int (*renameDialog)(void*, const char*, const char*, char*, int);
};

template <size_t... I>
constexpr auto makeSlotTable(std::index_sequence<I...>) {
    return std::array<SlotFunctions, sizeof...(I)>{
        SlotFunctions{&Slot<I>::callback, &Slot<I>::iniFile, &Slot<I>::localizeFunc, &Slot<I>::renameDialog}...};
}

const auto SLOT_FUNCTIONS = makeSlotTable(std::make_index_sequence<REF_HOST_MAX>());

intptr_t handleCall(RefHost* host, AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                    float opt) {
    AudioMasterCall call{effect, opcode, index, value, reinterpret_cast<intptr_t>(ptr), opt, std::string(), 0, 0};
    bool lookup = opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_FUNCTION;
    if (lookup && ptr) call.name = static_cast<const char*>(ptr);
    if (opcode == audioMasterVendorSpecific && index == HOST_LOOKUP_OPCODE && value == 0 && ptr) {
        std::memcpy(&call.shiftFirst, ptr, sizeof(int32_t));
        std::memcpy(&call.shiftChange, static_cast<const char*>(ptr) + sizeof(int32_t), sizeof(int32_t));
    }
    {
        std::lock_guard<std::mutex> hold(host->callsMutex);
        host->calls.push_back(call);
    }
    if (lookup) {
        if (!ptr) return 0;
        auto it = host->services.find(static_cast<const char*>(ptr));
        return it == host->services.end() ? 0 : reinterpret_cast<intptr_t>(it->second);
    }
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY) {
        switch (value) {
            case HOST_QUERY_CHANNEL_COUNT: return host->channelCount;
            case HOST_QUERY_EFFECT_HANDLE: return host->effectHandle;
            case HOST_QUERY_TRACK: return host->trackHandle;
            default: return 0;
        }
    }
    switch (opcode) {
        case audioMasterVersion: return 2400;
        case audioMasterCurrentId: return effect ? effect->uniqueID : 0;
        default: return 0;
    }
}

// The name prompt: the next scripted answer, or the user in a window.
int answerNamePrompt(RefHost* host, void* owner, const char* title, const char* prompt, char* buffer, int size) {
    host->renameTitles.push_back(title ? title : "");
    if (!host->renameScripted) return hostNamePrompt(owner, title, prompt, buffer, size);
    if (host->renameReplies.empty() || !buffer || size < 1) return 0;
    std::string reply = host->renameReplies.front();
    host->renameReplies.pop_front();
    if (reply == RENAME_CANCEL) return 0;
    iniCopyValue(reply.c_str(), buffer, size);
    return 1;
}

// Every service of the library, and the ini file and translations of this host. A host made
// while KELVANE_HOST_SERVICES is "none" offers no function by name, as a plain VST 2 DAW.
void offerAllServices(RefHost* host) {
    const char* only = std::getenv("KELVANE_HOST_SERVICES");
    if (only && std::strcmp(only, "none") == 0) return;
    const SlotFunctions& own = SLOT_FUNCTIONS[size_t(host->slot)];
    for (int i = 0; i < HOST_SERVICE_COUNT; i++) host->services[HOST_SERVICES[i].name] = HOST_SERVICES[i].function;
    for (int i = 0; i < HOST_DRAWING_SERVICE_COUNT; i++)
        host->services[HOST_DRAWING_SERVICES[i].name] = HOST_DRAWING_SERVICES[i].function;
    host->services["get_ini_file"] = reinterpret_cast<void*>(own.iniFile);
    host->services["__localizeFunc"] = reinterpret_cast<void*>(own.localizeFunc);
    // The host's own: its name prompt, its key hooks, and the routing of its project.
    host->services["DoRenameDialogEx"] = reinterpret_cast<void*>(own.renameDialog);
    host->services["plugin_register"] = reinterpret_cast<void*>(&hostPluginRegister);
    host->services["fxGetSetPinMap2"] = reinterpret_cast<void*>(&hostPinMap);
    host->services["GetReceiveChannelInfo"] = reinterpret_cast<void*>(&hostReceiveChannelInfo);
}

std::string unescape(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        if (text[i] != '\\' || i + 1 == text.size()) { out += text[i]; continue; }
        char c = text[++i];
        out += c == 't' ? '\t' : c == 'n' ? '\n' : c;
    }
    return out;
}

}  // namespace

RefHost* refHostCreate() {
    std::lock_guard<std::mutex> hold(slotsMutex);
    for (int i = 0; i < REF_HOST_MAX; i++) {
        if (hostSlots[i]) continue;
        RefHost* host = new RefHost();
        host->slot = i;
        host->channelCount = 2;
        host->effectHandle = 0;
        host->trackHandle = 0;
        host->sampleRate = 48000.0;
        offerAllServices(host);
        hostSlots[i] = host;
        return host;
    }
    return nullptr;
}

void refHostDestroy(RefHost* host) {
    if (!host) return;
    {
        std::lock_guard<std::mutex> hold(slotsMutex);
        hostSlots[host->slot] = nullptr;
    }
    delete host;
}

audioMasterCallback refHostCallback(RefHost* host) { return SLOT_FUNCTIONS[size_t(host->slot)].callback; }

void refHostRemoveService(RefHost* host, const char* name) { host->services.erase(name); }

void refHostSetService(RefHost* host, const char* name, void* function) { host->services[name] = function; }

bool refHostLoadTranslations(RefHost* host, const char* path, int* badLine) {
    std::ifstream in(path);
    *badLine = 0;
    if (!in) return false;
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        number++;
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty() || line[0] == '#') continue;
        size_t a = line.find('\t');
        size_t b = a == std::string::npos ? a : line.find('\t', a + 1);
        if (b == std::string::npos) {
            *badLine = number;
            return false;
        }
        host->translations[unescape(line.substr(0, a)) + '\n' + unescape(line.substr(a + 1, b - a - 1))] =
            unescape(line.substr(b + 1));
    }
    return true;
}

bool refHostLoadReplies(RefHost* host, const char* path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return *error = std::string(path) + ": cannot be read", false;
    std::deque<std::string> replies;
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        replies.push_back(line);
    }
    host->renameReplies = replies;
    host->renameScripted = true;
    return true;
}

void refHostImportServices(RefHost* host) {
    for (int i = 0; i < HOST_API_NAME_COUNT; i++)
        importHostFunction(reinterpret_cast<void**>(reinterpret_cast<char*>(&hostApi) + HOST_API_NAMES[i].slotOffset),
                           HOST_API_NAMES[i].name, refHostCallback(host));
}

std::vector<AudioMasterCall> refHostCalls(RefHost* host) {
    std::lock_guard<std::mutex> hold(host->callsMutex);
    return host->calls;
}

std::vector<std::string> refHostLookups(RefHost* host) {
    std::vector<std::string> names;
    for (const AudioMasterCall& c : refHostCalls(host))
        if (c.opcode == HOST_LOOKUP_OPCODE && c.index == HOST_LOOKUP_FUNCTION) names.push_back(c.name);
    return names;
}

void refHostClearCalls(RefHost* host) {
    std::lock_guard<std::mutex> hold(host->callsMutex);
    host->calls.clear();
}
