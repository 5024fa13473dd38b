// KelvanePan against the chain users pick today for the same job: the IEM plugin suite's
// MultiEncoder (16 sources to 3rd-order Ambisonics) and AllRADecoder (3rd order to the 16
// speakers of "9.1.6 surround", given through its state chunk). All three plugin binaries run
// through the reference host in one process, taking turns, timed by the thread's CPU time, at
// 64, 512 and 2048 samples, steady and with one source moving every block. Prints nanoseconds
// per sample per input (medians over the repetitions) and the ratios KelvanePan / peer.
// Run with build/linux/bin/kvp_peer_bench [--repetitions N] [--peer-folder PATH].
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "host/session.h"
#include "layouts/layouts.h"
#include "engine/records.h"
#include "engine/parameter_map.h"
#include "thread_time.h"

namespace {

constexpr int SOURCES = 16;
constexpr double RATE = 48000.0;
constexpr int SAMPLES_PER_TURN = 1 << 16;  // each turn of each plugin covers this much audio
constexpr const char* LAYOUT = "9.1.6 surround";
constexpr const char* PEER_FOLDER = "/usr/lib/x86_64-linux-gnu/iem-plugin-suite/vst";

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// The speaker arrangement records of the plugin interface, as much of them as a count needs.
struct SpeakerProperties {
    float azimuth, elevation, radius, reserved;
    char name[64];
    int32_t type;
    char future[28];
};
struct SpeakerArrangement {
    int32_t type;
    int32_t numChannels;
    SpeakerProperties speakers[64];
};
constexpr int32_t SPEAKER_ARRANGEMENT_USER = -2;
constexpr int32_t SPEAKER_USER_1 = -1;  // user speakers count down from here

// Asks for n discrete inputs and outputs; true when the plugin takes them. (A plugin may take
// them and still declare its larger counts; the host then hands it that many buffers.)
bool arrange(AEffect* e, int inputs, int outputs) {
    static SpeakerArrangement in, out;
    for (SpeakerArrangement* a : {&in, &out}) {
        std::memset(a, 0, sizeof *a);
        a->type = SPEAKER_ARRANGEMENT_USER;
        for (int k = 0; k < 64; k++) a->speakers[k].type = SPEAKER_USER_1 - k;
    }
    in.numChannels = inputs;
    out.numChannels = outputs;
    return e->dispatcher(e, effSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&in), &out, 0.0f) == 1;
}

// Float buffers for the peer, double buffers for KelvanePan, sized to an effect's counts.
template <typename T>
struct Buffers {
    std::vector<std::vector<T>> in, out;
    std::vector<T*> inPtrs, outPtrs;
    void shape(int inputs, int outputs, int n) {
        in.assign(size_t(inputs), std::vector<T>(size_t(n)));
        out.assign(size_t(outputs), std::vector<T>(size_t(n)));
        inPtrs.clear();
        outPtrs.clear();
        for (size_t i = 0; i < in.size(); i++) {
            for (int k = 0; k < n; k++) in[i][size_t(k)] = T(0.25 * std::sin(0.003 * double(k) * double(i + 1)));
            inPtrs.push_back(in[i].data());
        }
        for (auto& o : out) outPtrs.push_back(o.data());
    }
};

// The decoder's loudspeakers in its own terms: azimuth counter-clockwise from the front and
// elevation, in degrees, with the output channel each feeds; the LFE gets no direction and stays
// silent, and an imaginary speaker below closes the hull under the floor layer.
std::string decoderState(const std::vector<unsigned char>& defaults) {
    std::string xml(defaults.begin() + 8, defaults.end());
    int family = 0, count = 0, id = findLayoutByName(LAYOUT, nullptr);
    lookupLayout(id, &family, &count);
    const LayoutRow* row = layoutRow(id);
    std::string speakers = "<Loudspeakers>";
    char line[200];
    for (int s = 0; s < count; s++) {
        if (s == 3) continue;  // the LFE
        Point3 at = slotPosition(row->slots[s], family);
        double azimuth = std::atan2(-at.x, at.y) * 180.0 / M_PI;
        double elevation = std::atan2(at.z, std::hypot(at.x, at.y)) * 180.0 / M_PI;
        std::snprintf(line, sizeof line,
                      "<Element Azimuth=\"%.3f\" Elevation=\"%.3f\" Radius=\"1.0\" Channel=\"%d\" Imaginary=\"0\" "
                      "Gain=\"1.0\"/>",
                      azimuth, elevation, s + 1);
        speakers += line;
    }
    speakers += "<Element Azimuth=\"0.0\" Elevation=\"-90.0\" Radius=\"1.0\" Channel=\"17\" Imaginary=\"1\" "
                "Gain=\"0.0\"/></Loudspeakers>";
    size_t from = xml.find("<Loudspeakers>"), to = xml.find("</Loudspeakers>");
    if (from == std::string::npos || to == std::string::npos) return "";
    xml.replace(from, to + std::strlen("</Loudspeakers>") - from, speakers);
    // Third order in and out of the decoder (the choices count from Auto and from 1st).
    auto setParam = [&](const char* name, const char* value) {
        std::string key = std::string("<PARAM id=\"") + name + "\" value=\"";
        size_t at = xml.find(key);
        if (at == std::string::npos) return;
        size_t end = xml.find('"', at + key.size());
        xml.replace(at + key.size(), end - at - key.size(), value);
    };
    setParam("inputOrderSetting", "4.0");
    setParam("decoderOrder", "2.0");
    return xml;
}

