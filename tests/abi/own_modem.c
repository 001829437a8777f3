/*
 * A modem client of its own in the place of libmal, as a device's maker might bring: its SIM is broken.
 * Linked into a program, or loaded before the client library.
 */
#include <stdio.h>
#include <string.h>

#include "libmal.h"

static int32_t say(const char *function, int32_t ret) {
    fprintf(stderr, "own %s\n", function);
    return ret;
}

int32_t mal_client_init(const char *client_name, int32_t options) {
    return say(__func__, strcmp(client_name, "zndb") == 0 && options == 0 ? MAL_NO_ERR : MAL_FAILURE_ERR);
}

int32_t libmal_get_mpss_status(void) {
    return say(__func__, 1);
}

int32_t libmal_get_sim_status(int32_t slot, int32_t *status) {
    *status = slot == MAL_SIM_SLOT_FIRST ? 42 : MAL_SIM_STATUS_NOT_READY;
    return say(__func__, MAL_NO_ERR);
}

int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size) {
    (void)slot, (void)plmn, (void)size;
    return say(__func__, MAL_FAILURE_ERR);
}

int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size) {
    (void)slot, (void)spn, (void)size;
    return say(__func__, MAL_FAILURE_ERR);
}
