/*
 * Events: subscribing, unsubscribing and publishing.
 */
#include <filesystem>

#include "faults/faulty_device.h"
#include "frwk_common.h"
#include "support/wait_until.h"

namespace faults {

namespace {

using EventFaults = FaultyDevice;

constexpr char kEvent[] = "E_APPS_MSG_TEST";
constexpr char kFile[] = "/m_data/usr/subscribe/E_APPS_MSG_TEST";
constexpr char kFolderEx[] = "/m_webui/subscribe";
constexpr int32_t kNews = 40100;

const std::vector<long> kSubFailures = {E_APPS_ERR_BUSY, E_APPS_ERR_IO};
const std::vector<long> kUnsubFailures = {E_APPS_ERR_BUSY, E_APPS_ERR_IO, E_APPS_ERR_MALLOC,
                                          E_APPS_ERR_WRITE};

constexpr char kEmptied[] = "a file that is at its end at once has been emptied since its size was asked for";

/* More subscribers than fit the fixed buffer. */
std::string many_subscribers() {
    std::string lines;
    while (lines.size() < 600) {
        lines += "wlan\n";
    }
    return lines;
}

std::vector<Scenario> subscribing() {
    const std::string many = many_subscribers();
    return {
        Scenario("frwk_ipc_init_sub")
            .prepared([] { put_text(kFile, "sms\n"); })
            .called([] {
                frwk_ipc_init_sub();
                return 0;
            })
            .verified([] { return !std::filesystem::exists(kFile); })
            .reporting(Reports::kLog),
        Scenario("frwk_ipc_init_sub_ex")
            .prepared([] { std::filesystem::remove_all(kFolderEx); })
            .called([] {
                frwk_ipc_init_sub_ex();
                return 0;
            })
            .verified([] { return std::filesystem::exists(kFolderEx); })
            .reporting(Reports::kLog),
        Scenario("frwk_ipc_msg_sub")
            .prepared([] { put_text(kFile, "sms\n"); })
            .called([] { return frwk_ipc_msg_sub(kEvent); })
            .verified([] { return file_text(kFile) == "sms\nmonitor_tool\n"; })
            .unchanged([] { return file_text(kFile) == "sms\n"; })
            .failing(kSubFailures),
        Scenario("frwk_ipc_msg_sub, again")
            .prepared([] { put_text(kFile, "sms\nmonitor_tool\n"); })
            .called([] { return frwk_ipc_msg_sub(kEvent); })
            .verified([] { return file_text(kFile) == "sms\nmonitor_tool\n"; })
            .unchanged([] { return file_text(kFile) == "sms\nmonitor_tool\n"; })
            .failing(kSubFailures)
            .except({Call::read}, Waived::kEffect, kEmptied, Fault::Way::kEnds),
        Scenario("frwk_ipc_msg_unsub")
            .prepared([many] { put_text(kFile, "sms\nmonitor_tool\n" + many); })
            .called([] { return frwk_ipc_msg_unsub(kEvent); })
            .verified([many] { return file_text(kFile) == "sms\n" + many; })
            .unchanged([many] { return file_text(kFile) == "sms\nmonitor_tool\n" + many; })
            .except({Call::write}, Waived::kChange, "the list is written back in place, as far as it gets")
            .failing(kUnsubFailures)
            .except({Call::read}, Waived::kEffect, kEmptied, Fault::Way::kEnds),
        Scenario("frwk_ipc_msg_unsub, the last one")
            .prepared([] { put_text(kFile, "monitor_tool\n"); })
            .called([] { return frwk_ipc_msg_unsub(kEvent); })
            .verified([] { return file_text(kFile).empty(); })
            .unchanged([] { return file_text(kFile) == "monitor_tool\n"; })
            .failing(kUnsubFailures)
            .except({Call::read}, Waived::kEffect, kEmptied, Fault::Way::kEnds),
    };
}

std::vector<Scenario> publishing(const ModuleProcess &peer) {
    static size_t before = 0;
    return {
        Scenario("frwk_ipc_msg_pub")
            .prepared([&peer] {
                put_text(kFile, "monitor_tool\nvoice\n");
                before = peer.messages().size();
            })
            .called([] {
                frwk_ipc_msg_pub(kEvent, kNews, "news", 4);
                return 0;
            })
            .verified([&peer] {
                frwk_ipc_msg_get(kPeer, kEcho, nullptr, 0, 3, nullptr);
                return peer.messages().size() == before + 2;
            })
            .reporting(Reports::kLog)
            .except({Call::read}, Waived::kEffect, kEmptied, Fault::Way::kEnds),
    };
}

}  // namespace

TEST_F(EventFaults, Subscribing) {
    run_scenarios(subscribing());
}

TEST_F(EventFaults, Publishing) {
    start_peers();
    run_scenarios(publishing(*peer_));
}

}  // namespace faults
