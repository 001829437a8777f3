/*
 * Base64 texts.
 */
#include "base64.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <random>
#include <string>

#include "doubles/base_doubles.h"
#include "os_mem.h"
#include "unit/base/no_leak_fixture.h"

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/* A count that a successful call must overwrite. */
constexpr uint32_t kUntouched = 0xABCDu;

uint32_t size_of(const std::string &text) {
    return static_cast<uint32_t>(text.size());
}

std::string encoded(const std::string &data) {
    char *text = base64_encrypt(data.data(), size_of(data));
    EXPECT_NE(nullptr, text);
    const std::string copy = text != nullptr ? text : "(none)";
    os_mem_free(text);
    return copy;
}

std::string decoded(const std::string &text) {
    uint32_t count = kUntouched;
    void *data = base64_decrypt(text.data(), size_of(text), &count);
    EXPECT_NE(nullptr, data) << text;
    const std::string copy = data != nullptr ? std::string(static_cast<char *>(data), count) : "(none)";
    os_mem_free(data);
    return copy;
}

bool is_refused(const std::string &text) {
    uint32_t count = kUntouched;
    void *data = base64_decrypt(text.data(), size_of(text), &count);
    os_mem_free(data);
    return data == nullptr && count == kUntouched;
}

class Base64 : public NoLeakTest {};

TEST_F(Base64, WritesTheStandardAlphabetWithPadding) {
    EXPECT_EQ("Zg==", encoded("f"));
    EXPECT_EQ("Zm8=", encoded("fo"));
    EXPECT_EQ("Zm9v", encoded("foo"));
    EXPECT_EQ("Zm9vYg==", encoded("foob"));
    EXPECT_EQ("Zm9vYmE=", encoded("fooba"));
    EXPECT_EQ("Zm9vYmFy", encoded("foobar"));
    EXPECT_EQ("+/+/", encoded("\xFB\xFF\xBF"));
    EXPECT_EQ("AA==", encoded(std::string(1, '\0')));
}

TEST_F(Base64, ReadsTheStandardAlphabetWithPadding) {
    EXPECT_EQ("f", decoded("Zg=="));
    EXPECT_EQ("fo", decoded("Zm8="));
    EXPECT_EQ("foo", decoded("Zm9v"));
    EXPECT_EQ("foobar", decoded("Zm9vYmFy"));
    EXPECT_EQ("\xFB\xFF\xBF", decoded("+/+/"));
    EXPECT_EQ(std::string(1, '\0'), decoded("AA=="));
}

TEST_F(Base64, WritesEverySymbolOfTheAlphabet) {
    std::string bytes;
    for (unsigned i = 0; i < 64; i += 4) {
        bytes += static_cast<char>((i << 2) | ((i + 1) >> 4));
        bytes += static_cast<char>(((i + 1) << 4) | ((i + 2) >> 2));
        bytes += static_cast<char>(((i + 2) << 6) | (i + 3));
    }
    EXPECT_EQ(kAlphabet, encoded(bytes));
    EXPECT_EQ(bytes, decoded(kAlphabet));
}

TEST_F(Base64, NothingIsTheEmptyTextAndABlockOfNoBytes) {
    EXPECT_EQ("", encoded(""));
    EXPECT_EQ("", decoded(""));
}

TEST_F(Base64, EveryByteComesBack) {
    EXPECT_EQ(every_byte(), decoded(encoded(every_byte())));
    for (const char byte : every_byte()) {
        const std::string one(1, byte);
        EXPECT_EQ(one, decoded(encoded(one)));
    }
}

TEST_F(Base64, RandomBytesOfEveryLengthComeBack) {
    std::mt19937 random(4711);
    std::string bytes;
    for (int length = 0; length < 1100; ++length) {
        const std::string text = encoded(bytes);
        EXPECT_EQ((bytes.size() + 2) / 3 * 4, text.size());
        EXPECT_EQ(bytes, decoded(text));
        bytes += static_cast<char>(random());
    }
}

TEST_F(Base64, NullIsRefused) {
    uint32_t count = kUntouched;
    EXPECT_EQ(nullptr, base64_encrypt(nullptr, 0));
    EXPECT_EQ(nullptr, base64_encrypt(nullptr, 3));
    EXPECT_EQ(nullptr, base64_decrypt(nullptr, 0, &count));
    EXPECT_EQ(nullptr, base64_decrypt(nullptr, 4, &count));
    EXPECT_EQ(nullptr, base64_decrypt("Zm9v", 4, nullptr));
    EXPECT_EQ(kUntouched, count);
}

