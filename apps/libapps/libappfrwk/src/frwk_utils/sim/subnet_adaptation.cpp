/*
 * Applies an operator file to the perm store, or deletes the default file's keys from it. No state.
 */
#include "frwk_utils/sim/sim_subnet.h"
#include "frwk_utils/sim/subnet_settings.h"
#include "frwk_utils/values/key_value_line.h"
#include "internal/frwk_log.h"
#include "zndb.h"

namespace sim {

namespace {

constexpr KeyValueRules kOperatorFileRules = {log_name::kSimSubnetAdaptProcess, CommentPlace::kFirstText,
                                              nullptr, "subnet data format error, data=0 \n",
                                              "subnet data NULL \n"};

/* Writes the path of the action's file. Returns false if there is nothing to delete. */
bool choose_file(SubnetAction action, const SimInfo &info, const char *applied_plmn,
                 char (&path)[kSubnetPathSize]) {
    if (action == SubnetAction::kAdd) {
        choose_path(path, info.plmn, info.spn);
        return true;
    }
    default_path(path);
    return applied_plmn[0] != '\0';
}

/* Values may be secrets, so they are logged only at the debug level. */
void act_on(SubnetAction action, const KeyValue &pair) {
    if (action == SubnetAction::kAdd) {
        FRWK_DEBUG(log_name::kSimSubnetAdaptProcess, "add subnet %s=%s", pair.key, pair.value);
        (void)zndb_set_perm_data(pair.key, pair.value);
    } else {
        FRWK_DEBUG(log_name::kSimSubnetAdaptProcess, "del subnet key=%s", pair.key);
        (void)zndb_del_perm(pair.key);
    }
}

/* Returns 1 if there was a pair. */
int32_t act_on_all(SubnetAction action, KeyValueFile *file) {
    int32_t result = 0;
    KeyValue pair = {};
    while (file->next(&pair)) {
        act_on(action, pair);
        result = 1;
    }
    return result;
}

void forget_applied_file() {
    for (const char *key :
         {subnet_settings::kPlmn, subnet_settings::kSpn, subnet_settings::kPath, subnet_settings::kMd5}) {
        (void)zndb_set_perm_data(key, "");
    }
}

/* whole: if false, no digest is recorded, so that the file is applied again when it can be read. */
void note_applied_file(const SimInfo &info, const char *path, bool whole) {
    (void)zndb_set_perm_data(subnet_settings::kPlmn, info.plmn);
    (void)zndb_set_perm_data(subnet_settings::kSpn, info.spn);
    (void)zndb_set_perm_data(subnet_settings::kMd5, whole ? info.md5 : "");
    (void)zndb_set_perm_data(subnet_settings::kPath, path);
}

}  // namespace

int32_t adapt(SubnetAction action, const SimInfo &info) {
    /* The result is not used, but the requests to the database and their order are fixed. */
    char applied_plmn[kSubnetPlmnSize];
    char applied_spn[kSubnetSpnSize];
    subnet_settings::read_perm(subnet_settings::kPlmn, applied_plmn);
    subnet_settings::read_perm(subnet_settings::kSpn, applied_spn);
    FRWK_DEBUG(log_name::kSimSubnetAdaptProcess,
               "subnet adapt process action=%d, current_plmn=%s, subnet_plmn=%s", static_cast<int>(action),
               info.plmn, applied_plmn);

    char path[kSubnetPathSize];
    if (!choose_file(action, info, applied_plmn, path)) {
        FRWK_DEBUG(log_name::kSimSubnetAdaptProcess, "subnet delete, subnet_plmn empty, no need delete");
        return 0;
    }
    KeyValueFile file(kOperatorFileRules);
    if (!file.open(path)) {
        return 0;
    }

    const int32_t result = act_on_all(action, &file);
    if (action == SubnetAction::kDelete) {
        forget_applied_file();
    } else {
        note_applied_file(info, path, !file.failed());
    }
    (void)zndb_save();
    return result;
}

}  // namespace sim
