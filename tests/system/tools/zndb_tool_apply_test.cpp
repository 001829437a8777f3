/*
 * zndb_tool apply, confirm and revert with the real database, and get --origin.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "frwk_module.h"
#include "support/wait_until.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kFile = "/tmp/applied.txt";
const std::string kWayBack = "/m_data/usr/db/way_back.txt";
const std::string kNotRunning = ": zndb is not running: 1 E_APPS_ERR_MODULE";
const std::string kInTheWay =
    " failed: 17 E_APPS_ERR_BUSY; another apply or restore awaits confirmation: zndb_tool confirm or "
    "zndb_tool "
    "revert first";

const ToolChecks kTool("zndb_tool");

class ZndbToolApply : public ZndbTest {
  protected:
    ZndbToolApply() {
        EXPECT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "image=d\nlan_ip=d\n"));
        EXPECT_TRUE(write_text("/m_data/factor/factor_data.txt", "made=f\n"));
        EXPECT_TRUE(write_text("/m_data/usr/db/user_data.txt", "lan_ip=1\nwan=3\n"));
        EXPECT_TRUE(write_text(kFile, "# note\nlan_ip=9\nnew=2\nwan=3\n"));
        start();
    }

    static bool awaits() { return std::filesystem::exists(kWayBack); }
};

}  // namespace

// ---- apply ----

TEST_F(ZndbToolApply, ShowsTheDifferenceAndTriesIt) {
    EXPECT_EQ(
        "-lan_ip=1\n+lan_ip=9\n+new=2\n2 settings applied; reverted in 60 s unless confirmed: zndb_tool "
        "confirm\n",
        kTool.output_of({"apply", kFile}));
    EXPECT_EQ("9", plain("lan_ip"));
    EXPECT_EQ("2", plain("new"));
    EXPECT_TRUE(awaits());
}

TEST_F(ZndbToolApply, RevertsByItselfUnlessConfirmed) {
    (void)kTool.output_of({"apply", "--confirm-within", "1", kFile});
    EXPECT_TRUE(wait_until([] { return !awaits(); }));
    EXPECT_EQ("1", plain("lan_ip"));
    EXPECT_EQ("ret 3", plain("new"));
    kTool.expect_failure(
        1,
        "confirm failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND; too late: nobody confirmed in time, and "
        "everything was reverted",
        {"confirm"});
}

TEST_F(ZndbToolApply, AConfirmationFromAnotherProcessKeepsAndSaves) {
    (void)kTool.output_of({"apply", kFile});
    EXPECT_EQ("", kTool.output_of({"confirm"}));
    EXPECT_FALSE(awaits());
    kTool.expect_failure(
        1,
        "confirm failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND; the last apply or restore was confirmed "
        "before",
        {"confirm"});
    cut_power();
    EXPECT_EQ("9", plain("lan_ip"));
    kTool.expect_failure(1, "confirm failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND; nothing awaits confirmation",
                         {"confirm"});
}

TEST_F(ZndbToolApply, AKillOrAPowerCutReverts) {
    (void)kTool.output_of({"apply", kFile});
    restart();
    EXPECT_EQ("1", plain("lan_ip"));
    kTool.expect_failure(
        1,
        "confirm failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND; the database was restarted before the "
        "confirmation, and has reverted everything",
        {"confirm"});
    (void)kTool.output_of({"apply", kFile});
    EXPECT_EQ("", kTool.output_of({"save"}));
    cut_power();
    EXPECT_EQ("1", plain("lan_ip"));
}

TEST_F(ZndbToolApply, OnlyOneAtATime) {
    (void)kTool.output_of({"apply", kFile});
    const ToolEnd end = kTool.run({"apply", "-"}, "other=1\n");
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("zndb_tool: apply" + kInTheWay + "\n", end.errors);
    EXPECT_EQ("ret 3", plain("other"));
}

TEST_F(ZndbToolApply, OfSettingsThatAreThereNeedsNoConfirmation) {
    EXPECT_EQ("the store has these settings already; there is nothing to confirm\n",
              kTool.output_of({"apply", "-"}, "wan=3\n"));
    EXPECT_FALSE(awaits());
}

TEST_F(ZndbToolApply, ChangesTheStoreThatIsChosen) {
    (void)kTool.output_of({"apply", "--perm", "-"}, "imei=5\n");
    EXPECT_EQ("5", perm("imei"));
    EXPECT_EQ("", kTool.output_of({"confirm"}));
    (void)kTool.output_of({"apply", "--factory", "-"}, "made=g\n");
    EXPECT_EQ("g", def("made"));
    EXPECT_EQ("", kTool.output_of({"revert"}));
    EXPECT_EQ("f", def("made"));
}

TEST_F(ZndbToolApply, OfThousandsOfSettingsIsWhole) {
    std::string lines;
    for (int i = 0; i < 4000; ++i) {
        lines += "k" + std::to_string(i) + "=" + std::string(50, 'v') + "\n";
    }
    ASSERT_TRUE(write_text(kFile, lines));
    EXPECT_NE(std::string::npos, kTool.output_of({"apply", kFile}).find("\n4000 settings applied;"));
    EXPECT_EQ(std::string(50, 'v'), plain("k3999"));
    restart();
    EXPECT_EQ("ret 3", plain("k0"));
    EXPECT_EQ("ret 3", plain("k3999"));
}

TEST_F(ZndbToolApply, RefusesAFileThatItCannotRead) {
    kTool.expect_failure(2, "can't read /no/file: No such file or directory", {"apply", "/no/file"});
    ASSERT_TRUE(write_text(kFile, "a=1\nno equals\n"));
    kTool.expect_failure(2, kFile + ":2: there is no '='", {"apply", kFile});
    EXPECT_FALSE(awaits());
}

TEST_F(ZndbToolApply, RefusesSecondsThatAreNone) {
    for (const char *seconds : {"0", "86401", "soon", "-1"}) {
        EXPECT_EQ(2, kTool.run({"apply", std::string("--confirm-within=") + seconds, kFile}).status)
            << seconds;
    }
}

TEST_F(ZndbToolApply, RefusesAWayBackThatCanNotBeWritten) {
    std::filesystem::create_directories(kWayBack + ".tmp/in the way");
    const ToolEnd end = kTool.run({"apply", kFile});
    EXPECT_EQ(1, end.status);
    EXPECT_EQ("zndb_tool: apply failed: 2007 E_APPS_ERR_ZNDB_OTHER\n", end.errors);
    EXPECT_EQ("1", plain("lan_ip"));
    std::filesystem::remove_all(kWayBack + ".tmp");
}

TEST_F(ZndbToolApply, EndsWith3WithoutADatabase) {
    zndb_->kill();
    forget_module("zndb");
    kTool.expect_failure(3, "list failed" + kNotRunning, {"apply", kFile});
    kTool.expect_failure(3, "confirm failed" + kNotRunning, {"confirm"});
    kTool.expect_failure(3, "revert failed" + kNotRunning, {"revert"});
}

// ---- revert ----

TEST_F(ZndbToolApply, RevertGoesBackToTheLastSave) {
    EXPECT_EQ(0, zndb_set("lan_ip", "unsaved"));
    EXPECT_EQ(0, zndb_set_perm_data("imei", "unsaved"));
    EXPECT_EQ(0, zndb_del("wan"));
    EXPECT_EQ("", kTool.output_of({"revert"}));
    EXPECT_EQ("1", plain("lan_ip"));
    EXPECT_EQ("3", plain("wan"));
    EXPECT_EQ("ret 3", perm("imei"));
    EXPECT_EQ("", kTool.output_of({"changes"}));
    EXPECT_EQ("", kTool.output_of({"revert", "--yes"}));
}

TEST_F(ZndbToolApply, RevertEndsATrialAtOnce) {
    (void)kTool.output_of({"apply", kFile});
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_set("other", "unsaved"));
    EXPECT_EQ("", kTool.output_of({"revert"}));
    EXPECT_FALSE(awaits());
    EXPECT_EQ("1", plain("lan_ip"));
    cut_power();
    EXPECT_EQ("1", plain("lan_ip"));
}

TEST_F(ZndbToolApply, RevertOfAFileThatIsGoneIsRefused) {
    EXPECT_EQ(0, zndb_set("lan_ip", "unsaved"));
    std::filesystem::remove("/m_data/usr/db/user_data.txt");
    kTool.expect_failure(
        1, "revert failed: 2007 E_APPS_ERR_ZNDB_OTHER; nothing was reverted to the last save", {"revert"});
    EXPECT_EQ("unsaved", plain("lan_ip"));
}

TEST_F(ZndbToolApply, WithoutARestoreThereIsNothingKept) {
    EXPECT_EQ(0, zndb_set("lan_ip", "unsaved"));
    kTool.expect_failure(1, "revert failed: no configuration was kept by a restore",
                         {"revert", "--restored"});
    EXPECT_EQ("unsaved", plain("lan_ip"));
}

// ---- get --origin ----

TEST_F(ZndbToolApply, OriginIsTheStoreThatAnswers) {
    EXPECT_EQ(0, zndb_set_perm_data("imei", "5"));
    EXPECT_EQ("plain 1\n", kTool.output_of({"get", "--origin", "lan_ip"}));
    EXPECT_EQ("plain lan_ip=1\nfactory made=f\ndefault image=d\n",
              kTool.output_of({"get", "--origin", "lan_ip", "made", "image"}));
    EXPECT_EQ("default d\n", kTool.output_of({"get", "--origin", "--default", "lan_ip"}));
    EXPECT_EQ("perm 5\n", kTool.output_of({"get", "--origin", "--perm", "imei"}));
    EXPECT_EQ("{\n  \"made\": {\n    \"store\": \"factory\",\n    \"value\": \"f\"\n  }\n}\n",
              kTool.output_of({"get", "--origin", "--json", "made"}));
    kTool.expect_failure(1, "get 'no_such' failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND",
                         {"get", "--origin", "no_such"});
}

TEST_F(ZndbToolApply, OriginIsOfTheKeyAndNotOfALongerOne) {
    EXPECT_EQ(0, zndb_set("image_size", "1"));
    EXPECT_EQ("default d\n", kTool.output_of({"get", "--origin", "image"}));
}

// ---- history ----

TEST_F(ZndbToolApply, HistoryHasTheGenerationsAndWhatWasSetAside) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_set("a", "2"));
    EXPECT_EQ(0, zndb_save());
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt.damaged-20260102-030405", "a"));
    const std::string all = kTool.output_of({"history"});
    EXPECT_NE(std::string::npos, all.find("plain    present   2           /m_data/usr/db/user_data.txt\n"))
        << all;
    EXPECT_NE(std::string::npos, all.find("plain    previous  1 ")) << all;
    EXPECT_NE(std::string::npos, all.find("plain    damaged   - ")) << all;
    EXPECT_NE(std::string::npos, all.find("factory  present   - ")) << all;
    EXPECT_NE(std::string::npos, kTool.output_of({"history", "--json"}).find("\"generation\": 2,"));
}

TEST_F(ZndbToolApply, HistoryFindsAFileThatWasChangedSince) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_save());
    const std::string file = "/m_data/usr/db/user_data.txt";
    ASSERT_TRUE(write_text(file, "b=2\n" + file_text(file)));
    const std::string all = kTool.output_of({"history"});
    EXPECT_NE(std::string::npos, all.find("present   1 (wrong check)")) << all;
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    kTool.expect_failure(1, "can't read " + file + ": Is a directory", {"history"});
    std::filesystem::remove(file);
}
