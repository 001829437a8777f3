/*
 * zndb_tool with the real database: every command, and its error messages.
 */
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "support/checked_file.h"
#include "system/tools/tool_checks.h"
#include "system/zndb/zndb_process.h"

namespace {

const std::string kExported = "/tmp/exported.txt";

const ToolChecks kTool("zndb_tool");

const std::string kReadOnlyHint =
    "; the store's file can't be replaced; check its folder with ls -l and mount. The factory overlay may be "
    "written by root and by some modules only";

class ZndbTool : public ZndbTest {
  protected:
    ZndbTool() {
        (void)::unlink(kExported.c_str());
        start();
    }
};

// ---- get, set, del ----

TEST_F(ZndbTool, SetsAndGetsAValue) {
    EXPECT_EQ("", kTool.output_of({"set", "lan_ip", "192.168.0.1"}));
    EXPECT_EQ("192.168.0.1\n", kTool.output_of({"get", "lan_ip"}));
    EXPECT_EQ("192.168.0.1", plain("lan_ip"));
}

TEST_F(ZndbTool, SetsAndGetsInThePermStore) {
    EXPECT_EQ("", kTool.output_of({"set", "--perm", "serial", "0815"}));
    EXPECT_EQ("0815\n", kTool.output_of({"get", "--perm", "serial"}));
    EXPECT_EQ("0815", perm("serial"));
    EXPECT_EQ("ret 3", plain("serial"));
}

TEST_F(ZndbTool, SetsADefaultThatAPlainGetFallsBackTo) {
    EXPECT_EQ("", kTool.output_of({"set", "--default", "ssid", "home"}));
    EXPECT_EQ("home\n", kTool.output_of({"get", "--default", "ssid"}));
    EXPECT_EQ("home\n", kTool.output_of({"get", "ssid"}));
}

TEST_F(ZndbTool, GetsSeveralSettingsAsLinesOfKeyAndValue) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", ""));
    EXPECT_EQ("a=1\nb=\n", kTool.output_of({"get", "a", "b"}));
}

TEST_F(ZndbTool, GetsJsonWithNumbersWhereTheTypeIsOne) {
    EXPECT_EQ(0, zndb_set("mtu", "1500"));
    EXPECT_EQ(0, zndb_set("name", "a \"quoted\" \xFF name"));
    EXPECT_EQ("{\n  \"mtu\": 1500\n}\n", kTool.output_of({"get", "--type", "uint", "--json", "mtu"}));
    EXPECT_EQ("{\n  \"mtu\": \"1500\",\n  \"name\": \"a \\\"quoted\\\" \xEF\xBF\xBD name\"\n}\n",
              kTool.output_of({"get", "--json", "mtu", "name"}));
}

TEST_F(ZndbTool, TakesTheValueFromItsInputWhenNoneIsGiven) {
    EXPECT_EQ("", kTool.output_of({"set", "key"}, "from input"));
    EXPECT_EQ("from input", plain("key"));
}

TEST_F(ZndbTool, SetsNothingWhenItsInputEndsAtOnce) {
    kTool.expect_failure(2, "no value for 'key'", {"set", "key"});
}

TEST_F(ZndbTool, SetsAnEmptyValueAndOneThatBeginsWithADash) {
    EXPECT_EQ("", kTool.output_of({"set", "empty", ""}));
    EXPECT_EQ("", plain("empty"));
    EXPECT_EQ("", kTool.output_of({"set", "--", "dash", "--save"}));
    EXPECT_EQ("--save", plain("dash"));
}

TEST_F(ZndbTool, RefusesAValueThatTheTypeCannotHold) {
    kTool.expect_failure(2, "'70000' is not a ushort (0 to 65535)",
                         {"set", "--type", "ushort", "port", "70000"});
    kTool.expect_failure(2, "'8o' is not a ushort (0 to 65535)", {"set", "--type", "ushort", "port", "8o"});
    kTool.expect_failure(2,
                         "'perhaps' is not a bool (on, off, yes, no, true, false, enable, disable, 1 or 0)",
                         {"set", "--type", "bool", "flag", "perhaps"});
    EXPECT_EQ("ret 3", plain("port"));
}

