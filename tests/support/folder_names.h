/*
 * What is in a folder of a test.
 */
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

/* Sorted. */
inline std::vector<std::string> names_in(const std::string &folder) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}
