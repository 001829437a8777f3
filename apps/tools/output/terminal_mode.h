/*
 * How the terminal of standard input treats what is typed, changed for a while.
 */
#pragma once

#include <termios.h>

/* What is typed is not shown. */
struct HiddenTyping {};

/* Every key reaches the tool at once and unseen; none but Ctrl-C sends a signal. */
struct SingleKeys {};

/* While it lives, the terminal is changed. Nothing happens without a terminal. */
class TerminalMode {
  public:
    explicit TerminalMode(HiddenTyping);
    explicit TerminalMode(SingleKeys);

    /* The terminal is as it was; what was typed and not read is forgotten. */
    ~TerminalMode();

    TerminalMode(const TerminalMode &) = delete;
    TerminalMode &operator=(const TerminalMode &) = delete;

    /* Whether there is a terminal, and it was changed. */
    bool changed() const { return changed_; }

  private:
    explicit TerminalMode(void (*change)(termios &mode));

    termios before_;
    bool changed_;
};
