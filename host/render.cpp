#include "host/render.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "host/args.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "layouts/layouts.h"
#include "shell/state_chunk.h"

#if defined(KVP_HAVE_SNDFILE)
#include <sndfile.h>
#include <unistd.h>
#endif

namespace {

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host render: %s\n", message.c_str());
    return 2;
}

struct AutomationEvent {
    double seconds;
    int parameter;
    float value;  // normalised, checked when the file was read
};

struct RenderOptions {
    std::string input, output, plugin, layout, preset, state, saveState, automation;
    std::vector<std::string> sets;
    int block = 512;
    int format = 0;    // 0 float, 16 or 24 bit PCM
    int outputs = -1;  // how many of the plugin's outputs are written; -1 all
    double tail = 0.0;
    bool layoutGiven = false;
};

bool parseNumber(const std::string& text, double* out) {
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !std::isfinite(v)) return false;
    *out = v;
    return true;
}

const std::vector<OptionSpec> RENDER_OPTIONS = {
    {"--plugin", true}, {"--block", true},      {"--format", true}, {"--layout", true},
    {"--preset", true}, {"--state", true},      {"--save-state", true}, {"--set", true},
    {"--automation", true}, {"--tail", true},   {"--outputs", true},
};

// Parses the arguments; returns an empty string when they are good, else the message.
[[maybe_unused]] std::string parseOptions(int argc, char** argv, RenderOptions* o) {
    ParsedArgs args;
    std::string problem;
    if (!parseArgs(argc, argv, RENDER_OPTIONS, &args, &problem)) return problem;
    for (const ParsedOption& option : args.options) {
        const std::string& arg = option.name;
        const std::string& v = option.value;
        double number = 0.0;
        if (arg == "--plugin") o->plugin = v;
        else if (arg == "--preset") o->preset = v;
        else if (arg == "--state") o->state = v;
        else if (arg == "--save-state") o->saveState = v;
        else if (arg == "--automation") o->automation = v;
        else if (arg == "--layout") {
            if (v.empty()) return "--layout: empty layout name (kelvane-host layouts lists them)";
            o->layout = v;
        } else if (arg == "--set") {
            if (v.find('=') == std::string::npos) return "--set '" + v + "': expected NAME=TEXT";
            o->sets.push_back(v);
        } else if (arg == "--block") {
            if (!parseNumber(v, &number) || number < 1 || number > SESSION_MAX_BLOCK || number != std::floor(number))
                return "--block '" + v + "': expected a whole number from 1 to 65536";
            o->block = int(number);
        } else if (arg == "--format") {
            if (v == "float") o->format = 0;
            else if (v == "16") o->format = 16;
            else if (v == "24") o->format = 24;
            else return "--format '" + v + "': expected float, 16 or 24";
        } else if (arg == "--tail") {
            if (!parseNumber(v, &number) || number < 0 || number > 3600)
                return "--tail '" + v + "': expected seconds from 0 to 3600";
            o->tail = number;
        } else if (arg == "--outputs") {
            if (!parseNumber(v, &number) || number < 1 || number > 128 || number != std::floor(number))
                return "--outputs '" + v + "': expected a whole number from 1 to 128";
            o->outputs = int(number);
        }
    }
    for (const char* name : {"--plugin", "--preset", "--state", "--save-state", "--automation"})
        if (optionGiven(args, name) && optionValue(args, name).empty()) return "option " + std::string(name) + " needs a file name";
    if (args.positional.size() != 2) return "expected INPUT and OUTPUT (see kelvane-host render --help)";
    o->input = args.positional[0];
    o->output = args.positional[1];
    if (!o->layout.empty() && !o->preset.empty()) return "--layout and --preset exclude each other";
    return "";
}

