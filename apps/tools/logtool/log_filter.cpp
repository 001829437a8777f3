#include "logtool/log_filter.h"

#include <algorithm>

#include "cli/text_match.h"

namespace {

bool same_name(const std::string &left, const std::string &right) {
    return left.size() == right.size() && starts_like(left, right);
}

}  // namespace

bool LogFilter::concerns(const LogRecord &line) const {
    const bool all = modules.empty() && programs.empty();
    const bool of_module = std::find(modules.begin(), modules.end(), line.module) != modules.end();
    const bool of_program = std::any_of(programs.begin(), programs.end(), [&](const std::string &program) {
        return same_name(program, line.module);
    });
    return (all || of_module || of_program) && contains_like(line.text, text);
}

bool LogFilter::wants_level_of(const LogRecord &line) const {
    return level == kNoLevel || (line.level != kNoLevel && line.level <= level);
}
