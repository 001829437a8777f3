#include "output/live_screen.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "output/terminal.h"

namespace {

constexpr char kEnterScreen[] = "\033[?1049h\033[?25l"; /* the alternate screen, without the cursor */
constexpr char kLeaveScreen[] = "\033[?25h\033[?1049l";
constexpr char kFromHome[] = "\033[H";
constexpr char kEraseLineEnd[] = "\033[K";
constexpr char kEraseBelow[] = "\033[J";

/* The bytes of a key follow each other within this time. */
constexpr int kSequenceMilliseconds = 50;

}  // namespace

LiveScreen::LiveScreen(const SignalWatch &watch)
    : watch_(watch), keys_(SingleKeys()), has_keys_(keys_.changed()) {
    (void)std::fputs(kEnterScreen, stdout);
}

LiveScreen::~LiveScreen() {
    (void)std::fputs(kLeaveScreen, stdout);
    (void)std::fflush(stdout);
}

/* A line end after the last line would scroll. */
bool LiveScreen::draw(const std::vector<ScreenLine> &lines) const {
    std::string all = kFromHome;
    const size_t count = std::min(lines.size(), rows_of(Stream::kOutput));
    for (size_t i = 0; i < count; ++i) {
        const std::string text = shown_text(Stream::kOutput, lines[i].text);
        all += (i > 0 ? "\n" : "") + styled(Stream::kOutput, lines[i].style, text) + kEraseLineEnd;
    }
    all += kEraseBelow;
    return std::fwrite(all.data(), 1, all.size(), stdout) == all.size() && std::fflush(stdout) == 0;
}

/* At the end of the input, stop polling it: it would always be readable. */
int LiveScreen::wait_for_key(int milliseconds) {
    int key = decoder_.next();
    if (key != kNoKey) {
        return key;
    }
    const bool begun = decoder_.has_begun();
    const int limit = begun ? std::min(milliseconds, kSequenceMilliseconds) : milliseconds;
    if (!watch_.wait(has_keys_ ? STDIN_FILENO : -1, limit)) {
        return begun ? decoder_.give_up() : static_cast<int>(kNoKey);
    }
    char bytes[64];
    const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof(bytes));
    has_keys_ = count > 0;
    decoder_.add(bytes, has_keys_ ? static_cast<size_t>(count) : 0);
    return decoder_.next();
}
