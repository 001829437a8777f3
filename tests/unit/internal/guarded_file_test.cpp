/*
 * Files that no other user may have planted. A second hard link replaces another user, whom a test may not
 * have.
 */
#include "internal/guarded_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "doubles/base_doubles.h"
#include "doubles/libc_doubles.h"
#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "support/files.h"
#include "support/log_checks.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/module_fixture.h"

namespace libc = doubles::libc;

namespace {

namespace fs = std::filesystem;

constexpr char kFolder[] = "/m_data/usr/guarded";
constexpr char kFile[] = "/m_data/usr/guarded/file";
constexpr char kOther[] = "/m_data/usr/guarded/other";
constexpr int kRewrite = O_RDWR | O_CREAT | O_TRUNC;

class GuardedFile : public ModuleTest {
  protected:
    GuardedFile() {
        fs::remove_all(kFolder);
        fs::create_directory(kFolder);
        descriptors_ = open_descriptors();
    }
    ~GuardedFile() override {
        doubles::restore_all();
        EXPECT_EQ(descriptors_, open_descriptors());
        fs::remove_all(kFolder);
    }

    /* What opening the file gives: 0 or the error. */
    static int open(int flags, mode_t mode, Planted planted = Planted::kSetAside) {
        errno = 0;
        const UniqueFd fd = open_guarded(kFile, flags, mode, planted);
        return fd ? 0 : errno;
    }
    static mode_t mode() { return mode_of(kFile); }
    static void put_second_name() {
        write_file(kOther, "precious");
        ASSERT_EQ(0, ::link(kOther, kFile));
    }
    /* How many files were set aside. */
    static size_t set_aside() {
        size_t count = 0;
        for (const fs::directory_entry &entry : fs::directory_iterator(kFolder)) {
            count += entry.path().string().find("/file.planted-") != std::string::npos ? 1 : 0;
        }
        return count;
    }

    LogCapture log_;

  private:
    size_t descriptors_ = 0;
};

}  // namespace

TEST_F(GuardedFile, ANewFileHasItsModeLessTheUmask) {
    const mode_t before = ::umask(027);
    EXPECT_EQ(0, open(kRewrite, 0644));
    (void)::umask(before);
    EXPECT_EQ(0640u, mode());
    EXPECT_EQ("", log_.text());
}

TEST_F(GuardedFile, AnOldFileKeepsNoOtherRights) {
    write_file(kFile, "old");
    ASSERT_EQ(0, ::chmod(kFile, 04777));
    EXPECT_EQ(0, open(O_RDWR | O_CREAT, 0644));
    EXPECT_EQ(0644u, mode());
    EXPECT_EQ("old", read_file(kFile));
}

TEST_F(GuardedFile, AnOldFileGetsNoNewRights) {
    write_file(kFile, "old");
    ASSERT_EQ(0, ::chmod(kFile, 0600));
    EXPECT_EQ(0, open(kRewrite, 0644));
    EXPECT_EQ(0600u, mode());
    EXPECT_EQ("", read_file(kFile));
}

TEST_F(GuardedFile, AReaderLeavesTheRightsAlone) {
    write_file(kFile, "old");
    ASSERT_EQ(0, ::chmod(kFile, 0666));
    EXPECT_EQ(0, open(O_RDONLY, 0, Planted::kRefuse));
    EXPECT_EQ(0666u, mode());
}

TEST_F(GuardedFile, AMissingFileIsNotMadeForAReader) {
    EXPECT_EQ(ENOENT, open(O_RDONLY, 0, Planted::kRefuse));
    EXPECT_EQ("", log_.text());
}

TEST_F(GuardedFile, OnlyAFileIsOpened) {
    ASSERT_EQ(0, ::symlink(kOther, kFile));
    EXPECT_EQ(ELOOP, open(kRewrite, 0644));
    EXPECT_FALSE(exists(kOther));
    ASSERT_EQ(0, ::unlink(kFile));

    ASSERT_EQ(0, ::mkfifo(kFile, 0600));
    EXPECT_EQ(EINVAL, open(O_RDWR, 0));
    EXPECT_EQ(EINVAL, open(O_RDONLY, 0)); /* and does not wait for a writer */
    EXPECT_EQ(ENXIO, open(O_WRONLY, 0));
    ASSERT_EQ(0, ::unlink(kFile));

    ASSERT_EQ(0, ::mkdir(kFile, 0755));
    EXPECT_EQ(EISDIR, open(O_RDWR, 0));
    EXPECT_EQ(EISDIR, open(O_RDONLY, 0));
    EXPECT_EQ(0u, set_aside());
}

