/*
 * The steps that adapt the device to its SIM's operator, and what they hand to each other. A thread that runs
 * them may sleep for long; at most one does at a time.
 *
 * Every text of the SIM comes from outside the device.
 */
#pragma once

#include <cstddef>
#include <cstdint>

/* Sizes in bytes, the NUL included. */
inline constexpr size_t kSubnetPlmnSize = 10;
inline constexpr size_t kSubnetSpnSize = 17;
inline constexpr size_t kSubnetMd5Size = 33;
inline constexpr size_t kSubnetPathSize = 128;

/* What a run finds out about the SIM. The texts are NUL-terminated, and empty when not known. */
struct frwk_sim_subnet_sim_info_t {
    int32_t sim_status;         /* mal_sim_status_e, or another number */
    char spn[kSubnetSpnSize];   /* service provider name */
    char plmn[kSubnetPlmnSize]; /* MCC, then the MNC or the custom MNC: at most 8 characters */
    char md5[kSubnetMd5Size];   /* of the operator file that was chosen */
};

/* What is to be done about the operator's settings. */
enum class SubnetDecision {
    kNoNeedAdapt, /* nothing */
    kNeedAdapt,   /* the operator has a file that is not applied */
    kNeedDelete   /* the operator has no file, and another's is applied */
};

/* What an adaptation does with the keys of its file. */
enum class SubnetAction {
    kDelete = 0,
    kAdd = 1
};

/*
 * Waits until the SIM's state is known and asks a usable one who it is: up to ten seconds for the state and
 * twenty more for the PLMN.
 *
 * type: 0 for a check at run time, which is patient with a SIM that waits for its PIN: where that alternates
 * with failures, for up to nineteen seconds.
 * info: zeroed by the caller.
 */
void frwk_sim_subnet_get_sim_info(int32_t type, frwk_sim_subnet_sim_info_t *info);

/* Whether a SIM in this state can tell who it is. */
bool is_usable_sim(int32_t sim_status);

/* Compares the SIM's operator file with the one that is applied. info: receives the MD5 text of the file. */
SubnetDecision frwk_sim_subnet_check_adapt_type(frwk_sim_subnet_sim_info_t *info);

/*
 * Deletes the keys of the default operator file, or adds those of the SIM's, in the perm store, and writes
 * down which file is applied. What the database makes of it is not looked at.
 *
 * Returns 1 when the file has at least one pair, else 0.
 */
int32_t frwk_sim_subnet_adapt_process(SubnetAction action, const frwk_sim_subnet_sim_info_t &info);

/*
 * Chooses the operator file: that of PLMN and SPN, that of the PLMN, or the default one, which is taken
 * whether it exists or not. A PLMN or SPN that holds a '/' or ".." has no file, so that every path is one in
 * the operators' folder.
 */
void frwk_sim_subnet_get_path(char (&path)[kSubnetPathSize], const char *plmn, const char *spn);

/* The default operator file. */
void default_subnet_path(char (&path)[kSubnetPathSize]);
