/*
 * Fuzzes the database text of a backup: every line is read as by a simpler parser, and a backup warns of a
 * text if and only if a restore would stop in it, and of every text of which the database reads other
 * settings.
 */
#include <map>

#include "formats/entry_line.h"
#include "frwk_dbrm/format/database_text.h"
#include "support/fuzz_input.h"

namespace {

using database_text::Found;

/* The rest of the text, read without changing it. */
class Reader {
  public:
    explicit Reader(std::string_view text) : left_(text) {}

    Found next(std::string *key, std::string *value) {
        std::string_view line;
        do {
            left_.remove_prefix(std::min(left_.find_first_not_of(" \t"), left_.size()));
            if (left_.empty()) {
                return Found::kEnd;
            }
            line = left_.substr(0, left_.find_first_of("\r\n"));
            left_.remove_prefix(line.size());
            left_.remove_prefix(std::min(left_.find_first_not_of("\r\n"), left_.size()));
        } while (!line.empty() && line[0] == '#');

        const size_t equals = line.find('=');
        *key = line.substr(0, equals);
        *value = equals != std::string_view::npos ? line.substr(equals + 1) : "";
        return equals != std::string_view::npos ? Found::kPair : Found::kOther;
    }

  private:
    std::string_view left_;
};

/* Whether a restore would set every line of a text. A text shorter than its bytes ends with a NUL. */
bool is_read_whole(std::string_view bytes, bool has_nul) {
    Reader reader(bytes);
    std::string key;
    std::string value;
    Found found = reader.next(&key, &value);
    while (found == Found::kPair && !key.empty() && key.size() < 32 && value.size() < 1024) {
        found = reader.next(&key, &value);
    }
    return found == Found::kEnd && !has_nul;
}

using Settings = std::map<std::string, std::string>;

/* The settings that the database reads from a file. */
Settings read_by_the_database(std::string_view bytes) {
    Settings settings;
    while (!bytes.empty()) {
        const std::string_view line = bytes.substr(0, bytes.find('\n'));
        Entry entry;
        if (parse_entry(entry_text(line), entry) == nullptr) {
            settings[std::string(entry.key)] = entry.value;
        }
        bytes.remove_prefix(std::min(line.size() + 1, bytes.size()));
    }
    return settings;
}

/* The settings that a restore reads from a complete text. */
Settings read_by_a_restore(std::string_view bytes) {
    Settings settings;
    Reader reader(bytes);
    std::string key;
    std::string value;
    while (reader.next(&key, &value) == Found::kPair) {
        settings[key] = value;
    }
    return settings;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = FuzzInput(data, size).text();
    const ExactText text(bytes);
    Reader reader(bytes);

    char *at = text.get();
    Found found = Found::kOther;
    database_text::Line line;
    while (found != Found::kEnd) {
        std::string key;
        std::string value;
        const char *before = at;
        found = database_text::next_line(&at, &line);
        FUZZ_CHECK(found == reader.next(&key, &value));
        const size_t passed = database_text::passed(text.get(), found, at, line);
        FUZZ_CHECK(found == Found::kEnd ? passed == bytes.size() : key == line.key && value == line.value);
        FUZZ_CHECK(found == Found::kEnd || (at > before && at <= text.get() + bytes.size()));
        FUZZ_CHECK(found == Found::kEnd || passed < bytes.size());
    }

    const std::string_view all(reinterpret_cast<const char *>(data), size);
    const ExactText copy(all);
    const auto [difference, stop] = database_text::find_losses(copy.get(), all.size());
    FUZZ_CHECK((stop.reason == nullptr) == is_read_whole(bytes, bytes.size() < all.size()));
    FUZZ_CHECK(stop.bytes <= bytes.size());
    FUZZ_CHECK(difference.reason != nullptr || stop.reason != nullptr ||
               read_by_the_database(all) == read_by_a_restore(all));
    return 0;
}
