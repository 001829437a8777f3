#include "logtool/log_filter.h"

#include <algorithm>
#include <cctype>

namespace {

bool same_letter(char left, char right) {
    return std::tolower(static_cast<unsigned char>(left)) == std::tolower(static_cast<unsigned char>(right));
}

bool has(const std::string &text, const std::string &part) {
    return std::search(text.begin(), text.end(), part.begin(), part.end(), same_letter) != text.end() ||
           part.empty();
}

}  // namespace

bool LogFilter::concerns(const LogRecord &line) const {
    const bool of_module =
        modules.empty() || std::find(modules.begin(), modules.end(), line.module) != modules.end();
    return of_module && has(line.text, text);
}

bool LogFilter::wants_level_of(const LogRecord &line) const {
    return level == kNoLevel || (line.level != kNoLevel && line.level <= level);
}
