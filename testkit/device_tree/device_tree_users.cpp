// A namespace's maps may be written once each: with several users by a process outside that has root's
// rights, or with the own user alone by the process inside.

#include "device_tree_users.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "device_tree_mounts.h"

namespace device_tree {
namespace {

// What the process outside could map, as the bits of its status.
enum Mapped {
    kUsers = 1,
    kGroups = 2
};

constexpr unsigned kFirstOtherUser = 60001;
constexpr unsigned kOtherUsers = 2;

std::string line(unsigned id, unsigned count = 1) {
    return std::to_string(id) + " " + std::to_string(id) + " " + std::to_string(count) + "\n";
}

bool write_text(const std::string &path, const std::string &text) {
    const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    const bool written = fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(fd);
    return written;
}

[[noreturn]] void map_from_outside(int call, pid_t inside) {
    char nothing = 0;
    (void)!read(call, &nothing, 1);
    const std::string process = "/proc/" + std::to_string(inside);
    const std::string others = line(kFirstOtherUser, kOtherUsers);
    const bool users = write_text(process + "/uid_map", line(geteuid()) + others);
    const bool groups = write_text(process + "/gid_map", line(getegid()) + others);
    _exit((users ? kUsers : 0) | (groups ? kGroups : 0));
}

}  // namespace

UserMapper::UserMapper() : user_(geteuid()), group_(getegid()) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        refuse("make", "a pipe");
    }
    const pid_t inside = getpid();
    outside_ = fork();
    if (outside_ < 0) {
        refuse("start", "a process");
    }
    if (outside_ == 0) {
        close(ends[1]);
        map_from_outside(ends[0], inside);
    }
    close(ends[0]);
    call_ = ends[1];
}

void UserMapper::map() {
    close(call_);
    int status = 0;
    if (waitpid(outside_, &status, 0) != outside_ || !WIFEXITED(status)) {
        refuse("map", "users");
    }
    const int mapped = WEXITSTATUS(status);
    if ((mapped & kUsers) == 0 && !write_text("/proc/self/uid_map", line(user_))) {
        refuse("map", "the user");
    }
    if ((mapped & kGroups) == 0 &&
        (!write_text("/proc/self/setgroups", "deny") || !write_text("/proc/self/gid_map", line(group_)))) {
        refuse("map", "the group");
    }
}

}  // namespace device_tree
