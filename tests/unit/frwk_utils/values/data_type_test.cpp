/*
 * Every type code with every small destination, at the limits of the type and next to them.
 */
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/values/destination.h"

namespace {

constexpr uint32_t kLargestSize = 9;

/* A text, and what it gives: the result and, when that is 0, the variable's bits. */
struct Sample {
    std::string text;
    apps_err_e_type result;
    uint64_t bits;
};

Sample accepted(const std::string &text, uint64_t bits) {
    return {text, E_APPS_ERR_SUCCESS, bits};
}

/* A negative number's bits. */
Sample accepted_signed(const std::string &text, int64_t value) {
    return accepted(text, static_cast<uint64_t>(value));
}

Sample refused(const std::string &text) {
    return {text, E_APPS_ERR_PARAM, 0};
}

struct TypeCase {
    const char *name;
    int32_t code;
    uint32_t size;
    std::string too_small;    /* what a failed size check logs */
    std::string out_of_range; /* what a failed range check logs */
    std::vector<Sample> samples;
};

std::ostream &operator<<(std::ostream &out, const TypeCase &type) {
    return out << type.name;
}

const std::string kTooLong(400, '9');

/* Texts that every integer type reads as 0. */
std::vector<Sample> with_zeros(std::vector<Sample> samples) {
    for (const char *text : {"", " ", "0", "-0", "+0", "000", "abc", "-", "+", "--1", "+-1", "- 1", "0x10",
                             ".5", "\"7\"", "nan", "inf", "\n"}) {
        samples.push_back(accepted(text, 0));
    }
    return samples;
}

const std::vector<Sample> kBools = {
    accepted("", 0),      accepted("0", 0),     accepted("no", 0),     accepted("off", 0),
    accepted("false", 0), accepted("FALSE", 0), accepted("1", 1),      accepted("on", 1),
    accepted("yes", 1),   accepted("true", 1),  accepted("True", 1),   refused("2"),
    refused(" true"),     refused("true "),     refused("-1"),         refused("01"),
    refused("00"),        refused("\"true\""),  refused(kTooLong),     refused("nan"),
    refused("enabled"),   refused("t"),         accepted("enable", 1), accepted("disable", 0)};

const std::vector<Sample> kBytes =
    with_zeros({accepted("1", 1), accepted("254", 254), accepted("255", 255), accepted("+255", 255),
                accepted("0255", 255), accepted(" 255", 255), accepted("255 ", 255), accepted("255x", 255),
                accepted("7.9", 7), accepted("1e3", 1), refused("-1"), refused("256"), refused("257"),
                refused("65536"), refused("4294967295"), refused("4294967296"),
                refused("18446744073709551616"), refused(kTooLong), refused("-" + kTooLong)});

const std::vector<Sample> kShorts =
    with_zeros({accepted_signed("-32766", -32766), accepted_signed("-32767", -32767),
                accepted("32766", 32766), accepted("32767", 32767), accepted_signed("\t-1", -1),
                refused("-32768"), refused("-32769"), refused("32768"), refused("65535"), refused("65536"),
                refused("4294967295"), refused(kTooLong), refused("-" + kTooLong)});

const std::vector<Sample> kUshorts = with_zeros(
    {accepted("1", 1), accepted("65534", 65534), accepted("65535", 65535), refused("-1"), refused("65536"),
     refused("65537"), refused("4294967296"), refused(kTooLong), refused("-" + kTooLong)});

const std::vector<Sample> kInts =
    with_zeros({accepted_signed("-1", -1), accepted_signed("-2147483646", -2147483646),
                accepted_signed("-2147483647", -2147483647), accepted("2147483646", 2147483646),
                accepted("2147483647", 2147483647), accepted("2147483648", 2147483647),
                accepted("4294967295", 2147483647), accepted("9223372036854775808", 2147483647),
                accepted(kTooLong, 2147483647), refused("-2147483648"), refused("-2147483649"),
                refused("-4294967296"), refused("-9223372036854775809"), refused("-" + kTooLong)});

const std::vector<Sample> kLongs =
    with_zeros({accepted_signed("-1", -1), accepted_signed("-2147483647", -2147483647),
                accepted_signed("-2147483648", INT32_MIN), accepted_signed("-2147483649", INT32_MIN),
                accepted("2147483647", 2147483647), accepted("2147483648", 2147483647),
                accepted("4294967296", 2147483647), accepted("9223372036854775807", 2147483647),
                accepted(kTooLong, 2147483647), accepted_signed("-" + kTooLong, INT32_MIN)});

const std::vector<Sample> kUlongs =
    with_zeros({accepted("1", 1), accepted("4294967294", 4294967294), accepted("4294967295", 4294967295),
                accepted("4294967296", 4294967295), accepted("9223372036854775808", 4294967295),
                accepted("18446744073709551614", 4294967295), accepted("18446744073709551616", 4294967295),
                accepted(kTooLong, 4294967295), accepted("-1", 4294967295), accepted("-2", 4294967294),
                accepted("-2147483648", 2147483648), accepted("-4294967294", 2), accepted("-4294967295", 1),
                accepted("-4294967296", 4294967295), accepted("-4294967297", 4294967295),
                accepted("-18446744073709551615", 4294967295), accepted("-" + kTooLong, 4294967295)});

const std::vector<Sample> kLlongs = with_zeros(
    {accepted_signed("-1", -1), accepted_signed("-9223372036854775807", -INT64_MAX),
     accepted_signed("-9223372036854775808", INT64_MIN), accepted_signed("-9223372036854775809", INT64_MIN),
     accepted("4294967296", 4294967296), accepted("9007199254740993", 9007199254740993),
     accepted("9223372036854775806", INT64_MAX - 1), accepted("9223372036854775807", INT64_MAX),
     accepted("9223372036854775808", INT64_MAX), accepted(kTooLong, INT64_MAX),
     accepted_signed("-" + kTooLong, INT64_MIN)});

const std::vector<Sample> kUllongs = with_zeros(
    {accepted("18446744073709551614", UINT64_MAX - 1), accepted("18446744073709551615", UINT64_MAX),
     accepted("18446744073709551616", UINT64_MAX), accepted(kTooLong, UINT64_MAX), accepted("-1", UINT64_MAX),
     accepted("-9223372036854775808", 9223372036854775808u), accepted("-18446744073709551615", 1),
     accepted("-18446744073709551616", UINT64_MAX), accepted("-" + kTooLong, UINT64_MAX)});

const std::vector<Sample> kFloats = {
    accepted("", 0),
    accepted("abc", 0),
    accepted("0", 0),
    accepted("-0", 0x80000000),
    accepted("1", 0x3f800000),
    accepted(" 1.5", 0x3fc00000),
    accepted("+1.5x", 0x3fc00000),
    accepted("-1.5e1", 0xc1700000),
    accepted("0x10", 0x41800000),
    accepted("3.4028234663852886e38", 0x7f7fffff), /* the largest */
    accepted("3.4028235e38", 0x7f7fffff),          /* above it, but nearer to it than to the next step */
    accepted("-3.4028235e38", 0xff7fffff),
    accepted("3.4028235677973366e38", 0x7f800000), /* half a step above it */
    accepted("-3.4028235677973366e38", 0xff800000),
    accepted("1e39", 0x7f800000),
    accepted(kTooLong, 0x7f800000),
    accepted("-" + kTooLong, 0xff800000),
    accepted("inf", 0x7f800000),
    accepted("-Infinity", 0xff800000),
    accepted("nan", 0x7fc00000),
    accepted("1.4e-45", 1), /* the smallest above 0 */
    accepted("1e-60", 0),
};

const std::vector<Sample> kDoubles = {
    accepted("", 0),
    accepted("abc", 0),
    accepted("0", 0),
    accepted("-0", 0x8000000000000000),
    accepted(" 1.5", 0x3ff8000000000000),
    accepted("1.5,2.5", 0x3ff8000000000000),
    accepted("9007199254740993", 0x4340000000000000),
    accepted("1.7976931348623157e308", 0x7fefffffffffffff),
    accepted("1e309", 0x7ff0000000000000),
    accepted("-1e309", 0xfff0000000000000),
    accepted(kTooLong, 0x7ff0000000000000),
    accepted("inf", 0x7ff0000000000000),
    accepted("NAN", 0x7ff8000000000000),
    accepted("4.9e-324", 1),
    accepted("1e-400", 0),
};

const TypeCase kCases[] = {
    {"Bool", 1, 1, assertion("size >= sizeof(bool)", "bool value out of buf"),
     assertion("frwk_str_to_bool(str, &bv)", "invalid bool value"), kBools},
    {"Byte", 3, 1, assertion("size >= sizeof(uchar)", "byte value out of buf"),
     assertion("(0x0 <= lv) && (0xff >= lv)", "invalid byte value"), kBytes},
    {"Uchar", 4, 1, assertion("size >= sizeof(uchar)", "byte value out of buf"),
     assertion("(0x0 <= lv) && (0xff >= lv)", "invalid byte value"), kBytes},
    {"Short", 6, 2, assertion("size >= sizeof(short)", "short value out of buf"),
     assertion("(-0x7fff <= lv) && (0x7fff >= lv)", "invalid short value"), kShorts},
    {"Ushort", 7, 2, assertion("size >= sizeof(ushort)", "ushort value out of buf"),
     assertion("(0x0 <= lv) && (0xffff >= lv)", "invalid ushort value"), kUshorts},
    {"Int", 8, 4, assertion("size >= sizeof(int)", "int value out of buf"),
     assertion("(-0x7fffffff <= lv) && (0x7fffffff >= lv)", "invalid int value"), kInts},
    {"Uint", 9, 4, assertion("size >= sizeof(uint)", "uint value out of buf"), "", kUlongs},
    {"Long", 10, 4, assertion("size >= sizeof(long)", "long value out of buf"), "", kLongs},
    {"Ulong", 11, 4, assertion("size >= sizeof(ulong)", "ulong value out of buf"), "", kUlongs},
    {"Llong", 12, 8, assertion("size >= sizeof(llong)", "llong value out of buf"), "", kLlongs},
    {"Ullong", 13, 8, assertion("size >= sizeof(ullong)", "ullong value out of buf"), "", kUllongs},
    {"Float", 16, 4, assertion("size >= sizeof(float)", "float value out of buf"), "", kFloats},
    {"Double", 17, 8, assertion("size >= sizeof(double)", "double value out of buf"), "", kDoubles},
};

/* The lowest size bytes at the destination, as a number. */
uint64_t bits_of(const Destination &destination, uint32_t size) {
    switch (size) {
        case 1:
            return destination.value<uint8_t>();
        case 2:
            return destination.value<uint16_t>();
        case 4:
            return destination.value<uint32_t>();
        default:
            return destination.value<uint64_t>();
    }
}

uint64_t lowest_bytes(uint64_t bits, uint32_t size) {
    return size == 8 ? bits : bits & ((uint64_t{1} << (8 * size)) - 1);
}

void expect_stored(const TypeCase &type, const Sample &sample, uint32_t size) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(type.code, sample.text.c_str(), destination.out(), size), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(bits_of(destination, type.size), lowest_bytes(sample.bits, type.size));
    EXPECT_TRUE(destination.only_wrote(type.size));
    EXPECT_EQ(log.text(), "");
}

