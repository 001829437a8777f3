/*
 * Start-up, which a process does once: each call is made in a child.
 */
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "faults/faulty_device.h"
#include "faults/in_child.h"
#include "frwk_common.h"
#include "support/wait_until.h"

namespace faults {

namespace {

constexpr char kConfig[] = "/etc/quor_apps_cfg.xml";
constexpr char kList[] = "/etc/quor_apps_startup";
constexpr char kSocketFolder[] = "/tmp/m_tmp/ipc";
constexpr char kLockFolder[] = "/tmp/m_tmp/lock";
constexpr char kErrors[] = "/tmp/m_tmp/errors";

/* What a started module lacks. */
enum Missing {
    kNothing = 0,
    kTexts = 1,
    kRunFlag = 2,
    kSocket = 4,
    kLockText = 8
};

constexpr int kEnded = 255;

bool has_process_id(const char *lock) {
    return file_text(std::string(kLockFolder) + "/" + lock) == std::to_string(::getpid());
}

bool serves(const char *name) {
    return std::filesystem::is_socket(std::string(kSocketFolder) + "/" + name);
}

int start_module() {
    frwk_module_init(E_APPS_MODULE_SMS, nullptr);
    stop_watching();
    const bool has_texts = std::string(frwk_module_alias(-1)) == "Messages";
    const bool is_listed = frwk_module_feature(-1, FRWK_FLAG_RUN) != 0;
    return (has_texts ? kNothing : kTexts) | (is_listed ? kNothing : kRunFlag) |
           (serves("sms") ? kNothing : kSocket) | (has_process_id("sms") ? kNothing : kLockText);
}

apps_err_e_type take(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t, uint32_t) {
    return E_APPS_ERR_SUCCESS;
}

int start_service() {
    frwk_ipc_service_ex(take, 0);
    stop_watching();
    return serves("monitor_tool") ? kNothing : kSocket;
}

void clear_folders() {
    std::filesystem::remove_all(kSocketFolder);
    std::filesystem::remove_all(kLockFolder);
    (void)::truncate(kErrors, 0);
}

/* Standard error is a file, so that the output of a refused start can be checked. */
void keep_errors() {
    const int file = ::open(kErrors, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0600);
    ASSERT_EQ(STDERR_FILENO, ::dup2(file, STDERR_FILENO));
    (void)::close(file);
}

std::vector<Scenario> start() {
    return {
        Scenario("frwk_module_init")
            .prepared(clear_folders)
            .called([] {
                const long missing = in_child(start_module);
                return missing == kEnded && file_text(kErrors).empty() ? -1 : missing;
            })
            .failing({kEnded, kTexts, kRunFlag, kTexts | kRunFlag, kSocket, kLockText})
            .except({Call::open64, Call::fstat64, Call::fdopen, Call::fcntl64, Call::malloc},
                    Waived::kWarning, "without its lock a module ends, and says so on standard error")
            .except({Call::fread}, Waived::kWarning, "a list that ends early has been cut meanwhile",
                    Fault::Way::kEnds),
    };
}

std::vector<Scenario> service() {
    return {
        Scenario("frwk_ipc_service_ex")
            .prepared(clear_folders)
            .called([] { return in_child(start_service); })
            .failing({kSocket}),
    };
}

}  // namespace

TEST(StartFaults, ModuleInit) {
    put_text(kConfig, "<modules><sms><alias>Messages</alias><cmd>-x</cmd></sms></modules>");
    put_text(kList, "sms " + std::string(600, ' ') + "voice\n");
    keep_errors();
    run_scenarios(start());
}

using ServiceStartFaults = FaultyDevice;

TEST_F(ServiceStartFaults, Service) {
    run_scenarios(service());
}

}  // namespace faults
