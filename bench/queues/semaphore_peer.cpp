/*
 * The plain queue: a list with a mutex, and a counting semaphore.
 */
#include <pthread.h>
#include <semaphore.h>

#include <list>
#include <mutex>
#include <thread>

#include "queues/queue_peer.h"

namespace {

class SemaphoreQueue : public QueuePeer {
  public:
    explicit SemaphoreQueue(Sink sink) {
        (void)::sem_init(&count_, 0, 0);
        std::thread([this, sink] { work(sink); }).detach();
    }

    void send(const Item &item) override {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            items_.push_back(item);
        }
        (void)::sem_post(&count_);
    }

  private:
    [[noreturn]] void work(Sink sink) {
        for (;;) {
            while (::sem_wait(&count_) != 0) {
            }
            std::unique_lock<std::mutex> lock(mutex_);
            const Item item = items_.front();
            items_.pop_front();
            lock.unlock();
            sink(item);
        }
    }

    std::mutex mutex_;
    std::list<Item> items_;
    sem_t count_ = {};
};

}  // namespace

std::unique_ptr<QueuePeer> make_semaphore_queue(Sink sink) {
    return std::make_unique<SemaphoreQueue>(sink);
}