TEST_F(ZndbTool, StoresATypedValueAsModulesWriteIt) {
    EXPECT_EQ("", kTool.output_of({"set", "--type", "bool", "flag", "enable"}));
    EXPECT_EQ("true", plain("flag"));
    EXPECT_EQ("", kTool.output_of({"set", "--type", "double", "gain", "1.5"}));
    EXPECT_EQ("1.500000", plain("gain"));
}

TEST_F(ZndbTool, SaysWhenAStoredTextIsNotOfTheType) {
    EXPECT_EQ(0, zndb_set("flag", "perhaps"));
    kTool.expect_failure(
        1,
        "get 'flag' failed: 'perhaps' is not a bool (on, off, yes, no, true, false, enable, disable, 1 or 0)",
        {"get", "--type", "bool", "flag"});
}

TEST_F(ZndbTool, SetsAndGetsAListItemByItem) {
    EXPECT_EQ("", kTool.output_of({"set", "--list", "dns", "a,b", "c&d", ""}));
    EXPECT_EQ("a&#39;b,c&amp;d,", plain("dns"));
    EXPECT_EQ("a,b\nc&d\n\n", kTool.output_of({"get", "--list", "dns"}));
    EXPECT_EQ("c&d\n", kTool.output_of({"get", "--item", "2", "dns"}));
    EXPECT_EQ("{\n  \"dns\": [\n    \"a,b\",\n    \"c&d\",\n    \"\"\n  ]\n}\n",
              kTool.output_of({"get", "--list", "--json", "dns"}));
}

TEST_F(ZndbTool, ReplacesAnItemOfAListOrAddsOne) {
    EXPECT_EQ(0, zndb_set("ports", "80,443"));
    EXPECT_EQ("", kTool.output_of({"set", "--item", "2", "--type", "uint", "ports", "8443"}));
    EXPECT_EQ("", kTool.output_of({"set", "--item", "3", "ports", "22"}));
    EXPECT_EQ("80,8443,22", plain("ports"));
    EXPECT_EQ("", kTool.output_of({"set", "--item", "1", "fresh", "x"}));
    EXPECT_EQ("x", plain("fresh"));
}

TEST_F(ZndbTool, SaysHowManyItemsThereAre) {
    EXPECT_EQ(0, zndb_set("ports", "80,443"));
    kTool.expect_failure(1, "'ports' has 2 items", {"get", "--item", "3", "ports"});
    kTool.expect_failure(2, "'ports' has 2 items", {"set", "--item", "4", "ports", "1"});
}

TEST_F(ZndbTool, SeveralValuesTakeList) {
    kTool.expect_failure(2, "several values make a list: give --list, or quote the value",
                         {"set", "name", "a", "b"});
}

TEST_F(ZndbTool, KeepsASecretEnciphered) {
    EXPECT_EQ("", kTool.output_of({"set", "--secret", "wifi_key"}, "correct horse"));
    EXPECT_EQ(std::string::npos, plain("wifi_key").find("correct horse"));
    EXPECT_EQ("correct horse\n", kTool.output_of({"get", "--secret", "wifi_key"}));
}

TEST_F(ZndbTool, SaysWhenASecretIsNone) {
    EXPECT_EQ(0, zndb_set("wifi_key", "not a secret"));
    kTool.expect_failure(1, "get 'wifi_key' failed: 4 E_APPS_ERR_FORMAT", {"get", "--secret", "wifi_key"});
}

TEST_F(ZndbTool, DeletesSettings) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", "2"));
    EXPECT_EQ(0, zndb_set_perm_data("c", "3"));
    EXPECT_EQ("", kTool.output_of({"del", "a", "b"}));
    EXPECT_EQ("", kTool.output_of({"del", "--perm", "c"}));
    EXPECT_EQ("ret 3", plain("a"));
    EXPECT_EQ("ret 3", plain("b"));
    EXPECT_EQ("ret 3", perm("c"));
}

