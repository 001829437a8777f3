/*
 * Typed settings with the real database: a written variable is read back unchanged.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "system/zndb/zndb_process.h"

namespace {

class TypedSettings : public ZndbTest {};

/* Writes a number to the plain and the perm store, and reads it from the plain one. */
template <typename Number>
void expect_round_trip(int32_t type, Number in, const std::string &text) {
    Number out = 0;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("key", type, &in));
    EXPECT_EQ(text, plain("key"));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", type, &out, sizeof(out)));
    EXPECT_EQ(in, out);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_perm_value("key", type, &in));
    EXPECT_EQ(text, perm("key"));
}

/* Random bytes, without the two that end a line and so can't be stored. */
std::string random_text(std::mt19937 *random, size_t length) {
    std::string text;
    while (text.size() < length) {
        const auto byte = static_cast<char>(1 + (*random)() % 255);
        if (byte != '\n' && byte != '\r') {
            text += (*random)() % 4 == 0 ? "&,"[(*random)() % 2] : byte;
        }
    }
    return text;
}

/* The whole list under a key, read back item by item. */
std::vector<std::string> stored_items(const char *key, size_t count) {
    char list[ZNDB_VALUE_LEN] = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value(key, FRWK_DATA_TYPE_STRING, list, sizeof(list)));
    std::vector<std::string> items;
    char *next = list;
    for (size_t i = 0; i < count; ++i) {
        char item[ZNDB_VALUE_LEN] = "";
        EXPECT_EQ(E_APPS_ERR_SUCCESS,
                  frwk_zndb_get_value(next, FRWK_DATA_TYPE_STRING, item, sizeof(item), &next));
        items.emplace_back(item);
    }
    return items;
}

void store_items(const char *key, const std::vector<std::string> &items) {
    char storage[ZNDB_VALUE_LEN] = "";
    frwk_codec_buf_t list = {sizeof(storage), 0, storage};
    for (size_t i = 0; i < items.size(); ++i) {
        ASSERT_EQ(E_APPS_ERR_SUCCESS,
                  frwk_zndb_add_value(&list, FRWK_DATA_TYPE_STRING, items[i].c_str(), i == 0 ? 1 : 0));
    }
    ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value(key, FRWK_DATA_TYPE_STRING, storage));
}

TEST_F(TypedSettings, NumbersOfEveryTypeComeBack) {
    start();
    expect_round_trip<uint8_t>(FRWK_DATA_TYPE_BOOL, 1, "true");
    expect_round_trip<uint8_t>(FRWK_DATA_TYPE_BYTE, 255, "255");
    expect_round_trip<uint8_t>(FRWK_DATA_TYPE_UCHAR, 0, "0");
    expect_round_trip<int16_t>(FRWK_DATA_TYPE_SHORT, -32767, "-32767");
    expect_round_trip<uint16_t>(FRWK_DATA_TYPE_USHORT, 65535, "65535");
    expect_round_trip<int32_t>(FRWK_DATA_TYPE_INT, -2147483647, "-2147483647");
    expect_round_trip<uint32_t>(FRWK_DATA_TYPE_UINT, 4294967295u, "4294967295");
    expect_round_trip<int32_t>(FRWK_DATA_TYPE_LONG, INT32_MIN, "-2147483648");
    expect_round_trip<uint32_t>(FRWK_DATA_TYPE_ULONG, 4294967295u, "4294967295");
    expect_round_trip<int64_t>(FRWK_DATA_TYPE_LLONG, INT64_MIN, "-9223372036854775808");
    expect_round_trip<uint64_t>(FRWK_DATA_TYPE_ULLONG, UINT64_MAX, "18446744073709551615");
    expect_round_trip<float>(FRWK_DATA_TYPE_FLOAT, 0.25f, "0.250000");
    expect_round_trip<double>(FRWK_DATA_TYPE_DOUBLE, -1.5, "-1.500000");
}

TEST_F(TypedSettings, TheLongestTextComesBack) {
    start();
    std::mt19937 random(20240607);
    const std::string text = random_text(&random, 1023);
    char out[ZNDB_VALUE_LEN] = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_STRING, text.c_str()));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, out, sizeof(out)));
    EXPECT_EQ(text, out);
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF,
              frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_STRING, (text + "x").c_str()));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF,
              frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_STRING, out, sizeof(out) - 1));
}

