/*
 * Diagnostics with the real tools, with a second host in another network namespace.
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/tool_folder.h"
#include "support/tool_record.h"
#include "support/wait_until.h"
#include "system/diag/diagnosis.h"
#include "unit/frwk_diag/diag_requests.h"

namespace {

constexpr char kFarHost[] = "10.11.0.2";
constexpr char kSilentHost[] = "10.12.0.1";

/* One of the programs that go by a tool's name. */
struct Tool {
    const char *name;            /* as in a test's name */
    const char *program;         /* the program with the tool's name */
    const char *version_command; /* its first line contains the version */
    const char *description;     /* for the table of what was tried */
};

void PrintTo(const Tool &tool, std::ostream *out) {
    *out << tool.description;
}

std::string name_of(const testing::TestParamInfo<Tool> &tool) {
    return tool.param.name;
}

const char kBusybox[] = "/usr/bin/busybox";
const char kBusyboxVersion[] = "busybox | sed 's, multi-call binary.,,'";

/* A test in which a tool's name runs one of its programs. */
class ToolTest : public testing::TestWithParam<Tool> {
  protected:
    explicit ToolTest(const char *tool) : tool_(tool) { tools_.put_link(tool, GetParam().program); }

    std::string run(int32_t type, const frwk_diag_req &req) const {
        const Diagnosis diagnosis(type, req);
        EXPECT_EQ(E_APPS_ERR_SUCCESS, diagnosis.result());
        return diagnosis.text();
    }
    void record() const { record_tool(tool_, GetParam().description, GetParam().version_command); }

  private:
    const char *tool_;
    const ToolFolder tools_;
};

testing::AssertionResult has(const std::string &text, const std::string &part) {
    if (text.find(part) != std::string::npos) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "no \"" << part << "\" in:\n" << text;
}

/* A program on the far host, ended with the scope. */
std::unique_ptr<ChildProcess> start_there(std::vector<std::string> command) {
    const std::vector<std::string> prefix = {"nsenter", "-t", getenv("FAR_HOST"), "-n"};
    command.insert(command.begin(), prefix.begin(), prefix.end());
    return std::make_unique<ChildProcess>(command);
}

class PingTool : public ToolTest {
  protected:
    PingTool() : ToolTest("ping") {}
};

class TracerouteTool : public ToolTest {
  protected:
    TracerouteTool() : ToolTest("traceroute") {}
};

/* The far host is a name server that knows one name. */
class NslookupTool : public ToolTest {
  protected:
    NslookupTool() : ToolTest("nslookup") {
        server_ =
            start_there({"dnsmasq", "--no-daemon", "--conf-file=/dev/null", "--pid-file=", "--no-resolv",
                         "--no-hosts", "--address=/router.example/10.11.0.9", "--address=/missing.example/"});
        EXPECT_TRUE(server_->wait_for_error("started, version")) << server_->errors();
    }

  private:
    std::unique_ptr<ChildProcess> server_;
};

class IperfTool : public ToolTest {
  protected:
    IperfTool() : ToolTest("iperf3") {}

    static std::unique_ptr<ChildProcess> serve_there(const std::string &port) {
        auto server = start_there({"iperf3", "--server", "--forceflush", "--port", port});
        std::optional<std::string> line = server->read_line();
        while (line && line->find("Server listening on " + port) == std::string::npos) {
            line = server->read_line();
        }
        EXPECT_TRUE(line) << server->errors();
        return server;
    }
};

}  // namespace

TEST_P(PingTool, ReachesTheFarHostWithEveryOption) {
    frwk_diag_req req = ping_of(kFarHost, "rmnet0");
    req.ping.count = 2;
    req.ping.size = 100;
    req.ping.deadline = 10;
    const std::string text = run(FRWK_DIAG_TYPE_PING, req);
    EXPECT_TRUE(has(text, "108 bytes from 10.11.0.2"));
    EXPECT_TRUE(has(text, "2 packets transmitted, 2 "));
    EXPECT_TRUE(has(text, " 0% packet loss"));
    record();
}

TEST_P(PingTool, ReachesLoopback) {
    frwk_diag_req req = ping_of("127.0.0.1");
    req.ping.count = 1;
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_PING, req), "64 bytes from 127.0.0.1"));
}

TEST_P(PingTool, ReachesTheFarHostOverIpv6) {
    frwk_diag_req req = ping_of("fd11::2");
    req.ping.count = 1;
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_PING, req), "bytes from fd11::2"));
}

TEST_P(PingTool, TellsThatNobodyAnswers) {
    frwk_diag_req req = ping_of(kSilentHost);
    req.ping.count = 1;
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_PING, req), "100% packet loss"));
}

