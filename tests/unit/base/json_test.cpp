/*
 * JSON texts: which ones are accepted, and the values of their items.
 */
#include "json.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "unit/base/repeated_text.h"

struct json_tokener;

namespace {

bool g_no_memory = false;

struct FreeJson {
    void operator()(json_item *root) const { json_free(root); }
};

using Json = std::unique_ptr<json_item, FreeJson>;

Json parse(const std::string &text) {
    return Json(json_parse(text.c_str()));
}

constexpr int64_t kInt64Max = std::numeric_limits<int64_t>::max();
constexpr int64_t kInt64Min = std::numeric_limits<int64_t>::min();

int64_t int64_of(const std::string &text) {
    const Json root = parse(text);
    EXPECT_NE(nullptr, root) << text;
    return json_get_int64(root.get());
}

double double_of(const std::string &text) {
    const Json root = parse(text);
    EXPECT_NE(nullptr, root) << text;
    return json_get_double(root.get());
}

/* The text of a string; "(none)" for everything else. */
std::string string_of(const std::string &text) {
    const Json root = parse(text);
    EXPECT_NE(nullptr, root) << text;
    const char *string = json_get_string(root.get());
    return string != nullptr ? string : "(none)";
}

std::string nested(const std::string &open, const std::string &close, size_t depth) {
    return repeated(open, depth) + "1" + repeated(close, depth);
}

}  // namespace

extern "C" {

json_tokener *__real_json_tokener_new_ex(int depth);

json_tokener *__wrap_json_tokener_new_ex(int depth) {
    return g_no_memory ? nullptr : __real_json_tokener_new_ex(depth);
}

}  // extern "C"

