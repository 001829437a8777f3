/*
 * Which operator file is chosen for a PLMN and a name, and that none outside the folder ever is.
 */
#include <gtest/gtest.h>

#include <string>

#include "frwk_utils/sim/sim_subnet.h"
#include "unit/frwk_utils/sim/subnet_fixture.h"

namespace {

constexpr char kCall[] = "frwk_sim_subnet_get_path";

class SubnetPath : public SubnetTest {
  protected:
    static std::string chosen(const std::string &plmn, const std::string &spn) {
        char path[sim::kSubnetPathSize];
        sim::choose_path(path, plmn.c_str(), spn.c_str());
        return path;
    }
};

std::string refusal(const std::string &plmn, const std::string &spn) {
    return "plmn=" + plmn + " spn=" + spn + " can't name an operator file";
}

}  // namespace

TEST_F(SubnetPath, TheFileOfPlmnAndNameComesFirst) {
    const LogCapture log;
    put_file("46001/custom_XYZ_data.txt", "");
    put_file("46001/custom_data.txt", "");
    put_file("custom_data.txt", "");
    EXPECT_EQ(path_of("46001/custom_XYZ_data.txt"), chosen("46001", "XYZ"));
    EXPECT_EQ("", log.text());
}

TEST_F(SubnetPath, TheFileOfThePlmnComesSecond) {
    put_file("46001/custom_XYZ_data.txt", "");
    put_file("46001/custom_data.txt", "");
    put_file("custom_data.txt", "");
    EXPECT_EQ(path_of("46001/custom_data.txt"), chosen("46001", "ABC"));
    EXPECT_EQ(path_of("46001/custom_data.txt"), chosen("46001", "xyz"));
    EXPECT_EQ(path_of("46001/custom_data.txt"), chosen("46001", ""));
}

TEST_F(SubnetPath, AnEmptyNameHasNoFileOfItsOwn) {
    put_file("46001/custom__data.txt", "");
    EXPECT_EQ(kDefaultFile, chosen("46001", ""));
}

TEST_F(SubnetPath, TheDefaultFileIsTakenWithoutACheck) {
    EXPECT_EQ(kDefaultFile, chosen("46001", "XYZ"));
    put_file("46002/custom_XYZ_data.txt", "");
    EXPECT_EQ(kDefaultFile, chosen("46001", "XYZ"));
}

TEST_F(SubnetPath, AnEmptyPlmnFindsTheDefaultFileUnderAnotherSpelling) {
    EXPECT_EQ(kDefaultFile, chosen("", ""));
    put_file("custom_data.txt", "");
    EXPECT_EQ(path_of("/custom_data.txt"), chosen("", ""));
}

TEST_F(SubnetPath, BlanksAndOtherCharactersOfANameAreKept) {
    put_file("46001/custom_A & B's $x_data.txt", "");
    EXPECT_EQ(path_of("46001/custom_A & B's $x_data.txt"), chosen("46001", "A & B's $x"));
}

TEST_F(SubnetPath, TheLongestPlmnAndNameFit) {
    const std::string name = "123456789/custom_" + std::string(16, 's') + "_data.txt";
    put_file(name, "");
    EXPECT_EQ(path_of(name), chosen("123456789", std::string(16, 's')));
}

TEST_F(SubnetPath, ANameThatLeadsElsewhereHasNoFile) {
    put_file("46001/custom_data.txt", "");
    put_file("46001/custom_x/y_data.txt", "");
    put_file("46001/custom_/z_data.txt", "");
    put_file("46001/custom_a..b_data.txt", "");
    for (const char *spn : {"x/y", "/z", "/../../x", "..", "a..b", "/", "../46001/x"}) {
        const LogCapture log;
        EXPECT_EQ(path_of("46001/custom_data.txt"), chosen("46001", spn));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, refusal("46001", spn)));
    }
}

TEST_F(SubnetPath, APlmnThatLeadsElsewhereHasNoFile) {
    put_file("46001/custom_data.txt", "");
    put_file("46001/custom_XYZ_data.txt", "");
    write_file("/m_webui/usr/db/custom_data.txt", "");
    write_file("/m_webui/usr/db/custom_XYZ_data.txt", "");
    for (const char *plmn : {"..", "../", "/..", "/", "46001/.", "../..", "./46001", "46..1"}) {
        const LogCapture log;
        EXPECT_EQ(kDefaultFile, chosen(plmn, "XYZ"));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, refusal(plmn, "XYZ")));
        EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, refusal(plmn, "")));
    }
    remove_node("/m_webui/usr/db/custom_data.txt");
    remove_node("/m_webui/usr/db/custom_XYZ_data.txt");
}

TEST_F(SubnetPath, FilesElsewhereAreNotEvenLookedFor) {
    doubles::base::os_file_exist.stand_in([](const char *path) {
        timeline().push_back(path);
        return 0;
    });
    (void)chosen("../..", "../x");
    EXPECT_EQ(Events{}, timeline());
    (void)chosen("46001", "../x");
    EXPECT_EQ(Events{path_of("46001/custom_data.txt")}, timeline());
}
