#include "formats/subscription_line.h"

#include <algorithm>

const char *SubscriptionLine::name() {
    constexpr std::string_view kTail = " \t\r\n";
    const size_t last = std::string_view(text_, length_).find_last_not_of(kTail);
    text_[last + 1] = '\0'; /* of nothing but blanks: npos + 1 is 0 */
    return text_;
}

TextPart subscription_of(std::string_view name, std::string_view text) {
    const size_t begin = name.empty() ? std::string_view::npos : text.find(name);
    if (begin == std::string_view::npos) {
        return {0, 0};
    }
    const size_t line_end = std::min(text.find(kSubscriptionEnd, begin), text.size() - 1);
    return {begin, line_end + 1};
}
