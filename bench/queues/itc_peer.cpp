/*
 * The library's queues between threads.
 */
#include <cstring>

#include "frwk_common.h"
#include "queues/queue_peer.h"

namespace {

constexpr char kName[] = "bench";

Sink g_sink = nullptr;

void handle(uint32_t, const void *data, int32_t) {
    Item item;
    std::memcpy(&item, data, sizeof(item));
    g_sink(item);
}

class ItcQueue : public QueuePeer {
  public:
    void send(const Item &item) override {
        if (frwk_itc_send(kName, 1, &item, sizeof(item)) != E_APPS_ERR_SUCCESS) {
            std::abort();
        }
    }
};

}  // namespace

std::unique_ptr<QueuePeer> make_itc_queue(Sink sink) {
    g_sink = sink;
    if (frwk_itc_create(kName, nullptr, handle) != E_APPS_ERR_SUCCESS) {
        std::abort();
    }
    return std::make_unique<ItcQueue>();
}
