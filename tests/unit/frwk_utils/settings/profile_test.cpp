/*
 * The record of a connection profile: which item of its list fills which member, and what the log shows.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_utils.h"
#include "support/log_checks.h"
#include "unit/frwk_utils/values/codec_lists.h"

namespace {

constexpr char kCall[] = "frwk_parse_profile_str";

const std::vector<std::string> kItems = {"home", "internet", "user", "hunter2", "chap", "ipv4v6", "yes"};

/* What each item is called, and the longest text that it takes. */
struct ItemCase {
    const char *name;
    size_t longest;
};

const std::vector<ItemCase> kItemCases = {{"profilename", 50}, {"apn", 150},     {"username", 127},
                                          {"password", 127},   {"authmode", 31}, {"iptype", 31},
                                          {"readonly", 32}};

/* The bytes of a record. */
std::string bytes_of(const frwk_profile_t &profile) {
    return std::string(reinterpret_cast<const char *>(&profile), sizeof(profile));
}

frwk_profile_t filled_with(char byte) {
    frwk_profile_t profile;
    std::memset(&profile, byte, sizeof(profile));
    return profile;
}

/* Parses a copy of the list, in a block that ends with its NUL, into a record full of 'U'. */
frwk_profile_t parse(const std::string &list, apps_err_e_type expected = E_APPS_ERR_SUCCESS) {
    std::vector<char> text(list.c_str(), list.c_str() + list.size() + 1);
    frwk_profile_t profile = filled_with('U');
    EXPECT_EQ(expected, frwk_parse_profile_str(text.data(), &profile)) << list;
    return profile;
}

std::string failure_of(size_t index) {
    return std::string("frwk_zndb_get_value:get ") + kItemCases[index].name + " error!!!";
}

bool unchanged(const char *text) {
    return text[0] == 'U' && text[1] == 'U';
}

}  // namespace

TEST(Profile, FillsEveryMemberFromItsItem) {
    const frwk_profile_t profile = parse(joined(kItems));
    EXPECT_STREQ("home", profile.profilename);
    EXPECT_STREQ("internet", profile.apn);
    EXPECT_STREQ("user", profile.username);
    EXPECT_STREQ("hunter2", profile.password);
    EXPECT_EQ(2, profile.authmode);
    EXPECT_EQ(3, profile.iptype);
    EXPECT_STREQ("yes", profile.readonly);
}

TEST(Profile, KnowsTheAuthenticationWordsInAnyCase) {
    const std::vector<std::pair<std::string, int32_t>> words = {
        {"none", 0}, {"pap", 1}, {"chap", 2}, {"pap_chap", 3}, {"NONE", 0}, {"Pap", 1}, {"PAP_CHAP", 3}};
    for (const auto &[word, value] : words) {
        EXPECT_EQ(value, parse(list_with(kItems, 4, word)).authmode) << word;
    }
}

TEST(Profile, KnowsTheIpTypeWordsInAnyCase) {
    const std::vector<std::pair<std::string, int32_t>> words = {{"ipv4", 1}, {"ipv6", 2}, {"ipv4v6", 3},
                                                                {"IPv4", 1}, {"IPV6", 2}, {"IPv4v6", 3}};
    for (const auto &[word, value] : words) {
        EXPECT_EQ(value, parse(list_with(kItems, 5, word)).iptype) << word;
    }
}

TEST(Profile, RefusesAnUnknownAuthenticationWord) {
    for (const char *word : {"pap-chap", "", "0", "pap ", " pap", "pap_chap_", "papchap", "ipv4"}) {
        const LogCapture log;
        const frwk_profile_t profile = parse(list_with(kItems, 4, word), E_APPS_ERR_FAILURE);
        EXPECT_STREQ("hunter2", profile.password);
        EXPECT_EQ(0x55555555, profile.authmode);
        EXPECT_EQ(0x55555555, profile.iptype);
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, std::string("authmode:") + word));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "frwk parse authmode error!"));
        EXPECT_FALSE(log.contains("iptype:"));
    }
}

TEST(Profile, RefusesAnUnknownIpTypeWord) {
    for (const char *word : {"ipv5", "", "3", "ipv4 ", "ipv6v4", "ipv", "pap"}) {
        const LogCapture log;
        const frwk_profile_t profile = parse(list_with(kItems, 5, word), E_APPS_ERR_FAILURE);
        EXPECT_EQ(2, profile.authmode);
        EXPECT_EQ(0x55555555, profile.iptype);
        EXPECT_TRUE(unchanged(profile.readonly));
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, std::string("iptype:") + word));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "frwk parse iptype error!"));
        EXPECT_FALSE(log.contains("readonly:"));
    }
}

TEST(Profile, ForgetsTheAuthenticationWordBeforeItTakesTheIpType) {
    const LogCapture log;
    (void)parse("a,b,c,d,pap_chap", E_APPS_ERR_FAILURE);
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "iptype:"));
}

