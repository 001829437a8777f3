/*
 * hot-paths PATH COUNT: runs one of the library's hot paths COUNT times and ends. bench/guard/guard.py counts
 * its instructions and system calls, and plays the other modules.
 *
 * The counts must not depend on the scheduling of threads. So the service and the queue wait in their first
 * message until all other messages have arrived.
 */
#include <semaphore.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "apps_err.h"
#include "apps_message.h"
#include "frwk_common.h"
#include "frwk_utils.h"
#include "zndb.h"

namespace {

constexpr uint32_t kPeer = E_APPS_MODULE_WLAN;
constexpr apps_message_id_e_type kMessage = E_APPS_MSG_WLAN_SET_FEATURE_PARAMS;
constexpr uint32_t kTimeout = 3;
constexpr char kQueue[] = "guard";

constexpr int32_t kNumberTypes[] = {FRWK_DATA_TYPE_BYTE, FRWK_DATA_TYPE_SHORT, FRWK_DATA_TYPE_INT,
                                    FRWK_DATA_TYPE_ULONG, FRWK_DATA_TYPE_LLONG};

char g_data[64] = "data";

void require(bool held, const char *what) {
    if (!held) {
        (void)std::fprintf(stderr, "hot-paths: %s failed\n", what);
        std::exit(1);
    }
}

void ask() {
    char answer[64];
    int32_t result = -1;
    require(frwk_ipc_send_sync(kPeer, kMessage, g_data, sizeof(g_data), answer, sizeof(answer), kTimeout,
                               &result) == E_APPS_ERR_SUCCESS,
            "frwk_ipc_send_sync");
}

void send_async() {
    require(frwk_ipc_send_async(kPeer, kMessage, g_data, sizeof(g_data), kTimeout) == E_APPS_ERR_ASYNC,
            "frwk_ipc_send_async");
}

void ask_large() {
    static char body[65536];
    int32_t result = -1;
    require(frwk_ipc_send_sync(kPeer, kMessage, body, sizeof(body), nullptr, 0, kTimeout, &result) ==
                E_APPS_ERR_SUCCESS,
            "frwk_ipc_send_sync");
}

void get_setting() {
    char value[64];
    require(zndb_get("key", value, sizeof(value)) == E_ZNDB_RET_SUCCESS, "zndb_get");
}

void publish() {
    frwk_ipc_msg_pub("guard", kMessage, g_data, sizeof(g_data));
}

void read_numbers() {
    alignas(8) char value[8];
    for (const int32_t type : kNumberTypes) {
        require(frwk_str_to_value(type, "123", value, sizeof(value)) == E_APPS_ERR_SUCCESS,
                "frwk_str_to_value");
    }
}

void write_numbers() {
    alignas(8) const char value[8] = {123};
    char text[32];
    for (const int32_t type : kNumberTypes) {
        require(frwk_value_to_str(type, value, text, sizeof(text)) == E_APPS_ERR_SUCCESS,
                "frwk_value_to_str");
    }
}

void look_up_names() {
    require(frwk_module_id("logtool") == E_APPS_MODULE_LOGTOOL, "frwk_module_id");
    require(std::strcmp(zn_enum_to_str_apps_err_e_type(E_APPS_ERR_TIMEOUT), "E_APPS_ERR_TIMEOUT") == 0,
            "zn_enum_to_str_apps_err_e_type");
    require(zn_str_to_enum_apps_message_id_e_type("E_APPS_MSG_WLAN_SET_FEATURE_PARAMS") == kMessage,
            "zn_str_to_enum_apps_message_id_e_type");
}

/* ---- The service: requests come from outside, an exit message last. ---- */

apps_err_e_type wait_for_all(uint32_t, apps_message_id_e_type, const void *, int32_t, void *, uint32_t,
                             uint32_t) {
    static bool first = true;
    char go = 0;
    require(!first || ::read(STDIN_FILENO, &go, 1) == 1, "read");
    first = false;
    return E_APPS_ERR_SUCCESS;
}

[[noreturn]] void serve() {
    frwk_module_init(E_APPS_MODULE_ROUTER, nullptr);
    frwk_ipc_service_ex(wait_for_all, 0);
    (void)std::puts("ready");
    (void)std::fflush(stdout);
    frwk_keep_running();
    std::abort();
}

/* ---- The queue. ---- */

sem_t g_all_sent;
sem_t g_handled;

void handle(uint32_t left, const void *, int32_t) {
    if (left == UINT32_MAX) {
        (void)::sem_post(&g_handled);
        (void)::sem_wait(&g_all_sent);
    }
    if (left == 0) {
        (void)::sem_post(&g_handled);
    }
}

void send(uint32_t left) {
    require(frwk_itc_send(kQueue, left, g_data, sizeof(g_data)) == E_APPS_ERR_SUCCESS, "frwk_itc_send");
}

void queue(uint32_t count) {
    require(frwk_itc_create(kQueue, nullptr, handle) == E_APPS_ERR_SUCCESS, "frwk_itc_create");
    send(UINT32_MAX);
    (void)::sem_wait(&g_handled);
    while (count-- > 0) {
        send(count);
    }
    (void)::sem_post(&g_all_sent);
    (void)::sem_wait(&g_handled);
}

struct Path {
    const char *name;
    void (*go)();
};

constexpr Path kPaths[] = {
    {"sync", ask},
    {"sync-64k", ask_large},
    {"async", send_async},
    {"config-get", get_setting},
    {"publish", publish},
    {"text-to-number", read_numbers},
    {"number-to-text", write_numbers},
    {"names", look_up_names},
};

void go(const char *name, uint32_t count) {
    for (const Path &path : kPaths) {
        if (std::strcmp(path.name, name) == 0) {
            while (count-- > 0) {
                path.go();
            }
            return;
        }
    }
    require(std::strcmp(name, "queue") == 0, "finding the path");
    queue(count);
}

}  // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        (void)std::fprintf(stderr, "usage: hot-paths PATH COUNT\n");
        return 2;
    }
    if (std::strncmp(argv[1], "serve", 5) == 0) {
        serve();
    }
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, nullptr);
    go(argv[1], static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 10)));
    return 0;
}
