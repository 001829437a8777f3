/*
 * Codec lists: every added item is read back unchanged.
 */
#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <vector>

#include "unit/frwk_utils/values/codec_lists.h"

namespace {

/* Random items, rich in the characters that matter. */
std::vector<std::string> random_items(std::mt19937 *random) {
    static constexpr char kSpecial[] = "&,;#39amp";
    std::vector<std::string> items(1 + (*random)() % 8);
    for (std::string &item : items) {
        for (size_t length = (*random)() % 40; length > 0; --length) {
            const auto byte = static_cast<char>(1 + (*random)() % 255);
            item += (*random)() % 3 == 0 ? kSpecial[(*random)() % (sizeof(kSpecial) - 1)] : byte;
        }
    }
    return items;
}

std::string list_of(const std::vector<std::string> &items) {
    List list(4096);
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add(items[i], i == 0));
    }
    return list.text();
}

/* The items of a list, of which there must be so many. */
std::vector<std::string> items_of(const std::string &list, size_t count) {
    Reader reader(list);
    std::vector<std::string> items(count);
    for (std::string &item : items) {
        item = reader.take();
    }
    EXPECT_EQ(static_cast<ptrdiff_t>(list.size()), reader.offset());
    return items;
}

template <typename Number>
void expect_back(int32_t type, Number in) {
    List list(64);
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_add_value(list.buf(), type, &in, 1)) << in;
    Number out = 77;
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_value(list.buf()->data, type, &out, sizeof(out), nullptr))
        << in;
    ASSERT_EQ(in, out) << "type " << type;
}

template <typename Number>
void expect_round_trip(int32_t type, std::mt19937_64 *random) {
    for (int i = 0; i < 200; ++i) {
        const auto in = static_cast<Number>((*random)());
        expect_back(type, in == std::numeric_limits<Number>::min() ? Number{1} : in);
    }
}

/* Real numbers that six decimals hold: multiples of 1/64 below so many bits. */
template <typename Real>
void expect_real_round_trip(int32_t type, int bits, std::mt19937_64 *random) {
    for (int i = 0; i < 200; ++i) {
        const auto units = static_cast<int64_t>((*random)() >> (64 - bits));
        const Real in = static_cast<Real>(units) / 64;
        expect_back(type, in);
        expect_back(type, -in);
    }
}

}  // namespace

TEST(CodecListRoundTrip, BringsBackEverySingleByte) {
    for (int byte = 1; byte <= 255; ++byte) {
        const std::string item(1, static_cast<char>(byte));
        List list(8);
        ASSERT_EQ(E_APPS_ERR_SUCCESS, list.add(item, true));
        ASSERT_EQ(item, first_item(list.text()));
    }
}

TEST(CodecListRoundTrip, BringsBackAnItemOfEveryByte) {
    std::string item;
    for (int byte = 1; byte <= 255; ++byte) {
        item += static_cast<char>(byte);
    }
    List list(1024);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("front", true));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add(item, false));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, list.add("back", false));
    Reader reader(list.text());
    EXPECT_EQ("front", reader.take());
    EXPECT_EQ(item, reader.take());
    EXPECT_EQ("back", reader.take());
}

TEST(CodecListRoundTrip, BringsBackRandomItemsAndTheirList) {
    std::mt19937 random(20240607);
    for (int i = 0; i < 5000; ++i) {
        const std::vector<std::string> items = random_items(&random);
        const std::string list = list_of(items);
        const std::vector<std::string> taken = items_of(list, items.size());
        ASSERT_EQ(items, taken) << list;
        ASSERT_EQ(list, list_of(taken));
    }
}

TEST(CodecListRoundTrip, BringsBackNumbersOfEveryType) {
    std::mt19937_64 random(20240607);
    expect_round_trip<uint8_t>(FRWK_DATA_TYPE_BYTE, &random);
    expect_round_trip<uint8_t>(FRWK_DATA_TYPE_UCHAR, &random);
    expect_round_trip<int16_t>(FRWK_DATA_TYPE_SHORT, &random);
    expect_round_trip<uint16_t>(FRWK_DATA_TYPE_USHORT, &random);
    expect_round_trip<int32_t>(FRWK_DATA_TYPE_INT, &random);
    expect_round_trip<uint32_t>(FRWK_DATA_TYPE_UINT, &random);
    expect_round_trip<int32_t>(FRWK_DATA_TYPE_LONG, &random);
    expect_round_trip<uint32_t>(FRWK_DATA_TYPE_ULONG, &random);
    expect_round_trip<int64_t>(FRWK_DATA_TYPE_LLONG, &random);
    expect_round_trip<uint64_t>(FRWK_DATA_TYPE_ULLONG, &random);
}

TEST(CodecListRoundTrip, BringsBackBothTruthValues) {
    expect_back<uint8_t>(FRWK_DATA_TYPE_BOOL, 0);
    expect_back<uint8_t>(FRWK_DATA_TYPE_BOOL, 1);
}

TEST(CodecListRoundTrip, BringsBackTheOutermostNumbers) {
    expect_back<int16_t>(FRWK_DATA_TYPE_SHORT, -INT16_MAX);
    expect_back<int32_t>(FRWK_DATA_TYPE_INT, -INT32_MAX);
    expect_back<int32_t>(FRWK_DATA_TYPE_LONG, INT32_MIN);
    expect_back<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MIN);
    expect_back<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MAX);
    expect_back<uint64_t>(FRWK_DATA_TYPE_ULLONG, 0);
    expect_back<uint64_t>(FRWK_DATA_TYPE_ULLONG, UINT64_MAX);
}

TEST(CodecListRoundTrip, BringsBackRealNumbersThatSixDecimalsHold) {
    std::mt19937_64 random(20240607);
    expect_real_round_trip<float>(FRWK_DATA_TYPE_FLOAT, 24, &random);
    expect_real_round_trip<double>(FRWK_DATA_TYPE_DOUBLE, 53, &random);
    expect_back<float>(FRWK_DATA_TYPE_FLOAT, 16777216.0f);
    expect_back<double>(FRWK_DATA_TYPE_DOUBLE, 0.0);
}
