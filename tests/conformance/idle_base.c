/*
 * A base library that has every function of the contract, and does nothing in any of them. Its two words of
 * the log are no variables.
 */
#include <stddef.h>

#define g_debug_log_enable declared_debug_log_enable
#define g_syslog_level declared_syslog_level
#include "base64.h"
#include "byte_buffer.h"
#include "cipher.h"
#include "enum_name.h"
#include "json.h"
#include "list.h"
#include "md5.h"
#include "os_file.h"
#include "os_log.h"
#include "os_mem.h"
#include "os_process.h"
#include "os_thread.h"
#include "os_time.h"
#include "text_copy.h"
#include "xml.h"
#undef g_debug_log_enable
#undef g_syslog_level

#pragma GCC visibility push(default)
void g_debug_log_enable(void);
void g_debug_log_enable(void) {}

void g_syslog_level(void);
void g_syslog_level(void) {}
#pragma GCC visibility pop

void os_mem_init(const os_mem_settings *settings) {
    (void)settings;
}

void *os_mem_malloc(size_t size) {
    (void)size;
    return NULL;
}

char *os_mem_strdup(const char *text) {
    (void)text;
    return NULL;
}

void os_mem_free(void *block) {
    (void)block;
}

void os_mem_usage(os_mem_usage_t *usage) {
    (void)usage;
}

int32_t os_mem_zeroing(int32_t on) {
    (void)on;
    return 0;
}

os_mutex *os_mutex_create(void) {
    return NULL;
}

int32_t os_mutex_lock(os_mutex *mutex) {
    (void)mutex;
    return 0;
}

int32_t os_mutex_unlock(os_mutex *mutex) {
    (void)mutex;
    return 0;
}

void os_mutex_close(os_mutex *mutex) {
    (void)mutex;
}

os_sem *os_sem_create(uint32_t count) {
    (void)count;
    return NULL;
}

int32_t os_sem_wait(os_sem *sem) {
    (void)sem;
    return 0;
}

int32_t os_sem_post(os_sem *sem) {
    (void)sem;
    return 0;
}

void os_sem_close(os_sem *sem) {
    (void)sem;
}

int32_t os_thread_attr_init(os_thread_attr *attr) {
    (void)attr;
    return 0;
}

int32_t os_thread_create(os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry,
                         void *argument) {
    (void)thread;
    (void)attr;
    (void)entry;
    (void)argument;
    return 0;
}

int32_t os_thread_join(os_thread_t thread) {
    (void)thread;
    return 0;
}

int32_t os_thread_cancel(os_thread_t thread) {
    (void)thread;
    return 0;
}

void os_simple_timer_start(os_simple_timer *timer, uint64_t milliseconds) {
    (void)timer;
    (void)milliseconds;
}

int32_t os_simple_timer_timeout(const os_simple_timer *timer) {
    (void)timer;
    return 0;
}

void os_uptime(long *seconds, long *nanoseconds) {
    (void)seconds;
    (void)nanoseconds;
}

uint32_t os_uptime_sec(void) {
    return 0;
}

int32_t os_gettimeofday(struct timeval *now) {
    (void)now;
    return 0;
}

void os_sleep(uint32_t seconds) {
    (void)seconds;
}

void os_msleep(uint32_t milliseconds) {
    (void)milliseconds;
}

int32_t os_file_exist(const char *path) {
    (void)path;
    return 0;
}

uint64_t os_file_size(const char *path) {
    (void)path;
    return 0;
}

int32_t os_system(const char *command) {
    (void)command;
    return 0;
}

FILE *os_popen(const char *command, const char *mode) {
    (void)command;
    (void)mode;
    return NULL;
}

int32_t os_pclose(FILE *stream) {
    (void)stream;
    return 0;
}

void os_command_scope_open(void) {}

int32_t os_command_scope_close(void) {
    return 0;
}

int32_t os_command_untranslated(int32_t on) {
    (void)on;
    return 0;
}

void os_log_init(const char *name, uint32_t facility) {
    (void)name;
    (void)facility;
}

