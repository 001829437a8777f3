/*
 * Backups of a database text that a restore would not read completely.
 */
#include "frwk_dbrm/backup_check.h"

#include "frwk_dbrm.h"
#include "unit/frwk_dbrm/dbrm_fixture.h"

namespace {

using backup_bytes::header;
using backup_bytes::record;

class BackupCheck : public DbrmTest {
  protected:
    void expect_warning(const std::string &text) {
        EXPECT_TRUE(logged_once(log(), kWarningLevel, "frwk_dbrm_backup_check", text));
    }

    /* Checks a body, which must give this warning and no other. */
    void expect_warning_of(const std::string &body, const std::string &text) {
        write(kBackup, body);
        backup::check_body(kBackup);
        expect_warning(text);
        EXPECT_EQ(1u, log().system_lines().size()) << log().text();
    }
};

TEST_F(BackupCheck, NamesTheLineAtWhichARestoreStops) {
    expect_warning_of(record(2, kUserData, "a=1\nbad\nb=2\n"),
                      "file '/m_data/usr/db/user_data.txt' line 2: there is no '=', a restore stops there!");
}

TEST_F(BackupCheck, NamesTheLineThatARestoreReadsDifferently) {
    expect_warning_of(record(2, kUserData, "a=1\n#old\rb=2\n"),
                      "file '/m_data/usr/db/user_data.txt' line 2: there is a CR within the line, a restore "
                      "reads it differently!");
}

TEST_F(BackupCheck, SaysNothingOfAWholeText) {
    for (const char *text : {"", "a=1\nb=2\n"}) {
        write(kBackup, record(2, kUserData, text) + record(1, kDataManager, "bad\n"));
        backup::check_body(kBackup);
    }
    EXPECT_TRUE(log().system_lines().empty()) << log().text();
}

TEST_F(BackupCheck, OfNoBackupSaysSo) {
    backup::check_body("/m_data/usr/missing");
    expect_warning(with_errno("check backup file error!", ENOENT));
}

TEST_F(BackupCheck, OfABodyThatEndsTooSoonSaysSo) {
    expect_warning_of(header(2, kUserData, 0).substr(0, 135), with_errno("check backup file error!", 0));
    log().clear();
    expect_warning_of(header(2, kUserData, 5) + "a=1\n", with_errno("check backup file error!", 0));
}

TEST_F(BackupCheck, OfATextForWhichThereIsNoMemorySaysSo) {
    expect_warning_of(
        header(2, kUserData, OS_MEM_BLOCK_MAX),
        "file '/m_data/usr/db/user_data.txt' has 67108864 bytes, there is no memory to check them!");
}

TEST_F(BackupCheck, IsMadeOfEveryBackupAndFailsNone) {
    write(kUserData, std::string("a=1\nb=2\0\nc=3\n", 13));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    expect_warning("file '/m_data/usr/db/user_data.txt' line 2: a NUL ends the text, a restore stops there!");

    doubles::base::os_mem_malloc.stand_in([](size_t) { return nullptr; });
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_dbrm_backup(kBackup));
    expect_warning("file '/m_data/usr/db/user_data.txt' has 13 bytes, there is no memory to check them!");
}

}  // namespace