TEST_P(PingTool, TellsThatThereIsNoSuchInterface) {
    frwk_diag_req req = ping_of(kFarHost, "rmnet9");
    req.ping.count = 1;
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_PING, req), "rmnet9"));
}

INSTANTIATE_TEST_SUITE_P(Of, PingTool,
                         testing::Values(Tool{"Iputils", "/usr/bin/ping", "ping -V", "ping of iputils"},
                                         Tool{"Busybox", kBusybox, kBusyboxVersion, "ping of busybox"}),
                         name_of);

TEST_P(TracerouteTool, ReachesTheFarHostWithEveryOption) {
    frwk_diag_req req = traceroute_of(kFarHost);
    req.traceroute.queries = 1;
    req.traceroute.max_hops = 3;
    req.traceroute.wait = 2;
    const std::string text = run(FRWK_DIAG_TYPE_TRACEROUTE, req);
    EXPECT_TRUE(has(text, "traceroute to 10.11.0.2 (10.11.0.2), 3 hops max"));
    EXPECT_TRUE(has(text, "\n 1  10.11.0.2  "));
    EXPECT_FALSE(has(text, "\n 2  "));
    record();
}

TEST_P(TracerouteTool, ReachesLoopback) {
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_TRACEROUTE, traceroute_of("127.0.0.1")), " 1  127.0.0.1  "));
}

TEST_P(TracerouteTool, TellsWhereNobodyAnswers) {
    frwk_diag_req req = traceroute_of(kSilentHost);
    req.traceroute.queries = 1;
    req.traceroute.max_hops = 1;
    req.traceroute.wait = 1;
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_TRACEROUTE, req), "\n 1  "));
}

INSTANTIATE_TEST_SUITE_P(Of, TracerouteTool,
                         testing::Values(Tool{"Traceroute", "/usr/sbin/traceroute", "traceroute --version",
                                              "traceroute"},
                                         Tool{"Busybox", kBusybox, kBusyboxVersion, "traceroute of busybox"}),
                         name_of);

TEST_P(NslookupTool, AsksAServer) {
    const std::string text = run(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("router.example", kFarHost));
    EXPECT_TRUE(has(text, "router.example"));
    EXPECT_TRUE(has(text, "10.11.0.9"));
    record();
}

TEST_P(NslookupTool, AsksTheSystemsServer) {
    ASSERT_EQ(0, unlink("/etc/resolv.conf"));
    ASSERT_TRUE(write_text("/etc/resolv.conf", std::string("nameserver ") + kFarHost + "\n"));
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("router.example")), "10.11.0.9"));
}

TEST_P(NslookupTool, TellsThatThereIsNoSuchName) {
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("missing.example", kFarHost)), "NXDOMAIN"));
}

INSTANTIATE_TEST_SUITE_P(Of, NslookupTool,
                         testing::Values(Tool{"Bind", "/usr/bin/nslookup", "nslookup -version",
                                              "nslookup of BIND"},
                                         Tool{"Busybox", kBusybox, kBusyboxVersion, "nslookup of busybox"}),
                         name_of);

TEST_P(IperfTool, MeasuresTcpWithEveryOption) {
    const auto server = serve_there("5202");
    frwk_diag_req req = iperf_of(kFarHost);
    req.iperf.port = 5202;
    req.iperf.time = 1;
    const std::string text = run(FRWK_DIAG_TYPE_IPERF, req);
    EXPECT_TRUE(has(text, "Connecting to host 10.11.0.2, port 5202"));
    EXPECT_TRUE(has(text, "receiver"));
    EXPECT_TRUE(has(text, "iperf Done."));
    record();
}

TEST_P(IperfTool, MeasuresUdpOnTheDefaultPort) {
    const auto server = serve_there("5201");
    frwk_diag_req req = iperf_of(kFarHost);
    req.iperf.udp = 1;
    req.iperf.time = 1;
    const std::string text = run(FRWK_DIAG_TYPE_IPERF, req);
    EXPECT_TRUE(has(text, "Lost/Total Datagrams"));
    EXPECT_TRUE(has(text, "iperf Done."));
}

TEST_P(IperfTool, TellsThatThereIsNoServer) {
    EXPECT_TRUE(has(run(FRWK_DIAG_TYPE_IPERF, iperf_of("127.0.0.1")), "Connection refused"));
}

INSTANTIATE_TEST_SUITE_P(Of, IperfTool,
                         testing::Values(Tool{"Iperf", "/usr/bin/iperf3", "iperf3 --version", "iperf3"}),
                         name_of);