TEST(Profile, RefusesNullArgumentsAndAnEmptyTextWithoutALine) {
    const LogCapture log;
    frwk_profile_t profile = filled_with('U');
    const std::string before = bytes_of(profile);
    char empty[] = "";
    char list[] = "home,internet";
    EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_parse_profile_str(nullptr, &profile));
    EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_parse_profile_str(list, nullptr));
    EXPECT_EQ(E_APPS_ERR_FAILURE, frwk_parse_profile_str(empty, &profile));
    EXPECT_EQ(before, bytes_of(profile));
    EXPECT_STREQ("home,internet", list);
    EXPECT_EQ("", log.text());
}

TEST(Profile, RefusesANameOf51Characters) {
    const LogCapture log;
    const frwk_profile_t profile = parse(list_with(kItems, 0, std::string(51, 'n')), E_APPS_ERR_OUTOFBUF);
    EXPECT_TRUE(unchanged(profile.profilename));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "frwk_zndb_get_value:get profilename error!!!"));
}

TEST(Profile, TakesAnItemAsLongAsItsMember) {
    EXPECT_EQ(std::string(50, 'n'), parse(list_with(kItems, 0, std::string(50, 'n'))).profilename);
    EXPECT_EQ(std::string(150, 'a'), parse(list_with(kItems, 1, std::string(150, 'a'))).apn);
    EXPECT_EQ(std::string(127, 'u'), parse(list_with(kItems, 2, std::string(127, 'u'))).username);
    EXPECT_EQ(std::string(127, 'p'), parse(list_with(kItems, 3, std::string(127, 'p'))).password);
    EXPECT_EQ(std::string(32, 'r'), parse(list_with(kItems, 6, std::string(32, 'r'))).readonly);
}

TEST(Profile, StopsAtTheFirstItemThatIsTooLong) {
    for (size_t i = 0; i < kItems.size(); ++i) {
        const LogCapture log;
        const frwk_profile_t profile =
            parse(list_with(kItems, i, std::string(kItemCases[i].longest + 1, 'x')), E_APPS_ERR_OUTOFBUF);
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, failure_of(i)));
        EXPECT_EQ(i < 1, unchanged(profile.profilename));
        EXPECT_EQ(i < 2, unchanged(profile.apn));
        EXPECT_EQ(i < 3, unchanged(profile.username));
        EXPECT_EQ(i < 4, unchanged(profile.password));
        EXPECT_EQ(i < 5 ? 0x55555555 : 2, profile.authmode);
        EXPECT_EQ(i < 6 ? 0x55555555 : 3, profile.iptype);
        EXPECT_TRUE(unchanged(profile.readonly));
    }
}

TEST(Profile, ShowsEachItemButThePasswordAtTheDebugLevel) {
    const LogCapture log;
    (void)parse(joined(kItems));
    for (const char *line : {"profilename:home", "apn:internet", "username:user", "password:******",
                             "authmode:chap", "iptype:ipv4v6", "readonly:yes"}) {
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, line));
    }
}

TEST(Profile, NeverLogsThePassword) {
    const LogCapture log;
    (void)parse(joined(kItems));
    EXPECT_FALSE(log.contains("hunter2")) << log.text();

    (void)parse(list_with(kItems, 3, "hunter2" + std::string(121, '!')), E_APPS_ERR_OUTOFBUF);
    EXPECT_FALSE(log.contains("hunter2")) << log.text();
    EXPECT_TRUE(logged_once(log, kDebugLevel, "convert zndb value(******) failed!"));
}

TEST(Profile, DecodesItsItems) {
    const frwk_profile_t profile = parse("a&amp;b,c&#39;d,&#39;,&amp;amp;,pap,ipv6,&lt;");
    EXPECT_STREQ("a&b", profile.profilename);
    EXPECT_STREQ("c,d", profile.apn);
    EXPECT_STREQ(",", profile.username);
    EXPECT_STREQ("&amp;", profile.password);
    EXPECT_STREQ("&lt;", profile.readonly);
}

TEST(Profile, ReadsAMissingReadonlyMarkAsEmpty) {
    EXPECT_STREQ("", parse("home,internet,user,pw,none,ipv4").readonly);
    EXPECT_STREQ("", parse("home,internet,user,pw,none,ipv4,").readonly);
}

TEST(Profile, MissesTheWordsOfATextThatEndsEarly) {
    EXPECT_STREQ("home", parse("home", E_APPS_ERR_FAILURE).profilename);
    EXPECT_STREQ("", parse("home", E_APPS_ERR_FAILURE).password);
    EXPECT_EQ(0, parse("home,internet,user,pw,none", E_APPS_ERR_FAILURE).authmode);
}

TEST(Profile, LeavesWhatFollowsTheLastItem) {
    EXPECT_STREQ("yes", parse(joined(kItems) + ",more,items").readonly);
}
