/*
 * One run of a diagnostic: the tool prints to a private file, whose content is then read into a text.
 */
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "formats/device_paths.h"
#include "frwk_diag.h"
#include "frwk_diag/diag_command.h"
#include "frwk_diag/diag_output.h"
#include "internal/frwk_log.h"
#include "internal/optional_calls.h"
#include "internal/untranslated.h"
#include "os_file.h"
#include "os_process.h"
#include "os_time.h"

namespace {

/*
 * Waits for the tool, and ends the processes that it left running, so that nothing prints to the file any
 * more. With a base library without this function, it only waits for the tool, whose output is not limited.
 */
void run_tool(const char *command, int output) {
    const Untranslated untranslated;
    const bool scoped = os_command_scope_open != nullptr && os_command_scope_close != nullptr;
    if (scoped) {
        os_command_scope_open();
    }
    os_system(command);
    if (scoped) {
        os_command_scope_close();
        mark_stopped_output(output);
    }
}

/*
 * The size of an open file, which is then positioned at its beginning; nothing, with errno set, on failure. A
 * size that no buffer can have is clamped to 32 bits.
 */
std::optional<uint32_t> file_size(std::FILE *file) {
    if (::fseeko(file, 0, SEEK_END) != 0) {
        return std::nullopt;
    }
    const off_t size = ::ftello(file);
    if (size < 0 || ::fseeko(file, 0, SEEK_SET) != 0) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(std::min<off_t>(size, 0x7fffffff));
}

apps_err_e_type refuse_output() {
    FRWK_WARN_ERRNO(log_name::kDiagReadOutput, "read nslookup log file error");
    return E_APPS_ERR_IO;
}

apps_err_e_type read_output(frwk_diag_ctx *ctx) {
    const std::optional<uint32_t> found = file_size(ctx->fp);
    if (!found) {
        return refuse_output();
    }
    const uint32_t size = *found;
    const uint32_t room = std::max(size, 1u); /* a base library may allocate no NUL for an empty buffer */
    if (zn_bf_grow(&ctx->buf, room) == 0) {
        FRWK_WARN(__func__, "grow buffer failed!");
        return E_APPS_ERR_MALLOC;
    }
    errno = 0;
    if (std::fread(ctx->buf.data, 1, size, ctx->fp) < size) {
        return refuse_output();
    }
    ctx->buf.data[size] = '\0';
    ctx->buf.length = size;
    return E_APPS_ERR_SUCCESS;
}

}  // namespace

uint32_t frwk_diag_init(frwk_diag_ctx *ctx) {
    if (ctx == nullptr) {
        FRWK_WARN(__func__, "invalid parameter!");
        return 0;
    }

    ctx->fp = nullptr;
    std::memset(ctx->path, 0, sizeof(ctx->path));
    if (zn_bf_init(&ctx->buf, 0) == 0) {
        FRWK_WARN(__func__, "init buffer failed!");
        return 0;
    }
    return 1;
}

apps_err_e_type frwk_diag_exec(int32_t type, const frwk_diag_req *req, frwk_diag_ctx *ctx) {
    if (req == nullptr || ctx == nullptr) {
        FRWK_WARN(__func__, "Parameter is null!");
        return E_APPS_ERR_PARAM;
    }
    const char *name = diag_name(type);
    if (name == nullptr) {
        FRWK_WARN(__func__, "invalid diag type=%d!", type);
        return E_APPS_ERR_PARAM;
    }

    long seconds = 0;
    long nanoseconds = 0;
    os_uptime(&seconds, &nanoseconds);
    (void)std::snprintf(ctx->path, sizeof(ctx->path), "%s/%s_%ld_%ld.txt", paths::kTempFolder, name, seconds,
                        nanoseconds);
    DiagCommand command;
    if (!add_diag_command(type, *req, ctx->path, &command)) {
        return E_APPS_ERR_PARAM;
    }
    UniqueFd output = make_diag_output(ctx->path);
    if (output) {
        run_tool(command.text(), output.get());
    }
    ctx->fp = open_diag_output(std::move(output), ctx->path).take();
    if (ctx->fp == nullptr) {
        FRWK_WARN_ERRNO(__func__, "open diag log file error!");
        return E_APPS_ERR_IO;
    }
    return read_output(ctx);
}

void frwk_diag_free(frwk_diag_ctx *ctx) {
    if (ctx == nullptr) {
        return;
    }
    if (ctx->fp != nullptr) {
        (void)std::fclose(ctx->fp);
        ctx->fp = nullptr;
    }
    if (ctx->path[0] != '\0' && os_file_exist(ctx->path) != 0) {
        (void)::unlink(ctx->path);
    }
    std::memset(ctx->path, 0, sizeof(ctx->path));
    zn_bf_free(&ctx->buf);
}
