/*
 * A partition's line of df: the command that looks for it, and the number in a column. Outputs of several
 * versions have tests of their own.
 */
#include <string>

#include "frwk_common.h"
#include "unit/frwk_common/probes/tool_fixture.h"

namespace {

constexpr int32_t kUntouched = 7777;
constexpr char kCall[] = "frwk_get_partion_info";

class PartitionInfo : public ToolTest {
  protected:
    int32_t ask(const std::string &name, int32_t column = 5) {
        number_ = kUntouched;
        return frwk_get_partion_info(name.c_str(), column, &number_);
    }

    /* The number in the first column of an output. */
    int32_t number_of(const std::string &output) {
        tool_prints(output);
        EXPECT_EQ(0, ask("m_data", 1));
        return number_;
    }

    void expect_missing(const std::string &name) {
        log_.clear();
        EXPECT_EQ(-1, ask(name)) << name;
        EXPECT_EQ(kUntouched, number_) << name;
        EXPECT_TRUE(logged_once(log_, kWarningLevel, kCall, "fgets partion info failed.")) << name;
    }

    /* The command line of df and the tools after it. */
    std::string command_of(const std::string &name, int32_t column = 5) {
        commands_.clear();
        no_tool_starts();
        EXPECT_EQ(-1, ask(name, column));
        return commands_.empty() ? "(none)" : commands_.front();
    }

    static std::string command_with(const std::string &pattern) {
        return "df |grep " + pattern + " | grep -v grep |awk '{print $5}'";
    }

    int32_t number_ = kUntouched;
};

}  // namespace

/* ---- The number ------------------------------------------------------------------------------------ */

TEST_F(PartitionInfo, AUseOf45PerCentIs45) {
    EXPECT_EQ(45, number_of("45% m_data\n"));
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kCall, "buffer [45%]."));
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kCall, "avail space percentage [45].\n"));
}

TEST_F(PartitionInfo, AColumnWithoutAPerCentSignLosesItsLastDigit) {
    EXPECT_EQ(91367, number_of("913678 m_data\n"));
    EXPECT_EQ(0, number_of("7 m_data\n"));
}

TEST_F(PartitionInfo, ALineEndIsDroppedBeforeTheLastCharacter) {
    EXPECT_EQ(45, number_of("45% m_data"));
    tool_prints("m_data 45%\r\n");
    EXPECT_EQ(0, ask("m_data", 2));
    EXPECT_EQ(45, number_);
}

TEST_F(PartitionInfo, ALineThatBeginsWithANulIs0) {
    doubles::base::os_popen.stand_in(
        [](const char *, const char *mode) { return doubles::base::os_popen.real("printf '\\0'", mode); });
    EXPECT_EQ(0, ask("m_data", 5));
    EXPECT_EQ(0, number_);
}

TEST_F(PartitionInfo, AColumnThatIsNotThereIs0) {
    tool_prints("m_data\n");
    EXPECT_EQ(0, ask("m_data", 5));
    EXPECT_EQ(0, number_);
    EXPECT_TRUE(logged_once(log_, kDebugLevel, kCall, "buffer []."));
}

TEST_F(PartitionInfo, AColumnThatIsNoNumberIs0) {
    EXPECT_EQ(0, number_of("-% m_data\n"));
    EXPECT_EQ(0, number_of("m_data\n"));
}

TEST_F(PartitionInfo, ANumberBeyond32BitsIsTheNearestThatFits) {
    EXPECT_EQ(INT32_MAX, number_of("99999999999% m_data\n"));
}

TEST_F(PartitionInfo, ALongColumnIsCut) {
    EXPECT_EQ(1, number_of(std::string(125, '0') + "123% m_data\n"));
}

TEST_F(PartitionInfo, TheFirstLineCounts) {
    EXPECT_EQ(1, number_of("1% m_data\n2% m_data\n"));
}

/* ---- No number ------------------------------------------------------------------------------------- */

TEST_F(PartitionInfo, AMissingPartitionIsAFailure) {
    tool_prints("Filesystem 1K-blocks Used Available Use% Mounted on\n/dev/root 10 5 5 50% /\n");
    expect_missing("m_data");
}

TEST_F(PartitionInfo, NoOutputAtAllIsAFailure) {
    tool_prints("");
    expect_missing("m_data");
}

