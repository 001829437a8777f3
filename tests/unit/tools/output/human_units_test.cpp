#include "output/human_units.h"

#include <gtest/gtest.h>

namespace {

TEST(HumanUnits, ShowsMillisecondsWithTheirMicroseconds) {
    EXPECT_EQ("0.000 ms", milliseconds_text(0));
    EXPECT_EQ("0.123 ms", milliseconds_text(123));
    EXPECT_EQ("12345.678 ms", milliseconds_text(12345678));
}

TEST(HumanUnits, ShortMillisecondsKeepThreeDigits) {
    EXPECT_EQ("0.12", short_milliseconds(123));
    EXPECT_EQ("9.99", short_milliseconds(9990));
    EXPECT_EQ("10.0", short_milliseconds(9999));
    EXPECT_EQ("12.3", short_milliseconds(12345));
    EXPECT_EQ("100", short_milliseconds(99990));
    EXPECT_EQ("12346", short_milliseconds(12345678));
}

TEST(HumanUnits, ShortPercentTakesFourCharactersBelow10000) {
    EXPECT_EQ("0.0", short_percent(0));
    EXPECT_EQ("0.3", short_percent(0.34));
    EXPECT_EQ("99.9", short_percent(99.94));
    EXPECT_EQ("100", short_percent(99.96));
    EXPECT_EQ("1600", short_percent(1600));
}

TEST(HumanUnits, ShortDurationsTakeSixCharactersBelow100000Days) {
    EXPECT_EQ("0s", short_duration(0.9));
    EXPECT_EQ("59s", short_duration(59.9));
    EXPECT_EQ("1m", short_duration(60));
    EXPECT_EQ("59m", short_duration(3599));
    EXPECT_EQ("1h00m", short_duration(3600));
    EXPECT_EQ("23h59m", short_duration(86399));
    EXPECT_EQ("1d00h", short_duration(86400));
    EXPECT_EQ("99d23h", short_duration(100.0 * 86400 - 1));
    EXPECT_EQ("100d", short_duration(100.0 * 86400));
}

TEST(HumanUnits, ShortBytesTakeFiveCharactersAtMost) {
    EXPECT_EQ("0", short_bytes(0));
    EXPECT_EQ("999", short_bytes(999));
    EXPECT_EQ("1.0K", short_bytes(1000));
    EXPECT_EQ("1.5K", short_bytes(1536));
    EXPECT_EQ("10K", short_bytes(10238));
    EXPECT_EQ("999K", short_bytes(1023000));
    EXPECT_EQ("1.0M", short_bytes(1024u * 1024));
    EXPECT_EQ("4.0G", short_bytes(UINT32_MAX));
    EXPECT_EQ("16384P", short_bytes(UINT64_MAX));
}

}  // namespace
