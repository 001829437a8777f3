/*
 * Batches: what counts in them, what they refuse, and that they are whole in memory and in the journal.
 */
#include <gtest/gtest.h>

#include "unit/zndb/database_fixture.h"
#include "zndb_ext.h"

namespace {

/* How the names of all files in the journals' folder begin. */
const std::string kJournals = "/tmp/m_tmp/zndb/journal";
const std::string kBatchFile = "/tmp/m_tmp/zndb/journal.batch";

ZndbItem set(StoreId store, std::string_view key, std::string_view value) {
    return {ItemKind::kSet, store, key, value};
}

ZndbItem erase(StoreId store, std::string_view key) {
    return {ItemKind::kDelete, store, key, {}};
}

ZndbItem expect(StoreId store, std::string_view key, std::string_view value) {
    return {ItemKind::kExpect, store, key, value};
}

ZndbItem expect_missing(StoreId store, std::string_view key) {
    return {ItemKind::kExpectMissing, store, key, {}};
}

class DatabaseBatch : public DatabaseFixture {
  protected:
    int32_t apply(const std::vector<ZndbItem> &items) {
        ZndbBatchItems batch;
        for (const ZndbItem &item : items) {
            EXPECT_TRUE(batch.add(item));
        }
        answer_ = {-1, 0};
        return database_->apply_batch(batch, answer_);
    }

    void expect_done(const std::vector<ZndbItem> &items) {
        EXPECT_EQ(0, apply(items));
        expect_answer(E_ZNDB_RET_SUCCESS, kNoItem);
    }

    void expect_answer(int32_t verdict, uint32_t item) const {
        EXPECT_EQ(verdict, answer_.verdict);
        EXPECT_EQ(item, answer_.item);
    }

    /* A batch over all stores. */
    static std::vector<ZndbItem> everywhere(std::string_view value) {
        return {set(P, "k", value), set(P, "l", value), set(M, "k", value), set(F, "d", value)};
    }

    /* Expects the batch of this value in all stores, or nothing of it. */
    void expect_everywhere(const std::string &value) {
        EXPECT_EQ(value, plain("k"));
        EXPECT_EQ(value, plain("l"));
        EXPECT_EQ(value, perm("k"));
        EXPECT_EQ(value, def("d"));
    }

    /* From now on the journal's files take so many writes. */
    static void take_writes(int count) {
        doubles::libc::write.stand_in([count](int fd, const void *data, size_t size) mutable -> ssize_t {
            if (count-- > 0) {
                return doubles::libc::write.real(fd, data, size);
            }
            errno = ENOSPC;
            return -1;
        });
    }

    static std::string journals() {
        std::string text;
        for (const std::string &file : files_beginning(kJournals)) {
            text += content_of(file);
        }
        return text;
    }

    BatchAnswer answer_ = {};
};

}  // namespace

/* ---- what counts ---- */

TEST_F(DatabaseBatch, ChangesAllStores) {
    ASSERT_EQ(0, database_->set(M, "gone", "1"));
    expect_done({set(P, "a", "1"), set(M, "b", "2"), set(F, "c", "3"), erase(M, "gone")});
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", perm("b"));
    EXPECT_EQ("3", def("c"));
    EXPECT_EQ(kMissing, perm("gone"));
}

TEST_F(DatabaseBatch, OfARepeatedKeyTheLastCounts) {
    expect_done({set(P, "a", "1"), erase(P, "a"), set(P, "a", "3"), set(P, "b", "1"), erase(P, "b")});
    EXPECT_EQ("3", plain("a"));
    EXPECT_EQ(kMissing, plain("b"));
}

TEST_F(DatabaseBatch, TheSameKeyInTwoStoresIsTwoKeys) {
    expect_done({set(P, "a", "1"), set(M, "a", "2")});
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", perm("a"));
}

TEST_F(DatabaseBatch, DeletingAMissingKeyIsNoFailureAndNoChange) {
    expect_done({erase(P, "missing"), erase(M, "missing")});
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseBatch, AValueThatEqualsThePresentOneIsNoChange) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    ASSERT_EQ(0, database_->save());
    expect_done({set(P, "a", "1"), set(P, "a", "2"), set(P, "a", "1")});
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseBatch, AnEmptyValueIsAValue) {
    expect_done({set(P, "a", ""), set(P, "b", "")});
    EXPECT_EQ("", plain("a"));
    expect_done({expect(P, "a", "")});
}

