/*
 * The settings of the operator adaptation, and functions to read them. A setting that can't be read is empty.
 */
#pragma once

#include <cstdint>

#include "zndb.h"

namespace subnet_settings {

/* In the plain store. */
inline constexpr char kSwitch[] = "mnet_sim_subnet_switch";
inline constexpr char kCustomMnc[] = "mnet_sim_subnet_custom_mnc";
inline constexpr char kAdaptStatus[] = "mnet_sim_subnet_adapt_status";

/* In the perm store: the applied operator file. */
inline constexpr char kPlmn[] = "mnet_sim_subnet_plmn";
inline constexpr char kSpn[] = "mnet_sim_subnet_spn";
inline constexpr char kPath[] = "mnet_sim_subnet_path";
inline constexpr char kMd5[] = "mnet_sim_subnet_md5";

/* Terminates a text after a request; empties it on failure, since the request leaves the buffer undefined. */
template <uint32_t kSize>
void keep_on_success(int result, char (&text)[kSize]) {
    text[result == E_ZNDB_RET_SUCCESS ? kSize - 1 : 0] = '\0';
}

template <uint32_t kSize>
void read_plain(const char *key, char (&text)[kSize]) {
    keep_on_success(zndb_get(key, text, kSize), text);
}

template <uint32_t kSize>
void read_perm(const char *key, char (&text)[kSize]) {
    keep_on_success(zndb_get_perm(key, text, kSize), text);
}

}  // namespace subnet_settings
