#include "engine/instance.h"

#include <atomic>

void markInputDirty(SurroundPanner* p, int input) {
    if (input < 0 || input >= 128) return;
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[input >> 6]).fetch_or(uint64_t(1) << (input & 63));
}

void markAllInputsDirty(SurroundPanner* p) {
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[0]).store(~uint64_t(0));
    std::atomic_ref<uint64_t>(p->gainsDirtyInputs[1]).store(~uint64_t(0));
}
