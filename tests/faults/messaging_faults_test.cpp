/*
 * Sending messages, and the system commands that are messages to the monitor.
 */
#include <atomic>
#include <cstring>
#include <filesystem>

#include "faults/faulty_device.h"
#include "frwk_common.h"
#include "support/wait_until.h"

namespace faults {

namespace {

using MessagingFaults = FaultyDevice;

constexpr int32_t kNews = 40100; /* taken without an answer */
constexpr char kBody[] = "body of a request";
constexpr uint32_t kLimit = 3;
constexpr char kResetFlag[] = "/m_data/usr_permanent/reset_flag";

const std::vector<long> kSyncFailures = {E_APPS_ERR_MODULE, E_APPS_ERR_TIMEOUT, E_APPS_ERR_MALLOC,
                                         E_APPS_ERR_WRITE, E_APPS_ERR_READ};
const std::vector<long> kAsyncFailures = {E_APPS_ERR_MODULE, E_APPS_ERR_MALLOC, E_APPS_ERR_WRITE};

/* More than the fixed buffers hold, so that memory is asked for. */
char g_large[3000];
char g_answer[sizeof(g_large)];
int32_t g_result = 0;

void forget_answer() {
    std::memset(g_large, 'x', sizeof(g_large));
    std::memset(g_answer, 0, sizeof(g_answer));
    g_result = -1;
}

bool answered(const void *expected, size_t size) {
    return g_result == 0 && std::memcmp(g_answer, expected, size) == 0;
}

bool has_no_answer() {
    return g_result == -1 && g_answer[0] == '\0';
}

/* Counts the messages that reach a module. */
class Arrivals {
  public:
    explicit Arrivals(ModuleProcess &module, uint32_t id) : module_(module), id_(id) {}

    void start() { before_ = count(); }

    /* The module's own thread takes one message after the other, so what came before an answer is there. */
    bool grew_by(size_t number) {
        frwk_ipc_msg_get(id_, kEcho, nullptr, 0, kLimit, nullptr);
        return count() == before_ + number + 1;
    }

  private:
    size_t count() const { return module_.messages().size(); }

