/*
 * The module zndb: the configuration database as a process.
 */
#include "database.h"
#include "frwk_common.h"
#include "os_log.h"
#include "zndb_handler.h"

namespace {

/* Made before the handler is registered; never freed, since a message may end the process on any thread. */
Database *g_s_database = nullptr;

apps_err_e_type answer_message(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                               void *rsp, uint32_t rsp_size, uint32_t) {
    return zndb_handle(*g_s_database, {src, msgid, data, data_len, rsp, rsp_size});
}

/* Nothing to do: what was set but not saved is in the journal. */
void before_exit(apps_message_id_e_type msgid) {
    OS_LOG(OS_LOG_NOTICE, "ending, as message %d asks", msgid);
}

}  // namespace

int main() {
    frwk_module_init(E_APPS_MODULE_ZNDB, before_exit);
    g_s_database = new Database;
    g_s_database->load();
    frwk_ipc_service(answer_message);
    return 1;  // GCOVR_EXCL_LINE: there is no service thread
}
