#include "owner_mark.h"

#include <sys/syscall.h>
#include <unistd.h>

void OwnerMark::begin() {
    forget();
    if (::syscall(SYS_set_robust_list, &head_, sizeof(head_)) == 0) {
        thread_ = static_cast<uint32_t>(::gettid());
    }
}

/* The checker takes an atomic store for a read. */
void OwnerMark::move_to(uint32_t *word) {  // NOLINT(readability-non-const-parameter)
    __atomic_store_n(word, thread_, __ATOMIC_RELAXED);
    entry_.next = &head_.list;
    const long offset = reinterpret_cast<char *>(word) - reinterpret_cast<char *>(&entry_);
    __atomic_store_n(&head_.futex_offset, offset, __ATOMIC_RELEASE);
    __atomic_store_n(&head_.list.next, &entry_, __ATOMIC_RELEASE);
}

void OwnerMark::forget() {
    __atomic_store_n(&head_.list.next, &head_.list, __ATOMIC_RELEASE);
}
