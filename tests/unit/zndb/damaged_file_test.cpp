#include "damaged_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "unit/zndb/zndb_files.h"

namespace {

const std::string kFolder = "/m_data/usr/damaged";
const std::string kPath = kFolder + "/data.txt";
const std::string kNoon = kPath + ".damaged-20240229-120000";
constexpr time_t kNoonSeconds = 1709208000;

using Names = std::vector<std::string>;

class DamagedFile : public DiskTest {
  protected:
    void SetUp() override {
        std::filesystem::remove_all(kFolder);
        put_file(kPath, "rubbish\n");
        ::setenv("TZ", "UTC", 1);
        ::tzset();
        set_clock(kNoonSeconds);
    }
    ~DamagedFile() override { doubles::base::os_gettimeofday.restore(); }

    static void set_clock(time_t seconds) {
        doubles::base::os_gettimeofday.stand_in([seconds](timeval *now) {
            *now = {seconds, 0};
            return 0;
        });
    }

    /* Expects that nothing is kept, and nothing left. */
    static void expect_refused(int error) {
        std::string kept = "untouched";
        EXPECT_EQ(error, keep_damaged(kPath, kept));
        end_faults();
        EXPECT_EQ("untouched", kept);
        EXPECT_EQ((Names{kPath}), files_beginning(kPath));
        EXPECT_EQ("rubbish\n", content_of(kPath));
    }
};

TEST_F(DamagedFile, IsKeptUnderTheTime) {
    std::string kept;
    EXPECT_EQ(0, keep_damaged(kPath, kept));
    EXPECT_EQ(kNoon, kept);
    EXPECT_TRUE(std::filesystem::equivalent(kPath, kNoon)) << "it is the file itself";
}

TEST_F(DamagedFile, OthersOfTheSameSecondAreNumbered) {
    std::string kept;
    for (const char *end : {"", "-2", "-3"}) {
        EXPECT_EQ(0, keep_damaged(kPath, kept));
        EXPECT_EQ(kNoon + end, kept);
    }
}

TEST_F(DamagedFile, NoMoreOfOneSecondAreKeptThanCanBeTried) {
    fail_link(EEXIST);
    expect_refused(EEXIST);
}

TEST_F(DamagedFile, AFileThatIsGoneIsNoFailure) {
    std::filesystem::remove(kPath);
    std::string kept = "untouched";
    EXPECT_EQ(0, keep_damaged(kPath, kept));
    EXPECT_EQ("untouched", kept);
}

/* ---- Where a file has one name only ---------------------------------------------------------------- */

TEST_F(DamagedFile, WithoutLinksACopyIsKeptThatIsOnTheDisk) {
    const std::string large(100000, 'x');
    put_file(kPath, large);
    fail_link(EPERM);
    doubles::libc::fsync.forget_calls();
    std::string kept;
    EXPECT_EQ(0, keep_damaged(kPath, kept));
    EXPECT_EQ(kNoon, kept);
    EXPECT_TRUE(large == content_of(kNoon));
    EXPECT_EQ(0600u, mode_of(kNoon));
    EXPECT_EQ(1u, doubles::libc::fsync.calls());
}

TEST_F(DamagedFile, ACopyGoesOnAfterASignal) {
    fail_link(EPERM);
    doubles::libc::read.forget_calls();
    doubles::libc::read.stand_in([](int fd, void *data, size_t size) -> ssize_t {
        if (doubles::libc::read.calls() == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, data, size);
    });
    std::string kept;
    EXPECT_EQ(0, keep_damaged(kPath, kept));
    end_faults();
    EXPECT_EQ("rubbish\n", content_of(kNoon));
}

TEST_F(DamagedFile, ACopyThatDoesNotFitIsRemoved) {
    fail_link(EPERM);
    limit_disk(3);
    expect_refused(ENOSPC);
}

TEST_F(DamagedFile, ACopyThatCantBeReadToItsEndIsRemoved) {
    fail_link(EPERM);
    fail_read_behind(0);
    expect_refused(EIO);
}

TEST_F(DamagedFile, ACopyThatCantBeSyncedIsRemoved) {
    fail_link(EPERM);
    doubles::libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    expect_refused(EIO);
}

TEST_F(DamagedFile, ACopyThatCantBeOpenedAtEitherEndIsNone) {
    for (const std::string &path : {kPath, kNoon}) {
        fail_link(EPERM);
        fail_open(path, EMFILE);
        expect_refused(EMFILE);
    }
}

/* ---- How many -------------------------------------------------------------------------------------- */

TEST_F(DamagedFile, OnlyTheNewestAreKept) {
    Names kept;
    for (time_t day = 0; day < 6; ++day) {
        set_clock(kNoonSeconds + day * 24 * 3600);
        kept.emplace_back();
        EXPECT_EQ(0, keep_damaged(kPath, kept.back()));
        forget_old_damaged(kPath, kept.back());
    }
    EXPECT_EQ((Names(kept.end() - kDamagedFilesKept, kept.end())), files_beginning(kPath + "."));
    EXPECT_TRUE(log_.contains(kNoon + " removed, since there are newer ones")) << log_.text();
}

TEST_F(DamagedFile, OfOneSecondTheHighestNumbersAreTheNewest) {
    for (const char *end : {"", "-2", "-9", "-10", "-11"}) {
        put_file(kNoon + end, "");
    }
    forget_old_damaged(kPath, kNoon + "-11");
    EXPECT_EQ((Names{kNoon + "-10", kNoon + "-11", kNoon + "-2", kNoon + "-9"}),
              files_beginning(kPath + "."));
}

/* The clock of a device may begin in 1970 at each start. */
TEST_F(DamagedFile, TheOneThatWasJustKeptStaysHoweverOldItsNameIs) {
    const std::string old = kPath + ".damaged-19700101-000005";
    for (const std::string &name : {kNoon, kNoon + "-2", kNoon + "-3", kNoon + "-4", old}) {
        put_file(name, "");
    }
    forget_old_damaged(kPath, old);
    EXPECT_EQ((Names{old, kNoon + "-2", kNoon + "-3", kNoon + "-4"}), files_beginning(kPath + "."));
}

TEST_F(DamagedFile, FilesWithOtherNamesAreLeftAlone) {
    const Names others = {kPath + ".damaged-", kPath + ".damaged-by hand, look", kPath + ".damaged-2024",
                          kFolder + "/other.damaged-19700101-000000"};
    for (const std::string &name : others) {
        put_file(name, "");
    }
    for (const char *end : {"", "-2", "-3", "-4", "-5"}) {
        put_file(kNoon + end, "");
    }
    forget_old_damaged(kPath, kNoon + "-5");
    EXPECT_EQ(4u, files_beginning(kNoon).size());
    for (const std::string &name : others) {
        EXPECT_TRUE(exists(name)) << name;
    }
}

TEST_F(DamagedFile, WhatCantBeRemovedStays) {
    for (const char *end : {"", "-2", "-3", "-4", "-5"}) {
        std::filesystem::create_directories(kNoon + end);
    }
    forget_old_damaged(kPath, kNoon + "-5");
    EXPECT_EQ(5u, files_beginning(kNoon).size());
    forget_old_damaged("/no folder/data.txt", "");
    EXPECT_EQ("", log_.text());
}

}  // namespace
