/*
 * JSON members as variables.
 */
#include <cmath>
#include <memory>

#include "doubles/faults_test_fixture.h"
#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "json.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/heap_count.h"
#include "unit/frwk_utils/json_doubles.h"
#include "unit/frwk_utils/values/destination.h"

namespace {

constexpr double kInfinity = HUGE_VAL;
constexpr uint32_t kLargestSize = 9;

struct FreeJson {
    void operator()(json_item *root) const { json_free(root); }
};
using OwnedJson = std::unique_ptr<json_item, FreeJson>;

/* An object with the one member "v". */
OwnedJson object_with(const std::string &value) {
    return OwnedJson(json_parse(("{\"v\":" + value + "}").c_str()));
}

struct Answer {
    apps_err_e_type result;
    Destination destination;
    std::string log;
};

Answer read_member(const std::string &value, int32_t type, uint32_t size) {
    const OwnedJson object = object_with(value);
    const LogCapture log;
    Answer answer;
    answer.result = frwk_get_json_item_value(object.get(), type, "v", answer.destination.out(), size);
    answer.log = log.text();
    return answer;
}

/* Members that are no strings, and the numbers that they count as. */
struct Member {
    const char *text;
    int64_t integer;
    double real;
};

const Member kMembers[] = {
    {"0", 0, 0},
    {"1", 1, 1},
    {"-1", -1, -1},
    {"-0", 0, 0},
    {"-0.0", 0, -0.0},
    {"2", 2, 2},
    {"255", 255, 255},
    {"256", 256, 256},
    {"32767", 32767, 32767},
    {"32768", 32768, 32768},
    {"-32767", -32767, -32767},
    {"-32768", -32768, -32768},
    {"65535", 65535, 65535},
    {"65536", 65536, 65536},
    {"70000", 70000, 70000},
    {"2147483647", 2147483647, 2147483647},
    {"2147483648", 2147483648, 2147483648},
    {"-2147483647", -2147483647, -2147483647},
    {"-2147483648", INT32_MIN, INT32_MIN},
    {"3000000000", 3000000000, 3000000000},
    {"4294967295", 4294967295, 4294967295},
    {"4294967296", 4294967296, 4294967296},
    {"4294967297", 4294967297, 4294967297},
    {"9007199254740993", 9007199254740993, 9007199254740992},
    {"9223372036854775807", INT64_MAX, 9223372036854775808.0},
    {"-9223372036854775808", INT64_MIN, -9223372036854775808.0},
    {"9223372036854775808", INT64_MAX, 9223372036854775808.0},
    {"9223372036854774784.0", INT64_MAX - 1023, 9223372036854774784.0},
    {"9223372036854775808.0", INT64_MAX, 9223372036854775808.0},
    {"-9223372036854774784.0", INT64_MIN + 1024, -9223372036854774784.0},
    {"-9223372036854775808.0", INT64_MIN, -9223372036854775808.0},
    {"-9223372036854777856.0", INT64_MIN, -9223372036854777856.0},
    {"18446744073709551616", INT64_MAX, 18446744073709551616.0},
    {"-18446744073709551616", INT64_MIN, -18446744073709551616.0},
    {"1e3", 1000, 1000},
    {"1.5", 1, 1.5},
    {"-1.5", -1, -1.5},
    {"1e39", INT64_MAX, 1e39},
    {"1e309", INT64_MAX, kInfinity},
    {"-1e309", INT64_MIN, -kInfinity},
    {"true", 1, 1},
    {"false", 0, 0},
    {"null", 0, 0},
    {"{}", 0, 0},
    {"{\"v\":7}", 0, 0},
    {"[]", 0, 0},
    {"[7]", 0, 0},
};

/* An integer type: its size, the JSON numbers that it accepts, and its log line for others. */
struct IntegerType {
    const char *name;
    int32_t code;
    uint32_t size;
    int64_t low;
    int64_t high;
    std::string too_small;
    std::string out_of_range;
};

std::ostream &operator<<(std::ostream &out, const IntegerType &type) {
    return out << type.name;
}

const IntegerType kIntegerTypes[] = {
    {"Bool", 1, 1, 0, 1, assertion("size >= sizeof(bool)", "bool value out of buf"),
     assertion("((1) == lv) || ((0) == lv)", "invalid bool value")},
    {"Byte", 3, 1, 0, 255, assertion("size >= sizeof(uchar)", "byte value out of buf"),
     assertion("(0x0 <= lv) && (0xff >= lv)", "invalid byte value")},
    {"Uchar", 4, 1, 0, 255, assertion("size >= sizeof(uchar)", "byte value out of buf"),
     assertion("(0x0 <= lv) && (0xff >= lv)", "invalid byte value")},
    {"Short", 6, 2, -32767, 32767, assertion("size >= sizeof(short)", "short value out of buf"),
     assertion("(-0x7fff <= lv) && (0x7fff >= lv)", "invalid short value")},
    {"Ushort", 7, 2, 0, 65535, assertion("size >= sizeof(ushort)", "ushort value out of buf"),
     assertion("(0x0 <= lv) && (0xffff >= lv)", "invalid ushort value")},
    {"Int", 8, 4, -2147483647, 2147483647, assertion("size >= sizeof(int)", "int value out of buf"),
     assertion("(-0x7fffffff <= lv) && (0x7fffffff >= lv)", "invalid int value")},
    {"Uint", 9, 4, 0, 4294967295, assertion("size >= sizeof(uint)", "uint value out of buf"),
     assertion("(0 <= luv) && (0xffffffff >= luv)", "invalid uint value")},
    {"Long", 10, 4, INT64_MIN, INT64_MAX, assertion("size >= sizeof(long)", "long value out of buf"), ""},
    {"Ulong", 11, 4, INT64_MIN, INT64_MAX, assertion("size >= sizeof(ulong)", "ulong value out of buf"), ""},
    {"Llong", 12, 8, INT64_MIN, INT64_MAX, assertion("size >= sizeof(llong)", "llong value out of buf"), ""},
    {"Ullong", 13, 8, INT64_MIN, INT64_MAX, assertion("size >= sizeof(ullong)", "ullong value out of buf"),
     ""},
};

class JsonInteger : public testing::TestWithParam<IntegerType> {
  protected:
    static void expect_member(const IntegerType &type, const Member &member, uint32_t size) {
        const Answer answer = read_member(member.text, type.code, size);
        if (size < type.size) {
            expect_failure(answer, E_APPS_ERR_OUTOFBUF, type.too_small);
        } else if (member.integer < type.low || member.integer > type.high) {
            expect_failure(answer, E_APPS_ERR_PARAM, type.out_of_range);
        } else {
            expect_bits(answer, type.size, static_cast<uint64_t>(member.integer));
        }
    }

