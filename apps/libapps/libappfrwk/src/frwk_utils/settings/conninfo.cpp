/*
 * The record of a data connection, and the meaning of each item of its stored list. No state.
 */
#include <iterator>

#include "frwk_utils/settings/record_items.h"
#include "internal/frwk_log.h"
#include "os_time.h"
#include "support/letter_case.h"
#include "zndb.h"

namespace {

frwk_conninfo_t *conninfo_of(void *record) {
    return static_cast<frwk_conninfo_t *>(record);
}

apps_err_e_type settle_status(const char *word, void *record) {
    conninfo_of(record)->connected = same_ignoring_case(word, "connected") ? 1 : 0;
    return E_APPS_ERR_SUCCESS;
}

/* Computes the duration: the stored item is the system's uptime when the connection came up. */
apps_err_e_type settle_uptime(const char *, void *record) {
    frwk_conninfo_t *info = conninfo_of(record);
    info->uptime = info->connected != 0 ? os_uptime_sec() - info->uptime : 0;
    return E_APPS_ERR_SUCCESS;
}

constexpr RecordItem word_item(const char *failure, apps_err_e_type (*settle)(const char *, void *)) {
    return {failure, FRWK_DATA_TYPE_STRING, kRecordWordSize, kNoField, nullptr, ItemPrivacy::kOpen, settle};
}

constexpr RecordItem field_item(const char *failure, int32_t type, size_t size, size_t offset,
                                apps_err_e_type (*settle)(const char *, void *) = nullptr) {
    return {failure, type, static_cast<uint32_t>(size), offset, nullptr, ItemPrivacy::kOpen, settle};
}

#define FIELD(name) sizeof(frwk_conninfo_t::name), offsetof(frwk_conninfo_t, name)

constexpr RecordItem kItems[] = {
    word_item("parse connect status failed!", settle_status),
    field_item("parse connect uptime failed!", FRWK_DATA_TYPE_UINT, FIELD(uptime), settle_uptime),
    field_item("parse connect macaddr failed!", FRWK_DATA_TYPE_STRING, FIELD(macaddr)),
    field_item("parse connect ipaddr failed!", FRWK_DATA_TYPE_STRING, FIELD(ipaddr)),
    field_item("parse connect netmask failed!", FRWK_DATA_TYPE_STRING, FIELD(netmask)),
    field_item("parse connect gateway failed!", FRWK_DATA_TYPE_STRING, FIELD(gateway)),
    field_item("parse connect dns1 failed!", FRWK_DATA_TYPE_STRING, FIELD(dns1)),
    field_item("parse connect dns2 failed!", FRWK_DATA_TYPE_STRING, FIELD(dns2)),
    field_item("parse connect ipv6addr failed!", FRWK_DATA_TYPE_STRING, FIELD(ipv6addr)),
    field_item("parse connect ipv6dns1 failed!", FRWK_DATA_TYPE_STRING, FIELD(ipv6dns1)),
    field_item("parse connect ipv6dns2 failed!", FRWK_DATA_TYPE_STRING, FIELD(ipv6dns2)),
    field_item("parse connect iface failed!", FRWK_DATA_TYPE_STRING, FIELD(iface)),
    field_item("parse interface name failed!", FRWK_DATA_TYPE_STRING, FIELD(ifname)),
    field_item("parse cid failed!", FRWK_DATA_TYPE_INT, FIELD(cid)),
    field_item("parse ipv6addr prefix failed!", FRWK_DATA_TYPE_INT, FIELD(ipv6_prefix)),
    field_item("parse connect ipv6gw failed!", FRWK_DATA_TYPE_STRING, FIELD(ipv6gw)),
    field_item("parse call_end_type failed!", FRWK_DATA_TYPE_INT, FIELD(call_end_type)),
    field_item("parse call_end_code failed!", FRWK_DATA_TYPE_INT, FIELD(call_end_code)),
};

#undef FIELD

}  // namespace

apps_err_e_type frwk_zndb_get_conninfo(const char *key, frwk_conninfo_t *info) {
    if (info == nullptr) {
        FRWK_WARN(__func__, "parameter is null!");
        return E_APPS_ERR_PARAM;
    }

    char list[ZNDB_VALUE_LEN] = {};
    const apps_err_e_type ret = frwk_zndb_get_key_value(key, FRWK_DATA_TYPE_STRING, list, sizeof(list));
    if (ret != E_APPS_ERR_SUCCESS) {
        FRWK_WARN(__func__, "zndb get '%s' value failed!", key != nullptr ? key : "(null)");
        return ret;
    }
    return fill_record(__func__, kItems, std::size(kItems), list, info);
}
