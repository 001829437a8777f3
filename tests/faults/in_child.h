/*
 * For calls that may end the process.
 */
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <exception>

#include "faults/in_front.h"

namespace faults {

/* Status of a child whose C++ code got no memory. */
inline constexpr int kStarved = 100;

/*
 * In a child: calls a function that ends the process without memory, since it has no exceptions. The calling
 * test code has exceptions and can catch them.
 */
template <typename Tested>
long end_if_starved(Tested tested) noexcept {
    std::set_terminate([] { ::_exit(kStarved); });
    return tested();
}

/* Runs a step in a child. Returns its exit status. wait4 is not one of the calls that fail. */
template <typename Step>
long in_child(Step step) {
    const pid_t child = real_function<pid_t (*)()>("fork")(); /* the step is part of the run */
    if (child == 0) {
        const long status = step();
        ::_exit(static_cast<int>(status));
    }
    int status = 0;
    (void)::wait4(child, &status, 0, nullptr);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace faults
