#include "formats/store_line.h"

namespace {

/* Returns null, or why a comment or an empty line is damage: a restore of a backup would read it differently.
 */
const char *problem_without_entry(const Line &line) {
    const bool is_comment = !line.text.empty() && line.text[0] == '#';
    if (!is_comment) {
        return line.number == 1 ? "the file begins with an empty line" : nullptr;
    }
    return line.is_broken ? kBrokenComment : comment_problem(line.text);
}

}  // namespace

const char *read_store_line(const Line &line, Entry &entry) {
    entry = {};
    const std::string_view text = entry_text(line.text);
    if (text.empty()) {
        return problem_without_entry(line);
    }
    return line.fits ? parse_entry(text, entry) : "it is too long";
}
