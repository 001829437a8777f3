/*
 * A reset that can't be saved is refused: it would empty the settings of the running device, and the next
 * start would bring them back.
 */
#include <gtest/gtest.h>

#include <string>

#include "unit/zndb/database_fixture.h"

namespace {

class DatabaseReset : public DatabaseFixture {
  protected:
    void SetUp() override {
        DatabaseFixture::SetUp();
        database_->set(P, "k", "v");
        log_.clear();
    }

    /* Files have an attribute more. */
    static void give_attribute(uint64_t attribute) {
        doubles::libc::statx.stand_in(
            [attribute](int folder, const char *path, int flags, unsigned mask, struct ::statx *found) {
                const int result = doubles::libc::statx.real(folder, path, flags, mask, found);
                found->stx_attributes |= attribute;
                return result;
            });
    }

    /* Expects a refusal that changes nothing, leaves nothing and has one line in the log. */
    void expect_refused(int32_t result, int error) {
        EXPECT_EQ(result, database_->reset());
        end_faults();
        EXPECT_EQ("v", plain("k"));
        EXPECT_EQ("P+k=v\n", journals());
        EXPECT_FALSE(exists(kPlainFile + ".tmp"));
        ASSERT_EQ(1u, warnings(log_).size()) << log_.text();
        EXPECT_EQ(0u, warnings(log_)[0].find("reset refused, since it could not be saved: can't replace " +
                                             kPlainFile + " errno=" + std::to_string(error)))
            << log_.text();
    }
};

TEST_F(DatabaseReset, EmptiesThePlainStoreAndLeavesNothingBesideItsFile) {
    put_file(kPlainFile, "k=v\n");
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(kMissing, plain("k"));
    EXPECT_EQ("k=v\n", content_of(kPlainFile));
    EXPECT_FALSE(exists(kPlainFile + ".tmp"));
    EXPECT_TRUE(warnings(log_).empty()) << log_.text();
}

TEST_F(DatabaseReset, IsRefusedOnAReadOnlyFlash) {
    fail_open(kPlainFile + ".tmp", EROFS);
    expect_refused(2006, EROFS);
}

TEST_F(DatabaseReset, IsRefusedOnAFullDisk) {
    fail_open(kPlainFile + ".tmp", ENOSPC);
    expect_refused(6, ENOSPC);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFoldersCantBeMade) {
    std::filesystem::remove_all("/m_data/usr/db");
    doubles::libc::mkdir.stand_in([](const char *, mode_t) {
        errno = EACCES;
        return -1;
    });
    expect_refused(2006, EACCES);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFileIsAFolder) {
    std::filesystem::create_directories(kPlainFile);
    expect_refused(2007, EISDIR);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFileIsMounted) {
    put_file(kPlainFile, "");
    give_attribute(STATX_ATTR_MOUNT_ROOT);
    expect_refused(2007, EBUSY);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFileIsImmutable) {
    for (const uint64_t attribute : {uint64_t{STATX_ATTR_IMMUTABLE}, uint64_t{STATX_ATTR_APPEND}}) {
        log_.clear();
        put_file(kPlainFile, "");
        give_attribute(attribute);
        expect_refused(2006, EPERM);
    }
}

TEST_F(DatabaseReset, IsRefusedWhereTheNameOfTheFileCantBeRemoved) {
    put_file(kPlainFile, "");
    doubles::libc::rmdir.stand_in([](const char *) {
        errno = EPERM;
        return -1;
    });
    expect_refused(2006, EPERM);
}

TEST_F(DatabaseReset, IsRefusedWhereTheTemporaryFileCantBeRemoved) {
    unsigned removals = 0;
    doubles::libc::unlinkat.stand_in([&removals](int folder, const char *path, int flags) {
        if (++removals == 2) { /* the first one is of a leftover */
            errno = EPERM;
            return -1;
        }
        return doubles::libc::unlinkat.real(folder, path, flags);
    });
    expect_refused(2006, EPERM);
}

TEST_F(DatabaseReset, IsRefusedWhereTheNewFileCantBeSynced) {
    std::filesystem::create_directories("/m_data/usr/db");
    doubles::libc::fsync.stand_in([](int fd) {
        struct stat info = {};
        if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode)) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::fsync.real(fd);
    });
    expect_refused(2007, EIO);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFolderCantBeSynced) {
    std::filesystem::create_directories("/m_data/usr/db");
    fail_folder_sync();
    expect_refused(2007, EIO);
}

TEST_F(DatabaseReset, IsRefusedWhereTheFoldersAboveCantBeSynced) {
    std::filesystem::create_directories("/m_data/usr/db");
    fail_open("/m_data", EIO);
    expect_refused(2007, EIO);
}

/* From now on the disk takes nothing while there is a file. */
void fill_disk_with(const std::string &path) {
    doubles::libc::write.stand_in([path](int fd, const void *data, size_t size) -> ssize_t {
        if (exists(path)) {
            errno = ENOSPC;
            return -1;
        }
        return doubles::libc::write.real(fd, data, size);
    });
}

/* The save makes room itself: it gives the file before the last save up. */
TEST_F(DatabaseReset, IsDoneOnAFullDiskWithAPreviousFile) {
    const std::string previous = kPlainFile + ".previous";
    EXPECT_EQ(0, database_->save());
    put_file(previous, "k=older\n");
    fill_disk_with(previous);
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
    EXPECT_TRUE(log_.contains("the disk is full: " + previous + " was removed to save " + kPlainFile))
        << log_.text();
}

TEST_F(DatabaseReset, IsRefusedOnAFullDiskWithoutAPreviousFile) {
    fill_disk_of("/m_data/usr/db");
    expect_refused(6, ENOSPC);
}

TEST_F(DatabaseReset, IsDoneOnceTheFileCanBeReplaced) {
    fail_open(kPlainFile + ".tmp", EROFS);
    EXPECT_EQ(2006, database_->reset());
    end_faults();
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(kMissing, plain("k"));
}

TEST_F(DatabaseReset, IsDoneWhereThePermFileCantBeReplaced) {
    database_->set(M, "k", "v");
    fail_open(kPermFile + ".tmp", EROFS);
    EXPECT_EQ(0, database_->reset());
    EXPECT_EQ(0, database_->save());
    EXPECT_EQ("", saved_lines(kPlainFile));
}

}  // namespace
