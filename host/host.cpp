#include "host/host.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <array>
#include <cstring>
#include <fstream>
#include <utility>

#include "foundation/host_api.h"
#include "host/draw_library.h"
#include "host/drawing.h"

namespace {

RefHost* hostSlots[REF_HOST_MAX];
std::mutex slotsMutex;

// ---- services that need no host context ----

double db2slider(double dB) { return hostDbToSlider(dB); }
double slider2db(double position) { return hostSliderToDb(position); }

void mkvolstr(char* buffer, double gain) {
    if (!buffer) return;
    if (gain < 1e-8) std::snprintf(buffer, 32, "-inf dB");
    else std::snprintf(buffer, 32, "%+.2f dB", 20.0 * std::log10(gain));
}

// System colours as GetSysColor gives them (0x00BBGGRR); 15 is the dialog face.
int gscDarkwrap(int index) {
    switch (index) {
        case 5: return 0xFFFFFF;   // window
        case 8: return 0x000000;   // window text
        case 15: return 0xF0F0F0;  // dialog face
        case 16: return 0xA0A0A0;  // shadow
        case 18: return 0x000000;  // button text
        default: return 0xC0C0C0;
    }
}

// A stable merge sort over items of `size` bytes; scratch holds count * size bytes, or is null.
void mergesortItems(void* items, size_t count, size_t size, MergesortCompare compare, void* scratch) {
    if (count < 2 || !items || !compare || !size) return;
    char* base = static_cast<char*>(items);
    char* temp = static_cast<char*>(scratch);
    bool own = !temp;
    if (own) temp = static_cast<char*>(std::malloc(count * size));
    if (!temp) return;
    for (size_t width = 1; width < count; width *= 2) {
        for (size_t lo = 0; lo < count; lo += 2 * width) {
            size_t mid = lo + width < count ? lo + width : count;
            size_t hi = lo + 2 * width < count ? lo + 2 * width : count;
            size_t a = lo, b = mid, out = lo;
            while (a < mid && b < hi) {
                // Take from the right run only when it is strictly smaller: that keeps equal items in order.
                if (compare(base + b * size, base + a * size) < 0) std::memcpy(temp + out++ * size, base + b++ * size, size);
                else std::memcpy(temp + out++ * size, base + a++ * size, size);
            }
            while (a < mid) std::memcpy(temp + out++ * size, base + a++ * size, size);
            while (b < hi) std::memcpy(temp + out++ * size, base + b++ * size, size);
        }
        std::memcpy(base, temp, count * size);
    }
    if (own) std::free(temp);
}

// ---- the per-host trampolines ----

intptr_t handleCall(RefHost* host, AEffect* effect, int32_t opcode, int32_t index, intptr_t value, void* ptr,
                    float opt);

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
};

struct SlotFunctions {
    audioMasterCallback callback;
    const char* (*iniFile)();
    const char* (*localizeFunc)(const char*, const char*, int);
};

template <size_t... I>
constexpr auto makeSlotTable(std::index_sequence<I...>) {
    return std::array<SlotFunctions, sizeof...(I)>{
        SlotFunctions{&Slot<I>::callback, &Slot<I>::iniFile, &Slot<I>::localizeFunc}...};
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

void offerAllServices(RefHost* host) {
    const SlotFunctions& own = SLOT_FUNCTIONS[size_t(host->slot)];
    host->services["DB2SLIDER"] = reinterpret_cast<void*>(&db2slider);
    host->services["SLIDER2DB"] = reinterpret_cast<void*>(&slider2db);
    host->services["get_ini_file"] = reinterpret_cast<void*>(own.iniFile);
    host->services["mkvolstr"] = reinterpret_cast<void*>(&mkvolstr);
    host->services["GSC_darkwrap"] = reinterpret_cast<void*>(&gscDarkwrap);
    host->services["__localizeFunc"] = reinterpret_cast<void*>(own.localizeFunc);
    host->services["__mergesort"] = reinterpret_cast<void*>(&mergesortItems);
    host->services["MIRQ_CreateBitmap"] = reinterpret_cast<void*>(&hostCreateBitmap);
    host->services["MIRQ_CreateFont"] = reinterpret_cast<void*>(&hostCreateFont);
    for (int i = 0; i < HOST_DRAWING_SERVICE_COUNT; i++)
        host->services[HOST_DRAWING_SERVICES[i].name] = HOST_DRAWING_SERVICES[i].function;
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

double hostDbToSlider(double dB) {
    if (!(dB > -150.0)) return 0.0;
    if (dB > 12.0) dB = 12.0;
    double t = (dB + 150.0) / 162.0;
    return 1000.0 * t * t * t;
}

double hostSliderToDb(double position) {
    if (!(position > 0.0)) return -150.0;
    if (position > 1000.0) position = 1000.0;
    return 162.0 * std::cbrt(position / 1000.0) - 150.0;
}

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
