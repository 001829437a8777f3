/*
 * A module written in C99 against the installed library. It includes every public header, starts as the
 * router, sends itself a synchronous and an asynchronous message, asks the modem, and prints what happened.
 */
#include "apps_err.h"
#include "apps_message.h"
#include "base64.h"
#include "byte_buffer.h"
#include "cipher.h"
#include "enum_name.h"
#include "frwk_common.h"
#include "frwk_common_ex.h"
#include "frwk_dbrm.h"
#include "frwk_diag.h"
#include "frwk_ipc_ext.h"
#include "frwk_module.h"
#include "frwk_utils.h"
#include "json.h"
#include "libmal.h"
#include "list.h"
#include "md5.h"
#include "os_file.h"
#include "os_log.h"
#include "os_mem.h"
#include "os_process.h"
#include "os_thread.h"
#include "os_time.h"
#include "text_copy.h"
#include "xml.h"
#include "zndb.h"
#include "zndb_ext.h"

#include <stdio.h>

enum {
    QUESTION = 3001,
    NEWS = 3002
};

static os_sem *g_news_came;

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)timeout;
    printf("message %d of %s: %.*s\n", (int)msgid, frwk_module_name((int32_t)src), (int)data_len,
           (const char *)data);
    if (rsp != NULL && rsp_size > 0) {
        strsncpy((char *)rsp, "an answer", rsp_size - 1);
    }
    if (msgid == NEWS) {
        os_sem_post(g_news_came);
    }
    return msgid == QUESTION ? E_APPS_ERR_NOTFOUND : E_APPS_ERR_SUCCESS;
}

int main(void) {
    char answer[16] = "";
    int32_t result = -1;
    apps_err_e_type sent;

    frwk_module_init(E_APPS_MODULE_ROUTER, NULL);
    g_news_came = os_sem_create(0);
    frwk_ipc_service_ex(handle, 0);
    printf("started as %s, status %u\n", frwk_module_alias(-1), frwk_get_module_status(E_APPS_MODULE_ROUTER));

    sent = frwk_ipc_send_sync(E_APPS_MODULE_ROUTER, QUESTION, "a question", 10, answer, sizeof(answer), 3,
                              &result);
    printf("sync: %s, %s, %s\n", zn_enum_to_str_apps_err_e_type(sent), zn_enum_to_str_apps_err_e_type(result),
           answer);

    sent = frwk_ipc_send_async(E_APPS_MODULE_ROUTER, NEWS, "some news", 9, 3);
    os_sem_wait(g_news_came);
    printf("async: %s\n", zn_enum_to_str_apps_err_e_type(sent));

    printf("database: %d\n", zndb_set("key", "value"));
    printf("modem: %d\n", (int)libmal_get_mpss_status());
    return 0;
}
