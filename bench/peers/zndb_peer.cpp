/*
 * The configuration database: a round trip is one zndb_get or zndb_set through the real service, which the
 * driver starts.
 */
#include <cstring>

#include "frwk_common.h"
#include "peers/peer.h"
#include "zndb.h"

namespace {

constexpr char kKey[] = "bench_lan_ip_15"; /* 16 bytes with its NUL: what a request of 16 bytes carries */
constexpr char kValue[] = "192.168.100.100";

class ZndbGetClient : public Client {
  public:
    ZndbGetClient() { require(zndb_set(kKey, kValue) == E_ZNDB_RET_SUCCESS, "zndb_set"); }

    void ask(const Bytes &, Bytes *answer) override {
        auto *text = reinterpret_cast<char *>(answer->data());
        const int result = zndb_get(kKey, text, static_cast<uint32_t>(answer->size()));
        require(result == E_ZNDB_RET_SUCCESS && std::strcmp(text, kValue) == 0, "zndb_get");
    }

    bool send(const Bytes &) override { give_up("a get has an answer"); }
};

class ZndbSetClient : public Client {
  public:
    void ask(const Bytes &, Bytes *) override {
        const std::string value = std::to_string(++count_);
        require(zndb_set(kKey, value.c_str()) == E_ZNDB_RET_SUCCESS, "zndb_set");
    }

    bool send(const Bytes &) override { give_up("a set has an answer"); }

  private:
    uint64_t count_ = 0;
};

class Zndb : public Peer {
  public:
    explicit Zndb(bool sets) : sets_(sets) {}

    [[noreturn]] void serve(const Service &, bool) override { give_up("zndb is a server of its own"); }

    std::unique_ptr<Client> open(unsigned, bool) override {
        frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
        if (sets_) {
            return std::make_unique<ZndbSetClient>();
        }
        return std::make_unique<ZndbGetClient>();
    }

  private:
    const bool sets_;
};

}  // namespace

std::unique_ptr<Peer> make_zndb(bool sets) {
    return std::make_unique<Zndb>(sets);
}
