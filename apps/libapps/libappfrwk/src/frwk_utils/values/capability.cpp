/*
 * Constant properties of this product build.
 */
#include "frwk_utils.h"

int32_t frwk_utils_is_pv_version(void) {
    return 0;
}

int32_t frwk_utils_is_mpss_support(void) {
    return 1;
}

int32_t frwk_utils_is_softap_support(void) {
    return 1;
}
