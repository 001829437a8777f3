/*
 * Runs a piece of a test in a separate process: for code that ends the process or changes it for good.
 */
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "unit/frwk_common/ipc/test_peer.h"

/* The result of the child. */
struct ChildEnd {
    int status = -1;    /* of its exit; -1 when it ended otherwise */
    std::string report; /* what the body returned; "" when it ended the process */
    std::string errors; /* standard error */
};

namespace child_detail {

/* A process that ends with _exit doesn't write its counters by itself. */
#ifdef QUOR_COVERAGE
extern "C" void __gcov_dump(void);
inline void write_counters() {
    __gcov_dump();
}
#else
inline void write_counters() {}
#endif

inline void move_standard_error(int fd) {
    (void)dup2(fd, STDERR_FILENO);
    (void)close(fd);
}

inline std::string take_text(int fd) {
    const Bytes bytes = read_to_end(fd);
    (void)close(fd);
    return std::string(bytes.begin(), bytes.end());
}

}  // namespace child_detail

/* Starts the child and waits for its end. body: runs in the child; its report comes back. */
inline ChildEnd run_in_child(const std::function<std::string()> &body) {
    int report[2];
    int errors[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, report) != 0 || pipe2(errors, O_CLOEXEC) != 0) {
        return {};
    }
    const pid_t pid = fork();
    if (pid == 0) {
        child_detail::move_standard_error(errors[1]);
        (void)write_bytes(report[1], text_bytes(body()));
        child_detail::write_counters();
        _exit(0);
    }
    (void)close(report[1]);
    (void)close(errors[1]);

    ChildEnd end;
    end.report = child_detail::take_text(report[0]);
    end.errors = child_detail::take_text(errors[0]);
    int status = 0;
    if (pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status)) {
        end.status = WEXITSTATUS(status);
    }
    return end;
}
