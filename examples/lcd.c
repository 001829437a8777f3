/*
 * lcd: a module that only sends requests. It reads its settings into variables, requests a text from router,
 * prints it and ends.
 */
#include <stdbool.h>
#include <stdio.h>

#include "frwk_common.h"
#include "frwk_utils.h"

enum {
    TIME_LIMIT = 3 /* seconds */
};

/* A setting that is missing, or out of its type's range, leaves the variable unchanged. */
static uint32_t brightness(void) {
    uint8_t percent = 80;
    frwk_zndb_get_key_value("lcd_brightness", FRWK_DATA_TYPE_BYTE, &percent, sizeof(percent));
    return percent <= 100 ? percent : 100;
}

static void show(const char *text) {
    printf("[%3u%%] %s\n", brightness(), frwk_zndb_get_bool("lcd_dark") ? "" : text);
}

int main(void) {
    char text[64] = "";
    int32_t result = 0;

    frwk_module_init(E_APPS_MODULE_LCD, NULL);
    const apps_err_e_type sent = frwk_ipc_send_sync(E_APPS_MODULE_ROUTER, E_APPS_MSG_ROUTER_ETHER_INFO_GET,
                                                    NULL, 0, text, sizeof(text) - 1, TIME_LIMIT, &result);
    show(sent == E_APPS_ERR_SUCCESS && result == E_APPS_ERR_SUCCESS ? text : "no answer");
    return 0;
}
