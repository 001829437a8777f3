/*
 * Captures the log of the code under test. Link doubles_base.
 *
 * While a LogCapture exists, both channels accept every message, and each line goes to the capture instead
 * of the channel. One object at a time; any thread may log and query.
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

    /* Whether a line of either channel contains the text. */
    bool contains(const std::string &text) const;

    /* The number of messages that contain the text. A message on both channels counts once. */
    size_t count(const std::string &text) const;

    /* Waits until contains(text); false after the time limit. */
    bool wait_for(const std::string &text, int seconds = 20) const;

    /* The number of failed assertions that were passed to the base library. */
    size_t assertions() const;

    std::vector<LogLine> debug_lines() const;
    std::vector<LogLine> system_lines() const;

    /* Every line, for a failed test's message. */
    std::string text() const;

    /* Discards the captured lines. */
    void clear();

  private:
    struct State;
    std::shared_ptr<State> state_;
    int debug_before_;
    int level_before_;
};
