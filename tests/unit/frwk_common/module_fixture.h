/*
 * A test whose process is a module. The module table and the process state are as after a start; they are
 * put back at the end, and no stand-in is left, so that tests also run one after another in one process.
 */
#pragma once

#include <gtest/gtest.h>

#include <cstring>

#include "doubles/double.h"
#include "frwk_common.h"
#include "frwk_common/core/process_state.h"

class ModuleTest : public ::testing::Test {
  protected:
    explicit ModuleTest(int32_t id = E_APPS_MODULE_ROUTER) {
        doubles::restore_all();
        std::memcpy(kept_rows_, g_modules_info, sizeof(kept_rows_));
        reset_process_state(id, nullptr);
    }
    ~ModuleTest() override {
        doubles::restore_all();
        std::memcpy(g_modules_info, kept_rows_, sizeof(kept_rows_));
        reset_process_state(E_APPS_MODULE_TOOL, nullptr);
    }

    /* Makes the test's process another module. */
    static void become(int32_t id) { g_s_module_id = id; }

  private:
    frwk_module_info kept_rows_[FRWK_MODULE_ROWS];
};
