/*
 * Random variables written as texts and read again: nothing is lost.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "unit/frwk_utils/values/destination.h"
#include "unit/frwk_utils/values/value_text.h"

namespace {

constexpr int kRoundTrips = 20000;

/* A number of bits is as likely as any other, so that small and large values both occur. */
template <typename T>
T random_integer(std::mt19937_64 &random) {
    return static_cast<T>(random() >> (random() % 64));
}

template <typename T>
void expect_round_trips(int32_t type, T lowest) {
    std::mt19937_64 random(static_cast<uint64_t>(type));
    for (int i = 0; i < kRoundTrips; ++i) {
        const T value = std::max(lowest, random_integer<T>(random));
        const std::string text = text_of(type, value);
        ASSERT_EQ(text, std::to_string(value));
        Destination destination;
        ASSERT_EQ(frwk_str_to_value(type, text.c_str(), destination.out(), sizeof(T)), E_APPS_ERR_SUCCESS);
        ASSERT_EQ(destination.value<T>(), value);
    }
}

/* Multiples of 1/64 have no more than six decimals. */
template <typename T>
void expect_real_round_trips(int32_t type, int64_t most_parts) {
    std::mt19937_64 random(static_cast<uint64_t>(type));
    std::uniform_int_distribution<int64_t> parts(-most_parts, most_parts);
    for (int i = 0; i < kRoundTrips; ++i) {
        const T value = static_cast<T>(parts(random)) / 64;
        const std::string text = text_of(type, value);
        Destination destination;
        ASSERT_EQ(frwk_str_to_value(type, text.c_str(), destination.out(), sizeof(T)), E_APPS_ERR_SUCCESS);
        ASSERT_EQ(destination.value<T>(), value) << text;
    }
}

std::string random_text(std::mt19937_64 &random) {
    std::string text(static_cast<size_t>(random() % 48), '\0');
    for (char &each : text) {
        each = static_cast<char>(random() % 255 + 1);
    }
    return text;
}

}  // namespace

TEST(RoundTrip, KeepsBooleans) {
    for (const uint8_t value : {uint8_t{0}, uint8_t{1}}) {
        const std::string text = text_of(FRWK_DATA_TYPE_BOOL, value);
        Destination destination;
        ASSERT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_BOOL, text.c_str(), destination.out(), 1),
                  E_APPS_ERR_SUCCESS);
        EXPECT_EQ(destination.value<uint8_t>(), value);
    }
}

TEST(RoundTrip, KeepsBytes) {
    expect_round_trips<uint8_t>(FRWK_DATA_TYPE_BYTE, 0);
    expect_round_trips<uint8_t>(FRWK_DATA_TYPE_UCHAR, 0);
}

TEST(RoundTrip, KeepsShorts) {
    expect_round_trips<int16_t>(FRWK_DATA_TYPE_SHORT, -INT16_MAX);
    expect_round_trips<uint16_t>(FRWK_DATA_TYPE_USHORT, 0);
}

TEST(RoundTrip, KeepsInts) {
    expect_round_trips<int32_t>(FRWK_DATA_TYPE_INT, -INT32_MAX);
    expect_round_trips<uint32_t>(FRWK_DATA_TYPE_UINT, 0);
}

TEST(RoundTrip, KeepsLongs) {
    expect_round_trips<int32_t>(FRWK_DATA_TYPE_LONG, INT32_MIN);
    expect_round_trips<uint32_t>(FRWK_DATA_TYPE_ULONG, 0);
}

TEST(RoundTrip, KeepsLongLongs) {
    expect_round_trips<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MIN);
    expect_round_trips<uint64_t>(FRWK_DATA_TYPE_ULLONG, 0);
}

TEST(RoundTrip, KeepsRealNumbersOfSixDecimals) {
    expect_real_round_trips<float>(FRWK_DATA_TYPE_FLOAT, int64_t{1} << 24);
    expect_real_round_trips<double>(FRWK_DATA_TYPE_DOUBLE, int64_t{1} << 53);
}

TEST(RoundTrip, KeepsTexts) {
    std::mt19937_64 random(15);
    for (int i = 0; i < kRoundTrips; ++i) {
        const std::string text = random_text(random);
        char written[48];
        char back[48];
        ASSERT_EQ(frwk_value_to_str(FRWK_DATA_TYPE_STRING, text.c_str(), written, sizeof(written)),
                  E_APPS_ERR_SUCCESS);
        ASSERT_EQ(frwk_str_to_value(FRWK_DATA_TYPE_STRING, written, back, sizeof(back)), E_APPS_ERR_SUCCESS);
        ASSERT_EQ(back, text);
    }
}
