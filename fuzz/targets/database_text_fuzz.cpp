/*
 * Whatever a backup holds as the text of a database: every line means what a plainer reading of it says.
 */
#include "frwk_dbrm/database_text.h"
#include "support/fuzz_input.h"

namespace {

using database_text::Found;

/* The text that is left, read without touching it. */
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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string_view bytes = FuzzInput(data, size).text();
    const ExactText text(bytes);
    Reader reader(bytes);

    char *at = text.get();
    Found found = Found::kOther;
    while (found != Found::kEnd) {
        database_text::Line line;
        std::string key;
        std::string value;
        const char *before = at;
        found = database_text::next_line(&at, &line);
        FUZZ_CHECK(found == reader.next(&key, &value));
        FUZZ_CHECK(key == line.key && value == line.value);
        FUZZ_CHECK(found == Found::kEnd || (at > before && at <= text.get() + bytes.size()));
    }
    return 0;
}
