#include "logtool/log_filter.h"

#include <algorithm>

#include "cli/text_match.h"

bool LogFilter::concerns(const LogRecord &line) const {
    const bool of_module =
        modules.empty() || std::find(modules.begin(), modules.end(), line.module) != modules.end();
    return of_module && contains_like(line.text, text);
}

bool LogFilter::wants_level_of(const LogRecord &line) const {
    return level == kNoLevel || (line.level != kNoLevel && line.level <= level);
}
