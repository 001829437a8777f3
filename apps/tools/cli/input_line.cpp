#include "cli/input_line.h"

#include <unistd.h>

#include <cstdio>

#include "cli/user_signals.h"
#include "output/terminal.h"
#include "output/terminal_mode.h"

namespace {

/* Reads byte by byte, so that the input after the line is not consumed. */
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

void ask(const std::string &prompt) {
    if (::isatty(STDIN_FILENO) == 1) {
        (void)std::fputs(shown_text(Stream::kError, prompt).c_str(), stderr);
    }
}

bool ask_openly(const SignalWatch &watch, const std::string &prompt, std::string *line) {
    ask(prompt);
    return read_line(watch, line);
}

bool ask_hidden(const SignalWatch &watch, const std::string &prompt, std::string *line) {
    const TerminalMode silent{HiddenTyping()};
    ask(prompt);
    const bool got = read_line(watch, line);
    if (silent.changed()) {
        (void)std::fputc('\n', stderr); /* the typed line end was not echoed */
    }
    return got;
}

}  // namespace

bool read_input_line(const std::string &prompt, bool hidden, std::string *line) {
    bool got = false;
    int signal_number = 0;
    {
        const SignalWatch watch;
        got = hidden ? ask_hidden(watch, prompt, line) : ask_openly(watch, prompt, line);
        signal_number = SignalWatch::caught();
    }
    end_by_signal(signal_number);
    return got;
}