namespace {

TEST(Json, FindsMembersByName) {
    const Json root = parse(R"({"a":1, "b":"two", "":3, "a b":4, "\u00e9":5})");
    EXPECT_EQ(1, json_get_int64(json_get_object_item(root.get(), "a")));
    EXPECT_STREQ("two", json_get_string(json_get_object_item(root.get(), "b")));
    EXPECT_EQ(3, json_get_int64(json_get_object_item(root.get(), "")));
    EXPECT_EQ(4, json_get_int64(json_get_object_item(root.get(), "a b")));
    EXPECT_EQ(5, json_get_int64(json_get_object_item(root.get(), "\xC3\xA9")));
}

TEST(Json, FindsMembersOfMembers) {
    const Json root = parse(R"({"wan":{"apn":{"name":"internet"}}})");
    const json_item *apn = json_get_object_item(json_get_object_item(root.get(), "wan"), "apn");
    EXPECT_STREQ("internet", json_get_string(json_get_object_item(apn, "name")));
}

TEST(Json, AMissingMemberIsNull) {
    const Json root = parse(R"({"a":1})");
    EXPECT_EQ(nullptr, json_get_object_item(root.get(), "b"));
    EXPECT_EQ(nullptr, json_get_object_item(root.get(), "A"));
    EXPECT_EQ(nullptr, json_get_object_item(root.get(), ""));
    EXPECT_EQ(nullptr, json_get_object_item(root.get(), nullptr));
}

TEST(Json, OnlyObjectsHaveMembers) {
    EXPECT_EQ(nullptr, json_get_object_item(nullptr, "a"));
    for (const char *text : {"[1]", "\"a\"", "1", "1.5", "true", "null", "{}"}) {
        EXPECT_EQ(nullptr, json_get_object_item(parse(text).get(), "a")) << text;
    }
}

TEST(Json, TheLastOfTwoMembersWithOneNameCounts) {
    const Json root = parse(R"({"a":1,"b":2,"a":"last"})");
    EXPECT_STREQ("last", json_get_string(json_get_object_item(root.get(), "a")));
    EXPECT_EQ(2, json_get_int64(json_get_object_item(root.get(), "b")));
}

TEST(Json, AMemberWhoseValueIsNullIsFound) {
    const Json root = parse(R"({"a":null})");
    const json_item *item = json_get_object_item(root.get(), "a");
    ASSERT_NE(nullptr, item);
    EXPECT_EQ(0, json_is_string(item));
    EXPECT_EQ(nullptr, json_get_string(item));
    EXPECT_EQ(0, json_get_int64(item));
    EXPECT_EQ(0.0, json_get_double(item));
}

TEST(Json, ARootMayBeOfAnyKind) {
    EXPECT_EQ(7, int64_of("7"));
    EXPECT_EQ("x", string_of("\"x\""));
    EXPECT_EQ(0, int64_of("null"));
    EXPECT_EQ(1, int64_of("true"));
    EXPECT_NE(nullptr, parse("[]"));
    EXPECT_NE(nullptr, parse("{}"));
}

TEST(Json, NoItemIsNoStringAndZero) {
    EXPECT_EQ(0, json_is_string(nullptr));
    EXPECT_EQ(nullptr, json_get_string(nullptr));
    EXPECT_EQ(0, json_get_int64(nullptr));
    EXPECT_EQ(0.0, json_get_double(nullptr));
    json_free(nullptr);
}

TEST(Json, IntegersAreExact) {
    EXPECT_EQ(0, int64_of("0"));
    EXPECT_EQ(0, int64_of("-0"));
    EXPECT_EQ(-1, int64_of("-1"));
    EXPECT_EQ(4294967295, int64_of("4294967295"));
    EXPECT_EQ(9007199254740993, int64_of("9007199254740993"));
    EXPECT_EQ(-9007199254740993, int64_of("-9007199254740993"));
    EXPECT_EQ(kInt64Max - 1, int64_of("9223372036854775806"));
    EXPECT_EQ(kInt64Max, int64_of("9223372036854775807"));
    EXPECT_EQ(kInt64Min + 1, int64_of("-9223372036854775807"));
    EXPECT_EQ(kInt64Min, int64_of("-9223372036854775808"));
}

/* A string keeps the sign, and so does a number with a point. An integer has no zero but one. */
TEST(Json, MinusZeroIsZero) {
    EXPECT_EQ(0, int64_of("-0"));
    EXPECT_EQ(0.0, double_of("-0"));
    EXPECT_EQ(0, int64_of("-0.0"));
    EXPECT_EQ(0.0, double_of("-0.0"));
    EXPECT_TRUE(std::signbit(double_of("-0.0")));
    EXPECT_TRUE(std::signbit(double_of("-0e7")));
    EXPECT_EQ("-0", string_of("\"-0\""));
    EXPECT_EQ(nullptr, parse("-00"));
}

TEST(Json, IntegersBeyondTheLimitsGiveTheLimit) {
    for (const char *text : {"9223372036854775808", "9999999999999999999", "18446744073709551615",
                             "18446744073709551616", "100000000000000000000", "1e19", "1e300", "1e400"}) {
        EXPECT_EQ(kInt64Max, int64_of(text)) << text;
        EXPECT_EQ(kInt64Min, int64_of(std::string("-") + text)) << text;
    }
    EXPECT_EQ(kInt64Min, int64_of("-9223372036854775809"));
    EXPECT_EQ(kInt64Max, int64_of(std::string(400, '9')));
    EXPECT_EQ(kInt64Min, int64_of("-" + std::string(400, '9')));
}

TEST(Json, NumbersWithAPointOrAnExponentLoseTheirFraction) {
    EXPECT_EQ(1000, int64_of("1e3"));
    EXPECT_EQ(1000, int64_of("1E+3"));
    EXPECT_EQ(0, int64_of("1e-3"));
    EXPECT_EQ(1, int64_of("1.5"));
    EXPECT_EQ(-1, int64_of("-1.5"));
    EXPECT_EQ(2, int64_of("2.999"));
    EXPECT_EQ(0, int64_of("-0.0"));
    EXPECT_EQ(kInt64Max, int64_of("9.223372036854775808e18"));
    EXPECT_EQ(kInt64Min, int64_of("-9.223372036854775808e18"));
}

/* Doubles lie 1024 apart below 2^63, and 2048 above. */
TEST(Json, DoublesNextToTheLimitsOfIntegersAreNotRoundedIntoThem) {
    EXPECT_EQ(kInt64Max - 1023, int64_of("9223372036854774784.0"));
    EXPECT_EQ(kInt64Max - 1023, int64_of("9.223372036854774784e18"));
    EXPECT_EQ(kInt64Max - 1023, int64_of("9223372036854775295.9"));
    EXPECT_EQ(kInt64Max, int64_of("9223372036854775807.0"));
    EXPECT_EQ(kInt64Max, int64_of("9223372036854775808.0"));
    EXPECT_EQ(kInt64Max, int64_of("9223372036854777856.0"));
    EXPECT_EQ(kInt64Min + 1024, int64_of("-9223372036854774784.0"));
    EXPECT_EQ(kInt64Min, int64_of("-9223372036854775808.0"));
    EXPECT_EQ(kInt64Min, int64_of("-9223372036854775809.0"));
    EXPECT_EQ(kInt64Min, int64_of("-9223372036854777856.0"));
}

TEST(Json, DoublesAreTheNearestToTheNumber) {
    EXPECT_EQ(1.5, double_of("1.5"));
    EXPECT_EQ(0.1, double_of("0.1"));
    EXPECT_EQ(1000.0, double_of("1e3"));
    EXPECT_EQ(-7.0, double_of("-7"));
    EXPECT_EQ(5e-324, double_of("5e-324"));
    EXPECT_EQ(9007199254740992.0, double_of("9007199254740993"));
    EXPECT_EQ(1.7976931348623157e308, double_of("1.7976931348623157e308"));
    EXPECT_EQ(0.0, double_of("1e-400"));
}

TEST(Json, DoublesOfIntegersBeyondTheLimitsAreNearToo) {
    EXPECT_EQ(9223372036854775808.0, double_of("9223372036854775808"));
    EXPECT_EQ(-9999999999999999999.0, double_of("-9999999999999999999"));
    EXPECT_EQ(18446744073709551616.0, double_of("18446744073709551616"));
    EXPECT_EQ(1e30, double_of("1" + std::string(30, '0')));
    EXPECT_EQ(-1e30, double_of("-1" + std::string(30, '0')));
}

TEST(Json, NumbersBeyondEveryDoubleAreInfinite) {
    EXPECT_TRUE(std::isinf(double_of("1e400")));
    EXPECT_EQ(std::numeric_limits<double>::infinity(), double_of(std::string(400, '9')));
    EXPECT_EQ(-std::numeric_limits<double>::infinity(), double_of("-" + std::string(400, '9')));
}

TEST(Json, LongIntegersMayStandAnywhere) {
    const std::string number(25, '7');
    const Json root = parse("{\"a\":" + number + ",\"b\":[1,-" + number + " ],\"c\":\"" + number +
                            "\",\"d\":" + number + "}");
    ASSERT_NE(nullptr, root);
    EXPECT_EQ(kInt64Max, json_get_int64(json_get_object_item(root.get(), "a")));
    EXPECT_EQ(number, json_get_string(json_get_object_item(root.get(), "c")));
    EXPECT_EQ(7777777777777777777777777.0, json_get_double(json_get_object_item(root.get(), "d")));
}

TEST(Json, NothingMayFollowALongInteger) {
    const std::string number(25, '7');
    for (const char *rest : {" 1", "x", "-1", "+1", "[", "\"\"", ".", "e", "]"}) {
        EXPECT_EQ(nullptr, parse(number + rest)) << rest;
        EXPECT_EQ(nullptr, parse("[" + number + rest + ",1,")) << rest;
    }
    EXPECT_EQ(nullptr, parse("1 " + number));
    EXPECT_EQ(nullptr, parse("[1]" + number));
}

TEST(Json, TrueIsOneAndFalseIsZero) {
    EXPECT_EQ(1, int64_of("true"));
    EXPECT_EQ(1.0, double_of("true"));
    EXPECT_EQ(0, int64_of("false"));
    EXPECT_EQ(0.0, double_of("false"));
}

TEST(Json, ItemsThatAreNoNumbersAreZero) {
    for (const char *text : {"\"12\"", "\"\"", "[5]", "{\"a\":5}", "null"}) {
        EXPECT_EQ(0, int64_of(text)) << text;
        EXPECT_EQ(0.0, double_of(text)) << text;
    }
}

TEST(Json, OnlyStringsHaveAText) {
    EXPECT_EQ(1, json_is_string(parse("\"\"").get()));
    EXPECT_EQ("", string_of("\"\""));
    for (const char *text : {"1", "1.5", "true", "false", "null", "[\"a\"]", "{\"a\":\"b\"}"}) {
        EXPECT_EQ(0, json_is_string(parse(text).get())) << text;
        EXPECT_EQ("(none)", string_of(text)) << text;
    }
}

TEST(Json, EscapesAreResolved) {
    EXPECT_EQ("\"\\/\b\f\n\r\t", string_of(R"("\"\\\/\b\f\n\r\t")"));
    EXPECT_EQ("A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", string_of(R"("\u0041\u00e9\u20AC\ud83d\ude00")"));
    EXPECT_EQ("\x01\x7F", string_of(R"("\u0001\u007f")"));
    EXPECT_EQ("\xEF\xBF\xBD", string_of(R"("\ud800")"));
}

TEST(Json, CharactersOfUtf8StayAsTheyAre) {
    const std::string text = "\x7F\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(text, string_of("\"" + text + "\""));
}