TEST_F(ZndbTool, ReportsEveryMissingKeyAndGoesOn) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", "2"));
    const std::string missing = " failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND\n";
    const ToolEnd got = kTool.run({"get", "a", "nokey", "b", "none"});
    EXPECT_EQ(1, got.status);
    EXPECT_EQ("a=1\nb=2\n", got.output);
    EXPECT_EQ("zndb_tool: get 'nokey'" + missing + "zndb_tool: get 'none'" + missing, got.errors);
    const ToolEnd json = kTool.run({"get", "--json", "a", "nokey"});
    EXPECT_EQ(1, json.status);
    EXPECT_EQ("{\n  \"a\": \"1\"\n}\n", json.output);
    EXPECT_EQ("zndb_tool: get 'nokey'" + missing, json.errors);
    kTool.expect_failure(1, "get 'nokey'" + missing.substr(0, missing.size() - 1),
                         {"get", "--json", "nokey"});
    kTool.expect_failure(
        1, "del 'nokey'" + missing + "zndb_tool: del 'none'" + missing.substr(0, missing.size() - 1),
        {"del", "--save", "a", "nokey", "none", "b"});
    EXPECT_EQ("ret 3", plain("a"));
    EXPECT_EQ("ret 3", plain("b"));
    EXPECT_EQ("", checked_lines(file_text("/m_data/usr/db/user_data.txt")));
    kTool.expect_failure(
        2, "'': the key is empty\nzndb_tool: get 'none'" + missing.substr(0, missing.size() - 1),
        {"get", "", "none"});
}

TEST_F(ZndbTool, ADeletionThatOnlyFailsInPartIsSaved) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", "2"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(1, kTool.run({"del", "--save", "nokey", "a"}).status);
    cut_power();
    EXPECT_EQ("ret 3", plain("a"));
    EXPECT_EQ("2", plain("b"));
}

TEST_F(ZndbTool, ADatabaseThatIsGoneIsReportedOnce) {
    zndb_->kill();
    kTool.expect_failure(
        3, "get 'a' failed: zndb is not running any more: nobody listens on its socket: 1 E_APPS_ERR_MODULE",
        {"get", "a", "b"});
    kTool.expect_failure(
        3, "del 'a' failed: zndb is not running any more: nobody listens on its socket: 1 E_APPS_ERR_MODULE",
        {"del", "--save", "a", "b"});
}

TEST_F(ZndbTool, OffersTheNearestKeyForOneThatIsMissing) {
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    const std::string rest = " 'lanip' failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND; did you mean 'lan_ip'?";
    kTool.expect_failure(1, "get" + rest, {"get", "lanip"});
    kTool.expect_failure(1, "del" + rest, {"del", "lanip"});
    kTool.expect_failure(1, "get 'other' failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND", {"get", "other"});
    EXPECT_EQ(0, zndb_set("a", "1"));
    kTool.expect_failure(1, "get 'b' failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND", {"get", "b"});
    kTool.expect_failure(1, "get 'lanip' failed: 7 E_APPS_ERR_NOTFOUND; did you mean 'lan_ip'?",
                         {"get", "--secret", "lanip"});
}

TEST_F(ZndbTool, SaysWhatTheDatabaseHoldsAgainstATextThatNoFileCanHold) {
    const std::string rest =
        " failed: 2004 E_APPS_ERR_ZNDB_ARG; a setting must be one line, and a key must not contain '=' or "
        "begin with '#' or a blank";
    kTool.expect_failure(1, "set 'a=b'" + rest, {"set", "a=b", "1"});
    kTool.expect_failure(1, "set 'a'" + rest, {"set", "a", "two\nlines"});
}

