#include "hostservices/services.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "foundation/host_api.h"
#include "hostservices/draw_library.h"
#include "hostservices/drawing.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

double db2slider(double dB) { return hostDbToSlider(dB); }
double slider2db(double position) { return hostSliderToDb(position); }

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

}  // namespace

const HostService HOST_SERVICES[] = {
    {"DB2SLIDER", reinterpret_cast<void*>(&db2slider)},
    {"SLIDER2DB", reinterpret_cast<void*>(&slider2db)},
    {"mkvolstr", reinterpret_cast<void*>(&hostVolumeText)},
    {"GSC_darkwrap", reinterpret_cast<void*>(&gscDarkwrap)},
    {"__mergesort", reinterpret_cast<void*>(&mergesortItems)},
    {"MIRQ_CreateBitmap", reinterpret_cast<void*>(&hostCreateBitmap)},
    {"MIRQ_CreateFont", reinterpret_cast<void*>(&hostCreateFont)},
};
const int HOST_SERVICE_COUNT = int(sizeof HOST_SERVICES / sizeof HOST_SERVICES[0]);

void* hostServiceFind(const char* name) {
    if (!name) return nullptr;
    for (const HostService& s : HOST_SERVICES)
        if (std::strcmp(s.name, name) == 0) return s.function;
    for (int i = 0; i < HOST_DRAWING_SERVICE_COUNT; i++)
        if (std::strcmp(HOST_DRAWING_SERVICES[i].name, name) == 0) return HOST_DRAWING_SERVICES[i].function;
    return nullptr;
}

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

void hostVolumeText(char* buffer, double gain) {
    if (!buffer) return;
    if (gain < 1e-8) std::snprintf(buffer, 32, "-inf dB");
    else std::snprintf(buffer, 32, "%+.2f dB", 20.0 * std::log10(gain));
}

std::string userIniPath(const char* program) {
    std::string name = program ? program : "";
#if defined(_WIN32)
    // The folder as UTF-8, whatever the user's name is made of.
    std::string base = ".";
    if (const wchar_t* wide = _wgetenv(L"APPDATA"); wide && *wide) {
        int n = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
        if (n > 1) {
            base.assign(size_t(n), '\0');
            WideCharToMultiByte(CP_UTF8, 0, wide, -1, base.data(), n, nullptr, nullptr);
            base.resize(size_t(n - 1));
        }
    }
    return base + "\\" + name + "\\" + name + ".ini";
#else
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    std::string base = config && *config ? config : std::string(home && *home ? home : ".") + "/.config";
    return base + "/" + name + "/" + name + ".ini";
#endif
}
