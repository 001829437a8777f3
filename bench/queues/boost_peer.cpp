/*
 * Boost's lock-free queue, with messages by value. It has no blocking receive, so a semaphore counts its
 * messages.
 */
#include <semaphore.h>

#include <boost/lockfree/queue.hpp>
#include <thread>

#include "queues/queue_peer.h"

namespace {

class BoostQueue : public QueuePeer {
  public:
    explicit BoostQueue(Sink sink) : queue_(1024) {
        (void)::sem_init(&count_, 0, 0);
        std::thread([this, sink] { work(sink); }).detach();
    }

    void send(const Item &item) override {
        if (!queue_.push(item)) {
            std::abort();
        }
        (void)::sem_post(&count_);
    }

  private:
    [[noreturn]] void work(Sink sink) {
        for (Item item = {};;) {
            while (::sem_wait(&count_) != 0) {
            }
            while (!queue_.pop(item)) {
            }
            sink(item);
        }
    }

    boost::lockfree::queue<Item> queue_;
    sem_t count_ = {};
};

}  // namespace

std::unique_ptr<QueuePeer> make_boost_queue(Sink sink) {
    return std::make_unique<BoostQueue>(sink);
}
