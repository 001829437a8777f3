/*
 * Record locks between processes, and what may be in the place of a lock file.
 */
#include "frwk_common/util/record_lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/files.h"
#include "support/lock_holder.h"
#include "support/record_lock_holder.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/m_data/usr/locks";
constexpr char kFile[] = "/m_data/usr/locks/file";

class RecordLockTest : public ModuleTest {
  protected:
    RecordLockTest() {
        fs::remove_all(kFolder);
        fs::create_directories(kFolder);
    }
    ~RecordLockTest() override {
        doubles::restore_all();
        fs::remove_all(kFolder);
    }

    static mode_t mode() {
        struct stat info = {};
        return ::lstat(kFile, &info) == 0 ? info.st_mode : 0;
    }
    static size_t names_in_folder() {
        const fs::directory_iterator names(kFolder);
        return static_cast<size_t>(std::distance(fs::begin(names), fs::end(names)));
    }

    LogCapture log_;
};

/* A process that holds the write lock of the file. */
class Writer : public LockHolder {
  public:
    Writer()
        : LockHolder([] {
              static const UniqueFile file = open_lock_file(kFile);
              EXPECT_EQ(RecordLock::kHeld, lock_whole_file(file.get()));
          }) {}
};

/* A process that holds a read lock on it. */
class Reader : public LockHolder {
  public:
    Reader() : LockHolder([] { EXPECT_TRUE(hold_read_lock(kFile)); }) {}
};

}  // namespace

TEST_F(RecordLockTest, IsOnANewFileOfItsOwners) {
    const mode_t before = ::umask(0);
    EXPECT_TRUE(open_lock_file(kFile));
    (void)::umask(before);
    EXPECT_EQ(static_cast<mode_t>(S_IFREG | 0600), mode());
}

TEST_F(RecordLockTest, IsOnAFileThatWasEmptiedAndClosedToOthers) {
    write_file(kFile, "12345");
    ASSERT_EQ(0, ::chmod(kFile, 0644));
    EXPECT_TRUE(open_lock_file(kFile));
    EXPECT_EQ("", read_file(kFile));
    EXPECT_EQ(static_cast<mode_t>(S_IFREG | 0600), mode());
}

TEST_F(RecordLockTest, SetsASocketInThePlaceOfItsFileAside) {
    ASSERT_EQ(0, ::mknod(kFile, S_IFSOCK | 0600, 0));
    EXPECT_TRUE(open_lock_file(kFile));
    EXPECT_EQ(static_cast<mode_t>(S_IFREG), mode() & S_IFMT);
    EXPECT_EQ(2u, names_in_folder());
}

TEST_F(RecordLockTest, HasNoFileInThePlaceOfAFolder) {
    fs::create_directory(kFile);
    EXPECT_FALSE(open_lock_file(kFile));
    EXPECT_EQ(EISDIR, errno);
    EXPECT_EQ(1u, names_in_folder());
}

TEST_F(RecordLockTest, IsHeldByOneProcess) {
    const UniqueFile file = open_lock_file(kFile);
    {
        const Writer writer;
        EXPECT_EQ(writer.pid(), record_lock_holder(kFile));
        EXPECT_EQ(RecordLock::kHeldElsewhere, lock_whole_file(file.get()));
    }
    EXPECT_EQ(RecordLock::kHeld, lock_whole_file(file.get()));
}

TEST_F(RecordLockTest, IsNotHeldElsewhereWhenTheSystemFails) {
    const UniqueFile file = open_lock_file(kFile);
    libc::fcntl.fail(ENOLCK);
    EXPECT_EQ(RecordLock::kFailed, lock_whole_file(file.get()));
    EXPECT_EQ(ENOLCK, errno);
}

TEST_F(RecordLockTest, OfAReaderMakesRoomForANewFile) {
    const UniqueFile file = open_lock_file(kFile);
    const Reader reader;
    EXPECT_EQ(RecordLock::kHeldElsewhere, lock_whole_file(file.get()));
    EXPECT_TRUE(set_aside_read_locked(kFile, file.get()));
    EXPECT_FALSE(exists(kFile));
    EXPECT_EQ(1u, names_in_folder());
    EXPECT_TRUE(log_.contains("read-locked")) << log_.text();
}

TEST_F(RecordLockTest, OfAWriterOrOfNobodyLeavesTheFileAlone) {
    const UniqueFile file = open_lock_file(kFile);
    EXPECT_FALSE(set_aside_read_locked(kFile, file.get()));
    const Writer writer;
    EXPECT_FALSE(set_aside_read_locked(kFile, file.get()));
    EXPECT_TRUE(exists(kFile));
    EXPECT_EQ("", log_.text());
}
