#include "support/log_line.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string_view>

namespace {

constexpr size_t kNowhere = std::string_view::npos;
constexpr int kSeverities = 8;

/* Time stamp formats: a is a letter, d a digit, D a digit or blank; other characters match themselves. */
constexpr const char *kTimes[] = {"aaa Dd dd:dd:dd", "dddd-dd-ddTdd:dd:dd", "dddd-dd-dd dd:dd:dd.ddd"};

bool is_digit(char character) {
    return character >= '0' && character <= '9';
}

bool fits(char form, char character) {
    switch (form) {
        case 'a':
            return std::isalpha(static_cast<unsigned char>(character)) != 0;
        case 'd':
            return is_digit(character);
        case 'D':
            return is_digit(character) || character == ' ';
        default:
            return form == character;
    }
}

bool begins_as(std::string_view text, std::string_view form) {
    for (size_t i = 0; i < form.size(); ++i) {
        if (i >= text.size() || !fits(form[i], text[i])) {
            return false;
        }
    }
    return true;
}

/* The rest of a line while it is parsed. */
class Rest {
  public:
    explicit Rest(std::string_view text) : text_(text) {}

    std::string_view all() const { return text_; }
    std::string_view word() const { return text_.substr(0, text_.find(' ')); }

    /* Takes length characters, and skips the blanks after them. */
    std::string take(size_t length) {
        std::string taken(text_.substr(0, length));
        text_.remove_prefix(taken.size());
        text_.remove_prefix(std::min(text_.find_first_not_of(' '), text_.size()));
        return taken;
    }
    std::string take_word() { return take(word().size()); }

  private:
    std::string_view text_;
};

/* "<14>" in front, as it travels to the log. */
void take_priority(Rest &rest, LogRecord &line) {
    const size_t end = rest.all().find('>');
    if (rest.all().empty() || rest.all()[0] != '<' || end == kNowhere || end < 2 || end > 4) {
        return;
    }
    const std::string number(rest.all().substr(1, end - 1));
    if (number.find_first_not_of("0123456789") == std::string::npos) {
        line.level = std::stoi(number) % kSeverities;
        rest.take(end + 1);
    }
}

/* A time with a T goes on to the next blank: fractions and the zone. */
bool take_time(Rest &rest, LogRecord &line) {
    for (const char *form : kTimes) {
        if (begins_as(rest.all(), form)) {
            const bool zoned = std::strchr(form, 'T') != nullptr;
            line.time = zoned ? rest.take_word() : rest.take(std::strlen(form));
            return true;
        }
    }
    return false;
}

/* "name:" or "name[17]:". */
bool take_tag(Rest &rest, LogRecord &line) {
    std::string_view word = rest.word();
    if (word.size() < 2 || word.back() != ':') {
        return false;
    }
    word.remove_suffix(1);
    const size_t bracket = word.back() == ']' ? word.find('[') : kNowhere;
    line.module = std::string(word.substr(0, bracket));
    if (bracket != kNowhere) {
        line.process = std::string(word.substr(bracket + 1, word.size() - bracket - 2));
    }
    rest.take_word();
    return true;
}

/* "local7.warn" */
bool take_facility(Rest &rest, LogRecord &line) {
    const std::string word(rest.word());
    const size_t dot = word.find('.');
    const int level = dot != std::string::npos ? level_named(word.substr(dot + 1)) : kNoLevel;
    if (level == kNoLevel || is_digit(word[dot + 1])) {
        return false;
    }
    line.level = level;
    rest.take_word();
    return true;
}

/* Of the debug channel: "warning wlan file function:line text". */
bool take_debug_head(Rest &rest, LogRecord &line) {
    const std::string word(rest.word());
    const int level = level_named(word);
    if (level == kNoLevel || is_digit(word[0])) {
        return false;
    }
    line.level = level;
    rest.take_word();
    line.module = rest.take_word();
    return true;
}

/* Behind the time there may be the host, then perhaps the level, then who says it. */
void take_syslog_head(Rest &rest, LogRecord &line) {
    if (take_facility(rest, line) || take_tag(rest, line)) {
        (void)(line.module.empty() && take_tag(rest, line));
        return;
    }
    Rest behind_host = rest;
    behind_host.take_word();
    take_facility(behind_host, line);
    if (take_tag(behind_host, line)) {
        rest = behind_host;
    }
}

}  // namespace

LogRecord parse_log_line(const std::string &text) {
    LogRecord line;
    Rest rest(text);
    take_priority(rest, line);
    const bool timed = take_time(rest, line);
    if (timed && !take_debug_head(rest, line)) {
        take_syslog_head(rest, line);
    }
    line.text = std::string(rest.all());
    return line;
}

std::vector<std::string> level_names() {
    std::vector<std::string> names;
    for (const LogLevel &level : kLogLevels) {
        names.emplace_back(level.name);
    }
    return names;
}

int level_named(const std::string &word) {
    for (size_t i = 0; i < std::size(kLogLevels); ++i) {
        const bool named = ::strcasecmp(word.c_str(), kLogLevels[i].name) == 0 ||
                           ::strcasecmp(word.c_str(), kLogLevels[i].shorter) == 0;
        if (named || word == std::to_string(i)) {
            return static_cast<int>(i);
        }
    }
    return kNoLevel;
}
