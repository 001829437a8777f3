/*
 * A test whose tools print what it says. Every command that the code under test starts is noted.
 */
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "support/files.h"
#include "support/log_checks.h"

class ToolTest : public testing::Test {
  protected:
    ~ToolTest() override { doubles::restore_all(); }

    /* From now on the first word of every command is replaced by one that prints the text. */
    void tool_prints(const std::string &text) {
        write_file(kOutput, text);
        tool_prints_file(kOutput);
    }

    /* The same with the text of a file. */
    void tool_prints_file(const std::string &path) {
        ASSERT_TRUE(exists(path)) << path;
        doubles::base::os_popen.stand_in([this, path](const char *command, const char *mode) {
            commands_.emplace_back(command);
            const std::string words = command;
            const size_t first_end = words.find(' ');
            const bool is_pipeline = words.find('|') != std::string::npos;
            const std::string rest = is_pipeline ? words.substr(first_end) : "";
            return doubles::base::os_popen.real(("cat " + path + rest).c_str(), mode);
        });
    }

    /* From now on no command can be started. */
    void no_tool_starts() {
        doubles::base::os_popen.stand_in([this](const char *command, const char *) -> FILE * {
            commands_.emplace_back(command);
            return nullptr;
        });
    }

    std::vector<std::string> commands_;
    LogCapture log_;

  private:
    static constexpr char kOutput[] = "/tmp/m_tmp/tool_output";
};
