/*
 * Applying an operator file and taking the default one's keys back: requests, results and log lines, for good
 * files and for bad ones.
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frwk_utils/sim/sim_subnet.h"
#include "unit/frwk_utils/sim/subnet_fixture.h"

using namespace std::string_literals;

namespace {

constexpr char kCall[] = "frwk_sim_subnet_adapt_process";

const std::string kFile = kSubnetFolder + "/46001/custom_data.txt";

const Events kBegin = {"get_perm mnet_sim_subnet_plmn 10", "get_perm mnet_sim_subnet_spn 17"};
const Events kNoteFile = {"set_perm mnet_sim_subnet_plmn=46001", "set_perm mnet_sim_subnet_spn=XYZ",
                          "set_perm mnet_sim_subnet_md5=0123", "set_perm mnet_sim_subnet_path=" + kFile,
                          "save"};
const Events kForget = {"set_perm mnet_sim_subnet_plmn=", "set_perm mnet_sim_subnet_spn=",
                        "set_perm mnet_sim_subnet_path=", "set_perm mnet_sim_subnet_md5=", "save"};

class SubnetAdaptation : public SubnetTest {
  protected:
    static int32_t act(sim::SubnetAction action) {
        sim::SimInfo info = {2, "XYZ", "46001", "0123"};
        timeline().clear();
        return sim::adapt(action, info);
    }

    /* Applies an operator file. Returns what it did between the two ends that every file has. */
    static Events applied(const std::string &content, int32_t expected) {
        put_file("46001/custom_data.txt", content);
        EXPECT_EQ(expected, act(sim::SubnetAction::kAdd));
        return middle(kBegin, kNoteFile);
    }

    static Events deleted(const std::string &content, int32_t expected) {
        put_file("custom_data.txt", content);
        fake_database().perm["mnet_sim_subnet_plmn"] = "46002";
        EXPECT_EQ(expected, act(sim::SubnetAction::kDelete));
        return middle(kBegin, kForget);
    }

  private:
    static Events middle(const Events &begin, const Events &end) {
        const Events &all = timeline();
        if (all.size() < begin.size() + end.size() || !std::equal(begin.begin(), begin.end(), all.begin()) ||
            !std::equal(end.rbegin(), end.rend(), all.rbegin())) {
            ADD_FAILURE() << "other ends: " << testing::PrintToString(all);
            return {};
        }
        return {all.begin() + static_cast<ptrdiff_t>(begin.size()),
                all.end() - static_cast<ptrdiff_t>(end.size())};
    }
};

}  // namespace

/* ---- Adding ---------------------------------------------------------------------------------------- */

TEST_F(SubnetAdaptation, AddsEveryPairToThePermStore) {
    const LogCapture log;
    EXPECT_EQ((Events{"set_perm apn=internet", "set_perm url=a=b", "set_perm empty=", "set_perm k = v"}),
              applied("apn=internet\n  url=a=b\t\nempty=\nk = v \n", 1));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "add subnet apn=internet"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "add subnet url=a=b"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "subnet data NULL \n"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall,
                            "subnet adapt process action=1, current_plmn=46001, subnet_plmn="));
}

TEST_F(SubnetAdaptation, AddsFromTheFileOfTheName) {
    put_file("46001/custom_XYZ_data.txt", "from=name\n");
    put_file("46001/custom_data.txt", "from=plmn\n");
    EXPECT_EQ(1, act(sim::SubnetAction::kAdd));
    EXPECT_EQ("name", stored_perm("from"));
    EXPECT_EQ(path_of("46001/custom_XYZ_data.txt"), stored_perm("mnet_sim_subnet_path"));
}

TEST_F(SubnetAdaptation, WithoutAFileNothingIsAddedNorWrittenDown) {
    const LogCapture log;
    EXPECT_EQ(0, act(sim::SubnetAction::kAdd));
    EXPECT_EQ(kBegin, timeline());
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "file(" + kDefaultFile + ") not find\n"));
}

TEST_F(SubnetAdaptation, AFileThatCantBeOpenedIsLikeAMissingOne) {
    doubles::base::os_file_exist.stand_in([](const char *) { return 1; });
    EXPECT_EQ(0, act(sim::SubnetAction::kAdd));
    EXPECT_EQ(kBegin, timeline());
}

TEST_F(SubnetAdaptation, TheResultsOfTheRequestsDoNotCount) {
    for (const int result : {E_ZNDB_RET_FAILURE, E_ZNDB_RET_IPC}) {
        database().result = result;
        EXPECT_EQ((Events{"set_perm a=1", "set_perm b=2"}), applied("a=1\nb=2\n", 1));
    }
}

TEST_F(SubnetAdaptation, KeysAndValuesThatTheDatabaseRefusesArePassedOver) {
    const std::string long_key(32, 'k');
    EXPECT_EQ(Events{"set_perm a=1"}, applied(long_key + "=1\na=1\n", 1));
    EXPECT_EQ(Events{}, applied("a=" + std::string(1024, 'v'), 1));
    EXPECT_EQ(Events{"set_perm " + std::string(31, 'k') + "=" + std::string(1023, 'v')},
              applied(std::string(31, 'k') + "=" + std::string(1023, 'v'), 1));
}

/* ---- Deleting -------------------------------------------------------------------------------------- */

TEST_F(SubnetAdaptation, DeletesTheKeysOfTheDefaultFile) {
    const LogCapture log;
    put_file("46002/custom_data.txt", "own=1\n");
    EXPECT_EQ((Events{"del_perm apn", "del_perm mode"}), deleted("apn=x\n#not=this\n mode=4G\n", 1));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "del subnet key=apn"));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall,
                            "subnet adapt process action=0, current_plmn=46001, subnet_plmn=46002"));
    EXPECT_FALSE(log.contains("key=own"));
}

