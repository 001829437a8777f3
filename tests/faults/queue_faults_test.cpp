/*
 * Queues between threads, threads and waiting.
 */
#include <atomic>
#include <chrono>
#include <cstdio>

#include "faults/faulty_device.h"
#include "faults/time_passed.h"
#include "frwk_common.h"
#include "support/wait_until.h"

namespace faults {

namespace {

using QueueFaults = FaultyDevice;

constexpr uint32_t kProbe = 7;

std::atomic<int> g_arrived{0};
std::atomic<int> g_ran{0};
std::chrono::nanoseconds g_passed{0};
char g_name[32];

void take(uint32_t msgid, const void *, int32_t) {
    g_arrived += msgid == kProbe ? 1 : 0;
}

void *run(void *) {
    ++g_ran;
    return nullptr;
}

/* A queue exists until the process ends, so each creation needs a new name. */
void choose_name() {
    static int number = 0;
    (void)std::snprintf(g_name, sizeof(g_name), "queue-%d", ++number);
    g_arrived = 0;
}

bool works(const char *name) {
    return frwk_itc_send(name, kProbe, "data", 4) == E_APPS_ERR_SUCCESS &&
           wait_until([] { return g_arrived == 1; });
}

std::vector<Scenario> queues() {
    return {
        Scenario("frwk_itc_create")
            .prepared(choose_name)
            .called([] { return frwk_itc_create(g_name, nullptr, take); })
            .verified([] { return works(g_name); })
            .failing({E_APPS_ERR_MALLOC, E_APPS_ERR_THREAD})
            .keeping(),
        Scenario("frwk_itc_send")
            .prepared([] { g_arrived = 0; })
            .called([] { return frwk_itc_send("queue", kProbe, "data", 4); })
            .verified([] { return wait_until([] { return g_arrived == 1; }); })
            .failing({E_APPS_ERR_MALLOC}),
        Scenario("the thread of a queue")
            .prepared([] { g_arrived = 0; })
            .called([] {
                const long result = frwk_itc_send("queue", kProbe, "data", 4);
                (void)wait_until([] { return g_arrived == 1; });
                return result;
            })
            .verified([] { return g_arrived == 1; })
            .on_other_threads(),
    };
}

std::vector<Scenario> threads() {
    return {
        Scenario("frwk_thread_create")
            .prepared([] { g_ran = 0; })
            .called([] { return frwk_thread_create(run, nullptr) != 0 ? 1 : 0; })
            .verified([] { return wait_until([] { return g_ran == 1; }); })
            .failing({0}),
        Scenario("frwk_sleep")
            .called([] {
                g_passed = time_passed([] { frwk_sleep(1050); });
                return 0;
            })
            .verified([] { return g_passed >= std::chrono::milliseconds(1050); }),
    };
}

}  // namespace

TEST_F(QueueFaults, Queues) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_itc_create("queue", nullptr, take));
    run_scenarios(queues());
}

TEST_F(QueueFaults, Threads) {
    run_scenarios(threads());
}

}  // namespace faults
