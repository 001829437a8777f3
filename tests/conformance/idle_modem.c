/*
 * A modem client whose functions report success and do nothing.
 */
#include "libmal.h"

int32_t mal_client_init(const char *client_name, int32_t options) {
    (void)client_name;
    (void)options;
    return 0;
}

int32_t libmal_get_mpss_status(void) {
    return 0;
}

int32_t libmal_get_sim_status(int32_t slot, int32_t *status) {
    (void)slot;
    (void)status;
    return 0;
}

int32_t libmal_get_sim_plmn(int32_t slot, void *plmn, uint32_t size) {
    (void)slot;
    (void)plmn;
    (void)size;
    return 0;
}

int32_t libmal_get_sim_spn(int32_t slot, char *spn, uint32_t size) {
    (void)slot;
    (void)spn;
    (void)size;
    return 0;
}
