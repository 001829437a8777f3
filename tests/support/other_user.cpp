#include "support/other_user.h"

#include <sys/wait.h>
#include <unistd.h>

int as_other_user(const std::function<int()> &body) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(::setresuid(kOtherUser, kOtherUser, kOtherUser) == 0 ? body() : 255);
    }
    int status = 0;
    const bool ended = pid > 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status);
    return ended ? WEXITSTATUS(status) : -1;
}

bool other_user_exists() {
    static const bool exists = as_other_user([] { return 0; }) == 0;
    return exists;
}

void skip_without_other_user() {
    if (!other_user_exists()) {
        GTEST_SKIP() << "the kernel lets only root become another user: run the tests as root";
    }
}