void expect_failure(const TypeCase &type, const std::string &text, uint32_t size, apps_err_e_type result,
                    const std::string &line) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(type.code, text.c_str(), destination.out(), size), result);
    EXPECT_TRUE(destination.untouched());
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value", line));
}

class DataType : public testing::TestWithParam<TypeCase> {};

INSTANTIATE_TEST_SUITE_P(Numbers, DataType, testing::ValuesIn(kCases),
                         [](const auto &each) { return std::string(each.param.name); });

/* How the codes without a variable are met everywhere. */
constexpr int32_t kUnsupported[] = {0, 2, 5, 18, 19, 20, -1, 256 + 8, INT32_MAX, INT32_MIN};

std::string unsupported_line(int32_t code) {
    return "unsupported data type[" + std::to_string(code) + "].";
}

}  // namespace

TEST_P(DataType, RefusesADestinationThatIsTooSmallWhateverTheText) {
    const TypeCase &type = GetParam();
    for (uint32_t size = 0; size < type.size; ++size) {
        for (const Sample &sample : type.samples) {
            SCOPED_TRACE("\"" + sample.text + "\" into " + std::to_string(size));
            expect_failure(type, sample.text, size, E_APPS_ERR_OUTOFBUF, type.too_small);
        }
    }
}

TEST_P(DataType, WritesItsOwnBytesOnlyOrNone) {
    const TypeCase &type = GetParam();
    for (uint32_t size = type.size; size <= kLargestSize; ++size) {
        for (const Sample &sample : type.samples) {
            SCOPED_TRACE("\"" + sample.text + "\" into " + std::to_string(size));
            if (sample.result == E_APPS_ERR_SUCCESS) {
                expect_stored(type, sample, size);
            } else {
                expect_failure(type, sample.text, size, sample.result, type.out_of_range);
            }
        }
    }
}