  private:
    static void expect_failure(const Answer &answer, apps_err_e_type result, const std::string &line) {
        EXPECT_EQ(answer.result, result);
        EXPECT_TRUE(answer.destination.untouched());
        EXPECT_NE(answer.log.find("json_item.cpp frwk_get_json_item_value: " + line), std::string::npos)
            << answer.log;
    }

    static void expect_bits(const Answer &answer, uint32_t size, uint64_t bits) {
        EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
        EXPECT_TRUE(answer.destination.only_wrote(size));
        EXPECT_EQ(answer.log, "");
        for (uint32_t byte = 0; byte < size; ++byte) {
            const uint64_t stored = size == 8   ? answer.destination.value<uint64_t>()
                                    : size == 4 ? answer.destination.value<uint32_t>()
                                    : size == 2 ? answer.destination.value<uint16_t>()
                                                : answer.destination.value<uint8_t>();
            EXPECT_EQ(stored >> (8 * byte) & 0xff, bits >> (8 * byte) & 0xff) << byte;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Types, JsonInteger, testing::ValuesIn(kIntegerTypes),
                         [](const auto &each) { return std::string(each.param.name); });

class JsonMemberWithText : public FaultsTest {};

}  // namespace

TEST_P(JsonInteger, ReadsMembersOfEveryKindThatIsNoString) {
    for (const Member &member : kMembers) {
        for (uint32_t size = 0; size <= kLargestSize; ++size) {
            SCOPED_TRACE(std::string(member.text) + " into " + std::to_string(size));
            expect_member(GetParam(), member, size);
        }
    }
}

TEST(JsonReal, ReadsMembersOfEveryKindAsDouble) {
    for (const Member &member : kMembers) {
        for (uint32_t size = 0; size <= kLargestSize; ++size) {
            SCOPED_TRACE(std::string(member.text) + " into " + std::to_string(size));
            const Answer answer = read_member(member.text, FRWK_DATA_TYPE_DOUBLE, size);
            if (size < 8) {
                EXPECT_EQ(answer.result, E_APPS_ERR_OUTOFBUF);
                EXPECT_TRUE(answer.destination.untouched());
                EXPECT_NE(answer.log.find(assertion("size >= sizeof(double)", "double value out of buf")),
                          std::string::npos);
            } else {
                EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
                EXPECT_EQ(answer.destination.value<double>(), member.real);
                EXPECT_TRUE(answer.destination.only_wrote(8));
            }
        }
    }
}

TEST(JsonReal, ReadsMembersOfEveryKindAsFloat) {
    for (const Member &member : kMembers) {
        for (uint32_t size = 0; size <= kLargestSize; ++size) {
            SCOPED_TRACE(std::string(member.text) + " into " + std::to_string(size));
            const Answer answer = read_member(member.text, FRWK_DATA_TYPE_FLOAT, size);
            if (size < 4) {
                EXPECT_EQ(answer.result, E_APPS_ERR_OUTOFBUF);
                EXPECT_TRUE(answer.destination.untouched());
                EXPECT_NE(answer.log.find(assertion("size >= sizeof(float)", "float value out of buf")),
                          std::string::npos);
            } else {
                const bool huge = std::fabs(member.real) > 3.5e38;
                const float expected = huge ? static_cast<float>(kInfinity) : static_cast<float>(member.real);
                EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
                EXPECT_EQ(answer.destination.value<float>(), member.real < 0 && huge ? -expected : expected);
                EXPECT_TRUE(answer.destination.only_wrote(4));
            }
        }
    }
}

TEST(JsonItem, AFailedCheckIsNoAssertion) {
    const OwnedJson object = object_with("256");
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_BYTE, "v", destination.out(), 0),
              E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_BYTE, "v", destination.out(), 1),
              E_APPS_ERR_PARAM);
    EXPECT_EQ(log.count("ASSERT("), 2u) << log.text();
    EXPECT_EQ(log.assertions(), 0u);
}

