/*
 * In front of the allocator. A sanitizer has put its own there already, so this file is left out then.
 */
#include <cstring>

#include "faults/in_front.h"

extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);
extern "C" void __libc_free(void *block);

namespace {

using faults::Call;
using faults::Fault;

/* counted: whether a block is one more than before. */
template <typename Allocate>
void *allocate(Call call, const void *caller, bool counted, Allocate allocate_block) {
    const Fault fault = faults::take_from(call, caller);
    if (fault.way != Fault::Way::kNone) {
        return faults::refuse<void *>(fault, nullptr);
    }
    void *block = allocate_block();
    faults::count_block(block != nullptr && counted ? 1 : 0);
    return block;
}

}  // namespace

QUOR_IN_FRONT(void *, malloc, (size_t size)) {
    return allocate(Call::malloc, __builtin_return_address(0), true, [=] { return __libc_malloc(size); });
}

QUOR_IN_FRONT(void *, calloc, (size_t count, size_t size)) {
    return allocate(Call::calloc, __builtin_return_address(0), true,
                    [=] { return __libc_calloc(count, size); });
}

QUOR_IN_FRONT(void *, realloc, (void *block, size_t size)) {
    return allocate(Call::realloc, __builtin_return_address(0), block == nullptr,
                    [=] { return __libc_realloc(block, size); });
}

QUOR_IN_FRONT(char *, strdup, (const char *text)) {
    const size_t size = std::strlen(text) + 1;
    void *copy =
        allocate(Call::strdup, __builtin_return_address(0), true, [=] { return __libc_malloc(size); });
    return copy != nullptr ? static_cast<char *>(std::memcpy(copy, text, size)) : nullptr;
}

QUOR_IN_FRONT(void, free, (void *block)) {
    faults::count_block(block != nullptr ? -1 : 0);
    __libc_free(block);
}