    ModuleProcess &module_;
    const uint32_t id_;
    size_t before_ = 0;
};

std::vector<Scenario> asking() {
    return {
        Scenario("frwk_ipc_send_sync")
            .prepared(forget_answer)
            .called([] {
                return frwk_ipc_send_sync(kPeer, kEcho, g_large, sizeof(g_large), g_answer, sizeof(g_answer),
                                          kLimit, &g_result);
            })
            .verified([] { return answered(g_large, sizeof(g_large)); })
            .unchanged(has_no_answer)
            .failing(kSyncFailures),
        Scenario("frwk_ipc_msg_get")
            .prepared(forget_answer)
            .called([] { return frwk_ipc_msg_get(kPeer, kEcho, g_answer, 16, kLimit, &g_result); })
            .verified([] { return g_result == 0; })
            .unchanged(has_no_answer)
            .failing(kSyncFailures),
        Scenario("frwk_ipc_msg_set")
            .prepared(forget_answer)
            .called([] { return frwk_ipc_msg_set(kPeer, kEcho, kBody, sizeof(kBody), kLimit, &g_result); })
            .verified([] { return g_result == 0; })
            .unchanged(has_no_answer)
            .failing(kSyncFailures),
        Scenario("frwk_get_module_status")
            .called([] { return static_cast<long>(frwk_get_module_status(kPeer)); })
            .failing({0}),
    };
}

std::vector<Scenario> telling(Arrivals &peer) {
    const auto prepare = [&peer] {
        forget_answer();
        peer.start();
    };
    const auto arrived = [&peer] { return peer.grew_by(1); };
    return {
        Scenario("frwk_ipc_send_async")
            .prepared(prepare)
            .called([] { return frwk_ipc_send_async(kPeer, kNews, g_large, sizeof(g_large), kLimit); })
            .verified(arrived)
            .failing(kAsyncFailures),
        Scenario("frwk_ipc_msg_notify")
            .prepared(prepare)
            .called([] { return frwk_ipc_msg_notify(kPeer, kNews, kBody, sizeof(kBody)); })
            .verified(arrived)
            .failing(kAsyncFailures),
        Scenario("frwk_ipc_msg_broadcast")
            .prepared(prepare)
            .called([] {
                frwk_ipc_msg_broadcast(kNews, kBody, sizeof(kBody));
                return 0;
            })
            .verified(arrived)
            .reporting(Reports::kLog),
    };
}

std::vector<Scenario> commanding(Arrivals &monitor) {
    const auto command = [&monitor](const char *name, std::function<long()> call) {
        return Scenario(name)
            .prepared([&monitor] { monitor.start(); })
            .called(std::move(call))
            .verified([&monitor] { return monitor.grew_by(1); })
            .failing({0});
    };
    return {
        command("frwk_system_reboot", [] { return frwk_system_reboot(7); }),
        Scenario("frwk_system_reset")
            .prepared([&monitor] {
                std::filesystem::remove(kResetFlag);
                monitor.start();
            })
            .called([] { return frwk_system_reset(7); })
            .verified([&monitor] { return monitor.grew_by(1) && std::filesystem::exists(kResetFlag); })
            .failing({0})
            .except(kShellCalls, Waived::kEffectIfLogged, "the monitor is told; the flag is missing"),
        command("frwk_system_shutdown", [] { return frwk_system_shutdown(7); }),
        command("frwk_module_enable", [] { return frwk_module_enable(kPeer); }),
        command("frwk_module_disable", [] { return frwk_module_disable(kPeer); }),
    };
}

std::atomic<int> g_handled{0};

apps_err_e_type handle_own(uint32_t, apps_message_id_e_type, const void *data, int32_t data_len, void *rsp,
                           uint32_t rsp_size, uint32_t) {
    if (rsp != nullptr && data_len > 0 && static_cast<uint32_t>(data_len) <= rsp_size) {
        std::memcpy(rsp, data, static_cast<size_t>(data_len));
    }
    ++g_handled;
    return E_APPS_ERR_SUCCESS;
}

constexpr uint32_t kSelf = E_APPS_MODULE_MONITOR_TOOL;

std::vector<Scenario> talking_to_itself() {
    const auto prepare = [] {
        forget_answer();
        g_handled = 0;
    };
    return {
        Scenario("frwk_ipc_send_sync, to itself")
            .prepared(prepare)
            .called([] {
                return frwk_ipc_send_sync(kSelf, kEcho, kBody, sizeof(kBody), g_answer, sizeof(kBody), kLimit,
                                          &g_result);
            })
            .verified([] { return answered(kBody, sizeof(kBody)); })
            .quiet(),
        Scenario("frwk_ipc_send_async, to itself")
            .prepared(prepare)
            .called([] { return frwk_ipc_send_async(kSelf, kNews, kBody, sizeof(kBody), kLimit); })
            .verified([] { return wait_until([] { return g_handled == 1; }); })
            .failing({E_APPS_ERR_MALLOC, E_APPS_ERR_THREAD}),
    };
}

}  // namespace

TEST_F(MessagingFaults, Asking) {
    start_peers();
    run_scenarios(asking());
}

TEST_F(MessagingFaults, Telling) {
    start_peers();
    Arrivals peer(*peer_, kPeer);
    run_scenarios(telling(peer));
}

TEST_F(MessagingFaults, SystemCommands) {
    start_peers();
    Arrivals monitor(*monitor_, kMonitor);
    run_scenarios(commanding(monitor));
}

TEST_F(MessagingFaults, OwnMessages) {
    frwk_ipc_service_ex(handle_own, 0);
    run_scenarios(talking_to_itself());
}

}  // namespace faults
