#include "store_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "unit/zndb/zndb_files.h"

namespace {

const std::string kFolder = "/m_data/usr/db";
const std::string kPath = kFolder + "/user_data.txt";
const std::string kTemporary = kPath + ".tmp";

class StoreFile : public DiskTest {
  protected:
    void SetUp() override { std::filesystem::remove_all(kFolder); }

    Store loaded(const std::string &content) {
        put_file(kPath, content);
        Store store;
        const LoadedFile loaded = load_store(kPath, store);
        error_ = loaded.error;
        lines_ = loaded.lines;
        return store;
    }

    static SavedFile save(const Store &store, const std::string &path = kPath,
                          Folders folders = Folders::kPerhapsNew) {
        return save_store(path, text_of_store(store, 5), folders, OldFile::kBecomesPrevious);
    }

    int error_ = -1;
    Lines lines_ = Lines::kAllTaken;
};

using Values = Store::Values;

/* ---- Loading --------------------------------------------------------------------------------------- */

TEST_F(StoreFile, AMissingFileIsAnEmptyStore) {
    Store store;
    EXPECT_EQ(0, load_store(kPath, store).error);
    EXPECT_TRUE(store.values().empty());
    EXPECT_EQ("", log_.text());
}

TEST_F(StoreFile, LoadsLinesOfKeyAndValue) {
    const Store store = loaded("a=1\nb=two words\n");
    EXPECT_EQ((Values{{"a", "1"}, {"b", "two words"}}), store.values());
    EXPECT_FALSE(store.changed());
    EXPECT_EQ(0, error_);
}

TEST_F(StoreFile, SkipsCommentsAndEmptyLinesSilently) {
    EXPECT_EQ((Values{{"a", "1"}}), loaded("# a comment\n\n#b=2\n\r\na=1\n").values());
    EXPECT_EQ("", log_.text());
    EXPECT_EQ(Lines::kAllTaken, lines_);
}

/* A restore of a backup would end at the NUL, and take what follows the CR for a setting. */
TEST_F(StoreFile, ACommentThatARestoreWouldNotPassIsDamage) {
    const std::string content = std::string("#a\0b\n", 5) + "#c\rd=1\n#e\r\na=1\n";
    EXPECT_EQ((Values{{"a", "1"}}), loaded(content).values());
    EXPECT_EQ(Lines::kSomeSkipped, lines_);
    EXPECT_EQ((std::vector<std::string>{
                  kPath + " line 1 skipped: the comment holds a CR or NUL",
                  kPath + " line 2 skipped: the comment holds a CR or NUL",
              }),
              warnings(log_));
}

TEST_F(StoreFile, ALongCommentIsAComment) {
    for (const char *end : {"\n", "\r\n"}) {
        EXPECT_EQ((Values{{"a", "1"}}), loaded("#" + std::string(5000, 'x') + end + "a=1\n").values());
    }
    EXPECT_EQ("", log_.text());
    EXPECT_EQ(Lines::kAllTaken, lines_);
}

TEST_F(StoreFile, ALongCommentThatARestoreWouldNotPassIsDamage) {
    for (const size_t length : {1086u, 1087u, 1088u, 70000u}) {
        for (const std::string &rest : {std::string("\re=1"), std::string("\0", 1)}) {
            EXPECT_EQ((Values{{"a", "1"}}),
                      loaded("#" + std::string(length, 'x') + rest + "\na=1\n").values());
            EXPECT_EQ(Lines::kSomeSkipped, lines_) << length;
        }
    }
    EXPECT_EQ(kPath + " line 1 skipped: the comment holds a CR or NUL", warnings(log_).back());
}

/* A restore would find no "=" there, and stop. */
TEST_F(StoreFile, AnEmptyFirstLineIsDamage) {
    for (const char *line : {"\n", "\r\n"}) {
        EXPECT_EQ((Values{{"a", "1"}}), loaded(std::string(line) + "a=1\n").values());
        EXPECT_EQ(Lines::kSomeSkipped, lines_);
    }
    EXPECT_EQ(kPath + " line 1 skipped: the file begins with an empty line", warnings(log_).back());
}

TEST_F(StoreFile, KeepsBlanksAndEqualsSignsOfAValue) {
    EXPECT_EQ((Values{{"a", "  1 "}, {"b", "x=y="}, {"c", ""}}), loaded("a=  1 \nb=x=y=\nc=\n").values());
}

TEST_F(StoreFile, DropsACrBeforeTheLineEnd) {
    EXPECT_EQ((Values{{"a", "1"}, {"b", "2"}}), loaded("a=1\r\nb=2\r\n").values());
}

TEST_F(StoreFile, TakesALastLineWithoutALineEnd) {
    EXPECT_EQ((Values{{"a", "1"}, {"b", "2"}}), loaded("a=1\nb=2").values());
}

TEST_F(StoreFile, TheLastOfTwoEqualKeysHolds) {
    EXPECT_EQ((Values{{"a", "2"}}), loaded("a=1\na=2\n").values());
}

TEST_F(StoreFile, TheLongestKeyAndValueAreTaken) {
    const std::string key(31, 'k');
    const std::string value(1023, 'v');
    EXPECT_EQ((Values{{key, value}}), loaded(key + "=" + value + "\r\n").values());
}

TEST_F(StoreFile, ADamagedLineIsReportedWithItsNumberAndTheRestIsKept) {
    const std::string content = "a=1\nno sign\n=v\n b=2\nc\rd=3\n" + std::string(32, 'k') +
                                "=v\nl=" + std::string(1024, 'v') + "\n" + std::string("n\0=v", 4) +
                                "\nz=9\n";
    EXPECT_EQ((Values{{"a", "1"}, {"z", "9"}}), loaded(content).values());
    EXPECT_EQ(0, error_);
    EXPECT_EQ(Lines::kSomeSkipped, lines_);
    EXPECT_EQ((std::vector<std::string>{
                  kPath + " line 2 skipped: there is no '='",
                  kPath + " line 3 skipped: the key is empty",
                  kPath + " line 4 skipped: the key begins with '#' or a blank",
                  kPath + " line 5 skipped: the key holds a CR, LF or NUL",
                  kPath + " line 6 skipped: the key is too long",
                  kPath + " line 7 skipped: the value is too long",
                  kPath + " line 8 skipped: the key holds a CR, LF or NUL",
              }),
              warnings(log_));
}

TEST_F(StoreFile, ALineThatFitsNowhereIsSkipped) {
    EXPECT_EQ((Values{{"a", "1"}}), loaded("k=" + std::string(100000, 'v') + "\na=1\n").values());
    EXPECT_EQ((std::vector<std::string>{kPath + " line 1 skipped: it is too long"}), warnings(log_));
}

TEST_F(StoreFile, ALineOf100MegabytesTakesNoMemory) {
    put_file(kPath, "a=1\nk=");
    ASSERT_EQ(0, ::truncate(kPath.c_str(), 100 * 1024 * 1024));
    std::ofstream(kPath, std::ios::app) << "\nb=2\n";
    Store store;
    EXPECT_EQ(0, load_store(kPath, store).error);
    EXPECT_EQ((Values{{"a", "1"}, {"b", "2"}}), store.values());
}

TEST_F(StoreFile, ABinaryFileIsSurvivedAndDoesNotFloodTheLog) {
    std::string rubbish;
    for (unsigned i = 0; i < 100000; ++i) {
        rubbish += static_cast<char>(i * 2654435761u >> 24);
    }
    (void)loaded(rubbish + std::string(1000, '\n') + "x\nx\nx\n");
    EXPECT_EQ(0, error_);
    EXPECT_LE(warnings(log_).size(), 21u);
    EXPECT_TRUE(log_.contains("more lines skipped"));
}

TEST_F(StoreFile, AFileWithMoreKeysThanAStoreHoldsCountsAsUnread) {
    std::string content;
    for (size_t i = 0; i <= kStoreKeysMax; ++i) {
        content += std::to_string(i) + "=\n";
    }
    EXPECT_EQ(kStoreKeysMax, loaded(content).values().size());
    EXPECT_EQ(EOVERFLOW, error_);
    EXPECT_EQ((std::vector<std::string>{
                  kPath + " line 16385 skipped: the store is full",
                  "can't read " + kPath + " errno=75, cause: Value too large for defined data type"}),
              warnings(log_));
}

TEST_F(StoreFile, AFolderInItsPlaceIsReported) {
    std::filesystem::create_directories(kPath);
    Store store;
    EXPECT_EQ(EISDIR, load_store(kPath, store).error);
    EXPECT_TRUE(log_.contains("can't read " + kPath + " errno=21, cause: Is a directory")) << log_.text();
}

TEST_F(StoreFile, APipeInItsPlaceIsNotWaitedFor) {
    std::filesystem::create_directories(kFolder);
    ASSERT_EQ(0, ::mkfifo(kPath.c_str(), 0600));
    Store store;
    EXPECT_EQ(EINVAL, load_store(kPath, store).error);
}

TEST_F(StoreFile, AnUnreadableFileIsReported) {
    fail_open(kPath, EACCES);
    (void)loaded("a=1\n");
    EXPECT_EQ(EACCES, error_);
    EXPECT_TRUE(log_.contains("can't read " + kPath)) << log_.text();
}

TEST_F(StoreFile, WhatCameBeforeAFailedReadIsKept) {
    doubles::libc::read.stand_in([](int fd, void *data, size_t) -> ssize_t {
        if (::lseek(fd, 0, SEEK_CUR) >= 6) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::read.real(fd, data, 6);
    });
    EXPECT_EQ((Values{{"a", "1"}}), loaded("a=1\nb=2\n").values());
    EXPECT_EQ(EIO, error_);
}

/* ---- Saving ---------------------------------------------------------------------------------------- */

Store two_values() {
    Store store;
    store.set("zone", " west=1 ");
    store.set("area", "");
    return store;
}

TEST_F(StoreFile, SavesSortedLinesThatOnlyTheOwnerReads) {
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kPath));
    EXPECT_EQ(0600u, mode_of(kPath));
    EXPECT_FALSE(exists(kTemporary));
}

