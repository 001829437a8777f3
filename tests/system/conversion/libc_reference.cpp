/*
 * Starting the reference program and talking to it over a pair of sockets.
 */
#include "system/conversion/libc_reference.h"

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

namespace {

bool send_all(int fd, const void *data, size_t length) {
    const char *next = static_cast<const char *>(data);
    while (length > 0) {
        const ssize_t sent = ::send(fd, next, length, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        next += sent;
        length -= static_cast<size_t>(sent);
    }
    return true;
}

bool receive_all(int fd, void *data, size_t length) {
    return length == 0 || ::recv(fd, data, length, MSG_WAITALL) == static_cast<ssize_t>(length);
}

}  // namespace

LibcReference::LibcReference(const char *path) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        return;
    }
    channel_.reset(ends[0]);
    const UniqueFd programs_end(ends[1]);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, programs_end.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, programs_end.get(), STDOUT_FILENO);
    char *const arguments[] = {const_cast<char *>(path), nullptr};
    if (::posix_spawn(&process_, path, &actions, nullptr, arguments, environ) != 0) {
        process_ = -1;
    }
    posix_spawn_file_actions_destroy(&actions);
}

LibcReference::~LibcReference() {
    channel_.reset();
    if (ready()) {
        ::waitpid(process_, nullptr, 0);
    }
}

std::vector<libc_numbers> LibcReference::ask(const std::string &texts, size_t count) {
    const auto length = static_cast<uint32_t>(texts.size());
    std::vector<libc_numbers> answers(count);
    if (!send_all(channel_.get(), &length, sizeof(length)) ||
        !send_all(channel_.get(), texts.data(), texts.size()) ||
        !receive_all(channel_.get(), answers.data(), count * sizeof(libc_numbers))) {
        answers.clear();
    }
    return answers;
}
