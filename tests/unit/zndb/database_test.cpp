#include "database.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "unit/zndb/database_fixture.h"

namespace {

constexpr StoreId P = StoreId::kPlain;
constexpr StoreId M = StoreId::kPerm;
constexpr StoreId F = StoreId::kFactory;

const std::string kMissing = "result 2001";

class DatabaseTest : public DatabaseFixture {};

/* ---- The stores ------------------------------------------------------------------------------------ */

TEST_F(DatabaseTest, ASetValueIsRead) {
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", ""));
    EXPECT_EQ("", plain("k"));
}

TEST_F(DatabaseTest, PlainAndPermAreApart) {
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ(0, database_->set(M, "k", "perm"));
    EXPECT_EQ("plain", plain("k"));
    EXPECT_EQ("perm", perm("k"));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ("perm", perm("k"));
}

TEST_F(DatabaseTest, APlainGetFallsBackToTheOverlayThenToTheDefault) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ("default", plain("k"));
    EXPECT_EQ(0, database_->set(F, "k", "factory"));
    EXPECT_EQ("factory", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ("plain", plain("k"));
}

TEST_F(DatabaseTest, APermGetDoesNotFallBack) {
    put_file(kDefaultsFile, "k=default\n");
    put_file(kFactoryFile, "k=factory\n");
    restart();
    EXPECT_EQ(kMissing, perm("k"));
}

TEST_F(DatabaseTest, GetDefReadsTheOverlayThenTheDefaultAndNeverThePlainStore) {
    put_file(kDefaultsFile, "a=default\nb=default\n");
    put_file(kFactoryFile, "a=factory\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "a", "plain"));
    EXPECT_EQ(0, database_->set(P, "c", "plain"));
    EXPECT_EQ("factory", def("a"));
    EXPECT_EQ("default", def("b"));
    EXPECT_EQ(kMissing, def("c"));
}

TEST_F(DatabaseTest, DeletingLetsTheDefaultShowAgain) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "plain"));
    EXPECT_EQ(0, database_->erase(P, "k"));
    EXPECT_EQ("default", plain("k"));
}

TEST_F(DatabaseTest, DeletingAKeyThatOnlyTheDefaultsHaveGives2001) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    EXPECT_EQ(2001, database_->erase(P, "k"));
    EXPECT_EQ(2001, database_->erase(M, "k"));
    EXPECT_EQ("default", plain("k"));
}

TEST_F(DatabaseTest, ResetEmptiesThePlainStoreOnly) {
    put_file(kDefaultsFile, "k=default\n");
    restart();
    database_->set(P, "k", "plain");
    database_->set(P, "other", "plain");
    database_->set(M, "k", "perm");
    database_->set(F, "f", "factory");
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ("default", plain("k"));
    EXPECT_EQ(kMissing, plain("other"));
    EXPECT_EQ("perm", perm("k"));
    EXPECT_EQ("factory", def("f"));
}

/* ---- Buffers --------------------------------------------------------------------------------------- */

TEST_F(DatabaseTest, AValueAndItsNulMustFit) {
    database_->set(P, "k", "1234");
    char buffer[] = "xxxxxxx";
    EXPECT_EQ(9, database_->get(P, "k", buffer, 4));
    EXPECT_STREQ("xxxxxxx", buffer);
    EXPECT_EQ(0, database_->get(P, "k", buffer, 5));
    EXPECT_STREQ("1234", buffer);
    EXPECT_EQ('x', buffer[5]);
}

TEST_F(DatabaseTest, NoBufferIsTooSmallForAnyValue) {
    database_->set(P, "k", "");
    EXPECT_EQ(9, database_->get(P, "k", nullptr, 0));
    EXPECT_EQ((std::vector<std::string>{"'k' refused: 0 characters don't fit 0 bytes"}), warnings(log_));
}

/* ---- Refusals -------------------------------------------------------------------------------------- */

class Refused : public DatabaseFixture {
  protected:
    void expect_refused(StoreId id, const std::string &key, const std::string &value,
                        const std::string &why) {
        log_.clear();
        EXPECT_EQ(2004, database_->set(id, key, value)) << key;
        EXPECT_EQ((std::vector<std::string>{"'" + key + "' refused: " + why}), warnings(log_));
        EXPECT_EQ("", content_of(kJournalFile));
        EXPECT_EQ(kMissing, get(id, key));
    }
};

TEST_F(Refused, KeysThatAFileCantHold) {
    for (const StoreId id : kStoreIds) {
        expect_refused(id, "", "v", "the key is empty");
        expect_refused(id, "#k", "v", "the key begins with '#' or a blank");
        expect_refused(id, " k", "v", "the key begins with '#' or a blank");
        expect_refused(id, "\tk", "v", "the key begins with '#' or a blank");
        expect_refused(id, "a=b", "v", "the key holds '='");
        expect_refused(id, "a\nb", "v", "the key holds a CR, LF or NUL");
        expect_refused(id, "a\rb", "v", "the key holds a CR, LF or NUL");
        expect_refused(id, std::string(32, 'k'), "v", "the key is too long");
    }
}

