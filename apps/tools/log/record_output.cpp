#include "log/record_output.h"

namespace {

constexpr int kErrorLevel = 3;
constexpr int kWarningLevel = 4;
constexpr int kNoticeLevel = 5;
constexpr int kDebugLevel = 7;

void add_if_known(const Json &object, const char *name, const std::string &text) {
    if (!text.empty()) {
        add_member(object, name, json_text(text));
    }
}

}  // namespace

Style style_of_level(int level) {
    if (level == kNoLevel) {
        return Style::kPlain;
    }
    return level <= kErrorLevel     ? Style::kAlert
           : level <= kWarningLevel ? Style::kWarning
           : level == kNoticeLevel  ? Style::kStrong
           : level >= kDebugLevel   ? Style::kFaint
                                    : Style::kPlain;
}

Json record_as_json(const LogRecord &line) {
    Json object = json_members();
    add_if_known(object, "time", line.time);
    add_if_known(object, "module", line.module);
    add_if_known(object, "process", line.process);
    add_if_known(object, "level", level_name(line.level));
    add_member(object, "text", json_text(line.text));
    return object;
}
