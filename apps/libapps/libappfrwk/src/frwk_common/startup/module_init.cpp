/*
 * The start-up sequence of every module, step by step.
 */
#include <fcntl.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "formats/device_paths.h"
#include "formats/module_flags.h"
#include "frwk_common.h"
#include "frwk_common/core/process_limits.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/ipc/server/ipc_service.h"
#include "frwk_common/modules/module_config.h"
#include "frwk_common/modules/module_run_list.h"
#include "frwk_common/startup/instance_lock.h"
#include "internal/frwk_log.h"
#include "internal/guarded_folder.h"
#include "internal/shell.h"
#include "os_file.h"
#include "os_mem.h"
#include "support/uninterrupted.h"

namespace {

constexpr size_t kHookCommandSize = 256;

bool is_module(int32_t id) {
    return static_cast<uint32_t>(id) < E_APPS_MODULE_MAX;
}

/* A file that is later opened as descriptor 0, 1 or 2 would receive the output of libraries and children. */
void open_standard_descriptors() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        const bool closed = ::fcntl(fd, F_GETFD) < 0 && errno == EBADF;
        if (closed && uninterrupted([] { return ::open(paths::kNullDevice, O_RDWR); }) < 0) {
            FRWK_WARN_ERRNO(__func__, "open a standard descriptor error!");
            return;
        }
    }
}

/*
 * The module must end with its parent. The kernel signals a parent that ends from now on. If the parent ended
 * earlier, the parent process id has changed.
 */
void watch_parent(pid_t parent) {
    (void)::prctl(PR_SET_PDEATHSIG, SIGHUP);
    if (::getppid() != parent) {
        (void)::kill(::getpid(), SIGHUP);
    }
}

/* A peer that closes its connection must not kill the process. */
void ignore_broken_pipes() {
    (void)std::signal(SIGPIPE, SIG_IGN);

    sigset_t broken_pipe;
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    (void)::pthread_sigmask(SIG_BLOCK, &broken_pipe, nullptr);
}

/* Static, since a base library may keep the pointer instead of a copy. */
void prepare_memory(const frwk_module_memory &memory) {
    static os_mem_settings settings;
    settings = {memory.warn_at, memory.refuse_at, memory.pool, memory.pool_block, memory.pool_total};
    const bool given = settings.warn_at != 0 || settings.refuse_at != 0 || settings.pool != 0 ||
                       settings.pool_block != 0 || settings.pool_total != 0;
    os_mem_init(given ? &settings : nullptr);
}

void prepare_log(const frwk_module_info &row) {
    os_log_init(row.name, row.facility);
    if (row.flag == 0) {
        os_debug_enable();
    }
}

void run_start_hook(const char *name) {
    if (os_file_exist(paths::kStartHook) == 0) {
        return;
    }
    ShellCommand<kHookCommandSize> command;
    command.add("apps_init ").add_word(name).add(" %d", static_cast<int>(::getpid()));
    if (!command.complete()) {
        FRWK_WARN(__func__, "start hook not run: the module's name is too long");
        return;
    }
    (void)run_shell(command.text());
}

}  // namespace

void frwk_module_init(int32_t id, frwk_exit_handler_t exit_handler) {
    const pid_t parent = ::getppid();
    open_standard_descriptors();
    if (!is_module(id)) {
        (void)std::fprintf(stderr, "invalid module id=%d\n", id);
        std::exit(-1);  // NOLINT(concurrency-mt-unsafe): there are no other threads yet
    }

    // Before the file is read, which may set the flag again.
    if (id == E_APPS_MODULE_ATFWD_DAEMON) {
        frwk_module_unset(id, FRWK_FLAG_MONITORED);
    }
    modules::load_config();

    const frwk_module_info &row = g_modules_info[id];
    const char *name = row.name != nullptr ? row.name : "";
    close_temp_folder();
    if (frwk_module_feature(id, kSingleInstanceFlags) != 0) {
        take_instance_lock(name);
    }
    watch_parent(parent);
    ignore_broken_pipes();
    reset_process_state(id, exit_handler);
    prepare_memory(row.memory);
    prepare_log(row);
    watch_working_folders();
    read_process_limits();
    modules::load_run_list();

    if (frwk_module_feature(id, kServingFlags) != 0) {
        ipc::start_service();
        FRWK_VERBOSE(__func__, "******** '%s' module init complete ********", name);
    }
    run_start_hook(name);
    if (row.delay != 0) {
        frwk_sleep(static_cast<uint32_t>(row.delay));
    }
}