TEST_P(DataType, AcceptsTheLargestSize) {
    const TypeCase &type = GetParam();
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(type.code, "1", destination.out(), UINT32_MAX), E_APPS_ERR_SUCCESS);
    EXPECT_TRUE(destination.only_wrote(type.size));
}

TEST_P(DataType, ReadsANullTextAsAnEmptyOne) {
    const TypeCase &type = GetParam();
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(type.code, nullptr, destination.out(), type.size), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(bits_of(destination, type.size), 0u);
    EXPECT_TRUE(destination.only_wrote(type.size));
}

TEST_P(DataType, RefusesANullDestination) {
    const TypeCase &type = GetParam();
    const LogCapture log;
    EXPECT_EQ(frwk_str_to_value(type.code, "1", nullptr, kLargestSize), E_APPS_ERR_PARAM);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value", "parameter is null!"));
}

TEST(TextType, NeedsRoomForTheTextAndItsNul) {
    const std::string digits = "012345678";
    for (const int32_t code : {14, 15}) {
        for (uint32_t size = 0; size <= kLargestSize; ++size) {
            for (uint32_t length = 0; length <= kLargestSize; ++length) {
                SCOPED_TRACE(std::to_string(length) + " characters into " + std::to_string(size));
                const LogCapture log;
                Destination destination;
                const std::string text = digits.substr(0, length);
                const apps_err_e_type result = frwk_str_to_value(code, text.c_str(), destination.out(), size);
                if (length < size) {
                    EXPECT_EQ(result, E_APPS_ERR_SUCCESS);
                    EXPECT_EQ(destination.text(), text);
                    EXPECT_TRUE(destination.only_wrote(length + 1));
                    EXPECT_EQ(log.text(), "");
                } else {
                    EXPECT_EQ(result, E_APPS_ERR_OUTOFBUF);
                    EXPECT_TRUE(destination.untouched());
                    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value",
                                            assertion("size > len", "string value out of buf")));
                }
            }
        }
    }
}

