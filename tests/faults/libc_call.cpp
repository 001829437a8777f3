#include "faults/libc_call.h"

#include <cerrno>
#include <cstring>

namespace faults {

namespace {

constexpr Fault fails(int error) {
    return {Fault::Way::kFails, error};
}

constexpr Fault is_short() {
    return {Fault::Way::kShort, 0};
}

constexpr Fault ends() {
    return {Fault::Way::kEnds, 0};
}

constexpr Fault fills() {
    return {Fault::Way::kFills, ENOSPC};
}

template <typename... Faults>
constexpr CallRow make_row(const char *name, Faults... faults) {
    return {name, sizeof...(faults), {faults...}};
}

constexpr CallRow kRows[] = {
#define QUOR_FAULTS(symbol, ...) make_row(#symbol, __VA_ARGS__),
#include "support/libc_calls.def"
};

static_assert(sizeof(kRows) / sizeof(kRows[0]) == static_cast<size_t>(Call::kNone));

}  // namespace

const CallRow &row_of(Call call) {
    return kRows[static_cast<size_t>(call)];
}

bool is_allocation(Call call) {
    return call <= Call::strdup;
}

const char *name_of(const Fault &fault) {
    switch (fault.way) {
        case Fault::Way::kShort:
            return "short";
        case Fault::Way::kEnds:
            return "end";
        case Fault::Way::kFills:
            return "a disk that is full behind a part";
        default:
            return strerrorname_np(fault.error);
    }
}

}  // namespace faults
