/*
 * Valid and malformed module configuration files, read by a starting module.
 */
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "device_files.h"
#include "support/module_process.h"
#include "support/system_log.h"

namespace {

constexpr int kTool = 0;
constexpr size_t kTenMegabytes = size_t{10} << 20;

std::string root(const std::string &modules) {
    return "<modules>" + modules + "</modules>";
}

std::string with_flag(const std::string &name, const std::string &flag) {
    return "<" + name + "><flag>" + flag + "</flag></" + name + ">";
}

/* So many modules that the table doesn't know: m0, m1, ... with a flag each. */
std::string unknown_modules(int count) {
    std::string modules;
    for (int i = 0; i < count; ++i) {
        modules += with_flag("m" + std::to_string(i), "FRWK_FLAG_ADMIN");
    }
    return root(modules);
}

/* The same bytes of all values at every run. */
std::string binary_bytes(size_t size) {
    std::string bytes;
    uint32_t state = 1;
    while (bytes.size() < size) {
        state = state * 1664525u + 1013904223u;
        bytes += static_cast<char>(state >> 24);
    }
    return bytes;
}

class ModuleConfigFile : public DeviceFiles {
  protected:
    /* Starts the tool, which shows the table, with this file. */
    static std::unique_ptr<ModuleProcess> tool_with(const std::string &config) {
        write_config(config);
        return std::make_unique<ModuleProcess>(kTool);
    }

    /* With a file that holds nothing usable, the module starts with the built-in table. */
    static void expect_built_in_table(const std::string &config) {
        const auto tool = tool_with(config);
        EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool->ask("row 5"));
        EXPECT_EQ("start_third_app sdk 0x0102 0 9 null", tool->ask("row 39"));
    }

    /* The file is read before the module's own log is open, so its complaints reach the system log. */
    SystemLog log_;
};

TEST_F(ModuleConfigFile, WithoutAFileTheTableIsTheBuiltInOne) {
    ModuleProcess tool(kTool);
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool.ask("row 5"));
    EXPECT_EQ(0u, log_.count("ASSERT")) << log_.text();
}

TEST_F(ModuleConfigFile, EveryElementIsApplied) {
    const auto tool =
        tool_with(root("<wlan>"
                       "<alias>Wi-Fi</alias>"
                       "<flag>FRWK_FLAG_DAEMON | FRWK_FLAG_RUN, FRWK_FLAG_PSEUDO</flag>"
                       "<delay>250</delay>"
                       "<facility>os_log_local3</facility>"
                       "<cmd>-v -x</cmd>"
                       "</wlan>"));
    EXPECT_EQ("wlan Wi-Fi 0x0205 250 10 -v -x", tool->ask("row 5"));
}

TEST_F(ModuleConfigFile, AbsentAndEmptyElementsLeaveTheFieldAlone) {
    const auto tool = tool_with(root("<lcd><alias></alias><flag/><delay>5</delay></lcd>"));
    EXPECT_EQ("lcd LCD 0x00c2 5 14 -platform linuxfb", tool->ask("row 20"));
}

TEST_F(ModuleConfigFile, EveryModuleIsUpdatedInEveryProcess) {
    const auto tool = tool_with(root(with_flag("router", "FRWK_FLAG_ADMIN") + with_flag("sms", "none")));
    EXPECT_EQ("router ROUTER 0x0020 0 14 null", tool->ask("row 3"));
    EXPECT_EQ("sms SMS 0x0000 0 14 null", tool->ask("row 11"));
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool->ask("row 5"));
}

TEST_F(ModuleConfigFile, CommentsAndTextBetweenModulesAreNoModules) {
    const auto tool = tool_with(
        "<?xml version=\"1.0\"?><!-- c -->\n"
        "<modules>\n text <!-- <ble/> -->\n<wlan><delay>7</delay></wlan>\n</modules>\n");
    EXPECT_EQ("wlan WLAN 0x1222 7 14 null", tool->ask("row 5"));
    EXPECT_EQ("start_third_app sdk 0x0102 0 9 null", tool->ask("row 39"));
}

