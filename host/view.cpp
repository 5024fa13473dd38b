#include "host/view.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/bitmap.h"
#include "foundation/font.h"
#include "foundation/host_api.h"
#include "foundation/theme_colours.h"
#include "hostservices/drawing.h"
#include "host/host.h"
#include "host/png.h"
#include "host/safe_output.h"
#include "host/session.h"
#include "roomview/paint.h"
#include "roomview/pointer.h"
#include "roomview/scene.h"
#include "shell/entry.h"
#include "shell/panner.h"
#include "shell/state_chunk.h"

namespace {

constexpr int VIEW_SIDE_MAX = 4096;
constexpr int SMALL_VIEW_CALL = 16;
constexpr int SMALL_VIEW_PAINT_MESSAGE = 0x0F;

const char* const MODE_NAMES[4] = {"top", "sides", "orbit", "small"};

// A drag moves the pointer in this many steps; its points may lie this far outside the view.
constexpr int DRAG_STEPS = 8;
constexpr int DRAG_REACH = 4 * VIEW_SIDE_MAX;
// The small view's mouse messages of the vendor call, and its answer that asks for the capture.
enum { SMALL_MOVE = 0x200, SMALL_LEFT_DOWN, SMALL_LEFT_UP, SMALL_DOUBLE, SMALL_RIGHT_DOWN, SMALL_RIGHT_UP };
constexpr intptr_t SMALL_VIEW_CAPTURE = 0x1000000;

bool wholeNumber(const std::string& text, long low, long high, long* out) {
    char* end = nullptr;
    long v = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || v < low || v > high) return false;
    *out = v;
    return true;
}

bool degrees(const std::string& text, double* out) {
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end || !std::isfinite(v) || std::fabs(v) > 360.0) return false;
    *out = v;
    return true;
}

