/*
 * The journal of a service that had one for all stores.
 */
#include "old_journal.h"

#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

constexpr char kRecords[] = "P+k=1\nM+k=2\nF+k=3\nP+gone=1\nP-gone\nM+torn=";

class OldJournal : public DatabaseFixture {
  protected:
    void expect_all() {
        EXPECT_EQ("1", plain("k"));
        EXPECT_EQ("2", perm("k"));
        EXPECT_EQ("3", def("k"));
        EXPECT_EQ(kMissing, perm("torn"));
    }

    /* Expects that nothing is taken over, and all of it once the cause is gone. */
    void expect_late(int32_t refusal) {
        EXPECT_EQ(refusal, database_->set(P, "new", "1"));
        EXPECT_EQ(refusal, database_->save());
        EXPECT_EQ(kMissing, plain("k"));
        EXPECT_EQ(kRecords, content_of(kOldJournal));
        end_faults();
        EXPECT_EQ(0, database_->set(P, "new", "1"));
        expect_all();
        EXPECT_FALSE(exists(kOldJournal));
    }
};

TEST_F(OldJournal, MovesToTheJournalsOfTheStores) {
    put_file(kOldJournal, kRecords);
    log_.clear();
    restart();
    expect_all();
    EXPECT_FALSE(exists(kOldJournal));
    EXPECT_EQ("P-gone\nP+k=1\n", content_of(kPlainJournal));
    EXPECT_EQ("M+k=2\n", content_of(kPermJournal));
    EXPECT_EQ("F+k=3\n", content_of(kFactoryJournal));
    EXPECT_TRUE(log_.contains("took over the journal of an older service")) << log_.text();
    restart();
    expect_all();
}

TEST_F(OldJournal, IsSavedLikeAnyChange) {
    put_file(kOldJournal, kRecords);
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ(0, database_->save_factory());
    cut_power();
    expect_all();
}

/* A service that was killed meanwhile has moved some of the records; the others follow. */
TEST_F(OldJournal, HasTheLastWord) {
    put_file(kPlainJournal, "P+k=before\nP+own=1\n");
    put_file(kOldJournal, kRecords);
    restart();
    expect_all();
    EXPECT_EQ("1", plain("own"));
}

TEST_F(OldJournal, StaysUntilAllJournalsHaveTakenIt) {
    put_file(kOldJournal, kRecords);
    for (const std::string &journal : {kPlainJournal, kFactoryJournal}) {
        fail_open(journal, EACCES);
        restart();
        EXPECT_EQ(kMissing, plain("k")) << journal;
        EXPECT_EQ(2006, database_->set(M, "new", "1")) << journal;
        end_faults();
        EXPECT_EQ(kRecords, content_of(kOldJournal)) << journal;
    }
    limit_disk(3);
    restart();
    expect_late(6);
}

TEST_F(OldJournal, ThatCantBeReadIsReadByALaterRequest) {
    put_file(kOldJournal, kRecords);
    fail_open(kOldJournal, EMFILE);
    restart();
    EXPECT_TRUE(log_.contains("can't open " + kOldJournal + " errno=24")) << log_.text();
    expect_late(2007);
}

/* Its records would be replayed again, after those of later changes. */
TEST_F(OldJournal, ThatCantBeRemovedRefusesChanges) {
    put_file(kOldJournal, kRecords);
    doubles::libc::unlink.stand_in([](const char *) {
        errno = EROFS;
        return -1;
    });
    restart();
    EXPECT_TRUE(log_.contains("can't remove " + kOldJournal + " errno=30")) << log_.text();
    expect_late(2006);
}

TEST_F(OldJournal, IsNotMissed) {
    log_.clear();
    EXPECT_EQ(0, take_over_old_journal());
    EXPECT_EQ("", log_.text());
    EXPECT_FALSE(exists(kOldJournal));
}

TEST_F(OldJournal, ReportsWhereItsFolderCantBeMade) {
    std::filesystem::remove_all("/tmp/m_tmp/zndb");
    doubles::libc::mkdir.stand_in([](const char *, mode_t) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ(EROFS, take_over_old_journal());
}

}  // namespace
