/*
 * Chooses the file with the settings of an operator. Checks which files exist; no state.
 */
#include <cstdio>
#include <cstring>

#include "formats/device_paths.h"
#include "frwk_utils/sim/sim_subnet.h"
#include "internal/frwk_log.h"
#include "os_file.h"

namespace sim {

namespace {

bool stays_in_folder(const char *part) {
    return std::strchr(part, '/') == nullptr && std::strstr(part, "..") == nullptr;
}

/* Whether the operator has a file; writes its path. spn: "" for the PLMN's file for all names. */
bool find_operator_file(char (&path)[kSubnetPathSize], const char *plmn, const char *spn) {
    if (!stays_in_folder(plmn) || !stays_in_folder(spn)) {
        FRWK_WARN(log_name::kSimSubnetGetPath, "plmn=%s spn=%s can't name an operator file", plmn, spn);
        return false;
    }
    (void)std::snprintf(path, sizeof(path), "%s/%s/custom_%s%sdata.txt", paths::kSubnetFolder, plmn, spn,
                        spn[0] != '\0' ? "_" : "");
    return os_file_exist(path) != 0;
}

}  // namespace

void choose_path(char (&path)[kSubnetPathSize], const char *plmn, const char *spn) {
    if (spn[0] != '\0' && find_operator_file(path, plmn, spn)) {
        return;
    }
    if (!find_operator_file(path, plmn, "")) {
        default_path(path);
    }
}

void default_path(char (&path)[kSubnetPathSize]) {
    (void)std::snprintf(path, sizeof(path), "%s/custom_data.txt", paths::kSubnetFolder);
}

}  // namespace sim
