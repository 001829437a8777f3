/*
 * Requests of diagnostics, as a caller fills them in.
 */
#pragma once

#include <algorithm>
#include <cstring>
#include <string>

#include "frwk_diag.h"

/* Puts a text into a zeroed field of a request; one that is too long fills it without a NUL. */
template <size_t kSize>
void put_text(char (&field)[kSize], const std::string &text) {
    std::memcpy(field, text.data(), std::min(text.size(), kSize));
}

inline frwk_diag_req ping_of(const std::string &target, const std::string &ifname = "") {
    frwk_diag_req req = {};
    put_text(req.ping.target, target);
    put_text(req.ping.ifname, ifname);
    return req;
}

inline frwk_diag_req traceroute_of(const std::string &target) {
    frwk_diag_req req = {};
    put_text(req.traceroute.target, target);
    return req;
}

inline frwk_diag_req nslookup_of(const std::string &target, const std::string &server = "") {
    frwk_diag_req req = {};
    put_text(req.nslookup.target, target);
    put_text(req.nslookup.server, server);
    return req;
}

inline frwk_diag_req iperf_of(const std::string &server) {
    frwk_diag_req req = {};
    put_text(req.iperf.server, server);
    return req;
}

/* All combinations of a request's options: bit N of a combination is the Nth option, in the tool's order.
 */
inline bool has_option(unsigned combination, unsigned number) {
    return (combination >> number & 1) != 0;
}

/* words when the combination has the option. */
inline std::string option(unsigned combination, unsigned number, const std::string &words) {
    return has_option(combination, number) ? words : "";
}

/* Of 16: count 4, size 1400, deadline 10, ifname rmnet0. */
inline frwk_diag_req ping_with(unsigned combination) {
    frwk_diag_req req = ping_of("8.8.8.8", option(combination, 3, "rmnet0"));
    req.ping.count = has_option(combination, 0) ? 4 : 0;
    req.ping.size = has_option(combination, 1) ? 1400 : 0;
    req.ping.deadline = has_option(combination, 2) ? 10 : 0;
    return req;
}

/* Of 8: queries 2, max_hops 12, wait 3. */
inline frwk_diag_req traceroute_with(unsigned combination) {
    frwk_diag_req req = traceroute_of("fe80::1");
    req.traceroute.queries = has_option(combination, 0) ? 2 : 0;
    req.traceroute.max_hops = has_option(combination, 1) ? 12 : 0;
    req.traceroute.wait = has_option(combination, 2) ? 3 : 0;
    return req;
}

/* Of 8: udp, port 5202, time 7. */
inline frwk_diag_req iperf_with(unsigned combination) {
    frwk_diag_req req = iperf_of("iperf.example.com");
    req.iperf.udp = has_option(combination, 0) ? 1 : 0;
    req.iperf.port = has_option(combination, 1) ? 5202 : 0;
    req.iperf.time = has_option(combination, 2) ? 7 : 0;
    return req;
}
