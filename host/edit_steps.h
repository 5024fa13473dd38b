// The steps kelvane-host edit plays on an open editor, one per option, in the order given: a
// message to a control, typing into an edit, a click, a list choice, a fader drag, a pause, the
// choice of an item in the next popup menu, a channel name edited in place.
// Parsing is portable and checked before anything opens; the Windows command plays them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/args.h"

enum EditStepKind : uint8_t {
    EDIT_STEP_SEND,    // --send ID:MESSAGE:WPARAM:LPARAM
    EDIT_STEP_TYPE,    // --type ID=TEXT
    EDIT_STEP_CLICK,   // --click ID
    EDIT_STEP_SELECT,  // --select ID=INDEX
    EDIT_STEP_FADER,   // --fader ID=POSITION
    EDIT_STEP_WAIT,    // --wait MS
    EDIT_STEP_PICK,    // --pick N[/N...]
    EDIT_STEP_RENAME,  // --rename-strip input:N=TEXT or speaker:N=TEXT
};

struct EditStep {
    EditStepKind kind;
    int32_t control;  // control id; 0 is the dialog itself
    uint32_t message;
    intptr_t wParam;
    intptr_t lParam;
    int32_t number;    // the list index, fader position or milliseconds; the channel from 0
    std::string text;  // what --type types, the name --rename-strip gives; UTF-8
    std::vector<int> path;  // --pick: the item's position in the menu, then in its submenu
    bool speaker;           // --rename-strip: a speaker's name, else an input's
    std::string option;  // the option as given, for messages: "--click 1288"
};

// The step options, for the command's parser, and the longest pause one step may ask for.
extern const std::vector<OptionSpec> EDIT_STEP_OPTIONS;
constexpr int EDIT_WAIT_MAX_MS = 600000;

// [main thread] The steps among the parsed options, in their order. False with a one-line reason
// naming the option for the first that does not parse: a control id outside 0..65535, a message
// that is neither a number nor a known name (WM_COMMAND, WM_HSCROLL, BM_CLICK, ...), a number
// that does not fit, a missing '=' or ':' part, a menu position outside 0..999 or more than
// three levels deep, a strip that is neither input:N nor speaker:N with N from 1 to 128.
bool parseEditSteps(const ParsedArgs& args, std::vector<EditStep>* steps, std::string* error);

// [any thread] A message by its Win32 name or as a number (decimal or 0x hex); false when neither.
bool editMessageFromText(const std::string& text, uint32_t* message);
