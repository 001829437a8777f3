/*
 * The code shared by the peers, and their list.
 */
#include "peers/peer.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

struct Entry {
    const char *name;
    std::unique_ptr<Peer> (*make)();
};

const Entry kEntries[] = {
    {"floor", make_floor},
    {"naive", make_naive},
    {"quorapps", make_quorapps},
    {"zndb get", [] { return make_zndb(ZndbCall::kGet); }},
    {"zndb set", [] { return make_zndb(ZndbCall::kSet); }},
    {"zndb batch of 32 sets", [] { return make_zndb(ZndbCall::kBatch); }},
#ifdef HAVE_SDBUS
    {"sd-bus, dbus-broker", [] { return make_sdbus("broker"); }},
    {"sd-bus, dbus-daemon", [] { return make_sdbus("daemon"); }},
#endif
#ifdef HAVE_REDIS
    {"Redis", [] { return make_redis(true); }},
    {"Redis, connection a message", [] { return make_redis(false); }},
#endif
#ifdef HAVE_ZEROMQ
    {"ZeroMQ", [] { return make_zeromq(true); }},
    {"ZeroMQ, connection a message", [] { return make_zeromq(false); }},
#endif
#ifdef HAVE_NNG
    {"nng", [] { return make_nng(true); }},
    {"nng, connection a message", [] { return make_nng(false); }},
#endif
};

}  // namespace

Bytes make_request(size_t size, uint32_t answer_size) {
    Bytes request(std::max(size, sizeof(answer_size)), 'x');
    std::memcpy(request.data(), &answer_size, sizeof(answer_size));
    return request;
}

uint32_t wanted_answer(const void *request, size_t size) {
    uint32_t wanted = 0;
    if (size >= sizeof(wanted)) {
        std::memcpy(&wanted, request, sizeof(wanted));
    }
    return wanted;
}

const std::string &bench_folder() {
    static const std::string folder = "/tmp/m_tmp/bench";
    (void)::mkdir("/tmp/m_tmp", 0755);
    (void)::mkdir(folder.c_str(), 0755);
    return folder;
}

std::unique_ptr<Peer> find_peer(const std::string &name) {
    for (const Entry &entry : kEntries) {
        if (entry.name == name) {
            return entry.make();
        }
    }
    errno = EINVAL;
    give_up("no peer " + name);
}

std::vector<std::string> peer_names() {
    std::vector<std::string> names;
    for (const Entry &entry : kEntries) {
        names.emplace_back(entry.name);
    }
    return names;
}
