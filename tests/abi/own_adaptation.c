/*
 * A module that adapts the device to its SIM, which makes the framework ask the modem. It plays the database
 * too, so it needs no other process. Status 0 when the adaptation was finished.
 */
#include <string.h>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "zndb.h"

static char g_status[8];

/* Every setting reads as "on"; the adaptation's status is the only one that is set in the plain store. */
static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src, (void)timeout;
    if (msgid == E_APPS_MSG_ZNDB_GET && rsp_size > 2) {
        strcpy(rsp, "on");
        return E_APPS_ERR_SUCCESS;
    }
    if (msgid == E_APPS_MSG_ZNDB_SET && data_len == ZNDB_KEY_LEN + ZNDB_VALUE_LEN) {
        memcpy(g_status, (const char *)data + ZNDB_KEY_LEN, sizeof(g_status) - 1);
        return E_APPS_ERR_SUCCESS;
    }
    return E_APPS_ERR_ZNDB_NO_FOUND;
}

int main(void) {
    frwk_module_init(E_APPS_MODULE_ZNDB, NULL);
    frwk_ipc_service_ex(handle, 0);
    frwk_sim_subnet_handle(1);
    return strcmp(g_status, "2") == 0 ? 0 : 1;
}
