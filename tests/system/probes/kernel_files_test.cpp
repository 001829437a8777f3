/*
 * Compares the probes with the kernel's files.
 */
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/tool_record.h"
#include "support/wait_until.h"
#include "system/probes/probe_process.h"

namespace {

class KernelFiles : public ProbeTest {
  protected:
    /* The record's members in order, after the uptime that the call returned. */
    enum {
        kReturned,
        kUptime,
        kTotalRam,
        kFreeRam,
        kSharedRam,
        kBufferRam,
        kTotalSwap,
        kFreeSwap,
        kUsedRam,
        kMemUnit,
        kProcs,
        kMembers
    };

    /* The name of the test's process. */
    static std::string own_name() {
        std::string name;
        std::getline(std::ifstream("/proc/self/comm"), name);
        return name;
    }

    static uint32_t low_bytes(const std::string &name) {
        std::ifstream file("/proc/meminfo");
        std::string word;
        unsigned long long kilobytes = 0;
        while (file >> word) {
            if (word == name + ":") {
                file >> kilobytes;
            }
        }
        return static_cast<uint32_t>(kilobytes * 1024);
    }
};

}  // namespace

TEST_F(KernelFiles, MemoryIsThatOfMeminfo) {
    const std::vector<long long> info = numbers_of(ask({"sysinfo"}));
    ASSERT_EQ(size_t{kMembers}, info.size());
    EXPECT_EQ(low_bytes("MemTotal"), info[kTotalRam]);
    EXPECT_EQ(low_bytes("SwapTotal"), info[kTotalSwap]);
    EXPECT_EQ(static_cast<uint32_t>(info[kTotalRam] - info[kFreeRam]), info[kUsedRam]);
    EXPECT_GE(info[kMemUnit], 1);
    EXPECT_GE(info[kProcs], 1);
}

TEST_F(KernelFiles, UptimeIsThatOfTheKernel) {
    double before = 0;
    double after = 0;
    std::ifstream("/proc/uptime") >> before;
    const std::vector<long long> info = numbers_of(ask({"sysinfo"}));
    std::ifstream("/proc/uptime") >> after;
    ASSERT_EQ(size_t{kMembers}, info.size());
    EXPECT_EQ(info[kReturned], info[kUptime]);
    EXPECT_GE(static_cast<double>(info[kUptime]) + 1, before);
    EXPECT_LE(static_cast<double>(info[kUptime]), after + 1);
}

TEST_F(KernelFiles, AnotherProcessHasItsName) {
    ChildProcess sleeper({"sleep", "600"});
    const std::string pid = std::to_string(sleeper.pid());
    ASSERT_TRUE(wait_until([&] { return file_text("/proc/" + pid + "/comm") == "sleep\n"; }));
    EXPECT_EQ("sleep", ask({"process-name", pid}));
    record_tool("process name", "cat of coreutils", "cat --version");
}

TEST_F(KernelFiles, AnotherProcessHasItsNameByBusybox) {
    use_busybox("cat");
    EXPECT_EQ(own_name(), ask({"process-name", std::to_string(getpid())}));
    record_tool("process name", "cat of busybox", kBusyboxVersion);
}

TEST_F(KernelFiles, TheModuleHasItsOwnName) {
    EXPECT_EQ("probe-module", ask({"process-name", "0"}));
    EXPECT_EQ("probe-module", ask({"process-name", "-1"}));
}

TEST_F(KernelFiles, AProcessThatIsNotThereHasNoName) {
    EXPECT_EQ("", ask({"process-name", "2147483647"}));
}

TEST_F(KernelFiles, TheHardwareIdIsThatOfTheKernelsCommandLine) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/cmdline", "console=ttyS0 hardware.id=QR-5G-02 quiet\n"));
    EXPECT_EQ("QR-5G-02", ask_after("mount --bind /tmp/m_tmp/cmdline /proc/cmdline", {"hardware-id"}));
    ASSERT_TRUE(write_text("/tmp/m_tmp/cmdline", "console=ttyS0 hardware.id=QR-5G-03\n"));
    EXPECT_EQ("QR-5G-03", ask_after("mount --bind /tmp/m_tmp/cmdline /proc/cmdline", {"hardware-id"}));
}

TEST_F(KernelFiles, AnEmptyCommandLineHasNoHardwareId) {
    ASSERT_TRUE(write_text("/tmp/m_tmp/cmdline", ""));
    EXPECT_EQ("", ask_after("mount --bind /tmp/m_tmp/cmdline /proc/cmdline", {"hardware-id"}));
    EXPECT_NE(std::string::npos, errors_.find("read nodepath buf failed!")) << errors_;
}
