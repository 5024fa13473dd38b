#include "host/args.h"

#if defined(_WIN32)
#include <windows.h>
#include <shellapi.h>
#endif

bool parseArgs(int argc, char** argv, const std::vector<OptionSpec>& specs, ParsedArgs* out, std::string* error) {
    out->positional.clear();
    out->options.clear();
    out->help = false;
    bool operandsOnly = false;
    for (int i = 0; i < argc; i++) {
        std::string arg = argv[i];
        if (operandsOnly || arg.size() < 2 || arg[0] != '-') {
            out->positional.push_back(arg);
            continue;
        }
        if (arg == "--") {
            operandsOnly = true;
            continue;
        }
        if (arg == "--help" || arg == "-h") {
            out->help = true;
            continue;
        }
        size_t eq = arg.find('=');
        std::string name = arg.substr(0, eq);
        const OptionSpec* spec = nullptr;
        for (const OptionSpec& s : specs)
            if (name == s.name) spec = &s;
        if (!spec) {
            *error = "unknown option '" + name + "'";
            return false;
        }
        ParsedOption option{name, ""};
        if (!spec->takesValue && eq != std::string::npos) {
            *error = "option " + name + " takes no value";
            return false;
        }
        if (spec->takesValue) {
            if (eq != std::string::npos) option.value = arg.substr(eq + 1);
            else if (i + 1 < argc) option.value = argv[++i];
            else {
                *error = "option " + name + " needs a value";
                return false;
            }
        }
        out->options.push_back(option);
    }
    return true;
}

std::string optionValue(const ParsedArgs& args, const char* name, const std::string& fallback) {
    std::string value = fallback;
    for (const ParsedOption& o : args.options)
        if (o.name == name) value = o.value;
    return value;
}

bool optionGiven(const ParsedArgs& args, const char* name) {
    for (const ParsedOption& o : args.options)
        if (o.name == name) return true;
    return false;
}

std::vector<std::string> utf8Arguments(int argc, char** argv) {
    std::vector<std::string> out;
#if defined(_WIN32)
    int count = 0;
    if (wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count)) {
        for (int i = 0; i < count; i++) {
            int n = WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, nullptr, 0, nullptr, nullptr);
            std::string arg(size_t(n > 0 ? n : 1), '\0');
            if (n > 0) WideCharToMultiByte(CP_UTF8, 0, wide[i], -1, &arg[0], n, nullptr, nullptr);
            arg.resize(arg.size() - 1);
            out.push_back(arg);
        }
        LocalFree(wide);
        if (count == argc) return out;
        out.clear();  // a command line the runtime split otherwise: keep the runtime's reading
    }
#endif
    for (int i = 0; i < argc; i++) out.push_back(argv[i]);
    return out;
}
