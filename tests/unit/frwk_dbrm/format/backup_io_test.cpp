/*
 * Reading and writing the parts of a backup: short reads, full disks, sizes that don't fit.
 */
#include "frwk_dbrm/format/backup_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/memory_usage.h"
#include "support/temp_folder.h"
#include "support/wait_until.h"

namespace {

class BackupIo : public FaultsTest {
  protected:
    /* A file with a text, open for reading. */
    UniqueFile reader(const std::string &text) const {
        return UniqueFile(std::fopen(folder_.file("source", text).c_str(), "rbe"));
    }
    UniqueFile writer() const { return backup_io::open_to_write(folder_.path("copy").c_str(), "wb"); }
    static UniqueFile full_disk() { return backup_io::open_to_write("/dev/full", "wb"); }

    /* Copies so many bytes of a text by descriptors, and returns what has arrived; "(failed)". */
    std::string copied_bytes(const std::string &text, uint64_t length) const {
        const UniqueFile from = reader(text);
        const UniqueFd to(
            ::open(folder_.path("copy").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
        return backup_io::copy_bytes(fileno(from.get()), to.get(), length) ? file_text(folder_.path("copy"))
                                                                           : "(failed)";
    }

    const TempFolder folder_;
};

}  // namespace

TEST_F(BackupIo, AWriteFailsAtOnceOnAFullDisk) {
    const UniqueFile file = full_disk();
    ASSERT_TRUE(file);
    EXPECT_EQ(0u, std::fwrite("x", 1, 1, file.get()));
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(BackupIo, WithoutAPathOrADescriptorThereIsNoFile) {
    EXPECT_FALSE(backup_io::open_to_write(folder_.path("no/such/folder").c_str(), "wb"));
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(backup_io::write_to(UniqueFd(), "wb"));
}

TEST_F(BackupIo, TheEndOfAFileIsItsSize) {
    const UniqueFile file = reader("12345");
    EXPECT_EQ(5u, backup_io::seek_to_end(file.get()));
    EXPECT_EQ(5, std::ftell(file.get()));
}

TEST_F(BackupIo, APipeHasNoEnd) {
    int ends[2];
    ASSERT_EQ(0, ::pipe2(ends, O_CLOEXEC));
    const UniqueFd writing(ends[1]);
    const UniqueFile reading = open_stream(UniqueFd(ends[0]), "rb");
    EXPECT_EQ(std::nullopt, backup_io::seek_to_end(reading.get()));
    EXPECT_EQ(ESPIPE, errno);
}

TEST_F(BackupIo, AFileThatEndsEarlyIsNoSystemError) {
    char bytes[8] = "";
    errno = EIO;
    EXPECT_FALSE(backup_io::read_all(reader("1234").get(), bytes, 5));
    EXPECT_EQ(0, errno);
    EXPECT_TRUE(backup_io::read_all(reader("12345").get(), bytes, 5));
    EXPECT_STREQ("12345", bytes);
}

TEST_F(BackupIo, ATextEndsWithANulAfterItsLength) {
    OwnedBlock text;
    EXPECT_EQ(backup_io::Text::kAll, backup_io::read_text(reader("12345").get(), 4, &text));
    EXPECT_STREQ("1234", static_cast<const char *>(text.get()));
}

TEST_F(BackupIo, ATextThatEndsEarlyLeavesNoBlock) {
    const uint32_t before = live_blocks();
    {
        OwnedBlock text;
        EXPECT_EQ(backup_io::Text::kShortRead, backup_io::read_text(reader("1234").get(), 5, &text));
    }
    EXPECT_EQ(before, live_blocks());
}

/* The NUL would be the 4 GiB that 32 bits can't count. */
TEST_F(BackupIo, ATextOfTheLargestLengthHasNoMemory) {
    OwnedBlock text;
    EXPECT_EQ(backup_io::Text::kNoMemory, backup_io::read_text(reader("1").get(), UINT32_MAX, &text));
    EXPECT_FALSE(text);
}

TEST_F(BackupIo, CopiesExactlyALength) {
    const std::string text(3000, 'x');
    EXPECT_EQ(backup_io::Copied::kAll, backup_io::copy(reader(text).get(), writer().get(), 2500));
    EXPECT_EQ(text.substr(0, 2500), file_text(folder_.path("copy")));
    EXPECT_EQ(backup_io::Copied::kAll, backup_io::copy(reader("").get(), full_disk().get(), 0));
}

TEST_F(BackupIo, KnowsWhichSideOfACopyFailed) {
    EXPECT_EQ(backup_io::Copied::kShortRead, backup_io::copy(reader("1234").get(), writer().get(), 5));
    EXPECT_EQ(0, errno);
    EXPECT_EQ(backup_io::Copied::kShortWrite, backup_io::copy(reader("1234").get(), full_disk().get(), 4));
    EXPECT_EQ(ENOSPC, errno);
}

TEST_F(BackupIo, CopiesBetweenDescriptorsExactlyALength) {
    const std::string text(40000, 'y');
    EXPECT_EQ(text, copied_bytes(text, 40000));
    EXPECT_EQ(text.substr(0, 16385), copied_bytes(text, 16385));
    EXPECT_EQ("(failed)", copied_bytes(text, 40001));
    EXPECT_EQ(0, errno);
}

TEST_F(BackupIo, AnInterruptedCopyGoesOn) {
    doubles::libc::read.fail_call(1, EINTR);
    EXPECT_EQ("12345", copied_bytes("12345", 5));
}

TEST_F(BackupIo, ACopyBetweenDescriptorsFailsOnAFullDisk) {
    const UniqueFd full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(backup_io::copy_bytes(fileno(reader("1").get()), full.get(), 1));
    EXPECT_EQ(ENOSPC, errno);
}

/* The cipher adds 17 bytes to each 64 KiB; a folder and a name need blocks too. */
TEST_F(BackupIo, TheRoomHoldsAFileTwiceAndMore) {
    for (const uint64_t size : {UINT64_C(0), UINT64_C(1), UINT64_C(65536), UINT64_C(5) << 32}) {
        EXPECT_GE(backup_io::room_for(size), 2 * size + size / 65536 + 4096) << size;
    }
}

TEST_F(BackupIo, AFileIsFinishedWhenEveryByteWasWritten) {
    UniqueFile buffered(std::fopen("/dev/full", "wbe"));
    ASSERT_EQ(1u, std::fwrite("x", 1, 1, buffered.get()));
    EXPECT_FALSE(backup_io::finish(std::move(buffered)));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_TRUE(backup_io::finish(writer()));
}

TEST_F(BackupIo, AFileThatCanNotBeSyncedIsNotFinishedOnTheDisk) {
    EXPECT_TRUE(backup_io::finish_on_disk(writer()));
    EXPECT_EQ(1u, doubles::libc::fsync.calls());
    doubles::libc::fsync.fail(EIO);
    EXPECT_FALSE(backup_io::finish_on_disk(writer()));
    EXPECT_EQ(EIO, errno);
}