TEST_F(ZndbTool, RefusesKeysAndValuesThatAreTooLongBeforeAsking) {
    const std::string key(32, 'k');
    kTool.expect_failure(2, "'" + key + "': the key has more than 31 characters", {"get", key});
    kTool.expect_failure(2, "'" + key + "': the key has more than 31 characters", {"del", key});
    kTool.expect_failure(2, "'k': the value has more than 1023 characters",
                         {"set", "k", std::string(1024, 'v')});
    kTool.expect_failure(2, "'': the key is empty", {"set", "", "v"});
    kTool.expect_failure(2, "'k': the value holds a NUL", {"set", "k"}, std::string("a\0b", 3));
    EXPECT_EQ("", kTool.output_of({"set", std::string(31, 'k'), std::string(1023, 'v')}));
}

// ---- save, reset ----

TEST_F(ZndbTool, SavedChangesSurviveAPowerCut) {
    EXPECT_EQ("", kTool.output_of({"set", "a", "1"}));
    EXPECT_EQ("", kTool.output_of({"save"}));
    EXPECT_EQ("", kTool.output_of({"set", "--save", "b", "2"}));
    EXPECT_EQ("", kTool.output_of({"set", "c", "3"}));
    cut_power();
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("2", plain("b"));
    EXPECT_EQ("ret 3", plain("c"));
}

TEST_F(ZndbTool, SavesTheFactoryOverlayWhenAsked) {
    EXPECT_EQ("", kTool.output_of({"set", "--default", "ssid", "home"}));
    EXPECT_EQ("", kTool.output_of({"save", "--default"}));
    cut_power();
    EXPECT_EQ("home", def("ssid"));
}

TEST_F(ZndbTool, SaveRamShortensTheJournal) {
    EXPECT_EQ(0, zndb_set("k", "1"));
    EXPECT_EQ(0, zndb_set("k", "2"));
    EXPECT_EQ("", kTool.output_of({"save", "--ram"}));
    EXPECT_EQ("P+k=2\n", file_text("/tmp/m_tmp/zndb/journal.plain"));
}

TEST_F(ZndbTool, ASaveThatFailsShowsTheDatabasesCode) {
    start_after("mkdir -p /m_data/usr/db && mount -t tmpfs -o ro tmpfs /m_data/usr/db");
    EXPECT_EQ(0, zndb_set("k", "v"));
    kTool.expect_failure(1, "save failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY" + kReadOnlyHint, {"save"});
}

/* A command of zndb_tool in a database whose perm store can't be saved. */
TEST_F(ZndbTool, APermStoreThatCantBeSavedIsNamed) {
    start_after("mkdir -p /m_data/usr_permanent/db && mount -t tmpfs -o ro tmpfs /m_data/usr_permanent/db");
    EXPECT_EQ(0, zndb_set_perm_data("p", "pv"));
    EXPECT_EQ(0, zndb_set("k", "v"));
    const std::string words = "save of the perm store failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY" + kReadOnlyHint;
    kTool.expect_failure(1, words, {"save"});
    EXPECT_EQ("k=v\n", checked_lines(file_text("/m_data/usr/db/user_data.txt")));
    kTool.expect_failure(0, "warning: " + words, {"set", "--save", "k", "new"});
    EXPECT_EQ("k=new\n", checked_lines(file_text("/m_data/usr/db/user_data.txt")));
    EXPECT_EQ(0, zndb_set("k", "v"));
    kTool.expect_failure(1, words, {"set", "--perm", "--save", "p", "new"});
}

TEST_F(ZndbTool, EachStoreThatCantBeSavedIsNamed) {
    start_after(
        "mkdir -p /m_data/usr/db && mount -t tmpfs -o ro tmpfs /m_data/usr/db && "
        "mkdir -p /m_data/usr_permanent/db && mount -t tmpfs -o ro tmpfs /m_data/usr_permanent/db");
    EXPECT_EQ(0, zndb_set_perm_data("p", "pv"));
    EXPECT_EQ(0, zndb_set("k", "v"));
    kTool.expect_failure(1,
                         "save failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY" + kReadOnlyHint +
                             "\nzndb_tool: save of the perm store failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY" +
                             kReadOnlyHint,
                         {"save"});
}

