#include "host/validate.h"

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "host/alloc_watch.h"
#include "host/args.h"
#include "host/session.h"

#if !defined(_WIN32)
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

struct Validation {
    std::string plugin;
    uint32_t seed;
    std::mt19937 rng;
    bool protocol;  // the plugin answers this project's named-value calls
};

// A failed check says why; the first failure ends the test.
struct Check {
    std::string why;
    bool fail(const std::string& reason) {
        if (why.empty()) why = reason;
        return false;
    }
    bool ok() const { return why.empty(); }
};

// ---- a plugin instance with the buffers a host gives it ----

constexpr size_t GUARD = 16;  // samples of sentinel after every buffer
constexpr double SENTINEL = -12345.678;

struct Instance {
    PluginSession s{};
    std::vector<std::vector<double>> in, out;
    std::vector<double*> inPtrs, outPtrs;
    // A plugin without double precision gets float copies of the same buffers.
    std::vector<std::vector<float>> inF, outF;
    std::vector<float*> inPtrsF, outPtrsF;

    bool open(Validation& v, int channels, double rate, Check& c) {
        std::string error;
        if (!sessionOpen(&s, v.plugin.c_str(), channels, nullptr, rate, &error)) return c.fail(error);
        return true;
    }
    ~Instance() { sessionClose(&s); }
    AEffect* e() const { return s.effect; }

    // Buffers for the counts the effect shows now; outputs start as NaN so that an output the
    // effect leaves unwritten shows, and every buffer ends in guard samples. Buffers of the last
    // block are refilled, not made again.
    template <typename T>
    static void reshape(std::vector<std::vector<T>>& buffers, std::vector<T*>& pointers, int count, int frames,
                        bool output) {
        buffers.resize(size_t(count));
        pointers.clear();
        for (auto& b : buffers) {
            b.assign(size_t(frames) + GUARD, T(SENTINEL));
            if (output) std::fill(b.begin(), b.begin() + frames, T(NAN));
            pointers.push_back(b.data());
        }
    }
    void shape(int frames) {
        int ni = e()->numInputs, no = e()->numOutputs;
        reshape(in, inPtrs, ni, frames, false);
        reshape(out, outPtrs, no, frames, true);
        bool floats = !(e()->flags & effFlagsCanDoubleReplacing);
        reshape(inF, inPtrsF, floats ? ni : 0, frames, false);
        reshape(outF, outPtrsF, floats ? no : 0, frames, true);
    }
    void noise(std::mt19937& rng, int frames) {
        std::uniform_real_distribution<double> d(-1.0, 1.0);
        for (auto& b : in)
            for (int n = 0; n < frames; n++) b[size_t(n)] = d(rng);
    }
    void fillInputs(double value, int frames) {
        for (auto& b : in) std::fill(b.begin(), b.begin() + frames, value);
    }
    void process(int frames) {
        if (e()->flags & effFlagsCanDoubleReplacing) {
            e()->processDoubleReplacing(e(), inPtrs.empty() ? nullptr : inPtrs.data(),
                                        outPtrs.empty() ? nullptr : outPtrs.data(), frames);
            return;
        }
        for (size_t c = 0; c < in.size() && c < inF.size(); c++)
            for (int n = 0; n < frames; n++) inF[c][size_t(n)] = float(in[c][size_t(n)]);
        e()->processReplacing(e(), inPtrsF.empty() ? nullptr : inPtrsF.data(),
                              outPtrsF.empty() ? nullptr : outPtrsF.data(), frames);
        // Back into the double buffers; a float guard written over shows as a double one.
        for (size_t c = 0; c < out.size() && c < outF.size(); c++) {
            for (int n = 0; n < frames; n++) out[c][size_t(n)] = outF[c][size_t(n)];
            for (size_t g = 0; g < GUARD; g++)
                out[c][size_t(frames) + g] = outF[c][size_t(frames) + g] == float(SENTINEL) ? SENTINEL : 0.0;
        }
        for (size_t c = 0; c < in.size() && c < inF.size(); c++)
            for (size_t g = 0; g < GUARD; g++)
                if (inF[c][inF[c].size() - GUARD + g] != float(SENTINEL)) in[c][in[c].size() - GUARD + g] = 0.0;
    }
    // Every output sample written, finite and not subnormal; every guard intact.
    bool outputsSound(int frames, Check& c) const {
        for (size_t o = 0; o < out.size(); o++) {
            for (int n = 0; n < frames; n++) {
                double v = out[o][size_t(n)];
                if (!std::isfinite(v))
                    return c.fail("output " + std::to_string(o) + " sample " + std::to_string(n) + " is not finite");
                if (std::fpclassify(v) == FP_SUBNORMAL)
                    return c.fail("output " + std::to_string(o) + " sample " + std::to_string(n) + " is subnormal");
            }
            for (size_t g = 0; g < GUARD; g++)
                if (out[o][size_t(frames) + g] != SENTINEL)
                    return c.fail("output " + std::to_string(o) + " written past the block end");
        }
        for (size_t i = 0; i < in.size(); i++)
            for (size_t g = 0; g < GUARD; g++)
                if (in[i][in[i].size() - GUARD + g] != SENTINEL)
                    return c.fail("input " + std::to_string(i) + " written past the block end");
        return true;
    }
    // Returns false when the effect has no parameter of that name.
    bool setByName(const std::string& name, float value) {
        int index = sessionFindParameter(&s, name);
        if (index >= 0) e()->setParameter(e(), index, value);
        return index >= 0;
    }
};

