/*
 * Reads the inserted SIM's data from the modem. No state; sleeps between requests.
 */
#include <cstdio>
#include <cstring>

#include "frwk_common.h"
#include "frwk_utils/sim/sim_subnet.h"
#include "frwk_utils/sim/subnet_settings.h"
#include "internal/frwk_log.h"
#include "libmal.h"
#include "text_copy.h"

namespace sim {

namespace {

constexpr int kPollFailuresMax = 10;
constexpr int kPinPollsMax = 4;
constexpr int kPlmnFailuresMax = 20;
constexpr uint32_t kRetryMs = 1000;
constexpr uint32_t kPinRetryMs = 300;

bool is_not_ready(int32_t status) {
    return status == MAL_SIM_STATUS_NOT_READY || status == MAL_SIM_STATUS_NOT_READY_3 ||
           status == MAL_SIM_STATUS_NOT_READY_8;
}

/* Reads the state once. status: unchanged if the modem fails. Returns false then, and if the SIM isn't ready.
 */
bool poll_sim(int failures, int32_t *status) {
    int32_t polled = *status;
    const int32_t ret = libmal_get_sim_status(MAL_SIM_SLOT_FIRST, &polled);
    if (ret == MAL_NO_ERR) {
        *status = polled;
    }
    const int level = ret == MAL_NO_ERR ? OS_LOG_DEBUG : OS_LOG_WARNING;
    FRWK_LOG(log_name::kSimSubnetGetSimInfo, level, "libmal_get_sim_status ret:%d, count:%d, sim_status=%d",
             ret, failures + 1, *status);
    return ret == MAL_NO_ERR && !is_not_ready(polled);
}

/* Returns the last state of the SIM. */
int32_t wait_for_sim(bool at_run_time) {
    int32_t status = MAL_SIM_STATUS_NOT_READY;
    int failures = 0;
    int pin_polls = 0; /* consecutive ones */
    while (failures < kPollFailuresMax && pin_polls < kPinPollsMax) {
        if (!poll_sim(failures, &status)) {
            ++failures;
            pin_polls = 0;
            frwk_sleep(kRetryMs);
        } else if (status == MAL_SIM_STATUS_PIN && at_run_time) {
            ++pin_polls;
            frwk_sleep(kPinRetryMs);
        } else {
            break;
        }
    }
    return status;
}

/* record: all zero if the modem never returns one. */
void read_plmn_record(mal_sim_plmn_t *record) {
    for (int count = 1; count <= kPlmnFailuresMax; ++count) {
        if (libmal_get_sim_plmn(MAL_SIM_SLOT_FIRST, record, MAL_SIM_PLMN_SIZE) == MAL_NO_ERR) {
            return;
        }
        *record = {};
        FRWK_WARN(log_name::kSimSubnetGetSimInfo, "failed to libmal_get_sim_plmn count %d", count);
        frwk_sleep(kRetryMs);
    }
}

/* The two codes may lack a NUL, so reads don't exceed the fields. */
void read_plmn(SimInfo *info) {
    mal_sim_plmn_t record = {};
    read_plmn_record(&record);

    char custom_mnc[sizeof(record.mnc)];
    subnet_settings::read_plain(subnet_settings::kCustomMnc, custom_mnc);
    if (custom_mnc[0] != '\0') {
        FRWK_DEBUG(log_name::kSimSubnetGetSimInfo, "sim mnc get db is %s", custom_mnc);
    }
    const char *mnc = custom_mnc[0] != '\0' ? custom_mnc : record.mnc;
    (void)std::snprintf(info->plmn, sizeof(info->plmn), "%.*s%.*s", static_cast<int>(sizeof(record.mcc)),
                        record.mcc, static_cast<int>(sizeof(record.mnc)), mnc);
}

void read_spn(SimInfo *info) {
    char spn[MAL_SIM_SPN_SIZE] = {};
    const int32_t ret = libmal_get_sim_spn(MAL_SIM_SLOT_FIRST, spn, sizeof(spn));
    if (ret != MAL_NO_ERR) {
        FRWK_WARN(log_name::kSimSubnetGetSimInfo, "failed to libmal_get_sim_spn ret:%d", ret);
        return;
    }
    strsncpy(info->spn, spn, sizeof(info->spn) - 1);
}

}  // namespace

void read_sim_info(int32_t type, SimInfo *info) {
    info->sim_status = wait_for_sim(type == 0);
    if (!is_usable_sim(info->sim_status)) {
        return;
    }
    read_plmn(info);
    read_spn(info);
}

bool is_usable_sim(int32_t sim_status) {
    return sim_status == MAL_SIM_STATUS_USABLE || sim_status == MAL_SIM_STATUS_USABLE_5;
}

}  // namespace sim
