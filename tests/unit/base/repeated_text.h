/*
 * A text many times over, for documents that are deep or long.
 */
#pragma once

#include <cstddef>
#include <string>

inline std::string repeated(const std::string &text, size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}
