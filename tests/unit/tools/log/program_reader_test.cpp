#include "log/program_reader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>

#include "support/tool_folder.h"

namespace {

using Lines = std::vector<std::string>;

/* While it lives, the process gets no more descriptors. */
class NoDescriptors {
  public:
    NoDescriptors() {
        EXPECT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &before_));
        const rlimit none = {0, before_.rlim_max};
        EXPECT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
    }
    ~NoDescriptors() { (void)::setrlimit(RLIMIT_NOFILE, &before_); }
    NoDescriptors(const NoDescriptors &) = delete;
    NoDescriptors &operator=(const NoDescriptors &) = delete;

  private:
    rlimit before_ = {};
};

std::string problem_without_descriptors() {
    const NoDescriptors none;
    return ProgramReader({"journalctl"}).problem();
}

TEST(ProgramReader, SaysWhenThereAreNoDescriptorsForIt) {
    EXPECT_EQ("can't run journalctl: Too many open files", problem_without_descriptors());
}

TEST(ProgramReader, GivesNoMoreLinesThanAreWanted) {
    const ToolFolder tools;
    tools.put_script("journalctl", "printf '1\\n2\\n3\\n'");
    const SignalWatch watch;
    ProgramReader reader({"journalctl"});
    EXPECT_EQ("", reader.problem());
    Lines taken;
    reader.read(watch, [&](const std::string &line) {
        taken.push_back(line);
        return taken.size() < 2;
    });
    EXPECT_EQ(Lines({"1", "2"}), taken);
}

TEST(ProgramReader, AProgramThatASignalEndedHasFailed) {
    const ToolFolder tools;
    tools.put_script("journalctl", "kill -9 $$");
    const SignalWatch watch;
    ProgramReader reader({"journalctl"});
    reader.read(watch, [](const std::string &) { return true; });
    EXPECT_EQ("journalctl failed", reader.end());
}

TEST(ProgramReader, PassesOnArguments) {
    const ToolFolder tools;
    tools.put_script("logread", "printf '%s\\n' \"$@\"");
    const SignalWatch watch;
    ProgramReader reader({"logread", "-f", "a b"});
    Lines taken;
    reader.read(watch, [&](const std::string &line) {
        taken.push_back(line);
        return true;
    });
    EXPECT_EQ(Lines({"-f", "a b"}), taken);
    EXPECT_EQ("", reader.end());
}

TEST(ProgramReader, KnowsWhetherAProgramIsInThePath) {
    const ToolFolder tools;
    tools.hide_others();
    EXPECT_FALSE(is_program("logread"));
    tools.put_script("logread", "");
    EXPECT_TRUE(is_program("logread"));
    const std::string path = std::getenv("PATH");
    ::unsetenv("PATH");
    EXPECT_TRUE(is_program("sh"));
    EXPECT_FALSE(is_program("no-such-program"));
    ::setenv("PATH", path.c_str(), 1);
}

}  // namespace
