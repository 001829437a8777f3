/*
 * Files encrypted with the device cipher: round trips, and refused files.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <random>
#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "support/file_info.h"
#include "support/threads.h"
#include "unit/base/file_cipher_fixture.h"

namespace {

/* "a small secret\n" under the key 0, 1, ... 31. */
constexpr unsigned char kKnownFile[] = {
    0x71, 0x75, 0x6f, 0x72, 0x66, 0x69, 0x6c, 0x65, 0x01, 0x00, 0x00, 0x00, 0x9e, 0xaa, 0xd1, 0x04, 0x00,
    0x25, 0x34, 0xd8, 0x20, 0x5a, 0x42, 0x29, 0x2f, 0x69, 0x69, 0xe5, 0x91, 0x25, 0x50, 0xb4, 0x7e, 0x8c,
    0x6e, 0x1b, 0xc1, 0x5e, 0x20, 0xaa, 0x88, 0xbd, 0xb6, 0xf2, 0x2c, 0xf9, 0xe2, 0xe9, 0xf5, 0x45, 0x08,
    0xa7, 0xf6, 0x54, 0xe5, 0xb9, 0x81, 0x35, 0xbd, 0xa5, 0xaf, 0x02, 0x60, 0xba, 0x3b, 0x7f, 0xb0, 0xb7};
constexpr char kKnownContent[] = "a small secret\n";

std::string known_file() {
    return {reinterpret_cast<const char *>(kKnownFile), sizeof(kKnownFile)};
}

std::string chunk_of(const std::string &file, size_t number) {
    return file.substr(kBeginningSize + number * kSealedChunkSize, kSealedChunkSize);
}

std::string joined(const std::string &file, const std::vector<size_t> &chunks) {
    std::string all = file.substr(0, kBeginningSize);
    for (const size_t number : chunks) {
        all += chunk_of(file, number);
    }
    return all;
}

class FileCipher : public FileCipherTest {};

TEST_F(FileCipher, ReadsFilesThatExist) {
    EXPECT_EQ(kKnownContent, deciphered(known_file()));
}

TEST_F(FileCipher, BeginsWithItsLettersAndTheNumberOfItsFormat) {
    EXPECT_EQ(std::string("quorfile\1\0\0\0", 12), enciphered("content").substr(0, 12));
}

TEST_F(FileCipher, AnEmptyFileComesBack) {
    const std::string file = enciphered("");
    EXPECT_EQ(kBeginningSize + kSealSize, file.size());
    EXPECT_EQ("", deciphered(file));
}

class FileCipherOfSize : public FileCipherTest, public testing::WithParamInterface<size_t> {};

TEST_P(FileCipherOfSize, ComesBack) {
    const std::string plain = some_content(GetParam());
    const std::string file = enciphered(plain);
    EXPECT_EQ(kBeginningSize + plain.size() + (plain.size() / kChunkSize + 1) * kSealSize, file.size());
    EXPECT_EQ(plain, deciphered(file));
    EXPECT_TRUE(stands_alone());
}

TEST_P(FileCipherOfSize, IsRefusedWithAByteTooFewOrTooMany) {
    const std::string file = enciphered(some_content(GetParam()));
    EXPECT_TRUE(is_refused(file.substr(0, file.size() - 1)));
    EXPECT_TRUE(is_refused(file + '\0'));
}

INSTANTIATE_TEST_SUITE_P(AroundTheChunks, FileCipherOfSize,
                         testing::Values(0, 1, kSealSize, kChunkSize - kSealSize, kChunkSize - 1, kChunkSize,
                                         kChunkSize + 1, 2 * kChunkSize - 1, 2 * kChunkSize,
                                         2 * kChunkSize + 1, 5 * kChunkSize + 4711));

TEST_F(FileCipher, FilesOfEverySmallSizeComeBack) {
    for (size_t size = 0; size < 200; ++size) {
        EXPECT_EQ(some_content(size), deciphered(enciphered(some_content(size)))) << size;
    }
}

TEST_F(FileCipher, NoTwoFilesOfOneContentAreAlike) {
    const std::string first = enciphered(kKnownContent);
    const std::string second = enciphered(kKnownContent);
    EXPECT_NE(first.substr(12, 24), second.substr(12, 24));
    EXPECT_NE(first.substr(36), second.substr(36));
}

