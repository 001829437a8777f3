/*
 * logtool with a log, an output or a folder that can't be used.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/child_process.h"
#include "support/tool_folder.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("logtool");

const std::string kLog = "/tmp/faulty.log";
const std::string kTrace = "/m_data/usr/trace";
const std::string kNoRoom = "logtool: can't write the output: No space left on device\n";

/* Prints so many lines, each of 100 characters. */
std::string lines_of_100(const std::string &count) {
    return "yes \"$(printf %099d 0)\" | head -n " + count;
}

TEST(LogToolFaults, AFullDiskEndsTheJournalSoonerOrLater) {
    const ToolFolder tools;
    for (const char *count : {"1", "1000"}) {
        tools.put_script("journalctl", lines_of_100(count));
        const ToolEnd end = run_shell("$TOOLS/logtool show --journal > /dev/full");
        EXPECT_EQ(1, end.status);
        EXPECT_EQ(kNoRoom, end.errors) << count;
    }
}

TEST(LogToolFaults, AFullDiskEndsAFileSoonerOrLater) {
    for (const char *count : {"1", "10000"}) {
        const ToolEnd end = run_shell(lines_of_100(count) + " | $TOOLS/logtool show --file - > /dev/full");
        EXPECT_EQ(1, end.status);
        EXPECT_EQ(kNoRoom, end.errors) << count;
    }
}

TEST(LogToolFaults, AFollowedLogThatCannotBeReadAnyMoreIsSaidSo) {
    fs::remove_all(kLog);
    ASSERT_TRUE(write_text(kLog, "one\n"));
    ChildProcess following({tool_path("logtool"), "show", "--follow", "--file", kLog}, {"QUOR_DEBUG=0"});
    EXPECT_EQ("one", following.read_line().value_or("no line"));
    fs::remove(kLog);
    fs::create_directory(kLog);
    EXPECT_EQ(1, following.exit_status());
    EXPECT_EQ("logtool: can't read " + kLog + ": Is a directory\n", following.errors());
}

class LogTraceFaults : public testing::Test {
  protected:
    LogTraceFaults() {
        fs::remove_all(kTrace);
        fs::remove_all("/m_data/usr/mask");
        fs::create_directories(kTrace);
        fs::remove("/etc/quor_apps_startup");
    }
    ~LogTraceFaults() override { fs::remove_all(kTrace); }
};

TEST_F(LogTraceFaults, WhatIsOnStaysOn) {
    const std::string on = kTool.output_of({"trace", "on", "lcd"});
    EXPECT_EQ(on, kTool.output_of({"trace", "on", "lcd"}));
}

TEST_F(LogTraceFaults, ASwitchThatIsAFolderCannotBeSwitchedOff) {
    fs::create_directories(kTrace + "/mal_service/full");
    kTool.expect_failure(1, "trace off failed: can't remove " + kTrace + "/mal_service: Directory not empty",
                         {"trace", "off"});
}

TEST_F(LogTraceFaults, AModulesFileThatCannotBeMadeIsSaidSo) {
    fs::create_symlink("/no/folder/lcd", kTrace + "/lcd");
    kTool.expect_failure(1,
                         "trace on failed: can't write " + kTrace + "/lcd: Too many levels of symbolic links",
                         {"trace", "on", "lcd"});
}

TEST_F(LogTraceFaults, AMaskThatCannotBeReadIsNone) {
    fs::create_directories("/m_data/usr/mask/mal_service");
    EXPECT_EQ("  tracing           off\r\n  modules           -\r\n  mask              -\r\n",
              run_on_terminal({"logtool", "trace"}, {}).output);
    fs::remove_all("/m_data/usr/mask");
}

}  // namespace