TEST_F(TypedSettings, ANumberOf64CharactersIsRefused) {
    start();
    uint32_t out = 77;
    EXPECT_EQ(0, zndb_set("key", (std::string(63, '0') + "5").c_str()));
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_UINT, &out, sizeof(out)));
    EXPECT_EQ(77u, out);
    EXPECT_EQ(0, zndb_set("key", (std::string(62, '0') + "5").c_str()));
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_UINT, &out, sizeof(out)));
    EXPECT_EQ(5u, out);
}

TEST_F(TypedSettings, AMissingKeyIsNotFoundAndReadsAsFalse) {
    start();
    int32_t out = 77;
    EXPECT_EQ(E_APPS_ERR_NOTFOUND, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_INT, &out, sizeof(out)));
    EXPECT_EQ(77, out);
    EXPECT_FALSE(frwk_zndb_get_bool("key"));
    EXPECT_EQ(0, zndb_set("key", "enable"));
    EXPECT_TRUE(frwk_zndb_get_bool("key"));
}

TEST_F(TypedSettings, WithoutADatabaseEveryCallIsBusy) {
    int32_t out = 77;
    frwk_conninfo_t info = {};
    EXPECT_EQ(E_APPS_ERR_BUSY, frwk_zndb_get_key_value("key", FRWK_DATA_TYPE_INT, &out, sizeof(out)));
    EXPECT_EQ(E_APPS_ERR_BUSY, frwk_zndb_set_key_value("key", FRWK_DATA_TYPE_INT, &out));
    EXPECT_EQ(E_APPS_ERR_BUSY, frwk_zndb_set_key_perm_value("key", FRWK_DATA_TYPE_INT, &out));
    EXPECT_EQ(E_APPS_ERR_BUSY, frwk_zndb_set_key_value_encrypt("key", FRWK_DATA_TYPE_BASE64, "a", 1));
    EXPECT_EQ(E_APPS_ERR_BUSY,
              frwk_zndb_get_key_value_decrypt("key", FRWK_DATA_TYPE_BASE64, &out, sizeof(out)));
    EXPECT_EQ(E_APPS_ERR_BUSY, frwk_zndb_get_conninfo("key", &info));
    EXPECT_FALSE(frwk_zndb_get_bool("key"));
    EXPECT_EQ(77, out);
}

TEST_F(TypedSettings, ListsComeBackItemByItem) {
    start();
    std::mt19937 random(20240607);
    for (int i = 0; i < 50; ++i) {
        std::vector<std::string> items(1 + random() % 6);
        for (std::string &item : items) {
            item = random_text(&random, random() % 40);
        }
        store_items("key", items);
        ASSERT_EQ(items, stored_items("key", items.size()));
    }
}

TEST_F(TypedSettings, AConnectionsListComesBackAsItsRecord) {
    start();
    const std::vector<std::string> items = {"Connected",
                                            "0",
                                            "00:11:22:33:44:55",
                                            "10.0.0.2",
                                            "255.255.255.0",
                                            "10.0.0.1",
                                            "10.0.0.53",
                                            "10.0.0.54",
                                            "2001:db8::2",
                                            "::53",
                                            "::54",
                                            "wan, first",
                                            "rmnet0",
                                            "3",
                                            "64",
                                            "::1",
                                            "6",
                                            "-36"};
    store_items("wan", items);
    frwk_conninfo_t info = {};
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_conninfo("wan", &info));
    EXPECT_EQ(1, info.connected);
    EXPECT_GT(info.uptime, 0u);
    EXPECT_STREQ("wan, first", info.iface);
    EXPECT_STREQ("rmnet0", info.ifname);
    EXPECT_STREQ("::1", info.ipv6gw);
    EXPECT_EQ(-36, info.call_end_code);
}

TEST_F(TypedSettings, AProfilesListComesBackAsItsRecord) {
    start();
    store_items("profile", {"home, sweet", "internet", "me", "p&ss,word", "PAP_CHAP", "IPv4v6", ""});
    char list[ZNDB_VALUE_LEN] = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS,
              frwk_zndb_get_key_value("profile", FRWK_DATA_TYPE_STRING, list, sizeof(list)));
    frwk_profile_t profile = {};
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_parse_profile_str(list, &profile));
    EXPECT_STREQ("home, sweet", profile.profilename);
    EXPECT_STREQ("p&ss,word", profile.password);
    EXPECT_EQ(3, profile.authmode);
    EXPECT_EQ(3, profile.iptype);
    EXPECT_STREQ("", profile.readonly);
}

}  // namespace
