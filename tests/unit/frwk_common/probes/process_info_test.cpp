/*
 * Names of processes, and the hardware id on the kernel's command line.
 */
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "doubles/libc_doubles.h"
#include "frwk_common.h"
#include "support/open_descriptors.h"
#include "unit/frwk_common/probes/tool_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

/* A buffer full of marks, to see what is written and what is not. */
struct Marked {
    char bytes[64];
    Marked() { std::memset(bytes, '#', sizeof(bytes)); }
    std::string text(size_t length) const { return {bytes, length}; }
    bool untouched_from(size_t index) const {
        return std::string(bytes + index, sizeof(bytes) - index) == std::string(sizeof(bytes) - index, '#');
    }
};

class HardwareId : public ToolTest {
  protected:
    /* From now on the kernel was started with this. */
    static void start_with(const std::string &command_line) {
        write_file(kStandIn, command_line);
        libc::fopen.stand_in([](const char *path, const char *mode) {
            EXPECT_STREQ("/proc/cmdline", path);
            return libc::fopen.real(kStandIn, mode);
        });
    }

    std::string id(uint32_t size = 64) {
        char buffer[64] = {};
        frwk_get_hardware_id(buffer, size);
        return buffer;
    }

    static constexpr char kStandIn[] = "/tmp/m_tmp/cmdline";
};

class ProcessName : public ToolTest {
  protected:
    static std::string own_name() {
        std::string name = read_file("/proc/self/comm");
        name.pop_back();
        return name;
    }
};

}  // namespace

/* ---- Hardware id ----------------------------------------------------------------------------------- */

TEST_F(HardwareId, EndsAtTheNextBlank) {
    start_with("console=ttyS0 hardware.id=QR-5G-02 quiet\n");
    EXPECT_EQ("QR-5G-02", id());
    EXPECT_TRUE(logged_once(log_, kDebugLevel, "frwk_get_hardware_id", "hardware id:QR-5G-02"));
}

TEST_F(HardwareId, AsTheLastEntryEndsAtTheLineEnd) {
    start_with("console=ttyS0 hardware.id=QR-5G-02\n");
    EXPECT_EQ("QR-5G-02", id());
}

TEST_F(HardwareId, AsTheLastEntryEndsAtTheEndOfTheText) {
    start_with("hardware.id=QR-5G-02");
    EXPECT_EQ("QR-5G-02", id());
    start_with(std::string("hardware.id=QR-5G") + '\0' + "-02");
    EXPECT_EQ("QR-5G", id());
}

