/*
 * Encoded settings: what is stored, what is read back, and what is refused. No test leaks a block:
 * the fixture counts them.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/encoding_doubles.h"
#include "unit/frwk_utils/fake_database.h"

namespace {

using ZndbEncoded = ConfigTest;

/* Both encodings: type, name in the log, most bytes that a value of 1023 characters can hold. */
struct EncodingCase {
    int32_t type;
    const char *name;
    uint32_t most_bytes;
};

constexpr EncodingCase kEncodings[] = {{FRWK_DATA_TYPE_BASE64, "base64", 765},
                                       {FRWK_DATA_TYPE_CIPHER, "xzn", 725}};

constexpr char kGotNothing[] = "((void *)0) != val";

apps_err_e_type put(int32_t type, const std::string &bytes) {
    return frwk_zndb_set_key_value_encrypt("key", type, bytes.data(), static_cast<uint32_t>(bytes.size()));
}

/* What a buffer holds after a read with this size. The buffer is a block of its own, full of 'U'. */
struct Read {
    apps_err_e_type ret;
    std::string bytes;
};

Read get(int32_t type, int32_t size) {
    std::vector<char> out(static_cast<size_t>(size), 'U');
    char none = 'U';
    const apps_err_e_type ret =
        frwk_zndb_get_key_value_decrypt("key", type, size > 0 ? out.data() : &none, size);
    EXPECT_EQ('U', none);
    return {ret, std::string(out.begin(), out.end())};
}

std::string every_byte() {
    std::string bytes;
    for (int byte = 0; byte <= 255; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

/* Another character that is valid at the same place. */
char other_than(char character) {
    return character == 'A' ? 'B' : 'A';
}

}  // namespace

TEST_F(ZndbEncoded, BringsBackEveryByte) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, every_byte()));
        const Read read = get(encoding.type, 257);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, read.ret);
        EXPECT_EQ(every_byte() + '\0', read.bytes);
    }
}

TEST_F(ZndbEncoded, StoresBase64) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_BASE64, "hello"));
    EXPECT_EQ("aGVsbG8=", stored("key"));
}

TEST_F(ZndbEncoded, StoresNothingThatShowsTheSecret) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_CIPHER, "correct horse"));
    EXPECT_EQ(std::string::npos, stored("key").find("correct"));
    char *base64 = base64_encrypt("correct horse", 13);
    EXPECT_EQ(std::string::npos, stored("key").find(base64));
    os_mem_free(base64);
}

TEST_F(ZndbEncoded, EnciphersTheSameSecretDifferentlyEachTime) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_CIPHER, "secret"));
    const std::string once = stored("key");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_CIPHER, "secret"));
    EXPECT_NE(once, stored("key"));
}

TEST_F(ZndbEncoded, TerminatesWhatIsShorterThanTheBuffer) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, "hello"));
        const Read read = get(encoding.type, 8);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, read.ret);
        EXPECT_EQ(std::string("hello\0UU", 8), read.bytes);
    }
}

TEST_F(ZndbEncoded, FillsABufferOfItsLengthWithoutATerminator) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, "hello"));
        const Read read = get(encoding.type, 5);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, read.ret);
        EXPECT_EQ("hello", read.bytes);
    }
}

TEST_F(ZndbEncoded, LeavesABufferThatIsTooSmallAlone) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, "hello"));
        for (int32_t size = 0; size < 5; ++size) {
            const LogCapture log;
            const Read read = get(encoding.type, size);
            EXPECT_EQ(E_APPS_ERR_OUTOFBUF, read.ret);
            EXPECT_EQ(std::string(static_cast<size_t>(size), 'U'), read.bytes);
            EXPECT_TRUE(logged_once(
                log, kWarningLevel, "frwk_zndb_get_key_value_decrypt",
                std::string(encoding.name) + " decrypt len(5," + std::to_string(size) + ") out of buf!"));
        }
    }
}

TEST_F(ZndbEncoded, HasNoRoomInABufferOfNegativeSize) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, "hello"));
        char out = 'U';
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value_decrypt("key", encoding.type, &out, -1));
        EXPECT_EQ('U', out);
    }
}