// "time name text": the name is the longest parameter name that the rest of the line starts with;
// the text is checked as --set checks it.
[[maybe_unused]] std::string parseAutomation(const std::string& path, PluginSession* s,
                                             const std::vector<std::string>& names,
                                             std::vector<AutomationEvent>* events) {
    std::ifstream in(path);
    if (!in) return path + ": cannot open the automation file";
    std::string line;
    for (int number = 1; std::getline(in, line); number++) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        size_t start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line[start] == '#') continue;
        std::string where = path + ":" + std::to_string(number) + ": ";
        size_t timeEnd = line.find_first_of(" \t", start);
        double seconds = 0.0;
        std::string time = line.substr(start, timeEnd == std::string::npos ? std::string::npos : timeEnd - start);
        if (!parseNumber(time, &seconds) || seconds < 0) return where + "'" + time + "' is no time in seconds";
        size_t restAt = timeEnd == std::string::npos ? std::string::npos : line.find_first_not_of(" \t", timeEnd);
        std::string rest = restAt == std::string::npos ? "" : line.substr(restAt);
        while (!rest.empty() && (rest.back() == ' ' || rest.back() == '\t')) rest.pop_back();
        int best = -1;
        size_t bestLength = 0;
        for (size_t i = 0; i < names.size(); i++) {
            const std::string& n = names[i];
            if (n.size() > bestLength && rest.size() >= n.size() && rest.compare(0, n.size(), n) == 0 &&
                (rest.size() == n.size() || rest[n.size()] == ' ' || rest[n.size()] == '\t')) {
                best = int(i);
                bestLength = n.size();
            }
        }
        if (best < 0) return where + "no parameter name at the start of '" + rest + "'";
        std::string text = rest.substr(bestLength);
        text.erase(0, text.find_first_not_of(" \t"));
        if (text.empty()) return where + "missing value after '" + names[size_t(best)] + "'";
        float value = 0.0f;
        std::string why;
        if (!sessionValueFromText(s, best, text, &value, &why)) return where + names[size_t(best)] + ": " + why;
        events->push_back(AutomationEvent{seconds, best, value});
    }
    std::stable_sort(events->begin(), events->end(),
                     [](const AutomationEvent& a, const AutomationEvent& b) { return a.seconds < b.seconds; });
    return "";
}

}  // namespace

#if !defined(KVP_HAVE_SNDFILE)
int commandRender(int, char**, const char*) { return fail("this build has no audio file support"); }
#else

