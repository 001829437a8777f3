#include "cli/limited_request.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace {

/* Shared with the thread, which may outlive the call. */
struct Exchange {
    std::mutex mutex;
    std::condition_variable done;
    std::optional<RequestOutcome> outcome; /* mutex */
    std::string answer;                    /* the thread's, until there is an outcome */
};

/* The library takes whole seconds; a limit that ends within one is this function's caller's. */
uint32_t whole_seconds(std::chrono::milliseconds limit) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    return static_cast<uint32_t>(seconds.count()) + (seconds < limit ? 1 : 0);
}

}  // namespace

RequestOutcome send_request_within(std::chrono::milliseconds limit, uint32_t module,
                                   apps_message_id_e_type msgid, const std::string &body,
                                   std::string *answer) {
    const auto exchange = std::make_shared<Exchange>();
    exchange->answer = *answer;
    std::thread([exchange, limit, module, msgid, body] {
        const RequestOutcome outcome =
            send_request(module, msgid, body, &exchange->answer, whole_seconds(limit));
        const std::lock_guard<std::mutex> lock(exchange->mutex);
        exchange->outcome = outcome;
        exchange->done.notify_one();
    }).detach();

    std::unique_lock<std::mutex> lock(exchange->mutex);
    if (!exchange->done.wait_for(lock, limit, [&] { return exchange->outcome.has_value(); })) {
        return {E_APPS_ERR_TIMEOUT, E_APPS_ERR_SUCCESS};
    }
    *answer = exchange->answer;
    return *exchange->outcome;
}
