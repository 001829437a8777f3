/*
 * Where calls of the base library's functions arrive, and how they go on.
 */
#include "doubles/base_doubles.h"

#include <cstdarg>

#include "doubles/formatted_text.h"

extern "C" {

void *__real_os_mem_malloc(size_t);
char *__real_os_mem_strdup(const char *);
void __real_os_mem_init(const os_mem_settings *);
int32_t __real_os_thread_create(os_thread_t *, const os_thread_attr *, os_thread_entry, void *);
int32_t __real_os_thread_cancel(os_thread_t);
int32_t __real_os_thread_join(os_thread_t);
os_mutex *__real_os_mutex_create();
os_sem *__real_os_sem_create(uint32_t);
int32_t __real_os_sem_post(os_sem *);
int32_t __real_os_sem_wait(os_sem *);
int32_t __real_os_system(const char *);
FILE *__real_os_popen(const char *, const char *);
void __real_os_sleep(uint32_t);
void __real_os_msleep(uint32_t);
void __real_os_simple_timer_start(os_simple_timer *, uint64_t);
int32_t __real_os_simple_timer_timeout(const os_simple_timer *);
uint32_t __real_os_uptime_sec();
int32_t __real_os_gettimeofday(timeval *);
int32_t __real_os_file_exist(const char *);
void __real_os_log_init(const char *, uint32_t);
void __real_os_debug_enable();
void __real_os_log_assert(const char *, const char *, int, int, const char *, const char *);
void __real_os_uptime(long *, long *);
int32_t __real_zn_bf_init(zn_bf_t *, uint32_t);
int32_t __real_zn_bf_grow(zn_bf_t *, uint32_t);
xml_doc *__real_xml_file_parse(const char *);
xml_node *__real_xml_get_doc_root(xml_doc *);
char *__real_strdern(char *, size_t);
const char *__real_zn_enum_to_string(const zn_enum_item *, uint32_t, int32_t);
void __real_os_debug_print(int, const char *, const char *, int, const char *, ...);
void __real_os_trace_print(int, const char *, const char *, int, const char *, ...);

}  // extern "C"

namespace doubles::base {

namespace {

void real_debug_print(int level, const char *file, const char *function, int line, const char *text) {
    __real_os_debug_print(level, file, function, line, "%s", text);
}

void real_trace_print(int level, const char *file, const char *function, int line, const char *text) {
    __real_os_trace_print(level, file, function, line, "%s", text);
}

}  // namespace

Double<void *(size_t)> os_mem_malloc(__real_os_mem_malloc);
Double<char *(const char *)> os_mem_strdup(__real_os_mem_strdup);
Double<void(const os_mem_settings *)> os_mem_init(__real_os_mem_init);
Double<int32_t(os_thread_t *, const os_thread_attr *, os_thread_entry, void *)> os_thread_create(
    __real_os_thread_create);
Double<int32_t(os_thread_t)> os_thread_cancel(__real_os_thread_cancel);
Double<int32_t(os_thread_t)> os_thread_join(__real_os_thread_join);
Double<os_mutex *()> os_mutex_create(__real_os_mutex_create);
Double<os_sem *(uint32_t)> os_sem_create(__real_os_sem_create);
Double<int32_t(os_sem *)> os_sem_post(__real_os_sem_post);
Double<int32_t(os_sem *)> os_sem_wait(__real_os_sem_wait);
Double<int32_t(const char *)> os_system(__real_os_system);
Double<FILE *(const char *, const char *)> os_popen(__real_os_popen);
Double<void(uint32_t)> os_sleep(__real_os_sleep);
Double<void(uint32_t)> os_msleep(__real_os_msleep);
Double<void(os_simple_timer *, uint64_t)> os_simple_timer_start(__real_os_simple_timer_start);
Double<int32_t(const os_simple_timer *)> os_simple_timer_timeout(__real_os_simple_timer_timeout);
Double<uint32_t()> os_uptime_sec(__real_os_uptime_sec);
Double<int32_t(timeval *)> os_gettimeofday(__real_os_gettimeofday);
Double<int32_t(const char *)> os_file_exist(__real_os_file_exist);
Double<void(const char *, uint32_t)> os_log_init(__real_os_log_init);
Double<void()> os_debug_enable(__real_os_debug_enable);
Double<void(const char *, const char *, int, int, const char *, const char *)> os_log_assert(
    __real_os_log_assert);
Double<void(long *, long *)> os_uptime(__real_os_uptime);
Double<int32_t(zn_bf_t *, uint32_t)> zn_bf_init(__real_zn_bf_init);
Double<int32_t(zn_bf_t *, uint32_t)> zn_bf_grow(__real_zn_bf_grow);
Double<xml_doc *(const char *)> xml_file_parse(__real_xml_file_parse);
Double<xml_node *(xml_doc *)> xml_get_doc_root(__real_xml_get_doc_root);
Double<const char *(const zn_enum_item *, uint32_t, int32_t)> zn_enum_to_string(__real_zn_enum_to_string);
Double<char *(char *, size_t)> strdern(__real_strdern);
Double<void(int, const char *, const char *, int, const char *)> os_debug_print(real_debug_print);
Double<void(int, const char *, const char *, int, const char *)> os_trace_print(real_trace_print);

}  // namespace doubles::base

