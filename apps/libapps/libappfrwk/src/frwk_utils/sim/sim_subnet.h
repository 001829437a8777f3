/*
 * The steps that adapt the device to its SIM's operator, and the data that they share. They may sleep for a
 * long time; only one thread at a time may run them.
 *
 * Every text of the SIM is untrusted input.
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace sim {

/* Sizes in bytes, including the NUL. */
inline constexpr size_t kSubnetPlmnSize = 10;
inline constexpr size_t kSubnetSpnSize = 17;
inline constexpr size_t kSubnetMd5Size = 33;
inline constexpr size_t kSubnetPathSize = 128;

/* The data of the SIM. The texts are NUL-terminated, and empty if unknown. */
struct SimInfo {
    int32_t sim_status;         /* mal_sim_status_e, or another number */
    char spn[kSubnetSpnSize];   /* service provider name */
    char plmn[kSubnetPlmnSize]; /* MCC, then the MNC or the custom MNC: at most 8 characters */
    char md5[kSubnetMd5Size];   /* digest of the chosen operator file */
};

/* What to do with the operator's settings. */
enum class SubnetDecision {
    kNoNeedAdapt, /* nothing */
    kNeedAdapt,   /* apply the operator's file */
    kNeedDelete   /* the operator has no file: delete the settings of the applied one */
};

/* What to do with the keys of a file. */
enum class SubnetAction {
    kDelete = 0,
    kAdd = 1
};

/*
 * Waits until the SIM's state is known, and reads PLMN and name of a usable SIM. Waits up to ten seconds for
 * the state and twenty more for the PLMN.
 *
 * type: 0 for a check at run time, which also waits for a SIM that waits for its PIN: up to nineteen seconds
 * if that alternates with failures. info: zeroed by the caller.
 */
void read_sim_info(int32_t type, SimInfo *info);

/* Whether PLMN and name of a SIM in this state can be read. */
bool is_usable_sim(int32_t sim_status);

/* Compares the SIM's operator file with the applied one. info: receives the MD5 text of the file. */
SubnetDecision decide_adaptation(SimInfo *info);

/*
 * Deletes the keys of the default operator file from the perm store, or adds those of the SIM's file, and
 * records which file is applied. Ignores the results of the database.
 *
 * Returns 1 if the file has at least one pair, else 0.
 */
int32_t adapt(SubnetAction action, const SimInfo &info);

/*
 * Chooses the operator file: that of PLMN and SPN, that of the PLMN, or the default one, even if it doesn't
 * exist. A PLMN or SPN that contains '/' or ".." selects no file, so that every path is in the operators'
 * folder.
 */
void choose_path(char (&path)[kSubnetPathSize], const char *plmn, const char *spn);

/* The default operator file. */
void default_path(char (&path)[kSubnetPathSize]);

}  // namespace sim