TEST_F(StoreFile, AnEmptyStoreIsAnEmptyFile) {
    put_file(kPath, "a=1\n");
    EXPECT_EQ(0, save(Store()).error);
    EXPECT_TRUE(exists(kPath));
    EXPECT_EQ("", saved_lines(kPath));
}

TEST_F(StoreFile, LoadsWhatItSaved) {
    Store store;
    for (int i = 0; i < 1000; ++i) {
        store.set("key" + std::to_string(i), std::string(static_cast<size_t>(i), '='));
    }
    EXPECT_EQ(0, save(store).error);
    Store read;
    EXPECT_EQ(0, load_store(kPath, read).error);
    EXPECT_EQ(store.values(), read.values());
}

TEST_F(StoreFile, MakesMissingFolders) {
    const std::string deep = kFolder + "/a/b/c/data.txt";
    EXPECT_EQ(0, save(two_values(), deep).error);
    EXPECT_TRUE(exists(deep));
    EXPECT_EQ(0u, doubles::libc::system.calls());
}

TEST_F(StoreFile, TheFileIsSyncedBeforeItIsRenamedAndItsFolderAfterwards) {
    std::string steps;
    std::filesystem::create_directories(kFolder);
    doubles::libc::fsync.stand_in([&steps](int fd) {
        struct stat info = {};
        EXPECT_EQ(0, ::fstat(fd, &info));
        steps += S_ISDIR(info.st_mode) ? "sync folder;" : "sync file;";
        return doubles::libc::fsync.real(fd);
    });
    doubles::libc::renameat.stand_in(
        [&steps](int from_folder, const char *from, int to_folder, const char *to) {
            EXPECT_EQ(kTemporary, from);
            EXPECT_EQ(kPath, to);
            EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kTemporary));
            steps += "rename;";
            return doubles::libc::renameat.real(from_folder, from, to_folder, to);
        });
    EXPECT_EQ(0, save(two_values(), kPath, Folders::kOnDisk).error);
    EXPECT_EQ("sync file;rename;sync folder;", steps);

    steps.clear();
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("sync file;rename;sync folder;sync folder;sync folder;sync folder;", steps);
}

