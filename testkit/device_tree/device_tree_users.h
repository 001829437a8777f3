// The users of the private tree, where it has a user namespace of its own.
#ifndef QUOR_DEVICE_TREE_USERS_H
#define QUOR_DEVICE_TREE_USERS_H

#include <sys/types.h>

namespace device_tree {

// Maps users into the user namespace that the calling process is about to make: its own user and group, which
// stand for themselves, and, where root makes it, users and groups 60001 and 60002, as whom tests attack.
// Only root may map them.
class UserMapper {
  public:
    // Starts a process that stays outside.
    UserMapper();
    UserMapper(const UserMapper &) = delete;
    UserMapper &operator=(const UserMapper &) = delete;

    // Maps the users. To be called once the namespace is made. Refuses where not even the own user can be
    // mapped.
    void map();

  private:
    const uid_t user_;
    const gid_t group_;
    pid_t outside_ = -1;
    int call_ = -1;  // the other process waits until this end of a pipe is closed
};

}  // namespace device_tree

#endif
