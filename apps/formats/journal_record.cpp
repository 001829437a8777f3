#include "formats/journal_record.h"

namespace {

/* In the order of StoreId and of JournalRecord::Change. */
constexpr std::string_view kStoreLetters = "PMF";
constexpr std::string_view kChangeSigns = "+-!";

const char *parse_texts(std::string_view text, JournalRecord &record) {
    Entry entry;
    switch (record.change) {
        case JournalRecord::Change::kSet:
            if (const char *problem = parse_entry(text, entry)) {
                return problem;
            }
            record.key = entry.key;
            record.value = entry.value;
            return nullptr;
        case JournalRecord::Change::kErase:
            record.key = text;
            return key_problem(text);
        case JournalRecord::Change::kClear:
            break;
    }
    return text.empty() ? nullptr : "a text follows the sign";
}

}  // namespace

void append_record(std::string &text, const JournalRecord &record) {
    text += kStoreLetters[static_cast<size_t>(record.store)];
    text += kChangeSigns[static_cast<size_t>(record.change)];
    if (record.change == JournalRecord::Change::kSet) {
        append_entry(text, {record.key, record.value});
    } else {
        text += record.key;
        text += '\n';
    }
}

std::string format_record(const JournalRecord &record) {
    std::string line;
    append_record(line, record);
    return line;
}

size_t record_size(const JournalRecord &record) {
    const bool is_set = record.change == JournalRecord::Change::kSet;
    return 2 + record.key.size() + (is_set ? 1 + record.value.size() : 0) + 1;
}

const char *parse_record(std::string_view line, JournalRecord &record) {
    if (line.size() < 2) {
        return "it is too short";
    }
    const size_t store = kStoreLetters.find(line[0]);
    const size_t change = kChangeSigns.find(line[1]);
    if (store == std::string_view::npos || change == std::string_view::npos) {
        return "store or change is unknown";
    }

    JournalRecord read = {static_cast<StoreId>(store), static_cast<JournalRecord::Change>(change), {}, {}};
    if (const char *problem = parse_texts(line.substr(2), read)) {
        return problem;
    }
    record = read;
    return nullptr;
}
