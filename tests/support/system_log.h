/*
 * A fake system log of the device tree: it receives the log lines of every process of the tree.
 */
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class SystemLog {
  public:
    SystemLog();
    ~SystemLog();
    SystemLog(const SystemLog &) = delete;
    SystemLog &operator=(const SystemLog &) = delete;

    /* The number of messages that contain the text. A process that replied has logged everything before. */
    size_t count(const std::string &text);

    /* Waits until a message has the text. */
    bool wait_for(const std::string &text);

    /* The first message that contains the text, including its "<priority>"; "" if none does. */
    std::string find(const std::string &text);

    /* Discards the messages. */
    void clear();

    /* Every message, for a failed test. */
    std::string text();

  private:
    void take_messages();

    int fd_ = -1;
    std::atomic<bool> stop_{false};
    std::mutex mutex_;
    std::vector<std::string> messages_;
    std::thread thread_;
};
