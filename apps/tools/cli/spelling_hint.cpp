#include "cli/spelling_hint.h"

#include <algorithm>

#include "cli/text_match.h"

namespace {

bool swapped(std::string_view left, std::string_view right, size_t row, size_t column) {
    return row > 1 && column > 1 && same_letter(left[row - 1], right[column - 2]) &&
           same_letter(left[row - 2], right[column - 1]);
}

/* Three rows of the table of distances: the one before the last, the last, and the one being filled. */
struct Rows {
    explicit Rows(size_t width) : before(width), last(width), now(width) {}

    void shift() {
        before.swap(last);
        last.swap(now);
    }

    std::vector<size_t> before, last, now;
};

}  // namespace

size_t edit_distance(std::string_view left, std::string_view right) {
    Rows rows(right.size() + 1);
    for (size_t column = 0; column <= right.size(); ++column) {
        rows.last[column] = column;
    }
    for (size_t row = 1; row <= left.size(); ++row) {
        rows.now[0] = row;
        for (size_t column = 1; column <= right.size(); ++column) {
            const size_t replaced =
                rows.last[column - 1] + (same_letter(left[row - 1], right[column - 1]) ? 0 : 1);
            rows.now[column] = std::min({replaced, rows.last[column] + 1, rows.now[column - 1] + 1});
            if (swapped(left, right, row, column)) {
                rows.now[column] = std::min(rows.now[column], rows.before[column - 2] + 1);
            }
        }
        rows.shift();
    }
    return rows.last[right.size()];
}

std::string nearest_name(std::string_view word, const std::vector<std::string> &names) {
    std::string nearest;
    size_t fewest = std::max<size_t>(word.size() / 3, 1) + 1;
    for (const std::string &name : names) {
        const size_t distance = edit_distance(word, name);
        if (distance < fewest && 2 * distance < std::max(word.size(), name.size())) {
            fewest = distance;
            nearest = name;
        }
    }
    return nearest;
}

std::string did_you_mean(std::string_view word, const std::vector<std::string> &names) {
    const std::string nearest = nearest_name(word, names);
    return nearest.empty() ? "" : "; did you mean '" + nearest + "'?";
}

std::string unknown_name(const std::string &kind, const std::string &word,
                         const std::vector<std::string> &names) {
    return "unknown " + kind + " '" + word + "'" + did_you_mean(word, names);
}

std::string unknown_choice(const std::string &kind, const std::string &word,
                           const std::vector<std::string> &names) {
    std::string text = unknown_name(kind, word, names);
    if (nearest_name(word, names).empty()) {
        for (const std::string &name : names) {
            text += (&name == &names.front() ? "; one of: " : ", ") + name;
        }
    }
    return text;
}
