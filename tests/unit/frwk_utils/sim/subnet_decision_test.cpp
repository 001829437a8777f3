/*
 * Whether a SIM needs an adaptation, row by row.
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "frwk_utils/sim/sim_subnet.h"
#include "md5.h"
#include "unit/frwk_utils/sim/subnet_fixture.h"

namespace {

constexpr char kCall[] = "frwk_sim_subnet_check_adapt_type";

const std::string kFile = kSubnetFolder + "/46001/custom_data.txt";

const char *const kNotNormal = "sim not normal, no need subnet adapt";
const char *const kSame = "sim normal, current_path same with subnet_path, no need adapt";
const char *const kExists = "current_path exist, need adapt";
const char *const kUnused = "sub plmn path not exist and not use subnet info, no need adapt";
const char *const kDelete = "current_path not exist and use subnet info, need delete";

class SubnetDecisions : public SubnetTest {
  protected:
    void SetUp() override {
        SubnetTest::SetUp();
        info_.sim_status = 2;
        std::strcpy(info_.plmn, "46001");
    }

    /* What the database says is applied. */
    void applied(const std::string &plmn, const std::string &path, const std::string &md5) {
        database().perm = {
            {"mnet_sim_subnet_plmn", plmn}, {"mnet_sim_subnet_path", path}, {"mnet_sim_subnet_md5", md5}};
    }

    /* The operator's file, and its MD5 text. */
    static std::string put_operator_file(const std::string &content = "apn=internet\n") {
        put_file("46001/custom_data.txt", content);
        char text[MD5_TEXT_SIZE];
        EXPECT_EQ(1, md5_encrypt_file_str(kFile.c_str(), text));
        return text;
    }

    void expect(sim::SubnetDecision decision, const char *reason) {
        const LogCapture log;
        timeline().clear();
        EXPECT_EQ(decision, sim::decide_adaptation(&info_));
        EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, reason));
        EXPECT_EQ(2u, log.debug_lines().size()) << log.text();
        EXPECT_EQ((Events{"get_perm mnet_sim_subnet_plmn 10", "get_perm mnet_sim_subnet_path 128",
                          "get_perm mnet_sim_subnet_md5 33"}),
                  timeline());
    }

    sim::SimInfo info_ = {};
};

}  // namespace

TEST_F(SubnetDecisions, ASimThatIsNotUsableNeedsNothing) {
    applied("46002", "/other", put_operator_file());
    for (const int32_t status : {0, 1, 3, 4, 6, 7, 8, 9, -1}) {
        info_.sim_status = status;
        expect(sim::SubnetDecision::kNoNeedAdapt, kNotNormal);
    }
}

TEST_F(SubnetDecisions, ASimThatIsNotUsableIsToldFirstThoughItsFileIsApplied) {
    applied("46001", kFile, put_operator_file());
    info_.sim_status = 0;
    expect(sim::SubnetDecision::kNoNeedAdapt, kNotNormal);
}

TEST_F(SubnetDecisions, TheFileThatIsAppliedNeedsNothing) {
    applied("46001", kFile, put_operator_file());
    for (const int32_t status : {2, 5}) {
        info_.sim_status = status;
        expect(sim::SubnetDecision::kNoNeedAdapt, kSame);
    }
}

TEST_F(SubnetDecisions, Md5TextsAreEqualInAnyCase) {
    std::string md5 = put_operator_file();
    std::transform(md5.begin(), md5.end(), md5.begin(), ::toupper);
    applied("46001", kFile, md5);
    expect(sim::SubnetDecision::kNoNeedAdapt, kSame);
}

TEST_F(SubnetDecisions, AChangedFileNeedsAnAdaptation) {
    const std::string before = put_operator_file();
    applied("46001", kFile, before);
    EXPECT_NE(before, put_operator_file("apn=ims\n"));
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
}

TEST_F(SubnetDecisions, AnotherPathNeedsAnAdaptationThoughTheContentIsTheSame) {
    applied("46001", path_of("46002/custom_data.txt"), put_operator_file());
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
}

TEST_F(SubnetDecisions, PathsAreEqualInTheSameCaseOnly) {
    applied("46001", path_of("46001/CUSTOM_data.txt"), put_operator_file());
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
}

TEST_F(SubnetDecisions, AFirstFileNeedsAnAdaptation) {
    put_operator_file();
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
}

TEST_F(SubnetDecisions, WithoutAFileAndWithNothingAppliedNothingIsNeeded) {
    expect(sim::SubnetDecision::kNoNeedAdapt, kUnused);
    applied("", "/gone", "0123");
    expect(sim::SubnetDecision::kNoNeedAdapt, kUnused);
}

TEST_F(SubnetDecisions, WithoutAFileAndWithAnotherAppliedADeletionIsNeeded) {
    applied("46002", path_of("46002/custom_data.txt"), "0123");
    expect(sim::SubnetDecision::kNeedDelete, kDelete);
}

TEST_F(SubnetDecisions, AMissingDefaultFileThatIsWrittenDownWithoutMd5IsTheSame) {
    applied("46001", kDefaultFile, "");
    expect(sim::SubnetDecision::kNoNeedAdapt, kSame);
}

TEST_F(SubnetDecisions, SettingsThatCantBeReadAreEmpty) {
    put_operator_file();
    database().result = E_ZNDB_RET_IPC;
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
    std::filesystem::remove(kFile);
    expect(sim::SubnetDecision::kNoNeedAdapt, kUnused);
}

TEST_F(SubnetDecisions, SettingsThatDoNotFitAreEmpty) {
    applied("4600112345", std::string(128, '/'), std::string(33, '0'));
    expect(sim::SubnetDecision::kNoNeedAdapt, kUnused);
    applied("460011234", std::string(127, '/'), std::string(32, '0'));
    expect(sim::SubnetDecision::kNeedDelete, kDelete);
}

TEST_F(SubnetDecisions, TheMd5TextOfTheFileGoesIntoTheSimsRecord) {
    const std::string md5 = put_operator_file();
    expect(sim::SubnetDecision::kNeedAdapt, kExists);
    EXPECT_EQ(md5, info_.md5);
    std::filesystem::remove(kFile);
    expect(sim::SubnetDecision::kNoNeedAdapt, kUnused);
    EXPECT_STREQ("", info_.md5);
}

TEST_F(SubnetDecisions, ShowsWhatItCompares) {
    put_file("46001/custom_XYZ_data.txt", "");
    std::strcpy(info_.spn, "XYZ");
    applied("46002", "/before", "");
    const LogCapture log;
    (void)sim::decide_adaptation(&info_);
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall,
                            "sim subnet adatp, sim_status=2, current_plmn=46001, current_spn=XYZ "
                            "subnet_plmn=46002 current_path=" +
                                path_of("46001/custom_XYZ_data.txt") + ", subnet_path=/before"));
}
