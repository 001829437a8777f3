#include "model/client.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "model/client_calls.h"
#include "model/packed.h"
#include "support/file_io.h"

namespace model {

namespace {

bool read_all(int fd, void *to, size_t size) {
    size_t count = 0;
    return file_io::read_up_to(fd, to, size, &count) && count == size;
}

void send_outcome(int fd, const Outcome &outcome) {
    const std::string bytes = pack(outcome);
    const auto size = static_cast<uint32_t>(bytes.size());
    if (!file_io::write_all(fd, &size, sizeof(size)) || !file_io::write_all(fd, bytes.data(), bytes.size())) {
        std::_Exit(1);
    }
}

Outcome carry_out(ClientCalls &calls, uint32_t number, const std::vector<Operation> &operations) {
    switch (number) {
        case kWaitUntilServed:
            return ClientCalls::wait_until_served();
        case kAskWhetherServed:
            return ClientCalls::ask_whether_served();
        case kSaveAll:
            return ClientCalls::save_all();
        case kListAll:
            return ClientCalls::list_all();
        default:
            return calls.carry_out(operations[number]);
    }
}

/* Carries out operations until the run ends. */
[[noreturn]] void serve(int fd, uint32_t id, const std::vector<Operation> &operations) {
    ClientCalls calls(id);
    uint32_t number = 0;
    while (read_all(fd, &number, sizeof(number))) {
        send_outcome(fd, carry_out(calls, number, operations));
    }
    std::_Exit(0);
}

}  // namespace

Client::Client(uint32_t id, const std::vector<Operation> &operations) {
    int ends[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        std::abort();
    }
    socket_.reset(ends[0]);
    const UniqueFd other(ends[1]);
    pid_ = ::fork();
    if (pid_ < 0) {
        std::abort();
    }
    if (pid_ == 0) {
        (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
        socket_.reset();
        serve(other.get(), id, operations);
    }
}

Client::~Client() {
    (void)::kill(pid_, SIGKILL);
    (void)::waitpid(pid_, nullptr, 0);
}

void Client::tell(uint32_t number) const {
    (void)file_io::write_all(socket_.get(), &number, sizeof(number));
}

Outcome Client::answer() const {
    uint32_t size = 0;
    if (!read_all(socket_.get(), &size, sizeof(size))) {
        return {-1, {"the client has ended"}};
    }
    std::string bytes(size, '\0');
    (void)read_all(socket_.get(), bytes.data(), bytes.size());
    return unpack(bytes);
}

}  // namespace model
