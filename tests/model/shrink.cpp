#include "model/shrink.h"

#include <algorithm>

namespace model {

namespace {

std::vector<Operation> without(const std::vector<Operation> &operations, size_t first, size_t count) {
    std::vector<Operation> rest = operations;
    const auto begin = rest.begin() + static_cast<std::ptrdiff_t>(first);
    rest.erase(begin, begin + static_cast<std::ptrdiff_t>(std::min(count, rest.size() - first)));
    return rest;
}

}  // namespace

/* Halves first, then smaller parts, down to single operations. */
std::vector<Operation> shrink(std::vector<Operation> operations, const Breaks &breaks, size_t runs) {
    for (size_t count = std::max<size_t>(operations.size() / 2, 1); count > 0; count /= 2) {
        for (size_t first = 0; first < operations.size() && runs > 0;) {
            const std::vector<Operation> fewer = without(operations, first, count);
            --runs;
            if (breaks(fewer)) {
                operations = fewer;
            } else {
                first += count;
            }
        }
    }
    return operations;
}

}  // namespace model
