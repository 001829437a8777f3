/*
 * The functions that ask the system for nothing: a good run of each makes no call that could fail.
 */
#include <gtest/gtest.h>

#include "apps_err.h"
#include "apps_message.h"
#include "faults/injector.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "json.h"
#include "zndb.h"

namespace faults {

namespace {

struct QuietFunction {
    const char *name;
    void (*call)();
};

char g_text[64];
int32_t g_number = 0;
char g_list[] = "17,18";
char g_profile[] = "name,user,password,apn,none,ipv4,0";
frwk_profile_t g_profile_record;
frwk_codec_buf_t g_codec = {sizeof(g_text), 0, g_text};
json_item *g_json = nullptr;

constexpr int32_t kInt = FRWK_DATA_TYPE_INT;

const QuietFunction kFunctions[] = {
    {"frwk_bool_to_str", [] { frwk_bool_to_str(1, 1); }},
    {"frwk_check_ipv4_addr_range_valid", [] { frwk_check_ipv4_addr_range_valid("10.0.0.1", "10.0.0.2"); }},
    {"frwk_check_ipv6_addr_range_valid", [] { frwk_check_ipv6_addr_range_valid("::1", "::2"); }},
    {"frwk_domain_check", [] { frwk_domain_check("host"); }},
    {"frwk_get_filename", [] { frwk_get_filename("/folder/name"); }},
    {"frwk_get_json_item_value", [] { frwk_get_json_item_value(g_json, kInt, "key", &g_number, 4); }},
    {"frwk_ipc_msg_debug", [] { frwk_ipc_msg_debug(2002); }},
    {"frwk_ipc_port", [] { frwk_ipc_port(1); }},
    {"frwk_module_alias", [] { frwk_module_alias(1); }},
    {"frwk_module_cmd", [] { frwk_module_cmd(1); }},
    {"frwk_module_feature", [] { frwk_module_feature(1, 1); }},
    {"frwk_module_id", [] { frwk_module_id("zndb"); }},
    {"frwk_module_monitor", [] { frwk_module_monitor(3); }},
    {"frwk_module_name", [] { frwk_module_name(1); }},
    {"frwk_module_set", [] { frwk_module_set(3, FRWK_FLAG_RUN); }},
    {"frwk_module_unset", [] { frwk_module_unset(3, FRWK_FLAG_RUN); }},
    {"frwk_parse_profile_str", [] { frwk_parse_profile_str(g_profile, &g_profile_record); }},
    {"frwk_random", [] { frwk_random(6); }},
    {"frwk_set_module_status", [] { frwk_set_module_status(1); }},
    {"frwk_skip_next_space", [] { frwk_skip_next_space("a b"); }},
    {"frwk_skip_space", [] { frwk_skip_space(" a"); }},
    {"frwk_str_pick", [] { frwk_str_pick("<a>", "<", ">", g_text, sizeof(g_text)); }},
    {"frwk_str_pick_value", [] { frwk_str_pick_value("a=1,", "a", g_text, sizeof(g_text)); }},
    {"frwk_str_to_bool", [] { frwk_str_to_bool("yes", nullptr); }},
    {"frwk_str_to_value", [] { frwk_str_to_value(kInt, "17", &g_number, sizeof(g_number)); }},
    {"frwk_utils_is_mpss_support", [] { frwk_utils_is_mpss_support(); }},
    {"frwk_utils_is_pv_version", [] { frwk_utils_is_pv_version(); }},
    {"frwk_utils_is_softap_support", [] { frwk_utils_is_softap_support(); }},
    {"frwk_utils_special_char_transform", [] { frwk_utils_special_char_transform("a$", "$", g_text, 8); }},
    {"frwk_value_to_str", [] { frwk_value_to_str(kInt, &g_number, g_text, sizeof(g_text)); }},
    {"frwk_zndb_add_value", [] { frwk_zndb_add_value(&g_codec, kInt, &g_number, 1); }},
    {"frwk_zndb_error_convert", [] { frwk_zndb_error_convert(2); }},
    {"frwk_zndb_get_value", [] { frwk_zndb_get_value(g_list, kInt, &g_number, sizeof(g_number), nullptr); }},
    {"zn_enum_to_str_apps_err_e_type", [] { zn_enum_to_str_apps_err_e_type(E_APPS_ERR_SUCCESS); }},
    {"zn_enum_to_str_apps_message_id_e_type", [] { zn_enum_to_str_apps_message_id_e_type(2002); }},
    {"zn_str_to_enum_apps_err_e_type", [] { zn_str_to_enum_apps_err_e_type("E_APPS_ERR_SUCCESS"); }},
    {"zn_str_to_enum_apps_message_id_e_type", [] { zn_str_to_enum_apps_message_id_e_type("E"); }},
};

size_t calls_of(const QuietFunction &function) {
    watch(Who::kCaller);
    function.call();
    return end().calls.size();
}

}  // namespace

TEST(QuietFunctions, MakeNoCallThatCouldFail) {
    g_json = json_parse("{\"key\": 17}");
    for (const QuietFunction &function : kFunctions) {
        EXPECT_EQ(0u, calls_of(function)) << function.name;
    }
    json_free(g_json);
}

}  // namespace faults
