#include "frwk_common/tool_output.h"

#include <cerrno>
#include <cstdio>

namespace {

/* The next byte, or EOF; a signal in between is no end. */
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

}  // namespace

/* Returns false at the end of the output. */
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
    if (length == 0) {
        return false;
    }
    line[length] = '\0';
    return true;
}
