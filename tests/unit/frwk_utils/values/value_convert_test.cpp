/*
 * Variables as texts and texts as variables: what callers rely on. The limits of each type are in
 * data_type_test, the ways there and back in value_round_trip_test.
 */
#include <cfloat>
#include <cmath>
#include <limits>

#include "doubles/base_doubles.h"
#include "doubles/faults_test_fixture.h"
#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "support/memory_usage.h"
#include "unit/frwk_utils/heap_count.h"
#include "unit/frwk_utils/values/destination.h"
#include "unit/frwk_utils/values/value_text.h"

namespace {

constexpr char kUntouched[] = "untouched";

class CheckEnumValueFaults : public FaultsTest {};

}  // namespace

TEST(DataTypeCodes, NeverChange) {
    EXPECT_EQ(FRWK_DATA_TYPE_BOOL, 1);
    EXPECT_EQ(FRWK_DATA_TYPE_RESERVED2, 2);
    EXPECT_EQ(FRWK_DATA_TYPE_BYTE, 3);
    EXPECT_EQ(FRWK_DATA_TYPE_UCHAR, 4);
    EXPECT_EQ(FRWK_DATA_TYPE_RESERVED5, 5);
    EXPECT_EQ(FRWK_DATA_TYPE_SHORT, 6);
    EXPECT_EQ(FRWK_DATA_TYPE_USHORT, 7);
    EXPECT_EQ(FRWK_DATA_TYPE_INT, 8);
    EXPECT_EQ(FRWK_DATA_TYPE_UINT, 9);
    EXPECT_EQ(FRWK_DATA_TYPE_LONG, 10);
    EXPECT_EQ(FRWK_DATA_TYPE_ULONG, 11);
    EXPECT_EQ(FRWK_DATA_TYPE_LLONG, 12);
    EXPECT_EQ(FRWK_DATA_TYPE_ULLONG, 13);
    EXPECT_EQ(FRWK_DATA_TYPE_STRING, 14);
    EXPECT_EQ(FRWK_DATA_TYPE_STRING_EX, 15);
    EXPECT_EQ(FRWK_DATA_TYPE_FLOAT, 16);
    EXPECT_EQ(FRWK_DATA_TYPE_DOUBLE, 17);
    EXPECT_EQ(FRWK_DATA_TYPE_BASE64, 18);
    EXPECT_EQ(FRWK_DATA_TYPE_CIPHER, 19);
}

TEST(StrToValue, RefusesTheLowestShort) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_SHORT, "-32768", destination.out(), 2), E_APPS_ERR_PARAM);
    EXPECT_TRUE(destination.untouched());
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_SHORT, "-32767", destination.out(), 2), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.value<int16_t>(), -32767);
}

TEST(StrToValue, RefusesAByteAbove255) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, "256", destination.out(), 1), E_APPS_ERR_PARAM);
    EXPECT_TRUE(destination.untouched());
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, "255", destination.out(), 1), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.value<uint8_t>(), 255);
}

TEST(StrToValue, ChecksTheSizeBeforeTheText) {
    for (const char *text : {"255", "256", "", "junk"}) {
        Destination destination;
        EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, text, destination.out(), 0), E_APPS_ERR_OUTOFBUF);
        EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, text, nullptr, 0), E_APPS_ERR_OUTOFBUF);
        EXPECT_TRUE(destination.untouched());
    }
}

TEST(StrToValue, ChecksTheSizeBeforeTheDestination) {
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_INT, "1", nullptr, 3), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_INT, "1", nullptr, 4), E_APPS_ERR_PARAM);
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, "abc", nullptr, 3), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, "abc", nullptr, 4), E_APPS_ERR_PARAM);
}

TEST(StrToValue, ReadsMinusOneAsTheLargestUint) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_UINT, "-1", destination.out(), 4), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.value<uint32_t>(), 4294967295u);
}

TEST(StrToValue, NeedsAByteForTheNul) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, "abc", destination.out(), 3), E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(destination.untouched());
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, "abc", destination.out(), 4), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.text(), "abc");
}

TEST(StrToValue, ReadsANullTextAsTheEmptyText) {
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING_EX, nullptr, destination.out(), 1), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.text(), "");
    EXPECT_TRUE(destination.only_wrote(1));
}

