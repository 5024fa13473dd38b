#include "host/session.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>

#include "engine/instance.h"
#include "engine/records.h"
#include "layouts/layouts.h"
#include "layouts/presets.h"
#include "shell/state_chunk.h"

// Vendor calls of the effect's named values.
constexpr int32_t VENDOR_READ_NAMED = 23;
constexpr int32_t VENDOR_WRITE_NAMED = 24;
constexpr int32_t VENDOR_TEXT_TO_VALUE = 27;
constexpr intptr_t VENDOR_ANSWER_KNOWN = 0xF00D;
constexpr intptr_t VENDOR_ANSWER_DONE = 0xBEEF;

bool sessionOpen(PluginSession* s, const char* pluginPath, int channels, const char* iniPath, double sampleRate,
                 std::string* error) {
    s->host = nullptr;
    s->effect = nullptr;
    if (!pluginLibraryOpen(&s->library, pluginPath)) {
        *error = s->library.error;
        return false;
    }
    s->host = refHostCreate();
    if (!s->host) {
        *error = "too many hosts in one process";
        sessionClose(s);
        return false;
    }
    s->host->channelCount = channels;
    s->host->iniPath = iniPath ? iniPath : "";
    s->host->sampleRate = sampleRate;
    s->effect = s->library.main(refHostCallback(s->host));
    if (!s->effect) {
        *error = std::string(pluginPath) + ": VSTPluginMain returned no effect";
        sessionClose(s);
        return false;
    }
    s->effect->dispatcher(s->effect, effOpen, 0, 0, nullptr, 0.0f);
    s->effect->dispatcher(s->effect, effSetSampleRate, 0, 0, nullptr, float(sampleRate));
    // The longest block the host's commands hand over; plugins size their work buffers by it.
    s->effect->dispatcher(s->effect, effSetBlockSize, 0, SESSION_MAX_BLOCK, nullptr, 0.0f);
    s->effect->dispatcher(s->effect, effMainsChanged, 0, 1, nullptr, 0.0f);
    return true;
}

void sessionClose(PluginSession* s) {
    if (s->effect) s->effect->dispatcher(s->effect, effClose, 0, 0, nullptr, 0.0f);
    s->effect = nullptr;
    refHostDestroy(s->host);
    s->host = nullptr;
    pluginLibraryClose(&s->library);
}

static int readNamedCount(PluginSession* s, const char* name, int fallback) {
    char text[64] = {0};
    intptr_t answer = s->effect->dispatcher(s->effect, effVendorSpecific, VENDOR_READ_NAMED,
                                            reinterpret_cast<intptr_t>(name), text, float(sizeof text));
    if (answer != VENDOR_ANSWER_KNOWN) return fallback;
    return std::atoi(text);
}

int sessionInputCount(PluginSession* s) { return readNamedCount(s, "NUMCHANNELS", s->effect->numInputs); }
int sessionSpeakerCount(PluginSession* s) { return readNamedCount(s, "NUMSPEAKERS", s->effect->numOutputs); }

void sessionWriteNamed(PluginSession* s, const char* name, const std::string& text) {
    std::string buffer = text;
    s->effect->dispatcher(s->effect, effVendorSpecific, VENDOR_WRITE_NAMED, reinterpret_cast<intptr_t>(name),
                          buffer.data(), 0.0f);
    s->effect->dispatcher(s->effect, effIdle, 0, 0, nullptr, 0.0f);
}

std::string sessionParameterName(PluginSession* s, int index) {
    char name[256] = {0};
    s->effect->dispatcher(s->effect, effGetParamName, index, 0, name, 0.0f);
    return name;
}

int sessionFindParameter(PluginSession* s, const std::string& name) {
    for (int i = 0; i < s->effect->numParams; i++)
        if (sessionParameterName(s, i) == name) return i;
    return -1;
}

bool sessionSetFromText(PluginSession* s, int index, const std::string& text) {
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
    intptr_t answer = s->effect->dispatcher(s->effect, effVendorSpecific, VENDOR_TEXT_TO_VALUE, index, buffer, 0.0f);
    if (answer != VENDOR_ANSWER_DONE) return false;
    s->effect->setParameter(s->effect, index, float(std::strtod(buffer, nullptr)));
    return true;
}

bool sessionSpeaksProtocol(PluginSession* s) {
    char text[64] = {0};
    return s->effect->dispatcher(s->effect, effVendorSpecific, VENDOR_READ_NAMED,
                                 reinterpret_cast<intptr_t>("NUMCHANNELS"), text, float(sizeof text)) == VENDOR_ANSWER_KNOWN;
}

