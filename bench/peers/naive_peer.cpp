/*
 * The naive implementation: the same protocol with a separate call for every step. Descriptor flags are read
 * and set separately, every read with a limit is preceded by a select, header and body are read separately,
 * and buffers are filled with zeros for each message.
 */
#include <fcntl.h>
#include <sys/select.h>

#include "peers/wire_socket.h"

namespace {

void add_descriptor_flag(int fd) {
    require(::fcntl(fd, F_SETFD, ::fcntl(fd, F_GETFD) | FD_CLOEXEC) == 0, "fcntl");
}

void set_blocking(int fd, bool blocking) {
    const int flags = ::fcntl(fd, F_GETFL);
    require(::fcntl(fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK) == 0, "fcntl");
}

void wait_readable(int fd) {
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    timeval limit = {3, 0};
    require(::select(fd + 1, &set, nullptr, nullptr, &limit) == 1, "select");
}

void read_whole(int fd, void *buffer, size_t size, bool limited) {
    for (size_t have = 0; have < size;) {
        if (limited) {
            wait_readable(fd);
        }
        const ssize_t count = ::read(fd, static_cast<char *>(buffer) + have, size - have);
        require(count > 0, "read");
        have += static_cast<size_t>(count);
    }
}

class NaiveClient : public Client {
  public:
    explicit NaiveClient(unsigned index) : index_(index) {}

    void ask(const Bytes &request, Bytes *answer) override {
        const int fd = send(request, false);
        WireAnswer header = {};
        read_whole(fd, &header, sizeof(header), false);
        read_whole(fd, answer->data(), static_cast<size_t>(header.rsp_len), false);
        (void)::close(fd);
    }

    bool send(const Bytes &message) override {
        (void)::close(send(message, true));
        return true;
    }

  private:
    int send(const Bytes &body, bool async) const {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        require(fd >= 0, "socket");
        add_descriptor_flag(fd);
        const sockaddr_un address = wire_address("naive", index_);
        set_blocking(fd, false);
        // A non-blocking connect fails at once if the backlog is full.
        while (::connect(fd, as_address(address), sizeof(address)) != 0) {
            require(errno == EAGAIN, "connect");
            (void)::usleep(100);
        }
        set_blocking(fd, true);
        const Bytes wire = wire_request(body, async);
        write_all(fd, wire.data(), wire.size());
        return fd;
    }

    const unsigned index_;
};

void answer_one(int fd) {
    add_descriptor_flag(fd);
    set_blocking(fd, false);
    WireRequest header = {};
    read_whole(fd, &header, sizeof(header), true);
    Bytes body(static_cast<size_t>(header.data_len));
    read_whole(fd, body.data(), body.size(), true);
    Bytes answer(sizeof(WireAnswer) + header.rsp_size);
    set_blocking(fd, true);
    if (header.async == 0) {
        const WireAnswer head = {0, static_cast<int32_t>(header.rsp_size)};
        std::memcpy(answer.data(), &head, sizeof(head));
        write_all(fd, answer.data(), answer.size());
    }
}

class Naive : public Peer {
  public:
    [[noreturn]] void serve(const Service &service, bool) override {
        const int listener = wire_listen(wire_address("naive", service.index));
        service.when_ready();
        for (;;) {
            const int fd = ::accept(listener, nullptr, nullptr);
            require(fd >= 0, "accept");
            answer_one(fd);
            (void)::close(fd);
            service.received->fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::unique_ptr<Client> open(unsigned index, bool) override {
        return std::make_unique<NaiveClient>(index);
    }
};

}  // namespace

std::unique_ptr<Peer> make_naive() {
    return std::make_unique<Naive>();
}
