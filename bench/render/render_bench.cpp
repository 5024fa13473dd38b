// The render path end to end: a 10-minute, 16-channel, 24-bit file panned by the plugin binary
// into "9.1.6 surround" through kelvane-host's render command, timed against the audio's own
// length. Run with build/linux/bin/kvp_render_bench [--seconds N] [--folder PATH].
#include <sndfile.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "host/render.h"

namespace {

constexpr int RATE = 48000;
constexpr int CHANNELS = 16;

// Sixteen tones of their own pitch, written a second at a time.
bool writeSource(const std::string& path, int seconds) {
    SF_INFO info = {};
    info.samplerate = RATE;
    info.channels = CHANNELS;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    SNDFILE* f = sf_open(path.c_str(), SFM_WRITE, &info);
    if (!f) return false;
    std::vector<double> second(size_t(RATE) * CHANNELS);
    for (int s = 0; s < seconds; s++) {
        for (int n = 0; n < RATE; n++)
            for (int c = 0; c < CHANNELS; c++)
                second[size_t(n) * CHANNELS + size_t(c)] =
                    0.2 * std::sin(2.0 * M_PI * (110.0 + 55.0 * c) * (double(s) + double(n) / RATE));
        sf_writef_double(f, second.data(), RATE);
    }
    return sf_close(f) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    int seconds = 600;
    std::string folder = std::filesystem::temp_directory_path().string();
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string arg = argv[i];
        if (arg == "--seconds") seconds = std::atoi(argv[i + 1]);
        else if (arg == "--folder") folder = argv[i + 1];
    }
    if (seconds < 1) {
        std::fprintf(stderr, "kvp_render_bench: --seconds needs a whole number above 0\n");
        return 2;
    }
    std::string source = folder + "/kvp-render-bench-in.wav", target = folder + "/kvp-render-bench-out.wav";
    std::printf("writing %d s of %d channels at %d Hz to %s ...\n", seconds, CHANNELS, RATE, source.c_str());
    std::fflush(stdout);
    if (!writeSource(source, seconds)) {
        std::fprintf(stderr, "kvp_render_bench: cannot write %s\n", source.c_str());
        return 2;
    }

    std::string layout = "9.1.6 surround";
    const char* args[] = {source.c_str(), target.c_str(), "--layout", layout.c_str()};
    auto start = std::chrono::steady_clock::now();
    int code = commandRender(4, const_cast<char**>(args), KVP_PLUGIN_FILE);
    double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::filesystem::remove(source);
    std::filesystem::remove(target);
    if (code != 0) return code;
    std::printf("render of %d s, %d channels into \"%s\": %.2f s wall, %.1fx real time (target: 50x)\n", seconds,
                CHANNELS, layout.c_str(), wall, seconds / wall);
    return 0;
}
