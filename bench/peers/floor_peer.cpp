/*
 * The floor: the wire protocol with the fewest possible system calls. Client: socket, connect, write, read,
 * close. Server: accept4, recv, write, close. Buffers are allocated once; nothing is checked except for
 * errors, and nothing is logged.
 */
#include "peers/wire_socket.h"

namespace {

/* Reads a complete request; returns its header. buffer: reused, grows as needed. */
WireRequest read_request(int fd, Bytes *buffer) {
    size_t have = 0;
    WireRequest header = {};
    for (size_t whole = sizeof(header); have < whole;) {
        const ssize_t count = ::recv(fd, buffer->data() + have, buffer->size() - have, 0);
        require(count > 0, "recv");
        have += static_cast<size_t>(count);
        if (have >= sizeof(header)) {
            std::memcpy(&header, buffer->data(), sizeof(header));
            whole = sizeof(header) + static_cast<size_t>(header.data_len);
            if (buffer->size() < whole) {
                buffer->resize(whole);
            }
        }
    }
    return header;
}

class FloorClient : public Client {
  public:
    explicit FloorClient(unsigned index) : address_(wire_address("floor", index)) {}

    void ask(const Bytes &request, Bytes *answer) override {
        const int fd = send(request, false);
        WireAnswer header = {};
        buffer_.resize(sizeof(header) + answer->size());
        for (size_t have = 0; have < buffer_.size();) {
            const ssize_t count = ::read(fd, buffer_.data() + have, buffer_.size() - have);
            require(count > 0, "read");
            have += static_cast<size_t>(count);
        }
        (void)::close(fd);
    }

    bool send(const Bytes &message) override {
        (void)::close(send(message, true));
        return true;
    }

  private:
    /* The request is built again only if it has changed. */
    int send(const Bytes &body, bool async) {
        if (laid_out_ != body.data() || wire_.size() != sizeof(WireRequest) + body.size()) {
            wire_ = wire_request(body, async);
            laid_out_ = body.data();
        }
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        require(fd >= 0 && ::connect(fd, as_address(address_), sizeof(address_)) == 0, "connect");
        write_all(fd, wire_.data(), wire_.size());
        return fd;
    }

    const sockaddr_un address_;
    const void *laid_out_ = nullptr;
    Bytes wire_;
    Bytes buffer_;
};

class Floor : public Peer {
  public:
    [[noreturn]] void serve(const Service &service, bool) override {
        const int listener = wire_listen(wire_address("floor", service.index));
        service.when_ready();
        Bytes request(64 * 1024);
        Bytes answer;
        for (;;) {
            const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
            require(fd >= 0, "accept4");
            const WireRequest header = read_request(fd, &request);
            if (header.async == 0) {
                const WireAnswer head = {0, static_cast<int32_t>(header.rsp_size)};
                answer.resize(sizeof(head) + header.rsp_size);
                std::memcpy(answer.data(), &head, sizeof(head));
                write_all(fd, answer.data(), answer.size());
            }
            (void)::close(fd);
            service.received->fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::unique_ptr<Client> open(unsigned index, bool) override {
        return std::make_unique<FloorClient>(index);
    }
};

}  // namespace

std::unique_ptr<Peer> make_floor() {
    return std::make_unique<Floor>();
}