TEST_F(ModuleConfigFile, AnUnknownModuleTakesSlot39WithItsFlags) {
    const auto tool = tool_with(root(with_flag("camera", "FRWK_FLAG_ADMIN FRWK_FLAG_RUN")));
    EXPECT_EQ("camera sdk 0x0024 0 9 null", tool->ask("row 39"));
    EXPECT_EQ("id=39", tool->ask("id camera"));
    EXPECT_EQ("id=0", tool->ask("id start_third_app"));
}

TEST_F(ModuleConfigFile, AModuleThatOnlyTheFileKnowsTalksToTheOthers) {
    write_config(root(with_flag("camera", "FRWK_FLAG_DAEMON")));
    ModuleProcess camera(39);
    ModuleProcess wlan(5);
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", wlan.ask("sync 39 40000 3 2 text:ok"));
    EXPECT_EQ("ret=0 result=0 rsp=6f6b", camera.ask("sync 5 40000 3 2 text:ok"));
    EXPECT_EQ(std::to_string(camera.pid()), file_text("/tmp/m_tmp/lock/camera"));
}

TEST_F(ModuleConfigFile, EightUnknownModulesTakeTheEightSlots) {
    const auto tool = tool_with(unknown_modules(8));
    EXPECT_EQ("m0 sdk 0x0020 0 9 null", tool->ask("row 39"));
    EXPECT_EQ("m1 null 0x0020 0 0 null", tool->ask("row 40"));
    EXPECT_EQ("m7 null 0x0020 0 0 null", tool->ask("row 46"));
    EXPECT_EQ("at_cmd_task AT_CMD_TASK 0x0000 0 0 null", tool->ask("row 47"));
    EXPECT_EQ(0u, log_.count("ASSERT((8) > i)"));
}

TEST_F(ModuleConfigFile, ANinthUnknownModuleIsAssertedAndTakesSlot47) {
    const auto tool = tool_with(unknown_modules(9));
    EXPECT_EQ("m8 AT_CMD_TASK 0x0020 0 0 null", tool->ask("row 47"));
    EXPECT_EQ("id=47", tool->ask("id m8"));
    EXPECT_EQ(1u, log_.count("ASSERT((8) > i)")) << log_.text();
}

TEST_F(ModuleConfigFile, SixteenUnknownModulesStopAtTheLastRow) {
    const auto tool = tool_with(unknown_modules(16));
    EXPECT_EQ("m14 null 0x0020 0 0 null", tool->ask("row 53"));
    EXPECT_EQ("m13 LOGTOOL 0x0020 0 0 null", tool->ask("row 52"));
    EXPECT_EQ("id=0", tool->ask("id m15"));
    EXPECT_EQ("id=0", tool->ask("id m14"));
    EXPECT_NE(0u, log_.count("ASSERT((8) > i)")) << log_.text();
}

TEST_F(ModuleConfigFile, AThousandUnknownModulesStopAtTheLastRow) {
    const auto tool = tool_with(unknown_modules(1000));
    EXPECT_EQ("m14 null 0x0020 0 0 null", tool->ask("row 53"));
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool->ask("row 5"));
}

TEST_F(ModuleConfigFile, AnEmptyFileIsAssertedAndLeavesTheTable) {
    expect_built_in_table("");
    EXPECT_EQ(1u, log_.count("ASSERT(((void *)0) != node)")) << log_.text();
}

TEST_F(ModuleConfigFile, ABinaryFileIsAssertedAndLeavesTheTable) {
    for (const char *beginning : {"", "<", "<?xml version=\"1.0\"?>\n",
                                  "\x7f"
                                  "ELF"}) {
        log_.clear();
        expect_built_in_table(beginning + binary_bytes(100000));
        EXPECT_EQ(1u, log_.count("ASSERT(((void *)0) != node)")) << log_.text();
    }
}

TEST_F(ModuleConfigFile, BinaryBytesInsideTheRootAreNoHarm) {
    expect_built_in_table("<modules>" + binary_bytes(100000));
    expect_built_in_table(root("<wlan><alias>" + binary_bytes(1000)));
}

TEST_F(ModuleConfigFile, AFileThatIsCutOffIsAssertedAndLeavesTheTable) {
    const std::string whole = root(with_flag("wlan", "FRWK_FLAG_DAEMON"));
    const auto tool = tool_with(whole.substr(0, whole.size() - 5));
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool->ask("row 5"));
    EXPECT_EQ(1u, log_.count("ASSERT(((void *)0) != doc)")) << log_.text();
}