/* ---- expectations ---- */

TEST_F(DatabaseBatch, IsCarriedOutIfAllExpectationsHold) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    expect_done({expect(P, "a", "1"), expect_missing(P, "b"), set(P, "a", "2"), set(P, "b", "2")});
    EXPECT_EQ("2", plain("a"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(DatabaseBatch, ChangesNothingIfAnExpectationDoesNotHold) {
    ASSERT_EQ(0, database_->set(P, "a", "1"));
    EXPECT_EQ(2002, apply({set(P, "b", "2"), expect(P, "a", "other")}));
    expect_answer(E_ZNDB_RET_CONFLICT, 1);
    EXPECT_EQ(2002, apply({expect(P, "a", "1"), expect_missing(P, "a"), set(P, "b", "2")}));
    expect_answer(E_ZNDB_RET_CONFLICT, 1);
    EXPECT_EQ(2002, apply({expect(P, "missing", ""), set(P, "b", "2")}));
    expect_answer(E_ZNDB_RET_CONFLICT, 0);
    EXPECT_EQ(kMissing, plain("b"));
    EXPECT_EQ(std::vector<std::string>(), warnings(log_));
}

TEST_F(DatabaseBatch, ExpectationsAreOfTheValuesBeforeTheBatch) {
    expect_done({set(P, "a", "1"), expect_missing(P, "a")});
    EXPECT_EQ(2002, apply({set(P, "a", "2"), expect(P, "a", "2")}));
    EXPECT_EQ("1", plain("a"));
}

TEST_F(DatabaseBatch, ExpectationsAreOfTheStoresOwnValues) {
    ASSERT_EQ(0, database_->set(F, "d", "default"));
    EXPECT_EQ("default", plain("d"));
    EXPECT_EQ(2002, apply({expect(P, "d", "default")}));
    expect_done({expect_missing(P, "d"), expect(F, "d", "default")});
}

TEST_F(DatabaseBatch, OfExpectationsAloneWritesNothing) {
    expect_done({expect_missing(P, "a")});
    EXPECT_EQ("", journals());
}

/* ---- refusals ---- */

TEST_F(DatabaseBatch, WithABadKeyOrValueChangesNothing) {
    for (const ZndbItem &bad : {set(P, "a=b", "1"), set(P, "", "1"), set(P, "#a", "1"), set(P, "a", "1\n"),
                                erase(P, "a\r"), expect(P, " a", "1"), expect(P, "a", "\n")}) {
        log_.clear();
        EXPECT_EQ(2004, apply({set(P, "good", "1"), bad}));
        expect_answer(E_ZNDB_RET_FAILURE, 1);
        EXPECT_EQ(1u, warnings(log_).size());
    }
    EXPECT_EQ(kMissing, plain("good"));
    EXPECT_EQ("", journals());
}

TEST_F(DatabaseBatch, ThatDoesNotFitAFullStoreChangesNothing) {
    put_file(kPlainFile, full_file());
    restart();
    log_.clear();
    EXPECT_EQ(2003, apply({set(M, "a", "1"), set(P, "new", "1")}));
    expect_answer(E_ZNDB_RET_FAILURE, kNoItem);
    EXPECT_EQ(kMissing, perm("a"));
    EXPECT_EQ((std::vector<std::string>{
                  "a batch refused: the plain store is full, or too many of its keys have changed"}),
              warnings(log_));
}

TEST_F(DatabaseBatch, MayReplaceKeysOfAFullStore) {
    put_file(kPlainFile, full_file());
    restart();
    expect_done({set(P, "new", "1"), erase(P, "7"), set(P, "8", "changed")});
    EXPECT_EQ("1", plain("new"));
    EXPECT_EQ(kMissing, plain("7"));
    EXPECT_EQ(2003, apply({set(P, "newer", "1"), set(P, "newest", "1"), erase(P, "9")}));
}

TEST_F(DatabaseBatch, WithMoreChangedKeysThanAllowedChangesNothing) {
    start_with_broken(kPlainFile, "a=1\n");
    for (size_t i = 0; i < kChangedKeysMax - 1; ++i) {
        ASSERT_EQ(2001, database_->erase(P, std::to_string(i)));
    }
    EXPECT_EQ(2003, apply({set(P, "x", "1"), set(P, "y", "1")}));
    EXPECT_EQ(kMissing, plain("x"));
    expect_done({set(P, "x", "1"), set(P, "5", "again")});
    EXPECT_EQ("again", plain("5"));
}

TEST_F(DatabaseBatch, OnAnUnreadableFileDeletesMissingKeysAndSetsEqualValues) {
    start_with_broken(kPlainFile, "a=1\n");
    expect_done({erase(P, "perhaps"), set(M, "b", "1")});
    EXPECT_NE(std::string::npos, journals().find("P-perhaps\n"));
}

/* ---- the journal ---- */

TEST_F(DatabaseBatch, SurvivesAKillAndLeavesTheBatchFileEmpty) {
    expect_done(everywhere("1"));
    EXPECT_EQ("", content_of(kBatchFile));
    restart();
    expect_everywhere("1");
}

TEST_F(DatabaseBatch, TheBatchFileIsReadableByItsOwnerOnly) {
    expect_done(everywhere("1"));
    EXPECT_EQ(0600u, mode_of(kBatchFile));
}

TEST_F(DatabaseBatch, OfOneChangeNeedsNoBatchFile) {
    expect_done({expect_missing(P, "a"), set(P, "a", "1")});
    EXPECT_FALSE(exists(kBatchFile));
    restart();
    EXPECT_EQ("1", plain("a"));
}

TEST_F(DatabaseBatch, IsCompletedAtTheStartIfTheServiceWasKilledAfterTheBatchFile) {
    put_file(kBatchFile, "P+k=1\nP+l=1\nM+k=1\nF+d=1\n=4\n");
    restart();
    expect_everywhere("1");
    EXPECT_EQ("", content_of(kBatchFile));
    restart();
    expect_everywhere("1");
}

TEST_F(DatabaseBatch, IsCompletedAtTheStartIfTheServiceWasKilledInTheMiddleOfTheJournals) {
    ASSERT_EQ(0, database_->set(P, "k", "0"));
    expect_done({set(P, "k", "1"), set(P, "gone", "1")});
    put_file(kBatchFile, "P+k=2\nP+l=2\nP-gone\nM+k=2\nF+d=2\n=5\n");
    restart();
    expect_everywhere("2");
    EXPECT_EQ(kMissing, plain("gone"));
}

TEST_F(DatabaseBatch, IsDroppedAtTheStartIfItsFileIsCutOff) {
    const std::string text = "P+k=1\nM+k=1\n=2\n";
    for (size_t size = 1; size < text.size(); ++size) {
        put_file(kBatchFile, text.substr(0, size));
        log_.clear();
        restart();
        EXPECT_EQ(kMissing, plain("k"));
        EXPECT_EQ(kMissing, perm("k"));
        EXPECT_EQ((std::vector<std::string>{kBatchFile + ": the batch was cut off and is dropped"}),
                  warnings(log_));
        EXPECT_EQ("", content_of(kBatchFile));
    }
}

TEST_F(DatabaseBatch, IsCompletedOnceAndLaterChangesCount) {
    put_file(kBatchFile, "P+k=1\nP+l=1\nM+k=1\nF+d=1\n=4\n");
    restart();
    ASSERT_EQ(0, database_->set(P, "k", "later"));
    restart();
    EXPECT_EQ("later", plain("k"));
}

TEST_F(DatabaseBatch, CountsAsUnsavedAfterItWasCompleted) {
    put_file(kBatchFile, "P+k=1\nM+k=1\n=2\n");
    restart();
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("k=1\n", saved_lines(kPlainFile));
    EXPECT_EQ("k=1\n", saved_lines(kPermFile));
}

TEST_F(DatabaseBatch, WhoseFileCantBeWrittenChangesNothing) {
    ASSERT_EQ(0, database_->set(P, "k", "0"));
    take_writes(0);
    log_.clear();
    EXPECT_EQ(6, apply(everywhere("1")));
    expect_answer(E_ZNDB_RET_FAILURE, kNoItem);
    EXPECT_EQ(1u, warnings(log_).size());
    EXPECT_EQ("0", plain("k"));
    EXPECT_EQ("", content_of(kBatchFile));
    end_faults();
    restart();
    EXPECT_EQ("0", plain("k"));
}

TEST_F(DatabaseBatch, WhoseFileCantBeOpenedChangesNothing) {
    ASSERT_EQ(0, database_->set(P, "k", "0"));
    fail_open(kBatchFile, EMFILE);
    EXPECT_EQ(2007, apply(everywhere("1")));
    EXPECT_EQ("0", plain("k"));
}

TEST_F(DatabaseBatch, IsTakenBackIfAJournalCantBeWritten) {
    ASSERT_EQ(0, database_->set(P, "k", "0"));
    for (int writes = 1; writes <= 3; ++writes) {
        take_writes(writes);
        EXPECT_EQ(6, apply(everywhere("1"))) << writes;
        end_faults();
        EXPECT_EQ("0", plain("k"));
        EXPECT_EQ("P+k=0\n", journals()) << writes;
        restart();
        EXPECT_EQ("0", plain("k"));
        EXPECT_EQ(kMissing, plain("l"));
        EXPECT_EQ(kMissing, perm("k"));
        EXPECT_EQ(kMissing, def("d"));
    }
    expect_done(everywhere("1"));
}

/* ---- files that can't be emptied ---- */

TEST_F(DatabaseBatch, WhoseFileCantBeEmptiedIsDoneAndTheNextChangeTriesAgain) {
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    expect_done(everywhere("1"));
    EXPECT_EQ(2007, database_->set(P, "k", "later"));
    EXPECT_EQ(2007, apply(everywhere("2")));
    expect_everywhere("1");
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "later"));
    restart();
    EXPECT_EQ("later", plain("k"));
}