TEST_F(PartitionInfo, ALineOfGrepItselfDoesNotCount) {
    tool_prints("grep m_data 1 2 3% x\n");
    expect_missing("m_data");
}

TEST_F(PartitionInfo, ANameThatCanNotBePartOfOneLineIsAFailure) {
    tool_prints("Filesystem 1K-blocks Used Available Use% Mounted on\n/dev/root 10 5 5 50% /\n");
    expect_missing("");
    expect_missing("\n");
    expect_missing("root\n");
    expect_missing("x\nroot");
    EXPECT_TRUE(commands_.empty());
}

TEST_F(PartitionInfo, ANullArgumentIsAFailure) {
    EXPECT_EQ(-1, frwk_get_partion_info(nullptr, 5, &number_));
    EXPECT_EQ(-1, frwk_get_partion_info("m_data", 5, nullptr));
    EXPECT_EQ(kUntouched, number_);
    EXPECT_EQ(2u, count_lines(log_.system_lines(), kWarningLevel, "partion or data null.\n"));
    EXPECT_EQ(0u, doubles::base::os_popen.calls());
}

TEST_F(PartitionInfo, ACommandThatCanNotBeStartedIsAFailure) {
    no_tool_starts();
    EXPECT_EQ(-1, ask("m_data"));
    EXPECT_EQ(kUntouched, number_);
    EXPECT_TRUE(
        logged_once(log_, kWarningLevel, kCall, "popen command " + command_with("m_data") + " error."));
}

/* ---- The command ----------------------------------------------------------------------------------- */

TEST_F(PartitionInfo, ThePartitionAndTheColumnStandInTheCommand) {
    EXPECT_EQ(command_with("m_data"), command_of("m_data"));
    EXPECT_EQ(command_with("/dev/mapper/vg-root"), command_of("/dev/mapper/vg-root"));
    EXPECT_EQ("df |grep m_data | grep -v grep |awk '{print $-2147483648}'", command_of("m_data", INT32_MIN));
    EXPECT_EQ(1u, log_.count("command [" + command_with("m_data") + "].")) << log_.text();
}

TEST_F(PartitionInfo, ANameThatIsNoWordIsQuoted) {
    EXPECT_EQ(command_with("'m data'"), command_of("m data"));
    EXPECT_EQ(command_with("'m_data;reboot'"), command_of("m_data;reboot"));
    EXPECT_EQ(command_with("'$(reboot)`reboot`'"), command_of("$(reboot)`reboot`"));
    EXPECT_EQ(command_with("'it'\\''s'"), command_of("it's"));
}

TEST_F(PartitionInfo, ANameThatBeginsWithAHyphenIsNoOption) {
    EXPECT_EQ(command_with("-e -v"), command_of("-v"));
    EXPECT_EQ(command_with("-e '-f /etc/passwd'"), command_of("-f /etc/passwd"));
    tool_prints("-v 1 2 3 42% /\nother 1 2 3 50% /\n");
    EXPECT_EQ(0, ask("-v"));
    EXPECT_EQ(42, number_);
}

TEST_F(PartitionInfo, NoNameBecomesACommand) {
    const char *marker = "/tmp/m_tmp/marker";
    tool_prints("/dev/root 10 5 5 50% /\n");
    for (const char *name : {";touch ", "`touch ", "$(touch ", "|touch ", "&touch ", "x' ;touch ",
                             "\" ;touch ", ">", "x\ntouch ", "\\' ;touch "}) {
        for (const char *end : {"", "`", ")", "'", "\"", " #"}) {
            expect_missing(std::string(name) + marker + end);
            ASSERT_FALSE(exists(marker)) << name;
        }
    }
}

TEST_F(PartitionInfo, ANameWithoutRoomRunsNothing) {
    tool_prints("x");
    const std::string longest(127 - command_with("").size(), 'x');
    EXPECT_EQ(-1, ask(longest));
    EXPECT_EQ(std::vector<std::string>{command_with(longest)}, commands_);

    for (const std::string &name : {longest + "x", std::string(5000, 'x'), std::string(40, '\'')}) {
        log_.clear();
        EXPECT_EQ(-1, ask(name));
        EXPECT_EQ(1u, log_.count("popen command ")) << log_.text();
    }
    EXPECT_EQ(1u, commands_.size());
    EXPECT_EQ(kUntouched, number_);
}
