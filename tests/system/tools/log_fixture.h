/*
 * What tests of logtool have in common: a log, programs that stand in for the system's, and logtool
 * following.
 */
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/wait_until.h"
#include "system/tools/tool_run.h"

inline const std::string kLog = "/tmp/device.log";
inline const std::string kFakes = "/tmp/fakes"; /* programs that stand in for the system's */

inline void append(const std::string &path, const std::string &text) {
    std::ofstream(path, std::ios::app) << text;
}

/* Runs a shell command with a /var/log of its own. */
inline ToolEnd with_own_logs(const std::string &command) {
    const std::string user = geteuid() == 0 ? "" : "--map-root-user ";
    return run_shell("unshare --mount " + user + "bash -c 'mount -t tmpfs tmpfs /var/log && " + command +
                     "'");
}

/* Puts a program before the system's in the PATH. */
inline void fake_program(const std::string &name, const std::string &script) {
    std::filesystem::create_directories(kFakes);
    ASSERT_TRUE(write_text(kFakes + "/" + name, "#!/bin/bash\n" + script));
    std::filesystem::permissions(kFakes + "/" + name, std::filesystem::perms::owner_all);
}

inline void fake_journalctl(const std::string &script) {
    fake_program("journalctl", script);
}

inline std::string with_fakes() {
    return "PATH=" + kFakes + ":$PATH ";
}

class LogShow : public testing::Test {
  protected:
    LogShow() {
        std::filesystem::remove_all(kFakes);
        EXPECT_TRUE(
            write_text(kLog,
                       "Nov 21 04:40:00 box local7.warn wlan[7]: a.cpp f:1 ipc accept error! errno=24\n"
                       "Nov 21 04:40:01 box local7.debug wlan[7]: a.cpp f:2 polling\n"
                       "Nov 21 04:40:02 box local7.err router[8]: b.cpp g:3 no route\n"
                       "Nov 21 04:40:03 box kernel: link is up\n"
                       "no form at all"));
    }

    /* logtool in the background, following the log. */
    static std::unique_ptr<ChildProcess> follow(std::vector<std::string> words) {
        words.insert(words.begin(), {tool_path("logtool"), "show", "--follow"});
        return std::make_unique<ChildProcess>(
            words, std::vector<std::string>{"QUOR_DEBUG=0", "PATH=" + kFakes + ":/usr/bin:/bin"});
    }
};

inline std::string line_from(const std::unique_ptr<ChildProcess> &process) {
    return process->read_line().value_or("no line");
}