TEST(Json, ATextWithANulCharacterIsRefused) {
    EXPECT_EQ(nullptr, parse(R"("a\u0000b")"));
    EXPECT_EQ(nullptr, parse(R"({"a":"\u0000"})"));
    EXPECT_EQ(nullptr, parse(R"({"a\u0000b":1})"));
    EXPECT_EQ(nullptr, parse(R"("\\\u0000")"));
}

TEST(Json, ANulEscapeThatIsItselfEscapedIsText) {
    EXPECT_EQ("\\u0000", string_of(R"("\\u0000")"));
    EXPECT_EQ("\\\\u0000", string_of(R"("\\\\u0000")"));
}

TEST(Json, BlanksMayStandBetweenTokensAndAround) {
    const Json root = parse(" \t\r\n{ \"a\" :\n[ 1 , 2 ] ,\t\"b\" : 3 } \r\n\t ");
    EXPECT_EQ(3, json_get_int64(json_get_object_item(root.get(), "b")));
}

TEST(Json, NoTextIsRefused) {
    EXPECT_EQ(nullptr, json_parse(nullptr));
    EXPECT_EQ(nullptr, parse(""));
    EXPECT_EQ(nullptr, parse(" \n"));
}

class MalformedJson : public testing::TestWithParam<const char *> {};