TEST(JsonItem, ReportsAMissingMember) {
    const OwnedJson object(json_parse("{\"v\":1}"));
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "other", destination.out(), 4),
              E_APPS_ERR_NOTFOUND);
    EXPECT_TRUE(destination.untouched());
    EXPECT_TRUE(
        logged_once(log, kWarningLevel, "frwk_get_json_item_value", "can't found json object(other)!"));
}

TEST(JsonItem, LooksForTheMemberBeforeItLooksAtTheDestination) {
    const OwnedJson object = object_with("1");
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "other", nullptr, 4),
              E_APPS_ERR_NOTFOUND);
}

TEST(JsonItem, FindsNoMemberInWhatIsNoObject) {
    for (const char *text : {"[1]", "1", "\"v\"", "null"}) {
        const OwnedJson root(json_parse(text));
        Destination destination;
        EXPECT_EQ(frwk_get_json_item_value(root.get(), FRWK_DATA_TYPE_INT, "v", destination.out(), 4),
                  E_APPS_ERR_NOTFOUND)
            << text;
    }
}

TEST(JsonItem, RefusesNull) {
    const OwnedJson object = object_with("1");
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(nullptr, FRWK_DATA_TYPE_INT, "v", destination.out(), 4),
              E_APPS_ERR_PARAM);
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, nullptr, destination.out(), 4),
              E_APPS_ERR_PARAM);
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "v", nullptr, 4), E_APPS_ERR_PARAM);
    EXPECT_TRUE(destination.untouched());
    EXPECT_EQ(log.count("parameter is null!"), 3u) << log.text();
}

TEST(JsonItem, HasNoRoomInADestinationOfNoBytes) {
    const OwnedJson object = object_with("1");
    const LogCapture log;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "v", nullptr, 0),
              E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(log.contains(assertion("size >= sizeof(int)", "int value out of buf"))) << log.text();
}

TEST(JsonItem, ChecksTypeAndSizeBeforeTheDestination) {
    const OwnedJson object = object_with("1");
    const LogCapture log;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "v", nullptr, 3),
              E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_STRING, "v", nullptr, 1),
              E_APPS_ERR_PARAM);
    EXPECT_EQ(log.count("parameter is null!"), 1u) << log.text();
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_RESERVED2, "v", nullptr, 4),
              E_APPS_ERR_PARAM);
    EXPECT_TRUE(log.contains("unsupported data type[2].")) << log.text();
}

