// Any text into the parameter parser and the named-value writes: the first byte picks the
// parameter and the name, the rest is the text. Nothing may crash or read out of bounds, and the
// effect must still answer afterwards.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz_host.h"
#include "shell/entry.h"
#include "shell/panner.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    hostCallback = fuzzHostCallback;
    SurroundPanner* p = createPanner();
    if (!p) return 0;
    AEffect* e = &p->effect;
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    int index = data[0] % (e->numParams + 2) - 1;  // one index below and one past the list too

    // The text as a parameter's display text, replaced by the value it parses to.
    char buffer[512] = {};
    text.copy(buffer, sizeof buffer - 1);
    e->dispatcher(e, effVendorSpecific, 27, index, buffer, 0.0f);
    e->setParameter(e, index, float(std::atof(buffer)));

    // The text as a named value.
    static const char* const NAMES[] = {"NUMCHANNELS", "NUMSPEAKERS", "RESETCHANNELS", "OTHER"};
    const char* name = NAMES[data[0] >> 6];
    e->dispatcher(e, effVendorSpecific, 0x18, reinterpret_cast<intptr_t>(name), const_cast<char*>(text.c_str()), 0.0f);
    e->dispatcher(e, effIdle, 0, 0, nullptr, 0.0f);
    char read[64];
    e->dispatcher(e, effVendorSpecific, 0x17, reinterpret_cast<intptr_t>(name), read, float(sizeof read));
    if (e->numParams < 9 + 6 + 3) std::abort();  // at least one input and one speaker remain
    e->dispatcher(e, effClose, 0, 0, nullptr, 0.0f);
    return 0;
}
