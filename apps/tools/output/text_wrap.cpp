#include "output/text_wrap.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr size_t kFewestForMeaning = 30;
constexpr size_t kNameIndent = 2;
constexpr size_t kLowerIndent = 6;

/* Wraps one line of the text. */
std::string wrapped_line(const std::string &line, size_t width, size_t indent) {
    const std::string margin(indent, ' ');
    std::istringstream words(line);
    std::string all;
    std::string current;
    for (std::string word; words >> word;) {
        if (!current.empty() && indent + current.size() + 1 + word.size() > width) {
            all += margin + current + "\n";
            current.clear();
        }
        current += (current.empty() ? "" : " ") + word;
    }
    return all + (current.empty() ? "" : margin + current) + "\n";
}

}  // namespace

std::string wrapped(const std::string &text, size_t width, size_t indent) {
    std::istringstream lines(text);
    std::string all;
    for (std::string line; std::getline(lines, line);) {
        all += wrapped_line(line, width, indent);
    }
    return all;
}

std::string wrapped_pair(const std::string &name, const std::string &meaning, size_t width,
                         size_t name_width) {
    const std::string left = std::string(kNameIndent, ' ') + name;
    if (meaning.empty()) {
        return left + "\n";
    }
    if (width < name_width + kFewestForMeaning) {
        return left + "\n" + wrapped(meaning, width, kLowerIndent);
    }
    std::string right = wrapped(meaning, width, name_width);
    if (left.size() + 1 > name_width) {
        return left + "\n" + right;
    }
    return right.replace(0, left.size(), left);
}
