/*
 * Completion in a real bash: what is typed, Tab, and what the shell makes of it.
 */
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "system/tools/tool_run.h"
#include "system/zndb/zndb_process.h"

namespace {

constexpr char kStart[] = "/tmp/start_completion";
constexpr char kEvents[] = "/m_data/usr/subscribe";

class ToolCompletion : public ZndbTest {
  protected:
    ToolCompletion() {
        std::filesystem::remove_all(kEvents);
        EXPECT_TRUE(write_text(kStart, "PATH=" TOOLS_FOLDER ":$PATH\n"
                                       ". " TOOLS_SOURCE "/completion/tool_completion.bash\n"
                                       ". " TOOLS_SOURCE "/completion/option_completion.bash\n"
                                       ". " DEVICE_TREE_SOURCE "/device_tree_completion.bash\n"
                                       "bind 'set enable-bracketed-paste off'\n"
                                       "bind 'set bell-style none'\n"
                                       "bind 'set page-completions off'\n"
                                       "bind 'set show-all-if-ambiguous on'\n"
                                       "PS1='ready> '\n"));
    }

    /* What an interactive bash shows when this is typed into it; the line is then dropped. */
    static std::string shown_for(const std::string &typed) {
        TerminalOptions options;
        options.columns = 200;
        options.type_after = "ready> ";
        /* draw the line anew, go to its beginning, delete it, end the input */
        options.typed = typed + "\t\014\001\013\004";
        return run_on_terminal({"/usr/bin/bash", "--noprofile", "--rcfile", kStart, "-i"}, options).output;
    }

    static void expect_shown(const std::string &text, const std::string &typed) {
        const std::string shown = shown_for(typed);
        EXPECT_NE(std::string::npos, shown.find(text)) << typed << ": " << shown;
    }

    /* The tool's own list for the words, the last of which is to be completed. */
    static std::string completions(std::vector<std::string> words) {
        words.insert(words.begin() + 1, "--complete");
        return run_tool(words).output;
    }
};

TEST_F(ToolCompletion, TakesShortNamesInAnyCase) {
    expect_shown("apptest call wlan sys_status ", "apptest call wlan sys_stat");
    expect_shown("apptest call wlan SYS_STATUS ", "apptest call wlan SYS_STAT");
    expect_shown("apptest call wlan E_APPS_MSG_SYS_STATUS ", "apptest call wlan E_APPS_MSG_SYS_STAT");
    expect_shown("apptest call wlan e_apps_msg_sys_status ", "apptest call wlan e_apps_msg_sys_stat");
    expect_shown("apptest call wlan ", "apptest call WLA");
    expect_shown("monitor_tool list --sort memory ", "monitor_tool list --sort MEM");
    expect_shown("wlan_scan", "apptest call wlan wlan_sc");
}

TEST_F(ToolCompletion, CompletesAValueBehindAnEqualsSign) {
    expect_shown("zndb_tool get --type=ushort ", "zndb_tool get --type=us");
    expect_shown("zndb_tool get --type=uint ", "zndb_tool get --type=UI");
    expect_shown("ullong", "zndb_tool get --type=");
    EXPECT_EQ("--type=ushort\n", completions({"zndb_tool", "get", "--type=us"}));
    EXPECT_EQ("ushort\n", completions({"zndb_tool", "get", "--type", "=", "us"}));
    EXPECT_EQ(completions({"zndb_tool", "get", "--type", ""}),
              completions({"zndb_tool", "get", "--type", "="}));
    EXPECT_EQ("wlan\n", completions({"apptest", "call", "--timeout=3", "wla"}));
    EXPECT_EQ("wlan\n", completions({"apptest", "call", "--timeout", "=", "3", "wla"}));
}

TEST_F(ToolCompletion, OffersTheKeysOfTheStoreThatIsMeant) {
    start();
    EXPECT_EQ(0, zndb_set("lan_ip", "1"));
    EXPECT_EQ(0, zndb_set("lan_mtu", "1"));
    EXPECT_EQ(0, zndb_set_perm_data("lan_mac", "1"));
    EXPECT_EQ(0, run_tool({"zndb_tool", "set", "--default", "lan_ip", "0"}).status);
    EXPECT_EQ(0, run_tool({"zndb_tool", "set", "--default", "lan_name", "0"}).status);
    expect_shown("zndb_tool get --perm lan_mac ", "zndb_tool get --perm lan");
    EXPECT_EQ("lan_ip\nlan_mtu\nlan_name\n", completions({"zndb_tool", "get", "lan"}));
    EXPECT_EQ("lan_mac\n", completions({"zndb_tool", "del", "--perm", ""}));
    EXPECT_EQ("lan_ip\nlan_mtu\n", completions({"zndb_tool", "del", ""}));
    EXPECT_EQ("lan_ip\nlan_name\n", completions({"zndb_tool", "get", "--default", ""}));
}

TEST_F(ToolCompletion, OffersTheOptionsOfProgramsThatHaveOnlyOptions) {
    expect_shown("quorbase-check --modem ", "quorbase-check --mo");
    expect_shown("quorbase-check --limit ", "quorbase-check --li");
    expect_shown("zndb --version ", "zndb --v");
    ASSERT_TRUE(write_text("/tmp/maker_library.so", ""));
    expect_shown("quorbase-check /tmp/maker_library.so ", "quorbase-check /tmp/maker_l");
}

TEST_F(ToolCompletion, CompletesTheOptionsOfDeviceTree) {
    expect_shown("device-tree --print-log ", "device-tree --pr");
    expect_shown("device-tree --print-log --no-log ", "device-tree --print-log --no");
}

TEST_F(ToolCompletion, CompletesTheCommandOfDeviceTreeAndItsWords) {
    expect_shown("device-tree logtool ", "device-tree logto");
    expect_shown("device-tree --no-log -- logtool ", "device-tree --no-log -- logto");
    expect_shown("device-tree apptest call wlan sys_status ", "device-tree apptest call wlan sys_stat");
    expect_shown("device-tree --print-log -- zndb_tool get --type=ushort ",
                 "device-tree --print-log -- zndb_tool get --type=us");
    ASSERT_TRUE(write_text("/tmp/my_module", ""));
    expect_shown("device-tree cat /tmp/my_module ", "device-tree cat /tmp/my_mod");
    expect_shown("device-tree /tmp/my_module ", "device-tree /tmp/my_mod");
}

/* A program's name is no command for the shell. */
TEST_F(ToolCompletion, QuotesTheNameOfAProgram) {
    const std::string program = "/usr/bin/named_$(touch named)";
    ASSERT_TRUE(write_text(program, ""));
    std::filesystem::permissions(program, std::filesystem::perms::owner_exec,
                                 std::filesystem::perm_options::add);
    expect_shown(R"(device-tree named_\$\(touch\ named\) )", "device-tree named_");
    std::filesystem::remove(program);
}

TEST_F(ToolCompletion, OffersTheEventsThatExist) {
    std::filesystem::create_directories(kEvents);
    ASSERT_TRUE(write_text(std::string(kEvents) + "/weather", "wlan\n"));
    ASSERT_TRUE(write_text(std::string(kEvents) + "/traffic", "wlan\n"));
    expect_shown("apptest publish weather ", "apptest publish we");
    EXPECT_EQ("traffic\nweather\n", completions({"apptest", "subscribe", ""}));
    EXPECT_EQ("sys_language_change\n", completions({"apptest", "subscribe", "sys_lang"}));
    EXPECT_EQ("sms\n", completions({"apptest", "subscribe", "--as", "sm"}));
}

}  // namespace
