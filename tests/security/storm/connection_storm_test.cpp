/*
 * Thousands of concurrent requests: the module serves all of them, one at a time.
 */
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "frwk_common.h"
#include "security/storm/storm_count.h"
#include "support/module_process.h"
#include "support/wait_until.h"

namespace {

constexpr apps_message_id_e_type kEcho = 40000;
constexpr uint32_t kPatienceSeconds = 300;
constexpr size_t kStackSize = size_t{256} << 10;
constexpr rlim_t kOtherDescriptors = 100;

/* What all clients wait for before they connect. */
std::atomic<bool> g_s_begun{false};

struct Client {
    pthread_t thread = {};
    uint32_t number = 0;
    bool served = false;
};

void *ask(void *argument) {
    auto *client = static_cast<Client *>(argument);
    while (!g_s_begun) {
        sched_yield();
    }
    uint32_t answer = 0;
    int32_t result = -1;
    const apps_err_e_type sent =
        frwk_ipc_send_sync(E_APPS_MODULE_ROUTER, kEcho, &client->number, sizeof(client->number), &answer,
                           sizeof(answer), kPatienceSeconds, &result);
    client->served = sent == E_APPS_ERR_SUCCESS && result == 0 && answer == client->number;
    return nullptr;
}

/* Each client needs a descriptor. */
bool allow_descriptors(int count) {
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return false;
    }
    limit.rlim_cur = std::min(limit.rlim_max, static_cast<rlim_t>(count) + kOtherDescriptors);
    return setrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur >= static_cast<rlim_t>(count);
}

TEST(ConnectionStorm, EachOfThousandsOfSimultaneousRequestsIsAnswered) {
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    ModuleOptions quiet;
    quiet.debug = false;
    ModuleProcess router(E_APPS_MODULE_ROUTER, quiet);
    const int count = storm_count(300, 10000);
    ASSERT_TRUE(allow_descriptors(count));

    pthread_attr_t small = {};
    ASSERT_EQ(0, pthread_attr_init(&small));
    ASSERT_EQ(0, pthread_attr_setstacksize(&small, kStackSize));
    std::vector<Client> clients(static_cast<size_t>(count));
    for (size_t i = 0; i < clients.size(); ++i) {
        clients[i].number = static_cast<uint32_t>(i) + 1;
        ASSERT_EQ(0, pthread_create(&clients[i].thread, &small, ask, &clients[i])) << i;
    }
    g_s_begun = true;

    int served = 0;
    for (Client &client : clients) {
        pthread_join(client.thread, nullptr);
        served += client.served ? 1 : 0;
    }
    pthread_attr_destroy(&small);
    EXPECT_EQ(count, served);
}

}  // namespace
