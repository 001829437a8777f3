/*
 * A module that sends one asynchronous message to itself. The framework keeps it in a block of the base
 * library until it is handled, so this shows which base library is called. Status 0 when the message was
 * handled and its block given back.
 */
#include <stdio.h>

#include "frwk_common.h"
#include "os_mem.h"
#include "os_thread.h"
#include "os_time.h"

static os_sem *g_handled;

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src, (void)data, (void)data_len, (void)rsp, (void)rsp_size, (void)timeout;
    printf("handled %d\n", (int)msgid);
    os_sem_post(g_handled);
    return E_APPS_ERR_SUCCESS;
}

static os_mem_usage_t usage(void) {
    os_mem_usage_t now;
    os_mem_usage(&now);
    return now;
}

int main(void) {
    uint32_t held;
    uint32_t before;

    frwk_module_init(E_APPS_MODULE_ROUTER, NULL);
    g_handled = os_sem_create(0);
    frwk_ipc_service_ex(handle, 0);
    held = usage().live_blocks;
    before = usage().total_blocks;

    if (frwk_ipc_send_async(E_APPS_MODULE_ROUTER, 2011, "text", 5, 1) != E_APPS_ERR_ASYNC) {
        return 1;
    }
    os_sem_wait(g_handled);
    while (usage().live_blocks != held) {
        os_msleep(1);
    }
    return usage().total_blocks == before + 1 ? 0 : 1;
}