/* Whatever a device's base library does when a condition doesn't hold, a caller's bad value must not bring it
 * about. */
TEST(StrToValue, AFailedCheckIsNoAssertion) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, "1", destination.out(), 0), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BYTE, "256", destination.out(), 1), E_APPS_ERR_PARAM);
    EXPECT_EQ(log.count("ASSERT("), 2u) << log.text();
    EXPECT_EQ(log.assertions(), 0u);
}

TEST(ValueToStr, AFailedCheckIsNoAssertion) {
    const LogCapture log;
    const int32_t value = 100;
    char text[3];
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_INT, &value, text, sizeof(text)), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(log.count("ASSERT(size > len) out of buf"), 1u) << log.text();
    EXPECT_EQ(log.assertions(), 0u);
}

TEST(StrToValue, RefusesAReservedType) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_RESERVED2, "1", destination.out(), 8), E_APPS_ERR_PARAM);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value", "unsupported data type[2]."));
}

TEST(StrToValue, NamesAWrongBooleanWordToo) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BOOL, "maybe", destination.out(), 1), E_APPS_ERR_PARAM);
    EXPECT_TRUE(logged_once(log, kDebugLevel, "frwk_str_to_bool", "invalid bool value=maybe!"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_str_to_value",
                            assertion("frwk_str_to_bool(str, &bv)", "invalid bool value")));
}

TEST(StrToValue, DoesNotReadAWrongBooleanWordIntoNoBytes) {
    const LogCapture log;
    Destination destination;
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BOOL, "maybe", destination.out(), 0), E_APPS_ERR_OUTOFBUF);
    EXPECT_FALSE(log.contains("maybe")) << log.text();
}

TEST(StrToValue, KeepsEveryByteOfAText) {
    std::string every;
    for (int byte = 1; byte < 256; ++byte) {
        every += static_cast<char>(byte);
    }
    char copy[256];
    EXPECT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, every.c_str(), copy, sizeof(copy)),
              E_APPS_ERR_SUCCESS);
    EXPECT_EQ(copy, every);
}

TEST(ValueToStr, RefusesAReservedType) {
    const LogCapture log;
    char buffer[16] = "untouched";
    const int64_t value = 1;
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_RESERVED5, &value, buffer, sizeof(buffer)), E_APPS_ERR_PARAM);
    EXPECT_STREQ(buffer, kUntouched);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_value_to_str", "unsupported data type[5]."));
}

TEST(ValueToStr, NeedsAByteForTheNul) {
    const LogCapture log;
    Destination destination;
    char *buffer = static_cast<char *>(destination.out());
    const int32_t value = 100;
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_INT, &value, buffer, 3), E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(destination.untouched());
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_value_to_str", assertion("size > len", "out of buf")));
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_INT, &value, buffer, 4), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(destination.text(), "100");
    EXPECT_TRUE(destination.only_wrote(4));
}

TEST(ValueToStr, RefusesSizesOfZeroAndBelow) {
    for (const int32_t size : {0, -1, INT32_MIN}) {
        const LogCapture log;
        Destination destination;
        EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_STRING, "", static_cast<char *>(destination.out()), size),
                  E_APPS_ERR_OUTOFBUF);
        EXPECT_TRUE(destination.untouched());
        EXPECT_TRUE(log.contains(assertion("size > len", "out of buf"))) << size;
    }
}

TEST(ValueToStr, RefusesANullBuffer) {
    const LogCapture log;
    const int32_t value = 1;
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_INT, &value, nullptr, 16), E_APPS_ERR_PARAM);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_value_to_str", "parameter is null!"));
}

TEST(ValueToStr, RefusesANullNumber) {
    char buffer[16] = "untouched";
    for (const int32_t type : {1, 3, 4, 6, 7, 8, 9, 10, 11, 12, 13, 16, 17}) {
        const LogCapture log;
        EXPECT_EQ(frwk_value_to_str(type, nullptr, buffer, sizeof(buffer)), E_APPS_ERR_PARAM) << type;
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_value_to_str", "parameter is null!"));
    }
    EXPECT_STREQ(buffer, kUntouched);
}

TEST(ValueToStr, WritesANullTextAsTheEmptyText) {
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        char buffer[16] = "untouched";
        EXPECT_EQ(frwk_value_to_str(type, nullptr, buffer, 1), E_APPS_ERR_SUCCESS);
        EXPECT_STREQ(buffer, "");
    }
}

