/*
 * Kills a process after a time in microseconds; a sleep would always be too long.
 */
#pragma once

#include <signal.h>
#include <sys/types.h>

#include <chrono>
#include <thread>

class Killer {
  public:
    Killer(pid_t pid, std::chrono::microseconds delay)
        : thread_([pid, delay] {
              const auto due = std::chrono::steady_clock::now() + delay;
              while (std::chrono::steady_clock::now() < due) {
              }
              ::kill(pid, SIGKILL);
          }) {}
    /* Waits until it has happened. */
    ~Killer() { thread_.join(); }
    Killer(const Killer &) = delete;
    Killer &operator=(const Killer &) = delete;

  private:
    std::thread thread_;
};
