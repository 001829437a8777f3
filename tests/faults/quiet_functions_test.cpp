/*
 * The functions without system calls: a successful run of each makes no call that could fail.
 */
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include "apps_err.h"
#include "apps_message.h"
#include "byte_buffer.h"
#include "enum_name.h"
#include "faults/faulty_device.h"
#include "faults/injector.h"
#include "frwk_common.h"
#include "frwk_ipc_ext.h"
#include "frwk_utils.h"
#include "json.h"
#include "list.h"
#include "os_log.h"
#include "os_mem.h"
#include "os_process.h"
#include "os_thread.h"
#include "os_time.h"
#include "text_copy.h"
#include "xml.h"
#include "zndb.h"
#include "zndb_ext.h"

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
zndb_batch *g_batch = nullptr;

constexpr int32_t kInt = FRWK_DATA_TYPE_INT;
constexpr char kDocument[] = "/m_data/usr/doc.xml";
constexpr zn_enum_item kNames[] = {{1, "one", 0xFFFFFFFF}};
constexpr os_mem_settings kNoLimits = {};

/* What the base library made; the second of a kind is what is given back. */
json_item *g_other_json = nullptr;
xml_doc *g_doc = nullptr;
xml_doc *g_other_doc = nullptr;
xml_node *g_node = nullptr;
os_mutex *g_mutex = nullptr;
os_mutex *g_other_mutex = nullptr;
os_sem *g_sem = nullptr;
os_sem *g_other_sem = nullptr;
os_thread_t g_ended = 0;
os_thread_t g_sleeper = 0;
zn_bf_t g_buffer;
void *g_block = nullptr;
list_node g_head;
list_node g_link;
os_simple_timer g_timer;
os_mem_usage_t g_usage;
os_thread_attr g_attributes;
timeval g_time;
long g_seconds = 0;
long g_nanoseconds = 0;

void *end_at_once(void *argument) {
    return argument;
}

void *sleep_for_ever(void *) {
    for (;;) {
        (void)::pause();
    }
}

/* For the first one the C library loads what unwinds a thread, and ends the process where it gets no memory.
 */
void cancel_first_thread() {
    os_thread_t first = 0;
    os_thread_create(&first, nullptr, sleep_for_ever, nullptr);
    os_thread_cancel(first);
    os_thread_join(first);
}

void make_objects() {
    cancel_first_thread();
    put_text(kDocument, "<root><child>text</child></root>");
    g_json = json_parse("{\"key\": 17}");
    g_other_json = json_parse("{}");
    g_doc = xml_file_parse(kDocument);
    g_other_doc = xml_file_parse(kDocument);
    g_node = xml_get_doc_root(g_doc);
    g_mutex = os_mutex_create();
    g_other_mutex = os_mutex_create();
    g_sem = os_sem_create(0);
    g_other_sem = os_sem_create(0);
    os_thread_create(&g_ended, nullptr, end_at_once, nullptr);
    os_thread_create(&g_sleeper, nullptr, sleep_for_ever, nullptr);
    zn_bf_init(&g_buffer, 16);
    g_block = os_mem_malloc(16);
}

void give_back_objects() {
    json_free(g_json);
    xml_free_doc(g_doc);
    os_mutex_close(g_mutex);
    os_sem_close(g_sem);
    os_thread_join(g_sleeper);
    os_command_scope_close();
    g_debug_log_enable = 0;
}

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
    {"frwk_ipc_handle_apart", [] { frwk_ipc_handle_apart(E_APPS_MSG_ZNDB_SAVE); }},
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
    {"zndb_batch_free", [] { zndb_batch_free(g_batch); }},
};

