#include "output/live_screen.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "output/terminal.h"

namespace {

constexpr char kEnter[] = "\033[?1049h\033[?25l"; /* the alternate screen, without the cursor */
constexpr char kLeave[] = "\033[?25h\033[?1049l";
constexpr char kHome[] = "\033[H";
constexpr char kEraseLineEnd[] = "\033[K";
constexpr char kEraseBelow[] = "\033[J";

}  // namespace

LiveScreen::LiveScreen(const SignalWatch &watch)
    : watch_(watch), keys_(SingleKeys()), has_keys_(keys_.changed()) {
    (void)std::fputs(kEnter, stdout);
}

LiveScreen::~LiveScreen() {
    (void)std::fputs(kLeave, stdout);
    (void)std::fflush(stdout);
}

/* A line end after the last line would scroll. */
bool LiveScreen::draw(const std::vector<ScreenLine> &lines) const {
    std::string all = kHome;
    const size_t count = std::min(lines.size(), rows_of(Stream::kOutput));
    for (size_t i = 0; i < count; ++i) {
        const std::string text = shown_text(Stream::kOutput, lines[i].text);
        all += (i > 0 ? "\n" : "") + styled(Stream::kOutput, lines[i].style, text) + kEraseLineEnd;
    }
    all += kEraseBelow;
    return std::fwrite(all.data(), 1, all.size(), stdout) == all.size() && std::fflush(stdout) == 0;
}

/* At the end of the input, stop polling it: it would always be readable. */
char LiveScreen::wait_for_key(int milliseconds) {
    char key = 0;
    if (watch_.wait(has_keys_ ? STDIN_FILENO : -1, milliseconds)) {
        has_keys_ = ::read(STDIN_FILENO, &key, 1) == 1;
    }
    return key;
}