// "1,3,4": input numbers from 1.
bool inputList(const std::string& text, std::vector<int>* out) {
    size_t start = 0;
    while (start <= text.size()) {
        size_t comma = text.find(',', start);
        std::string part = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        long n = 0;
        if (!wholeNumber(part, 1, 128, &n)) return false;
        out->push_back(int(n));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    return !out->empty();
}

std::vector<std::string> split(const std::string& text, const char* separators) {
    std::vector<std::string> parts(1);
    for (char c : text) {
        if (std::strchr(separators, c)) parts.emplace_back();
        else parts.back() += c;
    }
    return parts;
}

// "X0,Y0:X1,Y1" then keys, each after a ':' or joined by '+'.
bool parseDrag(const std::string& text, ViewDrag* d) {
    std::vector<std::string> parts = split(text, ":");
    if (parts.size() < 2) return false;
    long v[4];
    for (int k = 0; k < 2; k++) {
        std::vector<std::string> xy = split(parts[k], ",");
        if (xy.size() != 2 || !wholeNumber(xy[0], -DRAG_REACH, DRAG_REACH, &v[2 * k]) ||
            !wholeNumber(xy[1], -DRAG_REACH, DRAG_REACH, &v[2 * k + 1]))
            return false;
    }
    *d = {int(v[0]), int(v[1]), int(v[2]), int(v[3]), 0, false, false};
    for (size_t k = 2; k < parts.size(); k++)
        for (const std::string& key : split(parts[k], "+")) {
            if (key == "shift") d->keys |= VIEW_DRAG_SHIFT;
            else if (key == "ctrl") d->keys |= VIEW_DRAG_CTRL;
            else if (key == "alt") d->keys |= VIEW_DRAG_ALT;
            else if (key == "right") d->right = true;
            else if (key == "double") d->doubleClick = true;
            else return false;
        }
    return !(d->right && d->doubleClick);
}

// A drag through the window's mouse messages, with the capture the window would hold.
void playWindowDrag(SurroundPanner* p, const ViewOptions& o, const ViewDrag& d) {
    uint32_t keys = 0;
    if (d.keys & VIEW_DRAG_SHIFT) keys |= POINTER_SHIFT;
    if (d.keys & VIEW_DRAG_CTRL) keys |= POINTER_CTRL;
    if (d.keys & VIEW_DRAG_ALT) keys |= POINTER_ALT;
    bool captured = false;
    auto send = [&](int message, int x, int y) {
        const ViewMouseAnswer a = windowMouseMessage(p, message, {x, y, o.width, o.height, false, keys}, captured);
        captured = (captured || a.capture) && !a.release;
    };
    if (d.doubleClick) {
        for (int message : {VIEW_MOUSE_LEFT_DOWN, VIEW_MOUSE_LEFT_UP, VIEW_MOUSE_DOUBLE, VIEW_MOUSE_LEFT_UP}) send(message, d.x0, d.y0);
        return;
    }
    send(d.right ? VIEW_MOUSE_RIGHT_DOWN : VIEW_MOUSE_LEFT_DOWN, d.x0, d.y0);
    for (int k = 1; k <= DRAG_STEPS; k++)
        send(VIEW_MOUSE_MOVE, d.x0 + (d.x1 - d.x0) * k / DRAG_STEPS, d.y0 + (d.y1 - d.y0) * k / DRAG_STEPS);
    send(d.right ? VIEW_MOUSE_RIGHT_UP : VIEW_MOUSE_LEFT_UP, d.x1, d.y1);
}

// A drag through the binary's small view messages, as a host sends them: moves go on only while
// the view asked for the capture.
void playSmallDrag(PluginSession* s, const ViewOptions& o, const ViewDrag& d) {
    auto send = [&](int message, int x, int y) {
        int32_t record[16] = {};
        record[6] = o.width, record[7] = o.height, record[8] = x, record[9] = y;
        return s->effect->dispatcher(s->effect, effVendorSpecific, SMALL_VIEW_CALL, 0, record, float(message));
    };
    if (d.doubleClick) {
        for (int message : {SMALL_LEFT_DOWN, SMALL_LEFT_UP, SMALL_DOUBLE, SMALL_LEFT_UP}) send(message, d.x0, d.y0);
        return;
    }
    const bool captured = send(d.right ? SMALL_RIGHT_DOWN : SMALL_LEFT_DOWN, d.x0, d.y0) == SMALL_VIEW_CAPTURE;
    for (int k = 1; captured && k <= DRAG_STEPS; k++)
        send(SMALL_MOVE, d.x0 + (d.x1 - d.x0) * k / DRAG_STEPS, d.y0 + (d.y1 - d.y0) * k / DRAG_STEPS);
    send(d.right ? SMALL_RIGHT_UP : SMALL_LEFT_UP, d.x1, d.y1);
}

// The binary's state after the drags: one line for each input and speaker.
std::string describeState(PluginSession* s) {
    std::vector<unsigned char> chunk = sessionSaveState(s);
    SurroundPanner* p = createPanner();
    if (!p) return "";
    loadState(p, chunk.data(), int32_t(chunk.size()));
    std::string out;
    char line[160];
    const PanInput* in = inputRecords(p);
    for (int i = 0; i < inputCount(p); i++) {
        std::snprintf(line, sizeof line, "input %d: x %.4f y %.4f z %.4f%s\n", i + 1, in[i].posX, in[i].posY, in[i].posZ,
                      in[i].selected ? ", selected" : "");
        out += line;
    }
    const PanSpeaker* spk = speakerRecords(p);
    for (int i = 0; i < speakerCount(p); i++) {
        std::snprintf(line, sizeof line, "speaker %d: x %.4f y %.4f z %.4f%s\n", i + 1, spk[i].posX, spk[i].posY,
                      spk[i].posZ, spk[i].lfe ? ", LFE" : spk[i].vacant ? ", vacant" : "");
        out += line;
    }
    destroyPanner(p);
    return out;
}

// The effect's state with the view's choices (mode, selection) made on a core instance, loaded
// back into the effect; that instance is then the one the window's modes paint.
SurroundPanner* sharedState(PluginSession* s, const ViewOptions& o, std::string* error) {
    std::vector<unsigned char> chunk = sessionSaveState(s);
    if (chunk.empty()) {
        *error = o.plugin + ": the plugin gives no state to show";
        return nullptr;
    }
    SurroundPanner* p = createPanner();
    if (!p) {
        *error = "out of memory";
        return nullptr;
    }
    loadState(p, chunk.data(), int32_t(chunk.size()));
    if (o.mode != VIEW_PICTURE_SMALL) p->uiFlags = (p->uiFlags & ~UI_VIEW_MODE_MASK) | uint32_t(o.mode) << UI_VIEW_MODE_SHIFT;
    if (!o.select.empty()) {
        PanInput* in = inputRecords(p);
        for (int i = 0; i < inputCount(p); i++) in[i].selected = 0;
        for (int n : o.select) {
            if (n > inputCount(p)) {
                *error = "--select: the plugin has " + std::to_string(inputCount(p)) + " inputs, no input " + std::to_string(n);
                destroyPanner(p);
                return nullptr;
            }
            in[n - 1].selected = 1;
        }
    }
    void* data = nullptr;
    int32_t size = saveState(p, &data);
    if (size <= 0) {
        *error = "out of memory";
        destroyPanner(p);
        return nullptr;
    }
    sessionLoadState(s, std::vector<unsigned char>(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size));
    return p;
}

// The small view: the binary paints into a host bitmap through the vendor call, as a host does.
bool paintSmall(PluginSession* s, const ViewOptions& o, std::vector<unsigned char>* png, std::string* error) {
    MIRQ_IBitmap* bitmap = hostCreateBitmap(HOST_BITMAP_SYSTEM, o.width, o.height);
    int scale = o.scale == MIRQ_SCALE_ONE ? 0 : o.scale;
    if (!bitmap || !bitmap->extended(MIRQ_EXT_SET_SCALE, &scale)) {
        mirqDestroy(bitmap);
        *error = "out of memory";
        return false;
    }
    int32_t record[16] = {};
    record[6] = o.width;
    record[7] = o.height;
    intptr_t painted = s->effect->dispatcher(s->effect, effVendorSpecific, SMALL_VIEW_CALL, reinterpret_cast<intptr_t>(bitmap),
                                             record, float(SMALL_VIEW_PAINT_MESSAGE));
    if (painted == 1) *png = pngEncodeBitmap(bitmap);
    mirqDestroy(bitmap);
    if (painted != 1) *error = o.plugin + ": the plugin painted no small view";
    return painted == 1;
}

// The window's modes: the core library's paint of the window on the instance that holds the
// binary's state, with the host's services imported by name as the plugin imports them.
bool paintWindow(SurroundPanner* p, const ViewOptions& o, std::vector<unsigned char>* png, std::string* error) {
    RefHost* host = refHostCreate();
    if (!host) {
        *error = "out of memory";
        return false;
    }
    HostApi saved = hostApi;
    refHostImportServices(host);
    ensureScene(p, themeColours);
    if (o.yawGiven || o.pitchGiven) {
        const Camera* orbit = viewCamera(p, PANE_ORBIT);
        if (orbit) setOrbit(p, PANE_ORBIT, o.yawGiven ? o.yaw : orbit->yaw, o.pitchGiven ? o.pitch : orbit->pitch);
    }
    for (const ViewDrag& d : o.drags) playWindowDrag(p, o, d);
    MIRQ_IBitmap* picture = paintWindowBitmap(p, o.width, o.height, o.scale, themeColours);
    if (picture) *png = pngEncodeBitmap(picture);
    releaseRoomView(p);
    releaseLabelFont();
    hostApi = saved;
    refHostDestroy(host);
    if (!picture) *error = "out of memory";
    return picture != nullptr;
}

int fail(const std::string& message) {
    std::fprintf(stderr, "kelvane-host view: %s\n", message.c_str());
    return 2;
}

}  // namespace

