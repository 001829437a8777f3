/*
 * The result codes and their names, which modules built long ago rely on.
 */
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "apps_err.h"
#include "name_row.h"

namespace {

constexpr NameRow kRows[] = {
#include "apps_err_rows.inc"
};

TEST(AppsErrNames, ListsThe104CodesInOrder) {
    ASSERT_EQ(104u, std::size(kRows));
    expect_table(g_enum_apps_err_e_type, kRows);
}

TEST(AppsErrNames, EveryCodeGivesItsName) {
    for (const NameRow &row : kRows) {
        EXPECT_STREQ(row.name, zn_enum_to_str_apps_err_e_type(row.value));
    }
}

TEST(AppsErrNames, EveryNameGivesItsCode) {
    for (const NameRow &row : kRows) {
        EXPECT_EQ(row.value, zn_str_to_enum_apps_err_e_type(row.name)) << row.name;
    }
}

TEST(AppsErrNames, NoCodeAndNoNameStandsTwice) {
    std::set<int32_t> values;
    std::set<std::string> names;
    for (const zn_enum_item &row : g_enum_apps_err_e_type) {
        EXPECT_TRUE(values.insert(row.value).second) << row.value;
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
    }
}

TEST(AppsErrNames, MinusOneIsFailure) {
    EXPECT_STREQ("E_APPS_ERR_FAILURE", zn_enum_to_str_apps_err_e_type(-1));
}

TEST(AppsErrNames, TheLastCodeIs35004) {
    EXPECT_STREQ("E_APPS_ERR_MAX", zn_enum_to_str_apps_err_e_type(35004));
    EXPECT_EQ(35004, E_APPS_ERR_MAX);
}

TEST(AppsErrNames, ThreeModuleNamesStandAmongTheCodes) {
    EXPECT_STREQ("E_APPS_MODULE_OMA", zn_enum_to_str_apps_err_e_type(22));
    EXPECT_STREQ("E_APPS_MODULE_OMADM", zn_enum_to_str_apps_err_e_type(23));
    EXPECT_STREQ("E_APPS_MODULE_GNSS", zn_enum_to_str_apps_err_e_type(24));
}

TEST(AppsErrNames, VoiceCodesLackTheErrPart) {
    EXPECT_EQ(10001, zn_str_to_enum_apps_err_e_type("E_APPS_VOICE_REQ_FAIL"));
    EXPECT_EQ(10002, zn_str_to_enum_apps_err_e_type("E_APPS_VOICE_REQ_EXIST"));
    EXPECT_EQ(10003, zn_str_to_enum_apps_err_e_type("E_APPS_VOICE_PARA_ERROR"));
    EXPECT_EQ(10004, zn_str_to_enum_apps_err_e_type("E_APPS_VOICE_OPCFG_ERROR"));
}

TEST(AppsErrNames, TheWlanBlockHasNo5001) {
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_err_e_type(5001));
}

TEST(AppsErrNames, NamesKeepTheirSpellings) {
    EXPECT_EQ(11002, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_SMS_PRASE_ID_FAIL"));
    EXPECT_EQ(11009, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_SMS_VERIFY_REAC_MAX"));
    EXPECT_EQ(11013, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_SMS_REACH_MAX_CONCATENT"));
    EXPECT_EQ(14007, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_NTP_MODIFYIED"));
    EXPECT_EQ(16004, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_FOTA_ISTATUS_BUSYING"));
}

TEST(AppsErrNames, AnUnknownCodeIsCalledUnknown) {
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_err_e_type(999));
    EXPECT_STREQ("unknown", zn_enum_to_str_apps_err_e_type(INT32_MIN));
}

TEST(AppsErrNames, AnUnknownNameIsMinusOne) {
    EXPECT_EQ(-1, zn_str_to_enum_apps_err_e_type("E_APPS_ERR_NO_SUCH_CODE"));
    EXPECT_EQ(-1, zn_str_to_enum_apps_err_e_type("e_apps_err_timeout"));
    EXPECT_EQ(-1, zn_str_to_enum_apps_err_e_type(""));
    EXPECT_EQ(-1, zn_str_to_enum_apps_err_e_type(nullptr));
}

}  // namespace