bool validUtf8(const char* s) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(s);
    while (*p) {
        int extra = *p < 0x80 ? 0 : (*p >> 5) == 6 ? 1 : (*p >> 4) == 14 ? 2 : (*p >> 3) == 30 ? 3 : -1;
        if (extra < 0) return false;
        p++;
        for (int k = 0; k < extra; k++, p++)
            if ((*p & 0xC0) != 0x80) return false;
    }
    return true;
}

// A text call into a 512-byte buffer: the text must end within 256 bytes and be UTF-8.
bool textCall(AEffect* e, int32_t opcode, int32_t index, intptr_t value, float opt, std::string* text,
              const std::string& what, Check& c) {
    char buffer[512];
    std::memset(buffer, 0x7F, sizeof buffer);
    buffer[0] = 0;
    e->dispatcher(e, opcode, index, value, buffer, opt);
    const void* end = std::memchr(buffer, 0, 256);
    if (!end) return c.fail(what + " of parameter " + std::to_string(index) + " runs past 256 bytes");
    if (!validUtf8(buffer)) return c.fail(what + " of parameter " + std::to_string(index) + " is not UTF-8");
    *text = buffer;
    return true;
}

// ---- the tests ----

bool testOpenClose(Validation& v, Check& c) {
    for (int i = 0; i < 50; i++) {
        Instance a;
        if (!a.open(v, 2, 48000.0, c)) return false;
    }
    {
        Instance many[8];
        for (Instance& a : many)
            if (!a.open(v, 6, 48000.0, c)) return false;
    }
    return true;
}

// The channel-count query: the counts the host answers become the effect's, out-of-range ones
// give a stereo instance.
bool testChannelCount(Validation& v, Check& c) {
    const int counts[] = {1, 2, 6, 8, 12, 16, 64, 128};
    for (int n : counts) {
        Instance a;
        if (!a.open(v, n, 48000.0, c)) return false;
        if (a.e()->numInputs != n || a.e()->numOutputs != n)
            return c.fail("a count answer of " + std::to_string(n) + " gave " + std::to_string(a.e()->numInputs) +
                          " inputs and " + std::to_string(a.e()->numOutputs) + " outputs");
    }
    for (int n : {0, -1, 129, 100000}) {
        Instance a;
        if (!a.open(v, n, 48000.0, c)) return false;
        if (a.e()->numInputs != 2 || a.e()->numOutputs != 2)
            return c.fail("an out-of-range count answer of " + std::to_string(n) + " did not give a stereo instance");
    }
    return true;
}

bool testParameterTexts(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 6, 48000.0, c)) return false;
    AEffect* e = a.e();
    for (int i = 0; i < e->numParams; i++) {
        std::string name, label, display;
        if (!textCall(e, effGetParamName, i, 0, 0.0f, &name, "the name", c)) return false;
        if (!textCall(e, effGetParamLabel, i, 0, 0.0f, &label, "the label", c)) return false;
        if (!textCall(e, effGetParamDisplay, i, 0, 0.0f, &display, "the display text", c)) return false;
        if (name.empty()) return c.fail("parameter " + std::to_string(i) + " has no name");
        if (display.empty()) return c.fail("parameter " + std::to_string(i) + " (" + name + ") has no display text");
    }
    return true;
}

