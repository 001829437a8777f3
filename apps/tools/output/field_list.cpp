#include "output/field_list.h"

#include <cstdio>

#include "output/terminal.h"
#include "output/text_wrap.h"

namespace {

constexpr size_t kNameColumns = 18;

}  // namespace

void print_title(const std::string &title) {
    (void)std::puts(styled(Stream::kOutput, Style::kStrong, shown_text(Stream::kOutput, title)).c_str());
}

void print_field(const std::string &name, const std::string &value) {
    const size_t width = is_terminal(Stream::kOutput) ? columns_of(Stream::kOutput) : std::string::npos;
    const std::string text = value.empty() ? "-" : shown_text(Stream::kOutput, value);
    (void)std::fputs(wrapped_pair(shown_text(Stream::kOutput, name), text, width, kNameColumns).c_str(),
                     stdout);
}
