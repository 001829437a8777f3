/*
 * GLib's GAsyncQueue, with a block for each message.
 */
#include <glib.h>

#include <thread>

#include "queues/queue_peer.h"

namespace {

class GlibQueue : public QueuePeer {
  public:
    explicit GlibQueue(Sink sink) : queue_(g_async_queue_new()) {
        std::thread([queue = queue_, sink] {
            for (;;) {
                auto *item = static_cast<Item *>(g_async_queue_pop(queue));
                sink(*item);
                g_free(item);
            }
        }).detach();
    }

    void send(const Item &item) override {
        auto *copy = static_cast<Item *>(g_malloc(sizeof(item)));
        *copy = item;
        g_async_queue_push(queue_, copy);
    }

  private:
    GAsyncQueue *queue_;
};

}  // namespace

std::unique_ptr<QueuePeer> make_glib_queue(Sink sink) {
    return std::make_unique<GlibQueue>(sink);
}
