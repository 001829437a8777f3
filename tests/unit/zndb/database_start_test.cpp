/*
 * The start of a database with all kinds of files.
 */
#include <cstdlib>
#include <set>
#include <string>

#include "doubles/base_doubles.h"
#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseStart : public DatabaseFixture {};

/* ---- Files that can't be read ---------------------------------------------------------------------- */

TEST_F(DatabaseStart, AFileThatCouldNotBeReadIsNotReplaced) {
    put_file(kPlainFile, "precious=1\n");
    fail_open(kPlainFile, EIO);
    restart();
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ(2007, database_->save());
    EXPECT_EQ("precious=1\n", content_of(kPlainFile));
    EXPECT_TRUE(log_.contains(kPlainFile + " could not be read and is not replaced")) << log_.text();
    restart();
    EXPECT_EQ("1", plain("precious"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(0, database_->save());
}

TEST_F(DatabaseStart, AResetGivesUpAFileThatCouldNotBeRead) {
    put_file(kPlainFile, "broken=1\n");
    fail_open(kPlainFile, EIO);
    restart();
    end_faults();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
}

/* The save shortens the journal, and the delete must stay in it. */
TEST_F(DatabaseStart, ADeleteOutlivesAStartThatCouldNotReadTheFile) {
    put_file(kPermFile, "deleted=1\nkept=1\n");
    restart();
    EXPECT_EQ(0, database_->erase(M, "deleted"));
    fail_open(kPermFile, EMFILE);
    restart();
    end_faults();
    EXPECT_EQ(2007, database_->save());
    restart();
    EXPECT_EQ(kMissing, perm("deleted"));
    EXPECT_EQ("1", perm("kept"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("kept=1\n", saved_lines(kPermFile));
}

/* The store does not have the key, so that the answer is 2001; but the file may. */
TEST_F(DatabaseStart, ADeleteOfAKeyThatOnlyTheUnreadFileHasLasts) {
    start_with_broken(kPermFile, "deleted=1\nkept=1\n");
    EXPECT_EQ(2001, database_->erase(M, "deleted"));
    EXPECT_EQ(2001, database_->erase(M, "deleted"));
    EXPECT_EQ("M-deleted\n", journals());
    restart();
    EXPECT_EQ(kMissing, perm("deleted"));
    EXPECT_EQ("1", perm("kept"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("kept=1\n", saved_lines(kPermFile));
}

TEST_F(DatabaseStart, ADeleteThatTheJournalDoesNotTakeIsRefusedWhereTheFileIsUnread) {
    start_with_broken(kPermFile, "deleted=1\n");
    limit_disk(0);
    EXPECT_EQ(6, database_->erase(M, "deleted"));
    end_faults();
    restart();
    EXPECT_EQ("1", perm("deleted"));
}

/* Its line would be a damaged one. */
TEST_F(DatabaseStart, ADeleteOfAKeyThatNoFileCanHoldIsNotWrittenDown) {
    start_with_broken(kPermFile, "kept=1\n");
    for (const char *key : {"", "a=b", "a\nM!"}) {
        EXPECT_EQ(2001, database_->erase(M, key)) << key;
    }
    EXPECT_EQ("", journals());
}

/* Of two lines with one key the last holds, and may be the one that was not read. */
TEST_F(DatabaseStart, ASetOfTheValueThatAHalfReadFileBeganWithLasts) {
    put_file(kPlainFile, "k=1\n" + std::string(20000, '#') + "\nk=2\n");
    fail_read_behind(10000);
    restart();
    end_faults();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ(0, database_->set(P, "k", "1"));
    EXPECT_EQ("P+k=1\n", journals());
    restart();
    EXPECT_EQ("1", plain("k"));
}

TEST_F(DatabaseStart, FoldersInThePlaceOfFilesAreSurvived) {
    for (const std::string &path : {kPlainFile, kPermFile, kDefaultsFile, kFactoryFile}) {
        std::filesystem::create_directories(path);
    }
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(2007, database_->save());
    restart();
    EXPECT_EQ("v", plain("k"));
}

TEST_F(DatabaseStart, AFileThatIsGivenUpIsToldAtOnce) {
    for (const std::string &path : {kPlainFile, kPermFile, kFactoryFile}) {
        start_with_broken(path, "precious=1\n");
        EXPECT_EQ((std::vector<std::string>{"can't read " + path + " errno=5, cause: Input/output error",
                                            path + " unreadable: loaded 0 keys, will not be overwritten"}),
                  warnings(log_));
        std::filesystem::remove(path);
    }
}

TEST_F(DatabaseStart, AFileThatIsGivenUpHalfWayKeepsWhatWasRead) {
    put_file(kPermFile, "a=1\nb=2\n");
    doubles::libc::read.stand_in([](int fd, void *data, size_t) -> ssize_t {
        if (::lseek(fd, 0, SEEK_CUR) >= 4) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::read.real(fd, data, 4);
    });
    restart();
    end_faults();
    EXPECT_TRUE(log_.contains(kPermFile + " unreadable: loaded 1 keys, will not be overwritten"))
        << log_.text();
    EXPECT_EQ("1", perm("a"));
    EXPECT_EQ(0, database_->set(M, "k", "v"));
    EXPECT_EQ(2007, database_->save());
    EXPECT_EQ("a=1\nb=2\n", content_of(kPermFile));
}

TEST_F(DatabaseStart, AnOverlayThatIsGivenUpIsNotReplaced) {
    start_with_broken(kFactoryFile, "precious=1\n");
    EXPECT_EQ(0, database_->set(F, "k", "v"));
    EXPECT_EQ(2007, database_->save_factory());
    EXPECT_EQ("precious=1\n", content_of(kFactoryFile));
}

TEST_F(DatabaseStart, MissingFilesAreNotGivenUp) {
    log_.clear();
    restart();
    EXPECT_TRUE(warnings(log_).empty()) << log_.text();
}

/* ---- What an unread file makes of the limits -------------------------------------------------------- */

TEST_F(DatabaseStart, DeletesOfKeysThatAnUnreadFileMayHoldAreLimited) {
    start_with_broken(kPlainFile, "kept=1\n");
    for (size_t i = 0; i < kChangedKeysMax; ++i) {
        ASSERT_EQ(2001, database_->erase(P, std::to_string(i)));
    }
    const auto journal_size = std::filesystem::file_size(kPlainJournal);
    log_.clear();
    EXPECT_EQ(2003, database_->erase(P, "one more"));
    EXPECT_EQ(2003, database_->set(P, "one more", "v"));
    EXPECT_EQ(2u, log_.count("'one more' refused: too many keys have changed since the last save"))
        << log_.text();
    EXPECT_EQ(2u, warnings(log_).size()) << log_.text();
    EXPECT_EQ(kMissing, plain("one more"));
    EXPECT_EQ(journal_size, std::filesystem::file_size(kPlainJournal));

    EXPECT_EQ(0, database_->set(P, "7", "v"));
    EXPECT_EQ(0, database_->erase(P, "7"));
    EXPECT_EQ(0, database_->set(M, "one more", "v"));
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->set(P, "one more", "v"));
}

/* While its file was unread the store took keys that have no place beside those of the file. */
TEST_F(DatabaseStart, AStoreThatTheJournalOverfillsIsNotSavedUntilItFits) {
    start_with_broken(kPlainFile, full_file());
    EXPECT_EQ(0, database_->set(P, "one more", "v"));
    restart();
    log_.clear();
    EXPECT_EQ(2003, database_->save());
    EXPECT_EQ((std::vector<std::string>{
                  kPlainFile + " is not replaced: its store has 16385 keys, and a file may have 16384"}),
              warnings(log_));
    EXPECT_TRUE(full_file() == content_of(kPlainFile));
    EXPECT_EQ("P+one more=v\n", journals());
    restart();
    EXPECT_EQ("v", plain("one more"));

    EXPECT_EQ(0, database_->erase(P, "7"));
    EXPECT_EQ(0, database_->save());
    cut_power();
    EXPECT_EQ("v", plain("one more"));
    EXPECT_EQ(kMissing, plain("7"));
    EXPECT_EQ("", plain("8"));
}

/* ---- What a killed save left ----------------------------------------------------------------------- */

TEST_F(DatabaseStart, HalfWrittenSuccessorsAreRemoved) {
    const std::vector<std::string> paths = {kPlainFile,    kPermFile,    kFactoryFile,
                                            kPlainJournal, kPermJournal, kFactoryJournal};
    for (const std::string &path : paths) {
        put_file(path + ".tmp", "k=half");
    }
    put_file(kPlainFile, "k=whole\n");
    log_.clear();
    restart();
    for (const std::string &path : paths) {
        EXPECT_FALSE(exists(path + ".tmp")) << path;
        EXPECT_EQ(1u, log_.count("removed the incomplete temporary file of " + path)) << log_.text();
    }
    EXPECT_EQ("whole", plain("k"));
    EXPECT_TRUE(warnings(log_).empty()) << log_.text();
}

TEST_F(DatabaseStart, ALinkInASuccessorsPlaceLosesNothingButItself) {
    put_file("/m_data/usr/db/victim", "precious");
    std::filesystem::create_symlink("/m_data/usr/db/victim", kPlainFile + ".tmp");
    restart();
    EXPECT_FALSE(exists(kPlainFile + ".tmp"));
    EXPECT_EQ("precious", content_of("/m_data/usr/db/victim"));
}

TEST_F(DatabaseStart, ASuccessorThatCanNotBeRemovedIsNoObstacle) {
    std::filesystem::create_directories(kPlainFile + ".tmp");
    put_file(kPlainFile, "k=v\n");
    restart();
    EXPECT_EQ("v", plain("k"));
}

/* ---- A save whose folder was not synced ------------------------------------------------------------ */

TEST_F(DatabaseStart, ADeleteWhoseFolderWasNotSyncedIsSavedByTheSuccessor) {
    put_file(kPermFile, "deleted=1\nkept=1\n");
    restart();
    EXPECT_EQ(0, database_->erase(M, "deleted"));
    fail_folder_sync();
    EXPECT_EQ(2007, database_->save());
    end_faults();
    EXPECT_EQ("kept=1\n", saved_lines(kPermFile));
    restart();
    EXPECT_EQ("M-deleted\n", journals());
    expect_saved_again();
    EXPECT_EQ("kept=1\n", saved_lines(kPermFile));
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseStart, ASetOrResetWhoseFolderWasNotSyncedIsSavedByTheSuccessor) {
    put_file(kPlainFile, "old=1\n");
    restart();
    for (const bool resets : {false, true}) {
        EXPECT_EQ(0, resets ? database_->reset() : database_->set(P, "new", "1"));
        fail_folder_sync();
        EXPECT_EQ(2007, database_->save());
        end_faults();
        restart();
        expect_saved_again();
    }
    EXPECT_EQ("", saved_lines(kPlainFile));
}

/* Whatever shortens the journal meanwhile. */
TEST_F(DatabaseStart, ADeleteThatIsNotSavedStaysInTheJournalOfTheSuccessor) {
    put_file(kPermFile, "deleted=1\n");
    restart();
    EXPECT_EQ(0, database_->erase(M, "deleted"));
    fail_folder_sync();
    EXPECT_EQ(2007, database_->save());
    end_faults();
    restart();
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("M-deleted\n", journals());
}

/* ---- Folders whose names may not be on the disk ---------------------------------------------------- */

using Folders = std::set<std::string>;

/* The folders that a save syncs; refused: what can't be. */
Folders synced_by_save(Database &database, int expected, const std::string &refused = "") {
    Folders synced;
    doubles::libc::fsync.stand_in([&](int fd) {
        const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
        if (std::filesystem::is_directory(path)) {
            synced.insert(path);
        }
        errno = EIO;
        return path == refused ? -1 : 0;
    });
    EXPECT_EQ(expected, database.save());
    doubles::libc::fsync.restore();
    return synced;
}

const Folders kAll = {"/", "/m_data", "/m_data/usr_permanent", "/m_data/usr_permanent/db"};

/* Perhaps a service made them that was killed before it had synced their names. */
TEST_F(DatabaseStart, TheFirstSaveSyncsTheFoldersThatItFinds) {
    std::filesystem::create_directories("/m_data/usr_permanent/db");
    EXPECT_EQ(0, database_->set(M, "k", "1"));
    EXPECT_EQ(kAll, synced_by_save(*database_, 0));
    EXPECT_EQ(0, database_->set(M, "k", "2"));
    EXPECT_EQ(Folders{"/m_data/usr_permanent/db"}, synced_by_save(*database_, 0));
    restart();
    EXPECT_EQ(0, database_->set(M, "k", "3"));
    EXPECT_EQ(kAll, synced_by_save(*database_, 0));
}

TEST_F(DatabaseStart, AFolderWhoseNameCouldNotBeSyncedIsSyncedByTheNextSave) {
    std::filesystem::remove_all("/m_data/usr_permanent/db");
    EXPECT_EQ(0, database_->set(M, "k", "1"));
    (void)synced_by_save(*database_, 2007, "/m_data/usr_permanent");
    EXPECT_TRUE(log_.contains("can't save " + kPermFile + " errno=5")) << log_.text();
    (void)synced_by_save(*database_, 2007, "/m_data/usr_permanent");
    EXPECT_EQ(kAll, synced_by_save(*database_, 0));
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseStart, AFolderThatIsTakenAwayMeanwhileIsSyncedAgain) {
    EXPECT_EQ(0, database_->set(M, "k", "1"));
    EXPECT_EQ(0, database_->save());
    std::filesystem::remove_all("/m_data/usr_permanent/db");
    EXPECT_EQ(0, database_->set(M, "k", "2"));
    (void)synced_by_save(*database_, 2007, "/m_data/usr_permanent");
    EXPECT_EQ(1u, synced_by_save(*database_, 0).count("/m_data/usr_permanent"));
}

/* ---- No lock --------------------------------------------------------------------------------------- */

TEST(DatabaseStartDeathTest, ADatabaseWithoutItsLockEndsTheProcess) {
    const auto start = [] {
        os_debug_enable();
        doubles::base::os_mutex_create.stand_in([]() -> os_mutex * { return nullptr; });
        const Database database;
    };
    EXPECT_EXIT(start(), testing::ExitedWithCode(EXIT_FAILURE),
                "no memory for the lock of the database, ending");
}

}  // namespace
