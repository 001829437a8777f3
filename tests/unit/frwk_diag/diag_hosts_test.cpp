/*
 * Hosts and interfaces that a diagnostic refuses.
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doubles/log_capture.h"
#include "frwk_diag/diag_command.h"
#include "support/log_checks.h"
#include "unit/frwk_diag/diag_requests.h"

namespace {

const std::vector<std::string> kRefused = {
    "a b",  " ",    "a;reboot", ";",      "`id`",   "$(id)", "$HOME",
    "a\nb", "a\n",  "a\rb",     "a|b",    "a&",     ">a",    "<a",
    "a'b",  "a\"b", "a\\b",     "a/b",    "*",      "?",     "~",
    "#",    "a=b",  "a,b",      "a%1",    "\x01",   "\x7f",  "\xc3\xa9xample.com",
    "\xff", "-f",   "-",        "--help", "-oProxy"};

/* How the request fares: "" when it is taken, else the last line logged. Nothing is added when it is refused.
 */
std::string refusal_of(int32_t type, const frwk_diag_req &req) {
    const LogCapture log;
    DiagCommand command;
    if (add_diag_command(type, req, "/tmp/m_tmp/x", &command)) {
        EXPECT_STRNE("", command.text());
        return "";
    }
    EXPECT_STREQ("", command.text());
    const std::vector<LogLine> lines = log.system_lines();
    EXPECT_EQ(2u, lines.size()) << log.text();
    EXPECT_EQ(kWarningLevel, lines.back().level);
    return lines.back().text;
}

}  // namespace

TEST(DiagHosts, RefusedTargetsOfPing) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode ping failed!", refusal_of(FRWK_DIAG_TYPE_PING, ping_of(name))) << name;
    }
}

TEST(DiagHosts, RefusedInterfacesOfPing) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode ping failed!", refusal_of(FRWK_DIAG_TYPE_PING, ping_of("a", name))) << name;
    }
}

TEST(DiagHosts, RefusedTargetsOfTraceroute) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode traceroute failed!", refusal_of(FRWK_DIAG_TYPE_TRACEROUTE, traceroute_of(name)));
    }
}

TEST(DiagHosts, RefusedTargetsOfNslookup) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode nslookup failed!", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of(name))) << name;
    }
}

TEST(DiagHosts, RefusedServersOfNslookup) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode nslookup failed!", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("a", name)));
    }
}

TEST(DiagHosts, RefusedServersOfIperf) {
    for (const std::string &name : kRefused) {
        EXPECT_EQ("encode iperf failed!", refusal_of(FRWK_DIAG_TYPE_IPERF, iperf_of(name))) << name;
    }
}

TEST(DiagHosts, AnEmptyHostIsRefused) {
    EXPECT_EQ("encode ping failed!", refusal_of(FRWK_DIAG_TYPE_PING, ping_of("", "rmnet0")));
    EXPECT_EQ("encode traceroute failed!", refusal_of(FRWK_DIAG_TYPE_TRACEROUTE, traceroute_of("")));
    EXPECT_EQ("encode nslookup failed!", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("", "10.0.0.1")));
    EXPECT_EQ("encode iperf failed!", refusal_of(FRWK_DIAG_TYPE_IPERF, iperf_of("")));
}

TEST(DiagHosts, AnEmptyInterfaceOrNameServerIsNone) {
    EXPECT_EQ("", refusal_of(FRWK_DIAG_TYPE_PING, ping_of("a", "")));
    EXPECT_EQ("", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("a", "")));
}

TEST(DiagHosts, ANameWithoutItsNulIsRefused) {
    const std::string endless(5000, 'a');
    EXPECT_EQ("encode ping failed!", refusal_of(FRWK_DIAG_TYPE_PING, ping_of(endless)));
    EXPECT_EQ("encode ping failed!", refusal_of(FRWK_DIAG_TYPE_PING, ping_of("a", endless)));
    EXPECT_EQ("encode traceroute failed!", refusal_of(FRWK_DIAG_TYPE_TRACEROUTE, traceroute_of(endless)));
    EXPECT_EQ("encode nslookup failed!", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of(endless)));
    EXPECT_EQ("encode nslookup failed!", refusal_of(FRWK_DIAG_TYPE_NSLOOKUP, nslookup_of("a", endless)));
    EXPECT_EQ("encode iperf failed!", refusal_of(FRWK_DIAG_TYPE_IPERF, iperf_of(endless)));
}

TEST(DiagHosts, TheReasonIsLoggedFirst) {
    const LogCapture log;
    DiagCommand command;
    for (const char *name : {"a;b", "-f", ""}) {
        EXPECT_FALSE(add_diag_command(FRWK_DIAG_TYPE_PING, ping_of(name), "/x", &command));
    }
    EXPECT_FALSE(add_diag_command(FRWK_DIAG_TYPE_PING, ping_of("a", std::string(64, 'i')), "/x", &command));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "invalid domain value=a;b"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "invalid domain value=-f"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "domain is empty!"));
    EXPECT_TRUE(logged_once(log, kWarningLevel, "invalid domain value=" + std::string(64, 'i') + "..."));
}