TEST_P(MalformedJson, IsRefused) {
    const std::string text = GetParam();
    EXPECT_EQ(nullptr, parse(text));
    EXPECT_EQ(nullptr, parse("[" + text + "]"));
    EXPECT_EQ(nullptr, parse("{\"a\":" + text + "}"));
    EXPECT_EQ(nullptr, parse("{\"a\":0,\"b\":[0," + text + ",0]}"));
}

INSTANTIATE_TEST_SUITE_P(Numbers, MalformedJson,
                         testing::Values("01", "-01", "00", "-", "--1", "+1", "1.", ".5", "-.5", "1.e5", "1e",
                                         "1e+", "1e5.5", "1.2.3", "1-1", "0x10", "1a", "1_000", "NaN", "-NaN",
                                         "nan", "Infinity", "-Infinity", "inf", "1 2"));

INSTANTIATE_TEST_SUITE_P(Words, MalformedJson,
                         testing::Values("True", "TRUE", "tru", "truex", "nul", "NULL", "Null", "False",
                                         "undefined", "a", "=", ":"));

INSTANTIATE_TEST_SUITE_P(Strings, MalformedJson,
                         testing::Values("\"", "\"a", "\"a\\", "\"a\\\"", "'a'", "\"\\x41\"", "\"\\u12\"",
                                         "\"\\u12G4\"", "\"\\'\"", "\"a\nb\"", "\"a\tb\"", "\"\x01\"",
                                         "\"\x1F\"", "\"\\\n\"", "\"a\" \"b\"", "\"\xFF\"", "\"\xC3\"",
                                         "\"\x80\""));