namespace {

constexpr int32_t VENDOR_VALUE_TO_TEXT = 7;

std::string trimmed(const std::string& text) {
    size_t a = text.find_first_not_of(" \t"), b = text.find_last_not_of(" \t");
    return a == std::string::npos ? "" : text.substr(a, b - a + 1);
}

// A whole text that is one number; false for anything else ("50abc", "", "1e").
bool wholeNumber(const std::string& text, double* out) {
    if (text.empty()) return false;
    char* end = nullptr;
    *out = std::strtod(text.c_str(), &end);
    return *end == 0;
}

// The number of decimals a display text shows ("12.5" -> 1).
int decimalsShown(const std::string& text) {
    size_t dot = text.find('.');
    return dot == std::string::npos ? 0 : int(text.size() - dot - 1);
}

}  // namespace

bool sessionValueFromText(PluginSession* s, int index, const std::string& given, float* value, std::string* why) {
    AEffect* e = s->effect;
    std::string text = trimmed(given);
    double number = 0.0;
    if (text.empty()) {
        *why = "empty value";
        return false;
    }
    if (!sessionSpeaksProtocol(s)) {
        if (!wholeNumber(text, &number) || !(number >= 0.0 && number <= 1.0)) {
            *why = "'" + text + "': the plugin reads no value texts; expected a number from 0 to 1";
            return false;
        }
        *value = float(number);
        return true;
    }
    auto display = [&](double v) {
        char shown[256] = {0};
        e->dispatcher(e, effVendorSpecific, VENDOR_VALUE_TO_TEXT, index, shown, float(v));
        return trimmed(shown);
    };
    std::string low = display(0.0), high = display(1.0);
    double ignored = 0.0;
    const bool numericRange = wholeNumber(high, &ignored);
    std::string range = numericRange ? low + " to " + high : "'" + low + "' or '" + high + "'";
    // A number may carry the parameter's unit.
    char label[256] = {0};
    e->dispatcher(e, effGetParamLabel, index, 0, label, 0.0f);
    std::string unit = trimmed(label), bare = text;
    if (!unit.empty() && bare.size() > unit.size() &&
        strcasecmp(bare.c_str() + bare.size() - unit.size(), unit.c_str()) == 0)
        bare = trimmed(bare.substr(0, bare.size() - unit.size()));
    bool numeric = wholeNumber(bare, &number);
    if (numeric && !std::isfinite(number)) {
        *why = "'" + text + "': not a finite number";
        return false;
    }
    char buffer[256];
    std::snprintf(buffer, sizeof buffer, "%s", numeric ? bare.c_str() : text.c_str());
    if (e->dispatcher(e, effVendorSpecific, VENDOR_TEXT_TO_VALUE, index, buffer, 0.0f) != VENDOR_ANSWER_DONE) {
        *why = "the plugin does not read '" + text + "'";
        return false;
    }
    double v = std::strtod(buffer, nullptr);
    if (!(v >= 0.0 && v <= 1.0)) {
        *why = "'" + text + "' is out of range (" + range + ")";  // a text the display would clamp
        return false;
    }
    // The display of the value read must show what was given: a word as it is, a number within
    // the display's rounding. A clamped number shows another; a misread word shows another.
    std::string shown = display(v);
    double shownNumber = 0.0;
    bool same = strcasecmp(shown.c_str(), text.c_str()) == 0;
    if (!same && numeric && wholeNumber(shown, &shownNumber))
        same = std::fabs(shownNumber - number) <= 0.5 * std::pow(10.0, -decimalsShown(shown)) + 1e-9 * std::fabs(number);
    if (!same && numeric && shown == "-inf" && number < 0.0) same = true;
    if (!same) {
        *why = numeric && numericRange ? "'" + text + "' is out of range (" + range + ")"
                                       : "'" + text + "' is not a value of this parameter (" + range + ")";
        return false;
    }
    *value = float(v);
    return true;
}

std::vector<unsigned char> sessionSaveState(PluginSession* s) {
    void* data = nullptr;
    intptr_t size = s->effect->dispatcher(s->effect, effGetChunk, 0, 0, &data, 0.0f);
    if (!data || size <= 0) return {};
    const unsigned char* b = static_cast<const unsigned char*>(data);
    return std::vector<unsigned char>(b, b + size);
}

void sessionLoadState(PluginSession* s, const std::vector<unsigned char>& chunk) {
    s->effect->dispatcher(s->effect, effSetChunk, 0, intptr_t(chunk.size()),
                          const_cast<unsigned char*>(chunk.data()), 0.0f);
}