TEST_F(StoreFile, ReplacesWhatAKilledWriterLeft) {
    put_file(kTemporary, std::string(50000, 'x'));
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kPath));
    EXPECT_FALSE(exists(kTemporary));
}

TEST_F(StoreFile, NeverWritesThroughALinkInTheTemporaryFilesPlace) {
    const std::string victim = kFolder + "/victim";
    put_file(victim, "precious");
    ASSERT_EQ(0, ::symlink(victim.c_str(), kTemporary.c_str()));
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("precious", content_of(victim));
    EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kPath));
}

TEST_F(StoreFile, WritesOnAfterShortWritesAndSignals) {
    unsigned writes = 0;
    doubles::libc::write.stand_in([&writes](int fd, const void *data, size_t) -> ssize_t {
        if (++writes % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::write.real(fd, data, 1);
    });
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kPath));
}

class FailedSave : public StoreFile {
  protected:
    void SetUp() override {
        StoreFile::SetUp();
        put_file(kPath, "old=1\n");
    }

    /* Saves, and expects the old file, no leftovers, and one line. */
    void expect_failure(int error) {
        EXPECT_EQ(error, save(two_values()).error);
        EXPECT_EQ("old=1\n", content_of(kPath));
        EXPECT_FALSE(exists(kTemporary));
        EXPECT_EQ(1u, warnings(log_).size()) << log_.text();
        EXPECT_TRUE(log_.contains("can't save " + kPath + " errno=" + std::to_string(error)));
        EXPECT_FALSE(log_.contains("west")) << log_.text();
    }
};

