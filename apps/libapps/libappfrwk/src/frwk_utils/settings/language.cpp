/*
 * The languages of the web interface and of the user agreement. A new language is checked against the list of
 * supported ones, saved, and published. No state; any thread.
 */
#include <cstring>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "internal/frwk_log.h"
#include "support/letter_case.h"
#include "zndb.h"

namespace {

struct Setting {
    LogName caller;   /* function name in the log lines */
    const char *kind; /* kind of language in the log lines */
    const char *list_key;
    const char *current_key;
    apps_message_id_e_type event;
};

constexpr Setting kWebLanguage = {log_name::kLanguageChange, "", "webs_language_support", "webs_language",
                                  E_APPS_MSG_SYS_LANGUAGE_CHANGE};
constexpr Setting kAgreementLanguage = {log_name::kUserAgreementLanguageChange, "user agreement ",
                                        "webs_usragree_lang_support", "webs_usragree_language",
                                        E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE};

/* Whether a list such as "en#English,zh#Chinese" has the language. Blanks belong to an item. */
bool has_language(const char *list, const char *language) {
    const size_t length = std::strlen(language);
    const char *item = list;
    for (;;) {
        if (std::strcspn(item, ",#") == length && same_ignoring_case(item, language, length)) {
            return true;
        }
        item += std::strcspn(item, ",");
        if (*item == '\0') {
            return false;
        }
        ++item;
    }
}

bool save(const Setting &setting, const char *language) {
    return zndb_set(setting.current_key, language) == E_ZNDB_RET_SUCCESS && zndb_save() == E_ZNDB_RET_SUCCESS;
}

void announce(apps_message_id_e_type event) {
    frwk_ipc_msg_pub(zn_enum_to_str_apps_message_id_e_type(event), event, nullptr, 0);
}

int32_t change(const Setting &setting, const char *language) {
    if (language == nullptr || language[0] == '\0') {
        FRWK_WARN(setting.caller, "invalid input language!");
        return 0;
    }

    char list[ZNDB_VALUE_LEN + 1] = {}; /* one more byte, in case the list lacks its NUL */
    if (zndb_get(setting.list_key, list, ZNDB_VALUE_LEN) != E_ZNDB_RET_SUCCESS) {
        FRWK_WARN(setting.caller, "zndb get %ssupported language failed!", setting.kind);
        return 0;
    }
    if (!has_language(list, language)) {
        FRWK_WARN(setting.caller, "invalid %slanguage=%s", setting.kind, language);
        return 0;
    }
    if (!save(setting, language)) {
        FRWK_WARN(setting.caller, "save %slanguage '%s' to zndb failed!", setting.kind, language);
        return 0;
    }
    announce(setting.event);
    return 1;
}

}  // namespace

int32_t frwk_language_change(const char *language) {
    return change(kWebLanguage, language);
}

int32_t frwk_user_agreement_language_change(const char *language) {
    return change(kAgreementLanguage, language);
}
