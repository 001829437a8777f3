/*
 * wlan: a module that stores a value (a radio channel), checks requests, notifies another module, subscribes
 * to an event, does long work on a separate thread, reports its state with a status word, and handles a
 * signal on its main thread.
 */
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>

#include "frwk_common.h"
#include "message_text.h"

/* The queue for long work. Its thread keeps the service thread free for other messages. */
static const char kRadioQueue[] = "radio";

/* The status words that other modules read with frwk_get_module_status. The framework sets 0 and 1. */
enum {
    STATUS_RADIO_ON = 2
};

/* Set by the service thread, since this module sends no messages to itself; printed by the main thread. */
static atomic_int g_channel = 1;

static apps_err_e_type set_channel(const char *text) {
    const long channel = strtol(text, NULL, 10);
    if (channel < 1 || channel > 177) {
        return E_APPS_ERR_PARAM;
    }
    g_channel = (int)channel;
    return E_APPS_ERR_SUCCESS;
}

static apps_err_e_type get_channel(void *rsp, uint32_t rsp_size) {
    if (rsp_size == 0) {
        return E_APPS_ERR_OUTOFBUF;
    }
    snprintf(rsp, rsp_size, "channel %d", g_channel);
    return E_APPS_ERR_SUCCESS;
}

/* Forwards the message. A notification doesn't wait for the router, so the two modules can't deadlock. */
static apps_err_e_type clients_changed(const void *data, int32_t data_len) {
    frwk_ipc_msg_notify(E_APPS_MODULE_ROUTER, E_APPS_MSG_ROUTER_WIFI_NUM_CHANGED, data, (uint32_t)data_len);
    return E_APPS_ERR_SUCCESS;
}

/* Called on the queue's thread, for one scan at a time, in the order of the requests. */
static void scan(uint32_t msgid, const void *data, int32_t size) {
    char text[64];
    (void)msgid;

    frwk_sleep(200);
    printf("channel %s is scanned\n", message_text(data, size, text, sizeof(text)));
}

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    char text[64];
    (void)src;
    (void)timeout;

    message_text(data, data_len, text, sizeof(text));
    switch (msgid) {
        case E_APPS_MSG_WLAN_AP_WORK_CHANNEL_SET:
            return set_channel(text);

        case E_APPS_MSG_WLAN_AP_WORK_CHANNEL_GET:
            return get_channel(rsp, rsp_size);

        case E_APPS_MSG_WLAN_SCAN_TRIGGER:
            return frwk_itc_send(kRadioQueue, (uint32_t)msgid, data, data_len);

        case E_APPS_MSG_WLAN_CLIENT_NUM_CHANGE:
            printf("%s clients\n", text);
            return clients_changed(data, data_len);

        case E_APPS_MSG_ROUTER_ETH_STATE_CHANGED:
            printf("the cable is %s\n", text);
            return E_APPS_ERR_SUCCESS;

        case E_APPS_MSG_SYS_LANGUAGE_CHANGE:
            printf("the language is now %s\n", text);
            return E_APPS_ERR_SUCCESS;

        default:
            return E_APPS_ERR_UNSUPPORTED;
    }
}

/*
 * A signal handler on the service thread would interrupt its wait for a request, and the request would be
 * lost. So all threads block the signal, and the main thread takes it with sigwait.
 */
static sigset_t block_own_signals(void) {
    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &own, NULL);
    return own;
}

static void show_channel_on_signal(const sigset_t *own) {
    int number = 0;
    while (sigwait(own, &number) == 0) {
        printf("on channel %d\n", g_channel);
    }
}

int main(void) {
    setvbuf(stdout, NULL, _IOLBF, 0);

    const sigset_t own = block_own_signals(); /* must come first: every later thread inherits the mask */
    frwk_module_init(E_APPS_MODULE_WLAN, NULL);
    frwk_itc_create(kRadioQueue, NULL, scan);
    frwk_ipc_service_ex(handle, 0); /* messages are handled on a thread of the framework */
    frwk_ipc_msg_sub("E_APPS_MSG_ROUTER_ETH_STATE_CHANGED");
    frwk_set_module_status(STATUS_RADIO_ON);
    show_channel_on_signal(&own); /* it never returns */
    return 0;
}
