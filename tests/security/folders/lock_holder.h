/*
 * Another user who keeps a module from starting, or modules from subscribing.
 */
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include "security/attacker.h"

/* The other user with a lock on a file, until the end of the scope. */
class LockHolder {
  public:
    /* type: F_WRLCK for a file of theirs, or F_RDLCK for one that they can only read. */
    explicit LockHolder(const char *path, short type = F_WRLCK)
        : attacker_(As::kAnotherUser, [path, type] { hold(path, type); }) {
        attacker_.wait_for_a_move();
    }

  private:
    static void hold(const char *path, short type) {
        static const int fd = ::open(path, (type == F_WRLCK ? O_RDWR : O_RDONLY) | O_CLOEXEC);
        struct flock whole = {};
        whole.l_type = type;
        whole.l_whence = SEEK_SET;
        (void)::fcntl(fd, F_SETLK, &whole);
        (void)::usleep(1000);
    }

    Attacker attacker_;
};
