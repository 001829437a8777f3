#include "log/journal_line.h"

#include <cstdlib>
#include <ctime>

#include "output/json_output.h"

namespace {

constexpr long long kMicrosPerSecond = 1000000;

std::string member_text(const Json &object, const char *name) {
    json_object *member = nullptr;
    const bool found = json_object_object_get_ex(object.get(), name, &member) != 0;
    return found && json_object_is_type(member, json_type_string) != 0 ? json_object_get_string(member) : "";
}

/* A message with control characters is an array of its bytes. */
std::string message_of(const Json &object) {
    json_object *member = nullptr;
    if (json_object_object_get_ex(object.get(), "MESSAGE", &member) == 0 ||
        json_object_is_type(member, json_type_array) == 0) {
        return member_text(object, "MESSAGE");
    }
    std::string text;
    for (size_t i = 0; i < json_object_array_length(member); ++i) {
        text += static_cast<char>(json_object_get_int(json_object_array_get_idx(member, i)));
    }
    return text;
}

std::string time_text(const std::string &microseconds) {
    if (microseconds.empty()) {
        return "";
    }
    const auto seconds =
        static_cast<std::time_t>(std::strtoll(microseconds.c_str(), nullptr, 10) / kMicrosPerSecond);
    std::tm parts = {};
    char text[32] = "";
    (void)::localtime_r(&seconds, &parts); /* fails for years that no 64 bits of microseconds reach */
    (void)std::strftime(text, sizeof(text), "%b %e %T", &parts);
    return text;
}

std::string first_of(const std::string &one, const std::string &other) {
    return one.empty() ? other : one;
}

}  // namespace

LogRecord parse_journal_line(const std::string &text, std::string *cursor) {
    LogRecord line;
    const Json object = json_parsed(text);
    if (json_object_is_type(object.get(), json_type_object) == 0) {
        line.text = text;
        return line;
    }
    line.time = time_text(member_text(object, "__REALTIME_TIMESTAMP"));
    line.module = first_of(member_text(object, "SYSLOG_IDENTIFIER"), member_text(object, "_COMM"));
    line.process = first_of(member_text(object, "SYSLOG_PID"), member_text(object, "_PID"));
    line.level = level_named(member_text(object, "PRIORITY"));
    line.text = message_of(object);
    *cursor = first_of(member_text(object, "__CURSOR"), *cursor);
    return line;
}
