#include "logtool/journal_reader.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

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
    return JournalReader({}, "", false).problem();
}

TEST(JournalReader, SaysWhenThereAreNoDescriptorsForIt) {
    EXPECT_EQ("can't run journalctl: Too many open files", problem_without_descriptors());
}

TEST(JournalReader, GivesNoMoreLinesThanAreWanted) {
    const ToolFolder tools;
    tools.put_script("journalctl", "printf '1\\n2\\n3\\n'");
    const SignalWatch watch;
    JournalReader reader({}, "", false);
    EXPECT_EQ("", reader.problem());
    Lines taken;
    reader.read(watch, [&](const std::string &line) {
        taken.push_back(line);
        return taken.size() < 2;
    });
    EXPECT_EQ(Lines({"1", "2"}), taken);
}

TEST(JournalReader, AProgramThatASignalEndedHasFailed) {
    const ToolFolder tools;
    tools.put_script("journalctl", "kill -9 $$");
    const SignalWatch watch;
    JournalReader reader({}, "", false);
    reader.read(watch, [](const std::string &) { return true; });
    EXPECT_EQ("journalctl failed", reader.end());
}

}  // namespace
