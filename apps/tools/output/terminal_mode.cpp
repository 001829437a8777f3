#include "output/terminal_mode.h"

#include <unistd.h>

namespace {

void hide_typing(termios &mode) {
    mode.c_lflag &= ~static_cast<tcflag_t>(ECHO);
}

void take_single_keys(termios &mode) {
    mode.c_lflag &= ~static_cast<tcflag_t>(ECHO | ICANON);
    mode.c_cc[VSUSP] = _POSIX_VDISABLE;
    mode.c_cc[VQUIT] = _POSIX_VDISABLE;
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
}

}  // namespace

TerminalMode::TerminalMode(HiddenTyping) : TerminalMode(hide_typing) {}

TerminalMode::TerminalMode(SingleKeys) : TerminalMode(take_single_keys) {}

TerminalMode::TerminalMode(void (*change)(termios &mode))
    : before_(), changed_(::tcgetattr(STDIN_FILENO, &before_) == 0) {
    if (changed_) {
        termios mode = before_;
        change(mode);
        changed_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &mode) == 0;
    }
}

TerminalMode::~TerminalMode() {
    if (changed_) {
        (void)::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
    }
}
