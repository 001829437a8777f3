#include "apptest/config_finding.h"

#include <algorithm>

size_t line_at(std::string_view text, size_t offset) {
    const std::string_view before = text.substr(0, offset);
    return 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
}
