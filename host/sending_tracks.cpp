#include "host/sending_tracks.h"

#include <cstdlib>
#include <fstream>
#include <set>
#include <string>

#include "host/host.h"
#include "platform/ini_text.h"

namespace {

constexpr int TRACK_CHANNELS = 128;
constexpr int EFFECT_PINS = 128;
constexpr int32_t OWN_COLOUR = 0x1000000;

// A number from 1 to limit, written in decimal digits only.
bool countFromOne(const std::string& text, int limit, int* out) {
    if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos) return false;
    int v = std::atoi(text.c_str());
    if (v < 1 || v > limit) return false;
    *out = v;
    return true;
}

bool hexByte(const std::string& text, size_t at, int* out) {
    int v = 0;
    for (size_t i = at; i < at + 2; i++) {
        char c = text[i];
        int d = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
        if (d < 0) return false;
        v = v * 16 + d;
    }
    *out = v;
    return true;
}

// The next word of a line from `at`, blanks and tabs before it skipped; `at` moves past it.
std::string nextWord(const std::string& line, size_t* at) {
    size_t start = line.find_first_not_of(" \t", *at);
    if (start == std::string::npos) return *at = line.size(), "";
    size_t end = line.find_first_of(" \t", start);
    if (end == std::string::npos) end = line.size();
    *at = end;
    return line.substr(start, end - start);
}

// One line of the file; false with the reason.
bool parseChannelLine(const std::string& line, SendingChannel* c, std::string* why) {
    size_t at = 0;
    std::string channel = nextWord(line, &at), pins = nextWord(line, &at), colour = nextWord(line, &at);
    if (colour.empty()) return *why = "not CHANNEL PINS COLOUR NAME", false;
    if (!countFromOne(channel, TRACK_CHANNELS, &c->channel))
        return *why = "'" + channel + "' is no track channel from 1 to 128", false;
    c->channel--;
    for (size_t start = 0; start <= pins.size();) {
        size_t comma = pins.find(',', start);
        if (comma == std::string::npos) comma = pins.size();
        int pin;
        std::string one = pins.substr(start, comma - start);
        if (!countFromOne(one, EFFECT_PINS, &pin)) return *why = "'" + one + "' is no input from 1 to 128", false;
        c->pins.push_back(pin - 1);
        start = comma + 1;
    }
    int r, g, b;
    if (colour == "none") c->colour = 0;
    else if (colour.size() == 7 && colour[0] == '#' && hexByte(colour, 1, &r) && hexByte(colour, 3, &g) && hexByte(colour, 5, &b))
        c->colour = OWN_COLOUR | r | g << 8 | b << 16;
    else return *why = "colour '" + colour + "' is neither #RRGGBB nor none", false;
    // The name: the rest of the line, without the blanks around it.
    size_t first = line.find_first_not_of(" \t", at), last = line.find_last_not_of(" \t");
    c->name = first == std::string::npos ? "" : line.substr(first, last - first + 1);
    return true;
}

const SendingChannel* findChannel(const RefHost* host, int channel) {
    for (const SendingChannel& c : host->sendingChannels)
        if (c.channel == channel) return &c;
    return nullptr;
}

}  // namespace

bool refHostLoadTracks(RefHost* host, const char* path, std::string* error) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return *error = std::string(path) + ": cannot be read", false;
    std::vector<SendingChannel> channels;
    std::set<int> seen;
    std::string line;
    for (int number = 1; std::getline(in, line); number++) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        size_t first = line.find_first_not_of(" \t");
        if (first == std::string::npos || line[first] == '#') continue;
        SendingChannel c{};
        std::string why;
        if (parseChannelLine(line, &c, &why) && !seen.insert(c.channel).second)
            why = "channel " + std::to_string(c.channel + 1) + " is given twice";
        if (!why.empty()) {
            *error = std::string(path) + ":" + std::to_string(number) + ": " + why;
            return false;
        }
        channels.push_back(c);
    }
    host->sendingChannels = channels;
    host->effectHandle = reinterpret_cast<intptr_t>(host);
    host->trackHandle = reinterpret_cast<intptr_t>(host);
    return true;
}

int hostPinMap(void* fx, int isOutput, uint32_t* map, int pinBase, int) {
    const RefHost* host = static_cast<const RefHost*>(fx);
    if (!host || !map || isOutput) return 0;
    for (const SendingChannel& c : host->sendingChannels) {
        int bit = c.channel - pinBase;
        if (bit < 0 || bit >= 32) continue;
        for (int pin : c.pins) map[pin] |= 1u << bit;
    }
    return 1;
}

bool hostReceiveChannelInfo(void* track, int channel, char* name, int size, int* colour) {
    const RefHost* host = static_cast<const RefHost*>(track);
    const SendingChannel* c = host ? findChannel(host, channel) : nullptr;
    if (!c) return false;
    iniCopyValue(c->name.c_str(), name, size);
    if (colour) *colour = c->colour;
    return true;
}
