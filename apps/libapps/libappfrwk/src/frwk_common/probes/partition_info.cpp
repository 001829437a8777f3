/*
 * Reads a partition's line from the output of df. No state; any thread.
 */
#include <cstring>

#include "frwk_common.h"
#include "frwk_common/probes/tool_output.h"
#include "internal/decimal.h"
#include "internal/frwk_log.h"
#include "internal/shell_command.h"

namespace {

using DfCommand = ShellCommand<127 + 1>;

constexpr size_t kLineSize = 127 + 1;

/* grep finds an empty pattern in every line, and a line end separates two patterns. */
bool names_one_line(const char *name) {
    return name[0] != '\0' && std::strchr(name, '\n') == nullptr;
}

/* The name is always the pattern of grep, never an option. */
void build_command(const char *name, int32_t column, DfCommand *command) {
    command->add("df |grep %s", name[0] == '-' ? "-e " : "");
    command->add_word(name).add(" | grep -v grep |awk '{print $%d}'", column);
}

/* Reads the first line of the command's output. Returns false, and logs the cause, on failure. */
bool read_first_line(LogName caller, const DfCommand &command, char (&line)[kLineSize]) {
    FRWK_DEBUG(caller, "command [%s].", command.text());
    ToolOutput output(command.text());
    if (!output) {
        FRWK_WARN(caller, "popen command %s error.", command.text());
        return false;
    }
    if (!output.next_line(line, sizeof(line))) {
        FRWK_WARN(caller, "fgets partion info failed.");
        return false;
    }
    return true;
}

void drop_line_end(char *line) {
    const size_t length = std::strlen(line);
    if (length > 0 && std::strchr("\r\n", line[length - 1]) != nullptr) {
        line[length - 1] = '\0';
    }
}

void drop_last(char *line) {
    const size_t length = std::strlen(line);
    if (length > 0) {
        line[length - 1] = '\0';
    }
}

}  // namespace

int32_t frwk_get_partion_info(const char *name, int32_t column, int32_t *result) {
    if (name == nullptr || result == nullptr) {
        FRWK_WARN(__func__, "partion or data null.\n");
        return -1;
    }
    if (!names_one_line(name)) {
        FRWK_WARN(__func__, "fgets partion info failed.");
        return -1;
    }

    DfCommand command;
    build_command(name, column, &command);
    if (!command.complete()) {
        FRWK_WARN(__func__, "popen command %s error.", command.text());
        return -1;
    }

    char line[kLineSize];
    if (!read_first_line(__func__, command, line)) {
        return -1;
    }
    drop_line_end(line);
    FRWK_DEBUG(__func__, "buffer [%s].", line);
    drop_last(line); /* the per-cent sign, or another character */
    *result = decimal_number(line);
    FRWK_DEBUG(__func__, "avail space percentage [%d].\n", *result);
    return 0;
}
