#include "logtool/ring_overlap.h"

#include <numeric>

/* At first every line. */
std::vector<size_t> RingOverlap::candidates() const {
    if (begun_) {
        return places_;
    }
    std::vector<size_t> all(lines_.size());
    std::iota(all.begin(), all.end(), 0);
    return all;
}

bool RingOverlap::repeats(const std::string &line) {
    std::vector<size_t> next;
    for (const size_t place : candidates()) {
        if (place < lines_.size() && lines_[place] == line) {
            next.push_back(place + 1);
        }
    }
    begun_ = true;
    places_ = next;
    return !next.empty();
}
