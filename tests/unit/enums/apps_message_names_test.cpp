/*
 * The message identifiers and their names, which modules built long ago rely on.
 */
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "apps_message.h"
#include "name_row.h"

namespace {

constexpr NameRow kRows[] = {
#include "apps_message_rows.inc"
};

struct Block {
    int32_t base;
    size_t entries;
    int32_t last;
};

constexpr Block kBlocks[] = {
    {0, 14, 13},        {1000, 13, 1012},   {2000, 13, 2012},   {3000, 82, 3081},   {4000, 55, 4054},
    {5000, 65, 5065},   {6000, 7, 6006},    {7000, 22, 7021},   {9000, 60, 9060},   {10000, 9, 10008},
    {11000, 25, 11024}, {12000, 38, 12037}, {13000, 12, 13011}, {14000, 11, 14010}, {15000, 1, 15000},
    {16000, 21, 16020}, {17000, 11, 17010}, {18000, 10, 18009}, {19000, 6, 19005},  {20000, 7, 20006},
    {21000, 2, 21001},  {22000, 28, 22027}, {23000, 5, 23004},  {24000, 13, 24012}, {29000, 4, 29003},
    {30000, 2, 30001},  {31000, 7, 31006},  {36000, 5, 36004},
};

/* The rows of the block that begins at base, without the end marker of the table. */
std::vector<zn_enum_item> rows_of_block(int32_t base) {
    std::vector<zn_enum_item> rows;
    for (const zn_enum_item &row : g_enum_apps_message_id_e_type) {
        if (row.value / 1000 * 1000 == base && row.value != E_APPS_MSG_MAX) {
            rows.push_back(row);
        }
    }
    return rows;
}

TEST(AppsMessageNames, ListsThe549IdentifiersInOrder) {
    ASSERT_EQ(549u, std::size(kRows));
    expect_table(g_enum_apps_message_id_e_type, kRows);
}

TEST(AppsMessageNames, EveryBlockHasItsEntriesItsFirstAndItsLast) {
    size_t entries = 0;
    for (const Block &block : kBlocks) {
        SCOPED_TRACE(block.base);
        const std::vector<zn_enum_item> rows = rows_of_block(block.base);
        ASSERT_EQ(block.entries, rows.size());
        EXPECT_EQ(block.base, rows.front().value);
        EXPECT_EQ(block.last, rows.back().value);
        entries += rows.size();
    }
    EXPECT_EQ(size_t{APPS_MESSAGE_ID_COUNT}, entries + 1);
}

TEST(AppsMessageNames, EveryBlockBeginsWithItsMinMarker) {
    for (const Block &block : kBlocks) {
        const std::string name = zn_enum_to_str_apps_message_id_e_type(block.base);
        ASSERT_GT(name.size(), 4u);
        EXPECT_EQ("_MIN", name.substr(name.size() - 4)) << name;
    }
}

TEST(AppsMessageNames, ModulesWithoutABlockHaveNoIdentifiers) {
    std::set<int32_t> with_block;
    for (const Block &block : kBlocks) {
        with_block.insert(block.base);
    }
    for (int32_t module = 0; module <= 53; ++module) {
        const size_t entries = rows_of_block(module * 1000).size();
        EXPECT_EQ(with_block.count(module * 1000) == 1, entries != 0) << module;
    }
}

TEST(AppsMessageNames, EveryIdentifierGivesItsName) {
    for (const NameRow &row : kRows) {
        EXPECT_STREQ(row.name, zn_enum_to_str_apps_message_id_e_type(row.value));
    }
}

TEST(AppsMessageNames, EveryNameGivesItsIdentifier) {
    for (const NameRow &row : kRows) {
        EXPECT_EQ(row.value, zn_str_to_enum_apps_message_id_e_type(row.name)) << row.name;
    }
}

TEST(AppsMessageNames, NoIdentifierAndNoNameStandsTwice) {
    std::set<int32_t> values;
    std::set<std::string> names;
    for (const zn_enum_item &row : g_enum_apps_message_id_e_type) {
        EXPECT_TRUE(values.insert(row.value).second) << row.value;
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
}

TEST(AppsMessageNames, HostsInfoRequestIs3004AndItsAnswer3005) {
    EXPECT_EQ(3004, zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_ROUTER_HOSTS_INFO_REQ"));
    EXPECT_EQ(3005, zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_ROUTER_HOSTS_INFO_RSP"));
}

TEST(AppsMessageNames, TheAnswerOfHostsInfoIsListedBeforeTheRequest) {
    EXPECT_STREQ("E_APPS_MSG_ROUTER_HOSTS_INFO_RSP", g_enum_apps_message_id_e_type[44].name);
    EXPECT_STREQ("E_APPS_MSG_ROUTER_HOSTS_INFO_REQ", g_enum_apps_message_id_e_type[45].name);
}

TEST(AppsMessageNames, TheWlanBlockHasNo5056) {
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_message_id_e_type(5056));
    EXPECT_EQ(5055, E_APPS_MSG_WLAN_GET_NEIGHBOR_WIFI_INFO);
    EXPECT_EQ(5057, E_APPS_MSG_WLAN_SET_WIFI_AP_MAX_ASSOC_NUM);
}

TEST(AppsMessageNames, TheDeviceBlockHasNo9055) {
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_message_id_e_type(9055));
    EXPECT_EQ(9054, E_APPS_MSG_DEVICE_SYS_WAKEUP_NOTIFY);
    EXPECT_EQ(9056, E_APPS_MSG_DEVICE_SET_ETH_PORT_STATUS);
}

TEST(AppsMessageNames, OneNameOfTheRouterBlockLacksTheRouterPart) {
    EXPECT_EQ(3076, zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_CWMP_SET_REMOTE_WEB_SWITCH"));
}

TEST(AppsMessageNames, TheEndMarkerIs35003AndDoesNotBoundTheLastBlock) {
    const zn_enum_item &last = g_enum_apps_message_id_e_type[APPS_MESSAGE_ID_COUNT - 1];
    EXPECT_STREQ("E_APPS_MSG_MAX", last.name);
    EXPECT_EQ(35003, last.value);
    EXPECT_LT(last.value, E_APPS_MSG_NOTIFYMGR_MIN);
}

TEST(AppsMessageNames, AnUnknownIdentifierIsCalledUnknown) {
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_message_id_e_type(-1));
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_message_id_e_type(8000));
}

TEST(AppsMessageNames, AnUnknownNameIsMinusOne) {
    EXPECT_EQ(-1, zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_NO_SUCH_MESSAGE"));
    EXPECT_EQ(-1, zn_str_to_enum_apps_message_id_e_type(""));
    EXPECT_EQ(-1, zn_str_to_enum_apps_message_id_e_type(nullptr));
}

}  // namespace