namespace {

double toDb(double peak) { return peak > 0.0 ? 20.0 * std::log10(peak) : -INFINITY; }

// ---- WAV channel masks ----

// The channel-mask bits in their order, with libsndfile's names for them.
struct MaskBit {
    uint32_t bit;
    int sfName;
    int sfAlias;  // a second name libsndfile may report for the same place
};
const MaskBit MASK_BITS[] = {
    {0x1, SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_FRONT_LEFT},
    {0x2, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_FRONT_RIGHT},
    {0x4, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_FRONT_CENTER},
    {0x8, SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_LFE},
    {0x10, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_LEFT},
    {0x20, SF_CHANNEL_MAP_REAR_RIGHT, SF_CHANNEL_MAP_REAR_RIGHT},
    {0x40, SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER},
    {0x80, SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER},
    {0x100, SF_CHANNEL_MAP_REAR_CENTER, SF_CHANNEL_MAP_REAR_CENTER},
    {0x200, SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_LEFT},
    {0x400, SF_CHANNEL_MAP_SIDE_RIGHT, SF_CHANNEL_MAP_SIDE_RIGHT},
    {0x800, SF_CHANNEL_MAP_TOP_CENTER, SF_CHANNEL_MAP_TOP_CENTER},
    {0x1000, SF_CHANNEL_MAP_TOP_FRONT_LEFT, SF_CHANNEL_MAP_TOP_FRONT_LEFT},
    {0x2000, SF_CHANNEL_MAP_TOP_FRONT_CENTER, SF_CHANNEL_MAP_TOP_FRONT_CENTER},
    {0x4000, SF_CHANNEL_MAP_TOP_FRONT_RIGHT, SF_CHANNEL_MAP_TOP_FRONT_RIGHT},
    {0x8000, SF_CHANNEL_MAP_TOP_REAR_LEFT, SF_CHANNEL_MAP_TOP_REAR_LEFT},
    {0x10000, SF_CHANNEL_MAP_TOP_REAR_CENTER, SF_CHANNEL_MAP_TOP_REAR_CENTER},
    {0x20000, SF_CHANNEL_MAP_TOP_REAR_RIGHT, SF_CHANNEL_MAP_TOP_REAR_RIGHT},
};

constexpr uint32_t FL = 0x1, FR = 0x2, FC = 0x4, LFE = 0x8, BL = 0x10, BR = 0x20, FLC = 0x40, FRC = 0x80,
                   BC = 0x100, SL = 0x200, SR = 0x400, TC = 0x800, TFL = 0x1000, TFC = 0x2000, TFR = 0x4000,
                   TBL = 0x8000, TBR = 0x20000;

// The mask bit of each layout slot, per family (rectangular, quadraphonic order, circular, the
// Auro family); 0 where no bit names the place. The wide speakers of the 9.1 layouts go by the
// bits of the front centre pairs, as the files that carry them do.
const uint32_t SLOT_BITS[4][22] = {
    {FL, FR, FC, LFE, SL, SR, BL, BR, TFL, TFR, TBL, TBR, 0, 0, BC, TFC, FLC, FRC, 0, 0, FLC, FRC},
    {FL, FR, BL, BR, SL, SR, FC, BC, TFL, TFR, TBL, TBR},
    {FL, FR, FC, LFE, SL, SR, BL, BR, TFL, TFR, TBL, TBR},
    {FL, FR, FC, LFE, SL, SR, BL, BR, TFL, TFR, TBL, TBR, TFC, TC},
};

uint32_t slotBit(int family, int slot) {
    if (family < 0 || family > 3 || slot < 0 || slot >= 22) return 0;
    return SLOT_BITS[family][slot];
}

// The bits of a layout's speakers in their order, or empty when a speaker has none.
std::vector<uint32_t> layoutBits(int family, const std::vector<int>& slots) {
    std::vector<uint32_t> bits;
    for (int slot : slots) {
        uint32_t b = slotBit(family, slot);
        if (!b) return {};
        bits.push_back(b);
    }
    return bits;
}

// The file's channel mask as one bit per channel (0 for a channel it does not place); empty
// when the file has no mask.
std::vector<uint32_t> fileChannelBits(SNDFILE* f, int channels) {
    std::vector<int> map(size_t(channels), 0);
    if (!sf_command(f, SFC_GET_CHANNEL_MAP_INFO, map.data(), int(sizeof(int) * map.size()))) return {};
    std::vector<uint32_t> bits(size_t(channels), 0);
    bool any = false;
    for (int c = 0; c < channels; c++)
        for (const MaskBit& m : MASK_BITS)
            if (map[size_t(c)] == m.sfName || map[size_t(c)] == m.sfAlias) {
                bits[size_t(c)] = m.bit;
                any = true;
            }
    if (!any) return {};
    return bits;
}

// The built-in layout whose speakers are exactly the places of a file's mask, preferring one
// in the file's own order; -1 when none is.
int layoutForMask(const std::vector<uint32_t>& fileBits) {
    std::vector<uint32_t> wanted = fileBits;
    std::sort(wanted.begin(), wanted.end());
    int sameSet = -1;
    for (int i = 0; i < LAYOUT_COUNT; i++) {
        const LayoutRow& row = LAYOUT_TABLE[i];
        if (row.id == 0 || row.count != int(fileBits.size())) continue;
        std::vector<uint32_t> bits = layoutBits(row.family, std::vector<int>(row.slots, row.slots + row.count));
        if (bits == fileBits) return row.id;
        std::sort(bits.begin(), bits.end());
        if (bits == wanted && sameSet < 0) sameSet = row.id;
    }
    return sameSet;
}

// ---- the input file ----

// The frames a WAV file's header claims for its data, or -1 when the header cannot say.
long long declaredWavFrames(const std::string& path) {
    std::ifstream f(path, std::ios::binary);
    unsigned char head[12];
    if (!f.read(reinterpret_cast<char*>(head), 12) || std::memcmp(head, "RIFF", 4) || std::memcmp(head + 8, "WAVE", 4))
        return -1;
    auto u32 = [](const unsigned char* p) { return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24; };
    unsigned blockAlign = 0;
    for (int chunks = 0; chunks < 64; chunks++) {
        unsigned char id[8];
        if (!f.read(reinterpret_cast<char*>(id), 8)) return -1;
        uint32_t size = u32(id + 4);
        if (!std::memcmp(id, "data", 4)) return blockAlign && size != 0xFFFFFFFFu ? (long long)(size / blockAlign) : -1;
        if (!std::memcmp(id, "fmt ", 4) && size >= 16) {
            unsigned char fmt[16];
            if (!f.read(reinterpret_cast<char*>(fmt), 16)) return -1;
            blockAlign = unsigned(fmt[12]) | unsigned(fmt[13]) << 8;
            f.seekg(std::streamoff(size - 16 + (size & 1)), std::ios::cur);
        } else {
            f.seekg(std::streamoff(size + (size & 1)), std::ios::cur);
        }
    }
    return -1;
}

void warn(const std::string& message) { std::fprintf(stderr, "kelvane-host render: warning: %s\n", message.c_str()); }

// ---- the run ----

struct RenderRun {
    RenderOptions options;
    PluginSession session{};
    SNDFILE* in = nullptr;
    SNDFILE* out = nullptr;
    SafeOutput file, stateFile;

