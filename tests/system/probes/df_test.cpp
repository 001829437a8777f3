/*
 * A partition's use from the real df.
 */
#include <string>

#include "support/tool_record.h"
#include "system/probes/probe_process.h"

namespace {

/* Half of a partition of its own is in use. */
constexpr char kHalfFull[] =
    "mkdir -p /m_data/half && mount -t tmpfs -o size=1m half_full /m_data/half"
    " && head -c 524288 /dev/zero > /m_data/half/file";

class Df : public ProbeTest {
  protected:
    void expect_columns() {
        EXPECT_EQ("0 50", ask_after(kHalfFull, {"partition", "/m_data/half", "5"}));
        EXPECT_EQ("0 50", ask_after(kHalfFull, {"partition", "half_full", "5"}));
        EXPECT_EQ("0 102", ask_after(kHalfFull, {"partition", "half_full", "2"})) << "1024 less a digit";
        EXPECT_EQ("-1 7777", ask_after(kHalfFull, {"partition", "half_empty", "5"}));
        EXPECT_NE(std::string::npos, errors_.find("fgets partion info failed.")) << errors_;
    }
};

}  // namespace

TEST_F(Df, CoreutilsIsRead) {
    expect_columns();
    record_tool("partition", "df of coreutils", "df --version");
}

TEST_F(Df, BusyboxIsRead) {
    use_busybox("df");
    expect_columns();
    record_tool("partition", "df of busybox", kBusyboxVersion);
}

TEST_F(Df, AMissingDfIsAFailure) {
    tools_.put_script("df", "exit 127");
    EXPECT_EQ("-1 7777", ask({"partition", "/m_data", "5"}));
    tools_.hide_others();
    EXPECT_EQ("-1 7777", ask({"partition", "/m_data", "5"}));
}

TEST_F(Df, ANameWithBlanksAndQuotesIsFound) {
    tools_.put_script("df", "echo \"my 'disk' 1 2 3 42% /\"");
    EXPECT_EQ("0 42", ask({"partition", "my 'disk'", "6"}));
}

TEST_F(Df, ANameThatBeginsWithAHyphenIsFound) {
    tools_.put_script("df", "echo '--help 1 2 3 42% /'");
    EXPECT_EQ("0 42", ask({"partition", "--help", "5"}));
}