TEST_F(ZndbTool, AResetThatCantBeSavedIsRefused) {
    start_after("mkdir -p /m_data/usr/db && mount -t tmpfs -o ro tmpfs /m_data/usr/db");
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(1, zndb_reset());
    kTool.expect_failure(1, "reset failed: 2006 E_APPS_ERR_ZNDB_READ_ONLY" + kReadOnlyHint,
                         {"reset", "--save"});
    EXPECT_EQ("v", plain("k"));
}

TEST_F(ZndbTool, ResetsThePlainStore) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "pv"));
    EXPECT_EQ("", kTool.output_of({"reset", "--save"}));
    EXPECT_EQ("ret 3", plain("k"));
    EXPECT_EQ("pv", perm("p"));
}

// ---- dump, export, import ----

TEST_F(ZndbTool, DumpsEveryStoreSavedOrNot) {
    EXPECT_EQ(0, zndb_set("saved", "1"));
    EXPECT_EQ(0, zndb_set("gone", "1"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_del("gone"));
    EXPECT_EQ(0, zndb_set("unsaved", "a=b"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "2"));
    EXPECT_EQ("", kTool.output_of({"set", "--default", "d", "3"}));
    EXPECT_EQ(
        "# plain: /m_data/usr/db/user_data.txt\nsaved=1\nunsaved=a=b\n"
        "# perm: /m_data/usr_permanent/db/perm_data.txt\np=2\n"
        "# default: /m_webui/usr/db/default_data.txt, /m_data/factor/factor_data.txt\nd=3\n",
        kTool.output_of({"dump"}));
}

TEST_F(ZndbTool, DumpsOneStoreAsJson) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    EXPECT_EQ(0, zndb_set_perm_data("p", "2"));
    EXPECT_EQ("{\n  \"perm\": {\n    \"p\": \"2\"\n  }\n}\n", kTool.output_of({"dump", "--perm", "--json"}));
    EXPECT_EQ("{\n  \"default\": {\n  }\n}\n", kTool.output_of({"dump", "--default", "--json"}));
}

TEST_F(ZndbTool, DumpsAResetStoreAndOneWhoseDatabaseIsGone) {
    EXPECT_EQ(0, zndb_set("old", "1"));
    EXPECT_EQ(0, zndb_save());
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ(0, zndb_set("new", "2"));
    zndb_->kill();
    EXPECT_EQ("new=2\n", kTool.output_of({"export"}));
}

/* A service that was killed in the middle of a batch has perhaps only this file of it. */
TEST_F(ZndbTool, ExportsABatchThatWasInterrupted) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    zndb_->kill();
    ASSERT_TRUE(write_text("/tmp/m_tmp/zndb/journal.batch", "P+a=2\nP+b=3\n=2\n"));
    EXPECT_EQ("a=2\nb=3\n", kTool.output_of({"export"}));
    start();
    EXPECT_EQ("a=2\nb=3\n", kTool.output_of({"export"}));
}

/* Only the database knows what it has; its files may be anybody's. */
TEST_F(ZndbTool, AsksTheDatabaseForWhatItPrintsAndCompletes) {
    ASSERT_TRUE(write_text("/m_webui/usr/db/default_data.txt", "image=1\n"));
    EXPECT_EQ(0, zndb_set("key_known", "1"));
    EXPECT_EQ("", kTool.output_of({"set", "--default", "made", "2"}));
    ASSERT_TRUE(write_text("/m_data/usr/db/user_data.txt", "key_unknown=2\n"));
    ASSERT_TRUE(write_text("/tmp/m_tmp/zndb/journal.plain", "P+key_unread=3\n"));
    EXPECT_EQ("key_known=1\n", kTool.output_of({"export"}));
    EXPECT_EQ(
        "# default: /m_webui/usr/db/default_data.txt, /m_data/factor/factor_data.txt\nimage=1\nmade=2\n",
        kTool.output_of({"dump", "--default"}));
    EXPECT_EQ("key_known\n", kTool.output_of({"--complete", "get", "key_"}));
}

