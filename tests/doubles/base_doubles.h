/*
 * Doubles of the base library's functions. Link doubles_base; the real functions are those of the base
 * library, or of its object files if the program links these.
 *
 * The doubles of os_debug_print and os_trace_print receive the formatted text.
 */
#pragma once

#include "byte_buffer.h"
#include "doubles/double.h"
#include "enum_name.h"
#include "os_file.h"
#include "os_log.h"
#include "os_mem.h"
#include "os_process.h"
#include "os_thread.h"
#include "os_time.h"
#include "text_copy.h"
#include "xml.h"

namespace doubles::base {

extern Double<void *(size_t)> os_mem_malloc;
extern Double<char *(const char *)> os_mem_strdup;
extern Double<void(const os_mem_settings *)> os_mem_init;
extern Double<int32_t(os_thread_t *, const os_thread_attr *, os_thread_entry, void *)> os_thread_create;
extern Double<int32_t(os_thread_t)> os_thread_cancel;
extern Double<int32_t(os_thread_t)> os_thread_join;
extern Double<os_mutex *()> os_mutex_create;
extern Double<os_sem *(uint32_t)> os_sem_create;
extern Double<int32_t(os_sem *)> os_sem_post;
extern Double<int32_t(os_sem *)> os_sem_wait;
extern Double<int32_t(const char *)> os_system;
extern Double<FILE *(const char *, const char *)> os_popen;
extern Double<void(uint32_t)> os_sleep;
extern Double<void(uint32_t)> os_msleep;
extern Double<void(os_simple_timer *, uint64_t)> os_simple_timer_start;
extern Double<int32_t(const os_simple_timer *)> os_simple_timer_timeout;
extern Double<uint32_t()> os_uptime_sec;
extern Double<int32_t(timeval *)> os_gettimeofday;
extern Double<int32_t(const char *)> os_file_exist;
extern Double<void(const char *, uint32_t)> os_log_init;
extern Double<void()> os_debug_enable;
extern Double<void(const char *, const char *, int, int, const char *, const char *)> os_log_assert;
extern Double<void(long *, long *)> os_uptime;
extern Double<int32_t(zn_bf_t *, uint32_t)> zn_bf_init;
extern Double<int32_t(zn_bf_t *, uint32_t)> zn_bf_grow;
extern Double<xml_doc *(const char *)> xml_file_parse;
extern Double<xml_node *(xml_doc *)> xml_get_doc_root;
extern Double<const char *(const zn_enum_item *, uint32_t, int32_t)> zn_enum_to_string;
extern Double<char *(char *, size_t)> strdern;

/* level, file, function, line, text */
extern Double<void(int, const char *, const char *, int, const char *)> os_debug_print;
extern Double<void(int, const char *, const char *, int, const char *)> os_trace_print;

}  // namespace doubles::base