// The effect's own text-to-value reading of each display text shows the same text again.
bool testValueTexts(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 6, 48000.0, c)) return false;
    AEffect* e = a.e();
    for (int i = 0; i < e->numParams; i++) {
        std::string name, display;
        if (!textCall(e, effGetParamName, i, 0, 0.0f, &name, "the name", c)) return false;
        if (!textCall(e, effGetParamDisplay, i, 0, 0.0f, &display, "the display text", c)) return false;
        char parsed[256];
        std::snprintf(parsed, sizeof parsed, "%s", display.c_str());
        if (e->dispatcher(e, effVendorSpecific, 27, i, parsed, 0.0f) != 0xBEEF) continue;
        float back = float(std::strtod(parsed, nullptr));
        std::string again;
        if (!textCall(e, effVendorSpecific, 7, i, back, &again, "the display text of a value", c)) return false;
        if (again != display)
            return c.fail(name + ": '" + display + "' reads back as " + parsed + ", shown as '" + again + "'");
    }
    return true;
}

bool testAudio(Validation& v, Check& c) {
    const double rates[] = {44100, 48000, 88200, 96000, 192000};
    const int blocks[] = {1, 7, 64, 512, 1024, 4096};
    for (double rate : rates)
        for (int block : blocks) {
            Instance a;
            if (!a.open(v, 6, rate, c)) return false;
            bool muted = a.setByName("out 2 mute", 1.0f);  // a muted speaker is reached by nothing
            int total = std::max(block * 3, int(rate * 0.05));
            for (int done = 0, index = 0; done < total; done += block, index++) {
                a.shape(block);
                a.noise(v.rng, block);
                // Once a shape has run twice, a block has everything it needs: it may not allocate.
                bool steady = index >= 2 && allocWatchAvailable();
                if (steady) allocWatchBegin();
                a.process(block);
                long made = steady ? allocWatchEnd() : 0;
                if (made)
                    return c.fail("the audio block allocates (" + std::to_string(made) + (made == 1 ? " heap allocation" : " heap allocations") + " in steady block " +
                                  std::to_string(index) + ") at " + std::to_string(int(rate)) + " Hz, block " +
                                  std::to_string(block));
                if (!a.outputsSound(block, c)) return c.fail(c.why + " at " + std::to_string(int(rate)) + " Hz, block " + std::to_string(block));
                if (muted && a.out.size() > 1)
                    for (int n = 0; n < block; n++)
                        if (a.out[1][size_t(n)] != 0.0)
                            return c.fail("the muted output 2 carries sound at " + std::to_string(int(rate)) + " Hz");
            }
            // Silence in, after the longest delay: silence out, exactly.
            int silent = int(rate * 0.05) + block;
            for (int done = 0; done < silent; done += block) {
                a.shape(block);
                a.fillInputs(0.0, block);
                a.process(block);
            }
            for (size_t o = 0; o < a.out.size(); o++)
                for (int n = 0; n < block; n++)
                    if (a.out[o][size_t(n)] != 0.0)
                        return c.fail("output " + std::to_string(o) + " is not exactly zero after silence at " +
                                      std::to_string(int(rate)) + " Hz, block " + std::to_string(block));
        }
    return true;
}

bool testBlockExtremes(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 8, 48000.0, c)) return false;
    for (int block : {512, 512, 32768, 0, 64, 0, 65536, 1}) {
        a.shape(block);
        a.noise(v.rng, block);
        a.process(block);
        if (!a.outputsSound(block, c)) return c.fail(c.why + " in a block of " + std::to_string(block));
    }
    return true;
}