bool readWholeFile(const std::string& path, std::vector<unsigned char>* out, std::string* error) {
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        *error = path + ": cannot open: " + std::strerror(errno);
        return false;
    }
    out->clear();
    unsigned char chunk[65536];
    size_t n;
    while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) out->insert(out->end(), chunk, chunk + n);
    bool ok = !std::ferror(f);
    std::fclose(f);
    if (!ok) *error = path + ": read error";
    return ok;
}

bool readChunkFile(const std::string& path, std::vector<unsigned char>* chunk, std::string* error) {
    if (!readWholeFile(path, chunk, error)) return false;
    StateChunkShape shape = stateChunkShape(chunk->data(), int32_t(chunk->size()));
    // Versions below 3 carry nothing, and a version in the thousands is text or noise.
    constexpr size_t HEAD_BYTES = 56;
    if (shape.version < 3 || shape.version > 255 || chunk->size() < HEAD_BYTES) {
        *error = path + ": not a state chunk";
        return false;
    }
    if (!shape.complete) {
        *error = path + ": damaged state chunk (version " + std::to_string(shape.version) + ", " +
                 std::to_string(shape.inputs) + " inputs, " + std::to_string(shape.speakers) +
                 " speakers: the records do not fit the " + std::to_string(chunk->size()) + " bytes)";
        return false;
    }
    return true;
}

bool folderExists(const std::string& path) {
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    std::error_code ec;
    return std::filesystem::is_directory(folder, ec);
}

// The effect's state, changed by `edit` on a bare instance of the core library, loaded back
// into the effect as a chunk. `edit` returns "" when it did its work, else the reason.
static bool composeState(PluginSession* s, const std::function<std::string(SurroundPanner*)>& edit,
                         std::string* error) {
    std::vector<unsigned char> chunk = sessionSaveState(s);
    if (chunk.empty()) {
        *error = "the plugin gives no state to change";
        return false;
    }
    SurroundPanner* p = instanceCreate();
    if (!p) {
        *error = "out of memory";
        return false;
    }
    loadState(p, chunk.data(), int32_t(chunk.size()));
    std::string problem = edit(p);
    void* data = nullptr;
    int32_t size = problem.empty() ? saveState(p, &data) : 0;
    std::vector<unsigned char> composed(static_cast<unsigned char*>(data), static_cast<unsigned char*>(data) + size);
    instanceDestroy(p);
    if (composed.empty()) {
        *error = problem.empty() ? "out of memory" : problem;
        return false;
    }
    sessionLoadState(s, composed);
    return true;
}

bool sessionApplyLayout(PluginSession* s, int layoutId, std::string* error) {
    return composeState(
        s,
        [&](SurroundPanner* p) {
            return applyLayout(p, layoutId) == layoutId ? "" : "layout " + std::to_string(layoutId) + " could not be applied";
        },
        error);
}

bool sessionApplyPreset(PluginSession* s, const std::string& path, std::string* error) {
    std::vector<unsigned char> bytes;
    if (!readWholeFile(path, &bytes, error)) return false;
    return composeState(
        s, [&](SurroundPanner* p) { return loadPresetFile(p, path.c_str()) ? "" : path + ": no speaker line in the preset"; },
        error);
}

bool sessionSpeakers(PluginSession* s, int* layoutId, int* family, std::vector<SpeakerInfo>* speakers) {
    std::vector<unsigned char> chunk = sessionSaveState(s);
    SurroundPanner* p = chunk.empty() ? nullptr : instanceCreate();
    if (!p) return false;
    loadState(p, chunk.data(), int32_t(chunk.size()));
    *layoutId = p->layoutId;
    *family = p->layoutFamily;
    const LayoutRow* row = p->layoutId > 0 ? layoutRow(p->layoutId) : nullptr;
    speakers->clear();
    for (int i = 0; i < speakerCount(p); i++) {
        const PanSpeaker& spk = speakerRecords(p)[i];
        int slot = row && i < row->count ? row->slots[i] : -1;
        speakers->push_back(SpeakerInfo{slot, spk.lfe != 0, spk.name});
    }
    instanceDestroy(p);
    return true;
}