TEST_F(DatabaseBatch, ThatCantBeTakenBackIsWholeAfterAKill) {
    take_writes(2);
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(6, apply(everywhere("1")));
    EXPECT_EQ(kMissing, plain("k"));
    end_faults();
    restart();
    expect_everywhere("1");
}

TEST_F(DatabaseBatch, ThatCouldNotBeTakenBackGoesWithTheNextChange) {
    take_writes(2);
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(6, apply(everywhere("1")));
    doubles::libc::write.restore();
    EXPECT_EQ(2007, database_->set(P, "other", "1"));
    end_faults();
    EXPECT_EQ(0, database_->set(P, "other", "1"));
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ("1", plain("other"));
}

/* ---- recovery that fails ---- */

TEST_F(DatabaseBatch, IsAnsweredFromMemoryWhileTheJournalsCantTakeIt) {
    put_file(kBatchFile, "P+k=1\nP+l=1\nM+k=1\nF+d=1\n=4\n");
    take_writes(0);
    restart();
    expect_everywhere("1");
    EXPECT_EQ(6, database_->set(P, "k", "2"));
    end_faults();
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    EXPECT_EQ("", content_of(kBatchFile));
    restart();
    EXPECT_EQ("2", plain("k"));
    EXPECT_EQ("1", plain("l"));
}