bool parseViewOptions(int argc, char** argv, const std::string& defaultPlugin, ViewOptions* o, std::string* output,
                      std::string* error) {
    o->plugin = defaultPlugin;
    auto bad = [&](const std::string& why) {
        *error = why;
        return false;
    };
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        bool takesValue = arg == "--plugin" || arg == "--layout" || arg == "--preset" || arg == "--state" ||
                          arg == "--channels" || arg == "--mode" || arg == "--size" || arg == "--scale" || arg == "--yaw" ||
                          arg == "--pitch" || arg == "--select" || arg == "--drag";
        if (takesValue) {
            if (i + 1 >= argc) return bad("option " + arg + " needs a value");
            std::string v = argv[++i];
            long n = 0;
            if (arg == "--plugin") o->plugin = v;
            else if (arg == "--layout") o->layout = v;
            else if (arg == "--preset") o->preset = v;
            else if (arg == "--state") o->state = v;
            else if (arg == "--channels") {
                if (!channelsFromOption(v, &o->channels, error)) return false;
            } else if (arg == "--mode") {
                int m = -1;
                for (int k = 0; k < 4; k++)
                    if (v == MODE_NAMES[k]) m = k;
                if (m < 0) return bad("--mode: not one of top, sides, orbit, small: '" + v + "'");
                o->mode = m;
            } else if (arg == "--size") {
                size_t x = v.find('x');
                long w = 0, h = 0;
                if (x == std::string::npos || !wholeNumber(v.substr(0, x), 16, VIEW_SIDE_MAX, &w) ||
                    !wholeNumber(v.substr(x + 1), 16, VIEW_SIDE_MAX, &h))
                    return bad("--size: not WIDTHxHEIGHT, each from 16 to " + std::to_string(VIEW_SIDE_MAX) + ": '" + v + "'");
                o->width = int(w), o->height = int(h);
            } else if (arg == "--scale") {
                if (v != "256" && v != "512") return bad("--scale: not 256 or 512: '" + v + "'");
                wholeNumber(v, 256, 512, &n);
                o->scale = int(n);
            } else if (arg == "--yaw") {
                if (!degrees(v, &o->yaw)) return bad("--yaw: not an angle in degrees: '" + v + "'");
                o->yawGiven = true;
            } else if (arg == "--pitch") {
                if (!degrees(v, &o->pitch)) return bad("--pitch: not an angle in degrees: '" + v + "'");
                o->pitchGiven = true;
            } else if (arg == "--drag") {
                ViewDrag d;
                if (!parseDrag(v, &d))
                    return bad("--drag: not X0,Y0:X1,Y1 with keys from shift, ctrl, alt and one of right or double: '" +
                               v + "'");
                o->drags.push_back(d);
            } else if (!inputList(v, &o->select)) {
                return bad("--select: not a list of input numbers from 1 to 128 like 1,3: '" + v + "'");
            }
        } else if (arg == "--print-state") {
            o->printState = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return bad("unknown option '" + arg + "'");
        } else if (output->empty()) {
            *output = arg;
        } else {
            return bad("unexpected argument '" + arg + "'");
        }
    }
    if (output->empty()) return bad("needs the path of the PNG file to write");
    if (int(!o->layout.empty()) + int(!o->preset.empty()) + int(!o->state.empty()) > 1)
        return bad("--layout, --preset and --state exclude each other");
    if ((o->yawGiven || o->pitchGiven) && o->mode != VIEW_PICTURE_ORBIT) return bad("--yaw and --pitch belong to --mode orbit");
    if (o->mode == VIEW_PICTURE_SMALL)
        for (const ViewDrag& d : o->drags)
            if (d.keys) return bad("--drag: the small view reads the keys from the keyboard; shift, ctrl and alt need a window mode");
    if (!folderExists(*output)) return bad(*output + ": the folder does not exist");
    return true;
}

