/*
 * A module is killed during a diagnostic whose tool would never end by itself: the tool is ended too.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "os_process.h"
#include "support/module_process.h"
#include "support/other_user.h"
#include "support/tool_folder.h"

namespace {

constexpr int kRouter = 3;
constexpr char kPid[] = "/m_data/usr/tool_pid";

/* The process of the tool, which writes its number to the file. */
pid_t noted_process() {
    EXPECT_TRUE(wait_until([] { return file_text(kPid).find('\n') != std::string::npos; }));
    return std::atoi(file_text(kPid).c_str());
}

class KilledDiagnostic : public testing::TestWithParam<const char *> {
  protected:
    ~KilledDiagnostic() override { (void)remove(kPid); }

    const ToolFolder tools_;
};

}  // namespace

TEST_P(KilledDiagnostic, LeavesNoTool) {
    tools_.put_script("ping", GetParam());
    ModuleProcess router(kRouter);
    router.tell("ping 10.0.0.1");
    const pid_t tool = noted_process();
    ASSERT_GT(tool, 0);
    router.process().kill();
    EXPECT_TRUE(wait_until([tool] { return has_ended(tool); }));
}

INSTANTIATE_TEST_SUITE_P(
    Tools, KilledDiagnostic,
    testing::Values("echo $$ > /m_data/usr/tool_pid; exec yes",
                    "trap '' TERM HUP INT; echo $$ > /m_data/usr/tool_pid; exec sleep 1000",
                    "setsid sh -c 'echo $$ > /m_data/usr/tool_pid; exec sleep 1000' & wait"));

namespace {

constexpr char kOpenFolder[] = "/m_data/usr/open";
constexpr char kNotedInTheOpen[] = "/m_data/usr/open/pid";

enum class Killed {
    kAlone,
    kWithItsGroup
};

/* Runs a tool that detaches, is killed meanwhile, and returns 0 once the tool has ended too. */
int ask_and_be_killed(Killed how) {
    const pid_t asker = fork();
    if (asker == 0) {
        (void)setpgid(0, 0);
        os_command_scope_open();
        os_system("setsid sh -c 'echo $$ > /m_data/usr/open/pid; exec sleep 1000' & exec sleep 1000");
        _exit(1);
    }
    const auto noted = [] { return file_text(kNotedInTheOpen); };
    const bool is_noted = wait_until([&] { return noted().find('\n') != std::string::npos; });
    const pid_t tool = std::atoi(noted().c_str());
    const pid_t victim = how == Killed::kAlone ? asker : -asker;
    const bool is_killed = kill(victim, SIGKILL) == 0 && waitpid(asker, nullptr, 0) == asker;
    return is_noted && is_killed && wait_until([tool] { return has_ended(tool); }) ? 0 : 1;
}

}  // namespace

using KilledModuleByAnotherUser = ByAnotherUser<testing::Test>;

TEST_F(KilledModuleByAnotherUser, LeavesNoToolThoughItIsNotRoots) {
    ASSERT_EQ(0, mkdir(kOpenFolder, 0777));
    ASSERT_EQ(0, chmod(kOpenFolder, 0777));
    EXPECT_EQ(0, as_other_user([] { return ask_and_be_killed(Killed::kAlone); }));
    std::filesystem::remove_all(kOpenFolder);
}

/* What looks after the tool is not in the group. */
TEST(KilledModule, LeavesNoToolThoughItsGroupIsKilledWithIt) {
    ASSERT_EQ(0, mkdir(kOpenFolder, 0755));
    EXPECT_EQ(0, ask_and_be_killed(Killed::kWithItsGroup));
    std::filesystem::remove_all(kOpenFolder);
}
