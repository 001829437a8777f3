/*
 * The operator adaptation: the order of its steps, its status, and the reboot at its end.
 *
 * It sleeps on the caller's thread, without limit while the modem side is not up.
 */
#include "frwk_utils/sim/sim_subnet.h"

#include <cstring>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "frwk_utils/sim/subnet_settings.h"
#include "internal/frwk_log.h"
#include "libmal.h"

using sim::SimInfo;
using sim::SubnetAction;
using sim::SubnetDecision;

namespace {

constexpr uint32_t kModemPollMs = 1000;
constexpr uint32_t kBeforeRebootMs = 2000;
constexpr uint32_t kRebootReason = 801;

/* The progress of the adaptation, which other modules read. */
enum class AdaptStatus : uint32_t {
    kUnderWay = 0,
    kRebootFollows = 1,
    kFinished = 2
};

void set_status(AdaptStatus status) {
    const auto number = static_cast<uint32_t>(status);
    (void)frwk_zndb_set_key_value(subnet_settings::kAdaptStatus, FRWK_DATA_TYPE_UINT, &number);
}

bool is_switched_on() {
    char value[1025];
    subnet_settings::read_plain(subnet_settings::kSwitch, value);
    return std::strcmp(value, "on") == 0;
}

void wait_for_modem() {
    if (frwk_module_feature(-1, FRWK_FLAG_MPSS) == 0 || frwk_utils_is_mpss_support() == 0) {
        return;
    }
    FRWK_DEBUG(log_name::kSimSubnetHandle, "check MAL MPSS status...");
    while (libmal_get_mpss_status() == 0) {
        frwk_sleep(kModemPollMs);
    }
}

const char *decision_name(SubnetDecision decision) {
    switch (decision) {
        case SubnetDecision::kNeedAdapt:
            return "FRWK_SIM_SUBNET_NEED_ADAPT";
        case SubnetDecision::kNeedDelete:
            return "FRWK_SIM_NORMAL_NEED_DELETE";
        case SubnetDecision::kNoNeedAdapt:
            break;
    }
    return "FRWK_SIM_SUBNET_NO_NEED_ADAPT";
}

/* Returns whether any setting was changed. */
bool carry_out(SubnetDecision decision, const SimInfo &info) {
    const int32_t deleted = sim::adapt(SubnetAction::kDelete, info);
    const int32_t added = decision == SubnetDecision::kNeedAdapt ? sim::adapt(SubnetAction::kAdd, info) : 0;
    return deleted != 0 || added != 0;
}

/* type: 0 for a check at run time. */
void finish_success(int32_t type) {
    FRWK_DEBUG(log_name::kSimSubnetHandle, "sim subnet adapt success");
    if (type == 0) {
        FRWK_DEBUG(log_name::kSimSubnetHandle, "sim subnet boot adapt, no need reboot");
        set_status(AdaptStatus::kFinished);
        return;
    }
    FRWK_DEBUG(log_name::kSimSubnetHandle, "sim subnet boot adapt, need reboot");
    set_status(AdaptStatus::kRebootFollows);
    frwk_sleep(kBeforeRebootMs);
    (void)frwk_system_reboot(kRebootReason);
}

void act_on(SubnetDecision decision, const SimInfo &info, int32_t type) {
    FRWK_DEBUG(log_name::kSimSubnetHandle, "%s", decision_name(decision));
    if (decision == SubnetDecision::kNoNeedAdapt) {
        set_status(AdaptStatus::kFinished);
        return;
    }
    if (!carry_out(decision, info)) {
        FRWK_WARN(log_name::kSimSubnetHandle, "sim subnet adapt failed");
        set_status(AdaptStatus::kFinished);
        return;
    }
    finish_success(type);
}

}  // namespace

void frwk_sim_subnet_handle(int32_t type) {
    if (!is_switched_on()) {
        FRWK_DEBUG(__func__, "sim subnet adapt feature off return");
        set_status(AdaptStatus::kFinished);
        return;
    }
    FRWK_DEBUG(__func__, "sim subnet adapt feature on, start handle type=%d", type);
    set_status(AdaptStatus::kUnderWay);

    const int32_t ret = mal_client_init(frwk_module_name(-1), 0);
    FRWK_ASSERT(__func__, ret == MAL_NO_ERR || ret == MAL_INITIAL_ALREADY_ERR,
                "(MAL_NO_ERR == rt) || (MAL_INITIAL_ALREADY_ERR == rt)", "");
    wait_for_modem();

    SimInfo info = {};
    sim::read_sim_info(type, &info);
    const SubnetDecision decision = sim::decide_adaptation(&info);
    act_on(decision, info, type);
}