TEST_F(ZndbTool, ReadsTheFilesWhereTheDatabaseDoesNotAnswer) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    zndb_->stop();
    EXPECT_EQ("k=v\n", kTool.output_of({"export"}));
    EXPECT_EQ("k\n", kTool.output_of({"--complete", "get", "k"}));
    zndb_->send_signal(SIGCONT);
}

TEST_F(ZndbTool, DefaultsThatCannotBeReadAreSaidSo) {
    ASSERT_EQ(0, ::mkdir("/m_webui/usr/db/default_data.txt", 0700));
    kTool.expect_failure(1, "can't read /m_webui/usr/db/default_data.txt: Is a directory",
                         {"dump", "--default"});
    std::filesystem::remove("/m_webui/usr/db/default_data.txt");
}

TEST_F(ZndbTool, AStoreThatCannotBeReadIsSaidSo) {
    zndb_->kill();
    ASSERT_EQ(0, ::mkdir("/m_data/usr/db/user_data.txt", 0700));
    kTool.expect_failure(1, "can't read /m_data/usr/db/user_data.txt: Is a directory", {"dump"});
    kTool.expect_failure(1, "can't read /m_data/usr/db/user_data.txt: Is a directory", {"export"});
    start();
    kTool.expect_failure(1, "get 'k' failed: 2001 E_APPS_ERR_ZNDB_NO_FOUND", {"get", "k"});
}

TEST_F(ZndbTool, AnExportThatDoesNotFitIsSaidSo) {
    EXPECT_EQ(0, zndb_set("new", "2"));
    kTool.expect_failure(2, "can't write /dev/full: No space left on device", {"export", "/dev/full"});
}

TEST_F(ZndbTool, AFileAbove64MiBIsNotImported) {
    ASSERT_TRUE(write_text(kExported, ""));
    std::filesystem::resize_file(kExported, (64u << 20) + 1);
    kTool.expect_failure(2, "can't read " + kExported + ": File too large", {"import", kExported});
}

TEST_F(ZndbTool, ExportsAStoreToAFileThatOnlyItsOwnerReads) {
    EXPECT_EQ(0, zndb_set("b", "2"));
    EXPECT_EQ(0, zndb_set("a", "1=1"));
    EXPECT_EQ("", kTool.output_of({"export", kExported}));
    EXPECT_EQ("a=1=1\nb=2\n", file_text(kExported));
    struct stat info = {};
    ASSERT_EQ(0, ::stat(kExported.c_str(), &info));
    EXPECT_EQ(0600u, info.st_mode & 0777u);
}

TEST_F(ZndbTool, ImportsWhatItExported) {
    EXPECT_EQ(0, zndb_set("a", "1"));
    EXPECT_EQ(0, zndb_set("b", ""));
    EXPECT_EQ("", kTool.output_of({"export", kExported}));
    EXPECT_EQ(0, zndb_reset());
    EXPECT_EQ("", kTool.output_of({"import", "--save", kExported}));
    EXPECT_EQ("1", plain("a"));
    EXPECT_EQ("", plain("b"));
    EXPECT_EQ("a=1\nb=\n", checked_lines(file_text("/m_data/usr/db/user_data.txt")));
}

TEST_F(ZndbTool, ImportsItsInputIntoAnotherStore) {
    EXPECT_EQ("", kTool.output_of({"import", "--perm", "-"}, "# a comment\r\n\r\nk=v\r"));
    EXPECT_EQ("v", perm("k"));
}

TEST_F(ZndbTool, ImportsNothingOfAFileWithABadLine) {
    ASSERT_TRUE(write_text(kExported, "good=1\nbad\n" + std::string(32, 'k') + "=1\n"));
    kTool.expect_failure(2,
                         kExported + ":2: there is no '='\nzndb_tool: " + kExported +
                             ":3: the key has more than 31 characters\nzndb_tool: nothing was imported",
                         {"import", kExported});
    EXPECT_EQ("ret 3", plain("good"));
}

