/*
 * ask: sends one request to a module, or to the database, and prints the result.
 *
 *     ask sync MODULE MESSAGE [TEXT]     waits for the result and the answer
 *     ask async MODULE MESSAGE [TEXT]    only delivers the message
 *     ask broadcast MESSAGE [TEXT]       delivers it to every module that is monitored
 *     ask publish EVENT [TEXT]           sends the message with that name to its subscribers
 *     ask init-events                    ends all subscriptions, as the device does when it starts
 *     ask status MODULE                  the module's status word
 *     ask set KEY VALUE                  the configuration database
 *     ask get KEY
 *     ask save
 *     ask get-perm KEY                   its perm store
 *     ask adapt                          adapts the device to its SIM, and prints the adaptation's status
 *
 * The status is 0 if the request was sent, whatever its result; 2 for wrong usage.
 */
#include <stdio.h>
#include <string.h>

#include "frwk_common.h"
#include "frwk_utils.h"
#include "zndb.h"

enum {
    TIME_LIMIT = 3 /* seconds */
};

static uint32_t length_of(const char *text) {
    return text != NULL ? (uint32_t)strlen(text) : 0;
}

static void ask_sync(const char *module, const char *message, const char *text) {
    char answer[128] = "";
    int32_t result = 0;
    const apps_err_e_type sent =
        frwk_ipc_send_sync((uint32_t)frwk_module_id(module), zn_str_to_enum_apps_message_id_e_type(message),
                           text, length_of(text), answer, sizeof(answer) - 1, TIME_LIMIT, &result);
    if (sent != E_APPS_ERR_SUCCESS) {
        printf("not answered: %s\n", zn_enum_to_str_apps_err_e_type(sent));
        return;
    }
    printf("result %s, answer \"%s\"\n", zn_enum_to_str_apps_err_e_type(result), answer);
}

static void ask_async(const char *module, const char *message, const char *text) {
    const apps_err_e_type sent =
        frwk_ipc_send_async((uint32_t)frwk_module_id(module), zn_str_to_enum_apps_message_id_e_type(message),
                            text, length_of(text), TIME_LIMIT);
    printf("%s\n", sent == E_APPS_ERR_ASYNC ? "delivered" : zn_enum_to_str_apps_err_e_type(sent));
}

static void broadcast(const char *message, const char *text) {
    frwk_ipc_msg_broadcast(zn_str_to_enum_apps_message_id_e_type(message), text, length_of(text));
    printf("sent to all\n");
}

static void publish(const char *event, const char *text) {
    frwk_ipc_msg_pub(event, zn_str_to_enum_apps_message_id_e_type(event), text, length_of(text));
    printf("published\n");
}

static void init_events(void) {
    frwk_ipc_init_sub();
    printf("nobody is subscribed\n");
}

static void get_key(int (*get)(const char *key, char *value, uint32_t size), const char *key) {
    char value[ZNDB_VALUE_LEN];
    const int result = get(key, value, sizeof(value));
    if (result == E_ZNDB_RET_SUCCESS) {
        printf("%s\n", value);
    } else {
        printf("not read: %s\n", zn_enum_to_str_apps_err_e_type(frwk_zndb_error_convert(result)));
    }
}

static void show_stored(int result) {
    printf("%s\n", zn_enum_to_str_apps_err_e_type(frwk_zndb_error_convert(result)));
}

static void adapt_to_sim(void) {
    uint32_t status = 0;
    frwk_sim_subnet_handle(0);
    frwk_zndb_get_key_value("mnet_sim_subnet_adapt_status", FRWK_DATA_TYPE_UINT, &status, sizeof(status));
    printf("status %u\n", status);
}

static int carry_out(int count, char **words) {
    const char *verb = count > 0 ? words[0] : "";
    if (strcmp(verb, "sync") == 0 && (count == 3 || count == 4)) {
        ask_sync(words[1], words[2], words[3]);
    } else if (strcmp(verb, "async") == 0 && (count == 3 || count == 4)) {
        ask_async(words[1], words[2], words[3]);
    } else if (strcmp(verb, "broadcast") == 0 && (count == 2 || count == 3)) {
        broadcast(words[1], words[2]);
    } else if (strcmp(verb, "publish") == 0 && (count == 2 || count == 3)) {
        publish(words[1], words[2]);
    } else if (strcmp(verb, "init-events") == 0 && count == 1) {
        init_events();
    } else if (strcmp(verb, "status") == 0 && count == 2) {
        printf("status %u\n", frwk_get_module_status((uint32_t)frwk_module_id(words[1])));
    } else if (strcmp(verb, "set") == 0 && count == 3) {
        show_stored(zndb_set(words[1], words[2]));
    } else if (strcmp(verb, "get") == 0 && count == 2) {
        get_key(zndb_get, words[1]);
    } else if (strcmp(verb, "get-perm") == 0 && count == 2) {
        get_key(zndb_get_perm, words[1]);
    } else if (strcmp(verb, "adapt") == 0 && count == 1) {
        adapt_to_sim();
    } else if (strcmp(verb, "save") == 0 && count == 1) {
        show_stored(zndb_save());
    } else {
        fprintf(stderr,
                "usage: ask sync|async|broadcast|publish|init-events|status|set|get|save|get-perm|adapt ..., "
                "see ask.c\n");
        return 2;
    }
    return 0;
}

int main(int argc, char **argv) {
    /* A tool is a module too: it needs an identity to send messages, but doesn't serve any. */
    frwk_module_init(E_APPS_MODULE_MONITOR_TOOL, NULL);
    return carry_out(argc - 1, argv + 1);
}
