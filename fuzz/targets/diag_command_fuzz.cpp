/*
 * Fuzzes diagnostic requests: each one becomes a single tool with plain words, or is refused.
 *
 * The input is the type of the diagnostic and the bytes of its request.
 */
#include "frwk_diag/diag_command.h"
#include "support/fuzz_input.h"
#include "support/shell_words.h"

namespace {

constexpr char kPath[] = "/tmp/m_tmp/diag.txt";
constexpr std::string_view kRedirection = " > /tmp/m_tmp/diag.txt 2>&1";
constexpr int32_t kTypes = 4;

/* The required beginning of a type's command, and the host that it must contain. */
struct Expected {
    std::vector<std::string> tool;
    std::string host;
    std::string second;
};

Expected expected_of(int32_t type, const frwk_diag_req &req) {
    switch (type) {
        case FRWK_DIAG_TYPE_PING:
            return {{"ping", "-W", "1"}, req.ping.target, req.ping.ifname};
        case FRWK_DIAG_TYPE_TRACEROUTE:
            return {{"traceroute", "-n"}, req.traceroute.target, ""};
        case FRWK_DIAG_TYPE_NSLOOKUP:
            return {{"nslookup"}, req.nslookup.target, req.nslookup.server};
        default:
            return {{"iperf3"}, req.iperf.server, ""};
    }
}

bool has(const std::vector<std::string> &words, const std::string &word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

/* Checks the command of an accepted request: the request's texts have a NUL, and each is a word, not an
 * option. */
void check_command(int32_t type, const frwk_diag_req &req, std::string_view command) {
    FUZZ_CHECK(command.size() > kRedirection.size());
    FUZZ_CHECK(command.substr(command.size() - kRedirection.size()) == kRedirection);
    command.remove_suffix(kRedirection.size());

    const std::vector<std::string> words = shell_words(command);
    const Expected expected = expected_of(type, req);
    FUZZ_CHECK(words.size() >= expected.tool.size());
    FUZZ_CHECK(std::equal(expected.tool.begin(), expected.tool.end(), words.begin()));
    for (const std::string &name : {expected.host, expected.second}) {
        FUZZ_CHECK(name.empty() || (has(words, name) && name[0] != '-'));
    }
    FUZZ_CHECK(!expected.host.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzInput input(data, size);
    const int32_t type = input.byte() % kTypes;
    const auto req = std::make_unique<frwk_diag_req>();
    const std::string_view bytes = input.take(sizeof(frwk_diag_req));
    std::memcpy(req.get(), bytes.data(), bytes.size());

    DiagCommand command;
    if (add_diag_command(type, *req, kPath, &command)) {
        check_command(type, *req, command.text());
    }
    return 0;
}