TEST_F(ZndbTool, ImportsNothingWhenTheDatabaseRefusesALine) {
    ASSERT_TRUE(write_text(kExported, "good=1\n bad=1\nlater=1\n"));
    kTool.expect_failure(1,
                         kExported +
                             ":2: set ' bad' failed: 2004 E_APPS_ERR_ZNDB_ARG; a setting must be one " +
                             "line, and a key must not contain '=' or begin with '#' or a blank\n" +
                             "zndb_tool: nothing was imported",
                         {"import", kExported});
    EXPECT_EQ("ret 3", plain("good"));
}

/* The last line of many pages is refused. */
TEST_F(ZndbTool, ImportsAllOfALargeFileOrNothing) {
    std::string lines;
    for (int i = 0; i < 1000; ++i) {
        lines += "key" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    }
    ASSERT_TRUE(write_text(kExported, lines + " bad=1\n"));
    const ToolEnd end = run_tool({"zndb_tool", "import", kExported});
    EXPECT_EQ(1, end.status);
    EXPECT_NE(std::string::npos, end.errors.find(kExported + ":1001: set ' bad' failed: 2004")) << end.errors;
    EXPECT_EQ("", kTool.output_of({"export"}));
    ASSERT_TRUE(write_text(kExported, lines + "key0=last\n"));
    EXPECT_EQ("", kTool.output_of({"import", kExported}));
    EXPECT_EQ("last", plain("key0"));
    EXPECT_EQ("999", plain("key999"));
}

TEST_F(ZndbTool, ImportsNothingWithoutADatabase) {
    ASSERT_TRUE(write_text(kExported, "a=1\n"));
    zndb_->kill();
    const ToolEnd end = run_tool({"zndb_tool", "import", kExported});
    EXPECT_EQ(3, end.status);
    EXPECT_NE(std::string::npos, end.errors.find("import failed: zndb is not running any more"))
        << end.errors;
    EXPECT_NE(std::string::npos, end.errors.find("zndb_tool: nothing was imported\n")) << end.errors;
    ASSERT_TRUE(write_text(kExported, "# nothing\n"));
    EXPECT_EQ("", kTool.output_of({"import", kExported}));
}

TEST_F(ZndbTool, FilesThatCannotBeUsedAreWrongUsage) {
    kTool.expect_failure(2, "can't read /no/file: No such file or directory", {"import", "/no/file"});
    kTool.expect_failure(2, "can't read /tmp: Is a directory", {"import", "/tmp"});
    kTool.expect_failure(2, "can't write /no/file: No such file or directory", {"export", "/no/file"});
}

// ---- the command line, the end ----

TEST_F(ZndbTool, ADatabaseThatDoesNotRunIsNotReachable) {
    zndb_->kill();
    const std::string rest =
        " failed: zndb is not running any more: nobody listens on its socket: 1 E_APPS_ERR_MODULE";
    kTool.expect_failure(3, "get 'k'" + rest, {"get", "k"});
    kTool.expect_failure(3, "get 'k'" + rest, {"get", "--secret", "k"});
    kTool.expect_failure(3, "set 'k'" + rest, {"set", "k", "v"});
    kTool.expect_failure(3, "set 'k'" + rest, {"set", "--secret", "k", "v"});
    kTool.expect_failure(3, "set 'k'" + rest, {"set", "--save", "k", "v"});
    kTool.expect_failure(3, "get 'k'" + rest, {"set", "--item", "1", "k", "v"});
    kTool.expect_failure(3, "del 'k'" + rest, {"del", "k"});
    kTool.expect_failure(3, "save" + rest, {"save"});
    kTool.expect_failure(3, "reset" + rest, {"reset"});
    kTool.expect_failure(3, "import" + rest + "\nzndb_tool: nothing was imported", {"import", "-"}, "k=v");
}

