#include "formats/way_back_text.h"

namespace {

using Change = JournalRecord::Change;

constexpr std::string_view kFirstLine = "zndb way-back 1";
constexpr std::string_view kKept = "kept";
constexpr std::string_view kWhole = "whole";
constexpr std::string_view kReset = "reset";
constexpr std::string_view kFiles = "files ";
constexpr char kBefore = '<';
constexpr char kAfter = '>';

/* Adds lines to a text, and counts them. */
class Lines {
  public:
    void add(std::string_view line) {
        text_.append(line).append("\n");
        ++count_;
    }

    void add_if(bool wanted, std::string_view line) {
        if (wanted) {
            add(line);
        }
    }

    void add_change(char sign, const KeyChange &change, const std::optional<std::string> &value) {
        text_ += sign;
        append_record(text_, value ? JournalRecord{change.store, Change::kSet, change.key, *value}
                                   : JournalRecord{change.store, Change::kErase, change.key, {}});
        ++count_;
    }

    std::string finish() {
        text_.append("=").append(std::to_string(count_)).append("\n");
        return std::move(text_);
    }

  private:
    std::string text_;
    size_t count_ = 0;
};

bool are_signs(std::string_view text) {
    return text.find_first_not_of("+-") == std::string_view::npos;
}

bool take_word(std::string_view line, WayBack &way_back) {
    if (line == kKept) {
        way_back.is_kept = true;
    } else if (line == kWhole) {
        way_back.is_whole = true;
    } else if (line == kReset) {
        way_back.plain_was_reset = true;
    } else if (line.substr(0, kFiles.size()) == kFiles && are_signs(line.substr(kFiles.size()))) {
        way_back.files = line.substr(kFiles.size());
    } else {
        return false;
    }
    return true;
}

std::optional<std::string> value_after(const JournalRecord &record) {
    return record.change == Change::kSet ? std::optional(std::string(record.value)) : std::nullopt;
}

bool take_before(const JournalRecord &record, std::vector<KeyChange> &changes) {
    if (changes.size() == kWayBackChangesMax) {
        return false;
    }
    changes.push_back({record.store, std::string(record.key), value_after(record), std::nullopt});
    return true;
}

/* Only after the line of the same key. */
bool take_after(const JournalRecord &record, std::vector<KeyChange> &changes) {
    if (changes.empty() || changes.back().store != record.store || changes.back().key != record.key) {
        return false;
    }
    changes.back().after = value_after(record);
    return true;
}

bool take_line(std::string_view line, WayBack &way_back) {
    if (line.empty() || (line[0] != kBefore && line[0] != kAfter)) {
        return way_back.changes.empty() && take_word(line, way_back);
    }
    JournalRecord record = {};
    if (parse_record(line.substr(1), record) != nullptr || record.change == Change::kClear) {
        return false;
    }
    return line[0] == kBefore ? take_before(record, way_back.changes) : take_after(record, way_back.changes);
}

}  // namespace

std::string format_way_back(const WayBack &way_back) {
    Lines lines;
    lines.add(kFirstLine);
    lines.add_if(way_back.is_kept, kKept);
    lines.add_if(way_back.is_whole, kWhole);
    lines.add_if(way_back.plain_was_reset, kReset);
    lines.add_if(!way_back.files.empty(), std::string(kFiles) + way_back.files);
    for (const KeyChange &change : way_back.changes) {
        lines.add_change(kBefore, change, change.before);
        if (!way_back.is_whole) {
            lines.add_change(kAfter, change, change.after);
        }
    }
    return lines.finish();
}

bool parse_way_back(std::string_view text, WayBack &way_back) {
    way_back = {};
    size_t count = 0;
    while (text.empty() || text[0] != '=') {
        const size_t end = text.find('\n');
        if (end == std::string_view::npos) {
            return false;
        }
        const std::string_view line = text.substr(0, end);
        if (count == 0 ? line != kFirstLine : !take_line(line, way_back)) {
            return false;
        }
        ++count;
        text.remove_prefix(end + 1);
    }
    return count > 0 && text == "=" + std::to_string(count) + "\n";
}
