/*
 * Typed settings: the requests to the database, and the conversion of its answers.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"

namespace {

using ZndbTyped = ConfigTest;

/* Every result of the database's client, and what the typed layer makes of it. */
const std::vector<std::pair<int, apps_err_e_type>> kClientResults = {
    {E_ZNDB_RET_FAILURE, E_APPS_ERR_FAILURE},
    {E_ZNDB_RET_IPC, E_APPS_ERR_BUSY},
    {E_ZNDB_RET_NOT_FOUND, E_APPS_ERR_NOTFOUND},
    {E_ZNDB_RET_KEY_LEN, E_APPS_ERR_OUTOFBUF},
    {E_ZNDB_RET_VALUE_LEN, E_APPS_ERR_OUTOFBUF}};

/* The types that have no variable here; 18 and 19 are known to the calls for encoded values only. */
const std::vector<int32_t> kNoTypes = {-1, 0, 2, 5, 18, 19, 20, 9999};

/* A number of each type, its text, and its size. */
struct NumberCase {
    int32_t type;
    std::string text;
    std::string bytes;
};

template <typename Number>
NumberCase number_case(int32_t type, const std::string &text, Number number) {
    return {type, text, std::string(reinterpret_cast<const char *>(&number), sizeof(number))};
}

const std::vector<NumberCase> kNumbers = {
    number_case(FRWK_DATA_TYPE_BOOL, "true", uint8_t{1}),
    number_case(FRWK_DATA_TYPE_BYTE, "255", uint8_t{255}),
    number_case(FRWK_DATA_TYPE_UCHAR, "7", uint8_t{7}),
    number_case(FRWK_DATA_TYPE_SHORT, "-32767", int16_t{-32767}),
    number_case(FRWK_DATA_TYPE_USHORT, "65535", uint16_t{65535}),
    number_case(FRWK_DATA_TYPE_INT, "-2147483647", int32_t{-2147483647}),
    number_case(FRWK_DATA_TYPE_UINT, "4294967295", uint32_t{4294967295u}),
    number_case(FRWK_DATA_TYPE_LONG, "-5", int32_t{-5}),
    number_case(FRWK_DATA_TYPE_ULONG, "5", uint32_t{5}),
    number_case(FRWK_DATA_TYPE_LLONG, "-9223372036854775808", INT64_MIN),
    number_case(FRWK_DATA_TYPE_ULLONG, "18446744073709551615", UINT64_MAX),
    number_case(FRWK_DATA_TYPE_FLOAT, "0.500000", 0.5f),
    number_case(FRWK_DATA_TYPE_DOUBLE, "-1.500000", -1.5)};

apps_err_e_type get_int(const char *key, int32_t *value) {
    return frwk_zndb_get_key_value(key, FRWK_DATA_TYPE_INT, value, sizeof(*value));
}

}  // namespace

TEST_F(ZndbTyped, ReadsANumberOfEachType) {
    for (const NumberCase &number : kNumbers) {
        store("key", number.text);
        std::string out(number.bytes.size(), 'U');
        EXPECT_EQ(E_APPS_ERR_SUCCESS,
                  frwk_zndb_get_key_value("key", number.type, out.data(), static_cast<uint32_t>(out.size())));
        EXPECT_EQ(number.bytes, out) << number.text;
    }
}

TEST_F(ZndbTyped, WritesANumberOfEachType) {
    for (const NumberCase &number : kNumbers) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("key", number.type, number.bytes.data()));
        EXPECT_EQ(number.text, stored("key"));
    }
}

TEST_F(ZndbTyped, WritesToThePermStoreOnlyWhenAskedTo) {
    const int32_t value = 42;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_perm_value("key", FRWK_DATA_TYPE_INT, &value));
    EXPECT_EQ("42", database().perm["key"]);
    EXPECT_EQ("(none)", stored("key"));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("other", FRWK_DATA_TYPE_INT, &value));
    EXPECT_EQ(1u, database().perm.size());
}

