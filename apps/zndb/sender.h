/*
 * Who changes settings, for the shares: a module, as long as one of its processes holds its instance lock, or
 * else a process.
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/* 0 for the database itself, or nobody known; a module's id; or a process with a bit that ids don't have. */
using Sender = uint32_t;

inline constexpr Sender kNobody = 0;

constexpr Sender sender_of_process(int32_t process) {
    return static_cast<uint32_t>(process) | 0x80000000U;
}

/* Who sends the message that is being answered, and by which process. */
struct SentBy {
    Sender sender;
    int32_t process;
};

/*
 * Finds the module of a process. To look for it takes some system calls, so that the latest answers are
 * remembered, for a second: a process may take a lock later, and its id may become another process's. One
 * thread at a time.
 */
class SenderFinder {
  public:
    Sender find(int32_t process);

  private:
    struct Found {
        int32_t process = 0;
        Sender sender = kNobody;
        uint32_t at = 0; /* uptime in seconds */
    };

    static constexpr size_t kRemembered = 8;

    std::array<Found, kRemembered> latest_ = {};
    size_t oldest_ = 0;
};
