#include "formats/batch_text.h"

namespace {

std::string last_line(size_t count) {
    return "=" + std::to_string(count) + "\n";
}

}  // namespace

std::string format_batch(const std::vector<JournalRecord> &changes) {
    std::string text;
    for (const JournalRecord &change : changes) {
        append_record(text, change);
    }
    return text + last_line(changes.size());
}

bool parse_batch(std::string_view text, std::vector<JournalRecord> &changes) {
    changes.clear();
    while (text.empty() || text.front() != '=' || text != last_line(changes.size())) {
        const size_t end = text.find('\n');
        JournalRecord change = {};
        if (end == std::string_view::npos || changes.size() == kBatchChangesMax ||
            parse_record(text.substr(0, end), change) != nullptr) {
            return false;
        }
        changes.push_back(change);
        text.remove_prefix(end + 1);
    }
    return !changes.empty();
}