TEST(ValueToStr, WritesBooleansAsTrueAndFalse) {
    EXPECT_EQ(text_of<uint8_t>(FRWK_DATA_TYPE_BOOL, 0), "false");
    EXPECT_EQ(text_of<uint8_t>(FRWK_DATA_TYPE_BOOL, 1), "true");
    EXPECT_EQ(text_of<uint8_t>(FRWK_DATA_TYPE_BOOL, 255), "true");
}

TEST(ValueToStr, WritesTheLimitsOfIntegers) {
    EXPECT_EQ(text_of<uint8_t>(FRWK_DATA_TYPE_BYTE, 255), "255");
    EXPECT_EQ(text_of<uint8_t>(FRWK_DATA_TYPE_UCHAR, 128), "128");
    EXPECT_EQ(text_of<int16_t>(FRWK_DATA_TYPE_SHORT, INT16_MIN), "-32768");
    EXPECT_EQ(text_of<int16_t>(FRWK_DATA_TYPE_SHORT, INT16_MAX), "32767");
    EXPECT_EQ(text_of<uint16_t>(FRWK_DATA_TYPE_USHORT, UINT16_MAX), "65535");
    EXPECT_EQ(text_of<int32_t>(FRWK_DATA_TYPE_INT, INT32_MIN), "-2147483648");
    EXPECT_EQ(text_of<int32_t>(FRWK_DATA_TYPE_LONG, INT32_MAX), "2147483647");
    EXPECT_EQ(text_of<uint32_t>(FRWK_DATA_TYPE_UINT, UINT32_MAX), "4294967295");
    EXPECT_EQ(text_of<uint32_t>(FRWK_DATA_TYPE_ULONG, 2147483648u), "2147483648");
    EXPECT_EQ(text_of<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MIN), "-9223372036854775808");
    EXPECT_EQ(text_of<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MAX), "9223372036854775807");
    EXPECT_EQ(text_of<uint64_t>(FRWK_DATA_TYPE_ULLONG, UINT64_MAX), "18446744073709551615");
}

TEST(ValueToStr, WritesRealNumbersWithSixDecimals) {
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, 1.5), "1.500000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, 1.5f), "1.500000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, -0.0), "-0.000000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, 0.00000049), "0.000000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, 0.1f), "0.100000");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, FLT_MAX), "340282346638528859811704183484516925440.000000");
}

TEST(ValueToStr, WritesWhatIsNoNumber) {
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, -std::numeric_limits<float>::infinity()), "-inf");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_DOUBLE, std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(text_of(FRWK_DATA_TYPE_FLOAT, std::numeric_limits<float>::quiet_NaN()), "nan");
}

TEST(ValueToStr, CutsRealNumbersOffAfter63Characters) {
    const double value = 1e300;
    char buffer[128] = "";
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_DOUBLE, &value, buffer, sizeof(buffer)), E_APPS_ERR_SUCCESS);
    EXPECT_EQ(std::strlen(buffer), 63u);
    EXPECT_EQ(std::string(buffer, 8), "10000000");
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_DOUBLE, &value, buffer, 63), E_APPS_ERR_OUTOFBUF);
    EXPECT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_DOUBLE, &value, buffer, 64), E_APPS_ERR_SUCCESS);
}

TEST(ValueToStr, CopiesTextsOfAnyLength) {
    const std::string text(1000, 'x');
    for (const int32_t type : {FRWK_DATA_TYPE_STRING, FRWK_DATA_TYPE_STRING_EX}) {
        char buffer[1001] = "";
        EXPECT_EQ(frwk_value_to_str(type, text.c_str(), buffer, 1000), E_APPS_ERR_OUTOFBUF);
        EXPECT_STREQ(buffer, "");
        EXPECT_EQ(frwk_value_to_str(type, text.c_str(), buffer, 1001), E_APPS_ERR_SUCCESS);
        EXPECT_EQ(buffer, text);
    }
}

