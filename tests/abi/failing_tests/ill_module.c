/*
 * sms: crashes at a notification, and does not end well after a request.
 */
#include <stdlib.h>

#include "frwk_common.h"

static void end_badly(void) {
    _Exit(3);
}

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src, (void)data, (void)data_len, (void)rsp, (void)rsp_size, (void)timeout;
    if (msgid == E_APPS_MSG_SMS_NOTIFY_NEW_MSG) {
        abort();
    }
    atexit(end_badly);
    return E_APPS_ERR_SUCCESS;
}

int main(void) {
    frwk_module_init(E_APPS_MODULE_SMS, NULL);
    frwk_ipc_service(handle);
}
