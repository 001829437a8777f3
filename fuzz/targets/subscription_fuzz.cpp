/*
 * Fuzzes subscription files: publishing, subscribing and unsubscribing.
 *
 * The input is the file. No message leaves the process, and nothing is synced.
 */
#include <vector>

#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "support/fuzz_files.h"
#include "support/fuzz_input.h"

namespace {

constexpr char kEvent[] = "E_APPS_MSG_SYS_LANGUAGE_CHANGE";
constexpr char kFile[] = "/m_data/usr/subscribe/E_APPS_MSG_SYS_LANGUAGE_CHANGE";
constexpr int32_t kMessage = 9001;
constexpr char kOwnName[] = "monitor";

std::vector<uint32_t> g_notified;

/* The file without the first occurrence of the calling module's name and the rest of that line. */
std::string without_own_name(const std::string &file) {
    const size_t found = file.find(kOwnName);
    if (found == std::string::npos) {
        return file;
    }
    const size_t end = file.find('\n', found);
    return file.substr(0, found) + (end != std::string::npos ? file.substr(end + 1) : "");
}

void check_publishing() {
    g_notified.clear();
    frwk_ipc_msg_pub(kEvent, kMessage, kEvent, sizeof(kEvent));
    for (const uint32_t module : g_notified) {
        FUZZ_CHECK(module > E_APPS_MODULE_MIN && module < E_APPS_MODULE_MAX);
        FUZZ_CHECK(module != E_APPS_MODULE_MONITOR);
    }
}

/* Subscribing adds one line or, where the name is listed, nothing. */
void check_subscribing() {
    const std::string before = content_of(kFile);
    FUZZ_CHECK(frwk_ipc_msg_sub(kEvent) == E_APPS_ERR_SUCCESS);
    const std::string after = content_of(kFile);
    FUZZ_CHECK(after == before || after == before + kOwnName + "\n");

    FUZZ_CHECK(frwk_ipc_msg_sub(kEvent) == E_APPS_ERR_SUCCESS);
    const bool ended_early = !before.empty() && before.back() != '\n';
    FUZZ_CHECK(ended_early || content_of(kFile) == after);
}

void check_unsubscribing() {
    const std::string before = content_of(kFile);
    FUZZ_CHECK(frwk_ipc_msg_unsub(kEvent) == E_APPS_ERR_SUCCESS);
    FUZZ_CHECK(content_of(kFile) == without_own_name(before));
}

}  // namespace

extern "C" apps_err_e_type __wrap_frwk_ipc_msg_notify(uint32_t module, apps_message_id_e_type msgid,
                                                      const void *data, uint32_t len) {
    FUZZ_CHECK(msgid == kMessage && len == sizeof(kEvent) && std::memcmp(data, kEvent, len) == 0);
    g_notified.push_back(module);
    return E_APPS_ERR_ASYNC;
}

extern "C" void __wrap_sync() {}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool ready = make_folder("/m_data/usr/subscribe") && make_folder("/tmp/m_tmp/lock");
    FUZZ_CHECK(ready);
    reset_process_state(E_APPS_MODULE_MONITOR, nullptr);
    put_file(kFile, FuzzInput(data, size).rest());

    check_publishing();
    check_subscribing();
    check_publishing();
    check_unsubscribing();
    check_unsubscribing();
    return 0;
}
