/*
 * Stores don't drag each other down: whatever happens to the file or the journal of one, the others go on.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseApart : public DatabaseFixture {
  protected:
    /* Starts where a journal can't be opened. */
    void start_without(const std::string &journal) {
        fail_open(journal, EACCES);
        restart();
    }

    /* What a restore asks of the database. Returns the last result. */
    int32_t restore(const char *value) {
        EXPECT_EQ(0, database_->reset());
        EXPECT_EQ(0, database_->save());
        EXPECT_EQ(0, database_->set(P, "k", value));
        return database_->save();
    }
};

TEST_F(DatabaseApart, EachStoreHasItsJournal) {
    database_->set(P, "k", "1");
    database_->set(M, "k", "2");
    database_->set(F, "k", "3");
    EXPECT_EQ("P+k=1\n", content_of(kPlainJournal));
    EXPECT_EQ("M+k=2\n", content_of(kPermJournal));
    EXPECT_EQ("F+k=3\n", content_of(kFactoryJournal));
}

TEST_F(DatabaseApart, APermJournalThatCantBeOpenedStopsNoPlainStore) {
    start_without(kPermJournal);
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ(2006, database_->set(M, "k", "v"));
    SaveResults each = {-1, -1};
    EXPECT_EQ(0, database_->save(&each));
    EXPECT_EQ(0, each.plain);
    EXPECT_EQ(2006, each.perm);
    EXPECT_EQ(0, restore("restored"));
    cut_power();
    EXPECT_EQ("restored", plain("k"));
}

TEST_F(DatabaseApart, APlainJournalThatCantBeOpenedStopsNoPermStore) {
    start_without(kPlainJournal);
    EXPECT_EQ(2006, database_->set(P, "k", "v"));
    EXPECT_EQ(0, database_->set(M, "k", "v"));
    SaveResults each = {-1, -1};
    EXPECT_EQ(2006, database_->save(&each)) << "it is the plain store's";
    EXPECT_EQ(2006, each.plain);
    EXPECT_EQ(0, each.perm);
    cut_power();
    EXPECT_EQ("v", perm("k"));
}

TEST_F(DatabaseApart, AFactoryJournalThatCantBeOpenedStopsNoOther) {
    start_without(kFactoryJournal);
    EXPECT_EQ(2006, database_->save_factory());
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    EXPECT_EQ("v", plain("k"));
    EXPECT_EQ(2006, database_->save_ram()) << "it is tried for all";
    EXPECT_EQ(2006, database_->save_before_power_off());
    cut_power();
    EXPECT_EQ("v", plain("k"));
}

TEST_F(DatabaseApart, APermFileThatCantBeWrittenStopsNoRestore) {
    database_->set(M, "k", "v");
    fail_open(kPermFile + ".tmp", EROFS);
    EXPECT_EQ(0, restore("restored"));
    cut_power();
    EXPECT_EQ("restored", plain("k"));
}

/* Of which each store would otherwise have a record more to replay. */
TEST_F(DatabaseApart, ASaveOfOneStoreLeavesTheJournalsOfTheOthersAlone) {
    database_->set(F, "k", "1");
    database_->set(F, "k", "2");
    database_->set(P, "k", "v");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("F+k=1\nF+k=2\n", journals());
}

TEST_F(DatabaseApart, AFullJournalOfOneStoreIsEmptiedByItsOwnSave) {
    EXPECT_EQ(0, database_->set(F, "k", "v"));
    EXPECT_EQ(0, database_->set(P, "k", "v"));
    fill_disk_of("/tmp/m_tmp/zndb");
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", content_of(kPlainJournal)) << "emptying takes no room";
    EXPECT_EQ("F+k=v\n", content_of(kFactoryJournal));
}

}  // namespace
