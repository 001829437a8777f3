/*
 * Messages that reach a tool which serves: each is printed as it comes, until there are enough.
 *
 * The handler runs on the library's threads, waiting on the main thread; the lock in between is this file's.
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

/* When a tool has had enough; 0 for never. */
struct ArrivalLimits {
    uint64_t count;
    double seconds;
};

class Arrivals {
  public:
    /* json: one object a line. */
    Arrivals(const ArrivalLimits &limits, bool json);

    Arrivals(const Arrivals &) = delete;
    Arrivals &operator=(const Arrivals &) = delete;

    /* Prints a message. Any thread; once there are enough, nothing more is printed. */
    void take(const Arrival &arrival);

    /*
     * Waits for the limits, for Ctrl-C, or for an output that nobody reads any more.
     *
     * Returns kRefused when the time passed before enough messages had come, or the output broke.
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
