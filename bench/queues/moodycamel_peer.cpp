/*
 * moodycamel's blocking concurrent queue, with messages by value.
 */
#include <concurrentqueue/blockingconcurrentqueue.h>

#include <thread>

#include "queues/queue_peer.h"

namespace {

class MoodycamelQueue : public QueuePeer {
  public:
    explicit MoodycamelQueue(Sink sink) {
        std::thread([this, sink] {
            for (Item item = {};;) {
                queue_.wait_dequeue(item);
                sink(item);
            }
        }).detach();
    }

    void send(const Item &item) override {
        if (!queue_.enqueue(item)) {
            std::abort();
        }
    }

  private:
    moodycamel::BlockingConcurrentQueue<Item> queue_;
};

}  // namespace

std::unique_ptr<QueuePeer> make_moodycamel_queue(Sink sink) {
    return std::make_unique<MoodycamelQueue>(sink);
}
