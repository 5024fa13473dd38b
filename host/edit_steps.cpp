#include "host/edit_steps.h"

#include <cerrno>
#include <cstdlib>

namespace {

// The messages a step may name, with their Win32 values.
struct MessageName {
    const char* name;
    uint32_t value;
};
const MessageName MESSAGE_NAMES[] = {
    {"WM_SETFOCUS", 0x0007},
    {"WM_KEYDOWN", 0x0100},
    {"WM_KEYUP", 0x0101},
    {"WM_CHAR", 0x0102},
    {"WM_COMMAND", 0x0111},
    {"WM_TIMER", 0x0113},
    {"WM_HSCROLL", 0x0114},
    {"WM_VSCROLL", 0x0115},
    {"WM_MOUSEMOVE", 0x0200},
    {"WM_LBUTTONDOWN", 0x0201},
    {"WM_LBUTTONUP", 0x0202},
    {"WM_LBUTTONDBLCLK", 0x0203},
    {"WM_RBUTTONDOWN", 0x0204},
    {"WM_RBUTTONUP", 0x0205},
    {"BM_CLICK", 0x00F5},
    {"CB_SETCURSEL", 0x014E},
};

// A whole number in decimal or 0x hex, with an optional sign, inside [lo, hi].
bool wholeNumber(const std::string& text, long long lo, long long hi, long long* out) {
    if (text.empty()) return false;
    const char* s = text.c_str();
    bool negative = *s == '-';
    const char* digits = (*s == '-' || *s == '+') ? s + 1 : s;
    int base = (digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) ? 16 : 10;
    if (base == 16) digits += 2;
    if (!*digits || *digits == '-' || *digits == '+' || *digits == ' ') return false;
    char* end = nullptr;
    errno = 0;
    unsigned long long magnitude = std::strtoull(digits, &end, base);
    if (*end || errno == ERANGE || magnitude > (1ull << 63)) return false;
    long long value = negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude);
    if (!negative && magnitude == (1ull << 63)) return false;
    if (value < lo || value > hi) return false;
    *out = value;
    return true;
}

bool controlId(const std::string& text, int32_t* id) {
    long long v;
    if (!wholeNumber(text, 0, 65535, &v)) return false;
    *id = int32_t(v);
    return true;
}

// "ID=VALUE" split at the first '='.
bool splitAssignment(const std::string& text, std::string* left, std::string* right) {
    size_t eq = text.find('=');
    if (eq == std::string::npos) return false;
    *left = text.substr(0, eq);
    *right = text.substr(eq + 1);
    return true;
}

bool parseSend(const std::string& value, EditStep* step, std::string* why) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t colon; (colon = value.find(':', start)) != std::string::npos; start = colon + 1)
        parts.push_back(value.substr(start, colon - start));
    parts.push_back(value.substr(start));
    if (parts.size() != 4) return *why = "not ID:MESSAGE:WPARAM:LPARAM", false;
    if (!controlId(parts[0], &step->control)) return *why = "no control id 0 to 65535: '" + parts[0] + "'", false;
    if (!editMessageFromText(parts[1], &step->message)) return *why = "no message: '" + parts[1] + "'", false;
    const long long lo = INTPTR_MIN, hi = INTPTR_MAX;
    long long w, l;
    if (!wholeNumber(parts[2], lo, hi, &w)) return *why = "WPARAM is no whole number: '" + parts[2] + "'", false;
    if (!wholeNumber(parts[3], lo, hi, &l)) return *why = "LPARAM is no whole number: '" + parts[3] + "'", false;
    step->wParam = intptr_t(w);
    step->lParam = intptr_t(l);
    return true;
}

// "N/N/N": a position in the menu, then in the submenu of that item, and so on.
bool parsePick(const std::string& value, EditStep* step, std::string* why) {
    size_t start = 0;
    for (;;) {
        size_t slash = value.find('/', start);
        std::string part = value.substr(start, slash == std::string::npos ? std::string::npos : slash - start);
        long long v;
        if (!wholeNumber(part, 0, 999, &v)) return *why = "not a menu position from 0 to 999: '" + part + "'", false;
        step->path.push_back(int(v));
        if (slash == std::string::npos) break;
        start = slash + 1;
    }
    if (step->path.size() > 3) return *why = "more than three menu levels", false;
    return true;
}

