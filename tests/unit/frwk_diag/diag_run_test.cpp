/*
 * A diagnostic's run: its file, its text, and each way to fail.
 */
#include <climits>

#include "support/memory_usage.h"
#include "support/open_descriptors.h"
#include "unit/frwk_diag/diag_fixture.h"

namespace base = doubles::base;
namespace libc = doubles::libc;

namespace {

class DiagRun : public DiagTest {};

}  // namespace

TEST_F(DiagRun, InitMakesAnEmptyContext) {
    frwk_diag_ctx context;
    std::memset(&context, 0xaa, sizeof(context));
    EXPECT_EQ(1u, frwk_diag_init(&context));
    EXPECT_EQ(nullptr, context.fp);
    EXPECT_EQ(std::string(FRWK_DIAG_PATH_SIZE, '\0'), std::string(context.path, sizeof(context.path)));
    EXPECT_EQ(nullptr, context.buf.data);
    EXPECT_EQ(0u, context.buf.length);
    EXPECT_EQ(0u, context.buf.capacity);
}

TEST_F(DiagRun, InitRefusesNull) {
    EXPECT_EQ(0u, frwk_diag_init(nullptr));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_diag_init", "invalid parameter!"));
}

TEST_F(DiagRun, InitReportsThatNoBufferCanBeHad) {
    base::zn_bf_init.stand_in([](zn_bf_t *, uint32_t size) { return size == 0 ? 0 : 1; });
    frwk_diag_ctx context;
    EXPECT_EQ(0u, frwk_diag_init(&context));
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_diag_init", "init buffer failed!"));
}

TEST_F(DiagRun, GivesTheToolsOutputAsAText) {
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("the tool's own words\n", context_.buf.data);
    EXPECT_EQ(output_.size(), context_.buf.length);
    EXPECT_EQ("", log_.text());
}

TEST_F(DiagRun, PingWithCountDeadlineAndInterface) {
    frwk_diag_req req = ping_of("8.8.8.8", "rmnet0");
    req.ping.count = 4;
    req.ping.deadline = 10;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_diag_exec(FRWK_DIAG_TYPE_PING, &req, &context_));
    EXPECT_EQ("ping -W 1 -c 4 -w 10 -I rmnet0 8.8.8.8 > /tmp/m_tmp/ping_12345_678.txt 2>&1", command_);
    EXPECT_STREQ(kPingFile, context_.path);
}

TEST_F(DiagRun, IperfOverUdpWithNothingElse) {
    frwk_diag_req req = iperf_of("10.0.0.9");
    req.iperf.udp = 1;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_diag_exec(FRWK_DIAG_TYPE_IPERF, &req, &context_));
    EXPECT_EQ("iperf3 -u -c 10.0.0.9 > /tmp/m_tmp/iperf_12345_678.txt 2>&1", command_);
}

TEST_F(DiagRun, EachTypeHasAFileOfItsOwn) {
    const frwk_diag_req traceroute = traceroute_of("a");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_diag_exec(FRWK_DIAG_TYPE_TRACEROUTE, &traceroute, &context_));
    EXPECT_EQ("traceroute -n a > /tmp/m_tmp/traceroute_12345_678.txt 2>&1", command_);
    frwk_diag_free(&context_);

    const frwk_diag_req nslookup = nslookup_of("a", "b");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_diag_exec(FRWK_DIAG_TYPE_NSLOOKUP, &nslookup, &context_));
    EXPECT_EQ("nslookup a b > /tmp/m_tmp/nslookup_12345_678.txt 2>&1", command_);
}

TEST_F(DiagRun, TheLongestUptimeFitsThePath) {
    base::os_uptime.stand_in([](long *seconds, long *nanoseconds) { *seconds = *nanoseconds = LONG_MIN; });
    const frwk_diag_req req = traceroute_of("a");
    EXPECT_EQ(E_APPS_ERR_SUCCESS, frwk_diag_exec(FRWK_DIAG_TYPE_TRACEROUTE, &req, &context_));
    const std::string number = std::to_string(LONG_MIN);
    EXPECT_EQ("/tmp/m_tmp/traceroute_" + number + "_" + number + ".txt", std::string(context_.path));
}

TEST_F(DiagRun, TheToolsOwnStatusDoesNotMatter) {
    tool_status_ = 1 << 8;
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_EQ("", log_.text());
}

TEST_F(DiagRun, AnEmptyOutputIsAnEmptyText) {
    output_ = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("", context_.buf.data);
    EXPECT_EQ(0u, context_.buf.length);
}

/* It need not take a block for a size that it has already. */
TEST_F(DiagRun, AnEmptyOutputHasItsNulWhateverTheBufferDoesForNoBytes) {
    base::zn_bf_grow.stand_in(
        [](zn_bf_t *buf, uint32_t size) { return size == 0 ? 1 : base::zn_bf_grow.real(buf, size); });
    output_ = "";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("", context_.buf.data);
}

TEST_F(DiagRun, NulBytesAreKept) {
    output_ = std::string("a\0b\0", 4);
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_EQ(4u, context_.buf.length);
    EXPECT_EQ(std::string("a\0b\0\0", 5), std::string(context_.buf.data, 5));
}

