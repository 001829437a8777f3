#include "log/journal_command.h"

namespace {

using Words = std::vector<std::string>;

/* The program takes no cursor together with a beginning. */
void add_period(Words &words, const JournalQuery &query) {
    if (query.period.since() && query.cursor.empty()) {
        words.push_back("--since=@" + std::to_string(*query.period.since()));
    }
    if (query.period.until()) {
        words.push_back("--until=@" + std::to_string(*query.period.until()));
    }
}

void add_matches(Words &words, const std::string &field, const Words &names) {
    for (const std::string &name : names) {
        words.push_back(field);
        words.back().append("=").append(name);
    }
}

/* A program that gives no name is listed under that of its process; modules always give one. */
void add_names(Words &words, const JournalQuery &query) {
    add_matches(words, "SYSLOG_IDENTIFIER", query.modules);
    add_matches(words, "SYSLOG_IDENTIFIER", query.programs);
    if (!query.programs.empty()) {
        words.emplace_back("+");
        add_matches(words, "_COMM", query.programs);
    }
}

}  // namespace

std::vector<std::string> journal_command(const JournalQuery &query) {
    Words words = {"journalctl", "--no-pager", "--quiet", "--output=json"};
    if (query.follow) {
        words.insert(words.end(), {"--follow", "--no-tail"});
    }
    if (query.last > 0) {
        words.push_back("--lines=" + std::to_string(query.last));
    }
    if (!query.cursor.empty()) {
        words.push_back("--after-cursor=" + query.cursor);
    }
    add_period(words, query);
    add_names(words, query);
    return words;
}
