/*
 * Fuzzes the setting with the state of a data connection.
 *
 * The input is the setting, as the database's answer brings it: it may lack its NUL.
 */
#include "frwk_utils.h"
#include "support/database_answer.h"
#include "support/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    answer_gets_with(FuzzInput(data, size).rest());
    const auto info = std::make_unique<frwk_conninfo_t>();

    const apps_err_e_type ret = frwk_zndb_get_conninfo("wan_conninfo", info.get());
    FUZZ_CHECK(ret == E_APPS_ERR_SUCCESS || ret == E_APPS_ERR_PARAM || ret == E_APPS_ERR_OUTOFBUF);
    FUZZ_CHECK(info->connected <= 1);
    FUZZ_CHECK(ret != E_APPS_ERR_SUCCESS || info->connected == 1 || info->uptime == 0);
    FUZZ_CHECK(ends(info->macaddr) && ends(info->ipaddr) && ends(info->netmask) && ends(info->gateway) &&
               ends(info->dns1) && ends(info->dns2) && ends(info->ipv6addr) && ends(info->ipv6dns1) &&
               ends(info->ipv6dns2) && ends(info->ifname) && ends(info->ipv6gw) && ends(info->iface));
    return 0;
}
