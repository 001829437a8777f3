/*
 * A process that makes one move again and again, as fast as it can, while the test makes the call under
 * attack.
 */
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <ostream>

#include "support/shared_memory.h"

/* The attacker. The same user can play another one in folders and files that everybody may write to. */
enum class As {
    kTheSameUser,
    kAnotherUser
};

void PrintTo(As user, std::ostream *out);

/* How often a call is attacked: QUOR_ATTACK_ROUNDS, or 200. */
int attack_rounds();

class Attacker {
  public:
    /* move: must not ask for memory, and is called over and over in the other process, which has no threads.
     */
    Attacker(As user, std::function<void()> move);
    /* Ends the process. */
    ~Attacker();
    Attacker(const Attacker &) = delete;
    Attacker &operator=(const Attacker &) = delete;

    /* Waits until the attacker has seen what is there now: until a move that began after this call has ended.
     */
    void wait_for_a_move();

    unsigned long moves() const { return shared_->moves; }

  private:
    struct Shared {
        std::atomic<unsigned long> moves{0};
        std::atomic<bool> is_over{false};
        std::atomic<bool> has_failed{false};
    };

    SharedMemory<Shared> shared_;
    pid_t pid_;
};
