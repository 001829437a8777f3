/*
 * Overrides functions of the C library. The program exports the override, so that every library of the
 * process calls it; it finds the real function with RTLD_NEXT.
 */
#pragma once

#include <dlfcn.h>

#include <cerrno>
#include <cstdlib>

#include "faults/injector.h"

namespace faults {

template <typename Function>
Function real_function(const char *name) {
    void *found = ::dlsym(RTLD_NEXT, name);
    if (found == nullptr) {
        std::abort();
    }
    return reinterpret_cast<Function>(found);
}

/* The result of a failing call. */
template <typename Result>
Result refuse(const Fault &fault, Result result) {
    errno = fault.error;
    return result;
}

/* The number of bytes of a short call. */
inline size_t part_of(size_t size) {
    return size > 1 ? size / 2 : size;
}

/* Reads or writes everything, a part, or nothing. */
template <typename Transfer>
ssize_t transfer(Call call, size_t size, Transfer real) {
    const Fault fault = take(call);
    switch (fault.way) {
        case Fault::Way::kFails:
            return refuse<ssize_t>(fault, -1);
        case Fault::Way::kEnds:
            return 0;
        case Fault::Way::kShort:
        case Fault::Way::kFills:
            size = part_of(size);
            break;
        case Fault::Way::kNone:
            break;
    }
    const ssize_t result = real(size);
    carried_out(call, -1);
    return result;
}

}  // namespace faults

/* Begins the definition of an override; real is the C library's function. */
#define QUOR_IN_FRONT(RESULT, NAME, PARAMS)                                                            \
    extern "C" __attribute__((visibility("default"))) RESULT in_front_of_##NAME PARAMS __asm__(#NAME); \
    extern "C" RESULT in_front_of_##NAME PARAMS

#define QUOR_REAL(RESULT, NAME, PARAMS) \
    static const auto real = faults::real_function<RESULT(*) PARAMS>(#NAME)

/* A function that is either carried out or returns FAILURE. */
#define QUOR_PASS(RESULT, NAME, FAILURE, PARAMS, ARGUMENTS)           \
    QUOR_IN_FRONT(RESULT, NAME, PARAMS) {                             \
        QUOR_REAL(RESULT, NAME, PARAMS);                              \
        const faults::Fault fault = faults::take(faults::Call::NAME); \
        if (fault.way != faults::Fault::Way::kNone) {                 \
            return faults::refuse<RESULT>(fault, FAILURE);            \
        }                                                             \
        const auto result = real ARGUMENTS;                           \
        faults::carried_out(faults::Call::NAME, -1);                  \
        return result;                                                \
    }
