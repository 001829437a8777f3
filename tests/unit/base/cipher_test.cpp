/*
 * Secrets encrypted with the device cipher.
 */
#include "cipher.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "os_mem.h"
#include "support/key_files.h"
#include "support/threads.h"
#include "unit/base/product_key_fixture.h"

namespace {

constexpr uint32_t kUntouched = 0xABCDu;
constexpr char kNone[] = "(none)";
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr char kSecret[] = "correct horse battery staple";

/* kSecret under the key 0, 1, ... 31 and the nonce 0x40, 0x41, ... 0x57. */
constexpr char kKnownText[] =
    "QEFCQ0RFRkdISUpLTE1OT1BRUlNUVVZX4nKblwbyLUswJAhdQDKGOihRlm13wkUF"
    "//7ibPp+N7zhYPHf9jYJ+oURW+Y=";

uint32_t size_of(const std::string &text) {
    return static_cast<uint32_t>(text.size());
}

std::string enciphered(const std::string &secret) {
    char *text = zn_encrypt_data(secret.data(), size_of(secret));
    const std::string copy = text != nullptr ? text : kNone;
    os_mem_free(text);
    return copy;
}

std::string deciphered(const std::string &text) {
    uint32_t count = kUntouched;
    void *data = zn_decrypt_data(text.data(), size_of(text), &count);
    const std::string copy = data != nullptr ? std::string(static_cast<char *>(data), count) : kNone;
    EXPECT_EQ(data == nullptr, count == kUntouched);
    os_mem_free(data);
    return copy;
}

/* Fails the given request for memory, counted from 1, and lets the others through. */
void fail_block(unsigned which) {
    doubles::base::os_mem_malloc.forget_calls();
    doubles::base::os_mem_malloc.stand_in([which](size_t size) {
        return doubles::base::os_mem_malloc.calls() == which ? nullptr
                                                             : doubles::base::os_mem_malloc.real(size);
    });
}

class Cipher : public ProductKeyTest {};

TEST_F(Cipher, ReadsTextsThatExist) {
    EXPECT_EQ(kSecret, deciphered(kKnownText));
}

TEST_F(Cipher, SecretsComeBack) {
    EXPECT_EQ(kSecret, deciphered(enciphered(kSecret)));
    EXPECT_EQ(every_byte(), deciphered(enciphered(every_byte())));
    for (const char byte : every_byte()) {
        const std::string one(1, byte);
        EXPECT_EQ(one, deciphered(enciphered(one)));
    }
}

TEST_F(Cipher, ASecretOfNoBytesComesBack) {
    const std::string text = enciphered("");
    EXPECT_EQ(56u, text.size());
    EXPECT_EQ("", deciphered(text));
}

TEST_F(Cipher, RandomSecretsOfEveryLengthComeBack) {
    std::mt19937 random(4712);
    std::string secret;
    for (int length = 0; length < 800; ++length) {
        const std::string text = enciphered(secret);
        EXPECT_EQ((secret.size() + 40 + 2) / 3 * 4, text.size());
        EXPECT_EQ(secret, deciphered(text));
        secret += static_cast<char>(random());
    }
}

TEST_F(Cipher, ASecretOfAMegabyteComesBack) {
    const std::string secret(1u << 20, 's');
    EXPECT_EQ(secret, deciphered(enciphered(secret)));
}

TEST_F(Cipher, TheTextIsBase64) {
    EXPECT_EQ(std::string::npos, enciphered(kSecret).find_first_not_of(std::string(kAlphabet) + "="));
}

TEST_F(Cipher, NoTwoTextsOfOneSecretAreAlike) {
    std::set<std::string> texts;
    std::set<std::string> nonces;
    for (int i = 0; i < 1000; ++i) {
        const std::string text = enciphered(kSecret);
        texts.insert(text);
        nonces.insert(text.substr(0, 32));
    }
    EXPECT_EQ(1000u, texts.size());
    EXPECT_EQ(1000u, nonces.size());
}

TEST_F(Cipher, EveryAlteredCharacterIsRefused) {
    const std::string text = kKnownText;
    for (size_t place = 0; place < text.size(); ++place) {
        for (const char byte : every_byte()) {
            if (byte == text[place]) {
                continue;
            }
            std::string altered = text;
            altered[place] = byte;
            ASSERT_EQ(kNone, deciphered(altered))
                << "character " << static_cast<int>(byte) << " at " << place;
        }
    }
}

TEST_F(Cipher, EveryCutIsRefused) {
    const std::string text = kKnownText;
    for (size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(kNone, deciphered(text.substr(0, length))) << length;
        EXPECT_EQ(kNone, deciphered(text.substr(text.size() - length))) << length;
    }
}

TEST_F(Cipher, AnExtendedTextIsRefused) {
    const std::string text = enciphered("123456789012");
    EXPECT_EQ(kNone, deciphered(text + "AAAA"));
    EXPECT_EQ(kNone, deciphered("AAAA" + text));
    EXPECT_EQ(kNone, deciphered(text + "\n"));
    EXPECT_EQ(kNone, deciphered(text + text));
}

TEST_F(Cipher, TwoTextsThatSwapTheirNoncesAreRefused) {
    const std::string a = enciphered("secret a");
    const std::string b = enciphered("secret b");
    EXPECT_EQ(kNone, deciphered(a.substr(0, 32) + b.substr(32)));
    EXPECT_EQ(kNone, deciphered(b.substr(0, 32) + a.substr(32)));
}

TEST_F(Cipher, ATextOfAnotherKeyIsRefused) {
    const std::string text = enciphered(kSecret);
    write_key_file(kProductKeyPath, some_key(1));
    EXPECT_EQ(kNone, deciphered(text));
    write_key_file(kProductKeyPath, some_key());
    EXPECT_EQ(kSecret, deciphered(text));
}

TEST_F(Cipher, ADeviceWithoutAProductKeyReadsItsOwnSecrets) {
    remove_key_files();
    EXPECT_EQ(kSecret, deciphered(enciphered(kSecret)));
    EXPECT_EQ(32u, key_file_bytes(kDeviceKeyPath).size());
}

TEST_F(Cipher, WithoutAKeyNothingIsEncipheredOrDeciphered) {
    const LogCapture log;
    write_key_file(kProductKeyPath, "too short");
    EXPECT_EQ(kNone, enciphered(kSecret));
    EXPECT_EQ(kNone, deciphered(kKnownText));
    EXPECT_EQ(2u, log.count("the key file /etc/quor_product.key is refused")) << log.text();
}

TEST_F(Cipher, NullIsRefused) {
    uint32_t count = kUntouched;
    EXPECT_EQ(nullptr, zn_encrypt_data(nullptr, 0));
    EXPECT_EQ(nullptr, zn_encrypt_data(nullptr, 3));
    EXPECT_EQ(nullptr, zn_decrypt_data(nullptr, 0, &count));
    EXPECT_EQ(nullptr, zn_decrypt_data(nullptr, 92, &count));
    EXPECT_EQ(nullptr, zn_decrypt_data(kKnownText, sizeof(kKnownText) - 1, nullptr));
    EXPECT_EQ(kUntouched, count);
}

/* The data is never read. */
TEST_F(Cipher, LengthsBeyondABlockGiveNull) {
    uint32_t count = kUntouched;
    for (const uint32_t length :
         {uint32_t{OS_MEM_BLOCK_MAX} - 39, uint32_t{OS_MEM_BLOCK_MAX}, 0xFFFFFFD8u, 0xFFFFFFFFu}) {
        EXPECT_EQ(nullptr, zn_encrypt_data("", length)) << length;
        EXPECT_EQ(nullptr, zn_decrypt_data("", length | 0x08000000u, &count)) << length;
    }
    EXPECT_EQ(kUntouched, count);
}

/* Memory is asked for up to the length that fits a block under its seal, though its text would not. */
TEST_F(Cipher, TheLongestSecretIsRefusedByTheMemory) {
    fail_block(1);
    EXPECT_EQ(nullptr, zn_encrypt_data("", OS_MEM_BLOCK_MAX - 40));
    EXPECT_EQ(1u, doubles::base::os_mem_malloc.calls());
}

TEST_F(Cipher, EveryLackOfMemoryGivesNull) {
    for (const unsigned which : {1u, 2u}) {
        fail_block(which);
        EXPECT_EQ(kNone, enciphered(kSecret)) << which;
        fail_block(which);
        EXPECT_EQ(kNone, deciphered(kKnownText)) << which;
    }
    fail_block(3);
    EXPECT_EQ(kSecret, deciphered(kKnownText));
}

TEST_F(Cipher, TheLogNeverHoldsASecret) {
    const LogCapture log;
    const std::string text = enciphered(kSecret);
    deciphered(text);
    deciphered(text.substr(4));
    EXPECT_FALSE(log.contains(kSecret)) << log.text();
    EXPECT_FALSE(log.contains(text)) << log.text();
}

TEST_F(Cipher, ThreadsMayEncipherAtOnce) {
    std::vector<std::string> back(8);
    run_in_threads(back.size(),
                   [&back](size_t i) { back[i] = deciphered(enciphered("secret " + std::to_string(i))); });
    for (size_t i = 0; i < back.size(); ++i) {
        EXPECT_EQ("secret " + std::to_string(i), back[i]);
    }
}

}  // namespace