TEST_F(FailedSave, AFullDiskKeepsTheOldFile) {
    limit_disk(5);
    expect_failure(ENOSPC);
}

TEST_F(FailedSave, ADiskThatTakesNothingKeepsTheOldFile) {
    limit_disk(0);
    expect_failure(ENOSPC);
}

TEST_F(FailedSave, AFailedSyncKeepsTheOldFile) {
    doubles::libc::fsync.stand_in([](int) {
        errno = EIO;
        return -1;
    });
    expect_failure(EIO);
}

TEST_F(FailedSave, AFailedRenameKeepsTheOldFile) {
    fail_rename(EIO);
    expect_failure(EIO);
}

TEST_F(FailedSave, AReadOnlyFileSystemKeepsTheOldFile) {
    fail_open(kTemporary, EROFS);
    expect_failure(EROFS);
}

TEST_F(FailedSave, AFolderInTheTemporaryFilesPlaceKeepsTheOldFile) {
    std::filesystem::create_directories(kTemporary);
    EXPECT_EQ(EEXIST, save(two_values()).error);
    EXPECT_EQ("old=1\n", content_of(kPath));
}

TEST_F(FailedSave, AFolderThatCantBeMadeIsReported) {
    doubles::libc::mkdir.stand_in([](const char *, mode_t) {
        errno = EROFS;
        return -1;
    });
    EXPECT_EQ(EROFS, save(two_values(), "/m_data/new/data.txt").error);
    EXPECT_FALSE(exists("/m_data/new"));
}

TEST_F(FailedSave, AFolderThatCantBeSyncedIsReported) {
    doubles::libc::fsync.stand_in([](int fd) {
        struct stat info = {};
        EXPECT_EQ(0, ::fstat(fd, &info));
        if (S_ISDIR(info.st_mode)) {
            errno = EIO;
            return -1;
        }
        return doubles::libc::fsync.real(fd);
    });
    EXPECT_EQ(EIO, save(two_values()).error);
    EXPECT_EQ("area=\nzone= west=1 \n", saved_lines(kPath));
}

TEST_F(FailedSave, AFolderThatCantSyncIsNoFailure) {
    doubles::libc::fsync.stand_in([](int fd) {
        struct stat info = {};
        EXPECT_EQ(0, ::fstat(fd, &info));
        if (S_ISDIR(info.st_mode)) {
            errno = EINVAL;
            return -1;
        }
        return doubles::libc::fsync.real(fd);
    });
    EXPECT_EQ(0, save(two_values()).error);
    EXPECT_EQ("", log_.text());
}

}  // namespace