TEST_F(Refused, ValuesThatAFileCantHold) {
    for (const StoreId id : kStoreIds) {
        expect_refused(id, "k", "sec\nret", "the value holds a CR, LF or NUL");
        expect_refused(id, "k", "secret\r", "the value holds a CR, LF or NUL");
        expect_refused(id, "k", std::string(1024, 'v'), "the value is too long");
        EXPECT_FALSE(log_.contains("sec\nret"));
    }
}

TEST_F(Refused, ARefusedSetKeepsTheOldValue) {
    EXPECT_EQ(0, database_->set(P, "k", "old"));
    EXPECT_EQ(2004, database_->set(P, "k", "new\n"));
    EXPECT_EQ("old", plain("k"));
    restart();
    EXPECT_EQ("old", plain("k"));
}

TEST_F(Refused, AKeyThatNoStoreCanHoldIsMissing) {
    EXPECT_EQ(kMissing, plain("a=b"));
    EXPECT_EQ(2001, database_->erase(P, "a=b"));
}

TEST_F(Refused, NewKeysOfAFullStore) {
    std::string content;
    for (size_t i = 0; i < kStoreKeysMax; ++i) {
        content += std::to_string(i) + "=\n";
    }
    put_file(kPlainFile, content);
    restart();
    EXPECT_EQ(2003, database_->set(P, "one more", "v"));
    EXPECT_EQ((std::vector<std::string>{"'one more' refused: the store is full"}), warnings(log_));
    EXPECT_EQ("", content_of(kJournalFile));
    EXPECT_EQ(0, database_->set(P, "7", "v"));
    EXPECT_EQ(0, database_->set(M, "one more", "v"));
}

/* ---- The journal ----------------------------------------------------------------------------------- */

TEST_F(DatabaseTest, EveryChangeIsInTheJournalBeforeItIsAnswered) {
    database_->set(P, "k", "v");
    database_->set(M, "k", "v");
    database_->set(F, "k", "v");
    database_->erase(P, "k");
    database_->reset();
    EXPECT_EQ("P+k=v\nM+k=v\nF+k=v\nP-k\nP!\n", content_of(kJournalFile));
}

TEST_F(DatabaseTest, SettingThePresentValueCostsNoRecord) {
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("P+k=v\n", content_of(kJournalFile));
}

TEST_F(DatabaseTest, SettingTheDefaultsValueIsAChange) {
    put_file(kDefaultsFile, "k=v\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("P+k=v\n", content_of(kJournalFile));
}

TEST_F(DatabaseTest, ACrashLosesNothing) {
    put_file(kPlainFile, "old=1\ngone=1\n");
    put_file(kPermFile, "pgone=1\n");
    restart();
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    database_->set(F, "fk", "fv");
    database_->erase(P, "gone");
    database_->erase(M, "pgone");
    restart();
    EXPECT_EQ("1", plain("old"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("pv", perm("pk"));
    EXPECT_EQ("fv", def("fk"));
    EXPECT_EQ(kMissing, plain("gone"));
    EXPECT_EQ(kMissing, perm("pgone"));
}

TEST_F(DatabaseTest, ACrashAfterAResetBringsNothingBack) {
    put_file(kPlainFile, "old=1\n");
    restart();
    database_->set(P, "a", "1");
    database_->reset();
    database_->set(P, "b", "2");
    restart();
    EXPECT_EQ(kMissing, plain("old"));
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseTest, APowerCutLosesWhatWasNotSaved) {
    database_->set(P, "saved", "1");
    EXPECT_EQ(0, database_->save());
    database_->set(P, "unsaved", "1");
    cut_power();
    EXPECT_EQ("1", plain("saved"));
    EXPECT_EQ(kMissing, plain("unsaved"));
}

TEST_F(DatabaseTest, ATornRecordIsAsIfItHadNotBeenSet) {
    database_->set(P, "k", "old");
    std::ofstream(kJournalFile, std::ios::app) << "P+k=ne";
    restart();
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(0, database_->set(P, "j", "1"));
    restart();
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ("1", plain("j"));
}

TEST_F(DatabaseTest, AFullJournalRefusesEveryChangeAndReadingGoesOn) {
    database_->set(P, "k", "old");
    limit_disk(3);
    EXPECT_EQ(6, database_->set(P, "k", "new"));
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(6, database_->erase(P, "k"));
    EXPECT_EQ(6, database_->reset());
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ("P+k=old\n", content_of(kJournalFile));
    EXPECT_EQ(3u, warnings(log_).size()) << log_.text();
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "new"));
    restart();
    EXPECT_EQ("new", plain("k"));
}

TEST_F(DatabaseTest, WithoutItsJournalItReadsButChangesNothing) {
    put_file(kPlainFile, "k=v\n");
    fail_open(kJournalFile, EACCES);
    restart();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(2006, database_->set(P, "k", "new"));
    EXPECT_EQ(2006, database_->erase(P, "k"));
    EXPECT_EQ(2006, database_->reset());
    EXPECT_EQ(2006, database_->save());
    EXPECT_EQ(2006, database_->save_factory());
    EXPECT_EQ(2006, database_->save_ram());
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
}

TEST_F(DatabaseTest, AJournalThatComesBackIsReadBeforeTheNextChange) {
    database_->set(P, "a", "1");
    fail_open(kJournalFile, EMFILE);
    restart();
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ(2007, database_->set(P, "b", "2"));
    end_faults();
    EXPECT_EQ(0, database_->set(P, "b", "2"));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kJournalFile));
}

