/*
 * Temporarily changes the input mode of the terminal on standard input.
 */
#pragma once

#include <termios.h>

/* Echo is off. */
struct HiddenTyping {};

/* Every key is passed to the tool at once, without echo; only Ctrl-C sends a signal. */
struct SingleKeys {};

/* Changes the mode while the object exists. Does nothing without a terminal. */
class TerminalMode {
  public:
    explicit TerminalMode(HiddenTyping);
    explicit TerminalMode(SingleKeys);

    /* Restores the mode; discards unread input. */
    ~TerminalMode();

    TerminalMode(const TerminalMode &) = delete;
    TerminalMode &operator=(const TerminalMode &) = delete;

    /* Whether there is a terminal and its mode was changed. */
    bool changed() const { return changed_; }

  private:
    explicit TerminalMode(void (*change)(termios &mode));

    termios before_;
    bool changed_;
};
