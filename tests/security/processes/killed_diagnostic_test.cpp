/*
 * A module is killed during a diagnostic whose tool would never end by itself: the tool is ended too.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "os_process.h"
#include "support/module_process.h"
#include "support/other_user.h"
#include "support/tool_folder.h"

namespace {

constexpr int kRouter = 3;
constexpr int kWlan = 5;
constexpr char kPid[] = "/m_data/usr/tool_pid";

/* The process of the tool, which writes its number to the file. */
pid_t noted_process() {
    EXPECT_TRUE(wait_until([] { return file_text(kPid).find('\n') != std::string::npos; }));
    return std::atoi(file_text(kPid).c_str());
}

class KilledDiagnostic : public testing::Test {
  protected:
    ~KilledDiagnostic() override { (void)remove(kPid); }

    const ToolFolder tools_;
};

class KilledDiagnosticWithTool : public KilledDiagnostic, public testing::WithParamInterface<const char *> {};

}  // namespace

TEST_P(KilledDiagnosticWithTool, LeavesNoTool) {
    tools_.put_script("ping", GetParam());
    ModuleProcess router(kRouter);
    router.tell("ping 10.0.0.1");
    const pid_t tool = noted_process();
    ASSERT_GT(tool, 0);
    router.process().kill();
    EXPECT_TRUE(wait_until([tool] { return has_ended(tool); }));
}

INSTANTIATE_TEST_SUITE_P(
    Tools, KilledDiagnosticWithTool,
    testing::Values("echo $$ > /m_data/usr/tool_pid; exec yes",
                    "trap '' TERM HUP INT; echo $$ > /m_data/usr/tool_pid; exec sleep 1000",
                    "setsid sh -c 'echo $$ > /m_data/usr/tool_pid; exec sleep 1000' & wait"));

namespace {

class KilledDiagnosticsOutput : public KilledDiagnostic {
  protected:
    KilledDiagnosticsOutput() {
        for (const std::filesystem::path &path : outputs()) {
            remove(path);
        }
    }

    static std::vector<std::filesystem::path> outputs() {
        std::vector<std::filesystem::path> found;
        for (const auto &entry : std::filesystem::directory_iterator("/tmp/m_tmp")) {
            if (entry.path().extension() == ".txt") {
                found.push_back(entry.path());
            }
        }
        return found;
    }
    static void make_old(const std::filesystem::path &path) {
        last_write_time(path, std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    }

    /* Starts a diagnostic that goes on, and returns its output, as if it were an old one. */
    std::filesystem::path start(ModuleProcess *module) {
        tools_.put_script("ping", "echo $$ > /m_data/usr/tool_pid; exec sleep 1000");
        module->tell("ping 10.0.0.1");
        (void)noted_process();
        EXPECT_EQ(1u, outputs().size());
        make_old(outputs().at(0));
        return outputs().at(0);
    }

    void run_another() {
        tools_.put_script("ping", "echo ok");
        ModuleProcess wlan(kWlan);
        EXPECT_EQ("ret=0", wlan.ask("ping 10.0.0.1"));
    }
};

}  // namespace

TEST_F(KilledDiagnosticsOutput, IsRemovedByTheNextOne) {
    ModuleProcess router(kRouter);
    const std::filesystem::path left = start(&router);
    router.process().kill();
    ASSERT_TRUE(exists(left));
    run_another();
    EXPECT_FALSE(exists(left));
}

/* However old it is; nor is what has another name. */
TEST_F(KilledDiagnosticsOutput, IsNotRemovedWhileItsModuleLives) {
    const std::filesystem::path other = "/tmp/m_tmp/ping_1_2.text";
    ASSERT_TRUE(write_text(other, ""));
    make_old(other);
    {
        ModuleProcess router(kRouter);
        const std::filesystem::path present = start(&router);
        run_another();
        EXPECT_TRUE(exists(present));
    }
    EXPECT_TRUE(std::filesystem::remove(other));
}

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
