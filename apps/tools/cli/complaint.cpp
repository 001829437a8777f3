#include "cli/complaint.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "cli/name_lookup.h"
#include "output/terminal.h"

ExitCode complain(ExitCode code, const std::string &text) {
    (void)std::fflush(stdout); /* so that earlier output comes first */
    const std::string line =
        styled(Stream::kError, Style::kAlert, shown_text(Stream::kError, program_invocation_short_name)) +
        ": " + shown_text(Stream::kError, text) + "\n";
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
    return code;
}

std::string code_text(apps_err_e_type code) {
    return std::to_string(code) + " " + code_name(code);
}

std::string errno_text(const std::string &what, int error) {
    return what + ": " + std::strerror(error);  // NOLINT(concurrency-mt-unsafe)
}
