/*
 * What the tests of diagnostics share: a tool that is played, and the context of its run.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "unit/frwk_diag/diag_requests.h"

inline constexpr char kPingFile[] = "/tmp/m_tmp/ping_12345_678.txt";

/* Plays the tool: notes the command line and prints to the file that it names. */
class DiagTest : public testing::Test {
  protected:
    void SetUp() override {
        doubles::base::os_uptime.stand_in([](long *seconds, long *nanoseconds) {
            *seconds = 12345;
            *nanoseconds = 678;
        });
        doubles::base::os_system.stand_in([this](const char *command) { return run_tool(command); });
        ASSERT_EQ(1u, frwk_diag_init(&context_));
    }
    void TearDown() override {
        frwk_diag_free(&context_);
        doubles::restore_all();
    }

    int32_t run_tool(const std::string &command) {
        command_ = command;
        const size_t path = command.find("/tmp/m_tmp/");
        if (prints_) {
            write_file(command.substr(path, command.find(' ', path) - path), output_);
        }
        return tool_status_;
    }
    int32_t ping(const std::string &target = "8.8.8.8") {
        const frwk_diag_req req = ping_of(target);
        return frwk_diag_exec(FRWK_DIAG_TYPE_PING, &req, &context_);
    }

    bool prints_ = true;
    std::string output_ = "the tool's own words\n";
    int32_t tool_status_ = 0;
    std::string command_;
    frwk_diag_ctx context_;
    LogCapture log_;
};