struct Peer {
    PluginSession encoder{}, decoder{};
    bool open = false;
};

bool openPeer(Peer* peer, const std::string& folder, std::string* error) {
    std::string encoderPath = folder + "/libMultiEncoder.so", decoderPath = folder + "/libAllRADecoder.so";
    if (!std::filesystem::exists(encoderPath) || !std::filesystem::exists(decoderPath)) {
        *error = "the IEM plugin suite is not installed (Debian package iem-plugin-suite-vst; tools/test installs it)";
        return false;
    }
    if (!sessionOpen(&peer->encoder, encoderPath.c_str(), 2, nullptr, RATE, error)) return false;
    if (!sessionOpen(&peer->decoder, decoderPath.c_str(), 2, nullptr, RATE, error)) return false;
    peer->open = true;
    AEffect* enc = peer->encoder.effect;
    enc->setParameter(enc, 0, float(SOURCES) / 64.0f);  // number of inputs
    enc->setParameter(enc, 1, 4.0f / 8.0f);             // 3rd order
    for (int i = 0; i < SOURCES; i++) {
        enc->setParameter(enc, 7 + 5 * i, float(i) / SOURCES);            // azimuth around the circle
        enc->setParameter(enc, 8 + 5 * i, 0.5f + 0.25f * float(i % 3) / 2.0f);  // elevation 0 .. 45
    }
    std::vector<unsigned char> chunk = sessionSaveState(&peer->decoder);
    if (chunk.size() < 8 || std::memcmp(chunk.data(), "VC2!", 4) != 0) {
        *error = "AllRADecoder gave no state chunk of the expected kind";
        return false;
    }
    std::string xml = decoderState(chunk);
    if (xml.empty()) {
        *error = "AllRADecoder's state has no loudspeaker list";
        return false;
    }
    // The same framing back: the tag, the text's length with its NUL (little-endian), the text.
    const uint32_t size = uint32_t(xml.size() + 1);
    std::vector<unsigned char> state(8 + size_t(size), 0);
    std::memcpy(state.data(), "VC2!", 4);
    for (int b = 0; b < 4; b++) state[size_t(4 + b)] = (unsigned char)(size >> (8 * b));
    std::memcpy(state.data() + 8, xml.data(), xml.size());
    sessionLoadState(&peer->decoder, state);
    return true;
}

// One plugin's block call, with the per-block move when wanted.
struct Stage {
    AEffect* effect;
    int moveIndex;  // the parameter a moving block changes
    bool isDouble;
};

// Returns whether the plugin took the arrangement asked for (inputs 0: none asked).
bool prepare(AEffect* e, int n, int inputs, int outputs) {
    e->dispatcher(e, effMainsChanged, 0, 0, nullptr, 0.0f);
    e->dispatcher(e, effSetBlockSize, 0, n, nullptr, 0.0f);
    bool arranged = inputs > 0 && arrange(e, inputs, outputs);
    e->dispatcher(e, effMainsChanged, 0, 1, nullptr, 0.0f);
    e->dispatcher(e, effStartProcess, 0, 0, nullptr, 0.0f);
    return arranged;
}

// A turn of `blocks` blocks; returns the thread's CPU seconds.
template <typename T>
double turn(AEffect* e, Buffers<T>& b, int n, int blocks, bool moving, int moveIndex, long long* clock) {
    double t0 = threadSeconds();
    for (int k = 0; k < blocks; k++) {
        if (moving) e->setParameter(e, moveIndex, float(((*clock)++ % 97) / 96.0));
        if constexpr (sizeof(T) == 8) e->processDoubleReplacing(e, b.inPtrs.data(), b.outPtrs.data(), n);
        else e->processReplacing(e, b.inPtrs.data(), b.outPtrs.data(), n);
    }
    return threadSeconds() - t0;
}

float rms(const std::vector<std::vector<float>>& channels, int count) {
    double sum = 0.0;
    size_t samples = 0;
    for (int c = 0; c < count && c < int(channels.size()); c++)
        for (float v : channels[size_t(c)]) {
            sum += double(v) * v;
            samples++;
        }
    return samples ? float(std::sqrt(sum / double(samples))) : 0.0f;
}

}  // namespace

