// Renders one fixed scene through a plugin binary's entry and prints a hash of every output bit:
// ten inputs of generated noise, one source moving every block, delays set and changed along the
// way, blocks of several lengths. tools/test runs it in the Linux, Linux 32-bit and Windows
// builds and compares the hashes. Usage: kvp_render_hash [PLUGIN] (default: the plugin beside it).
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "host/loader.h"
#include "shell/host_api.h"
#include "shell/parameter_map.h"

namespace {

constexpr int CHANNELS = 10;
constexpr int BLOCKS = 48;
constexpr int BLOCK_LENGTHS[] = {512, 64, 2048, 1, 300, 511};

// The host functions the plugin insists on; the scene never sets a fader, so a straight line does.
double dbToSlider(double dB) { return 794.0 + 10.0 * dB; }
double sliderToDb(double position) { return (position - 794.0) / 10.0; }
const char* noIniFile() { return ""; }

intptr_t VST_CALL answerHost(AEffect*, int32_t opcode, int32_t index, intptr_t value, void* ptr, float) {
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_QUERY && value == HOST_QUERY_CHANNEL_COUNT)
        return CHANNELS;
    if (opcode == HOST_LOOKUP_OPCODE && index == HOST_LOOKUP_FUNCTION && ptr) {
        std::string name = static_cast<const char*>(ptr);
        if (name == "DB2SLIDER") return reinterpret_cast<intptr_t>(&dbToSlider);
        if (name == "SLIDER2DB") return reinterpret_cast<intptr_t>(&sliderToDb);
        if (name == "get_ini_file") return reinterpret_cast<intptr_t>(&noIniFile);
        return 0;
    }
    if (opcode == audioMasterVersion) return 2400;
    return 0;
}

// Noise from a fixed integer sequence, so that every build gets the same input bits.
struct Noise {
    uint64_t state = 0x9E3779B97F4A7C15ull;
    double next() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return double(int64_t(state) >> 11) * (1.0 / 4503599627370496.0);  // -1 .. 1
    }
};

// FNV-1a over bytes.
void hashBytes(uint64_t* h, const void* data, size_t n) {
    const unsigned char* b = static_cast<const unsigned char*>(data);
    for (size_t k = 0; k < n; k++) *h = (*h ^ b[k]) * 0x100000001B3ull;
}

int32_t inputParameter(int input, int number) { return PARAMS_GLOBAL + PARAMS_PER_INPUT * input + number; }

}  // namespace

int main(int argc, char** argv) {
    std::string path = argc > 1 ? argv[1] : "";
    if (path.empty()) {
        std::string self = argv[0];
        size_t slash = self.find_last_of("/\\");
#if defined(_WIN32)
        path = self.substr(0, slash == std::string::npos ? 0 : slash + 1) + "kelvanepan.dll";
#else
        path = self.substr(0, slash == std::string::npos ? 0 : slash + 1) + "kelvanepan.so";
#endif
    }
    PluginLibrary library;
    if (!pluginLibraryOpen(&library, path.c_str())) {
        std::fprintf(stderr, "kvp_render_hash: %s\n", library.error);
        return 2;
    }
    AEffect* e = library.main(answerHost);
    if (!e) {
        std::fprintf(stderr, "kvp_render_hash: %s: no effect\n", path.c_str());
        return 2;
    }
    e->dispatcher(e, effOpen, 0, 0, nullptr, 0.0f);
    e->dispatcher(e, effSetSampleRate, 0, 0, nullptr, 48000.0f);
    e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0.0f);
    for (int i = 0; i < CHANNELS; i++) {
        e->setParameter(e, inputParameter(i, PI_X), float(i % 5) / 4.0f);
        e->setParameter(e, inputParameter(i, PI_Y), float(i % 3) / 2.0f);
        e->setParameter(e, inputParameter(i, PI_Z), float(i % 2) * 0.7f);
        e->setParameter(e, inputParameter(i, PI_DIVERGENCE), float(i % 4) * 0.2f);
        if (i % 3 == 0) e->setParameter(e, inputParameter(i, PI_DELAY), 0.1f * float(i + 1) / CHANNELS);
    }

    Noise noise;
    uint64_t hash = 0xCBF29CE484222325ull;
    std::vector<std::vector<double>> in, out;
    long long samples = 0;
    for (int b = 0; b < BLOCKS; b++) {
        // Counts come from the effect, which may change them on the first block.
        const int n = BLOCK_LENGTHS[b % (sizeof BLOCK_LENGTHS / sizeof BLOCK_LENGTHS[0])];
        in.assign(size_t(e->numInputs), std::vector<double>(size_t(n)));
        out.assign(size_t(e->numOutputs), std::vector<double>(size_t(n)));
        std::vector<double*> inPtrs, outPtrs;
        for (auto& x : in) {
            for (double& v : x) v = 0.5 * noise.next();
            inPtrs.push_back(x.data());
        }
        for (auto& y : out) outPtrs.push_back(y.data());
        // One source circles every block; every fifth block another one jumps and a delay moves.
        float turn = float(b % 16) / 16.0f;
        e->setParameter(e, inputParameter(0, PI_X), turn);
        e->setParameter(e, inputParameter(0, PI_Y), 1.0f - turn);
        if (b % 5 == 2) {
            int i = 1 + b % (CHANNELS - 1);
            e->setParameter(e, inputParameter(i, PI_X), 1.0f - float(i % 5) / 4.0f);
            e->setParameter(e, inputParameter(i, PI_Z), float(b % 3) / 2.0f);
            e->setParameter(e, inputParameter(b % CHANNELS, PI_DELAY), float(b % 7) / 14.0f);
        }
        e->processDoubleReplacing(e, inPtrs.data(), outPtrs.data(), n);
        for (auto& y : out) hashBytes(&hash, y.data(), y.size() * sizeof(double));
        samples += n;
    }
    e->dispatcher(e, effMainsChanged, 0, 0, nullptr, 0.0f);
    e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
    pluginLibraryClose(&library);
    std::printf("%016llx %lld samples, %d outputs\n", static_cast<unsigned long long>(hash), samples,
                int(out.size()));
    return 0;
}
