/*
 * The real service on a disk whose syncs take as long as the test wants.
 */
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "frwk_common.h"
#include "support/checked_file.h"
#include "support/wait_until.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kPlainFile = "/m_data/usr/db/user_data.txt";
const std::string kHeld = "/tmp/m_tmp/sync.held";
const std::string kBegun = "/tmp/m_tmp/sync.begun";

class ZndbSlowDisk : public ZndbTest {
  protected:
    ZndbSlowDisk() {
        environment_ = {"LD_PRELOAD=" HELD_SYNC};
        std::filesystem::remove(kHeld);
        std::filesystem::remove(kBegun);
    }
    ~ZndbSlowDisk() override { release(); }

    static void release() { std::filesystem::remove(kHeld); }

    /* Asks for something on another thread, and waits until it waits for the disk. */
    std::thread ask_slowly(int (*ask)()) {
        EXPECT_TRUE(write_text(kHeld, ""));
        std::thread asking([ask] {
            EXPECT_EQ(0, ask());
            EXPECT_FALSE(std::filesystem::exists(kHeld)) << "it was answered before it was done";
        });
        EXPECT_TRUE(wait_until([] { return std::filesystem::exists(kBegun); })) << zndb_->errors();
        return asking;
    }

    static void expect_others_answered() {
        EXPECT_EQ("1", plain("k"));
        EXPECT_EQ(0, zndb_set("k", "2"));
        EXPECT_EQ("2", plain("k"));
        EXPECT_EQ(0, zndb_set_perm_data("pk", "2"));
        EXPECT_EQ("2", perm("pk"));
        EXPECT_EQ(0, zndb_save_ram());
        EXPECT_TRUE(std::filesystem::exists(kHeld)) << "the disk syncs all the while";
    }
};

TEST_F(ZndbSlowDisk, GetsAndSetsAreAnsweredWhileASaveWaits) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    std::thread saving = ask_slowly(zndb_save);
    expect_others_answered();
    release();
    saving.join();
    EXPECT_EQ("k=1\n", checked_lines(file_text(kPlainFile)));
    restart();
    EXPECT_EQ("2", plain("k"));
    EXPECT_EQ("2", perm("pk"));
    cut_power();
    EXPECT_EQ("1", plain("k"));
}

/* A restore that fails and is tried again sends its settings after a reset whose answer it no longer awaits.
 */
TEST_F(ZndbSlowDisk, ASetThatComesAfterAResetIsNotLostToIt) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    std::thread resetting = ask_slowly(zndb_reset);
    std::atomic<bool> answered{false};
    std::thread setting([&answered] {
        EXPECT_EQ(0, zndb_set("k", "2"));
        answered = true;
    });
    // A service that doesn't keep the order answers now.
    (void)wait_until([&answered] { return answered.load(); }, std::chrono::milliseconds(300));
    release();
    resetting.join();
    setting.join();
    EXPECT_EQ("2", plain("k"));
}

TEST_F(ZndbSlowDisk, AServiceThatIsKilledWhileASaveWaitsLosesNothing) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_TRUE(write_text(kHeld, ""));
    std::thread saving([] { EXPECT_NE(0, zndb_save()); });
    EXPECT_TRUE(wait_until([] { return std::filesystem::exists(kBegun); })) << zndb_->errors();
    EXPECT_EQ(0, zndb_set("k", "2"));
    zndb_->kill();
    saving.join();
    release();
    start();
    EXPECT_EQ("2", plain("k"));
}

TEST_F(ZndbSlowDisk, TheEndOfTheServiceWaitsForASave) {
    start();
    EXPECT_EQ(0, zndb_set("k", "1"));
    std::thread saving = ask_slowly(zndb_save);
    std::thread ending([] { (void)ask_zndb(E_APPS_MSG_SYS_EXIT, ""); });
    EXPECT_TRUE(zndb_->wait_for_error("[E_APPS_MSG_SYS_EXIT:1]")) << zndb_->errors();
    release();
    saving.join();
    ending.join();
    EXPECT_EQ(0, zndb_->exit_status());
    EXPECT_EQ("k=1\n", checked_lines(file_text(kPlainFile)));
}

}  // namespace
