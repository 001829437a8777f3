/*
 * Fuzzes lines of the database's files and journal: a parsed line is written back as the same line, and obeys
 * the rules for keys and values.
 */
#include "formats/entry_line.h"
#include "formats/journal_record.h"
#include "support/fuzz_input.h"
#include "zndb.h"

namespace {

void check_texts(std::string_view key, std::string_view value) {
    constexpr std::string_view kEnds("\r\n\0", 3);
    FUZZ_CHECK(!key.empty() && key.size() < ZNDB_KEY_LEN && value.size() < ZNDB_VALUE_LEN);
    FUZZ_CHECK(key.find_first_of(kEnds) == std::string_view::npos && key.find('=') == std::string_view::npos);
    FUZZ_CHECK(value.find_first_of(kEnds) == std::string_view::npos);
    FUZZ_CHECK(key[0] != '#' && key[0] != ' ' && key[0] != '\t');
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view line = FuzzInput(data, size).rest();
    Entry entry = {};
    if (parse_entry(line, entry) == nullptr) {
        check_texts(entry.key, entry.value);
        FUZZ_CHECK(std::string(entry.key) + "=" + std::string(entry.value) == line);
    } else {
        FUZZ_CHECK(entry.key.empty() && entry.value.empty());
    }

    JournalRecord record = {};
    if (parse_record(line, record) == nullptr) {
        FUZZ_CHECK(format_record(record) == std::string(line) + "\n");
        if (record.change != JournalRecord::Change::kClear) {
            check_texts(record.key, record.value);
        }
    }
    return 0;
}