TEST_F(ZndbTyped, ReadsATextStraightIntoTheCallersBuffer) {
    store("key", "some text");
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        char out[200] = {};
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", type, out, sizeof(out)));
        EXPECT_STREQ("some text", out);
        EXPECT_EQ(static_cast<void *>(out), database().requests.back().buffer);
        EXPECT_EQ(sizeof(out), database().requests.back().size);
    }
}

TEST_F(ZndbTyped, ReadsNothingIntoABufferOfSize0) {
    store("key", "12");
    std::string out(8, 'U');
    for (const NumberCase &number : kNumbers) {
        EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("key", number.type, out.data(), 0))
            << number.type;
    }
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, out.data(), 0));
    EXPECT_EQ(std::string(8, 'U'), out);
}

TEST_F(ZndbTyped, ShowsAValueThatIsNoBooleanAtDebugLevelsOnly) {
    store("key", "correct horse");
    const LogCapture log;
    EXPECT_EQ(0, frwk_zndb_get_bool("key"));
    for (const auto &line : log.system_lines()) {
        if (line.level < kDebugLevel) {
            EXPECT_EQ(std::string::npos, line.text.find("horse")) << line.text;
        }
    }
}

TEST_F(ZndbTyped, WritesATextAsItStands) {
    const std::string text(1023, 'x');
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("key", type, text.c_str()));
        EXPECT_EQ(text, stored("key"));
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_perm_value("key", type, "a,&b"));
        EXPECT_EQ("a,&b", database().perm["key"]);
    }
}

TEST_F(ZndbTyped, WritesANullTextAsTheEmptyOne) {
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        store("key", "before");
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("key", type, nullptr));
        EXPECT_EQ("", stored("key"));
    }
}

TEST_F(ZndbTyped, RefusesATextOf1024Characters) {
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF,
              frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_STRING, std::string(1024, 'x').c_str()));
    EXPECT_EQ("(none)", stored("key"));
}

TEST_F(ZndbTyped, RefusesATextThatDoesNotFitTheCallersBuffer) {
    store("key", "abc");
    char out[4] = {};
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, out, 3));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, out, 4));
}

TEST_F(ZndbTyped, RefusesANumberWhoseTextHas64Characters) {
    uint32_t out = 77;
    store("key", std::string(63, '0') + "5");
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_UINT, &out, sizeof(out)));
    EXPECT_EQ(77u, out);
    store("key", std::string(62, '0') + "5");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_UINT, &out, sizeof(out)));
    EXPECT_EQ(5u, out);
    EXPECT_EQ(64u, database().requests.back().size);
}

TEST_F(ZndbTyped, RefusesToReadWithoutAKeyOrAVariable) {
    int32_t out = 77;
    for (const int32_t type : {FRWK_DATA_TYPE_INT, FRWK_DATA_TYPE_STRING}) {
        const LogCapture log;
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value(nullptr, type, &out, sizeof(out)));
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_key_value", "parameter is null!"));
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value("key", type, nullptr, sizeof(out)));
        EXPECT_EQ(2u, log.count("parameter is null!"));
    }
    EXPECT_EQ(77, out);
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbTyped, RefusesToWriteWithoutAKey) {
    const LogCapture log;
    const int32_t value = 1;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_value(nullptr, FRWK_DATA_TYPE_INT, &value));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_set_key_value", "parameter is null!"));
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbTyped, RefusesToWriteToThePermStoreWithoutAKey) {
    const LogCapture log;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_perm_value(nullptr, FRWK_DATA_TYPE_STRING, "a"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_set_key_perm_value", "parameter is null!"));
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbTyped, TranslatesEveryResultOfTheDatabase) {
    const int32_t value = 1;
    for (const auto &[client, expected] : kClientResults) {
        database().result = client;
        int32_t out = 77;
        char text[8] = {};
        EXPECT_EQ(expected, get_int("key", &out));
        EXPECT_EQ(77, out);
        EXPECT_EQ(expected, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, text, sizeof(text)));
        EXPECT_EQ(expected, frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_INT, &value));
        EXPECT_EQ(expected, frwk_zndb_set_key_perm_value("key", FRWK_DATA_TYPE_STRING, "a"));
    }
}