bool testAutomation(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 4, 48000.0, c)) return false;
    AEffect* e = a.e();
    // Mute, solo and delay act as steps by design (a delay brings its own onset some blocks
    // later), so the jump bound holds for the other parameters only; the steps get a phase of
    // their own in which only soundness is checked.
    std::vector<int> smooth, stepped;
    for (int i = 0; i < e->numParams; i++) {
        std::string name = sessionParameterName(&a.s, i);
        bool steps = name.ends_with("mute") || name.ends_with("solo") || name.ends_with("delay");
        (steps ? stepped : smooth).push_back(i);
    }
    const int step = 32, total = 48000 * 10;
    std::uniform_real_distribution<float> value(0.0f, 1.0f);
    // A constant input: gains move by ramps, so one step between samples stays below the largest
    // gain change spread over one block (input gain 4 times speaker gain 4, for every input).
    const double largestStep = 16.0 * e->numInputs / step * 1.01 + 1e-9;
    std::vector<double> last;
    for (int done = 0; done < total; done += step) {
        bool smoothPhase = done < total / 2 || stepped.empty();
        const std::vector<int>& pool = smoothPhase ? smooth : (done / step % 4 == 0 ? stepped : smooth);
        if (!pool.empty()) e->setParameter(e, pool[v.rng() % pool.size()], value(v.rng));
        if (done % 4800 == 0) e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
        a.shape(step);
        a.fillInputs(0.5, step);
        a.process(step);
        if (!a.outputsSound(step, c)) return false;
        if (last.size() != a.out.size()) last.assign(a.out.size(), NAN);
        for (size_t o = 0; o < a.out.size(); o++) {
            double prev = last[o];
            for (int n = 0; n < step; n++) {
                double now = a.out[o][size_t(n)];
                if (smoothPhase && std::isfinite(prev) && std::fabs(now - prev) > largestStep)
                    return c.fail("output " + std::to_string(o) + " jumps by " + std::to_string(now - prev) +
                                  " at sample " + std::to_string(done + n));
                prev = now;
            }
            last[o] = prev;
        }
    }
    return true;
}

bool testState(Validation& v, Check& c) {
    std::vector<unsigned char> first;
    {
        Instance a;
        if (!a.open(v, 6, 48000.0, c)) return false;
        std::uniform_real_distribution<float> value(0.0f, 1.0f);
        for (int i = 0; i < a.e()->numParams; i++) a.e()->setParameter(a.e(), i, value(v.rng));
        a.e()->dispatcher(a.e(), effIdle, 0, 0, nullptr, 0.0f);
        first = sessionSaveState(&a.s);
    }
    if (first.empty()) return c.fail("the effect gives no state");
    Instance b;
    if (!b.open(v, 2, 48000.0, c)) return false;
    sessionLoadState(&b.s, first);
    std::vector<unsigned char> second = sessionSaveState(&b.s);
    if (second != first) {
        size_t at = 0;
        while (at < first.size() && at < second.size() && first[at] == second[at]) at++;
        return c.fail("a state loaded into a fresh instance saves to other bytes: first difference at byte " +
                      std::to_string(at) + ", " + std::to_string(first.size()) + " bytes saved, " +
                      std::to_string(second.size()) + " after the round trip");
    }
    // Damaged and cut copies load without harm, and the instance keeps processing.
    for (int round = 0; round < 300; round++) {
        std::vector<unsigned char> bad = first;
        if (round % 3 == 0) bad.resize(v.rng() % (first.size() + 1));
        else
            for (int k = 0; k < 1 + round % 7; k++) bad[v.rng() % bad.size()] = uint8_t(v.rng());
        sessionLoadState(&b.s, bad);
        b.shape(64);
        b.noise(v.rng, 64);
        b.process(64);
        if (!b.outputsSound(64, c)) return c.fail(c.why + " after a damaged state (round " + std::to_string(round) + ")");
    }
    return true;
}

