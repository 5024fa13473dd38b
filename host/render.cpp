#include "host/render.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "host/session.h"
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
    std::string text;
};

struct RenderOptions {
    std::string input, output, plugin, layout, preset, state, saveState, automation;
    std::vector<std::string> sets;
    int block = 512;
    int format = 0;  // 0 float, 16 or 24 bit PCM
    double tail = 0.0;
};

bool parseNumber(const std::string& text, double* out) {
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !std::isfinite(v)) return false;
    *out = v;
    return true;
}

// Parses the arguments; returns an empty string when they are good, else the message.
[[maybe_unused]] std::string parseOptions(int argc, char** argv, RenderOptions* o) {
    std::vector<std::string> positional;
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        bool takesValue = arg == "--plugin" || arg == "--block" || arg == "--format" || arg == "--layout" ||
                          arg == "--preset" || arg == "--state" || arg == "--save-state" || arg == "--set" ||
                          arg == "--automation" || arg == "--tail";
        if (takesValue) {
            if (i + 1 >= argc) return "option " + arg + " needs a value";
            std::string v = argv[++i];
            double number = 0.0;
            if (arg == "--plugin") o->plugin = v;
            else if (arg == "--layout") o->layout = v;
            else if (arg == "--preset") o->preset = v;
            else if (arg == "--state") o->state = v;
            else if (arg == "--save-state") o->saveState = v;
            else if (arg == "--automation") o->automation = v;
            else if (arg == "--set") {
                if (v.find('=') == std::string::npos) return "--set '" + v + "': expected NAME=TEXT";
                o->sets.push_back(v);
            } else if (arg == "--block") {
                if (!parseNumber(v, &number) || number < 1 || number > 65536 || number != std::floor(number))
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
            }
        } else if (arg.size() > 1 && arg[0] == '-') {
            return "unknown option '" + arg + "'";
        } else {
            positional.push_back(arg);
        }
    }
    if (positional.size() != 2) return "expected INPUT and OUTPUT (see kelvane-host --help)";
    o->input = positional[0];
    o->output = positional[1];
    if (!o->layout.empty() && !o->preset.empty()) return "--layout and --preset exclude each other";
    return "";
}

// "time name text": the name is the longest parameter name that the rest of the line starts with.
[[maybe_unused]] std::string parseAutomation(const std::string& path, const std::vector<std::string>& names,
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
        if (timeEnd == std::string::npos || !parseNumber(line.substr(start, timeEnd - start), &seconds) || seconds < 0)
            return where + "expected 'seconds parameter text'";
        std::string rest = line.substr(line.find_first_not_of(" \t", timeEnd) == std::string::npos
                                           ? line.size()
                                           : line.find_first_not_of(" \t", timeEnd));
        int best = -1;
        size_t bestLength = 0;
        for (size_t i = 0; i < names.size(); i++) {
            const std::string& n = names[i];
            if (n.size() > bestLength && rest.size() > n.size() && rest.compare(0, n.size(), n) == 0 &&
                (rest[n.size()] == ' ' || rest[n.size()] == '\t')) {
                best = int(i);
                bestLength = n.size();
            }
        }
        if (best < 0) return where + "no parameter name at the start of '" + rest + "'";
        std::string text = rest.substr(bestLength);
        text.erase(0, text.find_first_not_of(" \t"));
        if (text.empty()) return where + "no value after '" + names[size_t(best)] + "'";
        events->push_back(AutomationEvent{seconds, best, text});
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

// The layouts whose speaker order is the order of the WAV channel-mask bits, so that players
// can place the channels; any other arrangement is written without a mask.
struct WavChannelMap {
    int layoutId;
    int count;
    int channels[8];
};
const WavChannelMap WAV_CHANNEL_MAPS[] = {
    {1, 2, {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT}},
    {5, 6, {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
            SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT}},
    {19, 8, {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
             SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT, SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT}},
    {8, 6, {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER, SF_CHANNEL_MAP_LFE,
            SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT}},
    {2, 4, {SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT}},
};

// The map for the effect's present speakers, or null. The layout id is the low byte of the
// chunk's packed word at byte 8.
const WavChannelMap* channelMapFor(const std::vector<unsigned char>& chunk, int speakers) {
    if (chunk.size() < 12) return nullptr;
    for (const WavChannelMap& map : WAV_CHANNEL_MAPS)
        if (map.layoutId == chunk[8] && map.count == speakers) return &map;
    return nullptr;
}

struct RenderRun {
    RenderOptions options;
    PluginSession session{};
    SNDFILE* in = nullptr;
    SNDFILE* out = nullptr;
    std::string temp;

    ~RenderRun() {
        if (in) sf_close(in);
        if (out) sf_close(out);
        if (!temp.empty()) std::remove(temp.c_str());
        sessionClose(&session);
    }
};

void progress(long long done, long long total) {
    int width = 40;
    int filled = total > 0 ? int(width * done / total) : width;
    std::fprintf(stderr, "\r[%.*s%*s] %3d%%", filled, "########################################", width - filled, "",
                 total > 0 ? int(100 * done / total) : 100);
}

}  // namespace

