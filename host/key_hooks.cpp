#include "host/key_hooks.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "foundation/host_api.h"

namespace {

// Process-wide, as in a DAW: the hooks of every plugin of every window.
std::vector<HostAccelerator*>& keptHooks() {
    static std::vector<HostAccelerator*> hooks;
    return hooks;
}

}  // namespace

int hostPluginRegister(const char* name, void* record) {
    if (!name || !record) return 0;
    std::vector<HostAccelerator*>& hooks = keptHooks();
    HostAccelerator* hook = static_cast<HostAccelerator*>(record);
    auto found = std::find(hooks.begin(), hooks.end(), hook);
    if (std::strcmp(name, "<accelerator") == 0) {
        if (found != hooks.end()) return 0;
        hooks.push_back(hook);
        return 1;
    }
    if (std::strcmp(name, "-accelerator") == 0) {
        if (found == hooks.end()) return 0;
        hooks.erase(found);
        return 1;
    }
    return 0;
}

int hostTranslateMessage(void* message) {
    // A hook may let itself go while it answers: the loop walks a copy.
    std::vector<HostAccelerator*> hooks = keptHooks();
    for (auto it = hooks.rbegin(); it != hooks.rend(); ++it) {
        if (!(*it)->translate) continue;
        int answer = (*it)->translate(message, *it);
        if (answer) return answer;
    }
    return 0;
}

int hostKeyHookCount() { return int(keptHooks().size()); }
