/*
 * The command line of each diagnostic, with every combination of its options.
 */
#include "frwk_diag/diag_command.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "unit/frwk_diag/diag_requests.h"

namespace {

const char kPath[] = "/tmp/m_tmp/x_1_2.txt";
const char kRedirection[] = " > /tmp/m_tmp/x_1_2.txt 2>&1";

/* The command line up to its redirection. */
std::string command_of(int32_t type, const frwk_diag_req &req) {
    DiagCommand command;
    EXPECT_TRUE(add_diag_command(type, req, kPath, &command));
    const std::string text = command.text();
    const size_t tool = text.size() - std::string(kRedirection).size();
    EXPECT_EQ(kRedirection, text.substr(tool));
    return text.substr(0, tool);
}

}  // namespace

TEST(DiagCommand, NamesItsFourTypes) {
    EXPECT_STREQ("ping", diag_name(FRWK_DIAG_TYPE_PING));
    EXPECT_STREQ("traceroute", diag_name(FRWK_DIAG_TYPE_TRACEROUTE));
    EXPECT_STREQ("nslookup", diag_name(FRWK_DIAG_TYPE_NSLOOKUP));
    EXPECT_STREQ("iperf", diag_name(FRWK_DIAG_TYPE_IPERF));
    for (const int32_t type : {-1, 4, INT_MIN, INT_MAX}) {
        EXPECT_EQ(nullptr, diag_name(type)) << type;
    }
}

TEST(DiagCommand, PingTakesEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 16; ++combination) {
        const frwk_diag_req req = ping_with(combination);
        EXPECT_EQ("ping -W 1" + option(combination, 0, " -c 4") + option(combination, 1, " -s 1400") +
                      option(combination, 2, " -w 10") + option(combination, 3, " -I rmnet0") + " 8.8.8.8",
                  command_of(FRWK_DIAG_TYPE_PING, req));
    }
}

TEST(DiagCommand, TracerouteTakesEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 8; ++combination) {
        const frwk_diag_req req = traceroute_with(combination);
        EXPECT_EQ("traceroute -n" + option(combination, 0, " -q 2") + option(combination, 1, " -m 12") +
                      option(combination, 2, " -w 3") + " fe80::1",
                  command_of(FRWK_DIAG_TYPE_TRACEROUTE, req));
    }
}

TEST(DiagCommand, NslookupWorksWithAndWithoutAServer) {
    EXPECT_EQ("nslookup example.com 10.0.0.1",
              command_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("example.com", "10.0.0.1")));
}

TEST(DiagCommand, NslookupWithoutAServerHasTwoBlanks) {
    DiagCommand command;
    EXPECT_TRUE(add_diag_command(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("example.com"), kPath, &command));
    EXPECT_STREQ("nslookup example.com  > /tmp/m_tmp/x_1_2.txt 2>&1", command.text());
}

TEST(DiagCommand, IperfTakesEveryCombinationOfOptions) {
    for (unsigned combination = 0; combination < 8; ++combination) {
        const frwk_diag_req req = iperf_with(combination);
        EXPECT_EQ("iperf3" + option(combination, 0, " -u") + " -c iperf.example.com" +
                      option(combination, 1, " -p 5202") + option(combination, 2, " -t 7"),
                  command_of(FRWK_DIAG_TYPE_IPERF, req));
    }
}

TEST(DiagCommand, IperfReadsOneByteForUdp) {
    frwk_diag_req req = iperf_of("10.0.0.1");
    std::memset(req.iperf.reserved, 0xff, sizeof(req.iperf.reserved));
    EXPECT_EQ("iperf3 -c 10.0.0.1", command_of(FRWK_DIAG_TYPE_IPERF, req));
    req.iperf.udp = 0xff;
    EXPECT_EQ("iperf3 -u -c 10.0.0.1", command_of(FRWK_DIAG_TYPE_IPERF, req));
}

TEST(DiagCommand, NumbersKeepTheirSign) {
    frwk_diag_req req = ping_of("a");
    req.ping.count = INT_MIN;
    req.ping.size = -1;
    req.ping.deadline = UINT_MAX;
    EXPECT_EQ("ping -W 1 -c -2147483648 -s -1 -w 4294967295 a", command_of(FRWK_DIAG_TYPE_PING, req));
}

TEST(DiagCommand, BracketsAreKeptFromTheShell) {
    EXPECT_EQ("ping -W 1 '[fe80::1]'", command_of(FRWK_DIAG_TYPE_PING, ping_of("[fe80::1]")));
    EXPECT_EQ("nslookup '[a-z]' '[::1]'", command_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("[a-z]", "[::1]")));
}

TEST(DiagCommand, TheLongestRequestFits) {
    const std::string longest(FRWK_DIAG_HOST_SIZE - 1, '[');
    const std::string path(FRWK_DIAG_PATH_SIZE - 1, 'p');

    DiagCommand nslookup;
    EXPECT_TRUE(
        add_diag_command(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of(longest, longest), path.c_str(), &nslookup));
    EXPECT_EQ("nslookup '" + longest + "' '" + longest + "' > " + path + " 2>&1", nslookup.text());

    frwk_diag_req req = ping_of(longest, std::string(FRWK_DIAG_IFNAME_SIZE - 1, '['));
    req.ping.count = req.ping.size = INT_MIN;
    req.ping.deadline = UINT_MAX;
    DiagCommand ping;
    EXPECT_TRUE(add_diag_command(FRWK_DIAG_TYPE_PING, req, path.c_str(), &ping));
}
