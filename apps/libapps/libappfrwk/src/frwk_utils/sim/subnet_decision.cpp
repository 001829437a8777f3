/*
 * Decides whether the settings of the SIM's operator must be applied. Changes nothing.
 */
#include <cstring>

#include "frwk_utils/sim/sim_subnet.h"
#include "frwk_utils/sim/subnet_settings.h"
#include "internal/frwk_log.h"
#include "md5.h"
#include "os_file.h"
#include "support/letter_case.h"

namespace sim {

static_assert(kSubnetMd5Size >= MD5_TEXT_SIZE, "the MD5 text fits its field");

namespace {

/* The operator file that is applied. */
struct AppliedFile {
    char plmn[kSubnetPlmnSize];
    char path[kSubnetPathSize];
    char md5[kSubnetMd5Size];
};

void read_applied_file(AppliedFile *applied) {
    subnet_settings::read_perm(subnet_settings::kPlmn, applied->plmn);
    subnet_settings::read_perm(subnet_settings::kPath, applied->path);
    subnet_settings::read_perm(subnet_settings::kMd5, applied->md5);
}

/* A decision and its reason. */
struct Reasoned {
    SubnetDecision decision;
    const char *reason;
};

Reasoned decide(const SimInfo &info, const char *path, const AppliedFile &applied) {
    if (!is_usable_sim(info.sim_status)) {
        return {SubnetDecision::kNoNeedAdapt, "sim not normal, no need subnet adapt"};
    }
    if (std::strcmp(path, applied.path) == 0 && same_ignoring_case(info.md5, applied.md5)) {
        return {SubnetDecision::kNoNeedAdapt,
                "sim normal, current_path same with subnet_path, no need adapt"};
    }
    if (os_file_exist(path) != 0) {
        return {SubnetDecision::kNeedAdapt, "current_path exist, need adapt"};
    }
    if (applied.plmn[0] == '\0') {
        return {SubnetDecision::kNoNeedAdapt,
                "sub plmn path not exist and not use subnet info, no need adapt"};
    }
    return {SubnetDecision::kNeedDelete, "current_path not exist and use subnet info, need delete"};
}

}  // namespace

SubnetDecision decide_adaptation(SimInfo *info) {
    AppliedFile applied;
    read_applied_file(&applied);

    char path[kSubnetPathSize];
    choose_path(path, info->plmn, info->spn);
    (void)md5_encrypt_file_str(path, info->md5);
    FRWK_DEBUG(
        log_name::kSimSubnetCheckAdaptType,
        "sim subnet adatp, sim_status=%d, current_plmn=%s, current_spn=%s subnet_plmn=%s current_path=%s, "
        "subnet_path=%s",
        info->sim_status, info->plmn, info->spn, applied.plmn, path, applied.path);

    const Reasoned reasoned = decide(*info, path, applied);
    FRWK_DEBUG(log_name::kSimSubnetCheckAdaptType, "%s", reasoned.reason);
    return reasoned.decision;
}

}  // namespace sim
