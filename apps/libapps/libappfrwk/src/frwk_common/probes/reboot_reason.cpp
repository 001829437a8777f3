/*
 * Files that survive a reboot: the reason of the last reboot, and the flag of a factory reset that is not
 * completed. frwk_system_reset creates the flag. No other state; any thread.
 */
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "formats/device_paths.h"
#include "frwk_common.h"
#include "internal/decimal.h"
#include "internal/frwk_log.h"
#include "internal/guarded_file.h"
#include "internal/planted.h"
#include "internal/shell.h"
#include "os_file.h"
#include "support/unique_fd.h"

namespace {

/* The maximum length that is read of a reason file, whose number has at most 11 characters. */
constexpr size_t kReasonLength = 31;

constexpr mode_t kReasonFileMode = 0644;

/*
 * Creates the file before the shell writes it, since the shell would follow a link or write to another user's
 * file. Other failures are left to the shell, which reports them.
 */
bool make_reason_file() {
    const UniqueFd fd =
        open_guarded(paths::kRebootReason, O_WRONLY | O_CREAT, kReasonFileMode, Planted::kSetAside);
    return fd || (errno != ELOOP && errno != EPERM);
}

}  // namespace

int32_t frwk_reboot_reason_save(int32_t reason) {
    if (!make_reason_file()) {
        FRWK_WARN_ERRNO(__func__, "open reboot reason file error!");
        return -1;
    }
    ShellCommand<256> command;
    command.add("echo -n %d > ", reason).add_word(paths::kRebootReason);
    const int32_t result = run_shell(command.text());
    ::sync();
    return result;
}

int32_t frwk_reboot_reason_get(void) {
    if (!os_file_exist(paths::kRebootReason)) {
        FRWK_DEBUG(__func__, "reboot reason file not exist!");
        return 0;
    }

    const UniqueFile file = open_guarded_stream(paths::kRebootReason, O_RDONLY, 0, Planted::kRefuse, "r");
    if (!file) {
        FRWK_WARN_ERRNO(__func__, "fopen reboot reason file error!");
        return 0;
    }

    char text[kReasonLength + 1];
    const size_t length = std::fread(text, 1, kReasonLength, file.get());
    text[length] = '\0';
    if (std::ferror(file.get())) {
        FRWK_WARN_ERRNO(__func__, "read reboot reason file error!");
        return 0;
    }
    if (length == 0) { /* a power cut during the write leaves an empty file */
        FRWK_WARN(__func__, "reboot reason file is empty!");
    }
    return decimal_number(text);
}

int32_t frwk_system_reset_check(void) {
    return exists_as_ours(paths::kResetFlag) ? 1 : 0;
}

void frwk_system_reset_complete(void) {
    if (::unlink(paths::kResetFlag) != 0 && errno != ENOENT) {
        FRWK_WARN_ERRNO(__func__, "remove reset flag file error!");
    }
    ::sync();
}