TEST_F(FileCipher, TheContentDoesNotShow) {
    const std::string plain(1000, 's');
    EXPECT_EQ(std::string::npos, enciphered(plain).find("sss"));
}

TEST_F(FileCipher, AFileMayBeEncipheredTwice) {
    const std::string once = enciphered(kKnownContent);
    EXPECT_EQ(once, deciphered(enciphered(once)));
}

TEST_F(FileCipher, EveryFlippedBitIsRefused) {
    const std::string file = known_file();
    for (size_t bit = 0; bit < file.size() * 8; ++bit) {
        std::string altered = file;
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
        ASSERT_TRUE(is_refused(altered)) << "bit " << bit;
    }
}

TEST_F(FileCipher, FlippedBitsAnywhereInALargeFileAreRefused) {
    std::mt19937 random(4714);
    const std::string file = enciphered(some_content(5 * kChunkSize + 100));
    for (int i = 0; i < 100; ++i) {
        std::string altered = file;
        const size_t bit = random() % (file.size() * 8);
        altered[bit / 8] = static_cast<char>(altered[bit / 8] ^ (1 << bit % 8));
        ASSERT_TRUE(is_refused(altered)) << "bit " << bit;
    }
}

TEST_F(FileCipher, EveryCutIsRefused) {
    const std::string file = known_file();
    for (size_t size = 0; size < file.size(); ++size) {
        ASSERT_TRUE(is_refused(file.substr(0, size))) << size;
        ASSERT_TRUE(is_refused(file.substr(file.size() - size))) << size;
    }
}

TEST_F(FileCipher, ACutBetweenChunksIsRefused) {
    const std::string file = enciphered(some_content(2 * kChunkSize + 100));
    EXPECT_TRUE(is_refused(joined(file, {})));
    EXPECT_TRUE(is_refused(joined(file, {0})));
    EXPECT_TRUE(is_refused(joined(file, {0, 1})));
    EXPECT_FALSE(is_refused(joined(file, {0, 1, 2})));
}

TEST_F(FileCipher, ChunksThatMovedAreRefused) {
    const std::string file = enciphered(some_content(3 * kChunkSize + 100));
    EXPECT_TRUE(is_refused(joined(file, {1, 0, 2, 3})));
    EXPECT_TRUE(is_refused(joined(file, {0, 2, 1, 3})));
    EXPECT_TRUE(is_refused(joined(file, {3, 0, 1, 2})));
}

TEST_F(FileCipher, ChunksThatAreThereTwiceOrMissingAreRefused) {
    const std::string file = enciphered(some_content(2 * kChunkSize + 100));
    EXPECT_TRUE(is_refused(joined(file, {0, 0, 1, 2})));
    EXPECT_TRUE(is_refused(joined(file, {0, 1, 1, 2})));
    EXPECT_TRUE(is_refused(joined(file, {0, 1, 2, 2})));
    EXPECT_TRUE(is_refused(joined(file, {1, 2})));
    EXPECT_TRUE(is_refused(joined(file, {0, 2})));
    EXPECT_TRUE(is_refused(joined(file, {2})));
}

TEST_F(FileCipher, ChunksOfAnotherFileAreRefused) {
    const std::string a = enciphered(some_content(kChunkSize + 100));
    const std::string b = enciphered(some_content(kChunkSize + 100));
    EXPECT_TRUE(is_refused(joined(a, {0}) + chunk_of(b, 1)));
    EXPECT_TRUE(is_refused(a.substr(0, kBeginningSize) + chunk_of(b, 0) + chunk_of(b, 1)));
}

TEST_F(FileCipher, BytesBehindTheEndAreRefused) {
    for (const std::string &extra : {std::string(1, '\0'), std::string("\n"), std::string(kSealSize, '\0'),
                                     std::string(kSealedChunkSize, 'x')}) {
        EXPECT_TRUE(is_refused(known_file() + extra)) << extra.size();
        EXPECT_TRUE(is_refused(extra + known_file())) << extra.size();
    }
}

/* The last chunk with bytes after it looks like a full one. */
TEST_F(FileCipher, AnEndFilledUpToAFullChunkIsRefused) {
    const std::string file = known_file();
    const size_t missing = kBeginningSize + kSealedChunkSize - file.size();
    EXPECT_TRUE(is_refused(file + std::string(missing, '\0')));
    EXPECT_TRUE(is_refused(file + std::string(missing, '\0') + chunk_of(file, 0)));
}

