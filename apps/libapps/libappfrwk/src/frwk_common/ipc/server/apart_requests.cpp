#include "frwk_common/ipc/server/apart_requests.h"

#include <pthread.h>

#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "apps_err.h"
#include "frwk_ipc_ext.h"
#include "internal/frwk_log.h"
#include "os_thread.h"
#include "support/futex.h"

namespace ipc {

std::atomic<int32_t> g_apart_messages[8];

namespace {

constexpr uint32_t kAtOnce = 16;
constexpr uint32_t kWaitMs = 1000;

/* The number of exchanges that are being finished apart. */
std::atomic<uint32_t> g_finishing{0};
static_assert(sizeof(g_finishing) == sizeof(uint32_t), "it is waited for as a futex");

const uint32_t *finishing_word() {
    return reinterpret_cast<const uint32_t *>(&g_finishing);
}

/* The parent's threads don't exist in a forked child. */
void forget_threads() {
    g_finishing = 0;
}

__attribute__((constructor)) void forget_threads_in_children() {
    (void)::pthread_atfork(nullptr, nullptr, forget_threads);
}

struct Exchange {
    Connection connection;
    frwk_ipc_header header = {};
    Finish finish = nullptr;
};

bool begin() {
    if (g_finishing.fetch_add(1) < kAtOnce) {
        return true;
    }
    g_finishing.fetch_sub(1);
    return false;
}

void end() {
    if (g_finishing.fetch_sub(1) == 1) {
        futex_wake_all(finishing_word());
    }
}

void *run(void *argument) {
    std::unique_ptr<Exchange> exchange(static_cast<Exchange *>(argument));
    exchange->finish(exchange->connection, exchange->header);
    exchange.reset();
    end();
    return nullptr;
}

/* On failure the connection is the caller's again. */
bool start(Connection &connection, const frwk_ipc_header &header, Finish finish) {
    std::unique_ptr<Exchange> exchange(new (std::nothrow) Exchange);
    if (exchange == nullptr) {
        return false;
    }
    exchange->header = header;
    exchange->finish = finish;
    exchange->connection = std::move(connection);
    os_thread_t thread = 0;
    if (os_thread_create(&thread, nullptr, run, exchange.get()) != 0) {
        connection = std::move(exchange->connection);
        return false;
    }
    (void)exchange.release();
    return true;
}

bool is_registered(int32_t msgid) {
    for (const std::atomic<int32_t> &each : g_apart_messages) {
        const int32_t message = each;
        if (message == msgid || message == 0) {
            return message != 0;
        }
    }
    return false;
}

}  // namespace

bool is_registered_apart(const frwk_ipc_header &header) {
    return header.data_len <= 0 && header.async == 0 && is_registered(header.msgid);
}

bool finish_apart(Connection &connection, const frwk_ipc_header &header, Finish finish) {
    const bool is_allowed = begin();
    if (is_allowed && start(connection, header, finish)) {
        return true;
    }
    if (is_allowed) {
        end();
    }
    FRWK_WARN(log_name::kIpcHandle, "no thread for message %d, other requests wait for it", header.msgid);
    return false;
}

void wait_for_apart() {
    for (uint32_t finishing = g_finishing; finishing != 0; finishing = g_finishing) {
        futex_wait(finishing_word(), finishing, kWaitMs);
    }
}

}  // namespace ipc

int32_t frwk_ipc_handle_apart(apps_message_id_e_type msgid) {
    if (msgid <= E_APPS_MSG_SYS_MEMORY) {
        return E_APPS_ERR_PARAM;
    }
    for (std::atomic<int32_t> &each : ipc::g_apart_messages) {
        int32_t message = 0;
        if (each.compare_exchange_strong(message, msgid) || message == msgid) {
            return E_APPS_ERR_SUCCESS;
        }
    }
    return E_APPS_ERR_PARAM;
}
