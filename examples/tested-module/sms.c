/*
 * sms: counts the text messages that come, up to a limit that is a setting, and sends some, for which it asks
 * the network module.
 */
#include <stdio.h>
#include <string.h>

#include "frwk_common.h"
#include "frwk_utils.h"

enum {
    ANSWER_LIMIT = 3 /* seconds */
};

static uint32_t g_count;

static uint32_t max_count(void) {
    uint32_t max = 100; /* the default when the setting is missing */
    frwk_zndb_get_key_value("sms_max_count", FRWK_DATA_TYPE_UINT, &max, sizeof(max));
    return max;
}

static apps_err_e_type count_one(void) {
    if (g_count < max_count()) {
        g_count++;
    }
    return E_APPS_ERR_SUCCESS;
}

static apps_err_e_type get_count(void *rsp, uint32_t rsp_size) {
    if (rsp_size < sizeof(g_count)) {
        return E_APPS_ERR_OUTOFBUF;
    }
    memcpy(rsp, &g_count, sizeof(g_count));
    return E_APPS_ERR_SUCCESS;
}

static apps_err_e_type send_one(void *rsp, uint32_t rsp_size) {
    char network[32] = "";
    int32_t result = 0;
    const apps_err_e_type asked = frwk_ipc_send_sync(E_APPS_MODULE_MNET, E_APPS_MSG_MNET_GET_NWINFO, NULL, 0,
                                                     network, sizeof(network) - 1, ANSWER_LIMIT, &result);
    if (asked != E_APPS_ERR_SUCCESS || result != E_APPS_ERR_SUCCESS) {
        return E_APPS_ERR_BUSY;
    }
    if (rsp_size > 0) {
        snprintf(rsp, rsp_size, "sent by %s", network);
    }
    return E_APPS_ERR_SUCCESS;
}

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src;
    (void)data;
    (void)data_len;
    (void)timeout;

    switch (msgid) {
        case E_APPS_MSG_SMS_NOTIFY_NEW_MSG:
            return count_one();

        case E_APPS_MSG_SMS_GET_MSG_COUNT:
            return get_count(rsp, rsp_size);

        case E_APPS_MSG_SMS_MO_SEND_MSG:
            return send_one(rsp, rsp_size);

        default:
            return E_APPS_ERR_UNSUPPORTED;
    }
}

int main(void) {
    frwk_module_init(E_APPS_MODULE_SMS, NULL);
    frwk_ipc_service(handle);
}
