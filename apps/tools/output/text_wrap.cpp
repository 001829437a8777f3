#include "output/text_wrap.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include "output/cut_text.h"

namespace {

constexpr size_t kFewestForMeaning = 30;
constexpr size_t kNameIndent = 2;
constexpr size_t kLowerIndent = 6;

/* Takes the first line of a word that is longer than the room. */
std::string take_piece(std::string *word, size_t room) {
    std::string piece = cut_text(*word, room);
    piece = piece.empty() ? word->substr(0, room) : piece;
    word->erase(0, piece.size());
    return piece;
}

/* Wraps one line of the text. */
std::string wrapped_line(const std::string &line, size_t width, size_t indent) {
    const std::string margin(indent, ' ');
    const size_t room = width > indent ? width - indent : 1;
    std::istringstream words(line);
    std::string all;
    std::string current;
    for (std::string word; words >> word;) {
        if (!current.empty() && current.size() + 1 + word.size() > room) {
            all += margin + current + "\n";
            current.clear();
        }
        while (word.size() > room) {
            all += margin + take_piece(&word, room) + "\n";
        }
        current += (current.empty() ? "" : " ") + word;
    }
    return all + (current.empty() ? "" : margin + current) + "\n";
}

/* The words of a command line; quotes hold words together. */
std::vector<std::string> command_words(const std::string &line) {
    std::vector<std::string> words;
    char quote = 0;
    for (const char character : line) {
        const bool is_quote = character == '\'' || character == '"';
        const bool ends = quote == character;
        quote = quote == 0 && is_quote ? character : ends ? '\0' : quote;
        if (words.empty() || (character == ' ' && quote == 0)) {
            words.emplace_back();
        }
        if (character != ' ' || quote != 0) {
            words.back() += character;
        }
    }
    return words;
}

/* Words with a mark after each line but the last, and a beginning before each but the first. */
std::string continued(const std::vector<std::string> &words, size_t width, const std::string &mark,
                      const std::string &beginning) {
    std::string all;
    std::string current;
    for (const std::string &word : words) {
        if (!current.empty() && current.size() + 1 + word.size() + mark.size() > width) {
            all += current + mark + "\n";
            current = beginning + word;
        } else {
            current += (current.empty() ? "" : " ") + word;
        }
    }
    return all + current + "\n";
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
        return (left.size() <= width ? left + "\n" : wrapped(name, width, kNameIndent)) +
               wrapped(meaning, width, kLowerIndent);
    }
    std::string right = wrapped(meaning, width, name_width);
    if (left.size() + 1 > name_width) {
        return left + "\n" + right;
    }
    return right.replace(0, left.size(), left);
}

std::string wrapped_command(const std::string &line, size_t width, size_t indent) {
    const std::string margin(indent, ' ');
    if (indent + line.size() <= width) {
        return margin + line + "\n";
    }
    std::vector<std::string> words = command_words(line);
    words[0] = margin + words[0];
    const bool comment = line[0] == '#';
    return continued(words, width, comment ? "" : " \\", margin + (comment ? "# " : "    "));
}