int main(int argc, char** argv) {
    int repetitions = 21;
    std::string folder = PEER_FOLDER;
    for (int i = 1; i + 1 < argc; i += 2) {
        std::string arg = argv[i];
        if (arg == "--repetitions") repetitions = std::max(1, std::atoi(argv[i + 1]));
        else if (arg == "--peer-folder") folder = argv[i + 1];
    }

    std::string error;
    PluginSession ours{};
    if (!sessionOpen(&ours, KVP_PLUGIN_FILE, SOURCES, nullptr, RATE, &error) ||
        !sessionApplyLayout(&ours, findLayoutByName(LAYOUT, nullptr), &error)) {
        std::fprintf(stderr, "kvp_peer_bench: %s\n", error.c_str());
        return 2;
    }
    Peer peer;
    bool havePeer = openPeer(&peer, folder, &error);
    if (!havePeer) std::printf("peer skipped: %s\n", error.c_str());

    std::printf("%d sources into \"%s\" at %.0f Hz; thread CPU time, medians of %d alternating turns of %d samples\n",
                SOURCES, LAYOUT, RATE, repetitions, SAMPLES_PER_TURN);
    std::printf("ns per sample per input:\n");
    std::printf("%6s %-7s %11s %9s %9s %9s %10s %12s\n", "block", "motion", "KelvanePan", "encoder", "decoder", "chain",
                "KP/chain", "KP/encoder");
    for (int n : {64, 512, 2048}) {
        for (bool moving : {false, true}) {
            const int blocks = SAMPLES_PER_TURN / n;
            AEffect* kp = ours.effect;
            prepare(kp, n, 0, 0);
            Buffers<double> kpBuffers;
            kpBuffers.shape(kp->numInputs, kp->numOutputs, n);
            Buffers<float> encBuffers, decBuffers;
            AEffect *enc = nullptr, *dec = nullptr;
            bool arranged = false;
            if (havePeer) {
                enc = peer.encoder.effect;
                dec = peer.decoder.effect;
                arranged = prepare(enc, n, SOURCES, 16);
                arranged = prepare(dec, n, 16, 16) && arranged;
                encBuffers.shape(enc->numInputs, enc->numOutputs, n);
                decBuffers.shape(dec->numInputs, dec->numOutputs, n);
                // The decoder reads what the encoder writes.
                for (int c = 0; c < dec->numInputs && c < enc->numOutputs; c++)
                    decBuffers.inPtrs[size_t(c)] = encBuffers.outPtrs[size_t(c)];
            }
            long long clock = 0;
            std::vector<double> kpTimes, encTimes, decTimes;
            const int kpMove = int(PARAMS_GLOBAL) + int(PI_X), encMove = 7;  // the first source's X, its azimuth
            for (int r = 0; r < repetitions + 1; r++) {
                double tk = 0, te = 0, td = 0;
                // Alternate who goes first; the first repetition warms up and is dropped.
                if (r % 2 == 0) tk = turn(kp, kpBuffers, n, blocks, moving, kpMove, &clock);
                if (havePeer) {
                    te = turn(enc, encBuffers, n, blocks, moving, encMove, &clock);
                    td = turn(dec, decBuffers, n, blocks, false, 0, &clock);
                }
                if (r % 2 == 1) tk = turn(kp, kpBuffers, n, blocks, moving, kpMove, &clock);
                if (r == 0) continue;
                kpTimes.push_back(tk);
                encTimes.push_back(te);
                decTimes.push_back(td);
            }
            const double scale = 1e9 / (double(blocks) * n * SOURCES);
            double k = median(kpTimes) * scale, e = median(encTimes) * scale, d = median(decTimes) * scale;
            std::vector<double> chainTimes;
            for (size_t r = 0; r < encTimes.size(); r++) chainTimes.push_back(encTimes[r] + decTimes[r]);
            double c = median(chainTimes) * scale;
            if (havePeer)
                std::printf("%6d %-7s %11.3f %9.3f %9.3f %9.3f %10.3f %12.3f\n", n, moving ? "moving" : "steady", k, e,
                            d, c, k / c, k / e);
            else
                std::printf("%6d %-7s %11.3f %9s %9s %9s %10s %12s\n", n, moving ? "moving" : "steady", k, "-", "-", "-",
                            "-", "-");
            if (havePeer && n == 512 && !moving)
                std::printf("       (peer: 16 in / 16 out %s, declared %d/%d and %d/%d; decoder output level %.4f)\n",
                            arranged ? "taken" : "refused", enc->numInputs, enc->numOutputs, dec->numInputs,
                            dec->numOutputs, rms(decBuffers.out, 16));
        }
    }
    sessionClose(&ours);
    if (peer.open) {
        sessionClose(&peer.encoder);
        sessionClose(&peer.decoder);
    }
    return 0;
}