TEST_F(DatabaseBatch, ThatCantBeReadAtTheStartRefusesChangesUntilItCan) {
    put_file(kBatchFile, "P+k=1\nP+l=1\nM+k=1\nF+d=1\n=4\n");
    fail_open(kBatchFile, EIO);
    restart();
    EXPECT_EQ(2007, database_->set(P, "k", "2"));
    EXPECT_EQ(2007, apply(everywhere("2")));
    end_faults();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ(0, database_->set(P, "k", "2"));
    EXPECT_EQ("2", plain("k"));
}

TEST_F(DatabaseBatch, WhoseReadFailsAtTheStartIsReadAgain) {
    put_file(kBatchFile, "P+k=1\nM+k=1\n=2\n");
    doubles::libc::read.stand_in([](int fd, void *data, size_t size) -> ssize_t {
        const std::string path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd));
        if (path == kBatchFile) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::read.real(fd, data, size);
    });
    restart();
    EXPECT_EQ(kMissing, plain("k"));
    end_faults();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("1", perm("k"));
}

/* ---- saves and long journals ---- */

TEST_F(DatabaseBatch, IsWholeInEachStoresFileAfterASave) {
    expect_done(everywhere("1"));
    ASSERT_EQ(0, database_->save());
    cut_power();
    EXPECT_EQ("1", plain("k"));
    EXPECT_EQ("1", plain("l"));
    EXPECT_EQ("1", perm("k"));
}

TEST_F(DatabaseBatch, ShortensAnOvergrownJournal) {
    const std::string value(1000, 'v');
    for (int i = 0; i < 400; ++i) {
        expect_done({set(P, "a", value + std::to_string(i)), set(P, "b", value + std::to_string(i))});
    }
    EXPECT_LT(journals().size(), 400u * 1024);
}