extern "C" {

void *__wrap_os_mem_malloc(size_t a) {
    return doubles::base::os_mem_malloc(a);
}

char *__wrap_os_mem_strdup(const char *a) {
    return doubles::base::os_mem_strdup(a);
}

void __wrap_os_mem_init(const os_mem_settings *a) {
    doubles::base::os_mem_init(a);
}

int32_t __wrap_os_thread_create(os_thread_t *a, const os_thread_attr *b, os_thread_entry c, void *d) {
    return doubles::base::os_thread_create(a, b, c, d);
}

int32_t __wrap_os_thread_cancel(os_thread_t a) {
    return doubles::base::os_thread_cancel(a);
}

int32_t __wrap_os_thread_join(os_thread_t a) {
    return doubles::base::os_thread_join(a);
}

os_mutex *__wrap_os_mutex_create() {
    return doubles::base::os_mutex_create();
}

os_sem *__wrap_os_sem_create(uint32_t a) {
    return doubles::base::os_sem_create(a);
}

int32_t __wrap_os_sem_post(os_sem *a) {
    return doubles::base::os_sem_post(a);
}

int32_t __wrap_os_sem_wait(os_sem *a) {
    return doubles::base::os_sem_wait(a);
}

int32_t __wrap_os_system(const char *a) {
    return doubles::base::os_system(a);
}

FILE *__wrap_os_popen(const char *a, const char *b) {
    return doubles::base::os_popen(a, b);
}

void __wrap_os_sleep(uint32_t a) {
    doubles::base::os_sleep(a);
}

void __wrap_os_msleep(uint32_t a) {
    doubles::base::os_msleep(a);
}

void __wrap_os_simple_timer_start(os_simple_timer *a, uint64_t b) {
    doubles::base::os_simple_timer_start(a, b);
}

int32_t __wrap_os_simple_timer_timeout(const os_simple_timer *a) {
    return doubles::base::os_simple_timer_timeout(a);
}

uint32_t __wrap_os_uptime_sec() {
    return doubles::base::os_uptime_sec();
}

int32_t __wrap_os_gettimeofday(timeval *a) {
    return doubles::base::os_gettimeofday(a);
}

int32_t __wrap_os_file_exist(const char *a) {
    return doubles::base::os_file_exist(a);
}

void __wrap_os_log_init(const char *a, uint32_t b) {
    doubles::base::os_log_init(a, b);
}

void __wrap_os_debug_enable() {
    doubles::base::os_debug_enable();
}

void __wrap_os_log_assert(const char *a, const char *b, int c, int d, const char *e, const char *f) {
    doubles::base::os_log_assert(a, b, c, d, e, f);
}

void __wrap_os_uptime(long *a, long *b) {
    doubles::base::os_uptime(a, b);
}

int32_t __wrap_zn_bf_init(zn_bf_t *a, uint32_t b) {
    return doubles::base::zn_bf_init(a, b);
}

int32_t __wrap_zn_bf_grow(zn_bf_t *a, uint32_t b) {
    return doubles::base::zn_bf_grow(a, b);
}

xml_doc *__wrap_xml_file_parse(const char *a) {
    return doubles::base::xml_file_parse(a);
}

xml_node *__wrap_xml_get_doc_root(xml_doc *a) {
    return doubles::base::xml_get_doc_root(a);
}

const char *__wrap_zn_enum_to_string(const zn_enum_item *a, uint32_t b, int32_t c) {
    return doubles::base::zn_enum_to_string(a, b, c);
}

char *__wrap_strdern(char *a, size_t b) {
    return doubles::base::strdern(a, b);
}

void __wrap_os_debug_print(int level, const char *file, const char *function, int line, const char *format,
                           ...) {
    va_list args;
    va_start(args, format);
    const std::string text = doubles::formatted_text(format, args);
    va_end(args);
    doubles::base::os_debug_print(level, file, function, line, text.c_str());
}

void __wrap_os_trace_print(int level, const char *file, const char *function, int line, const char *format,
                           ...) {
    va_list args;
    va_start(args, format);
    const std::string text = doubles::formatted_text(format, args);
    va_end(args);
    doubles::base::os_trace_print(level, file, function, line, text.c_str());
}

}  // extern "C"