TEST_F(Base64, EveryCharacterOutsideTheAlphabetIsRefused) {
    const std::string alphabet = kAlphabet;
    for (const char byte : every_byte()) {
        if (alphabet.find(byte) != std::string::npos) {
            continue;
        }
        for (size_t place = 0; place < 4; ++place) {
            std::string text = "Zm8v";
            text[place] = byte;
            EXPECT_TRUE(is_refused("AAAA" + text + "AAAA")) << static_cast<int>(byte) << " at " << place;
            EXPECT_EQ(byte != '=' || place != 3, is_refused(text)) << static_cast<int>(byte);
        }
    }
}

TEST_F(Base64, WrongPaddingIsRefused) {
    for (const char *text : {"Zg", "Zg=", "Zg===", "Zg====", "Z", "Z===", "Zm8", "Zm8==", "Zm9v=", "Zm9v====",
                             "=", "==", "====", "Zg==Zg==", "Zm8=Zm9v", "Zg=v", "=g=="}) {
        EXPECT_TRUE(is_refused(text)) << text;
    }
}

TEST_F(Base64, BitsThatBelongToNoByteMustBeZero) {
    EXPECT_TRUE(is_refused("Zh=="));
    EXPECT_TRUE(is_refused("Zv=="));
    EXPECT_TRUE(is_refused("Zm9="));
}

TEST_F(Base64, LineEndsAndBlanksAreRefused) {
    for (const char *text :
         {"Zm9v\n", "Zm9v\r\n\r\n", "Zm9v    ", "    Zm9v", "Zm9v\nZm9v", "Zm 9v", "Zm9\n"}) {
        EXPECT_TRUE(is_refused(text)) << text;
    }
}

TEST_F(Base64, TheUrlAlphabetIsRefused) {
    EXPECT_TRUE(is_refused("-_-_"));
}

TEST_F(Base64, ANulInsideTheLengthIsRefused) {
    EXPECT_TRUE(is_refused(std::string("Zm9v\0\0\0\0", 8)));
    EXPECT_TRUE(is_refused(std::string("Zm9\0", 4)));
}

TEST_F(Base64, ReadsNoFurtherThanTheLength) {
    uint32_t count = 0;
    void *data = base64_decrypt("Zm9v!!!!", 4, &count);
    ASSERT_NE(nullptr, data);
    EXPECT_EQ("foo", std::string(static_cast<char *>(data), count));
    os_mem_free(data);
}

TEST_F(Base64, EveryCutIsRefusedUnlessItIsWholeGroups) {
    const std::string text = encoded("the secret of the device");
    for (size_t length = 1; length < text.size(); ++length) {
        EXPECT_EQ(length % 4 != 0, is_refused(text.substr(0, length))) << length;
    }
}

TEST_F(Base64, LackOfMemoryGivesNull) {
    doubles::base::os_mem_malloc.stand_in([](size_t) { return nullptr; });
    uint32_t count = kUntouched;
    EXPECT_EQ(nullptr, base64_encrypt("foo", 3));
    EXPECT_EQ(nullptr, base64_decrypt("Zm9v", 4, &count));
    EXPECT_EQ(kUntouched, count);
}

/* The longest data is asked for, as any length is whose text is too long, and refused by the memory. */
TEST_F(Base64, DataAsLongAsABlockIsARefusalThatIsCounted) {
    errno = 0;
    EXPECT_EQ(nullptr, base64_encrypt("", OS_MEM_BLOCK_MAX));
    EXPECT_EQ(ENOMEM, errno);
    os_mem_usage_t after = {};
    os_mem_usage(&after);
    EXPECT_EQ(before_.refused + 1, after.refused);
}

/* Texts of these lengths fit no block; the data is never read. */
TEST_F(Base64, LengthsBeyondABlockGiveNull) {
    uint32_t count = kUntouched;
    for (const uint32_t length : {uint32_t{OS_MEM_BLOCK_MAX}, uint32_t{OS_MEM_BLOCK_MAX} + 1, 0xBFFFFFFFu,
                                  0xC0000000u, 0xFFFFFFFCu, 0xFFFFFFFDu, 0xFFFFFFFFu}) {
        EXPECT_EQ(nullptr, base64_encrypt("", length)) << length;
    }
    for (const uint32_t length : {0x08000000u, 0xFFFFFFFCu, 0xFFFFFFFFu}) {
        EXPECT_EQ(nullptr, base64_decrypt("", length, &count)) << length;
    }
    EXPECT_EQ(kUntouched, count);
}

}  // namespace
