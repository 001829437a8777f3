/*
 * The record of a connection profile, and the meaning of each item of its list. No I/O, no state.
 *
 * The password is never logged.
 */
#include <iterator>

#include "frwk_utils/settings/record_items.h"
#include "internal/frwk_log.h"
#include "support/letter_case.h"

namespace {

struct Word {
    const char *text;
    int32_t value;
};

constexpr Word kAuthWords[] = {{"none", 0}, {"pap", 1}, {"chap", 2}, {"pap_chap", 3}};
constexpr Word kIpTypeWords[] = {{"ipv4", 1}, {"ipv6", 2}, {"ipv4v6", 3}};

/* Converts a word to its number and stores it. error: logged for an unknown word, which stores nothing. */
template <size_t kCount>
apps_err_e_type store_word(const Word (&words)[kCount], const char *text, const char *error, int32_t *value) {
    for (const Word &word : words) {
        if (same_ignoring_case(text, word.text)) {
            *value = word.value;
            return E_APPS_ERR_SUCCESS;
        }
    }
    FRWK_WARN(log_name::kParseProfileStr, "%s", error);
    return E_APPS_ERR_FAILURE;
}

apps_err_e_type settle_authmode(const char *word, void *record) {
    return store_word(kAuthWords, word, "frwk parse authmode error!",
                      &static_cast<frwk_profile_t *>(record)->authmode);
}

apps_err_e_type settle_iptype(const char *word, void *record) {
    return store_word(kIpTypeWords, word, "frwk parse iptype error!",
                      &static_cast<frwk_profile_t *>(record)->iptype);
}

constexpr RecordItem field_item(const char *failure, const char *label, size_t size, size_t offset,
                                ItemPrivacy privacy = ItemPrivacy::kOpen) {
    return {failure, FRWK_DATA_TYPE_STRING, static_cast<uint32_t>(size), offset, label, privacy, nullptr};
}

constexpr RecordItem word_item(const char *failure, const char *label,
                               apps_err_e_type (*settle)(const char *, void *)) {
    return {failure, FRWK_DATA_TYPE_STRING, kRecordWordSize, kNoField, label, ItemPrivacy::kOpen, settle};
}

#define FIELD(name) sizeof(frwk_profile_t::name), offsetof(frwk_profile_t, name)

constexpr RecordItem kItems[] = {
    field_item("frwk_zndb_get_value:get profilename error!!!", "profilename", FIELD(profilename)),
    field_item("frwk_zndb_get_value:get apn error!!!", "apn", FIELD(apn)),
    field_item("frwk_zndb_get_value:get username error!!!", "username", FIELD(username)),
    field_item("frwk_zndb_get_value:get password error!!!", "password", FIELD(password),
               ItemPrivacy::kSecret),
    word_item("frwk_zndb_get_value:get authmode error!!!", "authmode", settle_authmode),
    word_item("frwk_zndb_get_value:get iptype error!!!", "iptype", settle_iptype),
    field_item("frwk_zndb_get_value:get readonly error!!!", "readonly", FIELD(readonly)),
};

#undef FIELD

}  // namespace

apps_err_e_type frwk_parse_profile_str(char *text, frwk_profile_t *profile) {
    if (text == nullptr || profile == nullptr || text[0] == '\0') {
        return E_APPS_ERR_FAILURE;
    }
    return fill_record(__func__, kItems, std::size(kItems), text, profile);
}
