/*
 * Another user's tool in a folder of the module's PATH, and a module with an open umask.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "security/attacker.h"
#include "support/file_info.h"
#include "support/module_process.h"
#include "support/other_user.h"

namespace {

constexpr int kRouter = 3;
constexpr char kFolder[] = "/m_data/usr/foreign";
constexpr char kRan[] = "/m_data/usr/ran";

/* The folder is writable for everybody, or belongs to another user who alone may write to it. */
class ForeignTool : public testing::TestWithParam<As> {
  protected:
    void SetUp() override {
        const bool is_anothers = GetParam() == As::kAnotherUser;
        if (is_anothers) {
            skip_without_other_user();
        }
        if (IsSkipped()) {
            return;
        }
        ASSERT_EQ(0, mkdir(kFolder, 0755));
        put_tool("ping");
        put_tool("touch");
        options_.environment = {std::string("PATH=.:") + kFolder + ":" + getenv("PATH")};
        ASSERT_EQ(0, is_anothers ? chown(kFolder, kOtherUser, kOtherUser) : chmod(kFolder, 0777));
    }
    void TearDown() override {
        std::filesystem::remove_all(kFolder);
        std::filesystem::remove(kRan);
    }

    static bool ran() { return std::filesystem::exists(kRan); }

    ModuleOptions options_;

  private:
    static void put_tool(const std::string &name) {
        const std::string path = std::string(kFolder) + "/" + name;
        EXPECT_TRUE(write_text(path, std::string("#!/bin/sh\n: > ") + kRan + "\n"));
        EXPECT_EQ(0, chmod(path.c_str(), 0755));
    }
};

}  // namespace

TEST_P(ForeignTool, IsNotRunForADiagnostic) {
    ModuleProcess router(kRouter, options_);
    EXPECT_EQ("ret=0", router.ask("ping 127.0.0.1"));
    EXPECT_FALSE(ran());
}

TEST_P(ForeignTool, IsNotRunForAReset) {
    ModuleProcess router(kRouter, options_);
    (void)router.ask("reset 1");
    EXPECT_FALSE(ran());
    EXPECT_TRUE(std::filesystem::exists("/m_data/usr_permanent/reset_flag"));
}

INSTANTIATE_TEST_SUITE_P(Folders, ForeignTool, testing::Values(As::kTheSameUser, As::kAnotherUser));

TEST(OpenUmask, AResetsFlagIsNotForOthersToWrite) {
    const mode_t before = umask(0);
    {
        ModuleProcess router(kRouter);
        (void)router.ask("reset 1");
    }
    umask(before);
    EXPECT_EQ(0644u, mode_of("/m_data/usr_permanent/reset_flag"));
}
