#include "input_line.h"

#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

#include "user_signals.h"

namespace {

/* While it lives, the terminal doesn't show what is typed. Nothing happens without a terminal. */
class EchoOff {
  public:
    explicit EchoOff(bool wanted) : before_(), off_(wanted && ::tcgetattr(STDIN_FILENO, &before_) == 0) {
        if (off_) {
            termios silent = before_;
            silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            off_ = ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
        }
    }
    ~EchoOff() {
        if (off_) {
            (void)::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_);
            (void)std::fputc('\n', stderr); /* the one that was typed was not shown */
        }
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

  private:
    termios before_;
    bool off_;
};

/* Byte by byte, so that what follows the line stays for others. */
bool read_line(const SignalWatch &watch, std::string *line) {
    line->clear();
    char next = 0;
    while (watch.wait(STDIN_FILENO, -1) && ::read(STDIN_FILENO, &next, 1) == 1) {
        if (next == '\n') {
            return true;
        }
        *line += next;
    }
    return !line->empty();
}

}  // namespace

bool read_input_line(const std::string &prompt, bool hidden, std::string *line) {
    bool got = false;
    int signal_number = 0;
    {
        const SignalWatch watch;
        const bool terminal = ::isatty(STDIN_FILENO) == 1;
        const EchoOff silent(hidden && terminal);
        if (terminal) {
            (void)std::fputs(prompt.c_str(), stderr);
        }
        got = read_line(watch, line);
        signal_number = SignalWatch::caught();
    }
    if (signal_number != 0) {
        (void)::raise(signal_number);
    }
    return got;
}
