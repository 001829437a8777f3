/*
 * idle-module ID: a module that does nothing. When it serves, it prints the times at which its main began and
 * at which it served, in nanoseconds of the monotonic clock.
 */
#include <stdio.h>
#include <stdlib.h>
#include <time.h>

#include "frwk_common.h"

static long long now_ns(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

static apps_err_e_type handle(uint32_t src, apps_message_id_e_type msgid, const void *data, int32_t data_len,
                              void *rsp, uint32_t rsp_size, uint32_t timeout) {
    (void)src;
    (void)msgid;
    (void)data;
    (void)data_len;
    (void)rsp;
    (void)rsp_size;
    (void)timeout;
    return E_APPS_ERR_SUCCESS;
}

int main(int argc, char **argv) {
    const long long began = now_ns();
    frwk_module_init(argc > 1 ? atoi(argv[1]) : E_APPS_MODULE_ROUTER, 0);
    frwk_ipc_service_ex(handle, 0);
    const long long serves = now_ns();
    char text[64];
    const int length = snprintf(text, sizeof text, "%lld %lld\n", began, serves);
    if (fwrite(text, 1, (size_t)length, stdout) != (size_t)length || fflush(stdout) != 0) {
        return 1;
    }
    frwk_keep_running();
    return 0;
}
