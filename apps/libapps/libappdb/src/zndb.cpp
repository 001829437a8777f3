/*
 * The exported calls: each maps to a request and a message.
 */
#include "zndb.h"

#include "zndb_request.h"

int zndb_set(const char *key, const char *value) {
    return zndb_client::set_value(E_APPS_MSG_ZNDB_SET, key, value);
}

int zndb_set_perm_data(const char *key, const char *value) {
    return zndb_client::set_value(E_APPS_MSG_ZNDB_SET_PERM, key, value);
}

int zndb_get(const char *key, char *value, uint32_t size) {
    return zndb_client::get_value(E_APPS_MSG_ZNDB_GET, key, value, size);
}

int zndb_get_perm(const char *key, char *value, uint32_t size) {
    return zndb_client::get_value(E_APPS_MSG_ZNDB_GET_PERM, key, value, size);
}

int zndb_get_def(const char *key, char *value, uint32_t size) {
    return zndb_client::get_value(E_APPS_MSG_ZNDB_GET_DEF, key, value, size);
}

int zndb_del(const char *key) {
    return zndb_client::delete_value(E_APPS_MSG_ZNDB_DEL, key);
}

int zndb_del_perm(const char *key) {
    return zndb_client::delete_value(E_APPS_MSG_ZNDB_DEL_PERM, key);
}

int zndb_save(void) {
    return zndb_client::send_message(log_name::kZndbSaveRequest, E_APPS_MSG_ZNDB_SAVE);
}

int zndb_save_ram(void) {
    return zndb_client::send_message(log_name::kZndbSaveRequest, E_APPS_MSG_ZNDB_SAVE_RAM);
}

int zndb_reset(void) {
    return zndb_client::send_message(__func__, E_APPS_MSG_ZNDB_RESET);
}
