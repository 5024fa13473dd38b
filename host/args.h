// The command line of every kelvane-host command: options as "--name value" or "--name=value",
// flags, "--" before operands that start with '-', "-" as an operand (standard output or input).
// Parsing only; each command checks the values it takes.
#pragma once

#include <string>
#include <vector>

struct OptionSpec {
    const char* name;  // with the dashes: "--block"
    bool takesValue;
};

struct ParsedOption {
    std::string name;   // with the dashes, as in its OptionSpec
    std::string value;  // empty for a flag
};

struct ParsedArgs {
    std::vector<std::string> positional;
    std::vector<ParsedOption> options;  // in the order given; repeated options repeat
    bool help;                          // --help or -h was given
};

// [main thread] Splits argv by the specs. False with a one-line reason for an unknown option,
// a missing value ("option --block needs a value") or a value given to a flag.
bool parseArgs(int argc, char** argv, const std::vector<OptionSpec>& specs, ParsedArgs* out, std::string* error);
// The last value given for an option, or `fallback`; whether a flag was given.
std::string optionValue(const ParsedArgs& args, const char* name, const std::string& fallback = "");
bool optionGiven(const ParsedArgs& args, const char* name);

// [main thread] The program's arguments as UTF-8. The Windows C runtime hands main its arguments
// in the system code page, which loses every character outside it ("Ωμέγα" arrives as "?????"),
// so there they are read again from the wide command line; elsewhere argv is taken as it is.
std::vector<std::string> utf8Arguments(int argc, char** argv);
