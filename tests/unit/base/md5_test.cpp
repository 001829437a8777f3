/*
 * Digests of files.
 */
#include "md5.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "doubles/libc_doubles.h"
#include "support/open_descriptors.h"
#include "support/temp_folder.h"

namespace {

constexpr char kOfNothing[] = "d41d8cd98f00b204e9800998ecf8427e";
constexpr char kOfAbc[] = "900150983cd24fb0d6963f7d28e17f72";
constexpr size_t kPiece = 16384;

/* The text that a call writes over old content. */
std::string text_of(const std::string &path) {
    char text[MD5_TEXT_SIZE + 1];
    memset(text, '#', sizeof(text));
    const int32_t result = md5_encrypt_file_str(path.c_str(), text);
    EXPECT_EQ('#', text[MD5_TEXT_SIZE]);
    EXPECT_EQ(result, text[0] != '\0' ? 1 : 0);
    return text;
}

class Md5 : public FaultsTest {
  protected:
    /* Both forms are refused; the digest stays as it was, the text becomes empty. */
    void expect_refused(const std::string &path) {
        uint8_t digest[MD5_DIGEST_SIZE] = {1, 2, 3};
        const uint8_t before[MD5_DIGEST_SIZE] = {1, 2, 3};
        EXPECT_EQ(0, md5_encrypt_file(path.c_str(), digest));
        EXPECT_EQ(0, memcmp(before, digest, sizeof(digest)));
        EXPECT_EQ("", text_of(path));
    }

    TempFolder folder_;
};

TEST_F(Md5, GivesTheStandardDigests) {
    EXPECT_EQ(kOfNothing, text_of(folder_.file("file", "")));
    EXPECT_EQ("0cc175b9c0f1b6a831c399e269772661", text_of(folder_.file("file", "a")));
    EXPECT_EQ(kOfAbc, text_of(folder_.file("file", "abc")));
    EXPECT_EQ("f96b697d7cb7938d525a2f31aaf161d0", text_of(folder_.file("file", "message digest")));
    EXPECT_EQ("57edf4a22be3c955ac49da2e2107b67a",
              text_of(folder_.file("file",
                                   "1234567890123456789012345678901234567890"
                                   "1234567890123456789012345678901234567890")));
}

TEST_F(Md5, GivesTheDigestAsRawBytes) {
    uint8_t digest[MD5_DIGEST_SIZE] = {};
    const uint8_t expected[] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2, 0x4f, 0xb0,
                                0xd6, 0x96, 0x3f, 0x7d, 0x28, 0xe1, 0x7f, 0x72};
    EXPECT_EQ(1, md5_encrypt_file(folder_.file("abc", "abc").c_str(), digest));
    EXPECT_EQ(0, memcmp(expected, digest, sizeof(digest)));
}

TEST_F(Md5, TakesNulBytesAndLineEndsAsTheyAre) {
    EXPECT_EQ("4d42a3a6c766fd894c6f083473dc8f91", text_of(folder_.file("file", std::string("a\0b\r\n", 5))));
}

/* The digests of as many letters "x" as a piece of the reading and a byte more or less. */
TEST_F(Md5, FilesAroundAPieceHaveTheStandardDigests) {
    EXPECT_EQ("ec8f0dfbc74d91569e2db04e9d81d17e",
              text_of(folder_.file("file", std::string(kPiece - 1, 'x'))));
    EXPECT_EQ("cc7fa4aff814016b4f2eff395e64ff7c", text_of(folder_.file("file", std::string(kPiece, 'x'))));
    EXPECT_EQ("81aec0416b844375f430dc4e9370e2da",
              text_of(folder_.file("file", std::string(kPiece + 1, 'x'))));
    EXPECT_EQ("56593bcab74581f4f560cd13723e451a",
              text_of(folder_.file("file", std::string(2 * kPiece, 'x'))));
}

TEST_F(Md5, FollowsASymbolicLink) {
    const std::string path = folder_.file("abc", "abc");
    ASSERT_EQ(0, symlink(path.c_str(), folder_.path("link").c_str()));
    EXPECT_EQ(kOfAbc, text_of(folder_.path("link")));
}

TEST_F(Md5, WhatIsNoFileIsRefused) {
    ASSERT_EQ(0, mkfifo(folder_.path("pipe").c_str(), 0600));
    expect_refused(folder_.path("pipe"));
    expect_refused(folder_.path());
    expect_refused(folder_.path("missing"));
    expect_refused("/dev/null");
    expect_refused("");
}

TEST_F(Md5, NullIsRefused) {
    const std::string path = folder_.file("abc", "abc");
    uint8_t digest[MD5_DIGEST_SIZE] = {};
    char text[MD5_TEXT_SIZE] = "old";
    EXPECT_EQ(0, md5_encrypt_file(nullptr, digest));
    EXPECT_EQ(0, md5_encrypt_file(path.c_str(), nullptr));
    EXPECT_EQ(0, md5_encrypt_file_str(path.c_str(), nullptr));
    EXPECT_EQ(0, md5_encrypt_file_str(nullptr, text));
    EXPECT_STREQ("", text);
}

TEST_F(Md5, AFailedReadGivesNoDigestOfAPart) {
    const std::string path = folder_.file("file", std::string(3 * kPiece, 'x'));
    for (unsigned which = 1; which <= 4; ++which) {
        doubles::restore_all();
        doubles::libc::read.fail_call(which, EIO);
        uint8_t digest[MD5_DIGEST_SIZE];
        EXPECT_EQ(0, md5_encrypt_file(path.c_str(), digest)) << which;
    }
}

TEST_F(Md5, InterruptedAndShortReadsAreContinued) {
    const std::string path = folder_.file("abc", "abc");
    doubles::libc::read.stand_in([](int fd, void *buffer, size_t) -> ssize_t {
        if (doubles::libc::read.calls() % 2 == 1) {
            errno = EINTR;
            return -1;
        }
        return doubles::libc::read.real(fd, buffer, 1);
    });
    EXPECT_EQ(kOfAbc, text_of(path));
}

TEST_F(Md5, NoDescriptorStaysOpenOrReachesAShellsChild) {
    const std::string path = folder_.file("abc", "abc");
    bool all = true;
    doubles::libc::open.stand_in([&all](const char *name, int flags, mode_t mode) {
        all = all && (flags & O_CLOEXEC) != 0;
        return doubles::libc::open.real(name, flags, mode);
    });
    const size_t before = open_descriptors();
    text_of(path);
    text_of(folder_.path());
    EXPECT_EQ(before, open_descriptors());
    EXPECT_TRUE(all);
    EXPECT_EQ(2u, doubles::libc::open.calls());
}

}  // namespace
