#include "logtool/log_output.h"

#include <cerrno>
#include <cstdio>
#include <utility>

#include "log/record_output.h"
#include "output/json_output.h"
#include "output/terminal.h"

namespace {

/* Adds a blank after the text, unless it is empty. */
std::string part(Style style, const std::string &text) {
    return text.empty() ? "" : styled(Stream::kOutput, style, shown_text(Stream::kOutput, text)) + " ";
}

void print_plain(const LogRecord &line) {
    const std::string process = line.process.empty() ? "" : "[" + line.process + "]";
    const std::string module = line.module.empty() ? "" : line.module + process + ":";
    const std::string text =
        styled(Stream::kOutput, style_of_level(line.level), shown_text(Stream::kOutput, line.text));
    const std::string whole = part(Style::kFaint, line.time) +
                              part(style_of_level(line.level), level_name(line.level)) +
                              part(Style::kStrong, module) + text + "\n";
    (void)std::fwrite(whole.data(), 1, whole.size(), stdout);
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
        print_json_line(record_as_json(line));
    } else {
        print_plain(line);
    }
    if (std::ferror(stdout) != 0 || (live_ && std::fflush(stdout) != 0)) {
        error_ = errno;
    }
    return error_ == 0;
}