TEST_F(ZndbTool, WrongNamesGetTheNearestRightOne) {
    kTool.expect_usage("unknown command 'gte'; did you mean 'get'?", {"gte", "k"});
    kTool.expect_usage("unknown command 'frobnicate'", {"frobnicate"});
    kTool.expect_usage("unknown option '--prem'; did you mean '--perm'?", {"get", "--prem", "k"});
    kTool.expect_usage("--type: unknown type 'unit'; did you mean 'uint'?", {"get", "--type", "unit", "k"});
    EXPECT_EQ("", kTool.output_of({"set", "--type", "UINT", "k", "007"}));
    EXPECT_EQ("7", plain("k"));
}

TEST_F(ZndbTool, WrongUsageIsExplained) {
    kTool.expect_usage("a command is missing", {});
    kTool.expect_usage("KEY is required", {"get"});
    kTool.expect_usage("unexpected argument 'x'", {"reset", "x"});
    kTool.expect_usage("--type needs a value", {"get", "k", "--type"});
    kTool.expect_usage("--type may be given only once", {"get", "k", "--type", "int", "--type", "uint"});
    kTool.expect_usage("--perm and --secret can't be given together", {"set", "--secret", "--perm", "k"});
    kTool.expect_usage("unknown option '--default'", {"del", "--default", "k"});
    kTool.expect_usage("unknown option '-5'; write -- before arguments that begin with '-'", {"reset", "-5"});
    kTool.expect_usage("unknown option '-x'", {"reset", "-x"});
}

TEST_F(ZndbTool, ShowsHelpWithExamples) {
    const std::string help = kTool.output_of({"--help"});
    for (const char *command :
         {"get", "set", "del", "save", "reset", "dump", "export", "import", "backup", "restore", "watch"}) {
        EXPECT_NE(std::string::npos, help.find(std::string("\n  ") + command + " ")) << command;
        const std::string own = kTool.output_of({command, "--help"});
        EXPECT_NE(std::string::npos, own.find(std::string("\n  zndb_tool ") + command)) << own;
        EXPECT_NE(std::string::npos, own.find("\nExamples:\n")) << own;
    }
}

TEST_F(ZndbTool, OutputThatCannotBeWrittenIsAFailure) {
    EXPECT_EQ(0, zndb_set("k", "v"));
    const ToolEnd full = run_shell("$TOOLS/zndb_tool get k > /dev/full");
    EXPECT_EQ(1, full.status);
    EXPECT_EQ("zndb_tool: can't write the output: No space left on device\n", full.errors);
    const ToolEnd closed = run_shell(
        "mkfifo /tmp/closed.$$; exec 3<>/tmp/closed.$$ 4>/tmp/closed.$$ 3<&-; $TOOLS/zndb_tool dump >&4");
    EXPECT_EQ(0, closed.status);
    EXPECT_EQ("", closed.errors);
    const ToolEnd head = run_shell("set -o pipefail; $TOOLS/apptest messages | head -n 1");
    EXPECT_EQ(0, head.status);
    EXPECT_EQ("NUMBER  NAME\n", head.output);
    EXPECT_EQ("", head.errors);
}

TEST_F(ZndbTool, CompletesCommandsOptionsTypesAndKeys) {
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    EXPECT_EQ(0, zndb_set_perm_data("lan_mac", "1"));
    EXPECT_EQ("dump\n", kTool.output_of({"--complete", "du"}));
    EXPECT_EQ("--help\n--perm\n--default\n--json\n", kTool.output_of({"--complete", "dump", "--"}));
    EXPECT_EQ("uchar\nushort\nuint\nulong\nullong\n", kTool.output_of({"--complete", "get", "--type", "u"}));
    EXPECT_EQ("lan_mac\n", kTool.output_of({"--complete", "get", "--perm", "other", "lan"}));
    EXPECT_EQ("lan_ip\n", kTool.output_of({"--complete", "get", "LAN"}));
    EXPECT_EQ("", kTool.output_of({"--complete", "import", ""}));
    EXPECT_EQ(kTool.output_of({"--complete", ""}), kTool.output_of({"--complete"}));
}

}  // namespace