TEST_F(SubnetAdaptation, WithNothingAppliedNothingIsDeleted) {
    const LogCapture log;
    put_file("custom_data.txt", "apn=x\n");
    EXPECT_EQ(0, act(sim::SubnetAction::kDelete));
    EXPECT_EQ(kBegin, timeline());
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "subnet delete, subnet_plmn empty, no need delete"));
}

TEST_F(SubnetAdaptation, WithoutTheDefaultFileNothingIsDeletedNorForgotten) {
    const LogCapture log;
    database().perm["mnet_sim_subnet_plmn"] = "46002";
    EXPECT_EQ(0, act(sim::SubnetAction::kDelete));
    EXPECT_EQ(kBegin, timeline());
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "file(" + kDefaultFile + ") not find\n"));
}

TEST_F(SubnetAdaptation, ADefaultFileWithoutPairsForgetsWhatIsApplied) {
    EXPECT_EQ(Events{}, deleted("# nothing\n", 0));
    EXPECT_EQ("", stored_perm("mnet_sim_subnet_plmn"));
}

/* ---- Bad files ------------------------------------------------------------------------------------- */

TEST_F(SubnetAdaptation, AnEmptyFileAppliesNothingAndIsWrittenDown) {
    const LogCapture log;
    EXPECT_EQ(Events{}, applied("", 0));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "subnet data NULL \n"));
}

TEST_F(SubnetAdaptation, AFileOfCommentsAppliesNothingAndIsWrittenDown) {
    const LogCapture log;
    EXPECT_EQ(Events{}, applied("# comment\n\n  # indented = comment\n \t \n#a=1", 0));
    EXPECT_FALSE(log.contains("not found"));
}

TEST_F(SubnetAdaptation, ALineThatBeginsWithNulEndsTheFile) {
    const LogCapture log;
    EXPECT_EQ(Events{"set_perm a=1"}, applied("a=1\n\0b=2\nc=3\n"s, 1));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "subnet data format error, data=0 \n"));
    EXPECT_FALSE(log.contains("subnet data NULL"));
}

TEST_F(SubnetAdaptation, ALineEndsAtANul) {
    EXPECT_EQ((Events{"set_perm a=1", "set_perm c=3"}), applied("a=1\0b=2\nc=3\n"s, 1));
}

TEST_F(SubnetAdaptation, LinesMayEndInCrLfAndTheLastInNothing) {
    EXPECT_EQ((Events{"set_perm a=1", "set_perm b=2", "set_perm c=3"}), applied("a=1\r\nb=2\r\n\r\nc=3", 1));
}

TEST_F(SubnetAdaptation, ALineOf1055CharactersIsTaken) {
    const std::string line = std::string(31, 'k') + "=" + std::string(1023, 'v');
    ASSERT_EQ(1055u, line.size());
    EXPECT_EQ(Events{"set_perm " + line}, applied(line + "\n", 1));
}

TEST_F(SubnetAdaptation, ALineOf1056CharactersIsSkippedAndLogged) {
    const LogCapture log;
    const std::string line = "key=" + std::string(1052, 'v');
    EXPECT_EQ(Events{"set_perm a=1"}, applied(line + "\na=1\n", 1));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "buf is " + line + " too long\n"));
    EXPECT_EQ(1u, log.count(" line 1 skipped: it is too long")) << log.text();
}

TEST_F(SubnetAdaptation, ALineOf1057CharactersIsTwo) {
    const LogCapture log;
    const std::string line = "key=" + std::string(1052, 'v');
    EXPECT_EQ(Events{"set_perm a=1"}, applied(line + "w\na=1\n", 1));
    EXPECT_TRUE(logged_once(log, kDebugLevel, kCall, "buf is " + line + " too long\n"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "not found '='\n"));
}

TEST_F(SubnetAdaptation, ALineWithoutAnEqualsSignIsSkippedAndLogged) {
    const LogCapture log;
    EXPECT_EQ(Events{"set_perm a=1"}, applied("no pair\na=1\n", 1));
    EXPECT_TRUE(logged_once(log, kWarningLevel, kCall, "not found '='\n"));
}

TEST_F(SubnetAdaptation, OfABinaryFileOnlyItsPairsCount) {
    const LogCapture log;
    EXPECT_EQ(Events{"set_perm \177ELF\x01\x02=\x03"},
              applied("\177ELF\x01\x02=\x03\n\xff\xfe\n\0\0\0\n a=1\n"s, 1));
    EXPECT_EQ(1u, log.count("not found '='"));
    EXPECT_EQ(1u, log.count("subnet data format error"));
}

TEST_F(SubnetAdaptation, AFileOfTenMegabytesIsReadToItsEnd) {
    std::string content(10u << 20, 'x');
    content += "\nlast=1\n";
    EXPECT_EQ(Events{"set_perm last=1"}, applied(content, 1));
}

TEST_F(SubnetAdaptation, ValuesAreLoggedAtTheDebugLevelOnly) {
    const LogCapture log;
    (void)applied("key=hunter2\nno-pair-hunter2\n" + std::string("k=hunter2") + std::string(1060, 'v'), 1);
    EXPECT_TRUE(log.contains("hunter2"));
    for (const LogLine &line : log.system_lines()) {
        EXPECT_TRUE(line.level >= kDebugLevel || line.text.find("hunter2") == std::string::npos) << line.text;
    }
}
