/*
 * The interface of a queue between threads. Each queue has one source file. The sender copies a message of 16
 * bytes into the queue; the queue's only worker passes each message to the sink.
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

/* Receives each message, on the worker's thread. A plain function pointer, so that the call is cheap for
 * every peer. */
using Sink = void (*)(const Item &item);

class QueuePeer {
  public:
    virtual ~QueuePeer() = default;

    /* Any thread. */
    virtual void send(const Item &item) = 0;
};

/* Each starts a worker that runs until the process ends. */
std::unique_ptr<QueuePeer> make_itc_queue(Sink sink);
std::unique_ptr<QueuePeer> make_semaphore_queue(Sink sink);
std::unique_ptr<QueuePeer> make_glib_queue(Sink sink);
std::unique_ptr<QueuePeer> make_moodycamel_queue(Sink sink);
std::unique_ptr<QueuePeer> make_boost_queue(Sink sink);