TEST_F(ZndbEncoded, ReadsAnEmptyStoredValueAsTheEmptyText) {
    store("key", "");
    for (const EncodingCase &encoding : kEncodings) {
        const Read read = get(encoding.type, 3);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, read.ret);
        EXPECT_EQ(std::string("\0UU", 3), read.bytes);
    }
    EXPECT_EQ(0u, doubles::base::base64_decrypt.calls() + doubles::base::zn_decrypt_data.calls());
}

TEST_F(ZndbEncoded, WritesNoTerminatorWhereThereIsNoRoomForOne) {
    store("key", "");
    for (const EncodingCase &encoding : kEncodings) {
        for (const int32_t size : {0, -1, INT32_MIN}) {
            char out = 'U';
            EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value_decrypt("key", encoding.type, &out, size));
            EXPECT_EQ('U', out);
        }
    }
}

TEST_F(ZndbEncoded, BringsBackNoBytesAtAll) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, ""));
        const Read read = get(encoding.type, 2);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, read.ret);
        EXPECT_EQ(std::string("\0U", 2), read.bytes);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, get(encoding.type, 0).ret);
    }
}

TEST_F(ZndbEncoded, RefusesWhatWasNotEncoded) {
    for (const EncodingCase &encoding : kEncodings) {
        for (const char *text : {"!", "plain text", "aGVsbG8", "aGVsbG8=\n", "aGVs bG8="}) {
            const LogCapture log;
            store("key", text);
            const Read read = get(encoding.type, 16);
            EXPECT_EQ(E_APPS_ERR_FORMAT, read.ret) << text;
            EXPECT_EQ(std::string(16, 'U'), read.bytes);
            EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_key_value_decrypt",
                                    assertion(kGotNothing, std::string(encoding.name) + " decrypt error!")));
            EXPECT_EQ(0u, log.assertions());
        }
    }
}

TEST_F(ZndbEncoded, RefusesACipherTextWithAnyCharacterAltered) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_CIPHER, "secret"));
    const std::string whole = stored("key");
    for (size_t i = 0; i < whole.size(); ++i) {
        std::string altered = whole;
        altered[i] = other_than(altered[i]);
        store("key", altered);
        const Read read = get(FRWK_DATA_TYPE_CIPHER, 16);
        ASSERT_EQ(E_APPS_ERR_FORMAT, read.ret) << "character " << i;
        ASSERT_EQ(std::string(16, 'U'), read.bytes);
    }
}

TEST_F(ZndbEncoded, RefusesACipherTextThatWasCutOrExtended) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, put(FRWK_DATA_TYPE_CIPHER, "secret"));
    const std::string whole = stored("key");
    for (size_t length = 1; length < whole.size(); ++length) {
        store("key", whole.substr(0, length));
        ASSERT_EQ(E_APPS_ERR_FORMAT, get(FRWK_DATA_TYPE_CIPHER, 16).ret) << length;
    }
    store("key", whole + "AAAA");
    EXPECT_EQ(E_APPS_ERR_FORMAT, get(FRWK_DATA_TYPE_CIPHER, 16).ret);
}

TEST_F(ZndbEncoded, SaysThatAValueCanNotBeEncoded) {
    const auto nothing = [](const void *, uint32_t) -> char * { return nullptr; };
    doubles::base::base64_encrypt.stand_in(nothing);
    doubles::base::zn_encrypt_data.stand_in(nothing);
    for (const EncodingCase &encoding : kEncodings) {
        const LogCapture log;
        EXPECT_EQ(E_APPS_ERR_INTERNAL, put(encoding.type, "hello"));
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_set_key_value_encrypt",
                                assertion(kGotNothing, std::string(encoding.name) + " encrypt error!")));
        EXPECT_EQ(0u, log.assertions());
    }
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbEncoded, SaysThatNullBytesCanNotBeEncoded) {
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_INTERNAL, frwk_zndb_set_key_value_encrypt("key", encoding.type, nullptr, 5));
    }
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbEncoded, RefusesMoreBytesThanAValueHolds) {
    for (const EncodingCase &encoding : kEncodings) {
        const std::string most(encoding.most_bytes, 'b');
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, most));
        EXPECT_EQ(most, get(encoding.type, static_cast<int32_t>(encoding.most_bytes)).bytes);
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, put(encoding.type, most + "b"));
    }
}