TEST_F(FileCipher, TwoFilesJoinedAreRefused) {
    const std::string full = enciphered(some_content(kChunkSize));
    EXPECT_TRUE(is_refused(known_file() + known_file()));
    EXPECT_TRUE(is_refused(known_file() + full));
    EXPECT_TRUE(is_refused(full + known_file()));
    EXPECT_TRUE(is_refused(full + full));
}

TEST_F(FileCipher, PlainFilesAreRefused) {
    EXPECT_TRUE(is_refused(""));
    EXPECT_TRUE(is_refused("a"));
    EXPECT_TRUE(is_refused(some_content(1000)));
    EXPECT_TRUE(is_refused(std::string(1000, '\0')));
    EXPECT_TRUE(is_refused("quorfile"));
}

TEST_F(FileCipher, AFileOfAnotherKeyIsRefused) {
    const std::string file = enciphered(kKnownContent);
    write_key_file(kProductKeyPath, some_key(1));
    EXPECT_TRUE(is_refused(file));
    write_key_file(kProductKeyPath, some_key());
    EXPECT_EQ(kKnownContent, deciphered(file));
}

TEST_F(FileCipher, ADeviceWithoutAProductKeyReadsItsOwnFiles) {
    remove_key_files();
    const std::string file = enciphered(kKnownContent);
    EXPECT_EQ(kKnownContent, deciphered(file));
    EXPECT_EQ(32u, key_file_bytes(kDeviceKeyPath).size());
}

TEST_F(FileCipher, WithoutAKeyTheFileStaysAsItIs) {
    const LogCapture log;
    write_key_file(kProductKeyPath, "too short");
    put("content");
    EXPECT_EQ(0, encipher());
    EXPECT_EQ("content", content());
    EXPECT_TRUE(is_refused(known_file()));
    EXPECT_EQ(2u, log.count("the key file /etc/quor_product.key is refused")) << log.text();
    EXPECT_EQ(0u, log.count("stays as it is")) << log.text();
}

TEST_F(FileCipher, WhatIsNoFileIsRefused) {
    ASSERT_EQ(0, mkfifo(folder_.path("pipe").c_str(), 0600));
    ASSERT_EQ(0, symlink("nowhere", folder_.path("dangling").c_str()));
    ASSERT_EQ(0, symlink("loop", folder_.path("loop").c_str()));
    for (const std::string &name :
         {folder_.path(), folder_.path("pipe"), folder_.path("dangling"), folder_.path("loop"),
          folder_.path("missing"), std::string("/dev/null"), std::string(), std::string(PATH_MAX, 'x')}) {
        EXPECT_EQ(0, zn_encrypt_file_ex(name.c_str())) << name;
        EXPECT_EQ(0, zn_decrypt_file_ex(name.c_str())) << name;
    }
    EXPECT_EQ(3u, names().size());
}

TEST_F(FileCipher, NullIsRefused) {
    EXPECT_EQ(0, zn_encrypt_file_ex(nullptr));
    EXPECT_EQ(0, zn_decrypt_file_ex(nullptr));
}

TEST_F(FileCipher, NoKeyIsMadeForAFileThatIsMissing) {
    remove_key_files();
    EXPECT_EQ(0, encipher());
    EXPECT_EQ(0, decipher());
    EXPECT_TRUE(permanent_files().empty());
}

TEST_F(FileCipher, ASymbolicLinkStaysALink) {
    put("content");
    const std::string link = folder_.path("link");
    ASSERT_EQ(0, symlink("file", link.c_str()));
    EXPECT_EQ(1, zn_encrypt_file_ex(link.c_str()));
    EXPECT_NE("content", content());
    EXPECT_EQ(1, zn_decrypt_file_ex(link.c_str()));
    EXPECT_EQ("content", content());
    EXPECT_TRUE(std::filesystem::is_symlink(link));
}

