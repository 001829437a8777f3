/*
 * A terminal that a tool draws on again and again. What it showed before comes back at the end.
 */
#pragma once

#include <string>
#include <vector>

#include "cli/user_signals.h"
#include "output/terminal.h"
#include "output/terminal_mode.h"

/* A line; its text may come from anywhere. */
struct ScreenLine {
    std::string text;
    Style style;
};

class LiveScreen {
  public:
    /* Takes the terminal. watch: made before, so that no signal ends the tool while it has it. */
    explicit LiveScreen(const SignalWatch &watch);

    /* Gives it back as it was. */
    ~LiveScreen();

    LiveScreen(const LiveScreen &) = delete;
    LiveScreen &operator=(const LiveScreen &) = delete;

    /* Draws lines without line ends; those that don't fit the terminal are left out. False when it is gone.
     */
    bool draw(const std::vector<ScreenLine> &lines) const;

    /* Waits for a key, a signal or the end of the time. Returns the key, or 0. */
    char wait_for_key(int milliseconds);

  private:
    const SignalWatch &watch_;
    const TerminalMode keys_;
    bool has_keys_;
};
