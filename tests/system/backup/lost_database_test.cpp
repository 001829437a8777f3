/*
 * A database that is killed or stopped before, between and after the reset and the save of a restore:
 * the result, and the configuration when the database is back.
 *
 * Each request to the database is a connection, so the program's connect shows the progress of the restore.
 */
#include <gtest/gtest.h>
#include <signal.h>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "system/backup/backup_fixture.h"

namespace {

/* The requests of a restore, in order. */
enum Request : unsigned {
    kName = 1,
    kReset = 2,
    kSave = 3,
    kFirstSet = 4,
    kSecondSet = 5,
    kLastSave = 7
};

/* With the product's name the backup holds three keys. */
constexpr char kSettings[] = "a=backup\nb=backup\n";

class LostDatabase : public BackupSystem {
  protected:
    void SetUp() override {
        start_with(kSettings);
        write_file(kDataManager, "from the backup");
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
        backup_ = file_text(kBackup);
        ASSERT_EQ(0, zndb_set("a", "device"));
        ASSERT_EQ(0, zndb_set("own", "device"));
        ASSERT_EQ(0, zndb_save());
        write_file(kDataManager, "of the device");
    }
    void TearDown() override { doubles::restore_all(); }

    /* Restores the backup, and calls act right before a request. */
    template <typename Act>
    apps_err_e_type restore_and_before(unsigned request, Act act) {
        doubles::libc::connect.forget_calls();
        doubles::libc::connect.stand_in([=](int fd, const sockaddr *address, socklen_t length) {
            if (doubles::libc::connect.calls() == request) {
                act();
            }
            return doubles::libc::connect.real(fd, address, length);
        });
        const apps_err_e_type ret = frwk_dbrm_restore(kBackup);
        EXPECT_GE(doubles::libc::connect.calls(), request);
        doubles::libc::connect.restore();
        return ret;
    }

    apps_err_e_type restore_and_kill_before(unsigned request) {
        const apps_err_e_type ret = restore_and_before(request, [this] { zndb_->kill(); });
        start();
        return ret;
    }

    /* Stops the database when a request arrives; while the restore waits, it receives another signal. */
    apps_err_e_type restore_and_stop_before(unsigned request, int next) {
        const apps_err_e_type ret = restore_and_before(request, [this, next] {
            zndb_->stop();
            doubles::libc::poll.stand_in([this, next](pollfd *fds, nfds_t count, int limit) {
                doubles::libc::poll.restore();
                zndb_->send_signal(next);
                return doubles::libc::poll.real(fds, count, limit);
            });
        });
        if (next == SIGKILL) {
            zndb_->kill();
            start();
        }
        return ret;
    }

    static bool upload_is_there() { return std::filesystem::exists(kBackup); }

    static void expect_the_devices_configuration() {
        EXPECT_EQ("device", plain("a"));
        EXPECT_EQ("device", plain("own"));
        EXPECT_EQ("of the device", file_text(kDataManager));
    }

    static void expect_no_configuration() {
        EXPECT_EQ("ret 3", plain("a"));
        EXPECT_EQ("ret 3", plain("own"));
        EXPECT_EQ("of the device", file_text(kDataManager));
    }

    /* With the database back, the same backup brings everything back. */
    void expect_a_second_restore_to_work() {
        ASSERT_EQ(0, zndb_set("device_product_name", kProduct));
        write_file(kBackup, backup_);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_restore(kBackup));
        EXPECT_EQ("backup", plain("a"));
        EXPECT_EQ("backup", plain("b"));
        EXPECT_EQ("ret 3", plain("own"));
        EXPECT_EQ("from the backup", file_text(kDataManager));
    }

    std::string backup_;
};

TEST_F(LostDatabase, NothingHappensToItInSevenRequests) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_and_before(kLastSave, [] {}));
    EXPECT_EQ("backup", plain("a"));
}

