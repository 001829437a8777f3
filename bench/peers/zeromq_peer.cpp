/*
 * ZeroMQ over ipc: REQ and REP for round trips, PUSH and PULL for messages without an answer, over one
 * connection or a connection for each message.
 */
#include <zmq.h>

#include "peers/peer.h"

namespace {

std::string endpoint(unsigned index) {
    return "ipc://" + bench_folder() + "/zeromq." + std::to_string(index);
}

constexpr int kPatienceMs = 10 * 1000;

void close_socket(void *socket) {
    require(zmq_close(socket) == 0, "zmq_close");
}

class ZeromqClient : public Client {
  public:
    ZeromqClient(unsigned index, bool one_way, bool persistent)
        : endpoint_(endpoint(index)),
          kind_(one_way ? ZMQ_PUSH : ZMQ_REQ),
          persistent_(persistent),
          context_(zmq_ctx_new()) {
        if (persistent_) {
            socket_ = connect();
        }
    }
    ~ZeromqClient() override {
        if (persistent_) {
            close_socket(socket_);
        }
        zmq_ctx_term(context_);
    }
    ZeromqClient(const ZeromqClient &) = delete;
    ZeromqClient &operator=(const ZeromqClient &) = delete;

    void ask(const Bytes &request, Bytes *answer) override {
        void *socket = persistent_ ? socket_ : connect();
        require(zmq_send(socket, request.data(), request.size(), 0) >= 0, "zmq_send");
        const int size = zmq_recv(socket, answer->data(), answer->size(), 0);
        require(size == static_cast<int>(answer->size()), "zmq_recv");
        finish(socket);
    }

    bool send(const Bytes &message) override {
        void *socket = persistent_ ? socket_ : connect();
        const bool sent = zmq_send(socket, message.data(), message.size(), 0) >= 0;
        finish(socket);
        return sent;
    }

  private:
    void *connect() {
        void *socket = zmq_socket(context_, kind_);
        require(socket != nullptr &&
                    zmq_setsockopt(socket, ZMQ_RCVTIMEO, &kPatienceMs, sizeof(kPatienceMs)) == 0 &&
                    zmq_connect(socket, endpoint_.c_str()) == 0,
                "zmq_connect");
        return socket;
    }
    void finish(void *socket) const {
        if (!persistent_) {
            close_socket(socket);
        }
    }

    const std::string endpoint_;
    const int kind_;
    const bool persistent_;
    void *context_;
    void *socket_ = nullptr;
};

class Zeromq : public Peer {
  public:
    explicit Zeromq(bool persistent) : persistent_(persistent) {}

    [[noreturn]] void serve(const Service &service, bool one_way) override {
        void *context = zmq_ctx_new();
        void *socket = zmq_socket(context, one_way ? ZMQ_PULL : ZMQ_REP);
        require(socket != nullptr && zmq_bind(socket, endpoint(service.index).c_str()) == 0, "zmq_bind");
        service.when_ready();
        Bytes answer;
        zmq_msg_t message;
        for (;;) {
            require(zmq_msg_init(&message) == 0 && zmq_msg_recv(&message, socket, 0) >= 0, "zmq_msg_recv");
            if (!one_way) {
                answer.resize(wanted_answer(zmq_msg_data(&message), zmq_msg_size(&message)));
                require(zmq_send(socket, answer.data(), answer.size(), 0) >= 0, "zmq_send");
            }
            zmq_msg_close(&message);
            service.received->fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::unique_ptr<Client> open(unsigned index, bool one_way) override {
        return std::make_unique<ZeromqClient>(index, one_way, persistent_);
    }

  private:
    const bool persistent_;
};

}  // namespace

std::unique_ptr<Peer> make_zeromq(bool persistent) {
    return std::make_unique<Zeromq>(persistent);
}