TEST(Conversion, TakesNoHeap) {
    const SilentLog silent;
    const char *const texts[] = {"1", "-1", "on", "256", "", "1e308", "-1.5", "junk"};
    const std::string too_long(400, '9');
    char variable[512] = "";
    char text[512];

    const unsigned long before = heap_blocks_taken();
    for (int32_t type = 0; type <= 20; ++type) {
        for (const char *each : texts) {
            frwk_str_to_value(type, each, variable, sizeof(variable));
            frwk_value_to_str(type, variable, text, sizeof(text));
        }
        frwk_str_to_value(type, too_long.c_str(), variable, sizeof(variable));
        frwk_value_to_str(type, variable, text, sizeof(text));
        frwk_str_to_value(type, too_long.c_str(), variable, 0);
    }
    EXPECT_EQ(heap_blocks_taken() - before, 0u);
}

TEST(CheckEnumValue, IgnoresCase) {
    EXPECT_EQ(frwk_check_enum_value("auto,manual", "MANUAL"), 1);
    EXPECT_EQ(frwk_check_enum_value("AUTO,manual", "auto"), 1);
}

TEST(CheckEnumValue, TakesBlanksAsPartOfAWord) {
    EXPECT_EQ(frwk_check_enum_value("auto, manual", "manual"), 0);
    EXPECT_EQ(frwk_check_enum_value("auto, manual", " manual"), 1);
    EXPECT_EQ(frwk_check_enum_value("auto,manual", "manual "), 0);
}

TEST(CheckEnumValue, FindsTheFirstTheMiddleAndTheLastWord) {
    EXPECT_EQ(frwk_check_enum_value("a,b,c", "a"), 1);
    EXPECT_EQ(frwk_check_enum_value("a,b,c", "b"), 1);
    EXPECT_EQ(frwk_check_enum_value("a,b,c", "c"), 1);
    EXPECT_EQ(frwk_check_enum_value("a,b,c", "d"), 0);
    EXPECT_EQ(frwk_check_enum_value("a", "a"), 1);
}

TEST(CheckEnumValue, WantsWholeWords) {
    EXPECT_EQ(frwk_check_enum_value("auto,manual", "man"), 0);
    EXPECT_EQ(frwk_check_enum_value("auto,manual", "manually"), 0);
    EXPECT_EQ(frwk_check_enum_value("auto,manual", "auto,manual"), 0);
    EXPECT_EQ(frwk_check_enum_value("auto,manual", ","), 0);
}

TEST(CheckEnumValue, MatchesAnEmptyWordWithTheEmptyTextOnly) {
    EXPECT_EQ(frwk_check_enum_value("a,,b", ""), 1);
    EXPECT_EQ(frwk_check_enum_value("a,b,", ""), 1);
    EXPECT_EQ(frwk_check_enum_value(",a,b", ""), 1);
    EXPECT_EQ(frwk_check_enum_value("", ""), 1);
    EXPECT_EQ(frwk_check_enum_value("a,b", ""), 0);
    EXPECT_EQ(frwk_check_enum_value("a,,b,", "c"), 0);
    EXPECT_EQ(frwk_check_enum_value("", "a"), 0);
}

TEST(CheckEnumValue, FindsNothingInNull) {
    const LogCapture log;
    EXPECT_EQ(frwk_check_enum_value(nullptr, "a"), 0);
    EXPECT_EQ(frwk_check_enum_value("a", nullptr), 0);
    EXPECT_EQ(frwk_check_enum_value(nullptr, nullptr), 0);
    EXPECT_EQ(log.count("parameter is null!"), 3u) << log.text();
}

TEST(CheckEnumValue, LeavesTheListAlone) {
    char list[] = "a,b,c";
    EXPECT_EQ(frwk_check_enum_value(list, "c"), 1);
    EXPECT_STREQ(list, "a,b,c");
}

TEST(CheckEnumValue, TakesOneBlockAndGivesItBack) {
    for (const char *text : {"a", "c", "d"}) {
        const uint32_t live = live_blocks();
        const unsigned long before = heap_blocks_taken();
        frwk_check_enum_value("a,b,c", text);
        EXPECT_EQ(heap_blocks_taken() - before, 1u) << text;
        EXPECT_EQ(live_blocks(), live) << text;
    }
}

TEST_F(CheckEnumValueFaults, FindsNothingWithoutMemory) {
    const LogCapture log;
    doubles::base::os_mem_strdup.stand_in([](const char *) -> char * { return nullptr; });
    EXPECT_EQ(frwk_check_enum_value("a,b", "a"), 0);
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_check_enum_value", "DUP enum string failed!"));
}