TEST_F(LostDatabase, KilledBeforeTheRestoreChangesNothing) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_INTERNAL, restore_and_kill_before(kName));
    EXPECT_TRUE(log.contains("zndb get product name failed!")) << log.text();
    EXPECT_TRUE(log.contains("get device magic failed!"));
    EXPECT_TRUE(log.contains("decompression failed!"));
    EXPECT_TRUE(upload_is_there());
    expect_the_devices_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, KilledBeforeTheResetChangesNothing) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_INTERNAL, restore_and_kill_before(kReset));
    EXPECT_TRUE(log.contains("zndb reset user data failed!")) << log.text();
    EXPECT_TRUE(upload_is_there());
    expect_the_devices_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, KilledBetweenResetAndSaveIsEmptyAndNoFileIsTouched) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_INTERNAL, restore_and_kill_before(kSave));
    EXPECT_TRUE(log.contains("zndb reset user data failed!")) << log.text();
    EXPECT_TRUE(upload_is_there());
    expect_no_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, KilledAfterTheSaveIsEmptyAndTheBackupUsedUp) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_and_kill_before(kFirstSet));
    EXPECT_TRUE(log.contains("zndb set db data error!")) << log.text();
    EXPECT_TRUE(log.contains(std::string("restore db '") + kUserData + "' failed!"));
    EXPECT_TRUE(log.contains("restore process failed!"));
    EXPECT_FALSE(upload_is_there());
    expect_no_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, KilledBetweenTwoKeysHasTheFirst) {
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_and_kill_before(kSecondSet));
    EXPECT_FALSE(upload_is_there());
    EXPECT_EQ("ret 3", plain("own"));
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, KilledBeforeItsLastSaveHasEveryKey) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_and_kill_before(kLastSave));
    EXPECT_TRUE(log.contains("zndb save db file error!")) << log.text();
    EXPECT_FALSE(upload_is_there());
    EXPECT_EQ("backup", plain("a"));
    EXPECT_EQ("backup", plain("b"));
    EXPECT_EQ("of the device", file_text(kDataManager));
}

/* A request waits for its answer as long as it takes. */
TEST_F(LostDatabase, StoppedForAWhileAtAnyRequestIsWaitedFor) {
    for (const unsigned request : {kName, kReset, kSave, kFirstSet, kLastSave}) {
        write_file(kBackup, backup_);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, restore_and_stop_before(request, SIGCONT)) << request;
        EXPECT_EQ("backup", plain("a"));
        EXPECT_EQ("from the backup", file_text(kDataManager));
    }
}

TEST_F(LostDatabase, StoppedAndKilledBeforeTheRestoreChangesNothing) {
    EXPECT_EQ(E_APPS_ERR_INTERNAL, restore_and_stop_before(kName, SIGKILL));
    EXPECT_TRUE(upload_is_there());
    expect_the_devices_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, StoppedAndKilledBetweenResetAndSaveTouchesNoFile) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_INTERNAL, restore_and_stop_before(kSave, SIGKILL));
    EXPECT_TRUE(log.contains("zndb reset user data failed!")) << log.text();
    EXPECT_TRUE(upload_is_there());
    expect_no_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, StoppedAndKilledAfterTheSaveEndsTheWalk) {
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_PROCESS, restore_and_stop_before(kFirstSet, SIGKILL));
    EXPECT_TRUE(log.contains("zndb set db data error!")) << log.text();
    EXPECT_FALSE(upload_is_there());
    expect_no_configuration();
    expect_a_second_restore_to_work();
}

TEST_F(LostDatabase, MissingDuringABackupLeavesNoFile) {
    zndb_->kill();
    LogCapture log;
    EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_dbrm_backup(kBackup));
    EXPECT_TRUE(log.contains("backup compression failed!")) << log.text();
    EXPECT_EQ(std::vector<std::string>(), names_in(kFolder));
}

}  // namespace
