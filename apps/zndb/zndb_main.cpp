/*
 * The module zndb: the configuration database as a process.
 */
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <optional>
#include <string>

#include "apply_handler.h"
#include "database.h"
#include "factory_access.h"
#include "formats/device_paths.h"
#include "frwk_common.h"
#include "frwk_ipc_ext.h"
#include "health_report.h"
#include "internal/service_calls.h"
#include "os_log.h"
#include "os_thread.h"
#include "os_time.h"
#include "own_files.h"
#include "owner_mark.h"
#include "sender.h"
#include "service_manager.h"
#include "shares.h"
#include "view_access.h"
#include "view_file.h"
#include "zndb_words.h"

namespace {

constexpr auto kLookPause = std::chrono::seconds(10);

/* The lock and the socket of this process. Created after these files exist; never freed, like the database.
 */
std::atomic<const OwnFiles *> g_s_own_files{nullptr};

/* Created after the library has prepared the log; never freed, like the database. */
std::atomic<const ServiceManager *> g_s_manager{nullptr};

/* The main thread's, which lives as long as the process. */
OwnerMark g_s_owner_mark;

/* The process that has sent the message; the database's own messages have none. */
std::optional<frwk_ipc_peer_t> peer_of_message() {
    frwk_ipc_peer_t peer = {};
    return frwk_ipc_peer(&peer) != 0 ? std::optional(peer) : std::nullopt;
}

/* Called with the database's lock held. */
SentBy sent_by() {
    static SenderFinder finder;
    const auto peer = peer_of_message();
    return peer ? SentBy{finder.find(peer->process), peer->process} : SentBy{kNobody, 0};
}

bool may_write_overlay(const ZndbMessage &message) {
    static const FactoryAccess access = factory_access();
    const auto peer = peer_of_message();
    return may_write_factory(access, peer ? &*peer : nullptr, message.src, message.msgid);
}

/*
 * Loaded by the first caller: the service thread may receive a message before the main thread gets here.
 * Never freed, since a message may end the process on any thread.
 */
Database &database() {
    static Database *const loaded = [] {
        auto *made = new Database;
        made->load();
        made->limit(Shares(sent_by, share_limit()));
        made->observe(*new ViewFile(paths::kViewFile, view_access(), &g_s_owner_mark));
        return made;
    }();
    return *loaded;
}

/* As the database: before the first answer, what was not confirmed is reverted. */
Trial &trial() {
    static Trial *const recovered = [] {
        auto *made = new Trial(database());
        made->recover();
        return made;
    }();
    return *recovered;
}

/*
 * Checks whether another instance has taken over. If somebody removed the lock, a second database may have
 * started; it owns the socket, the files and the journal now, and has replayed the unsaved changes. Logs that
 * and returns true.
 */
bool is_superseded() {
    const OwnFiles *files = g_s_own_files;
    const char *lost = files != nullptr ? files->lost() : nullptr;
    if (lost == nullptr) {
        return false;
    }
    const std::string words =
        std::string(lost) + " is not the one of this process any more: ending, nothing is saved";
    OS_LOG(OS_LOG_WARNING, "%s", words.c_str());
    (void)std::fprintf(stderr, "%s\n", words.c_str());
    return true;
}

/* Tells the subscribers of each damaged file. Not where requests wait, since a subscriber may hang. */
void publish_damage() {
    for (const std::string &path : database().set_aside()) {
        frwk_ipc_msg_pub(kStoreDamagedEvent, kStoreDamagedMessage, path.c_str(),
                         static_cast<uint32_t>(path.size() + 1));
    }
}

bool is_reading(apps_message_id_e_type msgid) {
    return msgid == E_APPS_MSG_ZNDB_GET || msgid == E_APPS_MSG_ZNDB_GET_PERM ||
           msgid == E_APPS_MSG_ZNDB_GET_DEF || msgid == kZndbListMessage;
}

/* Messages that change nothing are checked at most once a second. */
bool is_worth_a_look(apps_message_id_e_type msgid) {
    static std::atomic<uint32_t> looked_at{0};
    const uint32_t now = os_uptime_sec();
    return looked_at.exchange(now) != now || !is_reading(msgid);
}

void report_end() {
    const ServiceManager *manager = g_s_manager;
    if (manager != nullptr) {
        manager->report("STOPPING=1");
    }
}

/* Ends the process. Only the first thread that calls it does so. */
[[noreturn]] void end_superseded() {
    static std::mutex ending;
    ending.lock();
    report_end();
    std::exit(EXIT_FAILURE);  // NOLINT(concurrency-mt-unsafe): only one thread reaches this
}

/*
 * Checks regularly, since a database that has lost its socket receives no more requests; and those who watch
 * wait for a view that could not be written. Reverts in time what was not confirmed.
 */
[[noreturn]] void watch() {
    for (;;) {
        trial().wait(kLookPause);
        if (is_superseded()) {
            end_superseded();
        }
        trial().act_if_due();
        database().retry_observer();
    }
}

void *run_beside(void *) {
    publish_damage();
    watch();
}

apps_err_e_type answer_message(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                               void *rsp, uint32_t rsp_size, uint32_t) {
    if (is_worth_a_look(msgid) && is_superseded()) {
        end_superseded();
    }
    return zndb_handle(database(), trial(), {src, msgid, data, data_len, rsp, rsp_size, may_write_overlay});
}

/* After these messages the device's RAM is lost. A reset is not one of them: it discards the user's settings.
 */
bool ends_the_device(apps_message_id_e_type msgid) {
    return msgid == E_APPS_MSG_SYS_REBOOT || msgid == E_APPS_MSG_SYS_SHUTDOWN;
}

/* Saves if the device ends. Otherwise the journal keeps the unsaved changes for the next start of the
 * service. */
void before_exit(apps_message_id_e_type msgid) {
    OS_LOG(OS_LOG_NOTICE, "ending because of message %d", msgid);
    report_end();
    if (ends_the_device(msgid) && !is_superseded()) {
        (void)database().save_before_power_off(); /* a failure is only logged */
    }
}

/*
 * A save may wait for the disk. A reset is not handled apart: sets that arrive after it must not be lost to
 * it, also when its sender no longer waits for the answer.
 */
void handle_saves_apart() {
    for (const apps_message_id_e_type msgid : {E_APPS_MSG_ZNDB_SAVE, E_APPS_MSG_ZNDB_FACTOR_SAVE}) {
        (void)frwk_ipc_handle_apart(msgid);
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (const std::optional<int> status = answer_command_line(argc, argv)) {
        return *status;
    }
    g_s_owner_mark.begin();
    handle_saves_apart();
    frwk_module_init(E_APPS_MODULE_ZNDB, before_exit);
    g_s_own_files = new OwnFiles({paths::kZndbLock, paths::kZndbSocket});
    (void)trial();
    os_thread_t watcher = 0;
    if (os_thread_create(&watcher, nullptr, run_beside, nullptr) != 0) {
        trial().declare_unwatched(); /* now only requests check */
    }
    g_s_manager = new ServiceManager;
    start_health_report(*g_s_manager);
    frwk_ipc_service(answer_message);
    return 1;  // GCOVR_EXCL_LINE: there is no service thread
}
