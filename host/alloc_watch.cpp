#include "host/alloc_watch.h"

#include <cstddef>

#if defined(__linux__) && defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define KVP_ALLOC_WATCH 1
#endif

#if KVP_ALLOC_WATCH
namespace {
// Initial-exec storage lives in the program's static TLS block, so reaching it from inside
// malloc never allocates.
__attribute__((tls_model("initial-exec"))) thread_local bool watching = false;
__attribute__((tls_model("initial-exec"))) thread_local long allocations = 0;

inline void note() {
    if (watching) allocations++;
}
}  // namespace

// The C library's own entries, which these forward to.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

__attribute__((visibility("default"))) void* malloc(size_t n) {
    note();
    return __libc_malloc(n);
}
__attribute__((visibility("default"))) void* calloc(size_t count, size_t size) {
    note();
    return __libc_calloc(count, size);
}
__attribute__((visibility("default"))) void* realloc(void* block, size_t n) {
    note();
    return __libc_realloc(block, n);
}
__attribute__((visibility("default"))) void* aligned_alloc(size_t alignment, size_t n) {
    note();
    return __libc_memalign(alignment, n);
}
__attribute__((visibility("default"))) int posix_memalign(void** out, size_t alignment, size_t n) {
    note();
    if (alignment < sizeof(void*) || (alignment & (alignment - 1))) return 22;  // EINVAL
    void* block = __libc_memalign(alignment, n);
    if (!block) return 12;  // ENOMEM
    *out = block;
    return 0;
}
}

bool allocWatchAvailable() { return true; }
void allocWatchBegin() {
    allocations = 0;
    watching = true;
}
long allocWatchEnd() {
    watching = false;
    return allocations;
}
#else
bool allocWatchAvailable() { return false; }
void allocWatchBegin() {}
long allocWatchEnd() { return 0; }
#endif