TEST_F(ModuleConfigFile, AFileWithoutARootIsAssertedAndLeavesTheTable) {
    const auto tool = tool_with("<?xml version=\"1.0\"?><!-- nothing else -->");
    EXPECT_EQ("wlan WLAN 0x1222 0 14 null", tool->ask("row 5"));
    EXPECT_EQ(1u, log_.count("ASSERT(((void *)0) != node)")) << log_.text();
}

TEST_F(ModuleConfigFile, ARootWithoutModulesLeavesTheTable) {
    expect_built_in_table("<modules/>");
}

TEST_F(ModuleConfigFile, AHundredThousandLevelsAreNoHarm) {
    constexpr int kLevels = 100000;
    std::string deep;
    for (int i = 0; i < kLevels; ++i) {
        deep += "<a>";
    }
    std::string end;
    for (int i = 0; i < kLevels; ++i) {
        end += "</a>";
    }
    const auto whole = tool_with(deep + end);
    EXPECT_EQ("a sdk 0x0102 0 9 null", whole->ask("row 39"));
    expect_built_in_table(deep);
}

TEST_F(ModuleConfigFile, AFlagWordOfTenMegabytesIsSearchedToItsEnd) {
    const std::string padding(kTenMegabytes, 'x');
    const auto tool = tool_with(root(with_flag("wlan", padding + "FRWK_FLAG_ADMIN")));
    EXPECT_EQ("wlan WLAN 0x0020 0 14 null", tool->ask("row 5"));
}

TEST_F(ModuleConfigFile, AnAliasOfTenMegabytesIsKept) {
    const auto tool = tool_with(root("<wlan><alias>" + std::string(kTenMegabytes, 'x') + "</alias></wlan>"));
    EXPECT_EQ("id=5", tool->ask("id wlan"));
    EXPECT_EQ("wlan x", tool->ask("row 5").substr(0, 6));
}

TEST_F(ModuleConfigFile, ADelayIsHonouredAtTheEndOfTheStart) {
    write_config(root("<tool2/><wlan><delay>400</delay></wlan>"));
    const auto start = std::chrono::steady_clock::now();
    ModuleProcess wlan(5);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(400));
}

TEST_F(ModuleConfigFile, ADelayOutOfRangeIsTheNearestThatFits) {
    const auto tool =
        tool_with(root("<wlan><delay>99999999999999999999</delay></wlan>"
                       "<sms><delay> -17 ms</delay></sms>"
                       "<dbm><delay>soon</delay></dbm>"));
    EXPECT_EQ("wlan WLAN 0x1222 2147483647 14 null", tool->ask("row 5"));
    EXPECT_EQ("sms SMS 0x0012 -17 14 null", tool->ask("row 11"));
    EXPECT_EQ("dbm DBM 0x0002 0 14 null", tool->ask("row 12"));
}

TEST_F(ModuleConfigFile, ExternalEntitiesAreNotExpanded) {
    const auto tool = tool_with(
        "<!DOCTYPE m [<!ENTITY passwd SYSTEM \"file:///etc/passwd\">]>"
        "<m><wlan><alias>&passwd;</alias></wlan></m>");
    EXPECT_EQ(std::string::npos, tool->ask("row 5").find("root:"));
}

TEST_F(ModuleConfigFile, AtfwdDaemonIsNotMonitoredUnlessTheFileSaysSo) {
    {
        ModuleProcess atfwd(21);
        EXPECT_EQ("atfwd_daemon ATFWD_DAEMON 0x2a20 0 4 null", atfwd.ask("row 21"));
        EXPECT_EQ("", file_text("/tmp/m_tmp/lock/atfwd_daemon"));
    }
    write_config(root(with_flag("atfwd_daemon", "FRWK_FLAG_MONITORED")));
    ModuleProcess atfwd(21);
    EXPECT_EQ("atfwd_daemon ATFWD_DAEMON 0x0002 0 4 null", atfwd.ask("row 21"));
    EXPECT_EQ(std::to_string(atfwd.pid()), file_text("/tmp/m_tmp/lock/atfwd_daemon"));
}

}  // namespace
