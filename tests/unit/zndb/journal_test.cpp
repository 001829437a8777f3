#include "journal.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "unit/zndb/zndb_files.h"

namespace {

using Change = JournalRecord::Change;

const std::string kFolder = "/tmp/m_tmp/zndb";
const std::string kPath = kFolder + "/journal.plain";
const std::string kTemporary = kPath + ".tmp";

const JournalRecord kSetA = {StoreId::kPlain, Change::kSet, "a", "1"};
const JournalRecord kSetB = {StoreId::kPlain, Change::kSet, "b", "2"};

class JournalTest : public DiskTest {
  protected:
    void SetUp() override { std::filesystem::remove_all(kFolder); }

    /* Opens a journal; the records that it hands out are in replayed_, as lines. */
    int open(Journal &journal) {
        return journal.open([this](const JournalRecord &record) { replayed_ += format_record(record); });
    }

    static int rewrite(Journal &journal, const std::vector<JournalRecord> &records) {
        uint64_t size = 0;
        for (const JournalRecord &record : records) {
            size += record_size(record);
        }
        return journal.rewrite(
            [&records](const Journal::Replay &add) { std::for_each(records.begin(), records.end(), add); },
            size);
    }

    std::string replayed_;
};

/* ---- Opening --------------------------------------------------------------------------------------- */

TEST_F(JournalTest, MakesItsFolderAndAFileThatOnlyTheOwnerReads) {
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("", content_of(kPath));
    EXPECT_EQ(0600u, mode_of(kPath));
    EXPECT_EQ("", replayed_);
    EXPECT_EQ(0u, doubles::libc::system.calls());
}

TEST_F(JournalTest, HandsOutWhatItSaysInTheEnd) {
    put_file(kPath, "P+a=1\nP-b\nP!\nP+a=2\nP+c= = \nP-d\nP+a=3\n");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P!\nP+a=3\nP+c= = \nP-d\n", replayed_);
}

TEST_F(JournalTest, ARecordOfAnotherStoreIsReportedAndPassedOver) {
    put_file(kPath, "M+a=1\nP+b=2\n");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+b=2\n", replayed_);
    EXPECT_EQ(std::vector<std::string>{kPath + " line 1 skipped: it is of another store"}, warnings(log_));
}

TEST_F(JournalTest, OpeningTwiceHandsOutOnce) {
    put_file(kPath, "P+a=1\n");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\n", replayed_);
}

TEST_F(JournalTest, ADamagedLineIsReportedAndPassedOver) {
    put_file(kPath, "P+a=1\nrubbish\nP+k=" + std::string(5000, 'v') + "\nP+b=2\n");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\nP+b=2\n", replayed_);
    EXPECT_EQ((std::vector<std::string>{kPath + " line 2 skipped: store or change is unknown",
                                        kPath + " line 3 skipped: it is too long"}),
              warnings(log_));
}

TEST_F(JournalTest, OfRubbishTheFirstLinesAreReportedSinglyAndTheOthersCounted) {
    std::string content;
    for (int i = 0; i < 1000; ++i) {
        content += "rubbish " + std::to_string(i) + "\n";
    }
    put_file(kPath, "P+a=1\n" + content + "P+b=2\n");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\nP+b=2\n", replayed_);
    EXPECT_EQ(21u, warnings(log_).size());
    EXPECT_TRUE(log_.contains(kPath + " line 21 skipped")) << log_.text();
    EXPECT_TRUE(log_.contains(kPath + ": 980 more lines skipped")) << log_.text();
}

TEST_F(JournalTest, ATornLastLineIsDroppedAndCutOffBeforeTheNextRecord) {
    put_file(kPath, "P+a=1\nP+b=tor");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\n", replayed_);
    EXPECT_EQ((std::vector<std::string>{kPath + ": the last line was cut off and is dropped"}),
              warnings(log_));
    EXPECT_EQ(0, journal.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(JournalTest, ALineWithoutItsEndIsTornHoweverWholeItLooks) {
    put_file(kPath, "P+a=1");
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("", replayed_);
    EXPECT_EQ(0, journal.append(kSetB));
    EXPECT_EQ("P+b=2\n", content_of(kPath));
}

TEST_F(JournalTest, AFileThatCantBeOpenedIsReportedAndTriedAgain) {
    put_file(kPath, "P+a=1\n");
    fail_open(kPath, EMFILE);
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EMFILE, open(journal));
    EXPECT_TRUE(log_.contains("can't open " + kPath + " errno=24")) << log_.text();
    end_faults();
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\n", replayed_);
}

TEST_F(JournalTest, AFailedReadIsReportedAndTriedAgain) {
    put_file(kPath, "P+a=1\n");
    doubles::libc::read.stand_in([](int, void *, size_t) -> ssize_t {
        errno = EIO;
        return -1;
    });
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EIO, open(journal));
    doubles::libc::read.restore();
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\n", replayed_);
}

TEST_F(JournalTest, OfAJournalThatIsReadHalfWayNothingIsHandedOut) {
    put_file(kPath, "P+a=1\nrubbish\n" + some_blocks_of_records() + "P+a=2\n");
    fail_read_behind(10000);
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EIO, open(journal));
    EXPECT_EQ(EIO, open(journal));
    EXPECT_EQ("", replayed_);
    doubles::libc::read.restore();
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=2\nP+other=" + std::string(1000, 'o') + "\n", replayed_);
}

