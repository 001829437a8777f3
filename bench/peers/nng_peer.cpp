/*
 * nng over ipc: requests and replies, or push and pull for messages without an answer, over one connection or
 * a connection for each message.
 */
#include <nng/nng.h>
#include <nng/protocol/pipeline0/pull.h>
#include <nng/protocol/pipeline0/push.h>
#include <nng/protocol/reqrep0/rep.h>
#include <nng/protocol/reqrep0/req.h>
#include <unistd.h>

#include "peers/peer.h"

namespace {

void check(int result, const char *what) {
    if (result != 0) {
        give_up(std::string(what) + ": " + nng_strerror(result));
    }
}

constexpr char kScheme[] = "ipc://";
constexpr nng_duration kPatienceMs = 10 * 1000;

std::string socket_path(unsigned index) {
    return bench_folder() + "/nng." + std::to_string(index);
}

std::string endpoint(unsigned index) {
    return kScheme + socket_path(index);
}

class NngClient : public Client {
  public:
    NngClient(unsigned index, bool one_way, bool persistent)
        : endpoint_(endpoint(index)), one_way_(one_way), persistent_(persistent) {
        if (persistent_) {
            socket_ = connect();
        }
    }
    ~NngClient() override {
        if (persistent_) {
            nng_close(socket_);
        }
    }
    NngClient(const NngClient &) = delete;
    NngClient &operator=(const NngClient &) = delete;

    void ask(const Bytes &request, Bytes *answer) override {
        const nng_socket socket = persistent_ ? socket_ : connect();
        send(socket, request);
        size_t size = answer->size();
        check(nng_recv(socket, answer->data(), &size, 0), "nng_recv");
        require(size == answer->size(), "answer's size");
        finish(socket);
    }

    bool send(const Bytes &message) override {
        const nng_socket socket = persistent_ ? socket_ : connect();
        send(socket, message);
        finish(socket);
        return true;
    }

  private:
    nng_socket connect() const {
        nng_socket socket = NNG_SOCKET_INITIALIZER;
        check(one_way_ ? nng_push0_open(&socket) : nng_req0_open(&socket), "open");
        if (!one_way_) {
            check(nng_socket_set_ms(socket, NNG_OPT_RECVTIMEO, kPatienceMs), "time limit");
        }
        check(nng_dial(socket, endpoint_.c_str(), nullptr, 0), "nng_dial");
        return socket;
    }
    static void send(nng_socket socket, const Bytes &message) {
        check(nng_send(socket, const_cast<unsigned char *>(message.data()), message.size(), 0), "nng_send");
    }
    void finish(nng_socket socket) const {
        if (!persistent_) {
            nng_close(socket);
        }
    }

    const std::string endpoint_;
    const bool one_way_;
    const bool persistent_;
    nng_socket socket_ = NNG_SOCKET_INITIALIZER;
};

class Nng : public Peer {
  public:
    explicit Nng(bool persistent) : persistent_(persistent) {}

    [[noreturn]] void serve(const Service &service, bool one_way) override {
        nng_socket socket = NNG_SOCKET_INITIALIZER;
        check(one_way ? nng_pull0_open(&socket) : nng_rep0_open(&socket), "open");
        check(nng_socket_set_size(socket, NNG_OPT_RECVMAXSZ, 0), "size limit");
        (void)::unlink(socket_path(service.index).c_str());
        check(nng_listen(socket, endpoint(service.index).c_str(), nullptr, 0), "nng_listen");
        service.when_ready();
        Bytes answer;
        for (;;) {
            void *message = nullptr;
            size_t size = 0;
            check(nng_recv(socket, &message, &size, NNG_FLAG_ALLOC), "nng_recv");
            if (!one_way) {
                answer.resize(wanted_answer(message, size));
                check(nng_send(socket, answer.data(), answer.size(), 0), "nng_send");
            }
            nng_free(message, size);
            service.received->fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::unique_ptr<Client> open(unsigned index, bool one_way) override {
        return std::make_unique<NngClient>(index, one_way, persistent_);
    }

  private:
    const bool persistent_;
};

}  // namespace

std::unique_ptr<Peer> make_nng(bool persistent) {
    return std::make_unique<Nng>(persistent);
}
