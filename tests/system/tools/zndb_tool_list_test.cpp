/*
 * zndb_tool list, changes and diff with the real database.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "frwk_module.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kFile = "/tmp/listed.txt";

const std::string kNotRunning = ": zndb is not running: 1 E_APPS_ERR_MODULE";

const ToolChecks kTool("zndb_tool");

class ZndbToolList : public ZndbTest {
  protected:
    ZndbToolList() {
        (void)::unlink(kFile.c_str());
        EXPECT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "image=1\nlan_ip=d\n"));
        EXPECT_TRUE(write_text("/m_data/factor/factor_data.txt", "made=f\n"));
        EXPECT_TRUE(write_text("/m_data/usr/db/user_data.txt", "lan_ip=1\nlan_mask=2\nwan=3\nLAN=4\n"));
        std::filesystem::create_directories("/m_data/usr_permanent/db");
        EXPECT_TRUE(write_text("/m_data/usr_permanent/db/perm_data.txt", "imei=5\n"));
    }
};

}  // namespace

// ---- list ----

TEST_F(ZndbToolList, PrintsAStoreInTheOrderOfBytesAndWithoutDefaults) {
    start();
    EXPECT_EQ("LAN=4\nlan_ip=1\nlan_mask=2\nwan=3\n", kTool.output_of({"list"}));
    EXPECT_EQ("imei=5\n", kTool.output_of({"list", "--perm"}));
    EXPECT_EQ("made=f\n", kTool.output_of({"list", "--factory"}));
}

TEST_F(ZndbToolList, TakesAPatternOrTheBeginningOfKeys) {
    start();
    EXPECT_EQ("lan_ip=1\nlan_mask=2\n", kTool.output_of({"list", "lan"}));
    EXPECT_EQ("lan_ip=1\n", kTool.output_of({"list", "lan_i*"}));
    EXPECT_EQ("lan_mask=2\n", kTool.output_of({"list", "*mask"}));
    EXPECT_EQ("", kTool.output_of({"list", "nothing"}));
    EXPECT_EQ("", kTool.output_of({"list", std::string(40, 'k')}));
    EXPECT_EQ("", kTool.output_of({"list", "--perm", "lan*"}));
}

TEST_F(ZndbToolList, SeesWhatIsNotSaved) {
    start();
    EXPECT_EQ(0, zndb_set("lan_ip", "new"));
    EXPECT_EQ(0, zndb_del("wan"));
    EXPECT_EQ("LAN=4\nlan_ip=new\nlan_mask=2\n", kTool.output_of({"list"}));
}

TEST_F(ZndbToolList, PrintsJson) {
    start();
    EXPECT_EQ("{\n  \"imei\": \"5\"\n}\n", kTool.output_of({"list", "--perm", "--json"}));
    EXPECT_EQ("{\n}\n", kTool.output_of({"list", "--json", "nothing"}));
}

TEST_F(ZndbToolList, PrintsAStoreThatIsLargerThanOnePage) {
    std::string lines;
    for (int i = 1000; i < 2000; ++i) {
        lines += "k" + std::to_string(i) + "=" + std::string(400, 'v') + "\n";
    }
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", lines));
    start();
    EXPECT_EQ(lines, kTool.output_of({"list"}));
}

TEST_F(ZndbToolList, EndsWith3WithoutADatabase) {
    forget_module("zndb");
    kTool.expect_failure(3, "list failed" + kNotRunning, {"list"});
    kTool.expect_failure(3, "list the changes failed" + kNotRunning, {"changes"});
    ASSERT_TRUE(write_text(kFile, "a=1\n"));
    kTool.expect_failure(3, "list failed" + kNotRunning, {"diff", kFile});
}

TEST_F(ZndbToolList, RefusesTwoStores) {
    EXPECT_EQ(2, kTool.run({"list", "--perm", "--factory"}).status);
}

// ---- changes ----

TEST_F(ZndbToolList, PrintsWhatAPowerCutWouldTakeBack) {
    start();
    EXPECT_EQ("", kTool.output_of({"changes"}));
    EXPECT_EQ(0, zndb_set("lan_ip", "new"));
    EXPECT_EQ(0, zndb_del("wan"));
    EXPECT_EQ(0, zndb_set_perm_data("serial", "6"));
    EXPECT_EQ("plain set lan_ip=new\nplain deleted wan\nperm set serial=6\n", kTool.output_of({"changes"}));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ("", kTool.output_of({"changes"}));
}

TEST_F(ZndbToolList, PrintsAResetBeforeTheChangesAfterIt) {
    start();
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ("plain reset\nplain set a=1\n", kTool.output_of({"changes"}));
}

// ---- diff ----

TEST_F(ZndbToolList, PrintsWhatAFileHasOtherwise) {
    start();
    ASSERT_TRUE(write_text(kFile, "# note\nwan=3\nlan_ip=9\nnew=1\nnew=2\n"));
    EXPECT_EQ("-lan_ip=1\n+lan_ip=9\n+new=2\n", kTool.output_of({"diff", kFile}));
    EXPECT_EQ("+lan_ip=9\n+new=2\n+wan=3\n", kTool.output_of({"diff", "--perm", kFile}));
    EXPECT_EQ("+a=1\n", kTool.output_of({"diff", "-"}, "a=1\n"));
}

TEST_F(ZndbToolList, RefusesAFileThatItCannotRead) {
    start();
    kTool.expect_failure(2, "can't read /tmp/missing.txt: No such file or directory",
                         {"diff", "/tmp/missing.txt"});
    ASSERT_TRUE(write_text(kFile, "a=1\nno equals\n"));
    kTool.expect_failure(2, kFile + ":2: there is no '='", {"diff", kFile});
}
