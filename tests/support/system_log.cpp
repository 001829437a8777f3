#include "support/system_log.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/wait_until.h"

namespace {

constexpr char kPath[] = "/dev/log";
constexpr int kLookAfterMs = 20;

bool has(const std::string &message, const std::string &text) {
    return message.find(text) != std::string::npos;
}

}  // namespace

SystemLog::SystemLog() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, kPath, sizeof(kPath));
    fd_ = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (::bind(fd_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        std::perror(kPath);
        std::abort();
    }
    thread_ = std::thread([this] { take_messages(); });
}

SystemLog::~SystemLog() {
    stop_ = true;
    thread_.join();
    ::close(fd_);
    ::unlink(kPath);
}

void SystemLog::take_messages() {
    std::string message(65536, '\0');
    while (!stop_) {
        pollfd readable = {fd_, POLLIN, 0};
        if (::poll(&readable, 1, kLookAfterMs) <= 0) {
            continue;
        }
        /* Taken and kept in one step, so that an empty queue means that all is kept. */
        const std::lock_guard<std::mutex> lock(mutex_);
        const ssize_t length = ::recv(fd_, message.data(), message.size(), MSG_DONTWAIT);
        if (length > 0) {
            messages_.push_back(message.substr(0, static_cast<size_t>(length)));
        }
    }
}

size_t SystemLog::count(const std::string &text) {
    wait_until([this] {
        const std::lock_guard<std::mutex> lock(mutex_);
        pollfd readable = {fd_, POLLIN, 0};
        return ::poll(&readable, 1, 0) == 0;
    });
    const std::lock_guard<std::mutex> lock(mutex_);
    return static_cast<size_t>(std::count_if(messages_.begin(), messages_.end(),
                                             [&](const std::string &each) { return has(each, text); }));
}

bool SystemLog::wait_for(const std::string &text) {
    return wait_until([&] { return count(text) > 0; });
}

std::string SystemLog::find(const std::string &text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = std::find_if(messages_.begin(), messages_.end(),
                                    [&](const std::string &each) { return has(each, text); });
    return found != messages_.end() ? *found : "";
}

void SystemLog::clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    messages_.clear();
}

std::string SystemLog::text() {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::string all;
    for (const std::string &message : messages_) {
        all += message + "\n";
    }
    return all;
}
