#include "host/inspect.h"

#include <cstdio>
#include <cstring>
#include <cstdlib>
#include <string>
#include <vector>

#include "engine/records.h"
#include "host/args.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "shell/state_chunk.h"

namespace {

int fail(const char* command, const std::string& message) {
    std::fprintf(stderr, "kelvane-host %s: %s\n", command, message.c_str());
    return 2;
}

// Options shared by the commands that open the plugin: a channel count and a state to load.
struct OpenOptions {
    std::vector<std::string> positional;
    int channels = 2;
    std::string state;
};

std::string parseOpenOptions(int argc, char** argv, OpenOptions* o) {
    ParsedArgs args;
    std::string problem;
    if (!parseArgs(argc, argv, {{"--channels", true}, {"--state", true}}, &args, &problem)) return problem;
    o->positional = args.positional;
    o->state = optionValue(args, "--state");
    if (optionGiven(args, "--state") && o->state.empty()) return "option --state needs a file name";
    if (optionGiven(args, "--channels") && !channelsFromOption(optionValue(args, "--channels"), &o->channels, &problem))
        return problem;
    return "";
}

bool openWithState(PluginSession* s, const OpenOptions& o, std::string* error) {
    std::vector<unsigned char> chunk;
    if (!o.state.empty() && !readChunkFile(o.state, &chunk, error)) return false;
    if (!sessionOpen(s, o.positional[0].c_str(), o.channels, nullptr, 48000.0, error)) return false;
    if (!chunk.empty()) sessionLoadState(s, chunk);
    return true;
}

void printChunk(const std::vector<unsigned char>& chunk) {
    // The core library reads the block as plain data; the plugin binary plays no part.
    StateChunk state;
    stateChunkInit(&state);
    readStateChunk(chunk.data(), int32_t(chunk.size()), &state.head, &state.inputs, &state.speakers);
    const StateHead& h = state.head;
    std::printf("version %d, %zu bytes\n", stateChunkShape(chunk.data(), int32_t(chunk.size())).version, chunk.size());
    std::printf("layout id %d, family %d, channel options 0x%X, ui flags 0x%X\n", h.layoutId, h.layoutFamily,
                h.channelOptions, h.uiFlags);
    std::printf("center %% %.4f, side %% %.4f, pan law %.2f dB, Z shape %d\n", h.centerPercent, h.sidePercent,
                h.panLawDb, h.zShape);
    // Names in any script line up: the column is counted in characters, not bytes.
    auto column = [](const char* name) {
        std::string text(name, strnlen(name, 64));
        size_t characters = 0;
        for (unsigned char c : text) characters += (c & 0xC0) != 0x80;
        if (characters < 24) text.append(24 - characters, ' ');
        return text;
    };
    std::printf("%d inputs:\n", state.inputs.size());
    for (int i = 0; i < state.inputs.size(); i++) {
        const PanInput& in = state.inputs[i];
        std::printf("  %3d %s x %7.4f y %7.4f z %6.4f gain %.4f lfe %.4f div %.4f delay %.4f s%s%s colour %08X\n",
                    i + 1, column(in.name).c_str(), in.posX, in.posY, in.posZ, in.gain, in.lfeSend, in.divergence, in.delay,
                    in.mute ? " muted" : "", in.solo ? " soloed" : "", in.color);
    }
    std::printf("%d speakers:\n", state.speakers.size());
    for (int s = 0; s < state.speakers.size(); s++) {
        const PanSpeaker& spk = state.speakers[s];
        std::printf("  %3d %s x %7.4f y %7.4f z %6.4f gain %.4f influence %.4f%s%s%s%s\n", s + 1, column(spk.name).c_str(),
                    spk.posX, spk.posY, spk.posZ, spk.gain, spk.influence, spk.lfe ? " LFE" : "",
                    spk.vacant ? " vacant" : "", spk.mute ? " muted" : "", spk.solo ? " soloed" : "");
    }
    stateChunkFree(&state);
}

}  // namespace

int commandParams(int argc, char** argv) {
    OpenOptions o;
    std::string problem = parseOpenOptions(argc, argv, &o);
    if (!problem.empty()) return fail("params", problem);
    if (o.positional.size() != 1) return fail("params", "expected the path of a plugin library");
    PluginSession s{};
    std::string error;
    if (!openWithState(&s, o, &error)) {
        sessionClose(&s);
        return fail("params", error);
    }
    AEffect* e = s.effect;
    std::printf("%d parameters\n", e->numParams);
    for (int i = 0; i < e->numParams; i++) {
        char label[256] = {0}, display[256] = {0};
        e->dispatcher(e, effGetParamLabel, i, 0, label, 0.0f);
        e->dispatcher(e, effGetParamDisplay, i, 0, display, 0.0f);
        std::printf("%5d  %-24s %10s %-3s  %.6f\n", i, sessionParameterName(&s, i).c_str(), display, label,
                    e->getParameter(e, i));
    }
    sessionClose(&s);
    return 0;
}

int commandState(int argc, char** argv) {
    if (argc < 1) return fail("state", "expected 'show FILE' or 'get PLUGIN OUT'");
    std::string verb = argv[0];
    OpenOptions o;
    std::string problem = parseOpenOptions(argc - 1, argv + 1, &o);
    if (!problem.empty()) return fail("state", problem);
    std::string error;
    if (verb == "show") {
        if (o.positional.size() != 1) return fail("state", "show expects one chunk file");
        std::vector<unsigned char> chunk;
        if (!readChunkFile(o.positional[0], &chunk, &error)) return fail("state", error);
        printChunk(chunk);
        return 0;
    }
    if (verb == "get") {
        if (o.positional.size() != 2) return fail("state", "get expects a plugin and an output file");
        const std::string& out = o.positional[1];
        if (!outputDiffersFromInputs(out, {{"the plugin", o.positional[0]}, {"--state", o.state}}, &error))
            return fail("state", error);
        if (!folderExists(out)) return fail("state", out + ": the folder does not exist");
        PluginSession s{};
        if (!openWithState(&s, o, &error)) {
            sessionClose(&s);
            return fail("state", error);
        }
        std::vector<unsigned char> chunk = sessionSaveState(&s);
        sessionClose(&s);
        if (chunk.empty()) return fail("state", "the plugin gave no state");
        if (!writeFileSafely(out, chunk, &error)) return fail("state", error);
        std::fprintf(out == "-" ? stderr : stdout, "wrote %zu bytes to %s\n", chunk.size(), out.c_str());
        return 0;
    }
    return fail("state", "unknown verb '" + verb + "' (show or get)");
}