    ~RenderRun() {
        if (in) sf_close(in);
        if (out) sf_close(out);
        safeOutputClose(&file);
        safeOutputClose(&stateFile);
        sessionClose(&session);
    }
};

// A progress bar on standard error, drawn again only when its text changes.
struct Progress {
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    std::string shown;

    void update(long long done, long long total) {
        int percent = total > 0 ? int(100 * done / total) : 100;
        int filled = percent * 40 / 100;
        std::string text = "\r[" + std::string(size_t(filled), '#') + std::string(size_t(40 - filled), ' ') + "] ";
        char numbers[64];
        double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (done > 0 && done < total) {
            long left = long(std::ceil(elapsed * double(total - done) / double(done)));
            std::snprintf(numbers, sizeof numbers, "%3d%%  %ld:%02ld left", percent, left / 60, left % 60);
        } else {
            std::snprintf(numbers, sizeof numbers, "%3d%%            ", percent);
        }
        text += numbers;
        if (text == shown) return;
        shown = text;
        std::fputs(text.c_str(), stderr);
    }
};

// The plugin's audio call over buffers of the width it takes: doubles when it says it can,
// else floats through a copy.
struct PluginBuffers {
    bool useDouble;
    std::vector<std::vector<double>> in, out;
    std::vector<std::vector<float>> inF, outF;
    std::vector<double*> inPtrs, outPtrs;
    std::vector<float*> inPtrsF, outPtrsF;

    void make(int inputs, int outputs, int block) {
        in.assign(size_t(inputs), std::vector<double>(size_t(block), 0.0));
        out.assign(size_t(outputs), std::vector<double>(size_t(block), 0.0));
        inF.assign(size_t(inputs), std::vector<float>(size_t(block), 0.0f));
        outF.assign(size_t(outputs), std::vector<float>(size_t(block), 0.0f));
        for (auto& b : in) inPtrs.push_back(b.data());
        for (auto& b : out) outPtrs.push_back(b.data());
        for (auto& b : inF) inPtrsF.push_back(b.data());
        for (auto& b : outF) outPtrsF.push_back(b.data());
    }
    void process(AEffect* e, int n) {
        if (useDouble) {
            e->processDoubleReplacing(e, inPtrs.empty() ? nullptr : inPtrs.data(), outPtrs.empty() ? nullptr : outPtrs.data(), n);
            return;
        }
        for (size_t c = 0; c < in.size(); c++)
            for (int f = 0; f < n; f++) inF[c][size_t(f)] = float(in[c][size_t(f)]);
        e->processReplacing(e, inPtrsF.empty() ? nullptr : inPtrsF.data(), outPtrsF.empty() ? nullptr : outPtrsF.data(), n);
        for (size_t c = 0; c < out.size(); c++)
            for (int f = 0; f < n; f++) out[c][size_t(f)] = outF[c][size_t(f)];
    }
};

std::string plural(long long n, const char* word) { return std::to_string(n) + " " + word + (n == 1 ? "" : "s"); }

}  // namespace