TEST_F(ZndbEncoded, TranslatesTheResultsOfTheDatabase) {
    for (const EncodingCase &encoding : kEncodings) {
        database().result = E_ZNDB_RET_IPC;
        EXPECT_EQ(E_APPS_ERR_BUSY, put(encoding.type, "hello"));
        EXPECT_EQ(E_APPS_ERR_BUSY, get(encoding.type, 16).ret);
        database().result = E_ZNDB_RET_SUCCESS;
        EXPECT_EQ(E_APPS_ERR_NOTFOUND, get(encoding.type, 16).ret);
    }
}

TEST_F(ZndbEncoded, RefusesNullArgumentsAsTheRequestDoes) {
    store("key", "aGVsbG8=");
    char out[16] = "before";
    for (const int32_t type : {18, 19, 8, 14}) {
        EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_zndb_get_key_value_decrypt(nullptr, type, out, sizeof(out)));
        EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_zndb_get_key_value_decrypt("key", type, nullptr, sizeof(out)));
    }
    EXPECT_STREQ("before", out);
    for (const EncodingCase &encoding : kEncodings) {
        EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_zndb_set_key_value_encrypt(nullptr, encoding.type, "a", 1));
    }
}

TEST_F(ZndbEncoded, WritesAnyOtherTypeAsTheTypedCallDoes) {
    const int32_t number = -5;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value_encrypt("key", FRWK_DATA_TYPE_INT, &number, 9999));
    EXPECT_EQ("-5", stored("key"));
    EXPECT_EQ(E_APPS_ERR_SUCCESS,
              frwk_zndb_set_key_value_encrypt("key", FRWK_DATA_TYPE_STRING, "whole text", 2));
    EXPECT_EQ("whole text", stored("key"));
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_value_encrypt("key", 17 + 3, &number, 4));
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_value_encrypt(nullptr, FRWK_DATA_TYPE_INT, &number, 4));
}

TEST_F(ZndbEncoded, ReadsAnyOtherTypeAsATextOfUpTo1023Characters) {
    store("key", std::string(1022, '0') + "5");
    int32_t number = 77;
    EXPECT_EQ(E_APPS_ERR_SUCCESS,
              frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_INT, &number, sizeof(number)));
    EXPECT_EQ(5, number);
    EXPECT_EQ(1024u, database().requests.back().size);

    store("key", "abc");
    char text[4] = {};
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_STRING, text, 3));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_STRING, text, 4));
    EXPECT_STREQ("abc", text);
}

TEST_F(ZndbEncoded, HasNoRoomForAnyOtherTypeInABufferOfNegativeSize) {
    store("key", "1");
    int32_t out = 77;
    for (const int32_t type : {FRWK_DATA_TYPE_INT, FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_BOOL}) {
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value_decrypt("key", type, &out, -1));
    }
    EXPECT_EQ(77, out);
}

TEST_F(ZndbEncoded, LogsNeitherTheBytesNorTheStoredText) {
    for (const EncodingCase &encoding : kEncodings) {
        const LogCapture log;
        EXPECT_EQ(E_APPS_ERR_SUCCESS, put(encoding.type, "correct horse"));
        const std::string text = stored("key");
        EXPECT_EQ(E_APPS_ERR_SUCCESS, get(encoding.type, 32).ret);
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, get(encoding.type, 2).ret);
        store("key", text.substr(1));
        EXPECT_EQ(E_APPS_ERR_FORMAT, get(encoding.type, 32).ret);
        EXPECT_FALSE(log.contains("correct")) << log.text();
        EXPECT_FALSE(log.contains(text.substr(1))) << log.text();
    }
}