bool renderRoomViewPng(const ViewOptions& o, std::vector<unsigned char>* png, std::string* state, std::string* error) {
    int layoutId = -1;
    std::vector<unsigned char> chunk;
    if (!o.layout.empty() && (layoutId = layoutFromOption(o.layout, error)) < 0) return false;
    if (!o.state.empty() && !readChunkFile(o.state, &chunk, error)) return false;
    PluginSession s{};
    bool ok = sessionOpen(&s, o.plugin.c_str(), o.channels > 0 ? o.channels : 2, "", 48000.0, error);
    if (ok && !chunk.empty()) sessionLoadState(&s, chunk);
    if (ok && layoutId >= 0) ok = sessionApplyLayout(&s, layoutId, error);
    if (ok && !o.preset.empty()) ok = sessionApplyPreset(&s, o.preset, error);
    SurroundPanner* p = ok ? sharedState(&s, o, error) : nullptr;
    const bool small = o.mode == VIEW_PICTURE_SMALL;
    if (p && small)
        for (const ViewDrag& d : o.drags) playSmallDrag(&s, o, d);
    ok = p && (small ? paintSmall(&s, o, png, error) : paintWindow(p, o, png, error));
    // The window's drags edited the core instance; the binary takes its state back.
    if (ok && !small && !o.drags.empty()) {
        void* data = nullptr;
        int32_t size = saveState(p, &data);
        if (size > 0)
            sessionLoadState(&s, std::vector<unsigned char>(static_cast<unsigned char*>(data),
                                                            static_cast<unsigned char*>(data) + size));
    }
    if (ok && o.printState && state) *state = describeState(&s);
    destroyPanner(p);
    sessionClose(&s);
    if (ok && png->empty()) {
        *error = "the picture could not be encoded";
        ok = false;
    }
    return ok;
}

int commandView(int argc, char** argv, const char* defaultPlugin) {
    ViewOptions o;
    std::string output, error;
    if (!parseViewOptions(argc, argv, defaultPlugin, &o, &output, &error)) return fail(error);
    const std::vector<NamedInput> inputs = {{"--plugin", o.plugin}, {"--state", o.state}, {"--preset", o.preset}};
    if (!outputDiffersFromInputs(output, inputs, &error)) return fail(error);
    std::vector<unsigned char> png;
    std::string state;
    if (!renderRoomViewPng(o, &png, &state, &error)) return fail(error);
    if (!writeFileSafely(output, png, &error)) return fail(error);
    std::fputs(state.c_str(), stdout);
    std::printf("wrote %s (%s view, %d by %d, scale %d)\n", output.c_str(), MODE_NAMES[o.mode], o.width, o.height, o.scale);
    return 0;
}
