/*
 * Prints the messages that a tool receives, until a limit is reached.
 *
 * Handlers call take on the library's threads; the main thread calls wait. The object has a lock.
 */
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "apps_message.h"
#include "cli/exit_code.h"
#include "cli/user_signals.h"

struct Arrival {
    uint32_t src;
    apps_message_id_e_type msgid;
    std::string body;
};

/* The limits of a tool; 0 for none. */
struct ArrivalLimits {
    uint64_t count;
    double seconds;
};

class Arrivals {
  public:
    /* json: print one object per line. */
    Arrivals(const ArrivalLimits &limits, bool json);

    Arrivals(const Arrivals &) = delete;
    Arrivals &operator=(const Arrivals &) = delete;

    /* Prints a message, unless the limit is reached. Any thread. */
    void take(const Arrival &arrival);

    /*
     * Waits for a limit, for Ctrl-C, or until the output is closed.
     *
     * Returns kRefused if the time limit was reached before the number of messages, or the output failed. A
     * reader that has left ends the wait with kDone.
     */
    ExitCode wait(const SignalWatch &watch);

  private:
    bool finished();
    ExitCode verdict();

    const ArrivalLimits limits_;
    const bool json_;
    const int wake_;
    std::mutex mutex_;
    uint64_t taken_ = 0;   /* mutex_ */
    bool closed_ = false;  /* mutex_ */
    int output_error_ = 0; /* mutex_ */
};