int commandRender(int argc, char** argv, const char* defaultPlugin) {
    RenderRun run;
    RenderOptions& o = run.options;
    std::string problem = parseOptions(argc, argv, &o);
    if (!problem.empty()) return fail(problem);
    if (o.plugin.empty()) o.plugin = defaultPlugin;

    // The input file and the output folder first: nothing is made when either is wrong.
    SF_INFO info = {};
    run.in = sf_open(o.input.c_str(), SFM_READ, &info);
    if (!run.in) return fail(o.input + ": cannot read audio: " + sf_strerror(nullptr));
    if (info.channels < 1 || info.channels > 128) return fail(o.input + ": " + std::to_string(info.channels) + " channels; 1 to 128 can be panned");
    if (!folderExists(o.output)) return fail(o.output + ": the folder does not exist");
    std::string error;
    int layoutId = -1;
    if (!o.layout.empty() && (layoutId = layoutFromOption(o.layout, &error)) < 0) return fail(error);
    if (std::filesystem::is_directory(o.output)) return fail(o.output + ": is a folder, not a file name");

    if (!sessionOpen(&run.session, o.plugin.c_str(), info.channels, nullptr, double(info.samplerate), &error))
        return fail(error);
    PluginSession* s = &run.session;
    AEffect* e = s->effect;

    if (!o.state.empty()) {
        std::vector<unsigned char> chunk;
        if (!readWholeFile(o.state, &chunk, &error)) return fail(error);
        if (!stateChunkShape(chunk.data(), int32_t(chunk.size())).complete)
            return fail(o.state + ": not a state chunk");
        sessionLoadState(s, chunk);
    }
    if (!o.preset.empty() && !sessionApplyPreset(s, o.preset, &error)) return fail(error);
    if (layoutId >= 0 && !sessionApplyLayout(s, layoutId, &error)) return fail(error);
    if (sessionInputCount(s) != info.channels) sessionWriteNamed(s, "NUMCHANNELS", std::to_string(info.channels));
    // A new instance leaves its inputs at the room's centre until the host places them; without
    // a state to restore, the file's channels go onto the speakers in order, as a DAW's reset does.
    if (o.state.empty()) sessionWriteNamed(s, "RESETCHANNELS", "");

    std::vector<std::string> names;
    for (int i = 0; i < e->numParams; i++) names.push_back(sessionParameterName(s, i));
    for (const std::string& set : o.sets) {
        size_t eq = set.find('=');
        std::string name = set.substr(0, eq), text = set.substr(eq + 1);
        int index = -1;
        for (size_t i = 0; i < names.size(); i++)
            if (names[i] == name) index = int(i);
        if (index < 0) return fail("--set: no parameter named '" + name + "'");
        if (!sessionSetFromText(s, index, text)) return fail("--set: the plugin does not read '" + text + "'");
    }
    std::vector<AutomationEvent> events;
    if (!o.automation.empty()) {
        problem = parseAutomation(o.automation, names, &events);
        if (!problem.empty()) return fail(problem);
    }

    // The output goes to a temporary beside the target until everything is written.
    int speakers = sessionSpeakerCount(s);
    int channels = info.channels;
    SF_INFO outInfo = {};
    outInfo.samplerate = info.samplerate;
    outInfo.channels = speakers;
    const WavChannelMap* map = channelMapFor(sessionSaveState(s), speakers);
    outInfo.format = (map ? SF_FORMAT_WAVEX : SF_FORMAT_WAV) |
                     (o.format == 16 ? SF_FORMAT_PCM_16 : o.format == 24 ? SF_FORMAT_PCM_24 : SF_FORMAT_FLOAT);
    run.temp = o.output + ".partial";
    run.out = sf_open(run.temp.c_str(), SFM_WRITE, &outInfo);
    if (!run.out) {
        std::string why = sf_strerror(nullptr);
        run.temp.clear();
        return fail(o.output + ": cannot write: " + why);
    }
    // The command's return value says nothing for WAVEX files; the error state does.
    if (map) sf_command(run.out, SFC_SET_CHANNEL_MAP_INFO, const_cast<int*>(map->channels), int(sizeof(int)) * speakers);
    if (map && sf_error(run.out) != SF_ERR_NO_ERROR) return fail(o.output + ": cannot set the channel mask");

    const int block = o.block;
    std::vector<double> interleavedIn(size_t(block) * size_t(channels));
    std::vector<double> interleavedOut(size_t(block) * size_t(speakers));
    std::vector<std::vector<double>> inBuffers(size_t(channels), std::vector<double>(size_t(block), 0.0));
    std::vector<std::vector<double>> outBuffers(size_t(speakers), std::vector<double>(size_t(block), 0.0));
    std::vector<double*> inPtrs, outPtrs;
    for (auto& b : inBuffers) inPtrs.push_back(b.data());
    for (auto& b : outBuffers) outPtrs.push_back(b.data());
    std::vector<double> peaks(size_t(speakers), 0.0);

    long long fileFrames = info.frames;
    long long total = fileFrames + (long long)std::llround(o.tail * info.samplerate);
    bool showProgress = isatty(2);
    size_t nextEvent = 0;
    long long done = 0;
    while (done < total) {
        int n = int(std::min<long long>(block, total - done));
        sf_count_t got = 0;
        if (done < fileFrames) got = sf_readf_double(run.in, interleavedIn.data(), n);
        std::fill(interleavedIn.begin() + long(got) * channels, interleavedIn.begin() + long(n) * channels, 0.0);
        for (int c = 0; c < channels; c++)
            for (int f = 0; f < n; f++) inBuffers[size_t(c)][size_t(f)] = interleavedIn[size_t(f * channels + c)];
        while (nextEvent < events.size() && events[nextEvent].seconds * info.samplerate < double(done + n)) {
            sessionSetFromText(s, events[nextEvent].parameter, events[nextEvent].text);
            nextEvent++;
        }
        e->processDoubleReplacing(e, inPtrs.data(), outPtrs.data(), n);
        for (int c = 0; c < speakers; c++)
            for (int f = 0; f < n; f++) {
                double v = outBuffers[size_t(c)][size_t(f)];
                interleavedOut[size_t(f * speakers + c)] = v;
                if (std::fabs(v) > peaks[size_t(c)]) peaks[size_t(c)] = std::fabs(v);
            }
        if (sf_writef_double(run.out, interleavedOut.data(), n) != n) return fail(o.output + ": write failed");
        e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
        done += n;
        if (showProgress) progress(done, total);
    }
    if (showProgress) std::fputc('\n', stderr);
    sf_close(run.out);
    run.out = nullptr;

    if (!o.saveState.empty() && !writeFileSafely(o.saveState, sessionSaveState(s), &error)) return fail(error);
    std::error_code ec;
    std::filesystem::rename(run.temp, o.output, ec);
    if (ec) return fail(o.output + ": cannot write: " + ec.message());
    run.temp.clear();

    std::printf("rendered %lld frames of %d input channel%s into %d speaker channel%s at %d Hz; peak dBFS:", done,
                channels, channels == 1 ? "" : "s", speakers, speakers == 1 ? "" : "s", info.samplerate);
    for (double p : peaks) {
        double db = toDb(p);
        if (std::isinf(db)) std::printf(" -inf");
        else std::printf(" %.1f", db);
    }
    std::printf("\n");
    return 0;
}
#endif
