#include "output/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "output/spelt_text.h"

namespace {

constexpr size_t kPlainColumns = 80;
constexpr size_t kFewestColumns = 20;
constexpr size_t kPlainRows = 24;
constexpr size_t kFewestRows = 5;

int descriptor_of(Stream stream) {
    return stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO;
}

bool takes_colours(Stream stream) {
    const char *wish = std::getenv("NO_COLOR");
    const bool refused = wish != nullptr && *wish != '\0';
    return is_screen(stream) && !refused;
}

/* All zeros if the stream is not a terminal. */
winsize size_of(Stream stream) {
    winsize size = {};
    return ::ioctl(descriptor_of(stream), TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

/* A terminal may not know its size. */
size_t known(unsigned short length, size_t fewest, size_t otherwise) {
    return length == 0 ? otherwise : std::max<size_t>(length, fewest);
}

const char *sequence_of(Style style) {
    switch (style) {
        case Style::kStrong:
            return "\033[1m";
        case Style::kFaint:
            return "\033[2m";
        case Style::kAlert:
            return "\033[1;31m";
        case Style::kWarning:
            return "\033[33m";
        case Style::kPlain:
            break;
    }
    return "";
}

}  // namespace

bool is_terminal(Stream stream) {
    return ::isatty(descriptor_of(stream)) == 1;
}

bool is_screen(Stream stream) {
    const char *kind = std::getenv("TERM");
    return is_terminal(stream) && kind != nullptr && std::string_view(kind) != "dumb";
}

size_t columns_of(Stream stream) {
    return known(size_of(stream).ws_col, kFewestColumns, kPlainColumns);
}

size_t rows_of(Stream stream) {
    return known(size_of(stream).ws_row, kFewestRows, kPlainRows);
}

std::string styled(Stream stream, Style style, const std::string &text) {
    const std::string sequence = sequence_of(style);
    if (sequence.empty() || !takes_colours(stream)) {
        return text;
    }
    return sequence + text + "\033[0m";
}

std::string shown_text(Stream stream, const std::string &text) {
    return is_terminal(stream) ? spelt_out(text) : text;
}

std::string shown_lines(Stream stream, const std::string &text) {
    return is_terminal(stream) ? spelt_out_lines(text) : text;
}

std::string shown_json(Stream stream, const std::string &json) {
    return is_terminal(stream) ? spelt_out_json(json) : json;
}
