/*
 * The configuration database: a round trip is one zndb_get, one zndb_set or one batch of 32 sets through the
 * real service, which the driver starts.
 */
#include <cstring>

#include "frwk_common.h"
#include "peers/peer.h"
#include "zndb_ext.h"

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

/* Sets of 32 keys, in two stores. */
class ZndbBatchClient : public Client {
  public:
    ZndbBatchClient() : batch_(zndb_batch_new()) { require(batch_ != nullptr, "zndb_batch_new"); }
    ~ZndbBatchClient() override { zndb_batch_free(batch_); }
    ZndbBatchClient(const ZndbBatchClient &) = delete;
    ZndbBatchClient &operator=(const ZndbBatchClient &) = delete;

    void ask(const Bytes &, Bytes *) override {
        const std::string value = std::to_string(++count_);
        for (int i = 10; i < 10 + kSets; ++i) {
            const std::string key = "bench_lan_ip_" + std::to_string(i);
            const zndb_store store = i % 2 == 0 ? ZNDB_STORE_PLAIN : ZNDB_STORE_PERM;
            require(zndb_batch_set(batch_, store, key.c_str(), value.c_str()) == E_ZNDB_RET_SUCCESS,
                    "zndb_batch_set");
        }
        require(zndb_batch_apply(batch_) == E_ZNDB_RET_SUCCESS, "zndb_batch_apply");
    }

    bool tell(const Bytes &) override { give_up("a batch has an answer"); }

  private:
    static constexpr int kSets = 32;

    zndb_batch *const batch_;
    uint64_t count_ = 0;
};

class Zndb : public Peer {
  public:
    explicit Zndb(ZndbCall call) : call_(call) {}

    [[noreturn]] void serve(const Service &, bool) override { give_up("zndb is a server of its own"); }

    std::unique_ptr<Client> open(unsigned, bool) override {
        frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
        switch (call_) {
            case ZndbCall::kSet:
                return std::make_unique<ZndbSetClient>();
            case ZndbCall::kBatch:
                return std::make_unique<ZndbBatchClient>();
            default:
                return std::make_unique<ZndbGetClient>();
        }
    }

  private:
    const ZndbCall call_;
};

}  // namespace

std::unique_ptr<Peer> make_zndb(ZndbCall call) {
    return std::make_unique<Zndb>(call);
}