bool sessionPlaceInputs(PluginSession* s, const std::vector<int>& speakerOf, std::string* error) {
    return composeState(
        s,
        [&](SurroundPanner* p) -> std::string {
            for (int i = 0; i < inputCount(p) && i < int(speakerOf.size()); i++) {
                int k = speakerOf[size_t(i)];
                if (k < 0 || k >= speakerCount(p)) continue;
                const PanSpeaker& spk = speakerRecords(p)[k];
                PanInput& in = inputRecords(p)[i];
                in.posX = spk.posX;
                in.posY = spk.posY;
                in.posZ = spk.posZ;
                if (!spk.lfe) continue;
                if (i != 3) return "input " + std::to_string(i + 1) + " is an LFE channel; only input 4 can feed the LFE speaker";
                p->channelOptions |= CHANNEL_OPTION_LFE_INPUT;
                in.lfeSend = 1.0;
            }
            return "";
        },
        error);
}

std::vector<std::string> sessionInputPlaces(PluginSession* s) {
    std::vector<unsigned char> chunk = sessionSaveState(s);
    SurroundPanner* p = chunk.empty() ? nullptr : instanceCreate();
    if (!p) return {};
    loadState(p, chunk.data(), int32_t(chunk.size()));
    std::vector<std::string> places;
    for (int i = 0; i < inputCount(p); i++) {
        const PanInput& in = inputRecords(p)[i];
        std::string place;
        if (i == 3 && (p->channelOptions & CHANNEL_OPTION_LFE_INPUT)) place = "LFE";
        for (int k = 0; k < speakerCount(p) && place.empty(); k++) {
            const PanSpeaker& spk = speakerRecords(p)[k];
            if (!spk.lfe && std::fabs(spk.posX - in.posX) < 1e-6 && std::fabs(spk.posY - in.posY) < 1e-6 &&
                std::fabs(spk.posZ - in.posZ) < 1e-6)
                place = spk.name;
        }
        if (place.empty()) {
            char at[96];
            std::snprintf(at, sizeof at, "(%.2f %.2f %.2f)", in.posX, in.posY, in.posZ);
            place = at;
        }
        places.push_back(place);
    }
    instanceDestroy(p);
    return places;
}

namespace {

std::string lowered(const std::string& text) {
    std::string out = text;
    for (char& c : out) c = char(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<size_t> row(b.size() + 1);
    for (size_t j = 0; j <= b.size(); j++) row[j] = j;
    for (size_t i = 1; i <= a.size(); i++) {
        size_t diagonal = row[0];
        row[0] = i;
        for (size_t j = 1; j <= b.size(); j++) {
            size_t above = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonal = above;
        }
    }
    return row[b.size()];
}

}  // namespace

int findLayoutByName(const std::string& name, std::string* closest) {
    std::string wanted = lowered(name);
    std::vector<const LayoutRow*> prefixed;
    for (int i = 0; i < LAYOUT_COUNT; i++) {
        const LayoutRow& row = LAYOUT_TABLE[i];
        if (row.id == 0) continue;
        std::string candidate = lowered(row.name);
        if (candidate == wanted) return row.id;
        if (!wanted.empty() && candidate.compare(0, wanted.size(), wanted) == 0) prefixed.push_back(&row);
    }
    if (prefixed.size() == 1) return prefixed[0]->id;
    // Ambiguous: the names it starts; unknown: the three nearest by edit distance.
    std::vector<std::pair<size_t, const char*>> ranked;
    if (!prefixed.empty()) {
        for (const LayoutRow* row : prefixed) ranked.push_back({0, row->name});
    } else {
        for (int i = 0; i < LAYOUT_COUNT; i++)
            if (LAYOUT_TABLE[i].id != 0)
                ranked.push_back({editDistance(wanted, lowered(LAYOUT_TABLE[i].name)), LAYOUT_TABLE[i].name});
        std::stable_sort(ranked.begin(), ranked.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        if (ranked.size() > 3) ranked.resize(3);
    }
    closest->clear();
    for (const auto& entry : ranked) *closest += (closest->empty() ? "\"" : ", \"") + std::string(entry.second) + "\"";
    return prefixed.empty() ? -1 : LAYOUT_NAME_AMBIGUOUS;
}

int layoutFromOption(const std::string& name, std::string* error) {
    if (name.empty()) {
        *error = "--layout: empty layout name (kelvane-host layouts lists them)";
        return -1;
    }
    std::string closest;
    int id = findLayoutByName(name, &closest);
    if (id == LAYOUT_NAME_AMBIGUOUS) *error = "--layout '" + name + "': more than one layout starts so: " + closest;
    else if (id < 0) *error = "--layout '" + name + "': no such layout; nearest: " + closest;
    return id < 0 ? -1 : id;
}

bool channelsFromOption(const std::string& text, int* channels, std::string* error) {
    char* end = nullptr;
    long n = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end || n < 1 || n > 128) {
        *error = "--channels '" + text + "': expected 1 to 128";
        return false;
    }
    *channels = int(n);
    return true;
}
