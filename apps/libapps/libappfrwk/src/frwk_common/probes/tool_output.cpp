#include "frwk_common/probes/tool_output.h"

#include <cerrno>
#include <cstdio>

#include "internal/frwk_log.h"
#include "internal/untranslated.h"

namespace {

/* The next byte, or EOF; retries after a signal. */
int next_byte(std::FILE *stream) {
    for (;;) {
        errno = 0;
        const int byte = std::getc(stream);
        if (byte != EOF || !std::ferror(stream) || errno != EINTR) {
            return byte;
        }
        std::clearerr(stream);
    }
}

std::FILE *ask(const char *command) {
    const Untranslated untranslated;
    return os_popen(command, "r");
}

}  // namespace

ToolOutput::ToolOutput(const char *command) : stream_(ask(command)) {}

bool ToolOutput::failed() const {
    const bool failed = std::ferror(stream_.get()) != 0;
    if (failed) {
        FRWK_WARN_ERRNO(log_name::kPopen, "read the output of a command error!");
    }
    return failed;
}

/* Skips the rest of a line. Returns false at the end of the output. */
bool ToolOutput::skip_rest() {
    while (in_line_) {
        const int byte = next_byte(stream_.get());
        if (byte == EOF) {
            return false;
        }
        in_line_ = byte != '\n';
    }
    return true;
}

bool ToolOutput::next_line(char *line, size_t size) {
    if (!skip_rest()) {
        (void)failed();
        return false;
    }

    size_t length = 0;
    while (length < size - 1) {
        const int byte = next_byte(stream_.get());
        if (byte == EOF) {
            break;
        }
        line[length++] = static_cast<char>(byte);
        in_line_ = byte != '\n';
        if (!in_line_) {
            break;
        }
    }
    const bool whole = !failed();
    if (length == 0) {
        return false;
    }
    line[whole ? length : 0] = '\0';
    return whole;
}
