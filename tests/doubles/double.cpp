/*
 * The list of doubles in use, for restore_all.
 */
#include "doubles/double.h"

namespace doubles {

namespace {

std::atomic<AnyDouble *> g_first{nullptr};

}  // namespace

void AnyDouble::enrol() {
    if (enrolled_.exchange(true)) {
        return;
    }
    next_ = g_first.load();
    while (!g_first.compare_exchange_weak(next_, this)) {
    }
}

void restore_all() {
    for (AnyDouble *each = g_first.load(); each != nullptr; each = each->next_) {
        each->restore();
        each->forget_calls();
    }
}

}  // namespace doubles
