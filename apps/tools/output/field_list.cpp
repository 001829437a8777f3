#include "output/field_list.h"

#include <cstdio>

#include "output/terminal.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kNameColumns = 20;

}  // namespace

size_t output_width() {
    return is_terminal(Stream::kOutput) ? columns_of(Stream::kOutput) : std::string::npos;
}

void print_sentence(const std::string &sentence, Style style) {
    std::string lines = wrapped(shown_text(Stream::kOutput, sentence), output_width(), 0);
    lines.resize(lines.empty() ? 0 : lines.size() - 1); /* puts adds the line end */
    (void)std::puts(styled(Stream::kOutput, style, lines).c_str());
}

void print_title(const std::string &title, Style style) {
    print_sentence(title, style);
}

void print_field(const std::string &name, const std::string &value) {
    const std::string text = value.empty() ? "-" : shown_text(Stream::kOutput, value);
    (void)std::fputs(
        wrapped_pair(shown_text(Stream::kOutput, name), text, output_width(), kNameColumns).c_str(), stdout);
}
