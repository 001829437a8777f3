/*
 * What every way of sending messages looks like to the benchmark: a server in a process of its own, and
 * clients in others. Each way has one source file.
 *
 * A request begins with the bytes of answer that it wants, as a 32-bit word, so that a server needs no
 * protocol of its own for that. Whatever fails ends the process: a figure of a broken run is worth nothing.
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "peers/require.h"

using Bytes = std::vector<unsigned char>;

/* A request of size bytes (4 or more) that wants an answer of so many bytes. */
Bytes make_request(size_t size, uint32_t answer_size);

/* The bytes of answer that a request wants. */
uint32_t wanted_answer(const void *request, size_t size);

/* The event that every server of the library subscribes to. */
inline constexpr char kBenchEvent[] = "bench";

/* Where servers listen; made by the first who asks. */
const std::string &bench_folder();

/* A server's end. */
struct Service {
    unsigned index = 0;               /* which of several servers this is */
    std::atomic<uint64_t> *received;  /* counts the messages */
    std::function<void()> when_ready; /* to be called once clients may come */
};

class Client {
  public:
    virtual ~Client() = default;

    /* One round trip. answer: filled whole. */
    virtual void ask(const Bytes &request, Bytes *answer) = 0;

    /* Sends without an answer; returns whether the message is on its way. */
    virtual bool tell(const Bytes &message) = 0;
};

class Peer {
  public:
    virtual ~Peer() = default;

    /* Serves requests, or messages without an answer where told is set, until the process is ended. */
    [[noreturn]] virtual void serve(const Service &service, bool told) = 0;

    /* A client of the server with this index. */
    virtual std::unique_ptr<Client> open(unsigned index, bool tells) = 0;
};

/* The peer of this name, such as "floor"; gives up on an unknown one. */
std::unique_ptr<Peer> find_peer(const std::string &name);

/* Every name, in the order of the tables. */
std::vector<std::string> peer_names();

/* One per source file; a peer whose library is missing is not built. */
std::unique_ptr<Peer> make_floor();
std::unique_ptr<Peer> make_naive();
std::unique_ptr<Peer> make_quorapps();
std::unique_ptr<Peer> make_zndb(bool sets);
std::unique_ptr<Peer> make_sdbus(const char *bus);
std::unique_ptr<Peer> make_zeromq(bool persistent);
std::unique_ptr<Peer> make_nng(bool persistent);
std::unique_ptr<Peer> make_redis(bool persistent);
