/*
 * Single faults that once caused errors: nothing was logged, or data was lost.
 */
#include <algorithm>
#include <cstring>
#include <filesystem>

#include "faults/faulty_device.h"
#include "faults/log_tap.h"
#include "frwk_common.h"
#include "frwk_dbrm.h"
#include "frwk_diag.h"
#include "frwk_utils.h"
#include "libmal.h"
#include "os_process.h"
#include "support/key_files.h"
#include "support/wait_until.h"
#include "zndb.h"

namespace faults {

namespace {

constexpr char kEvent[] = "E_APPS_MSG_TEST";
constexpr char kSubscribers[] = "/m_data/usr/subscribe/E_APPS_MSG_TEST";
constexpr char kBackup[] = "/m_data/usr/exchange/backup.bin";

/* Makes one call of a kind fail in the call under test, and returns what that gives. */
class SingleFault : public FaultyDevice {
  protected:
    template <typename Tested>
    static long fail_first(Call kind, int error, Tested tested) {
        return fail_nth(kind, 0, error, tested);
    }

    template <typename Tested>
    static long fail_nth(Call kind, size_t nth, int error, Tested tested) {
        start_log();
        watch_kind(Who::kCaller, kind, nth, variant_of(kind, error));
        const long result = tested();
        EXPECT_TRUE(end().struck);
        return result;
    }

    static bool logged(const std::string &text) { return logged_text().find(text) != std::string::npos; }

