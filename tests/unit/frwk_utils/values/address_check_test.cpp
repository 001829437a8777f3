/*
 * Checks of host names and address ranges.
 */
#include <gtest/gtest.h>

#include <string>

#include "doubles/log_capture.h"
#include "frwk_utils.h"

namespace {

TEST(DomainCheck, AcceptsHostNames) {
    EXPECT_EQ(1u, frwk_domain_check("example.com"));
    EXPECT_EQ(1u, frwk_domain_check("a-b_c.EXAMPLE.com"));
    EXPECT_EQ(1u, frwk_domain_check("x"));
}

TEST(DomainCheck, AcceptsIpv4Addresses) {
    EXPECT_EQ(1u, frwk_domain_check("192.168.0.1"));
}

TEST(DomainCheck, AcceptsIpv6AddressesWithAndWithoutBrackets) {
    EXPECT_EQ(1u, frwk_domain_check("fe80::1"));
    EXPECT_EQ(1u, frwk_domain_check("[fe80::1]"));
    EXPECT_EQ(1u, frwk_domain_check("[2001:db8::1]:8080"));
}

TEST(DomainCheck, AcceptsExactlyItsCharacters) {
    const std::string accepted = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.[]:";
    for (int code = 1; code < 256; ++code) {
        const std::string text(1, static_cast<char>(code));
        const bool expected = accepted.find(text) != std::string::npos;
        EXPECT_EQ(expected ? 1u : 0u, frwk_domain_check(text.c_str())) << code;
    }
}

TEST(DomainCheck, RefusesABlankASemicolonAndASlash) {
    LogCapture log;
    EXPECT_EQ(0u, frwk_domain_check("example.com now"));
    EXPECT_EQ(0u, frwk_domain_check("example.com;reboot"));
    EXPECT_EQ(0u, frwk_domain_check("example.com/path"));
    EXPECT_EQ(1u, log.count("invalid domain value=example.com;reboot")) << log.text();
    EXPECT_EQ(3u, log.count("invalid domain value=")) << log.text();
}

TEST(DomainCheck, RefusesALineEnd) {
    EXPECT_EQ(0u, frwk_domain_check("example.com\n"));
}

TEST(DomainCheck, RefusesAnEmptyName) {
    LogCapture log;
    EXPECT_EQ(0u, frwk_domain_check(""));
    EXPECT_EQ(0u, frwk_domain_check(nullptr));
    EXPECT_EQ(2u, log.count("domain is empty!")) << log.text();
}

TEST(Ipv4Range, OrderIsNumericNotTextual) {
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("10.0.0.9", "10.0.0.10"));
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("9.255.255.255", "10.0.0.0"));
}

TEST(Ipv4Range, TheFirstBytesWeighMost) {
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("10.0.0.200", "10.0.1.1"));
    EXPECT_EQ(0u, frwk_check_ipv4_addr_range_valid("200.0.0.1", "10.0.0.200"));
}

TEST(Ipv4Range, BytesAreComparedWithoutSign) {
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("127.0.0.1", "128.0.0.1"));
    EXPECT_EQ(0u, frwk_check_ipv4_addr_range_valid("255.255.255.255", "127.0.0.1"));
}

TEST(Ipv4Range, EqualAddressesAreARange) {
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("10.0.0.1", "10.0.0.1"));
}

TEST(Ipv4Range, AStartAboveTheEndIsLogged) {
    LogCapture log;
    EXPECT_EQ(0u, frwk_check_ipv4_addr_range_valid("10.0.0.10", "10.0.0.9"));
    ASSERT_EQ(1u, log.debug_lines().size()) << log.text();
    EXPECT_EQ("ipv4 start ip is big than end ip ", log.debug_lines()[0].text);
}

TEST(Ipv4Range, ATextThatIsNoAddressCountsAsZero) {
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("nonsense", "0.0.0.0"));
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid(nullptr, nullptr));
    EXPECT_EQ(1u, frwk_check_ipv4_addr_range_valid("256.1.1.1", "0.0.0.1"));
    EXPECT_EQ(0u, frwk_check_ipv4_addr_range_valid("0.0.0.1", "nonsense"));
    EXPECT_EQ(0u, frwk_check_ipv4_addr_range_valid("0.0.0.1", ""));
}

TEST(Ipv6Range, OrderIsNumericNotTextual) {
    EXPECT_EQ(1u, frwk_check_ipv6_addr_range_valid("fe80::9", "fe80::10"));
    EXPECT_EQ(1u, frwk_check_ipv6_addr_range_valid("fe80::ff", "fe80::100"));
    EXPECT_EQ(1u, frwk_check_ipv6_addr_range_valid("7fff::", "8000::"));
}

TEST(Ipv6Range, EqualAddressesAreARangeHoweverWritten) {
    EXPECT_EQ(1u, frwk_check_ipv6_addr_range_valid("FE80:0:0:0::1", "fe80::1"));
}

TEST(Ipv6Range, AStartAboveTheEndIsLogged) {
    LogCapture log;
    EXPECT_EQ(0u, frwk_check_ipv6_addr_range_valid("fe80::10", "fe80::9"));
    ASSERT_EQ(1u, log.debug_lines().size()) << log.text();
    EXPECT_EQ("ipv6 start ip is big than end ip ", log.debug_lines()[0].text);
}

TEST(Ipv6Range, ATextThatIsNoAddressCountsAsZero) {
    EXPECT_EQ(1u, frwk_check_ipv6_addr_range_valid("10.0.0.1", "::"));
    EXPECT_EQ(0u, frwk_check_ipv6_addr_range_valid("::1", "10.0.0.1"));
    EXPECT_EQ(0u, frwk_check_ipv6_addr_range_valid("::1", nullptr));
}

}  // namespace
