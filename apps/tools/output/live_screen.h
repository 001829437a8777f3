/*
 * A full-screen terminal that a tool redraws. The previous content is restored at the end.
 */
#pragma once

#include <string>
#include <vector>

#include "cli/user_signals.h"
#include "output/key_decoder.h"
#include "output/terminal.h"
#include "output/terminal_mode.h"

/* A line; its text is escaped. */
struct ScreenLine {
    std::string text;
    Style style;
};

class LiveScreen {
  public:
    /* Starts the full screen. watch: must exist, so that no signal ends the tool before the terminal is
     * restored. */
    explicit LiveScreen(const SignalWatch &watch);

    /* Restores the terminal. */
    ~LiveScreen();

    LiveScreen(const LiveScreen &) = delete;
    LiveScreen &operator=(const LiveScreen &) = delete;

    /* Draws lines without line ends; lines that don't fit the terminal are left out. Returns false if the
     * terminal is gone. */
    bool draw(const std::vector<ScreenLine> &lines) const;

    /* Waits for a key, a signal or the time limit. Returns the key, or kNoKey. */
    int wait_for_key(int milliseconds);

  private:
    const SignalWatch &watch_;
    const TerminalMode keys_;
    bool has_keys_;
    KeyDecoder decoder_;
};