  private:
    static size_t variant_of(Call kind, int error) {
        const CallRow &row = row_of(kind);
        const auto *found = std::find_if(row.faults, row.faults + row.count,
                                         [error](const Fault &fault) { return fault.error == error; });
        EXPECT_NE(row.faults + row.count, found) << row.name;
        return static_cast<size_t>(found - row.faults);
    }
};

}  // namespace

TEST_F(SingleFault, AListOfSubscribersThatCannotBeReadGetsNoSecondLine) {
    put_text(kSubscribers, "monitor_tool\n");
    EXPECT_EQ(E_APPS_ERR_IO, fail_first(Call::read, EIO, [] { return frwk_ipc_msg_sub(kEvent); }));
    EXPECT_TRUE(logged("can't open event key file!"));
    EXPECT_EQ("monitor_tool\n", file_text(kSubscribers));
}

TEST_F(SingleFault, AListOfSubscribersThatCannotBeOpenedGetsNoSecondLine) {
    put_text(kSubscribers, "monitor_tool\n");
    constexpr size_t kAfterTheLock = 1;
    EXPECT_EQ(E_APPS_ERR_IO,
              fail_nth(Call::open64, kAfterTheLock, EMFILE, [] { return frwk_ipc_msg_sub(kEvent); }));
    EXPECT_EQ("monitor_tool\n", file_text(kSubscribers));
}

TEST_F(SingleFault, ASignalWhileSubscribersAreWrittenBackLosesNone) {
    const auto unsubscribe = [] {
        put_text(kSubscribers, "sms\nmonitor_tool\n");
        return frwk_ipc_msg_unsub(kEvent);
    };
    /* The file is put with a stream, which is not what fails. */
    EXPECT_EQ(E_APPS_ERR_SUCCESS, fail_first(Call::write, EINTR, unsubscribe));
    EXPECT_EQ("sms\n", file_text(kSubscribers));
}

TEST_F(SingleFault, APublisherTellsThatSubscribersCannotBeRead) {
    put_text(kSubscribers, "sms\n");
    (void)fail_first(Call::read, EIO, [] {
        frwk_ipc_msg_pub(kEvent, 40100, nullptr, 0);
        return 0;
    });
    EXPECT_TRUE(logged("read event key(" + std::string(kSubscribers) + ") file failed!"));
}

TEST_F(SingleFault, ACommandThatCannotBeRunIsLogged) {
    (void)fail_first(Call::posix_spawn, EAGAIN, [] {
        frwk_ipc_init_sub();
        return 0;
    });
    EXPECT_TRUE(logged("'rm -rf /m_data/usr/subscribe/*' failed, status=-1"));
}

TEST_F(SingleFault, AThreadThatCannotBeStartedIsLogged) {
    const auto start = [] {
        return static_cast<long>(frwk_thread_create([](void *argument) { return argument; }, nullptr));
    };
    EXPECT_EQ(0, fail_first(Call::pthread_create, EAGAIN, start));
    EXPECT_TRUE(logged("can't start a thread, errno=11"));
}

TEST_F(SingleFault, APartOfAToolsLineIsNoValue) {
    tools_.put_script("df", "echo 'data 1 2 3 45%'\n");
    static int32_t use = 0;
    const auto ask = [] {
        use = -1;
        return frwk_get_partion_info("data", 5, &use);
    };
    EXPECT_EQ(-1, fail_nth(Call::getc, 2, EIO, ask));
    EXPECT_EQ(-1, use);
    EXPECT_TRUE(logged("read the output of a command error!"));
}

TEST_F(SingleFault, APartOfANameIsNoName) {
    static char name[16];
    std::strcpy(name, "before");
    (void)fail_nth(Call::getc, 3, EIO, [] {
        (void)frwk_get_process_name(0, name, sizeof(name));
        return 0;
    });
    EXPECT_STREQ("before", name);
    EXPECT_TRUE(logged("read the output of a command error!"));
}

TEST_F(SingleFault, AReasonThatCannotBeReadIsLogged) {
    put_text("/m_data/usr_permanent/reboot_reason", "801");
    EXPECT_EQ(0, fail_first(Call::fread, EIO, [] { return frwk_reboot_reason_get(); }));
    EXPECT_TRUE(logged("read reboot reason file error!"));
}

TEST_F(SingleFault, AnOutputOfUnknownSizeIsNoEmptyOne) {
    tools_.put_script("ping", "echo answers\n");
    const auto diagnose = [] {
        frwk_diag_req req = {};
        std::strcpy(req.ping.target, "host");
        frwk_diag_ctx ctx;
        frwk_diag_init(&ctx);
        const long result = frwk_diag_exec(FRWK_DIAG_TYPE_PING, &req, &ctx);
        frwk_diag_free(&ctx);
        return result;
    };
    EXPECT_EQ(E_APPS_ERR_IO, fail_first(Call::ftello64, EIO, diagnose));
    EXPECT_TRUE(logged("read nslookup log file error"));
}

TEST_F(SingleFault, AProductFileThatCannotBeReadToItsEndIsLogged) {
    put_text("/m_data/usr/product.txt", "first=1\n");
    start_database();
    (void)fail_first(Call::fgets, EIO, [] { return frwk_specify_path_db_adapt("/m_data/usr/product.txt"); });
    EXPECT_TRUE(logged("read data file error!"));
}

// ---- the adaptation to the SIM's operator ----

constexpr char kOperatorFile[] = "/m_webui/usr/db/subnet/26201/custom_data.txt";

void insert_sim() {
    put_text(MAL_SIMULATION_FILE, "mpss=1\nsim_status=2\nmcc=262\nmnc=01\nspn=\n");
    put_text(kOperatorFile, "first=1\nsecond=2\n");
}

/* As on a device that never adapted. */
long adapt_anew() {
    zndb_set("mnet_sim_subnet_switch", "on");
    for (const char *key :
         {"first", "second", "mnet_sim_subnet_plmn", "mnet_sim_subnet_path", "mnet_sim_subnet_md5"}) {
        zndb_del_perm(key);
    }
    frwk_sim_subnet_handle(0);
    return 0;
}

TEST_F(SingleFault, AnOperatorFileThatWasNotReadWholeIsAppliedAgain) {
    insert_sim();
    start_database();
    (void)fail_nth(Call::fgets, 1, EIO, adapt_anew);
    EXPECT_EQ("1", stored_perm("first"));
    EXPECT_EQ("", stored_perm("second"));

    frwk_sim_subnet_handle(0);
    EXPECT_EQ("2", stored_perm("second"));
}

/* A device that starts adapts and reboots: with a file that lies on a bad block it must do so once. */
TEST_F(SingleFault, AnOperatorFileThatCanNeverBeReadWholeIsAppliedOnce) {
    insert_sim();
    start_database();
    (void)fail_nth(Call::fgets, 1, EIO, adapt_anew);
    EXPECT_EQ(kOperatorFile, stored_perm("mnet_sim_subnet_path"));
    EXPECT_EQ("", stored_perm("mnet_sim_subnet_md5"));

    const auto adapt_again = [] {
        zndb_del_perm("first");
        frwk_sim_subnet_handle(0);
        return 0;
    };
    (void)fail_first(Call::open64, EMFILE, adapt_again); /* the digest can't be had either */
    EXPECT_EQ("", stored_perm("first"));
}

// ---- backups ----

class SingleBackupFault : public SingleFault {
  protected:
    void SetUp() override {
        SingleFault::SetUp();
        put_text(kProductKeyPath, some_key());
        put_text("/m_data/usr/db/user_data.txt", "device_product_name=QR-100\n");
        put_text("/m_data/usr/dbm/database.db", "d");
        std::filesystem::remove_all("/m_data/usr/exchange");
        std::filesystem::create_directories("/m_data/usr/exchange");
        start_database();
    }

