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