TEST_F(GuardedFile, IsNotEmptiedBeforeItWasLookedAt) {
    write_file(kFile, "old");
    int flags = 0;
    libc::open.stand_in([&flags](const char *path, int asked, mode_t mode) {
        flags = asked;
        return libc::open.real(path, asked, mode);
    });
    EXPECT_EQ(0, open(kRewrite, 0644));
    EXPECT_EQ(0, flags & O_TRUNC);
    EXPECT_NE(0, flags & O_NOFOLLOW);
    EXPECT_NE(0, flags & O_CLOEXEC);
    EXPECT_EQ("", read_file(kFile));
}

TEST_F(GuardedFile, AFileThatCanNotBeEmptiedIsNotOpened) {
    write_file(kFile, "old");
    libc::ftruncate.fail(EIO);
    EXPECT_EQ(EIO, open(kRewrite, 0644));
}

TEST_F(GuardedFile, AFileThatCanNotBeNarrowedIsNotOpened) {
    write_file(kFile, "old");
    ASSERT_EQ(0, ::chmod(kFile, 0666));
    libc::fchmod.fail(EROFS);
    EXPECT_EQ(EROFS, open(kRewrite, 0600));
    EXPECT_EQ("old", read_file(kFile));
}

TEST_F(GuardedFile, OneWithASecondNameIsSetAside) {
    put_second_name();
    EXPECT_EQ(0, open(kRewrite, 0600));
    EXPECT_EQ("precious", read_file(kOther));
    EXPECT_EQ("", read_file(kFile));
    EXPECT_EQ(0600u, mode());
    EXPECT_EQ(1u, set_aside());
    EXPECT_EQ(1u, log_.count(std::string(kFile) + " was not ours (owner ")) << log_.text();
}

TEST_F(GuardedFile, OneWithASecondNameIsRefused) {
    put_second_name();
    EXPECT_EQ(EPERM, open(kRewrite, 0600, Planted::kRefuse));
    EXPECT_EQ("precious", read_file(kFile));
    EXPECT_EQ(0u, set_aside());
    EXPECT_EQ(1u, log_.count(std::string(kFile) + " is not ours (owner ")) << log_.text();
    EXPECT_EQ(1u, log_.count("): refused")) << log_.text();
}

TEST_F(GuardedFile, OneThatCanNotBeSetAsideIsRefused) {
    put_second_name();
    libc::rename.fail(EROFS);
    EXPECT_EQ(EPERM, open(kRewrite, 0600));
    EXPECT_EQ("precious", read_file(kFile));
    EXPECT_EQ(1u, log_.count("can't be set aside! errno=30, cause: Read-only file system")) << log_.text();
}

TEST_F(GuardedFile, AStreamReadsAndWrites) {
    const UniqueFile file = open_guarded_stream(kFile, kRewrite, 0600, Planted::kSetAside, "w+");
    ASSERT_TRUE(file);
    EXPECT_EQ(1, std::fprintf(file.get(), "x"));
    EXPECT_EQ(0, std::fflush(file.get()));
    EXPECT_EQ("x", read_file(kFile));
}

TEST_F(GuardedFile, AStreamThatCanNotBeHadLeavesNoDescriptor) {
    libc::fdopen.fail(ENOMEM);
    EXPECT_FALSE(open_guarded_stream(kFile, kRewrite, 0600, Planted::kSetAside, "w+"));
    EXPECT_EQ(ENOMEM, errno);
    EXPECT_FALSE(open_guarded_stream(kFolder, kRewrite, 0600, Planted::kSetAside, "w+"));
    EXPECT_EQ(EISDIR, errno);
}
