/*
 * Repeats system calls that a signal interrupts.
 */
#pragma once

#include <cerrno>

/* Repeats a call that a signal interrupted. Returns its result, with errno 0 unless it failed. */
template <typename Call>
auto uninterrupted(Call call) {
    auto result = (errno = 0, call());
    while (result < 0 && errno == EINTR) {
        errno = 0;
        result = call();
    }
    return result;
}
