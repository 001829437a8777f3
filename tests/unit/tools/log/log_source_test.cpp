#include "log/log_source.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "support/temp_folder.h"
#include "support/wait_until.h"

namespace {

namespace fs = std::filesystem;

/* A machine without a log file, and with the programs that a test puts in its PATH. */
class SystemLogSource : public testing::Test {
  protected:
    SystemLogSource() : path_before_(std::getenv("PATH")) {
        fs::create_directories("/var/log");
        remove_files();
        ::setenv("PATH", programs_.path().c_str(), 1);
    }
    ~SystemLogSource() override {
        ::setenv("PATH", path_before_.c_str(), 1);
        remove_files();
    }

    void install(const std::string &program) const {
        EXPECT_EQ(0, ::chmod(programs_.file(program, "#!/bin/sh\n").c_str(), 0755));
    }

  private:
    static void remove_files() {
        fs::remove("/var/log/messages");
        fs::remove("/var/log/syslog");
    }

    const TempFolder programs_;
    const std::string path_before_;
};

TEST_F(SystemLogSource, IsTheFirstLogFile) {
    install(kJournalProgram);
    EXPECT_EQ("", system_log_file());
    ASSERT_TRUE(write_text("/var/log/syslog", ""));
    EXPECT_EQ("/var/log/syslog", system_log_file());
    EXPECT_EQ(LogSource::kFile, system_log_source());
    ASSERT_TRUE(write_text("/var/log/messages", ""));
    EXPECT_EQ("/var/log/messages", system_log_file());
}

TEST_F(SystemLogSource, IsTheJournalWithoutAFile) {
    install(kJournalProgram);
    install(kRingProgram);
    EXPECT_EQ(LogSource::kJournal, system_log_source());
}

TEST_F(SystemLogSource, IsTheRingBufferWithoutAJournal) {
    install(kRingProgram);
    EXPECT_EQ(LogSource::kRing, system_log_source());
}

/* Its failure then says what is missing. */
TEST_F(SystemLogSource, IsTheJournalWithoutAny) {
    EXPECT_EQ(LogSource::kJournal, system_log_source());
}

TEST_F(SystemLogSource, HasAName) {
    EXPECT_EQ("/var/log/messages", source_text(LogSource::kFile, "/var/log/messages"));
    EXPECT_EQ("the journal", source_text(LogSource::kJournal, ""));
    EXPECT_EQ("the ring buffer", source_text(LogSource::kRing, ""));
}

}  // namespace
