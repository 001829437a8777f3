/*
 * What the code under test logs. Link doubles_base.
 *
 * While a LogCapture lives, both channels take every message, and each line lands in the capture instead
 * of the channel. One at a time; any thread may log and ask.
 *
 *     LogCapture log;
 *     EXPECT_FALSE(ipc::Connection::open(5, 0));
 *     EXPECT_TRUE(log.contains("invalid module id=")) << log.text();
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

enum class LogChannel {
    kDebug,
    kSystem
};

struct LogLine {
    LogChannel channel;
    int level;
    std::string file;
    std::string function;
    int line;
    std::string text; /* of an assertion: "ASSERT(condition) message" */
};

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    /* Whether a line of either channel has text in it. */
    bool contains(const std::string &text) const;

    /* How many messages have text in them. A message that went to both channels counts once. */
    size_t count(const std::string &text) const;

    /* Waits until contains(text); false when that took longer than the limit. */
    bool wait_for(const std::string &text, int seconds = 20) const;

    /* How many conditions that don't hold were handed to the base library, which may do anything then. */
    size_t assertions() const;

    std::vector<LogLine> debug_lines() const;
    std::vector<LogLine> system_lines() const;

    /* Every line, for a failed test's message. */
    std::string text() const;

    /* Forgets what was captured so far. */
    void clear();

  private:
    struct State;
    std::shared_ptr<State> state_;
    int debug_before_;
    int level_before_;
};