TEST_F(HardwareId, IsCutToTheBufferWhoseLastByteIsTheCallers) {
    start_with("hardware.id=ABCDEFGH quiet\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, 4);
    EXPECT_EQ("ABC#", buffer.text(4));
    EXPECT_TRUE(buffer.untouched_from(3));
}

TEST_F(HardwareId, AnIdOneShorterThanTheBufferFillsItWithoutANul) {
    start_with("hardware.id=ABC quiet\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, 4);
    EXPECT_EQ("ABC#", buffer.text(4));
}

TEST_F(HardwareId, AShorterIdIsTerminated) {
    start_with("hardware.id=AB quiet\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, 4);
    EXPECT_EQ(std::string("AB\0#", 4), buffer.text(4));
    EXPECT_TRUE(buffer.untouched_from(3));
}

TEST_F(HardwareId, ABufferOfOneByteOrNoneIsLeftAlone) {
    start_with("hardware.id=AB quiet\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, 1);
    frwk_get_hardware_id(buffer.bytes, 0);
    EXPECT_TRUE(buffer.untouched_from(0));
}

TEST_F(HardwareId, AnEmptyIdIsTheEmptyText) {
    start_with("hardware.id= quiet\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, sizeof(buffer.bytes));
    EXPECT_STREQ("", buffer.bytes);
    EXPECT_TRUE(buffer.untouched_from(1));
}

TEST_F(HardwareId, TheFirstKeyCounts) {
    start_with("hardware.id=one hardware.id=two\n");
    EXPECT_EQ("one", id());
}

TEST_F(HardwareId, WithoutTheKeyTheBufferIsLeftAlone) {
    start_with("console=ttyS0 hardware_id=1 hardware.id\n");
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, sizeof(buffer.bytes));
    EXPECT_TRUE(buffer.untouched_from(0));
    EXPECT_EQ("", log_.text());
}

TEST_F(HardwareId, Only2048BytesAreRead) {
    start_with(std::string(2048 - 14, 'x') + "hardware.id=ABCDEF");
    EXPECT_EQ("AB", id());
    start_with(std::string(2048 - 11, 'x') + "hardware.id=ABCDEF");
    EXPECT_EQ("", id());
    start_with(std::string(100000, 'x'));
    EXPECT_EQ("", id());
}

TEST_F(HardwareId, ANullBufferIsLogged) {
    frwk_get_hardware_id(nullptr, 16);
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_hardware_id", "hardware_id is null"));
    EXPECT_EQ(0u, libc::fopen.calls());
}

TEST_F(HardwareId, WithoutACommandLineNothingIsRead) {
    base::os_file_exist.stand_in([](const char *path) {
        EXPECT_STREQ("/proc/cmdline", path);
        return 0;
    });
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, sizeof(buffer.bytes));
    EXPECT_TRUE(buffer.untouched_from(0));
    EXPECT_EQ(0u, libc::fopen.calls());
    EXPECT_EQ("", log_.text());
}

TEST_F(HardwareId, ACommandLineThatCanNotBeOpenedIsLogged) {
    libc::fopen.fail(EACCES);
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, sizeof(buffer.bytes));
    EXPECT_TRUE(buffer.untouched_from(0));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_hardware_id", "open nodepath failed!"));
}

TEST_F(HardwareId, ACommandLineThatCanNotBeReadIsLogged) {
    start_with("hardware.id=AB");
    libc::fread.stand_in([](void *, size_t, size_t, FILE *) { return size_t{0}; });
    Marked buffer;
    frwk_get_hardware_id(buffer.bytes, sizeof(buffer.bytes));
    EXPECT_TRUE(buffer.untouched_from(0));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_get_hardware_id", "read nodepath buf failed!"));
}

TEST_F(HardwareId, NoDescriptorStaysOpen) {
    start_with("hardware.id=AB");
    const size_t before = open_descriptors();
    id();
    EXPECT_EQ(before, open_descriptors());
}

/* ---- Names of processes ---------------------------------------------------------------------------- */

TEST_F(ProcessName, OfAPidIsReadFromItsCommFile) {
    char buffer[64] = "";
    EXPECT_EQ(buffer, frwk_get_process_name(getpid(), buffer, sizeof(buffer)));
    EXPECT_EQ(own_name(), buffer);
}

TEST_F(ProcessName, OfAPidOf0OrBelowIsTheCallersOwn) {
    for (const int32_t pid : {0, -1, INT32_MIN}) {
        char buffer[64] = "";
        EXPECT_EQ(buffer, frwk_get_process_name(pid, buffer, sizeof(buffer)));
        EXPECT_EQ(own_name(), buffer) << pid;
    }
}

TEST_F(ProcessName, RunsOneCommand) {
    no_tool_starts();
    char buffer[64] = "";
    frwk_get_process_name(INT32_MAX, buffer, sizeof(buffer));
    EXPECT_EQ(std::vector<std::string>{"cat /proc/2147483647/comm"}, commands_);
}

TEST_F(ProcessName, TheNameMayHoldBlanksAndLosesThoseAtItsEnd) {
    tool_prints("my tool \t\r\n");
    char buffer[64] = "";
    EXPECT_STREQ("my tool", frwk_get_process_name(1, buffer, sizeof(buffer)));
}

TEST_F(ProcessName, IsCutToTheBuffer) {
    tool_prints("monitor\n");
    Marked buffer;
    EXPECT_STREQ("mon", frwk_get_process_name(1, buffer.bytes, 4));
    EXPECT_TRUE(buffer.untouched_from(4));
}

TEST_F(ProcessName, ABufferOfOneByteHoldsTheNulAlone) {
    tool_prints("monitor\n");
    Marked buffer;
    EXPECT_STREQ("", frwk_get_process_name(1, buffer.bytes, 1));
    EXPECT_TRUE(buffer.untouched_from(1));
}

TEST_F(ProcessName, ABufferOfNoByteIsReturnedAsItIs) {
    tool_prints("monitor\n");
    Marked buffer;
    EXPECT_EQ(buffer.bytes, frwk_get_process_name(1, buffer.bytes, 0));
    EXPECT_TRUE(buffer.untouched_from(0));
}

TEST_F(ProcessName, WithoutABufferASharedOneOf64BytesIsUsed) {
    tool_prints(std::string(100, 'x') + "\n");
    const char *name = frwk_get_process_name(1, nullptr, 4);
    EXPECT_EQ(std::string(63, 'x'), name);
    tool_prints("zndb\n");
    EXPECT_EQ(name, frwk_get_process_name(2, nullptr, 0));
    EXPECT_STREQ("zndb", name);
}

TEST_F(ProcessName, AProcessThatIsGoneLeavesTheCallersBuffer) {
    tool_prints("");
    char buffer[16] = "before";
    EXPECT_EQ(buffer, frwk_get_process_name(1, buffer, sizeof(buffer)));
    EXPECT_STREQ("before", buffer);
}

TEST_F(ProcessName, AProcessThatIsGoneHasNotTheNameOfTheLastOne) {
    tool_prints("zndb\n");
    EXPECT_STREQ("zndb", frwk_get_process_name(1, nullptr, 0));
    tool_prints("");
    EXPECT_STREQ("", frwk_get_process_name(2, nullptr, 0));
}

TEST_F(ProcessName, ACommandThatCanNotBeStartedGivesNull) {
    no_tool_starts();
    char buffer[16] = "before";
    EXPECT_EQ(nullptr, frwk_get_process_name(1, buffer, sizeof(buffer)));
    EXPECT_STREQ("before", buffer);
    EXPECT_EQ(nullptr, frwk_get_process_name(1, nullptr, 0));
    EXPECT_EQ(2u, log_.count("popen command cat /proc/1/comm error.")) << log_.text();
}