TEST_F(DatabaseTest, AJournalThatComesBackIsReadBeforeTheNextAnswer) {
    put_file(kPlainFile, "a=saved\n");
    restart();
    database_->set(P, "a", "1");
    fail_open(kJournalFile, EMFILE);
    restart();
    EXPECT_EQ("saved", plain("a"));
    EXPECT_TRUE(log_.contains("can't open " + kJournalFile)) << log_.text();
    end_faults();
    EXPECT_EQ("1", plain("a"));
}

/* Its first lines alone would give a value that was replaced long ago. */
TEST_F(DatabaseTest, AJournalThatIsReadHalfWayIsInNoAnswer) {
    put_file(kPlainFile, "a=saved\n");
    put_file(kJournalFile, "P+a=1\n" + some_blocks_of_records() + "P+a=2\n");
    fail_read_behind(10000);
    restart();
    EXPECT_EQ("saved", plain("a"));
    EXPECT_EQ("saved", plain("a"));
    EXPECT_EQ(2007, database_->set(P, "a", "3"));
    end_faults();
    EXPECT_EQ("2", plain("a"));
}

TEST_F(DatabaseTest, SaveRamLeavesTheLastStateOfEachChangedKey) {
    put_file(kPlainFile, "same=1\ngone=1\n");
    restart();
    for (const char *value : {"1", "2", "3"}) {
        database_->set(P, "k", value);
        database_->set(M, "pk", value);
        database_->set(F, "fk", value);
    }
    database_->erase(P, "gone");
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P-gone\nP+k=3\nM+pk=3\nF+fk=3\n", content_of(kJournalFile));
    restart();
    EXPECT_EQ("3", plain("k"));
    EXPECT_EQ("1", plain("same"));
    EXPECT_EQ(kMissing, plain("gone"));
}

TEST_F(DatabaseTest, SaveRamKeepsAReset) {
    put_file(kPlainFile, "old=1\n");
    restart();
    database_->set(P, "a", "1");
    database_->reset();
    database_->set(P, "b", "2");
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P!\nP+b=2\n", content_of(kJournalFile));
    restart();
    EXPECT_EQ(kMissing, plain("old"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseTest, AFailedSaveRamIsAnsweredAndLosesNothing) {
    database_->set(P, "k", "1");
    database_->set(P, "k", "2");
    limit_disk(0);
    EXPECT_EQ(6, database_->save_ram());
    EXPECT_EQ("P+k=1\nP+k=2\n", content_of(kJournalFile));
    restart();
    EXPECT_EQ("2", plain("k"));
}

TEST_F(DatabaseTest, TheJournalOfAValueThatChangesForEverStaysSmall) {
    const std::string value(1000, 'v');
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(0, database_->set(P, "counter", value + std::to_string(i)));
    }
    EXPECT_LE(std::filesystem::file_size(kJournalFile), kJournalSmall + 2000);
    restart();
    EXPECT_EQ(value + "1999", plain("counter"));
}

/* ---- Saving ---------------------------------------------------------------------------------------- */

TEST_F(DatabaseTest, SaveWritesPlainAndPermAndDropsThemFromTheJournal) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
    EXPECT_EQ("pk=pv\n", content_of(kPermFile));
    EXPECT_EQ("", content_of(kJournalFile));
    cut_power();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("pv", perm("pk"));
}

TEST_F(DatabaseTest, SaveKeepsTheOverlaysUnsavedChanges) {
    database_->set(F, "fk", "fv");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("F+fk=fv\n", content_of(kJournalFile));
    EXPECT_FALSE(exists(kFactoryFile));
    restart();
    EXPECT_EQ("fv", def("fk"));
}