void os_debug_enable(void) {}

int32_t os_mask_check(int level) {
    (void)level;
    return 0;
}

void os_debug_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    (void)level;
    (void)file;
    (void)function;
    (void)line;
    (void)format;
}

void os_trace_print(int level, const char *file, const char *function, int line, const char *format, ...) {
    (void)level;
    (void)file;
    (void)function;
    (void)line;
    (void)format;
}

void os_log_assert(const char *file, const char *function, int line, int condition, const char *text,
                   const char *message) {
    (void)file;
    (void)function;
    (void)line;
    (void)condition;
    (void)text;
    (void)message;
}

void list_init(list_node *head) {
    (void)head;
}

void list_add(list_node *head, list_node *node) {
    (void)head;
    (void)node;
}

void list_del(list_node *node) {
    (void)node;
}

xml_doc *xml_file_parse(const char *path) {
    (void)path;
    return NULL;
}

xml_node *xml_get_doc_root(xml_doc *doc) {
    (void)doc;
    return NULL;
}

xml_node *xml_get_child_node(xml_node *parent, const char *name) {
    (void)parent;
    (void)name;
    return NULL;
}

xml_node *xml_get_next_node(xml_node *node) {
    (void)node;
    return NULL;
}

const char *xml_get_node_name(xml_node *node) {
    (void)node;
    return NULL;
}

const char *xml_get_node_value(xml_node *node) {
    (void)node;
    return NULL;
}

void xml_free_doc(xml_doc *doc) {
    (void)doc;
}

json_item *json_get_object_item(const json_item *object, const char *name) {
    (void)object;
    (void)name;
    return NULL;
}

int32_t json_is_string(const json_item *item) {
    (void)item;
    return 0;
}

const char *json_get_string(const json_item *item) {
    (void)item;
    return NULL;
}

int64_t json_get_int64(const json_item *item) {
    (void)item;
    return 0;
}

double json_get_double(const json_item *item) {
    (void)item;
    return 0;
}

char *base64_encrypt(const void *data, uint32_t length) {
    (void)data;
    (void)length;
    return NULL;
}

void *base64_decrypt(const char *text, uint32_t length, uint32_t *count) {
    (void)text;
    (void)length;
    (void)count;
    return NULL;
}

char *zn_encrypt_data(const void *data, uint32_t length) {
    (void)data;
    (void)length;
    return NULL;
}

void *zn_decrypt_data(const char *text, uint32_t length, uint32_t *count) {
    (void)text;
    (void)length;
    (void)count;
    return NULL;
}

int32_t zn_encrypt_file_ex(const char *path) {
    (void)path;
    return 0;
}

int32_t zn_decrypt_file_ex(const char *path) {
    (void)path;
    return 0;
}

int32_t md5_encrypt_file(const char *path, uint8_t digest[MD5_DIGEST_SIZE]) {
    (void)path;
    (void)digest;
    return 0;
}

int32_t md5_encrypt_file_str(const char *path, char *text) {
    (void)path;
    (void)text;
    return 0;
}

int32_t zn_bf_init(zn_bf_t *buf, uint32_t size) {
    (void)buf;
    (void)size;
    return 0;
}

int32_t zn_bf_grow(zn_bf_t *buf, uint32_t size) {
    (void)buf;
    (void)size;
    return 0;
}

void zn_bf_free(zn_bf_t *buf) {
    (void)buf;
}

const char *zn_enum_to_string(const zn_enum_item *table, uint32_t count, int32_t value) {
    (void)table;
    (void)count;
    (void)value;
    return NULL;
}

int32_t zn_string_to_enum(const zn_enum_item *table, uint32_t count, const char *name) {
    (void)table;
    (void)count;
    (void)name;
    return 0;
}

char *strsncpy(char *dst, const char *src, size_t length) {
    (void)dst;
    (void)src;
    (void)length;
    return NULL;
}

char *strdern(char *text, size_t length) {
    (void)text;
    (void)length;
    return NULL;
}