TEST(JsonItem, ReadsAMemberOfAMember) {
    const OwnedJson object = object_with("{\"w\":7}");
    const json_item *member = json_get_object_item(object.get(), "v");
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(member, FRWK_DATA_TYPE_INT, "w", destination.out(), 4),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.value<int32_t>(), 7);
}

TEST(JsonItem, ReadsOnlyZeroAndOneAsBool) {
    EXPECT_EQ(read_member("2", FRWK_DATA_TYPE_BOOL, 1).result, E_APPS_ERR_PARAM);
    EXPECT_EQ(read_member("0", FRWK_DATA_TYPE_BOOL, 1).destination.value<uint8_t>(), 0);
    EXPECT_EQ(read_member("1", FRWK_DATA_TYPE_BOOL, 1).destination.value<uint8_t>(), 1);
}

TEST(JsonItem, RefusesANumberThatIsTooLargeForAnUshortButNotForAnUint) {
    EXPECT_EQ(read_member("70000", FRWK_DATA_TYPE_USHORT, 2).result, E_APPS_ERR_PARAM);
    EXPECT_EQ(read_member("70000", FRWK_DATA_TYPE_UINT, 4).result, E_APPS_ERR_SUCCESS);
}

TEST(JsonItem, RefusesANegativeNumberAsUintButNotANegativeText) {
    EXPECT_EQ(read_member("-1", FRWK_DATA_TYPE_UINT, 4).result, E_APPS_ERR_PARAM);
    const Answer answer = read_member("\"-1\"", FRWK_DATA_TYPE_UINT, 4);
    EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(answer.destination.value<uint32_t>(), 4294967295u);
}

TEST(JsonItem, RefusesAnIntThatAConversionOfTextWouldSaturate) {
    EXPECT_EQ(read_member("3000000000", FRWK_DATA_TYPE_INT, 4).result, E_APPS_ERR_PARAM);
    const Answer answer = read_member("\"3000000000\"", FRWK_DATA_TYPE_INT, 4);
    EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(answer.destination.value<int32_t>(), 2147483647);
}

TEST(JsonItem, CopiesAStringThatFits) {
    EXPECT_EQ(read_member("\"abc\"", FRWK_DATA_TYPE_STRING, 3).result, E_APPS_ERR_OUTOFBUF);
    const Answer answer = read_member("\"abc\"", FRWK_DATA_TYPE_STRING, 4);
    EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(answer.destination.text(), "abc");
    EXPECT_TRUE(answer.destination.only_wrote(4));
}

TEST(JsonItem, KeepsTheSignOfAZeroThatIsAText) {
    const Answer text = read_member("\"-0\"", FRWK_DATA_TYPE_STRING, 3);
    EXPECT_EQ(text.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(text.destination.text(), "-0");
    EXPECT_TRUE(text.destination.only_wrote(3));

    const Answer number = read_member("\"-0\"", FRWK_DATA_TYPE_INT, 4);
    EXPECT_EQ(number.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(number.destination.value<int32_t>(), 0);
}

TEST(JsonItem, KeepsAnEmbeddedQuote) {
    const Answer answer = read_member("\"a\\\"b\"", FRWK_DATA_TYPE_STRING, 8);
    EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS);
    EXPECT_EQ(answer.destination.text(), "a\"b");
}

TEST(JsonItem, ReadsANumberAsTheEmptyText) {
    for (const Member &member : kMembers) {
        for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
            const Answer answer = read_member(member.text, type, 1);
            EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS) << member.text;
            EXPECT_EQ(answer.destination.text(), "") << member.text;
            EXPECT_TRUE(answer.destination.only_wrote(1));
        }
    }
}

TEST(JsonItem, ReadsANumberAsTheEmptyTextWhateverTheSize) {
    for (const uint32_t size : {0x7FFFFFFFu, 0x80000000u, UINT32_MAX}) {
        const Answer answer = read_member("7", FRWK_DATA_TYPE_STRING, size);
        EXPECT_EQ(answer.result, E_APPS_ERR_SUCCESS) << size;
        EXPECT_TRUE(answer.destination.only_wrote(1));
    }
}