TEST(TextType, ComparesSizesAsSignedNumbers) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(14, "a", destination.out(), UINT32_MAX), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_str_to_value(14, "a", destination.out(), 0x80000000u), E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(destination.untouched());
    EXPECT_EQ(frwk_str_to_value(14, "a", destination.out(), 0x7fffffffu), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.text(), "a");
    EXPECT_TRUE(destination.only_wrote(2));
}

TEST(UnsupportedType, IsRefusedWithAnyDestination) {
    for (const int32_t code : kUnsupported) {
        for (uint32_t size = 0; size <= kLargestSize; ++size) {
            SCOPED_TRACE(std::to_string(code) + " into " + std::to_string(size));
            const LogCapture log;
            Destination destination;
            EXPECT_EQ(frwk_str_to_value(code, "1", destination.out(), size), E_APPS_ERR_PARAM);
            EXPECT_TRUE(destination.untouched());
            EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value", unsupported_line(code)));
        }
    }
}

TEST(UnsupportedType, HasNoText) {
    for (const int32_t code : kUnsupported) {
        SCOPED_TRACE(code);
        const LogCapture log;
        Destination destination;
        EXPECT_EQ(frwk_value_to_str(code, "12345678", static_cast<char *>(destination.out()), 9),
                  E_APPS_ERR_PARAM);
        EXPECT_TRUE(destination.untouched());
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_value_to_str", unsupported_line(code)));
    }
}
