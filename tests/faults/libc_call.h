/*
 * The counted calls into the C library, and the ways in which each of them can fail.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace faults {

enum class Call : uint8_t {
#define QUOR_FAULTS(symbol, ...) symbol,
#include "support/libc_calls.def"
    kNone
};

/* The outcome of one call. */
struct Fault {
    enum class Way : uint8_t {
        kNone,  /* it is carried out */
        kFails, /* it is not carried out and fails with error */
        kShort, /* about half of the bytes, at least one unless it was given none */
        kEnds,  /* no byte, as at the end of a file or of a connection */
        kFills  /* as kShort, and the next call of its kind fails with error: a full disk */
    };

    Way way = Way::kNone;
    int error = 0;
};

inline constexpr size_t kMostFaults = 5;

/* A call's name and its faults; count is their number. */
struct CallRow {
    const char *name;
    size_t count;
    Fault faults[kMostFaults];
};

const CallRow &row_of(Call call);

/* Whether it allocates memory; all others count as system calls. */
bool is_allocation(Call call);

/* Its name in a failed test's message: "EIO", "short", "end". */
const char *name_of(const Fault &fault);

}  // namespace faults
