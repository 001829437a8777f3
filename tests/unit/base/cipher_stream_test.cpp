/*
 * Encrypted files that a holder of the key could have written, but this library never writes.
 */
#include "adapt/cipher_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sodium.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "doubles/faults_test_fixture.h"
#include "support/unique_fd.h"

namespace {

using cipher_stream::Result;

constexpr size_t kChunkSize = 65536;
constexpr unsigned char kMessage = crypto_secretstream_xchacha20poly1305_TAG_MESSAGE;
constexpr unsigned char kFinal = crypto_secretstream_xchacha20poly1305_TAG_FINAL;
constexpr unsigned char kPush = crypto_secretstream_xchacha20poly1305_TAG_PUSH;

const std::string kHead("quorfile\1\0\0\0", 12);

const unsigned char *bytes_of(const std::string &text) {
    return reinterpret_cast<const unsigned char *>(text.data());
}

unsigned char *bytes_of(std::string *text) {
    return reinterpret_cast<unsigned char *>(text->data());
}

/* Files as somebody with the key may make them. */
class Forger {
  public:
    Forger(const device_key::Key &key, const std::string &head) : head_(head), file_(head) {
        std::string salt(crypto_secretstream_xchacha20poly1305_HEADERBYTES, '\0');
        crypto_secretstream_xchacha20poly1305_init_push(&state_, bytes_of(&salt), key.bytes);
        file_ += salt;
    }

    Forger &chunk(const std::string &content, unsigned char tag) { return sealed(content, tag, head_); }

    /* A chunk that is not bound to the file's head, but to other bytes. */
    Forger &sealed(const std::string &content, unsigned char tag, const std::string &bound) {
        std::string chunk(content.size() + crypto_secretstream_xchacha20poly1305_ABYTES, '\0');
        crypto_secretstream_xchacha20poly1305_push(&state_, bytes_of(&chunk), nullptr, bytes_of(content),
                                                   content.size(), bytes_of(bound), bound.size(), tag);
        file_ += chunk;
        return *this;
    }

    const std::string &file() const { return file_; }

  private:
    const std::string head_;
    std::string file_;
    crypto_secretstream_xchacha20poly1305_state state_;
};

/* A file in memory, ready to be read from its beginning. */
int memory_file(const std::string &content) {
    const int fd = memfd_create("file", MFD_CLOEXEC);
    EXPECT_EQ(static_cast<ssize_t>(content.size()), write(fd, content.data(), content.size()));
    EXPECT_EQ(0, lseek(fd, 0, SEEK_SET));
    return fd;
}

std::string content_of(int fd) {
    std::string content(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
    EXPECT_EQ(static_cast<ssize_t>(content.size()), pread(fd, content.data(), content.size(), 0));
    return content;
}

class CipherStream : public FaultsTest {
  protected:
    void SetUp() override {
        FaultsTest::SetUp();
        for (size_t i = 0; i < device_key::kKeySize; ++i) {
            key_.bytes[i] = static_cast<unsigned char>(i);
        }
    }

    Forger forger(const std::string &head = kHead) const { return {key_, head}; }

    Result decipher(const std::string &file) const {
        const UniqueFd from(memory_file(file));
        const UniqueFd to(memory_file(""));
        return cipher_stream::decipher(from.get(), to.get(), key_);
    }

    device_key::Key key_;
    const std::string full_ = std::string(kChunkSize, 'f');
};

TEST_F(CipherStream, TakesWhatIsWellMade) {
    EXPECT_EQ(Result::kDone, decipher(forger().chunk("", kFinal).file()));
    EXPECT_EQ(Result::kDone, decipher(forger().chunk("short", kFinal).file()));
    EXPECT_EQ(Result::kDone, decipher(forger().chunk(full_, kMessage).chunk("", kFinal).file()));
    EXPECT_EQ(Result::kDone, decipher(forger().chunk(full_, kMessage).chunk("short", kFinal).file()));
}

TEST_F(CipherStream, WritesWhatWasEnciphered) {
    const std::string plain = full_ + "end";
    const UniqueFd from(memory_file(plain));
    const UniqueFd sealed(memory_file(""));
    const UniqueFd to(memory_file(""));
    EXPECT_EQ(Result::kDone, cipher_stream::encipher(from.get(), sealed.get(), key_));
    ASSERT_EQ(0, lseek(sealed.get(), 0, SEEK_SET));
    EXPECT_EQ(Result::kDone, cipher_stream::decipher(sealed.get(), to.get(), key_));
    EXPECT_TRUE(plain == content_of(to.get()));
    EXPECT_EQ(kHead, content_of(sealed.get()).substr(0, kHead.size()));
}

TEST_F(CipherStream, RefusesAnEndThatIsNotMarked) {
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk("short", kMessage).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk("", kMessage).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk(full_, kMessage).file()));
}

TEST_F(CipherStream, RefusesAFullChunkThatIsMarkedAsTheEnd) {
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk(full_, kFinal).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk(full_, kFinal).chunk("", kFinal).file()));
}

TEST_F(CipherStream, RefusesShortChunksBeforeTheEnd) {
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk("short", kMessage).chunk("", kFinal).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk("", kFinal).chunk("", kFinal).file()));
}

TEST_F(CipherStream, RefusesOtherMarks) {
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk("short", kPush).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk(full_, kPush).chunk("", kFinal).file()));
    EXPECT_EQ(
        Result::kRefused,
        decipher(
            forger().chunk(full_, crypto_secretstream_xchacha20poly1305_TAG_REKEY).chunk("", kFinal).file()));
}

TEST_F(CipherStream, RefusesOtherFormats) {
    EXPECT_EQ(Result::kRefused,
              decipher(forger(std::string("quorfile\2\0\0\0", 12)).chunk("", kFinal).file()));
    EXPECT_EQ(Result::kRefused,
              decipher(forger(std::string("quorfile\1\0\0\1", 12)).chunk("", kFinal).file()));
    EXPECT_EQ(Result::kRefused,
              decipher(forger(std::string("QUORFILE\1\0\0\0", 12)).chunk("", kFinal).file()));
}

TEST_F(CipherStream, RefusesChunksThatAreNotBoundToTheHead) {
    EXPECT_EQ(Result::kRefused, decipher(forger().sealed("short", kFinal, "").file()));
    EXPECT_EQ(Result::kRefused,
              decipher(forger().sealed("short", kFinal, std::string("quorfile\2\0\0\0", 12)).file()));
    EXPECT_EQ(Result::kRefused, decipher(forger().chunk(full_, kMessage).sealed("short", kFinal, "").file()));
}

TEST_F(CipherStream, FailsWithoutDescriptors) {
    const UniqueFd sealed(memory_file(forger().chunk("short", kFinal).file()));
    const UniqueFd other(memory_file(""));
    EXPECT_EQ(Result::kFailed, cipher_stream::encipher(-1, other.get(), key_));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(Result::kFailed, cipher_stream::encipher(other.get(), -1, key_));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(Result::kFailed, cipher_stream::decipher(-1, other.get(), key_));
    EXPECT_EQ(EBADF, errno);
    EXPECT_EQ(Result::kFailed, cipher_stream::decipher(sealed.get(), -1, key_));
    EXPECT_EQ(EBADF, errno);
}

}  // namespace