bool testChannelChanges(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 2, 48000.0, c)) return false;
    AEffect* e = a.e();
    std::uniform_int_distribution<int> count(1, 16);
    const char* families[] = {"", "Q", "I", "A"};
    for (int round = 0; round < 40; round++) {
        switch (round % 4) {
            case 0: sessionWriteNamed(&a.s, "NUMCHANNELS", std::to_string(count(v.rng))); break;
            case 1: sessionWriteNamed(&a.s, "NUMSPEAKERS", std::to_string(count(v.rng)) + families[v.rng() % 4]); break;
            case 2:
                e->dispatcher(e, effVendorSpecific, 42, count(v.rng), nullptr, 0.0f);
                e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
                break;
            default: {
                VstSpeakerArrangement inArr = {}, outArr = {};
                inArr.numChannels = e->numInputs;
                outArr.numChannels = count(v.rng);
                e->dispatcher(e, effSetSpeakerArrangement, 0, reinterpret_cast<intptr_t>(&inArr), &outArr, 0.0f);
                e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
            }
        }
        int inputs = sessionInputCount(&a.s), speakers = sessionSpeakerCount(&a.s);
        for (int block = 0; block < 3; block++) {
            a.shape(128);
            a.noise(v.rng, 128);
            a.process(128);
            // Buffers past the effect's speakers are the host's own: the effect leaves them alone.
            for (size_t o = size_t(speakers); o < a.out.size(); o++) std::fill_n(a.out[o].begin(), 128, 0.0);
            if (!a.outputsSound(128, c)) return c.fail(c.why + " after channel change " + std::to_string(round));
        }
        if (e->numInputs != inputs || e->numOutputs != speakers)
            return c.fail("after change " + std::to_string(round) + " the effect shows " + std::to_string(e->numInputs) +
                          " x " + std::to_string(e->numOutputs) + " but names " + std::to_string(inputs) + " x " +
                          std::to_string(speakers));
    }
    return true;
}

bool testThreads(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 8, 48000.0, c)) return false;
    AEffect* e = a.e();
    std::atomic<bool> stop{false};
    uint32_t seed = v.seed;
    std::thread other([&] {
        std::mt19937 rng(seed);
        std::uniform_real_distribution<float> value(0.0f, 1.0f);
        for (int i = 0; !stop.load(); i++) {
            e->setParameter(e, int32_t(rng() % uint32_t(e->numParams)), value(rng));
            if (i % 16 == 0) {
                void* data = nullptr;
                e->dispatcher(e, effGetChunk, 0, 0, &data, 0.0f);
            }
            if (i % 8 == 0) e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
            std::this_thread::yield();
        }
    });
    bool ok = true;
    for (int block = 0; block < 2000 && ok; block++) {
        a.shape(32);
        a.noise(v.rng, 32);
        a.process(32);
        ok = a.outputsSound(32, c);
    }
    stop = true;
    other.join();
    return ok;
}

bool testUsesProtocol(Validation& v, Check& c) {
    Instance a;
    if (!a.open(v, 2, 48000.0, c)) return false;
    return sessionSpeaksProtocol(&a.s) || c.fail("no");
}

struct ValidatorTest {
    const char* name;
    int strictness;
    bool protocol;  // a test of this project's host protocol, run only for plugins that use it
    bool (*run)(Validation&, Check&);
};

const ValidatorTest VALIDATOR_TESTS[] = {
    {"open-close", 1, false, testOpenClose},
    {"channel-count", 1, true, testChannelCount},
    {"parameter-texts", 2, false, testParameterTexts},
    {"value-texts", 2, true, testValueTexts},
    {"audio", 3, false, testAudio},
    {"block-extremes", 4, false, testBlockExtremes},
    {"automation", 5, false, testAutomation},
    {"state", 6, false, testState},
    {"channel-changes", 7, true, testChannelChanges},
    {"threads", 8, false, testThreads},
};

// A test that ran longer than this is taken to hang.
constexpr unsigned TEST_TIME_LIMIT_S = 600;