TEST_F(JournalTest, AFolderInItsPlaceIsAnError) {
    std::filesystem::create_directories(kPath);
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EISDIR, open(journal));
}

TEST_F(JournalTest, APipeInItsPlaceIsAnError) {
    std::filesystem::create_directories(kFolder);
    ASSERT_EQ(0, ::mkfifo(kPath.c_str(), 0600));
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EINVAL, open(journal));
}

TEST_F(JournalTest, ALinkInItsPlaceIsNotFollowed) {
    const std::string victim = "/tmp/m_tmp/victim";
    put_file(victim, "precious");
    std::filesystem::create_directories(kFolder);
    ASSERT_EQ(0, ::symlink(victim.c_str(), kPath.c_str()));
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(ELOOP, open(journal));
    EXPECT_EQ("precious", content_of(victim));
}

TEST_F(JournalTest, AFileWithASecondNameIsSetAside) {
    put_file(kFolder + "/other", "P+a=1\n");
    ASSERT_EQ(0, ::link((kFolder + "/other").c_str(), kPath.c_str()));
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("", replayed_);
    EXPECT_EQ(0, journal.append(kSetB));
    EXPECT_EQ("P+a=1\n", content_of(kFolder + "/other"));
    EXPECT_EQ(1u, log_.count(kPath + " was not ours")) << log_.text();
}

TEST_F(JournalTest, AFileWithASecondNameThatStaysIsRefused) {
    put_file(kFolder + "/other", "P+a=1\n");
    ASSERT_EQ(0, ::link((kFolder + "/other").c_str(), kPath.c_str()));
    doubles::libc::rename.stand_in([](const char *, const char *) {
        errno = EROFS;
        return -1;
    });
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EPERM, open(journal));
    EXPECT_EQ("", replayed_);
    doubles::libc::rename.restore();
    EXPECT_EQ(1u, log_.count("can't be set aside! errno=30")) << log_.text();
}

TEST_F(JournalTest, FolderAndFileThatWereOpenToAllAreNarrowed) {
    put_file(kPath, "P+a=1\n");
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 0777));
    ASSERT_EQ(0, ::chmod(kPath.c_str(), 0666));
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(journal));
    EXPECT_EQ("P+a=1\n", replayed_);
    EXPECT_EQ(0755u, mode_of(kFolder));
    EXPECT_EQ(0600u, mode_of(kPath));
}

TEST_F(JournalTest, AFolderThatCanNotBeNarrowedIsAnError) {
    put_file(kPath, "P+a=1\n");
    ASSERT_EQ(0, ::chmod(kFolder.c_str(), 0777));
    doubles::libc::fchmod.stand_in([](int, mode_t) {
        errno = EROFS;
        return -1;
    });
    Journal journal(kPath, StoreId::kPlain);
    EXPECT_EQ(EROFS, open(journal));
    doubles::libc::fchmod.restore();
    EXPECT_EQ(0, open(journal));
}

/* ---- Appending ------------------------------------------------------------------------------------- */

class OpenJournal : public JournalTest {
  protected:
    void SetUp() override {
        JournalTest::SetUp();
        ASSERT_EQ(0, open(journal_));
        ASSERT_EQ(0, journal_.append(kSetA));
    }

    Journal journal_{kPath, StoreId::kPlain};
};

TEST_F(OpenJournal, EachRecordIsOneWriteToTheFilesEnd) {
    EXPECT_EQ(1u, doubles::libc::write.calls());
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ(2u, doubles::libc::write.calls());
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, TheFileIsOpenForAppending) {
    int seen = 0;
    doubles::libc::open.stand_in([&seen](const char *path, int flags, mode_t mode) {
        seen = flags;
        return doubles::libc::open.real(path, flags, mode);
    });
    Journal other(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(other));
    EXPECT_NE(0, seen & O_APPEND);
    EXPECT_NE(0, seen & O_CLOEXEC);
}

TEST_F(OpenJournal, ARecordOutlivesTheProcessThatWroteIt) {
    Journal next(kPath, StoreId::kPlain);
    EXPECT_EQ(0, open(next));
    EXPECT_EQ("P+a=1\n", replayed_);
}

