/*
 * The library: a module whose handler counts, and clients that are modules without a service.
 */
#include "frwk_common.h"
#include "peers/peer.h"

namespace {

/* Servers are the modules from router on; a client is a module that neither locks, nor serves, nor logs to
 * stderr. */
constexpr unsigned kFirstServer = E_APPS_MODULE_ROUTER;
constexpr int32_t kClient = E_APPS_MODULE_MONITOR_TOOL;
constexpr apps_message_id_e_type kMessage = E_APPS_MSG_ROUTER_ETHER_INFO_GET;
constexpr const char *kEvent = kBenchEvent;

std::atomic<uint64_t> *g_received = nullptr;

apps_err_e_type count(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t, uint32_t) {
    g_received->fetch_add(1, std::memory_order_relaxed);
    return E_APPS_ERR_SUCCESS;
}

class QuorappsClient : public Client {
  public:
    explicit QuorappsClient(unsigned index) : module_(kFirstServer + index) {}

    void ask(const Bytes &request, Bytes *answer) override {
        int32_t result = -1;
        const apps_err_e_type sent =
            frwk_ipc_send_sync(module_, kMessage, request.data(), static_cast<uint32_t>(request.size()),
                               answer->data(), static_cast<uint32_t>(answer->size()), 3, &result);
        require(sent == E_APPS_ERR_SUCCESS && result == E_APPS_ERR_SUCCESS, "frwk_ipc_send_sync");
    }

    bool send(const Bytes &message) override {
        return frwk_ipc_send_async(module_, kMessage, message.data(), static_cast<uint32_t>(message.size()),
                                   3) == E_APPS_ERR_ASYNC;
    }

  private:
    const uint32_t module_;
};

class Quorapps : public Peer {
  public:
    [[noreturn]] void serve(const Service &service, bool) override {
        g_received = service.received;
        frwk_module_init(static_cast<int32_t>(kFirstServer + service.index), nullptr);
        frwk_ipc_service_ex(count, 0);
        if (service.index == 0) {
            frwk_ipc_init_sub();
        }
        require(frwk_ipc_msg_sub(kEvent) == E_APPS_ERR_SUCCESS, "frwk_ipc_msg_sub");
        service.when_ready();
        frwk_keep_running();
        std::abort();
    }

    std::unique_ptr<Client> open(unsigned index, bool) override {
        frwk_module_init(kClient, nullptr);
        return std::make_unique<QuorappsClient>(index);
    }
};

}  // namespace

std::unique_ptr<Peer> make_quorapps() {
    return std::make_unique<Quorapps>();
}
