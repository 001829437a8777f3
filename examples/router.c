/*
 * router: the smallest useful module. It answers one request, accepts two notifications, and refuses
 * everything else.
 */
#include <stdio.h>

#include "frwk_common.h"
#include "message_text.h"

/* Called for each message, one at a time. rsp is the buffer for the answer; null for a notification. */
static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    char text[64];
    (void)timeout;

    switch (msgid) {
        case E_APPS_MSG_ROUTER_ETHER_INFO_GET:
            if (rsp_size == 0) {
                return E_APPS_ERR_OUTOFBUF;
            }
            snprintf(rsp, rsp_size, "eth0 is up at 1000 Mbit/s");
            return E_APPS_ERR_SUCCESS;

        case E_APPS_MSG_ROUTER_WIFI_NUM_CHANGED:
            printf("%s has %s clients\n", frwk_module_name((int32_t)src),
                   message_text(data, data_len, text, sizeof(text)));
            return E_APPS_ERR_SUCCESS;

        case E_APPS_MSG_SYS_LANGUAGE_CHANGE:
            printf("the language is now %s\n", message_text(data, data_len, text, sizeof(text)));
            return E_APPS_ERR_SUCCESS;

        default:
            return E_APPS_ERR_UNSUPPORTED;
    }
}

int main(void) {
    setvbuf(stdout, NULL, _IOLBF, 0);

    frwk_module_init(E_APPS_MODULE_ROUTER, NULL);
    frwk_ipc_service(handle); /* from here on messages are handled; it never returns */
    return 0;
}
