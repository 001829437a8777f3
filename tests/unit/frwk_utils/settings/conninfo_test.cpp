/*
 * The record of a data connection: which item of the stored list fills which member.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "doubles/base_doubles.h"
#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/fake_database.h"
#include "unit/frwk_utils/values/codec_lists.h"

namespace {

constexpr uint32_t kUptime = 1000;

class Conninfo : public ConfigTest {
  protected:
    void SetUp() override {
        ConfigTest::SetUp();
        doubles::base::os_uptime_sec.stand_in([] { return kUptime; });
    }
};

/* The 18 items of a complete list, in order. */
const std::vector<std::string> kItems = {"connected",
                                         "400",
                                         "00:11:22:33:44:55",
                                         "10.0.0.2",
                                         "255.255.255.0",
                                         "10.0.0.1",
                                         "10.0.0.53",
                                         "10.0.0.54",
                                         "2001:db8::2",
                                         "2001:db8::53",
                                         "2001:db8::54",
                                         "the interface",
                                         "rmnet_data0",
                                         "3",
                                         "64",
                                         "2001:db8::1",
                                         "6",
                                         "-36"};

/* What each item fills: how long a text may be (0: a number), and what is logged when it can't be read. */
struct ItemCase {
    size_t longest;
    const char *failure;
};

const std::vector<ItemCase> kItemCases = {
    {31, "parse connect status failed!"},   {0, "parse connect uptime failed!"},
    {17, "parse connect macaddr failed!"},  {15, "parse connect ipaddr failed!"},
    {15, "parse connect netmask failed!"},  {15, "parse connect gateway failed!"},
    {15, "parse connect dns1 failed!"},     {15, "parse connect dns2 failed!"},
    {45, "parse connect ipv6addr failed!"}, {45, "parse connect ipv6dns1 failed!"},
    {45, "parse connect ipv6dns2 failed!"}, {31, "parse connect iface failed!"},
    {31, "parse interface name failed!"},   {0, "parse cid failed!"},
    {0, "parse ipv6addr prefix failed!"},   {45, "parse connect ipv6gw failed!"},
    {0, "parse call_end_type failed!"},     {0, "parse call_end_code failed!"}};

/* A number that an int refuses; as a uint it is accepted like any other. */
constexpr char kRefusedInt[] = "-2147483648";

/* The bytes of a record. */
std::string bytes_of(const frwk_conninfo_t &info) {
    return std::string(reinterpret_cast<const char *>(&info), sizeof(info));
}

frwk_conninfo_t filled_with(char byte) {
    frwk_conninfo_t info;
    std::memset(&info, byte, sizeof(info));
    return info;
}

/* The members as the items would show them, in the order of the items; uptime as it is. */
std::vector<std::string> shown(const frwk_conninfo_t &info) {
    return {info.connected == 1 ? "connected" : "",
            std::to_string(info.uptime),
            info.macaddr,
            info.ipaddr,
            info.netmask,
            info.gateway,
            info.dns1,
            info.dns2,
            info.ipv6addr,
            info.ipv6dns1,
            info.ipv6dns2,
            info.iface,
            info.ifname,
            std::to_string(info.cid),
            std::to_string(info.ipv6_prefix),
            info.ipv6gw,
            std::to_string(info.call_end_type),
            std::to_string(info.call_end_code)};
}

/* The same when only the first count items are there. */
std::vector<std::string> expected_shown(size_t count) {
    std::vector<std::string> items = kItems;
    for (size_t i = count; i < items.size(); ++i) {
        items[i] = kItemCases[i].longest == 0 ? "0" : "";
    }
    items[1] = count == 0 ? "0" : count == 1 ? "1000" : "600";
    return items;
}

/* A record of empty texts and zeros is what is there before the call, so an untouched member shows. */
frwk_conninfo_t read_info(apps_err_e_type expected = E_APPS_ERR_SUCCESS) {
    frwk_conninfo_t info = {};
    EXPECT_EQ(expected, frwk_zndb_get_conninfo("wan", &info));
    return info;
}

}  // namespace

TEST_F(Conninfo, FillsEveryMemberFromItsItem) {
    store("wan", joined(kItems));
    EXPECT_EQ(expected_shown(18), shown(read_info()));
}

TEST_F(Conninfo, AsksForAValueOfTheLargestSize) {
    store("wan", joined(kItems));
    (void)read_info();
    ASSERT_EQ(1u, database().requests.size());
    EXPECT_EQ("wan", database().requests[0].key);
    EXPECT_EQ(1024u, database().requests[0].size);
}

TEST_F(Conninfo, TerminatesEveryTextOfARecordThatHeldOtherBytes) {
    store("wan", joined(kItems));
    frwk_conninfo_t info = filled_with('U');
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_conninfo("wan", &info));
    EXPECT_EQ(expected_shown(18), shown(info));
}

TEST_F(Conninfo, CountsConnectedInAnyCaseAsConnected) {
    for (const char *word : {"connected", "CONNECTED", "Connected"}) {
        store("wan", list_with(kItems, 0, word));
        EXPECT_EQ(1, read_info().connected) << word;
        EXPECT_EQ(600u, read_info().uptime);
    }
}

