/*
 * The records that a database writes to its journal, and their replay after a crash.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseJournal : public DatabaseFixture {};

TEST_F(DatabaseJournal, EveryChangeIsInTheJournalBeforeItIsAnswered) {
    database_->set(P, "k", "v");
    database_->set(M, "k", "v");
    database_->set(F, "k", "v");
    database_->erase(P, "k");
    database_->reset();
    EXPECT_EQ("P+k=v\nP-k\nP!\nM+k=v\nF+k=v\n", journals());
}

TEST_F(DatabaseJournal, SettingThePresentValueCostsNoRecord) {
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("P+k=v\n", journals());
}

TEST_F(DatabaseJournal, SettingTheDefaultsValueIsAChange) {
    put_file(kDefaultsFile, "k=v\n");
    restart();
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("P+k=v\n", journals());
}

TEST_F(DatabaseJournal, ACrashLosesNothing) {
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

TEST_F(DatabaseJournal, ACrashAfterAResetBringsNothingBack) {
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

TEST_F(DatabaseJournal, APowerCutLosesWhatWasNotSaved) {
    database_->set(P, "saved", "1");
    EXPECT_EQ(0, database_->save());
    database_->set(P, "unsaved", "1");
    cut_power();
    EXPECT_EQ("1", plain("saved"));
    EXPECT_EQ(kMissing, plain("unsaved"));
}

TEST_F(DatabaseJournal, ATornRecordIsAsIfItHadNotBeenSet) {
    database_->set(P, "k", "old");
    std::ofstream(kPlainJournal, std::ios::app) << "P+k=ne";
    restart();
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(0, database_->set(P, "j", "1"));
    restart();
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ("1", plain("j"));
}

TEST_F(DatabaseJournal, AFullJournalRefusesEveryChangeAndReadingGoesOn) {
    database_->set(P, "k", "old");
    limit_disk(3);
    EXPECT_EQ(6, database_->set(P, "k", "new"));
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ(6, database_->erase(P, "k"));
    EXPECT_EQ(6, database_->reset());
    EXPECT_EQ("old", plain("k"));
    EXPECT_EQ("P+k=old\n", journals());
    EXPECT_EQ(3u, warnings(log_).size()) << log_.text();
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "new"));
    restart();
    EXPECT_EQ("new", plain("k"));
}

TEST_F(DatabaseJournal, WithoutItsJournalItReadsButChangesNothing) {
    put_file(kPlainFile, "k=v\n");
    fail_open(kPlainJournal, EACCES);
    restart();
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(2006, database_->set(P, "k", "new"));
    EXPECT_EQ(2006, database_->erase(P, "k"));
    EXPECT_EQ(2006, database_->reset());
    EXPECT_EQ(2006, database_->save());
    EXPECT_EQ(2006, database_->save_ram());
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
}

TEST_F(DatabaseJournal, AJournalThatComesBackIsReadBeforeTheNextChange) {
    database_->set(P, "a", "1");
    fail_open(kPlainJournal, EMFILE);
    restart();
    EXPECT_EQ(kMissing, plain("a"));
    EXPECT_EQ(2007, database_->set(P, "b", "2"));
    end_faults();
    EXPECT_EQ(0, database_->set(P, "b", "2"));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("P+a=1\nP+b=2\n", journals());
}

TEST_F(DatabaseJournal, AJournalThatComesBackIsReadBeforeTheNextAnswer) {
    put_file(kPlainFile, "a=saved\n");
    restart();
    database_->set(P, "a", "1");
    fail_open(kPlainJournal, EMFILE);
    restart();
    EXPECT_EQ("saved", plain("a"));
    EXPECT_TRUE(log_.contains("can't open " + kPlainJournal)) << log_.text();
    end_faults();
    EXPECT_EQ("1", plain("a"));
}

/* The first part of the journal has an outdated value. */
TEST_F(DatabaseJournal, AJournalThatIsReadHalfWayIsInNoAnswer) {
    put_file(kPlainFile, "a=saved\n");
    put_file(kPlainJournal, "P+a=1\n" + some_blocks_of_records() + "P+a=2\n");
    fail_read_behind(10000);
    restart();
    EXPECT_EQ("saved", plain("a"));
    EXPECT_EQ("saved", plain("a"));
    EXPECT_EQ(2007, database_->set(P, "a", "3"));
    end_faults();
    EXPECT_EQ("2", plain("a"));
}

TEST_F(DatabaseJournal, SaveRamLeavesTheLastStateOfEachChangedKey) {
    put_file(kPlainFile, "same=1\ngone=1\n");
    restart();
    for (const char *value : {"1", "2", "3"}) {
        database_->set(P, "k", value);
        database_->set(M, "pk", value);
        database_->set(F, "fk", value);
    }
    database_->erase(P, "gone");
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P-gone\nP+k=3\nM+pk=3\nF+fk=3\n", journals());
    restart();
    EXPECT_EQ("3", plain("k"));
    EXPECT_EQ("1", plain("same"));
    EXPECT_EQ(kMissing, plain("gone"));
}

TEST_F(DatabaseJournal, SaveRamKeepsAReset) {
    put_file(kPlainFile, "old=1\n");
    restart();
    database_->set(P, "a", "1");
    database_->reset();
    database_->set(P, "b", "2");
    EXPECT_EQ(0, database_->save_ram());
    EXPECT_EQ("P!\nP+b=2\n", journals());
    restart();
    EXPECT_EQ(kMissing, plain("old"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseJournal, AFailedSaveRamIsAnsweredAndLosesNothing) {
    database_->set(P, "k", "1");
    database_->set(P, "k", "2");
    limit_disk(0);
    EXPECT_EQ(6, database_->save_ram());
    EXPECT_EQ("P+k=1\nP+k=2\n", journals());
    restart();
    EXPECT_EQ("2", plain("k"));
}

/* A rewrite takes room for a second journal, and would gain nothing. */
TEST_F(DatabaseJournal, AJournalOfWhichNearlyAllCountsIsNotRewritten) {
    const std::string value(1000, 'v');
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(0, database_->set(P, std::to_string(i), value));
        ASSERT_FALSE(exists(kPlainJournal + ".tmp"));
    }
    fail_rename(EIO);
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(0, database_->set(P, std::to_string(i), value + "new"));
    }
    EXPECT_TRUE(warnings(log_).empty()) << log_.text();
}

TEST_F(DatabaseJournal, OfALargeJournalAtMostAThirdIsOutdated) {
    const std::string value(1000, 'v');
    for (int i = 0; i < 4000; ++i) {
        ASSERT_EQ(0, database_->set(P, std::to_string(i), value));
    }
    const auto all_counts = std::filesystem::file_size(kPlainJournal);
    for (int i = 0; i < 20000; ++i) {
        ASSERT_EQ(0, database_->set(P, std::to_string(i % 4000), value + std::to_string(i)));
        ASSERT_LE(std::filesystem::file_size(kPlainJournal), all_counts * 3 / 2) << i;
    }
}

TEST_F(DatabaseJournal, TheJournalOfAValueThatChangesForEverStaysSmall) {
    const std::string value(1000, 'v');
    for (int i = 0; i < 2000; ++i) {
        ASSERT_EQ(0, database_->set(P, "counter", value + std::to_string(i)));
    }
    EXPECT_LE(std::filesystem::file_size(kPlainJournal), kJournalSmall + 2000);
    restart();
    EXPECT_EQ(value + "1999", plain("counter"));
}

}  // namespace
