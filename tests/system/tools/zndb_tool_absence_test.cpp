/*
 * The messages of zndb_tool if the database can't be reached: each cause has its own text; the code and the
 * exit status are the same.
 */
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "support/unprivileged.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"
#include "unit/frwk_common/ipc/test_peer.h"

namespace {

namespace fs = std::filesystem;

const ToolChecks kTool("zndb_tool");

constexpr char kSocket[] = "/tmp/m_tmp/ipc/zndb";
constexpr char kFolder[] = "/tmp/m_tmp/ipc";

class ZndbToolAbsence : public ZndbTest {
  protected:
    ~ZndbToolAbsence() override {
        for (const int fd : waiting_) {
            (void)::close(fd);
        }
    }

    /* Expects a request to fail. words: the tool's description of the database's state. */
    static void expect_absent(const std::string &words) {
        const std::string rest = " 'k' failed: zndb " + words + ": 1 E_APPS_ERR_MODULE";
        kTool.expect_failure(3, "get" + rest, {"get", "k"});
        kTool.expect_failure(3, "set" + rest, {"set", "--secret", "k", "v"});
    }

    /* The same for a user without privileges: only file modes count. */
    static void expect_closed(const std::string &path) {
        const passwd *entry = ::getpwuid(::geteuid());
        const std::string owner = entry != nullptr ? entry->pw_name : std::to_string(::geteuid());
        const ToolEnd end = run_shell(modes_hold() + "$TOOLS/zndb_tool get k");
        EXPECT_EQ(3, end.status);
        EXPECT_EQ("zndb_tool: get 'k' failed: zndb can't be reached: no access to " + path + " (owner " +
                      owner + ", mode 0000; try 'chmod u+rwX " + path + "'): 1 E_APPS_ERR_MODULE\n",
                  end.errors);
    }

    /* As many connections as the service's queue takes. */
    void fill_queue() {
        for (int fd = 0; (fd = connect_to("zndb", SOCK_NONBLOCK)) >= 0;) {
            waiting_.push_back(fd);
        }
    }

    std::vector<int> waiting_;
};

TEST_F(ZndbToolAbsence, WithoutASocketItIsNotRunning) {
    fs::remove(kSocket);
    expect_absent("is not running");
}

TEST_F(ZndbToolAbsence, WithASocketThatNobodyListensOnItIsNotRunningAnyMore) {
    start();
    zndb_->kill();
    expect_absent("is not running any more: nobody listens on its socket");
}

TEST_F(ZndbToolAbsence, ASocketThatTheUserMayNotUseIsNamed) {
    start();
    fs::permissions(kSocket, fs::perms::none);
    expect_closed(kSocket);
}

TEST_F(ZndbToolAbsence, AFolderThatTheUserMayNotSearchIsNamed) {
    start();
    fs::permissions(kFolder, fs::perms::none);
    expect_closed(kFolder);
    fs::permissions(kFolder, fs::perms::owner_all);
}

/* As a flash that takes long over a save makes it. */
TEST_F(ZndbToolAbsence, ADatabaseWithAFullQueueIsBusy) {
    start();
    zndb_->stop();
    fill_queue();
    expect_absent("is busy: its queue of requests is full");
    zndb_->send_signal(SIGCONT);
}

/* It has taken the connection, and what its answer waits for has no limit. */
TEST_F(ZndbToolAbsence, ADatabaseThatDoesNotAnswerIsWaitedForAndNamed) {
    start();
    EXPECT_EQ(0, zndb_set("k", "v"));
    const std::vector<std::vector<std::string>> calls = {
        {tool_path("zndb_tool"), "get", "k"},
        {tool_path("zndb_tool"), "set", "--secret", "s", "v"},
        {tool_path("zndb_tool"), "get", "--secret", "s"},
        {tool_path("zndb_tool"), "backup", "/tmp/waited_for"},
        {tool_path("apptest"), "call", "zndb", "sys_probe"},
    };
    zndb_->stop();
    std::vector<std::unique_ptr<ChildProcess>> tools;
    for (const auto &call : calls) {
        tools.push_back(std::make_unique<ChildProcess>(call));
    }
    for (const auto &tool : tools) {
        EXPECT_TRUE(tool->wait_for_error(": zndb has not answered for 5 s, waiting on\n")) << tool->errors();
        EXPECT_TRUE(tool->running());
    }
    zndb_->send_signal(SIGCONT);
    EXPECT_EQ("v", tools[0]->read_line());
    for (const auto &tool : tools) {
        EXPECT_NE(-1, tool->exit_status());
    }
}

TEST_F(ZndbToolAbsence, CtrlCEndsAToolThatWaits) {
    start();
    zndb_->stop();
    ChildProcess tool({tool_path("zndb_tool"), "get", "k"});
    EXPECT_TRUE(tool.wait_for_error("waiting on\n")) << tool.errors();
    tool.send_signal(SIGINT);
    EXPECT_EQ(128 + SIGINT, tool.exit_status());
    zndb_->send_signal(SIGCONT);
}

/* Its service thread answers for it while the start hook runs. */
TEST_F(ZndbToolAbsence, ADatabaseThatIsNotReadyInTimeDidNotAnswerInTime) {
    const HeldStart held;
    start_held();
    kTool.expect_failure(3, "get 'k' failed: zndb did not answer in time: 2 E_APPS_ERR_TIMEOUT",
                         {"get", "k"});
}

}  // namespace