TEST_F(Conninfo, CountsAnyOtherStatusAsNotConnected) {
    for (const char *word : {"connecting", "disconnected", "connected ", " connected", "connecte", "", "1"}) {
        store("wan", list_with(kItems, 0, word));
        frwk_conninfo_t info = filled_with('U');
        EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_conninfo("wan", &info));
        EXPECT_EQ(0, info.connected) << word;
        EXPECT_EQ(0u, info.uptime);
    }
}

TEST_F(Conninfo, WrapsWhenTheConnectionCameUpAfterNow) {
    store("wan", list_with(kItems, 1, "1001"));
    EXPECT_EQ(UINT32_MAX, read_info().uptime);
}

TEST_F(Conninfo, ReadsATextOf0To25Items) {
    std::vector<std::string> items = kItems;
    for (int extra = 0; extra < 7; ++extra) {
        items.push_back("extra");
    }
    for (size_t count = 0; count <= items.size(); ++count) {
        store("wan",
              joined(std::vector<std::string>(items.begin(), items.begin() + static_cast<long>(count))));
        frwk_conninfo_t info = filled_with('U');
        ASSERT_EQ(E_APPS_ERR_SUCCESS, frwk_zndb_get_conninfo("wan", &info)) << count;
        ASSERT_EQ(expected_shown(std::min<size_t>(count, 18)), shown(info)) << count;
    }
}

TEST_F(Conninfo, ReadsATextThatEndsInAComma) {
    store("wan", "connected,400,");
    EXPECT_EQ(expected_shown(2), shown(read_info()));
}

TEST_F(Conninfo, DecodesItsItems) {
    store("wan", list_with(kItems, 11, "a&amp;b&#39;c"));
    EXPECT_STREQ("a&b,c", read_info().iface);
}

TEST_F(Conninfo, TakesATextAsLongAsItsMember) {
    for (size_t i = 1; i < kItems.size(); ++i) {
        if (kItemCases[i].longest != 0) {
            const std::string longest(kItemCases[i].longest, 'x');
            store("wan", list_with(kItems, i, longest));
            EXPECT_EQ(longest, shown(read_info())[i]);
        }
    }
}

TEST_F(Conninfo, StopsAtTheFirstItemThatCanNotBeRead) {
    for (size_t i = 0; i < kItems.size(); ++i) {
        if (i == 1) {
            continue; /* no text is refused as a uint */
        }
        const LogCapture log;
        const bool number = kItemCases[i].longest == 0;
        const std::string bad = number ? kRefusedInt : std::string(kItemCases[i].longest + 1, 'x');
        store("wan", list_with(kItems, i, bad));
        const frwk_conninfo_t info = read_info(number ? E_APPS_ERR_PARAM : E_APPS_ERR_OUTOFBUF);

        std::vector<std::string> expected = expected_shown(i);
        expected[1] = i == 0 ? "0" : "600";
        EXPECT_EQ(expected, shown(info)) << kItemCases[i].failure;
        EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_conninfo", kItemCases[i].failure));
        EXPECT_EQ(1u, log.count("parse "));
    }
}

TEST_F(Conninfo, LeavesTheMembersBehindABadItemAlone) {
    store("wan", list_with(kItems, 3, std::string(16, 'x')));
    frwk_conninfo_t info = filled_with('U');
    EXPECT_EQ(E_APPS_ERR_OUTOFBUF, frwk_zndb_get_conninfo("wan", &info));
    EXPECT_STREQ("00:11:22:33:44:55", info.macaddr);
    EXPECT_EQ(std::string(sizeof(info.ipaddr), 'U'), std::string(info.ipaddr, sizeof(info.ipaddr)));
    EXPECT_EQ(0x55555555, info.call_end_code);
}

TEST_F(Conninfo, AcceptsTheLargestConnectTime) {
    store("wan", list_with(kItems, 1, "4294967295"));
    EXPECT_EQ(kUptime + 1, read_info().uptime);
}

TEST_F(Conninfo, SaysThatTheSettingIsMissing) {
    const LogCapture log;
    frwk_conninfo_t info = filled_with('U');
    const std::string before = bytes_of(info);
    EXPECT_EQ(E_APPS_ERR_NOTFOUND, frwk_zndb_get_conninfo("wan", &info));
    EXPECT_EQ(before, bytes_of(info));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "frwk_zndb_get_conninfo", "zndb get 'wan' value failed!"));
}

TEST_F(Conninfo, SaysThatTheDatabaseCanNotBeAsked) {
    database().result = E_ZNDB_RET_IPC;
    (void)read_info(E_APPS_ERR_BUSY);
}

TEST_F(Conninfo, RefusesNullArguments) {
    frwk_conninfo_t info = {};
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_conninfo(nullptr, &info));
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_zndb_get_conninfo("wan", nullptr));
    EXPECT_TRUE(database().requests.empty());
}