/* The file is changed beside itself, not beside the link. */
TEST_F(FileCipher, ALinkToAnotherFolderIsFollowed) {
    const TempFolder other;
    const std::string file = other.file("file", "content");
    ASSERT_EQ(0, symlink(file.c_str(), path().c_str()));
    EXPECT_EQ(1, encipher());
    EXPECT_EQ(1, zn_decrypt_file_ex(file.c_str()));
    EXPECT_EQ("content", content());
    EXPECT_TRUE(std::filesystem::is_symlink(path()));
}

TEST_F(FileCipher, AnotherHardLinkKeepsTheOldContent) {
    put("content");
    ASSERT_EQ(0, link(path().c_str(), folder_.path("other").c_str()));
    EXPECT_EQ(1, encipher());
    EXPECT_EQ("content", key_file_bytes(folder_.path("other").c_str()));
}

TEST_F(FileCipher, TakesRelativePathsAndLongNames) {
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_.path());
    const std::string name(NAME_MAX, 'n');
    folder_.file(name, "content");
    EXPECT_EQ(1, zn_encrypt_file_ex(name.c_str()));
    EXPECT_EQ(1, zn_decrypt_file_ex(("./" + name).c_str()));
    EXPECT_EQ("content", key_file_bytes(folder_.path(name).c_str()));
    std::filesystem::current_path(before);
}

TEST_F(FileCipher, AFileInTheRootFolderIsChanged) {
    write_key_file("/quor_file", "content");
    EXPECT_EQ(1, zn_encrypt_file_ex("/quor_file"));
    EXPECT_EQ(1, zn_decrypt_file_ex("/quor_file"));
    EXPECT_EQ("content", key_file_bytes("/quor_file"));
    (void)unlink("/quor_file");
}

class FileCipherAccess : public FileCipherTest, public testing::WithParamInterface<mode_t> {
  protected:
    mode_t mode() const { return mode_of(path()); }
};

TEST_P(FileCipherAccess, StaysWhateverTheUmask) {
    put("content");
    ASSERT_EQ(0, chmod(path().c_str(), GetParam()));
    for (const mode_t mask : {0u, 0777u}) {
        const mode_t before = umask(mask);
        EXPECT_EQ(1, encipher());
        EXPECT_EQ(GetParam(), mode());
        EXPECT_EQ(1, decipher());
        EXPECT_EQ(GetParam(), mode());
        umask(before);
    }
}

INSTANTIATE_TEST_SUITE_P(Rights, FileCipherAccess, testing::Values(0600, 0644, 0660, 0400, 0755));

TEST_F(FileCipherAccess, NoProgramRunsInTheNameOfTheFilesOwner) {
    put("content");
    ASSERT_EQ(0, chmod(path().c_str(), 06755));
    EXPECT_EQ(1, encipher());
    EXPECT_EQ(0755u, mode());
}

TEST_F(FileCipher, TheLogTellsWhatIsRefusedAndNeverTheContent) {
    const LogCapture log;
    enciphered(kKnownContent);
    EXPECT_EQ("", log.text());
    EXPECT_TRUE(is_refused(known_file().substr(1)));
    EXPECT_EQ(1u, log.count(path() +
                            " is refused: not encrypted, altered, truncated, or encrypted with another key"))
        << log.text();
    EXPECT_EQ("zn_decrypt_file_ex", log.system_lines().at(0).function);
    EXPECT_EQ(0, zn_encrypt_file_ex(folder_.path("missing").c_str()));
    EXPECT_EQ(1u, log.count(folder_.path("missing") + " stays as it is, errno=2")) << log.text();
    EXPECT_FALSE(log.contains(kKnownContent)) << log.text();
}

TEST_F(FileCipher, ThreadsMayChangeFilesOfOneFolderAtOnce) {
    std::vector<std::string> back(8);
    run_in_threads(back.size(), [this, &back](size_t i) {
        const std::string name = std::to_string(i);
        const std::string file = folder_.file(name, "content " + name);
        for (int round = 0; round < 10; ++round) {
            EXPECT_EQ(1, zn_encrypt_file_ex(file.c_str()));
            EXPECT_EQ(1, zn_decrypt_file_ex(file.c_str()));
        }
        back[i] = key_file_bytes(file.c_str());
    });
    for (size_t i = 0; i < back.size(); ++i) {
        EXPECT_EQ("content " + std::to_string(i), back[i]);
    }
    EXPECT_EQ(back.size(), names().size());
}

}  // namespace
