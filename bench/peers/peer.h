/*
 * The interface of a messaging peer: a server process, and client processes. Each peer has one source file.
 *
 * A request begins with the size of its answer as a 32-bit word. Any failure ends the process, since the
 * figures of a failed run are useless.
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

/* A request of size bytes (4 or more) for an answer of answer_size bytes. */
Bytes make_request(size_t size, uint32_t answer_size);

/* The answer size in a request. */
uint32_t wanted_answer(const void *request, size_t size);

/* The event that every server of the library subscribes to. */
inline constexpr char kBenchEvent[] = "bench";

/* The folder of the servers' sockets; created by the first call. */
const std::string &bench_folder();

/* The arguments of a server. */
struct Service {
    unsigned index = 0;               /* index among several servers */
    std::atomic<uint64_t> *received;  /* counts the messages */
    std::function<void()> when_ready; /* to be called when clients may connect */
};

class Client {
  public:
    virtual ~Client() = default;

    /* One round trip. answer: filled completely. */
    virtual void ask(const Bytes &request, Bytes *answer) = 0;

    /* Sends without an answer; returns whether that succeeded. */
    virtual bool send(const Bytes &message) = 0;
};

class Peer {
  public:
    virtual ~Peer() = default;

    /* Serves requests, or messages without an answer if one_way is set, until the process is killed. */
    [[noreturn]] virtual void serve(const Service &service, bool one_way) = 0;

    /* A client of the server with this index. */
    virtual std::unique_ptr<Client> open(unsigned index, bool one_way) = 0;
};

/* The peer with this name, such as "floor"; ends the process for an unknown name. */
std::unique_ptr<Peer> find_peer(const std::string &name);

/* Every name, in the order of the tables. */
std::vector<std::string> peer_names();

/* One per source file; a peer whose library is missing is not built. */
std::unique_ptr<Peer> make_floor();
std::unique_ptr<Peer> make_naive();
std::unique_ptr<Peer> make_quorapps();

/* What a client of the database calls. */
enum class ZndbCall {
    kGet,
    kSet,
    kBatch
};

std::unique_ptr<Peer> make_zndb(ZndbCall call);
std::unique_ptr<Peer> make_sdbus(const char *bus);
std::unique_ptr<Peer> make_zeromq(bool persistent);
std::unique_ptr<Peer> make_nng(bool persistent);
std::unique_ptr<Peer> make_redis(bool persistent);
