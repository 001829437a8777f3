/*
 * A module, router, whose handler forks while other threads of it are at work, or that forks while it starts.
 *
 *     forking-module LOAD
 *     forking-module at-socket | at-listen
 *
 * The second form forks a child that lives on, by another thread, as soon as the socket exists, or listens;
 * its first line is the child's process id. LOAD is what its threads do all the time, and a child once: "log"
 * writes lines and looks for a queue, "shell" runs commands, "events" subscribes and unsubscribes, "cipher"
 * encrypts. Each message is answered with 0 when all went well. The answer to kForkAndLive is the process id
 * of a child that lives on.
 */
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include "cipher.h"
#include "frwk_common.h"
#include "os_mem.h"
#include "os_process.h"
#include "security/processes/forking_module.h"
#include "support/wait_until.h"

namespace {

constexpr int kThreads = 3;
/* Far more than a child needs unless it hangs. */
constexpr std::chrono::seconds kPatience(60);

using Work = void (*)();

void write_lines() {
    (void)frwk_itc_send("nobody", 1, nullptr, 0);
    (void)frwk_ipc_send_async(E_APPS_MODULE_WLAN, 40000, nullptr, 0, 0);
}

void run_commands() {
    FILE *stream = os_popen("exit 0", "r");
    if (stream != nullptr) {
        (void)os_pclose(stream);
    }
    (void)os_system("exit 0");
}

void change_events() {
    (void)frwk_ipc_msg_sub("fork");
    (void)frwk_ipc_msg_unsub("fork");
}

void encipher() {
    os_mem_free(zn_encrypt_data("text", 4));
}

Work g_work = nullptr;

[[noreturn]] void work_for_ever() {
    for (;;) {
        g_work();
    }
}

/* Whether a child ended well in time; one that hangs is killed. */
bool ended_well(pid_t child) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    int status = 0;
    while (::waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            (void)::kill(child, SIGKILL);
            (void)::waitpid(child, &status, 0);
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

apps_err_e_type fork_and_work() {
    const pid_t child = ::fork();
    if (child == 0) {
        g_work();
        ::_exit(0);
    }
    return child > 0 && ended_well(child) ? E_APPS_ERR_SUCCESS : E_APPS_ERR_FAILURE;
}

/* The child lives until it is killed. Returns when the child's own part of the fork is over. */
pid_t fork_and_live() {
    int ready[2] = {-1, -1};
    if (::pipe(ready) != 0) {
        return -1;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        (void)!::write(ready[1], "", 1);
        for (;;) {
            (void)::pause();
        }
    }
    char byte = 0;
    (void)::close(ready[1]);
    (void)!::read(ready[0], &byte, 1);
    (void)::close(ready[0]);
    return child;
}

/* The moment of the start at which to fork; empty once that is done. */
std::string g_moment;
std::atomic<pid_t> g_child{0};

/* A fork may have to wait until the socket can be closed in the child: so wait, with a limit. */
void fork_at(const char *moment) {
    if (g_moment == moment) {
        g_moment.clear();
        std::thread([] { g_child = fork_and_live(); }).detach();
        (void)wait_until([] { return g_child != 0; }, std::chrono::milliseconds(300));
    }
}

apps_err_e_type handle(uint32_t, apps_message_id_e_type msgid, const void *, int32_t, void *rsp,
                       uint32_t rsp_size, uint32_t) {
    pid_t child = -1;
    switch (msgid) {
        case kForkAndWork:
            return fork_and_work();
        case kForkAndLive:
            child = fork_and_live();
            std::memcpy(rsp, &child, std::min<size_t>(rsp_size, sizeof(child)));
            return E_APPS_ERR_SUCCESS;
        case kForkAndDie:
            std::printf("%d\n", fork_and_live());
            (void)std::fflush(stdout);
            (void)::raise(SIGKILL);
            return E_APPS_ERR_FAILURE;
        default:
            return E_APPS_ERR_UNSUPPORTED;
    }
}

Work work_named(const std::string &name) {
    if (name == "log") {
        return write_lines;
    }
    if (name == "shell") {
        return run_commands;
    }
    return name == "events" ? change_events : encipher;
}

}  // namespace

/* The library's calls come here. */
extern "C" __attribute__((visibility("default"))) int socket(int family, int type, int protocol) noexcept {
    const int fd = static_cast<int>(::syscall(SYS_socket, family, type, protocol));
    if ((type & SOCK_STREAM) != 0) {
        fork_at("at-socket");
    }
    return fd;
}

extern "C" __attribute__((visibility("default"))) int listen(int fd, int backlog) noexcept {
    const int result = static_cast<int>(::syscall(SYS_listen, fd, backlog));
    fork_at("at-listen");
    return result;
}

int main(int argc, char **argv) {
    const std::string load = argc > 1 ? argv[1] : "";
    const bool at_start = load.rfind("at-", 0) == 0;
    g_moment = at_start ? load : "";
    frwk_module_init(E_APPS_MODULE_ROUTER, nullptr);
    if (at_start) {
        (void)wait_until([] { return g_child != 0; });
        std::printf("%d\n", g_child.load());
    }
    g_work = work_named(load);
    if (argc > 1 && !at_start) {
        for (int i = 0; i < kThreads; ++i) {
            std::thread(work_for_ever).detach();
        }
    }
    frwk_ipc_service_ex(handle, 0);
    std::puts("ready");
    (void)std::fflush(stdout);
    frwk_keep_running();
}