INSTANTIATE_TEST_SUITE_P(Structures, MalformedJson,
                         testing::Values("[", "]", "{", "}", "[1", "[1,", "[1,]", "[1 2]", "[1}", "{]",
                                         "{\"a\"", "{\"a\":", "{\"a\":}", "{\"a\":1", "{\"a\":1,",
                                         "{\"a\":1,}", "{\"a\" 1}", "{\"a\":1 \"b\":2}", "{a:1}", "{'a':1}",
                                         "{1:1}", "{null:1}", "{,}", "{\"a\":1}}", "[1]]", "[1] 2", "{} x",
                                         "/*c*/1", "1/*c*/", "1//c", "#c",
                                         "\xEF\xBB\xBF"
                                         "1",
                                         "\f1", "1\v"));

TEST(Json, TextBehindTheValueIsRefused) {
    EXPECT_EQ(nullptr, parse("{\"a\":1} x"));
    EXPECT_EQ(nullptr, parse("{\"a\":1}{}"));
    EXPECT_EQ(nullptr, parse("1,"));
    EXPECT_EQ(nullptr, parse("null null"));
}

TEST(Json, NestingIsReadDownToItsLimit) {
    EXPECT_NE(nullptr, parse(nested("[", "]", JSON_DEPTH_MAX)));
    EXPECT_EQ(nullptr, parse(nested("[", "]", JSON_DEPTH_MAX + 1)));
    EXPECT_NE(nullptr, parse(nested("{\"a\":", "}", JSON_DEPTH_MAX)));
    EXPECT_EQ(nullptr, parse(nested("{\"a\":", "}", JSON_DEPTH_MAX + 1)));
}

TEST(Json, AHundredThousandLevelsAreRefused) {
    EXPECT_EQ(nullptr, parse(nested("[", "]", 100000)));
    EXPECT_EQ(nullptr, parse(nested("{\"a\":", "}", 100000)));
    EXPECT_EQ(nullptr, parse(std::string(100000, '[')));
}

TEST(Json, ATextOfTenMegabytesIsRead) {
    const std::string big(10u << 20, 'x');
    const Json root = parse("{\"big\":\"" + big + "\",\"after\":1}");
    EXPECT_EQ(big, json_get_string(json_get_object_item(root.get(), "big")));
    EXPECT_EQ(1, json_get_int64(json_get_object_item(root.get(), "after")));
}

TEST(Json, ATextOfTheGreatestLengthIsReadAndALongerOneRefused) {
    const std::string blanks(JSON_TEXT_MAX - 1, ' ');
    EXPECT_EQ(1, int64_of(blanks + "1"));
    EXPECT_EQ(nullptr, parse(blanks + " 1"));
}

TEST(Json, AsManyValuesAsAllowedAreReadAndMoreRefused) {
    const std::string most = "[" + repeated("1,", JSON_ITEMS_MAX - 2) + "1";
    EXPECT_NE(nullptr, parse(most + "]"));
    EXPECT_EQ(nullptr, parse(most + ",1]"));
    EXPECT_EQ(nullptr, parse("[" + repeated("{},", JSON_ITEMS_MAX) + "1]"));
}

TEST(Json, CommasAndBracketsInStringsAreNoValues) {
    const std::string text = repeated(",[{", JSON_ITEMS_MAX);
    EXPECT_EQ(text, string_of("\"" + text + "\""));
}

TEST(Json, LackOfMemoryGivesNoRoot) {
    g_no_memory = true;
    const Json root = parse("1");
    g_no_memory = false;
    EXPECT_EQ(nullptr, root);
}

/* Random values, and the text and readings that each must have. */
class RandomJson {
  public:
    explicit RandomJson(uint32_t seed) : random_(seed) {}

