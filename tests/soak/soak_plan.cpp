#include "soak_plan.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace soak {

namespace {

struct Share {
    uint32_t below; /* of a hundred */
    Action action;
};

constexpr Share kShares[] = {
    {45, Action::kSync},   {70, Action::kAsync}, {73, Action::kPublish}, {75, Action::kPublishChurn},
    {77, Action::kToggle}, {88, Action::kGet},   {97, Action::kSet},     {99, Action::kStatus},
};

/* Ways a size is drawn: most messages are small; the borders of the fixed buffers come often. */
struct SizeRange {
    uint32_t below; /* of a thousand */
    uint32_t least;
    uint32_t span;
};

constexpr SizeRange kSizes[] = {
    {500, 0, 120}, {800, 120, 880}, {950, 970, 80}, {995, 1100, 8000}, {1000, 16384, kLargest - 16384 + 1},
};

uint32_t size_of(uint64_t draw) {
    const auto *range = std::find_if(std::begin(kSizes), std::end(kSizes),
                                     [&](const SizeRange &each) { return draw % 1000 < each.below; });
    return range->least + static_cast<uint32_t>((draw / 1000) % range->span);
}

Action action_of(uint64_t draw, uint32_t module) {
    for (const Share &share : kShares) {
        if (draw % 100 < share.below) {
            return share.action;
        }
    }
    return module == 1 ? Action::kSave : Action::kRefused;
}

constexpr Action kFirst[] = {
    Action::kSync,    Action::kSync,         Action::kSync,    Action::kAsync, Action::kAsync,
    Action::kPublish, Action::kPublishChurn, Action::kToggle,  Action::kGet,   Action::kSet,
    Action::kGet,     Action::kStatus,       Action::kRefused, Action::kSync,
};

/* Any module but the database, whose handler answers other messages. */
uint32_t peer_of(uint64_t draw) {
    const auto id = static_cast<uint32_t>(draw % (kModules - 2)) + 1;
    return id < kDatabase ? id : id + 1;
}

/* The first request goes to the module itself, the next ones to the modules after it. */
Step first_step(Step step, uint32_t module, uint64_t number) {
    step.action = kFirst[number];
    step.size = kLargest;
    step.room = kLargest;
    if (step.action == Action::kSync) {
        step.peer = peer_of(module + number);
    } else if (step.action == Action::kAsync) {
        step.peer = module;
    }
    return step;
}

}  // namespace

uint64_t mix(uint64_t seed, uint64_t a, uint64_t b) {
    uint64_t x = seed * 0x9E3779B97F4A7C15u + a * 0xBF58476D1CE4E5B9u + b * 0x94D049BB133111EBu;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9u;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EBu;
    return x ^ (x >> 31);
}

Step step_of(uint64_t seed, uint32_t module, uint64_t number) {
    const uint64_t draw = mix(seed, module, number);
    Step step = {};
    step.draw = draw;
    step.action = action_of(draw, module);
    step.peer = peer_of(mix(draw, 1, 0));
    step.size = size_of(mix(draw, 2, 0));
    step.room = size_of(mix(draw, 3, 0));
    step.key = static_cast<uint32_t>(mix(draw, 4, 0) % kKeys);
    step.event = static_cast<uint32_t>(mix(draw, 5, 0) % kEvents);
    return number < std::size(kFirst) ? first_step(step, module, number) : step;
}

bool is_mortal(uint32_t module) {
    return module % 4 == 3;
}

bool is_listener(uint32_t module) {
    return module >= 21 && module <= 25 && !is_mortal(module);
}

bool is_churner(uint32_t module) {
    return module >= 3 && module <= 20;
}

std::string churn_event(uint32_t event) {
    return "soak.churn" + std::to_string(event);
}

void fill(unsigned char *bytes, uint32_t size, uint64_t start) {
    for (uint32_t at = 0; at < size; at += static_cast<uint32_t>(sizeof(uint64_t))) {
        const uint64_t word = (start + at) * 0x9E3779B97F4A7C15u;
        std::memcpy(bytes + at, &word, std::min<size_t>(sizeof(word), size - at));
    }
}

bool is_filled(const unsigned char *bytes, uint32_t size, uint64_t start) {
    bool same = true;
    for (uint32_t at = 0; at < size; at += static_cast<uint32_t>(sizeof(uint64_t))) {
        const uint64_t word = (start + at) * 0x9E3779B97F4A7C15u;
        same = same && std::memcmp(bytes + at, &word, std::min<size_t>(sizeof(word), size - at)) == 0;
    }
    return same;
}

std::string key_name(uint32_t module, uint32_t key) {
    return "soak." + std::to_string(module) + "." + std::to_string(key);
}

std::string value_of(uint64_t seed, uint32_t module, uint32_t key, uint64_t number) {
    if (number == 0) {
        return "";
    }
    const uint64_t draw = mix(seed, module * kKeys + key, ~number);
    std::string value = std::to_string(number) + "." + std::to_string(draw) + ".";
    const bool is_longest = number == kFullLength || draw % 10 == 0;
    const size_t length = is_longest ? 1023 : value.size() + draw % 80;
    while (value.size() < length) {
        value += static_cast<char>('a' + mix(draw, value.size(), 0) % 26);
    }
    return value;
}

}  // namespace soak