TEST_F(ZndbTyped, SaysThatAKeyIsMissing) {
    int32_t out = 77;
    EXPECT_EQ(E_APPS_ERR_NOTFOUND, get_int("missing", &out));
    EXPECT_EQ(77, out);
}

TEST_F(ZndbTyped, LeavesTheVariableAloneWhenTheTextCanNotBeRead) {
    store("byte", "256");
    store("bool", "perhaps");
    uint8_t out = 77;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value("byte", FRWK_DATA_TYPE_BYTE, &out, 1));
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value("bool", FRWK_DATA_TYPE_BOOL, &out, 1));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("byte", FRWK_DATA_TYPE_SHORT, &out, 1));
    EXPECT_EQ(77, out);
}

TEST_F(ZndbTyped, ShowsATextThatCanNotBeReadAtTheDebugLevelOnly) {
    const LogCapture log;
    store("pin", "70000");
    uint16_t out = 0;
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value("pin", FRWK_DATA_TYPE_USHORT, &out, sizeof(out)));
    EXPECT_TRUE(logged_once(log, kDebugLevel, "frwk_zndb_get_key_value", "'pin' frwk_str_to_value(70000)!"));
    EXPECT_EQ(1u, log.count("70000")) << log.text();
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_key_value",
                            "the value of 'pin' can't be read as type 7!"));
}

TEST_F(ZndbTyped, NamesTheSettingThatIsNoBoolean) {
    const LogCapture log;
    store("wifi_on", "perhaps");
    EXPECT_FALSE(frwk_zndb_get_bool("wifi_on"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_key_value",
                            "the value of 'wifi_on' can't be read as type 1!"));
    EXPECT_EQ(0u, log.count("no word for a boolean")) << log.text();
}

TEST_F(ZndbTyped, RefusesToReadATypeThatIsNone) {
    store("key", "1");
    for (const int32_t type : kNoTypes) {
        uint64_t out = 77;
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_key_value("key", type, &out, sizeof(out))) << type;
        EXPECT_EQ(77u, out);
    }
}

TEST_F(ZndbTyped, RefusesToWriteATypeThatIsNone) {
    const uint64_t value = 1;
    for (const int32_t type : kNoTypes) {
        const LogCapture log;
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_value("key", type, &value)) << type;
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_set_key_value",
                                assertion("E_APPS_ERR_SUCCESS == ret")));
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_set_key_perm_value("key", type, &value)) << type;
        EXPECT_EQ(2u, log.count(assertion("E_APPS_ERR_SUCCESS == ret")));
    }
    EXPECT_TRUE(database().requests.empty());
}

TEST_F(ZndbTyped, RefusesAKeyOf32Characters) {
    const std::string longest(31, 'k');
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value(longest.c_str(), FRWK_DATA_TYPE_STRING, "a"));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF,
              frwk_zndb_set_key_value((longest + "k").c_str(), FRWK_DATA_TYPE_STRING, "a"));
}

TEST_F(ZndbTyped, ReadsEveryWordOfABoolean) {
    for (const char *word : {"1", "on", "yes", "true", "enable", "ENABLE"}) {
        store("key", word);
        EXPECT_TRUE(frwk_zndb_get_bool("key")) << word;
    }
    for (const char *word : {"0", "off", "no", "false", "disable", ""}) {
        store("key", word);
        EXPECT_FALSE(frwk_zndb_get_bool("key")) << word;
    }
}

TEST_F(ZndbTyped, ReadsAMissingBooleanAsFalse) {
    EXPECT_FALSE(frwk_zndb_get_bool("missing"));
    EXPECT_FALSE(frwk_zndb_get_bool(nullptr));
}

TEST_F(ZndbTyped, ReadsATextThatIsNoBooleanAsFalse) {
    store("key", "2");
    EXPECT_FALSE(frwk_zndb_get_bool("key"));
    store("key", std::string(64, '1'));
    EXPECT_FALSE(frwk_zndb_get_bool("key"));
}

TEST_F(ZndbTyped, ReadsABooleanAsFalseWhenTheDatabaseCanNotBeAsked) {
    store("key", "1");
    database().result = E_ZNDB_RET_IPC;
    EXPECT_FALSE(frwk_zndb_get_bool("key"));
}
