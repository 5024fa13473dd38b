// POSIX side of the platform calls: pthread locks, the monotonic clock, ini files read and
// rewritten as text, and font handles that carry their description.
#include "platform/ini_text.h"
#include "platform/platform.h"

#include <pthread.h>
#include <stdio.h>
#include <time.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

static_assert(sizeof(pthread_mutex_t) <= sizeof(RecursiveLock::storage), "lock storage too small");

void lockInit(RecursiveLock* lock) {
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(reinterpret_cast<pthread_mutex_t*>(lock->storage), &attr);
    pthread_mutexattr_destroy(&attr);
}

void lockDestroy(RecursiveLock* lock) { pthread_mutex_destroy(reinterpret_cast<pthread_mutex_t*>(lock->storage)); }
void lockEnter(RecursiveLock* lock) { pthread_mutex_lock(reinterpret_cast<pthread_mutex_t*>(lock->storage)); }
void lockLeave(RecursiveLock* lock) { pthread_mutex_unlock(reinterpret_cast<pthread_mutex_t*>(lock->storage)); }

uint32_t tickCount() {
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint32_t(uint64_t(ts.tv_sec) * 1000u + uint64_t(ts.tv_nsec) / 1000000u);
}

static bool readWholeFile(const char* path, std::string* text) {
    FILE* f = path && *path ? fopen(path, "rb") : nullptr;
    if (!f) return false;
    char chunk[4096];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, f)) > 0) text->append(chunk, n);
    fclose(f);
    return true;
}

int iniReadInt(const char* path, const char* section, const char* key, int fallback) {
    std::string text, value;
    if (!readWholeFile(path, &text) || !iniFindValue(text, section, key, &value)) return fallback;
    return iniParseInt(value.c_str(), fallback);
}

int iniReadString(const char* path, const char* section, const char* key, const char* fallback,
                  char* out, int capacity) {
    std::string text, value;
    if (readWholeFile(path, &text) && iniFindValue(text, section, key, &value))
        return iniCopyValue(value.c_str(), out, capacity);
    return iniCopyValue(fallback, out, capacity);
}

bool iniWriteString(const char* path, const char* section, const char* key, const char* value) {
    if (!path || !*path || !section) return false;
    std::string text;
    readWholeFile(path, &text);
    std::string updated = iniSetValue(text, section, key, value);
    // Write beside the file and rename over it, so a reader never sees half a file.
    std::string temp = std::string(path) + ".tmp" + std::to_string(getpid());
    FILE* f = fopen(temp.c_str(), "wb");
    if (!f) return false;
    bool ok = fwrite(updated.data(), 1, updated.size(), f) == updated.size();
    ok = fclose(f) == 0 && ok;
    if (ok) ok = rename(temp.c_str(), path) == 0;
    if (!ok) remove(temp.c_str());
    return ok;
}

static void* libraryModule = nullptr;
void* moduleHandle() { return libraryModule; }
void setModuleHandle(void* handle) { libraryModule = handle; }

// The font stand-in: a tagged copy of the description. The host's font object is built from
// these same sources and reads the description back through fontDescribe.
namespace {
constexpr uint32_t FONT_HANDLE_TAG = 0x746E6F46;  // "Font" in memory
struct FontHandle {
    uint32_t tag;
    FontDescription description;
};
}  // namespace

void* fontCreate(const FontDescription* description) {
    if (!description) return nullptr;
    FontHandle* handle = static_cast<FontHandle*>(calloc(1, sizeof(FontHandle)));
    if (!handle) return nullptr;
    handle->tag = FONT_HANDLE_TAG;
    handle->description = *description;
    handle->description.faceName[sizeof handle->description.faceName - 1] = 0;
    return handle;
}

void fontDestroy(void* font) {
    FontHandle* handle = static_cast<FontHandle*>(font);
    if (!handle || handle->tag != FONT_HANDLE_TAG) return;
    handle->tag = 0;
    free(handle);
}

bool fontDescribe(void* font, FontDescription* out) {
    const FontHandle* handle = static_cast<const FontHandle*>(font);
    if (!handle || !out || handle->tag != FONT_HANDLE_TAG) return false;
    *out = handle->description;
    return true;
}
