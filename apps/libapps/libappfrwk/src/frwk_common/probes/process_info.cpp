/*
 * The name of a process, and the hardware id.
 */
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "frwk_common.h"
#include "frwk_common/probes/tool_output.h"
#include "internal/frwk_log.h"
#include "internal/frwk_paths.h"
#include "internal/shell_command.h"
#include "os_file.h"
#include "support/unique_fd.h"
#include "text_copy.h"

namespace {

constexpr char kHardwareIdKey[] = "hardware.id=";
constexpr char kValueEnds[] = " \r\n";
constexpr size_t kCommandLineLength = 2048;

/* Longer than the kernel's longest name and its NUL. */
constexpr size_t kProcessNameSize = 64;

/* The buffer for callers without one; one thread at a time. */
char g_s_process_name[kProcessNameSize];

/* Reads the kernel's command line, truncated to the buffer; false on failure. caller: function name in the
 * log.
 */
bool read_command_line(LogName caller, char (&text)[kCommandLineLength + 1]) {
    if (!os_file_exist(paths::kKernelCommandLine)) {
        return false;
    }
    const UniqueFile file(std::fopen(paths::kKernelCommandLine, "re"));
    if (!file) {
        FRWK_WARN(caller, "open nodepath failed!");
        return false;
    }
    const size_t length = std::fread(text, 1, kCommandLineLength, file.get());
    if (length == 0) {
        FRWK_WARN(caller, "read nodepath buf failed!");
        return false;
    }
    text[length] = '\0';
    return true;
}

/* Copies a value, but never writes the buffer's last byte, which belongs to the caller. */
void copy_value(const char *value, size_t length, char *buffer, uint32_t size) {
    if (size == 0) {
        return;
    }
    const size_t room = size - 1;
    std::memcpy(buffer, value, std::min(length, room));
    if (length < room) {
        buffer[length] = '\0';
    }
}

}  // namespace

void frwk_get_hardware_id(char *buffer, uint32_t size) {
    if (buffer == nullptr) {
        FRWK_WARN(__func__, "hardware_id is null");
        return;
    }

    char text[kCommandLineLength + 1];
    if (!read_command_line(__func__, text)) {
        return;
    }

    const char *key = std::strstr(text, kHardwareIdKey);
    if (key == nullptr) {
        return;
    }
    const char *value = key + std::strlen(kHardwareIdKey);
    const size_t length = std::strcspn(value, kValueEnds);
    copy_value(value, length, buffer, size);
    FRWK_DEBUG(__func__, "hardware id:%.*s", static_cast<int>(length), value);
}

const char *frwk_get_process_name(int32_t pid, char *buffer, uint32_t size) {
    if (buffer == nullptr) {
        g_s_process_name[0] = '\0'; /* the name of another process must not remain */
        return frwk_get_process_name(pid, g_s_process_name, sizeof(g_s_process_name));
    }

    ShellCommand<64> command;
    command.add("cat /proc/%d/comm", pid > 0 ? pid : ::getpid());
    ToolOutput output(command.text());
    if (!output) {
        FRWK_WARN(__func__, "popen command %s error.", command.text());
        return nullptr;
    }

    char name[kProcessNameSize];
    if (size == 0 || !output.next_line(name, sizeof(name))) {
        return buffer;
    }
    strsncpy(buffer, name, std::min<size_t>(std::strlen(name), size - 1));
    return strdern(buffer, std::strlen(buffer));
}
