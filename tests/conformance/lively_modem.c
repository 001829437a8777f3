/*
 * A modem client with a SIM that is usable.
 */
#include <stdio.h>
#include <string.h>

#include "libmal.h"

int32_t mal_client_init(const char *client_name, int32_t options) {
    static int32_t known = 0;
    (void)client_name;
    (void)options;
    return known++ == 0 ? MAL_NO_ERR : MAL_INITIAL_ALREADY_ERR;
}

int32_t libmal_get_mpss_status(void) {
    return 1;
}

int32_t libmal_get_sim_status(int32_t slot, int32_t *status) {
    (void)slot;
    *status = MAL_SIM_STATUS_USABLE;
    return MAL_NO_ERR;
}

int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size) {
    static const mal_sim_plmn_t home = {"262", "01"};
    (void)slot;
    if (size < sizeof(home)) {
        return MAL_FAILURE_ERR;
    }
    memcpy(plmn, &home, sizeof(home));
    return MAL_NO_ERR;
}

int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size) {
    (void)slot;
    (void)snprintf(spn, size, "%s", "Operator");
    return MAL_NO_ERR;
}