// "input:N=TEXT" or "speaker:N=TEXT", N counting the strips from 1.
bool parseRename(const std::string& value, EditStep* step, std::string* why) {
    std::string strip, channel;
    if (!splitAssignment(value, &strip, &step->text)) return *why = "not input:N=TEXT or speaker:N=TEXT", false;
    size_t colon = strip.find(':');
    std::string side = strip.substr(0, colon);
    if (colon == std::string::npos || (side != "input" && side != "speaker"))
        return *why = "not input:N=TEXT or speaker:N=TEXT", false;
    long long v;
    channel = strip.substr(colon + 1);
    if (!wholeNumber(channel, 1, 128, &v)) return *why = "no channel from 1 to 128: '" + channel + "'", false;
    step->speaker = side == "speaker";
    step->number = int32_t(v - 1);
    return true;
}

bool parseStep(const ParsedOption& o, EditStep* step, std::string* why) {
    std::string left, right;
    long long v;
    if (o.name == "--send") {
        step->kind = EDIT_STEP_SEND;
        return parseSend(o.value, step, why);
    }
    if (o.name == "--click") {
        step->kind = EDIT_STEP_CLICK;
        return controlId(o.value, &step->control) || (*why = "no control id 0 to 65535", false);
    }
    if (o.name == "--pick") {
        step->kind = EDIT_STEP_PICK;
        return parsePick(o.value, step, why);
    }
    if (o.name == "--rename-strip") {
        step->kind = EDIT_STEP_RENAME;
        return parseRename(o.value, step, why);
    }
    if (o.name == "--wait") {
        step->kind = EDIT_STEP_WAIT;
        if (!wholeNumber(o.value, 0, EDIT_WAIT_MAX_MS, &v)) return *why = "not a time from 0 to 600000 ms", false;
        step->number = int32_t(v);
        return true;
    }
    if (!splitAssignment(o.value, &left, &right)) return *why = "not ID=VALUE", false;
    if (!controlId(left, &step->control)) return *why = "no control id 0 to 65535: '" + left + "'", false;
    if (o.name == "--type") {
        step->kind = EDIT_STEP_TYPE;
        step->text = right;
        return true;
    }
    if (o.name == "--select") {
        step->kind = EDIT_STEP_SELECT;
        if (!wholeNumber(right, 0, 65535, &v)) return *why = "not a list position from 0: '" + right + "'", false;
        step->number = int32_t(v);
        return true;
    }
    step->kind = EDIT_STEP_FADER;
    if (!wholeNumber(right, 0, 1000, &v)) return *why = "not a fader position from 0 to 1000: '" + right + "'", false;
    step->number = int32_t(v);
    return true;
}

}  // namespace

const std::vector<OptionSpec> EDIT_STEP_OPTIONS = {
    {"--send", true}, {"--type", true},  {"--click", true}, {"--select", true},
    {"--fader", true}, {"--wait", true}, {"--pick", true},  {"--rename-strip", true},
};

bool editMessageFromText(const std::string& text, uint32_t* message) {
    for (const MessageName& m : MESSAGE_NAMES)
        if (text == m.name) return *message = m.value, true;
    long long v;
    if (!wholeNumber(text, 0, 0xFFFFFFFFll, &v)) return false;
    *message = uint32_t(v);
    return true;
}

bool parseEditSteps(const ParsedArgs& args, std::vector<EditStep>* steps, std::string* error) {
    steps->clear();
    for (const ParsedOption& o : args.options) {
        bool isStep = false;
        for (const OptionSpec& s : EDIT_STEP_OPTIONS) isStep |= o.name == s.name;
        if (!isStep) continue;
        EditStep step{};
        step.option = o.name + " " + o.value;
        std::string why;
        if (!parseStep(o, &step, &why)) {
            *error = o.name + " " + o.value + ": " + why;
            return false;
        }
        steps->push_back(step);
    }
    return true;
}
