/*
 * The process-wide variables, initially and after a start.
 */
#include "frwk_common/core/process_state.h"

#include <gtest/gtest.h>

namespace {

void exit_handler(apps_message_id_e_type) {}

apps_err_e_type handler(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t, uint32_t) {
    return 0;
}

void fill_all_words() {
    g_s_module_id = 9;
    g_s_exit_handler = exit_handler;
    g_s_ipcs_fd = 8;
    g_s_ipc_thread = 7;
    g_s_ipc_handler = handler;
    g_s_module_status = 6;
    g_s_sub_lock_file = stderr;
}

/* All words of a process that has just become this module. */
void expect_fresh_words(int32_t module) {
    EXPECT_EQ(g_s_module_id, module);
    EXPECT_EQ(g_s_exit_handler, nullptr);
    EXPECT_EQ(g_s_ipcs_fd, -1);
    EXPECT_EQ(g_s_ipc_thread, 0u);
    EXPECT_EQ(g_s_ipc_handler, nullptr);
    EXPECT_EQ(g_s_module_status, 0u);
    EXPECT_EQ(g_s_sub_lock_file, nullptr);
}

class ProcessStateTest : public testing::Test {
  protected:
    ~ProcessStateTest() override { reset_process_state(E_APPS_MODULE_TOOL, nullptr); }
};

}  // namespace

TEST_F(ProcessStateTest, IsThatOfAToolWithoutServiceBeforeTheStart) {
    expect_fresh_words(0);
}

TEST_F(ProcessStateTest, StartSetsEveryWord) {
    fill_all_words();
    reset_process_state(3, nullptr);
    expect_fresh_words(3);
}

TEST_F(ProcessStateTest, StartKeepsTheExitHandler) {
    reset_process_state(3, exit_handler);
    EXPECT_EQ(g_s_exit_handler, exit_handler);
}
