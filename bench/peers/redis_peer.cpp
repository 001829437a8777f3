/*
 * GET of Redis over its Unix socket, over one connection or a connection for each message. The request's size
 * is that of the key. The server is started by the driver; it has no process here.
 */
#include <hiredis.h>

#include <cstring>

#include "peers/peer.h"

namespace {

std::string redis_socket() {
    return bench_folder() + "/redis";
}

redisContext *connect_to_redis() {
    redisContext *context = redisConnectUnix(redis_socket().c_str());
    require(context != nullptr && context->err == 0, "redisConnectUnix");
    return context;
}

redisReply *command(redisContext *context, const char *verb, const Bytes &key, const Bytes *value) {
    const char *words[] = {verb, reinterpret_cast<const char *>(key.data()),
                           value != nullptr ? reinterpret_cast<const char *>(value->data()) : ""};
    const size_t sizes[] = {3, key.size(), value != nullptr ? value->size() : 0};
    void *reply = redisCommandArgv(context, value != nullptr ? 3 : 2, words, sizes);
    require(reply != nullptr, "redisCommand");
    return static_cast<redisReply *>(reply);
}

class RedisClient : public Client {
  public:
    explicit RedisClient(bool persistent) : context_(persistent ? connect_to_redis() : nullptr) {}
    ~RedisClient() override {
        if (context_ != nullptr) {
            redisFree(context_);
        }
    }
    RedisClient(const RedisClient &) = delete;
    RedisClient &operator=(const RedisClient &) = delete;

    void ask(const Bytes &request, Bytes *answer) override {
        if (!stored_) {
            store(request, Bytes(answer->size(), 'v'));
        }
        redisContext *context = context_ != nullptr ? context_ : connect_to_redis();
        redisReply *reply = command(context, "GET", request, nullptr);
        require(reply->type == REDIS_REPLY_STRING && reply->len == answer->size(), "GET");
        std::memcpy(answer->data(), reply->str, reply->len);
        freeReplyObject(reply);
        if (context_ == nullptr) {
            redisFree(context);
        }
    }

    bool send(const Bytes &) override { give_up("Redis has no messages without an answer"); }

  private:
    void store(const Bytes &key, const Bytes &value) {
        redisContext *context = connect_to_redis();
        freeReplyObject(command(context, "SET", key, &value));
        redisFree(context);
        stored_ = true;
    }

    redisContext *context_;
    bool stored_ = false;
};

class Redis : public Peer {
  public:
    explicit Redis(bool persistent) : persistent_(persistent) {}

    [[noreturn]] void serve(const Service &, bool) override { give_up("Redis is a server of its own"); }

    std::unique_ptr<Client> open(unsigned, bool) override {
        return std::make_unique<RedisClient>(persistent_);
    }

  private:
    const bool persistent_;
};

}  // namespace

std::unique_ptr<Peer> make_redis(bool persistent) {
    return std::make_unique<Redis>(persistent);
}
