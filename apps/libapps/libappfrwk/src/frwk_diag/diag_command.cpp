/*
 * The command line of each tool.
 */
#include "frwk_diag/diag_command.h"

#include <cstring>
#include <iterator>

#include "frwk_utils.h"
#include "internal/frwk_log.h"

namespace {

/*
 * Whether a request's field is a valid name for a tool. A field without a NUL was truncated by the caller; a
 * leading '-' would be an option of the tool.
 */
template <size_t kSize>
bool is_host(const char (&field)[kSize]) {
    if (std::memchr(field, '\0', kSize) == nullptr) {
        FRWK_WARN(__func__, "invalid domain value=%.*s...", static_cast<int>(kSize), field);
        return false;
    }
    if (field[0] == '-') {
        FRWK_WARN(__func__, "invalid domain value=%s", field);
        return false;
    }
    return frwk_domain_check(field) != 0;
}

template <size_t kSize>
bool is_empty_or_host(const char (&field)[kSize]) {
    return field[0] == '\0' || is_host(field);
}

void add_number(DiagCommand *command, const char *option, int32_t number) {
    if (number != 0) {
        command->add(" %s %d", option, number);
    }
}

bool add_ping(const frwk_diag_req &req, DiagCommand *command) {
    const frwk_diag_ping_req &ping = req.ping;
    if (!is_host(ping.target) || !is_empty_or_host(ping.ifname)) {
        return false;
    }
    command->add("ping -W 1");
    add_number(command, "-c", ping.count);
    add_number(command, "-s", ping.size);
    if (ping.deadline != 0) {
        command->add(" -w %u", ping.deadline);
    }
    if (ping.ifname[0] != '\0') {
        command->add(" -I ").add_word(ping.ifname);
    }
    command->add(" ").add_word(ping.target);
    return true;
}

bool add_traceroute(const frwk_diag_req &req, DiagCommand *command) {
    const frwk_diag_traceroute_req &traceroute = req.traceroute;
    if (!is_host(traceroute.target)) {
        return false;
    }
    command->add("traceroute -n");
    add_number(command, "-q", traceroute.queries);
    add_number(command, "-m", traceroute.max_hops);
    add_number(command, "-w", traceroute.wait);
    command->add(" ").add_word(traceroute.target);
    return true;
}

/* Without a server the command has two blanks before the redirection. */
bool add_nslookup(const frwk_diag_req &req, DiagCommand *command) {
    const frwk_diag_nslookup_req &nslookup = req.nslookup;
    if (!is_host(nslookup.target) || !is_empty_or_host(nslookup.server)) {
        return false;
    }
    command->add("nslookup ").add_word(nslookup.target).add(" ");
    if (nslookup.server[0] != '\0') {
        command->add_word(nslookup.server);
    }
    return true;
}

bool add_iperf(const frwk_diag_req &req, DiagCommand *command) {
    const frwk_diag_iperf_req &iperf = req.iperf;
    if (!is_host(iperf.server)) {
        return false;
    }
    command->add(iperf.udp != 0 ? "iperf3 -u -c " : "iperf3 -c ").add_word(iperf.server);
    add_number(command, "-p", iperf.port);
    add_number(command, "-t", iperf.time);
    return true;
}

struct DiagKind {
    const char *name;
    bool (*add_tool)(const frwk_diag_req &, DiagCommand *);
};

/* In the order of frwk_diag_type_e. */
constexpr DiagKind kKinds[] = {
    {"ping", add_ping},
    {"traceroute", add_traceroute},
    {"nslookup", add_nslookup},
    {"iperf", add_iperf},
};

}  // namespace

const char *diag_name(int32_t type) {
    return static_cast<uint32_t>(type) < std::size(kKinds) ? kKinds[type].name : nullptr;
}

bool add_diag_command(int32_t type, const frwk_diag_req &req, const char *path, DiagCommand *command) {
    if (!kKinds[type].add_tool(req, command)) {
        FRWK_WARN(__func__, "encode %s failed!", diag_name(type));
        return false;
    }
    return command->add(" > ").add_word(path).add(" 2>&1").complete();
}
