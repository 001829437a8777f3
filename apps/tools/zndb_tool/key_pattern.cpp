#include "zndb_tool/key_pattern.h"

#include <fnmatch.h>

std::string fixed_part(const std::string &pattern) {
    return pattern.substr(0, pattern.find_first_of("*?[\\"));
}

bool matches(const std::string &key, const std::string &pattern) {
    const std::string fixed = fixed_part(pattern);
    if (fixed.size() == pattern.size()) {
        return key.compare(0, pattern.size(), pattern) == 0;
    }
    return ::fnmatch(pattern.c_str(), key.c_str(), 0) == 0;
}
