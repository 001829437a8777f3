/*
 * The module zndb: the configuration database as a process.
 */
#include "database.h"
#include "frwk_common.h"
#include "os_log.h"
#include "zndb_handler.h"

namespace {

/*
 * Loaded by whoever comes first: the service thread may be told to end before the main thread gets here.
 * Never freed, since a message may end the process on any thread.
 */
Database &database() {
    static Database *const loaded = [] {
        auto *made = new Database;
        made->load();
        return made;
    }();
    return *loaded;
}

apps_err_e_type answer_message(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                               void *rsp, uint32_t rsp_size, uint32_t) {
    return zndb_handle(database(), {src, msgid, data, data_len, rsp, rsp_size});
}

/* The memory of the device is gone after these; a reset is to end what the user has set. */
bool ends_the_device(apps_message_id_e_type msgid) {
    return msgid == E_APPS_MSG_SYS_REBOOT || msgid == E_APPS_MSG_SYS_SHUTDOWN;
}

/* What stays unsaved is in the journal, for the next start of the service alone. */
void before_exit(apps_message_id_e_type msgid) {
    OS_LOG(OS_LOG_NOTICE, "ending, as message %d asks", msgid);
    if (ends_the_device(msgid)) {
        (void)database().save_before_power_off(); /* a failure is logged, and nothing else can be done */
    }
}

}  // namespace

int main() {
    frwk_module_init(E_APPS_MODULE_ZNDB, before_exit);
    (void)database();
    frwk_ipc_service(answer_message);
    return 1;  // GCOVR_EXCL_LINE: there is no service thread
}
