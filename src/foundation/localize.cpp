#include "foundation/localize.h"

#include <cstdint>
#include <cstring>

#include "foundation/grow_buffer.h"
#include "foundation/host_api.h"
#include "platform/platform.h"

namespace {

struct CacheEntry {
    const char* text;
    const char* section;
    const char* result;
};

// The process-wide cache: entries sorted by the two pointers, guarded by its own lock.
struct TranslationCache {
    RecursiveLock lock;
    GrowBuffer entries;
    TranslationCache() {
        lockInit(&lock);
        growBufferInit(&entries);
    }
    ~TranslationCache() {
        growBufferFree(&entries);
        lockDestroy(&lock);
    }
};

TranslationCache& cache() {
    static TranslationCache instance;  // made on first use, gone at process exit
    return instance;
}

bool before(const CacheEntry& e, const char* text, const char* section) {
    uintptr_t a = reinterpret_cast<uintptr_t>(e.text), b = reinterpret_cast<uintptr_t>(text);
    if (a != b) return a < b;
    return reinterpret_cast<uintptr_t>(e.section) < reinterpret_cast<uintptr_t>(section);
}

int findEntry(const TranslationCache& c, const char* text, const char* section, bool* found) {
    const CacheEntry* list = growItems<CacheEntry>(c.entries);
    int lo = 0, hi = growCount<CacheEntry>(c.entries);
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (before(list[mid], text, section)) lo = mid + 1;
        else hi = mid;
    }
    *found = lo < growCount<CacheEntry>(c.entries) && list[lo].text == text && list[lo].section == section;
    return lo;
}

}  // namespace

const char* localize(const char* text, const char* section, int flags) {
    // Without the host's function there is nothing to translate.
    if (!text || !hostApi.__localizeFunc) return text;
    TranslationCache& c = cache();
    bool transient = flags & LOCALIZE_TRANSIENT;
    // A cached answer.
    if (!transient) {
        LockHold hold(&c.lock);
        bool found;
        int at = findEntry(c, text, section, &found);
        if (found && growItems<CacheEntry>(c.entries)[at].result) return growItems<CacheEntry>(c.entries)[at].result;
    }
    // The host, outside the lock.
    const char* answer = hostApi.__localizeFunc(text, section, flags | LOCALIZE_TRANSIENT);
    if (!answer) answer = text;
    // Transient texts, and a host without a language pack, leave the cache alone.
    if (transient) return answer;
    LockHold hold(&c.lock);
    if (answer == text && growCount<CacheEntry>(c.entries) == 0) return answer;
    // Stored in place, or updated if another thread came first.
    bool found;
    int at = findEntry(c, text, section, &found);
    if (found) {
        growItems<CacheEntry>(c.entries)[at].result = answer;
        return answer;
    }
    size_t count = size_t(growCount<CacheEntry>(c.entries));
    if (!growBufferResize(&c.entries, (count + 1) * sizeof(CacheEntry))) return answer;
    CacheEntry* list = growItems<CacheEntry>(c.entries);
    std::memmove(list + at + 1, list + at, (count - size_t(at)) * sizeof(CacheEntry));
    list[at] = CacheEntry{text, section, answer};
    return answer;
}