TEST_F(DatabaseTest, FactorSaveWritesTheOverlayAndKeepsTheOthersChanges) {
    database_->set(F, "fk", "fv");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save_factory());
    EXPECT_EQ("fk=fv\n", content_of(kFactoryFile));
    EXPECT_EQ("P+k=v\n", content_of(kJournalFile));
    EXPECT_FALSE(exists(kPlainFile));
    cut_power();
    EXPECT_EQ("fv", def("fk"));
}

TEST_F(DatabaseTest, FilesWithoutChangesAreNotWritten) {
    put_file(kPlainFile, "# a comment\nk=v\n");
    restart();
    database_->set(M, "pk", "pv");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("# a comment\nk=v\n", content_of(kPlainFile));
    EXPECT_EQ("pk=pv\n", content_of(kPermFile));
    EXPECT_EQ(0, database_->save_factory());
    EXPECT_FALSE(exists(kFactoryFile));
}

TEST_F(DatabaseTest, ChangesOfAnEarlierRunAreSaved) {
    database_->set(P, "k", "v");
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
}

TEST_F(DatabaseTest, ASavedResetSurvivesAPowerCut) {
    put_file(kPlainFile, "old=1\n");
    restart();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ("old=1\n", content_of(kPlainFile));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", content_of(kPlainFile));
    cut_power();
    EXPECT_EQ(kMissing, plain("old"));
}

TEST_F(DatabaseTest, ACrashBetweenTheRenameAndTheJournalsCutIsHarmless) {
    put_file(kPlainFile, "a=old\nb=old\n");
    restart();
    database_->set(P, "a", "1");
    database_->reset();
    database_->set(P, "b", "2");
    database_->set(P, "c", "3");
    database_->erase(P, "c");
    const std::string journal = content_of(kJournalFile);
    EXPECT_EQ(0, database_->save());
    put_file(kJournalFile, journal);
    restart();
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ("2", plain("b"));
    EXPECT_EQ(kMissing, plain("c"));
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("b=2\n", content_of(kPlainFile));
}

TEST_F(DatabaseTest, AJournalThatCantBeCutDoesNotFailTheSave) {
    database_->set(P, "k", "1");
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=1\n", content_of(kPlainFile));
    EXPECT_EQ("P+k=1\n", content_of(kJournalFile));
    EXPECT_EQ(1u, warnings(log_).size()) << log_.text();
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    restart();
    EXPECT_EQ("2", plain("k"));
}

TEST_F(DatabaseTest, AFullDiskFailsTheSaveAndNothingElse) {
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
    EXPECT_EQ("k=new\n", content_of(kPlainFile));
}

TEST_F(DatabaseTest, OneStoresFailureDoesNotStopTheOther) {
    database_->set(P, "k", "v");
    database_->set(M, "pk", "pv");
    fail_open(kPlainFile + ".tmp", ENOSPC);
    EXPECT_EQ(6, database_->save());
    EXPECT_EQ("pk=pv\n", content_of(kPermFile));
    EXPECT_EQ("P+k=v\n", content_of(kJournalFile));

    end_faults();
    database_->set(M, "pk", "new");
    fail_open(kPermFile + ".tmp", EROFS);
    EXPECT_EQ(2006, database_->save());
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
    EXPECT_EQ("M+pk=new\n", content_of(kJournalFile));
}

TEST_F(DatabaseTest, SavingWhereWritingIsNotAllowedGives2006) {
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

TEST_F(DatabaseTest, ErrnoValuesHaveTheirResults) {
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

/* ---- Logs and threads ------------------------------------------------------------------------------ */

TEST_F(DatabaseTest, SuccessIsLoggedAtTheVerboseLevelAndWithoutTheValue) {
    database_->set(P, "wifi_key", "open sesame");
    EXPECT_EQ("open sesame", plain("wifi_key"));
    EXPECT_EQ(0, database_->erase(P, "wifi_key"));
    EXPECT_EQ(kMissing, plain("wifi_key"));
    for (const LogLine &line : log_.system_lines()) {
        EXPECT_EQ(OS_LOG_VERBOSE, line.level) << line.text;
    }
    EXPECT_EQ(4u, log_.count("'wifi_key'")) << log_.text();
    EXPECT_FALSE(log_.contains("sesame"));
}

TEST_F(DatabaseTest, ThreadsDoNotDisturbEachOther) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            const std::string key = "key" + std::to_string(t);
            for (int i = 0; i < 50; ++i) {
                EXPECT_EQ(0, database_->set(P, key, std::to_string(i)));
                EXPECT_EQ(std::to_string(i), plain(key));
                EXPECT_EQ(0, i % 10 == 0 ? database_->save() : 0);
                EXPECT_EQ(0, i % 10 == 5 ? database_->save_ram() : 0);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    restart();
    for (int t = 0; t < 4; ++t) {
        EXPECT_EQ("49", plain("key" + std::to_string(t)));
    }
}

}  // namespace