TEST_F(OpenJournal, AFullDiskRefusesTheRecordAndKeepsNoHalfLine) {
    limit_disk(3);
    EXPECT_EQ(ENOSPC, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\n", content_of(kPath));
    EXPECT_TRUE(log_.contains("can't write " + kPath + " errno=28")) << log_.text();
    end_faults();
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, AHalfLineThatCantBeCutOffIsCutBeforeTheNextRecord) {
    limit_disk(3);
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(ENOSPC, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b", content_of(kPath));
    doubles::libc::write.restore();
    EXPECT_EQ(EIO, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b", content_of(kPath));
    doubles::libc::ftruncate.restore();
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, ARecordInTwoShortWritesIsWhole) {
    doubles::libc::write.stand_in([](int fd, const void *data, size_t size) {
        return doubles::libc::write.real(fd, data, (size + 1) / 2);
    });
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, NoLogLineHoldsAValue) {
    limit_disk(0);
    EXPECT_EQ(ENOSPC, journal_.append({StoreId::kPlain, Change::kSet, "k", "secret"}));
    EXPECT_FALSE(log_.contains("secret"));
}

/* ---- Rewriting ------------------------------------------------------------------------------------- */

TEST_F(OpenJournal, RewritingReplacesAllRecords) {
    EXPECT_EQ(0, rewrite(journal_, {kSetB}));
    EXPECT_EQ("P+b=2\n", content_of(kPath));
    EXPECT_EQ(0600u, mode_of(kPath));
    EXPECT_FALSE(exists(kTemporary));
}

TEST_F(OpenJournal, RecordsGoToTheRewrittenFile) {
    EXPECT_EQ(0, rewrite(journal_, {kSetB}));
    EXPECT_EQ(0, journal_.append(kSetA));
    EXPECT_EQ("P+b=2\nP+a=1\n", content_of(kPath));
}

TEST_F(OpenJournal, AFailedRewriteLeavesTheJournalAsItWas) {
    fail_rename(EIO);
    EXPECT_EQ(EIO, rewrite(journal_, {kSetB}));
    EXPECT_TRUE(log_.contains("can't rewrite " + kPath)) << log_.text();
    EXPECT_EQ("P+a=1\n", content_of(kPath));
    EXPECT_FALSE(exists(kTemporary));
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ("P+a=1\nP+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, AFullDiskLeavesTheJournalAsItWas) {
    limit_disk(2);
    EXPECT_EQ(ENOSPC, rewrite(journal_, {kSetB}));
    EXPECT_EQ("P+a=1\n", content_of(kPath));
    EXPECT_FALSE(exists(kTemporary));
}

TEST_F(OpenJournal, EmptyingTakesNoRoom) {
    limit_disk(0);
    EXPECT_EQ(0, rewrite(journal_, {}));
    EXPECT_EQ("", content_of(kPath));
    end_faults();
    EXPECT_EQ(0, journal_.append(kSetB));
    EXPECT_EQ("P+b=2\n", content_of(kPath));
}

TEST_F(OpenJournal, EmptyingTwiceIsDoneOnce) {
    doubles::libc::ftruncate.forget_calls();
    EXPECT_EQ(0, rewrite(journal_, {}));
    EXPECT_EQ(0, rewrite(journal_, {}));
    EXPECT_EQ(1u, doubles::libc::ftruncate.calls());
}

TEST_F(OpenJournal, AFailedEmptyingLeavesTheJournalAsItWas) {
    doubles::libc::ftruncate.stand_in([](int, off_t) {
        errno = EIO;
        return -1;
    });
    EXPECT_EQ(EIO, rewrite(journal_, {}));
    EXPECT_EQ("P+a=1\n", content_of(kPath));
}

/* ---- When it is looked at -------------------------------------------------------------------------- */

class GrowingJournal : public OpenJournal {
  protected:
    /* Adds records until it is overgrown. Returns by how much it has grown. */
    uint64_t grow() {
        const std::string value(1000, 'v');
        const uint64_t before = journal_.size();
        while (!journal_.overgrown()) {
            EXPECT_EQ(0, journal_.append({StoreId::kPlain, Change::kSet, "k", value}));
        }
        EXPECT_EQ(std::filesystem::file_size(kPath), journal_.size());
        return journal_.size() - before;
    }
};

constexpr uint64_t kOneRecord = 1010;

TEST_F(GrowingJournal, IsOvergrownAboveALimit) {
    (void)grow();
    EXPECT_GT(journal_.size(), kJournalSmall);
    EXPECT_LE(journal_.size(), kJournalSmall + kOneRecord);
}

TEST_F(GrowingJournal, IsLookedAtAgainWhenItHasGrownByTheLimitOrByAQuarter) {
    for (int looks = 0; looks < 12; ++looks) {
        (void)grow();
        const uint64_t step = std::max(kJournalSmall, journal_.size() / 4);
        journal_.postpone();
        EXPECT_FALSE(journal_.overgrown());
        const uint64_t grown = grow();
        EXPECT_GT(grown, step);
        EXPECT_LE(grown, step + kOneRecord);
    }
    EXPECT_GT(journal_.size(), 8 * kJournalSmall) << "a quarter is more than the limit by now";
}

TEST_F(GrowingJournal, IsNotRewrittenAllTheTimeWhereThatFails) {
    (void)grow();
    fail_rename(EIO);
    EXPECT_EQ(EIO, rewrite(journal_, {kSetB}));
    EXPECT_FALSE(journal_.overgrown());
}

TEST_F(GrowingJournal, AfterARewriteItMayGrowFromItsNewSize) {
    (void)grow();
    EXPECT_EQ(0, rewrite(journal_, {kSetB}));
    EXPECT_EQ(6u, journal_.size());
    EXPECT_GT(grow(), kJournalSmall);
}

}  // namespace