TEST(JsonItem, NeedsAByteForTheEmptyText) {
    const Answer answer = read_member("7", FRWK_DATA_TYPE_STRING, 0);
    EXPECT_EQ(answer.result, E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(answer.destination.untouched());
    EXPECT_NE(answer.log.find(assertion("size > len", "string value out of buf")), std::string::npos);
}

TEST(JsonItem, RefusesUnsupportedTypesOfEveryKindOfMember) {
    for (const char *value : {"1", "1.5", "\"1\"", "null", "{}", "[]"}) {
        for (const int32_t type : {0, 2, 5, 18, 19, 20, -1, 255, 256, 65537, INT32_MAX, INT32_MIN}) {
            SCOPED_TRACE(std::string(value) + " as " + std::to_string(type));
            const Answer answer = read_member(value, type, kLargestSize);
            EXPECT_EQ(answer.result, E_APPS_ERR_PARAM);
            EXPECT_TRUE(answer.destination.untouched());
            EXPECT_NE(answer.log.find("unsupported data type[" + std::to_string(type) + "]."),
                      std::string::npos);
        }
    }
}

TEST(JsonItem, ReadsStringsAsTextsOfEveryType) {
    const std::string too_long(400, '9');
    for (const std::string &text :
         {std::string(), std::string("1"), std::string("-1"), std::string("-0"), std::string("-0.0"),
          std::string(" on"), std::string("off"), std::string("0012"), std::string("1.5"), std::string("nan"),
          std::string("-inf"), std::string("-32768"), too_long}) {
        for (int32_t type = 0; type <= 20; ++type) {
            for (uint32_t size = 0; size <= kLargestSize; ++size) {
                SCOPED_TRACE(text + " as " + std::to_string(type) + " into " + std::to_string(size));
                const Answer answer = read_member("\"" + text + "\"", type, size);
                Destination expected;
                EXPECT_EQ(answer.result, frwk_str_to_value(type, text.c_str(), expected.out(), size));
                EXPECT_TRUE(answer.destination.same_as(expected));
            }
        }
    }
}

TEST(JsonItem, LeavesTheObjectAlone) {
    const OwnedJson object = object_with("\"12\"");
    Destination number;
    Destination text;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "v", number.out(), 4),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_STRING, "v", text.out(), 3),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(number.value<int32_t>(), 12);
    EXPECT_EQ(text.text(), "12");
}

TEST(JsonItem, TakesNoHeap) {
    const OwnedJson object(json_parse("{\"number\":12,\"real\":1.5,\"text\":\"12\",\"none\":null}"));
    const SilentLog silent;
    char variable[16];
    const unsigned long before = heap_blocks_taken();
    for (const char *name : {"number", "real", "text", "none", "missing"}) {
        for (int32_t type = 0; type <= 20; ++type) {
            frwk_get_json_item_value(object.get(), type, name, variable, sizeof(variable));
            frwk_get_json_item_value(object.get(), type, name, variable, 0);
        }
    }
    EXPECT_EQ(heap_blocks_taken() - before, 0u);
}

TEST_F(JsonMemberWithText, IsCopiedThoughItIsNoString) {
    const OwnedJson object = object_with("7");
    doubles::json::json_get_string.stand_in([](const json_item *) { return "seven"; });
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_STRING, "v", destination.out(), 6),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.text(), "seven");
    EXPECT_TRUE(destination.only_wrote(6));
}

TEST_F(JsonMemberWithText, NeedsRoomForTheTextAndItsNul) {
    const OwnedJson object = object_with("7");
    doubles::json::json_get_string.stand_in([](const json_item *) { return "seven"; });
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_STRING_EX, "v", destination.out(), 5),
              E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(destination.untouched());
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_get_json_item_value",
                            assertion("size > len", "string value out of buf")));
}

TEST_F(JsonMemberWithText, IsStillItsNumberForTheOtherTypes) {
    const OwnedJson object = object_with("7");
    doubles::json::json_get_string.stand_in([](const json_item *) { return "8"; });
    Destination destination;
    EXPECT_EQ(frwk_get_json_item_value(object.get(), FRWK_DATA_TYPE_INT, "v", destination.out(), 4),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.value<int32_t>(), 7);
}
