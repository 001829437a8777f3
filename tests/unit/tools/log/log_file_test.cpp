#include "log/log_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "support/wait_until.h"

namespace {

constexpr char kPath[] = "/tmp/device.log";

using Lines = std::vector<std::string>;

class LogFileTest : public testing::Test {
  protected:
    LogFileTest() {
        std::filesystem::remove_all(kPath);
        EXPECT_TRUE(write_text(kPath, "one\n"));
        EXPECT_EQ("", file_.read(take_));
    }

    /* The lines since the last call, or the problem. */
    Lines more() {
        const std::string problem = file_.read_more(watch_, take_);
        Lines lines = problem.empty() ? std::move(lines_) : Lines{problem};
        lines_.clear();
        return lines;
    }

    const SignalWatch watch_;
    Lines lines_;
    const LineTaker take_ = [this](const std::string &line) {
        lines_.push_back(line);
        return true;
    };
    LogFile file_{kPath};
};

TEST_F(LogFileTest, BetweenTwoFilesOfANameThereMayBeNone) {
    std::filesystem::remove(kPath);
    EXPECT_EQ(Lines({"one"}), more());
    EXPECT_EQ(Lines(), more());
    ASSERT_TRUE(write_text(kPath, "two\n"));
    EXPECT_EQ(Lines({"two"}), more());
}

TEST_F(LogFileTest, WhatTakesItsNameAndCannotBeReadIsSaidSo) {
    std::filesystem::remove(kPath);
    std::filesystem::create_directory(kPath);
    EXPECT_EQ(Lines({"can't read /tmp/device.log: Is a directory"}), more());
}

TEST_F(LogFileTest, GivesNoMoreLinesThanAreWanted) {
    ASSERT_TRUE(write_text(kPath, "1\n2\n3\n"));
    LogFile file(kPath);
    Lines taken;
    EXPECT_EQ("", file.read([&](const std::string &line) {
        taken.push_back(line);
        return taken.size() < 2;
    }));
    EXPECT_EQ(Lines({"1", "2"}), taken);
}

}  // namespace