// Runs one test; true when it passed, else *why says what failed. On POSIX the test runs in a
// child process, so that a plugin that crashes or hangs fails that test with the cause named
// and the battery goes on; Windows runs it in this process.
bool runTest(const ValidatorTest& t, Validation& v, std::string* why) {
#if !defined(_WIN32)
    int fds[2] = {-1, -1};
    std::fflush(nullptr);
    pid_t pid = pipe(fds) == 0 ? fork() : -1;
    if (pid == 0) {
        close(fds[0]);
        alarm(TEST_TIME_LIMIT_S);
        Check c;
        bool ok = t.run(v, c) && c.ok();
        std::string result = ok ? "P" : "F" + (c.why.empty() ? std::string("failed") : c.why);
        for (size_t sent = 0; sent < result.size();) {
            ssize_t n = write(fds[1], result.data() + sent, result.size() - sent);
            if (n <= 0) break;
            sent += size_t(n);
        }
        _exit(0);
    }
    if (pid > 0) {
        close(fds[1]);
        std::string result;
        char chunk[512];
        for (ssize_t n; (n = read(fds[0], chunk, sizeof chunk)) != 0;)
            if (n > 0) result.append(chunk, size_t(n));
            else if (errno != EINTR) break;
        close(fds[0]);
        int status = 0;
        while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {}
        if (!result.empty()) {
            *why = result.substr(1);
            return result[0] == 'P';
        }
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
            *why = "did not finish within " + std::to_string(TEST_TIME_LIMIT_S) + " s";
        else if (WIFSIGNALED(status))
            *why = "the plugin crashed (signal " + std::to_string(WTERMSIG(status)) + ", " + strsignal(WTERMSIG(status)) + ")";
        else
            *why = "the plugin ended the process (exit status " + std::to_string(WEXITSTATUS(status)) + ")";
        return false;
    }
    if (fds[0] >= 0) {  // the pipe was made but the child was not
        close(fds[0]);
        close(fds[1]);
    }
#endif
    Check c;
    bool ok = t.run(v, c) && c.ok();
    *why = c.why.empty() ? "failed" : c.why;
    return ok;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host validate: %s\n", message.c_str());
    return 2;
}

bool parseWhole(const std::string& text, long lo, long hi, long* out) {
    char* end = nullptr;
    long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || v < lo || v > hi) return false;
    *out = v;
    return true;
}

}  // namespace

int commandValidate(int argc, char** argv) {
    ParsedArgs args;
    std::string problem;
    if (!parseArgs(argc, argv, {{"--strictness", true}, {"--seed", true}, {"--only", true}, {"--list", false}}, &args, &problem))
        return fail(problem);
    if (optionGiven(args, "--list")) {
        std::printf("strictness  test             kind\n");
        for (const ValidatorTest& t : VALIDATOR_TESTS)
            std::printf("%10d  %-16s %s\n", t.strictness, t.name,
                        t.protocol ? "this project's host protocol" : "general VST 2");
        return 0;
    }
    Validation v;
    long strictness = 5, seed = 1;
    std::string only = optionValue(args, "--only");
    std::string value = optionValue(args, "--strictness", "5");
    if (!parseWhole(value, 1, 10, &strictness)) return fail("--strictness '" + value + "': expected 1 to 10");
    value = optionValue(args, "--seed", "1");
    if (!parseWhole(value, 0, 0x7FFFFFFF, &seed)) return fail("--seed '" + value + "': expected a whole number from 0 to 2147483647");
    if (args.positional.size() > 1) return fail("unexpected argument '" + args.positional[1] + "'");
    if (args.positional.empty()) return fail("expected the path of a plugin library");
    v.plugin = args.positional[0];
    bool known = only.empty();
    for (const ValidatorTest& t : VALIDATOR_TESTS) known = known || only == t.name;
    if (!known) return fail("--only '" + only + "': no test of that name (validate --list shows them)");
    PluginLibrary probe;
    if (!pluginLibraryOpen(&probe, v.plugin.c_str())) return fail(probe.error);
    pluginLibraryClose(&probe);

    // Whether the plugin uses this project's protocol, asked where a crash costs nothing.
    v.seed = uint32_t(seed);
    v.protocol = false;
    std::string ignored;
    v.protocol = runTest(ValidatorTest{"protocol", 0, false, testUsesProtocol}, v, &ignored);
    int passed = 0, failed = 0, skipped = 0;
    for (const ValidatorTest& t : VALIDATOR_TESTS) {
        // --only names one test, whatever its strictness.
        if (only.empty() ? t.strictness > strictness : only != t.name) continue;
        if (t.protocol && !v.protocol) {
            std::printf("SKIP %s: the plugin does not use this project's host protocol\n", t.name);
            skipped++;
            continue;
        }
        v.rng.seed(v.seed);
        std::string why;
        bool ok = runTest(t, v, &why);
        if (ok) std::printf("PASS %s\n", t.name);
        else std::printf("FAIL %s: %s\n", t.name, why.c_str());
        std::fflush(stdout);
        (ok ? passed : failed)++;
    }
    std::printf("%d passed, %d failed", passed, failed);
    if (skipped) std::printf(", %d skipped", skipped);
    std::printf("\n");
    return failed ? 1 : 0;
}