TEST_F(DiagRun, RefusesNull) {
    const frwk_diag_req req = ping_of("a");
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_diag_exec(FRWK_DIAG_TYPE_PING, nullptr, &context_));
    EXPECT_EQ(E_APPS_ERR_PARAM, frwk_diag_exec(FRWK_DIAG_TYPE_PING, &req, nullptr));
    EXPECT_EQ(2u, log_.count("Parameter is null!")) << log_.text();
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(DiagRun, AnotherTypeIsRefusedAndMakesNoFile) {
    const frwk_diag_req req = ping_of("a");
    for (const int32_t type : {4, -1, INT_MAX, INT_MIN}) {
        EXPECT_EQ(E_APPS_ERR_PARAM, frwk_diag_exec(type, &req, &context_));
        EXPECT_TRUE(logged_once(log_, kWarningLevel, "frwk_diag_exec",
                                "invalid diag type=" + std::to_string(type) + "!"));
    }
    EXPECT_STREQ("", context_.path);
    EXPECT_EQ(nullptr, context_.fp);
    EXPECT_EQ(0u, base::os_system.calls());
}

TEST_F(DiagRun, ARefusedTargetRunsNothingAndMakesNoFile) {
    for (const char *target : {"a b", "a;b", "-f"}) {
        EXPECT_EQ(E_APPS_ERR_PARAM, ping(target));
    }
    EXPECT_EQ(3u, log_.count("encode ping failed!")) << log_.text();
    EXPECT_EQ(0u, base::os_system.calls());
    EXPECT_FALSE(exists(kPingFile));
    EXPECT_EQ(nullptr, context_.fp);
}

TEST_F(DiagRun, OneByteIsAnOutput) {
    output_ = "x";
    EXPECT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("x", context_.buf.data);
}

TEST_F(DiagRun, ABufferThatCanNotGrowIsReported) {
    base::zn_bf_grow.stand_in([this](zn_bf_t *, uint32_t size) {
        EXPECT_EQ(output_.size(), size);
        return 0;
    });
    EXPECT_EQ(E_APPS_ERR_MALLOC, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "grow buffer failed!"));
    EXPECT_TRUE(exists(kPingFile));
}

TEST_F(DiagRun, AnOutputAboveOneBlockIsRefused) {
    base::os_system.stand_in([](const char *) {
        write_file(kPingFile, "");
        return truncate(kPingFile, OS_MEM_BLOCK_MAX);
    });
    EXPECT_EQ(E_APPS_ERR_MALLOC, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "grow buffer failed!"));
}

TEST_F(DiagRun, AnOutputAboveFourGigabytesIsNotTakenForASmallOne) {
    base::os_system.stand_in([](const char *) {
        write_file(kPingFile, "");
        return truncate(kPingFile, (off_t{1} << 32) + 10);
    });
    EXPECT_EQ(E_APPS_ERR_MALLOC, ping());
    EXPECT_TRUE(logged_once(log_, kWarningLevel, "grow buffer failed!"));
}

TEST_F(DiagRun, AShortReadIsReported) {
    libc::fread.stand_in([](void *, size_t, size_t, FILE *) {
        errno = EIO;
        return size_t{3};
    });
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    libc::fread.restore();
    EXPECT_TRUE(logged_once(log_, kWarningLevel, with_errno("read nslookup log file error", EIO)));
    EXPECT_EQ(0u, context_.buf.length);
}

TEST_F(DiagRun, TheFileStaysUntilTheContextIsFreed) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_NE(nullptr, context_.fp);
    EXPECT_EQ(output_, read_file(kPingFile));

    frwk_diag_free(&context_);
    EXPECT_FALSE(exists(kPingFile));
    EXPECT_EQ(nullptr, context_.fp);
    EXPECT_EQ(std::string(FRWK_DIAG_PATH_SIZE, '\0'), std::string(context_.path, sizeof(context_.path)));
    EXPECT_EQ(nullptr, context_.buf.data);
}

TEST_F(DiagRun, NoDescriptorAndNoMemoryStaysBehind) {
    const size_t descriptors = open_descriptors();
    const uint32_t blocks = live_blocks();
    for (const char *target : {"a", "a;b", "b"}) {
        ping(target);
        frwk_diag_free(&context_);
    }
    EXPECT_EQ(descriptors, open_descriptors());
    EXPECT_EQ(blocks, live_blocks());
}

TEST_F(DiagRun, FreeTakesAnythingThatWasInitialised) {
    frwk_diag_free(&context_);
    frwk_diag_free(&context_);
    frwk_diag_free(nullptr);

    prints_ = false;
    EXPECT_EQ(E_APPS_ERR_IO, ping());
    frwk_diag_free(&context_);
    EXPECT_STREQ("", context_.path);
}

TEST_F(DiagRun, ASecondRunWithoutFreeLeavesTheFirstFileOpenAndOnDisk) {
    ASSERT_EQ(E_APPS_ERR_SUCCESS, ping());
    FILE *first = context_.fp;
    base::os_uptime.stand_in([](long *seconds, long *nanoseconds) {
        *seconds = 12346;
        *nanoseconds = 1;
    });
    output_ = "a longer second output, which needs a larger buffer\n";
    ASSERT_EQ(E_APPS_ERR_SUCCESS, ping());
    EXPECT_STREQ("/tmp/m_tmp/ping_12346_1.txt", context_.path);
    EXPECT_STREQ(output_.c_str(), context_.buf.data);

    frwk_diag_free(&context_);
    EXPECT_FALSE(exists("/tmp/m_tmp/ping_12346_1.txt"));
    EXPECT_TRUE(exists(kPingFile));
    EXPECT_EQ('t', (rewind(first), fgetc(first)));
    EXPECT_EQ(0, fclose(first));
    remove_node(kPingFile);
}
