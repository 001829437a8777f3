/*
 * Random numbers that need not be secret, from the C library's generator. Threads share it, and one may
 * reseed it between another's seed and number.
 */
#include <climits>
#include <cstdlib>
#include <iterator>

#include "frwk_common.h"
#include "os_time.h"

namespace {

constexpr uint32_t kLargestBound = INT32_MAX;
constexpr uint32_t kRandomBounds[] = {0xFF, 0xFFFF, 0xFFFFFF, kLargestBound};

uint32_t number_below(unsigned seed, uint32_t bound) {
    std::srand(seed);
    return static_cast<uint32_t>(std::rand()) % bound;
}

}  // namespace

uint32_t frwk_random(uint32_t max) {
    timeval now = {};
    (void)os_gettimeofday(&now);

    uint32_t bound = max;
    if (bound == 0) {
        bound = kRandomBounds[number_below(static_cast<unsigned>(now.tv_sec), std::size(kRandomBounds))];
    }
    if (bound > kLargestBound) {
        bound = kLargestBound;
    }
    return number_below(static_cast<unsigned>(now.tv_usec), bound) + 1;
}
