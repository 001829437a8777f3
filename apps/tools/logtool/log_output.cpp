#include "logtool/log_output.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "output/json_output.h"
#include "output/terminal.h"

namespace {

constexpr int kErrorLevel = 3;
constexpr int kWarningLevel = 4;
constexpr int kNoticeLevel = 5;
constexpr int kDebugLevel = 7;

Style style_of(int level) {
    if (level == kNoLevel) {
        return Style::kPlain;
    }
    return level <= kErrorLevel     ? Style::kAlert
           : level <= kWarningLevel ? Style::kWarning
           : level == kNoticeLevel  ? Style::kStrong
           : level >= kDebugLevel   ? Style::kFaint
                                    : Style::kPlain;
}

/* Adds a blank after the text, unless it is empty. */
std::string part(Style style, const std::string &text) {
    return text.empty() ? "" : styled(Stream::kOutput, style, shown_text(Stream::kOutput, text)) + " ";
}

void print_plain(const LogRecord &line) {
    const std::string process = line.process.empty() ? "" : "[" + line.process + "]";
    const std::string module = line.module.empty() ? "" : line.module + process + ":";
    const std::string text =
        styled(Stream::kOutput, style_of(line.level), shown_text(Stream::kOutput, line.text));
    const std::string whole = part(Style::kFaint, line.time) +
                              part(style_of(line.level), level_name(line.level)) +
                              part(Style::kStrong, module) + text + "\n";
    (void)std::fwrite(whole.data(), 1, whole.size(), stdout);
}

void add_if_known(const Json &object, const char *name, const std::string &text) {
    if (!text.empty()) {
        add_member(object, name, json_text(text));
    }
}

void print_object(const LogRecord &line) {
    const Json object = json_members();
    add_if_known(object, "time", line.time);
    add_if_known(object, "module", line.module);
    add_if_known(object, "process", line.process);
    add_if_known(object, "level", level_name(line.level));
    add_member(object, "text", json_text(line.text));
    print_json_line(object);
}

}  // namespace

LogOutput::LogOutput(LogFilter filter, size_t last, bool json)
    : filter_(std::move(filter)), last_(last), json_(json) {}

bool LogOutput::take(const LogRecord &line) {
    ++taken_;
    const bool timely = period_.takes(line.time);
    if (!timely || !filter_.concerns(line)) {
        return error_ == 0;
    }
    if (!filter_.wants_level_of(line)) {
        without_level_ += line.level == kNoLevel ? 1 : 0;
        return error_ == 0;
    }
    ++wanted_;
    if (last_ == 0) {
        return print(line);
    }
    kept_.push_back(line);
    if (kept_.size() > last_) {
        kept_.pop_front();
    }
    return true;
}

bool LogOutput::flush() {
    live_ = true;
    last_ = 0;
    for (const LogRecord &line : kept_) {
        print(line);
    }
    kept_.clear();
    if (std::fflush(stdout) != 0) {
        error_ = errno;
    }
    return error_ == 0;
}

bool LogOutput::print(const LogRecord &line) {
    if (error_ != 0) {
        return false;
    }
    if (json_) {
        print_object(line);
    } else {
        print_plain(line);
    }
    if (std::ferror(stdout) != 0 || (live_ && std::fflush(stdout) != 0)) {
        error_ = errno;
    }
    return error_ == 0;
}
