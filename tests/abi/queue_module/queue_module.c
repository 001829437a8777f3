/*
 * sms: a request is answered by the thread of a queue, with nothing but the queue and a semaphore between the
 * threads.
 */
#include <string.h>

#include "frwk_common.h"
#include "os_thread.h"

static const char kQueue[] = "counter";

static uint32_t g_asked;
static uint32_t g_answer;
static os_sem *g_answered;

static void answer(uint32_t msgid, const void *data, int32_t size) {
    (void)msgid, (void)data, (void)size;
    g_answer = g_asked + 1;
    os_sem_post(g_answered);
}

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src, (void)data, (void)data_len, (void)timeout;
    if (rsp_size < sizeof(g_answer)) {
        return E_APPS_ERR_OUTOFBUF;
    }
    g_asked++;
    frwk_itc_send(kQueue, (uint32_t)msgid, NULL, 0);
    os_sem_wait(g_answered);
    memcpy(rsp, &g_answer, sizeof(g_answer));
    return E_APPS_ERR_SUCCESS;
}

int main(void) {
    frwk_module_init(E_APPS_MODULE_SMS, NULL);
    g_answered = os_sem_create(0);
    frwk_itc_create(kQueue, NULL, answer);
    frwk_ipc_service(handle);
}
