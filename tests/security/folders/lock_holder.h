/*
 * Another user who keeps a module from starting, or modules from subscribing.
 */
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include "security/attacker.h"

/* The other user with a lock on a file of theirs, until the end of the scope. */
class LockHolder {
  public:
    explicit LockHolder(const char *path) : attacker_(As::kAnotherUser, [path] { hold(path); }) {
        attacker_.wait_for_a_move();
    }

  private:
    static void hold(const char *path) {
        static const int fd = ::open(path, O_RDWR | O_CLOEXEC);
        struct flock whole = {};
        whole.l_type = F_WRLCK;
        whole.l_whence = SEEK_SET;
        (void)::fcntl(fd, F_SETLK, &whole);
        (void)::usleep(1000);
    }

    Attacker attacker_;
};