int commandRender(int argc, char** argv, const char* defaultPlugin) {
    RenderRun run;
    RenderOptions& o = run.options;
    std::string problem = parseOptions(argc, argv, &o);
    if (!problem.empty()) return fail(problem);
    if (o.plugin.empty()) o.plugin = defaultPlugin;

    // No output may be one of the inputs, nor the two outputs one file.
    std::string error;
    const std::vector<NamedInput> inputs = {{"the input", o.input},         {"--state", o.state},
                                            {"--automation", o.automation}, {"--preset", o.preset},
                                            {"--plugin", o.plugin},         {"--save-state", o.saveState}};
    if (!outputDiffersFromInputs(o.output, inputs, &error)) return fail(error);
    if (!o.saveState.empty() &&
        !outputDiffersFromInputs(o.saveState, std::vector<NamedInput>(inputs.begin(), inputs.end() - 1), &error))
        return fail(error);

    // The input file: its channels, its mask, and whether its data is all there.
    SF_INFO info = {};
    run.in = sf_open(o.input.c_str(), SFM_READ, &info);
    if (!run.in) return fail(o.input + ": cannot read audio: " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 128) return fail(o.input + ": " + std::to_string(info.channels) + " channels; 1 to 128 can be panned");
    const int channels = info.channels;
    long long declared = declaredWavFrames(o.input);
    if (declared > info.frames)
        warn(o.input + ": the data holds " + std::to_string(info.frames) + " frames; the header says " + std::to_string(declared));
    std::vector<uint32_t> fileBits = fileChannelBits(run.in, channels);
    int layoutId = -1;
    if (!o.layout.empty() && (layoutId = layoutFromOption(o.layout, &error)) < 0) return fail(error);

    // The plugin, as it declares itself.
    if (!sessionOpen(&run.session, o.plugin.c_str(), channels, nullptr, double(info.samplerate), &error)) return fail(error);
    PluginSession* s = &run.session;
    AEffect* e = s->effect;
    const bool protocol = sessionSpeaksProtocol(s);
    if (!(e->flags & (effFlagsCanReplacing | effFlagsCanDoubleReplacing)) && e->numOutputs > 0)
        return fail(o.plugin + ": the plugin offers neither processReplacing nor processDoubleReplacing");
    if (!protocol && (layoutId >= 0 || !o.preset.empty()))
        return fail(std::string(layoutId >= 0 ? "--layout" : "--preset") + ": the plugin has no speakers to set");

    // The state, the speakers and the inputs.
    std::vector<std::string> notes;
    if (!o.state.empty()) {
        std::vector<unsigned char> chunk;
        // A foreign plugin's chunk goes in as it is; this project's is checked first.
        if (protocol ? !readChunkFile(o.state, &chunk, &error) : !readWholeFile(o.state, &chunk, &error)) return fail(error);
        sessionLoadState(s, chunk);
        e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    }
    if (!o.preset.empty() && !sessionApplyPreset(s, o.preset, &error)) return fail(error);
    if (layoutId < 0 && o.preset.empty() && o.state.empty() && protocol && !fileBits.empty()) layoutId = layoutForMask(fileBits);
    if (layoutId >= 0 && !sessionApplyLayout(s, layoutId, &error)) return fail(error);
    bool placedByMask = false;
    if (protocol && o.state.empty()) {
        if (sessionInputCount(s) != channels) sessionWriteNamed(s, "NUMCHANNELS", std::to_string(channels));
        // A new instance leaves its inputs at the room's centre until the host places them: each
        // channel of a file with a mask goes onto the speaker of its place, others in order, as a
        // DAW's reset does.
        sessionWriteNamed(s, "RESETCHANNELS", "");
        int id = 0, family = 0;
        std::vector<SpeakerInfo> speakers;
        if (!fileBits.empty() && sessionSpeakers(s, &id, &family, &speakers)) {
            std::vector<int> speakerOf(size_t(channels), -1);
            int found = 0;
            for (int c = 0; c < channels; c++)
                for (size_t k = 0; k < speakers.size() && fileBits[size_t(c)]; k++)
                    if (slotBit(family, speakers[k].slot) == fileBits[size_t(c)]) {
                        speakerOf[size_t(c)] = int(k);
                        found++;
                    }
            if (found == channels) {
                if (!sessionPlaceInputs(s, speakerOf, &error)) return fail(o.input + ": " + error);
                placedByMask = true;
            } else {
                notes.push_back("the file's channel mask names places these speakers lack");
            }
        }
    }
    int fileInputs = protocol ? sessionInputCount(s) : e->numInputs;
    if (fileInputs < channels)
        return fail(protocol ? o.state + " has " + plural(fileInputs, "input") + "; " + o.input + " has " +
                                   plural(channels, "channel") + " (give a state with as many inputs)"
                             : o.plugin + " takes " + plural(e->numInputs, "input") + "; " + o.input + " has " +
                                   plural(channels, "channel"));
    if (fileInputs > channels)
        notes.push_back("inputs " + std::to_string(channels + 1) + " to " + std::to_string(fileInputs) + " get silence (" +
                        o.input + " has " + plural(channels, "channel") + ")");

    // Parameter values, each checked before the plugin sees it.
    std::vector<std::string> names;
    for (int i = 0; i < e->numParams; i++) names.push_back(sessionParameterName(s, i));
    for (const std::string& set : o.sets) {
        size_t eq = set.find('=');
        std::string name = set.substr(0, eq), text = set.substr(eq + 1);
        int index = -1;
        for (size_t i = 0; i < names.size() && index < 0; i++)
            if (names[i] == name) index = int(i);
        if (index < 0) return fail("--set '" + set + "': no parameter named '" + name + "'");
        float value = 0.0f;
        if (!sessionValueFromText(s, index, text, &value, &error)) return fail("--set '" + set + "': " + error);
        e->setParameter(e, index, value);
    }
    std::vector<AutomationEvent> events;
    if (!o.automation.empty()) {
        problem = parseAutomation(o.automation, s, names, &events);
        if (!problem.empty()) return fail(problem);
    }
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);

    // The outputs: the plugin's own count, or the first --outputs of them. This project's
    // plugin names its counts, which may run ahead of the AEffect's until the host has followed a
    // change; the buffers cover both.
    const int pluginOutputs = protocol ? std::max(e->numOutputs, sessionSpeakerCount(s)) : e->numOutputs;
    const int pluginInputs = protocol ? std::max(e->numInputs, sessionInputCount(s)) : e->numInputs;
    if (pluginOutputs < 1) return fail(o.plugin + ": the plugin has no outputs");
    if (o.outputs > pluginOutputs)
        return fail("--outputs " + std::to_string(o.outputs) + ": the plugin has " + plural(pluginOutputs, "output"));
    const int written = o.outputs > 0 ? o.outputs : pluginOutputs;
    SF_INFO outInfo = {};
    outInfo.samplerate = info.samplerate;
    outInfo.channels = written;
    std::vector<int> outMap;
    if (protocol && written == pluginOutputs) {
        int id = 0, family = 0;
        std::vector<SpeakerInfo> speakers;
        std::vector<int> slots;
        if (sessionSpeakers(s, &id, &family, &speakers) && id > 0 && int(speakers.size()) == written)
            for (const SpeakerInfo& spk : speakers) slots.push_back(spk.slot);
        // Players place the channels by the mask only when they stand in the mask's order.
        std::vector<uint32_t> bits = layoutBits(family, slots);
        for (size_t k = 0; k < bits.size() && (k == 0 || bits[k] > bits[k - 1]); k++)
            for (const MaskBit& m : MASK_BITS)
                if (m.bit == bits[k]) outMap.push_back(m.sfName);
        if (outMap.size() != size_t(written)) outMap.clear();
    }
    outInfo.format = (outMap.empty() ? SF_FORMAT_WAV : SF_FORMAT_WAVEX) |
                     (o.format == 16 ? SF_FORMAT_PCM_16 : o.format == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT);
    if (!safeOutputOpen(&run.file, o.output, true, &error)) return fail(error);
    if (!o.saveState.empty() && !safeOutputOpen(&run.stateFile, o.saveState, false, &error)) return fail(error);
    run.out = sf_open_fd(run.file.fd, SFM_WRITE, &outInfo, SF_FALSE);
    if (!run.out) return fail(o.output + ": cannot write: " + sf_strerror(nullptr));
    // The command's return value says nothing for WAVEX files; the error state does.
    if (!outMap.empty()) sf_command(run.out, SFC_SET_CHANNEL_MAP_INFO, outMap.data(), int(sizeof(int) * outMap.size()));
    if (!outMap.empty() && sf_error(run.out) != SF_ERR_NO_ERROR) return fail(o.output + ": cannot set the channel mask");

    // One block of silence first, not written: delay lines and gain ramps start before the
    // file does, so that its first sample meets them settled.
    const int block = o.block;
    PluginBuffers buffers;
    buffers.useDouble = (e->flags & effFlagsCanDoubleReplacing) != 0;
    buffers.make(pluginInputs, pluginOutputs, block);
    size_t nextEvent = 0;
    while (nextEvent < events.size() && events[nextEvent].seconds == 0.0) {
        e->setParameter(e, events[nextEvent].parameter, events[nextEvent].value);
        nextEvent++;
    }
    buffers.process(e, block);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);

    // The blocks: integer formats clip at full scale, and every clipped sample is counted.
    std::vector<double> interleavedIn(size_t(block) * size_t(channels));
    std::vector<double> interleavedOut(size_t(block) * size_t(written));
    std::vector<double> peaks(size_t(written), 0.0);
    std::vector<long long> clipped(size_t(written), 0);
    const bool clips = o.format != 0;
    const long long fileFrames = info.frames;
    const long long total = fileFrames + (long long)std::llround(o.tail * info.samplerate);
    long long readFrames = 0;
    bool shortData = false;
    Progress progress;
    const bool showProgress = isatty(2) && o.output != "-";
    long long done = 0;
    while (done < total) {
        int n = int(std::min<long long>(block, total - done));
        sf_count_t got = 0;
        if (done < fileFrames && !shortData) {
            got = sf_readf_double(run.in, interleavedIn.data(), std::min<long long>(n, fileFrames - done));
            readFrames += got;
            shortData = got < std::min<long long>(n, fileFrames - done);
        }
        std::fill(interleavedIn.begin() + long(got) * channels, interleavedIn.begin() + long(n) * channels, 0.0);
        for (int c = 0; c < pluginInputs; c++)
            for (int f = 0; f < n; f++)
                buffers.in[size_t(c)][size_t(f)] = c < channels ? interleavedIn[size_t(f * channels + c)] : 0.0;
        while (nextEvent < events.size() && events[nextEvent].seconds * info.samplerate < double(done + n)) {
            e->setParameter(e, events[nextEvent].parameter, events[nextEvent].value);
            nextEvent++;
        }
        buffers.process(e, n);
        for (int c = 0; c < written; c++)
            for (int f = 0; f < n; f++) {
                double v = buffers.out[size_t(c)][size_t(f)];
                if (std::fabs(v) > peaks[size_t(c)]) peaks[size_t(c)] = std::fabs(v);
                if (clips && !(v >= -1.0 && v <= 1.0)) {
                    clipped[size_t(c)]++;
                    v = std::isnan(v) ? 0.0 : v > 0.0 ? 1.0 : -1.0;
                }
                interleavedOut[size_t(f * written + c)] = v;
            }
        if (sf_writef_double(run.out, interleavedOut.data(), n) != n) return fail(o.output + ": write failed");
        e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
        done += n;
        if (showProgress) progress.update(done, total);
    }
    if (showProgress) std::fputc('\n', stderr);
    if (shortData)
        warn(o.input + ": the data ends after " + std::to_string(readFrames) + " frames; the header says " +
             std::to_string(fileFrames) + "; silence stands in for the rest");
    sf_close(run.out);
    run.out = nullptr;

    // The state after the render, then the output, each in place only when whole.
    if (!o.saveState.empty()) {
        std::vector<unsigned char> chunk = sessionSaveState(s);
        if (chunk.empty()) return fail("--save-state: the plugin gives no state");
        if (!safeOutputWrite(&run.stateFile, chunk.data(), chunk.size())) return fail(o.saveState + ": write failed");
        if (!safeOutputCommit(&run.stateFile, &error)) return fail(error);
    }
    if (!safeOutputCommit(&run.file, &error)) return fail(error);

    // The summary: on standard error when the audio went to standard output.
    FILE* report = o.output == "-" ? stderr : stdout;
    std::fprintf(report, "rendered %lld frames of %s into %s at %d Hz; peak dBFS:", done,
                 plural(channels, "input channel").c_str(), plural(written, protocol ? "speaker channel" : "output channel").c_str(), info.samplerate);
    for (double p : peaks) {
        double db = toDb(p);
        if (std::isinf(db)) std::fprintf(report, " -inf");
        else std::fprintf(report, " %.1f", db);
    }
    std::fprintf(report, "\n");
    std::string clips_;
    for (int c = 0; c < written; c++)
        if (clipped[size_t(c)])
            clips_ += (clips_.empty() ? "" : ", ") + std::string("channel ") + std::to_string(c + 1) + " " +
                      plural(clipped[size_t(c)], "sample");
    if (!clips_.empty()) std::fprintf(report, "clipped at full scale: %s\n", clips_.c_str());
    if (written < pluginOutputs)
        notes.push_back("outputs " + std::to_string(written + 1) + " to " + std::to_string(pluginOutputs) + " dropped");
    if (protocol && o.state.empty() && !placedByMask) {
        std::vector<std::string> places = sessionInputPlaces(s);
        std::string text;
        for (size_t i = 0; i < places.size() && int(i) < channels; i++)
            text += (i ? ", " : "") + std::to_string(i + 1) + " on " + places[i];
        if (!text.empty()) notes.push_back("inputs placed in order: " + text);
    }
    if (placedByMask) notes.push_back("inputs placed by the file's channel mask");
    for (const std::string& note : notes) std::fprintf(report, "note: %s\n", note.c_str());
    return 0;
}
#endif