    uint32_t below(uint32_t limit) { return static_cast<uint32_t>(random_()) % limit; }

    std::string blanks() { return std::string(below(3), " \t\n\r"[below(4)]); }

    int64_t integer() {
        const uint64_t high = random_();
        const auto bits = static_cast<int64_t>((high << 32) | random_());
        return bits >> below(64);
    }

    /* Any bytes that a string may hold as they are, and their text. */
    std::string plain_string() {
        std::string text;
        for (uint32_t left = below(20); left > 0; --left) {
            const char c = static_cast<char>(' ' + below('~' - ' '));
            text += c == '"' || c == '\\' ? 'q' : c;
        }
        return text;
    }

  private:
    std::mt19937 random_;
};

TEST(Json, RandomObjectsReadAsWritten) {
    RandomJson random(20240607);
    for (int round = 0; round < 2000; ++round) {
        std::vector<int64_t> integers;
        std::vector<std::string> strings;
        std::string text = "{";
        const uint32_t members = random.below(20);
        for (uint32_t i = 0; i < members; ++i) {
            integers.push_back(random.integer());
            strings.push_back(random.plain_string());
            text += random.blanks() + (i != 0 ? "," : "") + "\"i" + std::to_string(i) + "\"" +
                    random.blanks() + ":" + random.blanks() + std::to_string(integers.back()) + ",\"s" +
                    std::to_string(i) + "\":\"" + strings.back() + "\"" + random.blanks();
        }
        const Json root = parse(text + "}");
        ASSERT_NE(nullptr, root) << text;
        for (uint32_t i = 0; i < members; ++i) {
            const json_item *integer = json_get_object_item(root.get(), ("i" + std::to_string(i)).c_str());
            const json_item *string = json_get_object_item(root.get(), ("s" + std::to_string(i)).c_str());
            ASSERT_EQ(integers[i], json_get_int64(integer)) << text;
            ASSERT_EQ(static_cast<double>(integers[i]), json_get_double(integer)) << text;
            ASSERT_EQ(strings[i], json_get_string(string)) << text;
        }
    }
}

TEST(Json, RandomNumbersReadAsTheSystemReadsThem) {
    RandomJson random(20240608);
    for (int round = 0; round < 20000; ++round) {
        std::string text = random.below(2) == 0 ? "-" : "";
        text += static_cast<char>('1' + random.below(9));
        for (uint32_t left = random.below(30); left > 0; --left) {
            text += static_cast<char>('0' + random.below(10));
        }
        errno = 0;
        ASSERT_EQ(strtoll(text.c_str(), nullptr, 10), int64_of(text)) << text;
        text += random.below(2) == 0 ? ".25" : "";
        text += random.below(2) == 0 ? "e-3" : "";
        ASSERT_EQ(strtod(text.c_str(), nullptr), double_of(text)) << text;
    }
}

/* Whatever the text, an answer comes, and what was read can be used and freed. */
TEST(Json, AlteredAndRandomTextsAreReadOrRefused) {
    const std::string good = R"({"a":[1,-2.5e3,true,null],"b":{"c":"x\u00e9\n"},"d":99999999999999999999})";
    RandomJson random(20240609);
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = good;
        for (uint32_t left = 1 + random.below(4); left > 0; --left) {
            text[random.below(static_cast<uint32_t>(text.size()))] = static_cast<char>(random.below(256));
        }
        const Json root = parse(text);
        refused += root == nullptr ? 1 : 0;
        json_get_string(json_get_object_item(json_get_object_item(root.get(), "b"), "c"));
        json_get_int64(json_get_object_item(root.get(), "d"));
    }
    EXPECT_GT(refused, 0);
}

TEST(Json, EveryBeginningOfATextIsRefused) {
    const std::string good = R"({"a":[1,-2.5e3,true,null],"b":{"c":"x\u00e9\n"},"d":99999999999999999999})";
    ASSERT_NE(nullptr, parse(good));
    for (size_t length = 0; length < good.size(); ++length) {
        EXPECT_EQ(nullptr, parse(good.substr(0, length))) << length;
    }
}

}  // namespace