    static long back_up() { return frwk_dbrm_backup(kBackup); }
    static long restore() { return frwk_dbrm_restore(kBackup); }
};

TEST_F(SingleBackupFault, ABackupOfUnknownSizeIsNotTakenForTooLarge) {
    EXPECT_EQ(E_APPS_ERR_WRITE, fail_first(Call::ftello64, EIO, back_up));
    EXPECT_TRUE(logged("append write backup file error! errno=5"));
    EXPECT_FALSE(logged("backup file is too large!"));
    EXPECT_FALSE(std::filesystem::exists(kBackup));
}

TEST_F(SingleBackupFault, AnUploadOfUnknownSizeIsNotTakenForTooShort) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, back_up());
    EXPECT_EQ(E_APPS_ERR_READ, fail_first(Call::ftello64, EIO, restore));
    EXPECT_TRUE(logged("read restore file hdr error! errno=5"));
    EXPECT_FALSE(logged("invalid restore file hdr format!"));
}

TEST_F(SingleBackupFault, AnUploadWhoseLinkCannotBeFollowedIsLeftAsItIs) {
    const char *upload = "/m_data/usr/exchange/upload";
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(upload));
    const std::string bytes = file_text(upload);
    std::filesystem::create_symlink(upload, kBackup);
    EXPECT_EQ(E_APPS_ERR_INTERNAL, fail_first(Call::realpath, ENOMEM, restore));
    EXPECT_TRUE(logged("decrypt restore file error!"));
    EXPECT_EQ(bytes, file_text(upload));
    EXPECT_TRUE(std::filesystem::is_symlink(kBackup));
}

TEST_F(SingleBackupFault, ARestoredBackupThatCannotBeRemovedIsLogged) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, back_up());
    EXPECT_EQ(E_APPS_ERR_SUCCESS, fail_first(Call::unlinkat, EIO, restore));
    EXPECT_TRUE(logged("remove restore file error!"));
}

TEST_F(SingleBackupFault, ALinkToARestoredBackupThatCannotBeRemovedIsLogged) {
    const char *upload = "/m_data/usr/exchange/upload";
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(upload));
    std::filesystem::create_symlink(upload, kBackup);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, fail_first(Call::remove, EIO, restore));
    EXPECT_TRUE(logged("remove restore file error!"));
    EXPECT_FALSE(std::filesystem::exists(upload));
}

TEST_F(SingleFault, WhatACommandLeftBehindEndsThoughProcessesCannotBeListedAtOnce) {
    const auto run_and_close = [] {
        os_command_scope_open();
        os_system("sleep 1000 & echo $! >/m_data/usr/pid");
        return static_cast<long>(os_command_scope_close());
    };
    EXPECT_EQ(0, fail_first(Call::getdents64, EIO, run_and_close));
    EXPECT_TRUE(wait_until([] { return has_ended(std::stoi(file_text("/m_data/usr/pid"))); }));
}

}  // namespace faults
