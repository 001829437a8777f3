#include "model/packed.h"

#include <cstring>

namespace model {

namespace {

void add(std::string &bytes, uint32_t number) {
    bytes.append(reinterpret_cast<const char *>(&number), sizeof(number));
}

uint32_t take(const std::string &bytes, size_t &at) {
    uint32_t number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof(number));
    at += sizeof(number);
    return number;
}

}  // namespace

std::string pack(const Outcome &outcome) {
    std::string bytes;
    add(bytes, static_cast<uint32_t>(outcome.result));
    for (const std::string &word : outcome.words) {
        add(bytes, static_cast<uint32_t>(word.size()));
        bytes += word;
    }
    return bytes;
}

Outcome unpack(const std::string &bytes) {
    size_t at = 0;
    Outcome outcome;
    outcome.result = static_cast<int>(take(bytes, at));
    while (at < bytes.size()) {
        const uint32_t size = take(bytes, at);
        outcome.words.push_back(bytes.substr(at, size));
        at += size;
    }
    return outcome;
}

}  // namespace model
