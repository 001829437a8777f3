/*
 * The system log of the device tree, played by the test: it takes what every process of the tree logs.
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

    /* How many messages have the text in them. A process that replied has logged what came before. */
    size_t count(const std::string &text);

    /* Waits until a message has the text. */
    bool wait_for(const std::string &text);

    /* The whole of the first message that has the text, its "<priority>" included; "" when none has. */
    std::string find(const std::string &text);

    /* Forgets what was logged so far. */
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
