/*
 * With a sanitizer its allocator reports each block; otherwise the program's own allocation functions count
 * and go on to those of the C library.
 */
#include "unit/frwk_utils/heap_count.h"

#include <atomic>
#include <cstddef>

#if defined(__has_feature)
#define QUOR_HAS_FEATURE(name) __has_feature(name)
#else
#define QUOR_HAS_FEATURE(name) 0
#endif

namespace {

std::atomic<unsigned long> g_taken{0};

}  // namespace

unsigned long heap_blocks_taken() {
    return g_taken.load();
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || QUOR_HAS_FEATURE(address_sanitizer) || \
    QUOR_HAS_FEATURE(thread_sanitizer)

extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*)(const volatile void *, size_t),
                                                         void (*)(const volatile void *));

namespace {

void count_block(const volatile void *, size_t) {
    g_taken.fetch_add(1);
}

void ignore_block(const volatile void *) {}

const int g_installed = __sanitizer_install_malloc_and_free_hooks(count_block, ignore_block);

}  // namespace

#else

extern "C" {

void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);

__attribute__((visibility("default"))) void *malloc(size_t size) {
    g_taken.fetch_add(1);
    return __libc_malloc(size);
}

__attribute__((visibility("default"))) void *calloc(size_t count, size_t size) {
    g_taken.fetch_add(1);
    return __libc_calloc(count, size);
}

__attribute__((visibility("default"))) void *realloc(void *block, size_t size) {
    g_taken.fetch_add(1);
    return __libc_realloc(block, size);
}

}  // extern "C"

#endif
