/*
 * Fuzzes the list of languages in the database, and the requested language.
 *
 * The input is the language with a NUL, and the list, as the database's answer brings it: it may lack its
 * NUL.
 */
#include <strings.h>

#include <vector>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "support/database_answer.h"
#include "support/fuzz_input.h"
#include "zndb.h"

namespace {

std::vector<apps_message_id_e_type> g_published;

/* Whether an item of the list is the language, or begins with it and a '#'. */
bool is_listed(std::string_view list, const std::string &language) {
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(','));
        const std::string name(item.substr(0, item.find('#')));
        if (!name.empty() && ::strcasecmp(name.c_str(), language.c_str()) == 0) {
            return true;
        }
        list.remove_prefix(std::min(list.size(), item.size() + 1));
    }
    return false;
}

/* A language of the list is stored and announced; any other one changes nothing. */
void check(int32_t (*change)(const char *), const char *language, bool listed, std::string_view key,
           apps_message_id_e_type event) {
    std::vector<std::string> stored;
    on_set([&](std::string_view set, std::string_view value) {
        FUZZ_CHECK(set == key);
        stored.emplace_back(value);
    });
    g_published.clear();
    FUZZ_CHECK(change(language) == (listed ? 1 : 0));
    FUZZ_CHECK(stored == (listed ? std::vector<std::string>{language} : std::vector<std::string>{}));
    FUZZ_CHECK(g_published == (listed ? std::vector{event} : std::vector<apps_message_id_e_type>{}));
    on_set(nullptr);
}

}  // namespace

extern "C" void __wrap_frwk_ipc_msg_pub(const char *event, apps_message_id_e_type msgid, const void *,
                                        uint32_t len) {
    FUZZ_CHECK(std::strcmp(event, zn_enum_to_str_apps_message_id_e_type(msgid)) == 0 && len == 0);
    g_published.push_back(msgid);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const ExactText language(input.text());
    const std::string_view answer = input.rest();
    answer_gets_with(answer);

    const std::string_view held = answer.substr(0, ZNDB_VALUE_LEN - 1);
    const bool listed = is_listed(held.substr(0, held.find('\0')), language.get());
    check(frwk_language_change, language.get(), listed, "webs_language", E_APPS_MSG_SYS_LANGUAGE_CHANGE);
    check(frwk_user_agreement_language_change, language.get(), listed, "webs_usragree_language",
          E_APPS_MSG_SYS_USRAGREE_LANGUAGE_CHANGE);
    return 0;
}
