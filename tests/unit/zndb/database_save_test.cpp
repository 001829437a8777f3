/*
 * Saving: which files are written, what the journal keeps, and what a failure changes.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseSave : public DatabaseFixture {};

TEST_F(DatabaseSave, SaveWritesPlainAndPermAndDropsThemFromTheJournal) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("pk=pv\n", saved_lines(kPermFile));
    EXPECT_EQ("", journals());
    cut_power();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("pv", perm("pk"));
}

TEST_F(DatabaseSave, SaveKeepsTheOverlaysUnsavedChanges) {
    database_->set(F, "fk", "fv");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("F+fk=fv\n", journals());
    EXPECT_FALSE(exists(kFactoryFile));
    restart();
    EXPECT_EQ("fv", def("fk"));
}

TEST_F(DatabaseSave, FactorSaveWritesTheOverlayAndKeepsTheOthersChanges) {
    database_->set(F, "fk", "fv");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save_factory());
    EXPECT_EQ("fk=fv\n", saved_lines(kFactoryFile));
    EXPECT_EQ("P+k=v\n", journals());
    EXPECT_FALSE(exists(kPlainFile));
    cut_power();
    EXPECT_EQ("fv", def("fk"));
}

TEST_F(DatabaseSave, FilesWithoutChangesAreNotWritten) {
    put_file(kPlainFile, "# a comment\nk=v\n");
    restart();
    database_->set(M, "pk", "pv");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("# a comment\nk=v\n", content_of(kPlainFile));
    EXPECT_EQ("pk=pv\n", saved_lines(kPermFile));
    EXPECT_EQ(0, database_->save_factory());
    EXPECT_FALSE(exists(kFactoryFile));
}

TEST_F(DatabaseSave, ChangesOfAnEarlierRunAreSaved) {
    database_->set(P, "k", "v");
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
}

TEST_F(DatabaseSave, ASavedResetSurvivesAPowerCut) {
    put_file(kPlainFile, "old=1\n");
    restart();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ("old=1\n", content_of(kPlainFile));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
    cut_power();
    EXPECT_EQ(kMissing, plain("old"));
}

TEST_F(DatabaseSave, ACrashBetweenTheRenameAndTheJournalsCutIsHarmless) {
    put_file(kPlainFile, "a=old\nb=old\n");
    restart();
    database_->set(P, "a", "1");
    database_->reset();
    database_->set(P, "b", "2");
    database_->set(P, "c", "3");
    database_->erase(P, "c");
    const std::string journal = journals();
    EXPECT_EQ(0, database_->save());
    put_file(kPlainJournal, journal);
    restart();
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ("2", plain("b"));
    EXPECT_EQ(kMissing, plain("c"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("b=2\n", saved_lines(kPlainFile));
}

TEST_F(DatabaseSave, AJournalThatCantBeCutDoesNotFailTheSave) {
    database_->set(P, "k", "1");
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=1\n", saved_lines(kPlainFile));
    EXPECT_EQ("P+k=1\n", journals());
    EXPECT_EQ(1u, warnings(log_).size()) << log_.text();
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    restart();
    EXPECT_EQ("2", plain("k"));
}

/* A shorter journal is written beside the full one, and has no room there. */
TEST_F(DatabaseSave, AFullJournalStaysFullUntilItsStoreIsSaved) {
    EXPECT_EQ(0, database_->set(F, "fk", "fv"));
    fill_disk_of("/tmp/m_tmp/zndb");
    EXPECT_EQ(6, database_->set(F, "later", "v"));
    EXPECT_EQ(6, database_->save_ram());
    EXPECT_EQ("F+fk=fv\n", content_of(kFactoryJournal));
    EXPECT_FALSE(exists(kFactoryJournal + ".tmp"));
    EXPECT_EQ("fv", def("fk"));

    EXPECT_EQ(0, database_->save_factory());
    EXPECT_EQ("fk=fv\n", saved_lines(kFactoryFile));
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseSave, AFullJournalLosesNothingAndTakesChangesOnceThereIsRoom) {
    EXPECT_EQ(0, database_->set(F, "fk", "fv"));
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    fill_disk_of("/tmp/m_tmp/zndb");
    EXPECT_EQ(0, database_->save());
    restart();
    EXPECT_EQ("fv", def("fk"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(6, database_->set(P, "later", "v"));
    end_faults();
    EXPECT_EQ(0, database_->set(P, "later", "v"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("F+fk=fv\n", journals());
    EXPECT_EQ("k=v\nlater=v\n", saved_lines(kPlainFile));
}

TEST_F(DatabaseSave, AFullDiskFailsTheSaveAndNothingElse) {
    put_file(kPlainFile, "k=old\n");
    restart();
    database_->set(P, "k", "new");
    limit_disk(2);
    EXPECT_EQ(6, database_->save());
    EXPECT_EQ("k=old\n", content_of(kPlainFile));
    EXPECT_EQ("new", plain("k"));
    restart();
    EXPECT_EQ("new", plain("k"));
    end_faults();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=new\n", saved_lines(kPlainFile));
}

TEST_F(DatabaseSave, OneStoresFailureDoesNotStopTheOther) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    fail_open(kPlainFile + ".tmp", ENOSPC);
    EXPECT_EQ(6, database_->save());
    EXPECT_EQ("pk=pv\n", saved_lines(kPermFile));
    EXPECT_EQ("P+k=v\n", journals());

    end_faults();
    database_->set(M, "pk", "new");
    fail_open(kPermFile + ".tmp", EROFS);
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=v\n", saved_lines(kPlainFile));
    EXPECT_EQ("M+pk=new\n", journals());
}

/* ---- Whose result a save has ----------------------------------------------------------------------- */

class DatabaseSaveResult : public DatabaseSave {
  protected:
    /* Saves where these files can't be written. Returns "RESULT: PLAIN, PERM". */
    std::string save_without(const std::vector<std::string> &paths) {
        fail_opens([paths](const std::string &path) {
            for (const std::string &refused : paths) {
                if (path == refused + ".tmp") {
                    return refused == kPlainFile ? ENOSPC : EROFS;
                }
            }
            return 0;
        });
        SaveResults each = {-1, -1};
        const int32_t result = database_->save(&each);
        end_faults();
        return std::to_string(result) + ": " + std::to_string(each.plain) + ", " + std::to_string(each.perm);
    }
};

TEST_F(DatabaseSaveResult, ThePlainStoresWhereItHadChanges) {
    for (const StoreId id : {P, M}) {
        database_->set(id, "k", "v");
    }
    EXPECT_EQ("0: 0, 2006", save_without({kPermFile}));
    database_->set(P, "k", "new");
    EXPECT_EQ("6: 6, 2006", save_without({kPlainFile, kPermFile}));
    EXPECT_EQ("6: 6, 0", save_without({kPlainFile}));
    EXPECT_EQ("0: 0, 0", save_without({}));
}

TEST_F(DatabaseSaveResult, ThePermStoresWhereItAloneHadChanges) {
    database_->set(M, "k", "v");
    EXPECT_EQ("2006: 0, 2006", save_without({kPermFile}));
    EXPECT_EQ("0: 0, 0", save_without({}));
}

TEST_F(DatabaseSaveResult, OfNeitherWhereNoneHadChanges) {
    EXPECT_EQ("0: 0, 0", save_without({kPlainFile, kPermFile}));
}

/* What a restore relies on: a perm file that is of no use must not stop it. */
TEST_F(DatabaseSaveResult, APermStoreThatIsNotSavedIsLoggedEachTime) {
    std::filesystem::create_directories(kPermFile);
    restart();
    database_->set(M, "k", "v");
    for (const char *value : {"1", "2", "3"}) {
        database_->set(P, "k", value);
        log_.clear();
        EXPECT_EQ("0: 0, 2007", save_without({}));
        EXPECT_EQ((std::vector<std::string>{kPermFile + " could not be read and is not replaced"}),
                  warnings(log_));
    }
}

TEST_F(DatabaseSaveResult, WithoutItsJournalAStoreHasAFailure) {
    fail_open(kPlainJournal, EACCES);
    restart();
    SaveResults each = {-1, -1};
    EXPECT_EQ(2006, database_->save(&each));
    EXPECT_EQ(2006, each.plain);
    EXPECT_EQ(0, each.perm);
}

/* ---- Codes ----------------------------------------------------------------------------------------- */

TEST_F(DatabaseSave, SavingWhereWritingIsNotAllowedGives2006) {
    for (const int error : {EROFS, EACCES, EPERM}) {
        database_->set(P, "k", std::to_string(error));
        fail_open(kPlainFile + ".tmp", error);
        EXPECT_EQ(2006, database_->save());
        database_->set(F, "k", std::to_string(error));
        fail_open(kFactoryFile + ".tmp", error);
        EXPECT_EQ(2006, database_->save_factory());
        end_faults();
    }
}

TEST_F(DatabaseSave, ErrnoValuesHaveTheirResults) {
    EXPECT_EQ(0, result_of_errno(0));
    for (const int error : {ENOSPC, EDQUOT, EFBIG}) {
        EXPECT_EQ(6, result_of_errno(error));
    }
    for (const int error : {EROFS, EACCES, EPERM}) {
        EXPECT_EQ(2006, result_of_errno(error));
    }
    EXPECT_EQ(2003, result_of_errno(ENOMEM));
    for (const int error : {EIO, EISDIR, ENOTDIR, EEXIST, EMFILE}) {
        EXPECT_EQ(2007, result_of_errno(error));
    }
}

/* A backup would be one without settings. */
TEST_F(DatabaseSave, WritesAFileAgainThatSomebodyRemoved) {
    for (const std::string &path : {kPlainFile, kPermFile}) {
        put_file(path, "k=v\n");
        restart();
        std::filesystem::remove(path);
        log_.clear();
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ("k=v\n", saved_lines(path));
        EXPECT_EQ((std::vector<std::string>{path + " was removed by somebody, it is written again"}),
                  warnings(log_));
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ(1u, warnings(log_).size());
    }
}

TEST_F(DatabaseSave, DoesNotMissTheFileOfAnEmptyStore) {
    EXPECT_EQ(0, database_->save());
    EXPECT_FALSE(exists(kPlainFile));
    EXPECT_EQ("", log_.text());
}

/* Who removes the file and reboots wants the defaults. */
TEST_F(DatabaseSave, BeforeAPowerOffBringsNoRemovedFileBack) {
    put_file(kPlainFile, "k=v\n");
    restart();
    std::filesystem::remove(kPlainFile);
    EXPECT_EQ(0, database_->save_before_power_off());
    EXPECT_FALSE(exists(kPlainFile));
}

}  // namespace
