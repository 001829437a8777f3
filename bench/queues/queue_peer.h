/*
 * What every queue between threads looks like to the benchmark. Each has one source file. A message of 16
 * bytes is copied in by the sender; the queue's one worker gives each to the sink.
 */
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

struct Item {
    uint64_t number;
    uint64_t sent_ns; /* by the monotonic clock, where it matters */
};

/* Gets each message, on the worker's thread. Plain, so that the call costs every peer the same little. */
using Sink = void (*)(const Item &item);

class QueuePeer {
  public:
    virtual ~QueuePeer() = default;

    /* Any thread. */
    virtual void send(const Item &item) = 0;
};

/* Each starts a worker that lives until the process ends. */
std::unique_ptr<QueuePeer> make_itc_queue(Sink sink);
std::unique_ptr<QueuePeer> make_semaphore_queue(Sink sink);
std::unique_ptr<QueuePeer> make_glib_queue(Sink sink);
std::unique_ptr<QueuePeer> make_moodycamel_queue(Sink sink);
std::unique_ptr<QueuePeer> make_boost_queue(Sink sink);