/* In an order in which they may be called. */
const QuietFunction kBaseFunctions[] = {
    {"json_get_object_item", [] { json_get_object_item(g_json, "key"); }},
    {"json_get_int64", [] { json_get_int64(json_get_object_item(g_json, "key")); }},
    {"json_get_double", [] { json_get_double(json_get_object_item(g_json, "key")); }},
    {"json_get_string", [] { json_get_string(g_json); }},
    {"json_is_string", [] { json_is_string(g_json); }},
    {"json_free", [] { json_free(g_other_json); }},
    {"list_init", [] { list_init(&g_head); }},
    {"list_add", [] { list_add(&g_head, &g_link); }},
    {"list_empty", [] { list_empty(&g_head); }},
    {"list_del", [] { list_del(&g_link); }},
    {"os_command_scope_open", [] { os_command_scope_open(); }},
    {"os_command_untranslated", [] { os_command_untranslated(0); }},
    {"os_debug_enable", [] { os_debug_enable(); }},
    {"os_gettimeofday", [] { os_gettimeofday(&g_time); }},
    {"os_log_assert", [] { os_log_assert("file", "function", 1, 0, "condition", "message"); }},
    {"os_log_init", [] { os_log_init("faults", 0); }},
    {"os_mask_check", [] { os_mask_check(OS_LOG_WARNING); }},
    {"os_mask_set", [] { os_mask_set(0); }},
    {"os_mem_free", [] { os_mem_free(g_block); }},
    {"os_mem_init", [] { os_mem_init(&kNoLimits); }},
    {"os_mem_usage", [] { os_mem_usage(&g_usage); }},
    {"os_mem_zeroing", [] { os_mem_zeroing(1); }},
    {"os_mutex_lock", [] { os_mutex_lock(g_mutex); }},
    {"os_mutex_unlock", [] { os_mutex_unlock(g_mutex); }},
    {"os_mutex_close", [] { os_mutex_close(g_other_mutex); }},
    {"os_sem_post", [] { os_sem_post(g_sem); }},
    {"os_sem_close", [] { os_sem_close(g_other_sem); }},
    {"os_simple_timer_start", [] { os_simple_timer_start(&g_timer, 1); }},
    {"os_simple_timer_timeout", [] { os_simple_timer_timeout(&g_timer); }},
    {"os_thread_attr_init", [] { os_thread_attr_init(&g_attributes); }},
    {"os_thread_cancel", [] { os_thread_cancel(g_sleeper); }},
    {"os_thread_join", [] { os_thread_join(g_ended); }},
    {"os_uptime", [] { os_uptime(&g_seconds, &g_nanoseconds); }},
    {"os_uptime_sec", [] { os_uptime_sec(); }},
    {"strdern", [] { strdern(g_text, sizeof(g_text)); }},
    {"strsncpy", [] { strsncpy(g_text, "text", sizeof(g_text) - 1); }},
    {"xml_get_doc_root", [] { xml_get_doc_root(g_doc); }},
    {"xml_get_child_node", [] { xml_get_child_node(g_node, "child"); }},
    {"xml_get_next_node", [] { xml_get_next_node(g_node); }},
    {"xml_get_node_name", [] { xml_get_node_name(g_node); }},
    {"xml_get_node_value", [] { xml_get_node_value(g_node); }},
    {"xml_free_doc", [] { xml_free_doc(g_other_doc); }},
    {"zn_bf_free", [] { zn_bf_free(&g_buffer); }},
    {"zn_enum_to_string", [] { zn_enum_to_string(kNames, 1, 1); }},
    {"zn_string_to_enum", [] { zn_string_to_enum(kNames, 1, "one"); }},
};

size_t calls_of(const QuietFunction &function) {
    watch(Who::kCaller);
    function.call();
    return end().calls.size();
}

template <size_t kCount>
void expect_quiet(const QuietFunction (&functions)[kCount]) {
    for (const QuietFunction &function : functions) {
        EXPECT_EQ(0u, calls_of(function)) << function.name;
    }
}

}  // namespace

using QuietFunctions = FaultyDevice;

TEST_F(QuietFunctions, OfTheFrameworkMakeNoCallThatCouldFail) {
    g_json = json_parse("{\"key\": 17}");
    g_batch = zndb_batch_new();
    zndb_batch_set(g_batch, ZNDB_STORE_PLAIN, "key", "value");
    expect_quiet(kFunctions);
    json_free(g_json);
}

TEST_F(QuietFunctions, OfTheBaseLibraryMakeNoCallThatCouldFail) {
    make_objects();
    expect_quiet(kBaseFunctions);
    give_back_objects();
}

}  // namespace faults
