/*
 * The core of the framework: a module's identity and start-up, messages between modules, events, queues
 * between threads, system commands, waiting, scanning of texts, and questions about the running system.
 *
 * A module starts with frwk_module_init, registers its handler with frwk_ipc_service_ex or
 * frwk_ipc_service, and sends with frwk_ipc_send_sync and frwk_ipc_send_async.
 */
#ifndef QUOR_FRWK_COMMON_H
#define QUOR_FRWK_COMMON_H

#include <stdint.h>

#include "apps_err.h"
#include "apps_message.h"
#include "frwk_module.h"

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/* ---- Start-up -------------------------------------------------------------------------------------- */

/*
 * Called before the process ends on one of the messages E_APPS_MSG_SYS_EXIT to E_APPS_MSG_SYS_SHUTDOWN,
 * on the thread that received it. msgid: which of them it was.
 */
typedef void (*frwk_exit_handler_t)(apps_message_id_e_type msgid);

/*
 * Makes the process a module. The first call into the framework, made once, from the main thread, before
 * the process has other threads.
 *
 * It applies the module configuration file to the module table, takes the single-instance lock of a
 * daemon or monitored module, prepares signals, memory and logging, marks the modules of the start-up
 * list, starts the message service where the module's flags ask for it, runs the device's start hook and
 * waits the module's delay. The process receives SIGHUP when its parent ends, also where that happens during
 * this call, and ignores SIGPIPE. Descriptors 0, 1 and 2 are open afterwards, to /dev/null where they were
 * not.
 *
 * Limits of the process come from its environment; docs/porting.md lists them.
 *
 * The framework's threads keep the signal mask that they inherit, since what a handler starts by fork and
 * exec inherits theirs. A signal whose handler runs on the service thread ends that thread's wait for a
 * request, and that request is lost. So a module that handles signals blocks them, with pthread_sigmask,
 * before this call, and takes them on its main thread: with sigwait, or by unblocking them there afterwards.
 * Signals that end the process need no care.
 *
 * id: 0 to 52. exit_handler: null to end without a call.
 * It returns when the module is started. On an invalid id, a second instance, or a lock that can't be
 * had, it prints the reason to standard error and ends the process with status 255.
 */
void frwk_module_init(int32_t id, frwk_exit_handler_t exit_handler);

/* ---- Module table ---------------------------------------------------------------------------------- */
/*
 * In all of these but frwk_module_monitor an id of 53 or more, and so -1, stands for the calling module. They
 * may be called from any thread; the flag setters change one word at once.
 */

/* Returns the module's name, or null for an empty slot. The text is the table's. */
const char *frwk_module_name(int32_t id);

/* Returns the module's display alias, or null for an empty slot. The text is the table's. */
const char *frwk_module_alias(int32_t id);

/*
 * Returns the id (1 to 52) of the module with this name, compared byte for byte, or 0 when there is none.
 * name: null gives 0.
 */
int32_t frwk_module_id(const char *name);

/* Returns the extra arguments of the module's program; "" when it has none, never null. */
const char *frwk_module_cmd(int32_t id);

/*
 * Marks a module as monitored and returns its row.
 *
 * id: 0 to 53, not checked: -1 is not the caller here, and any other id writes outside of the table.
 */
frwk_module_info *frwk_module_monitor(int32_t id);

/* Sets flag bits of a module and returns its row. */
frwk_module_info *frwk_module_set(int32_t id, uint32_t bits);

/* Clears flag bits of a module and returns its row. */
frwk_module_info *frwk_module_unset(int32_t id, uint32_t bits);

/* Returns 1 when the module has any of the flag bits, else 0. */
int32_t frwk_module_feature(int32_t id, uint32_t bits);

/*
 * Tells whether a module is switched off by its marker file.
 *
 * path: receives the path of the marker file, cut to the buffer; null when it is not wanted.
 * size: bytes of path, the NUL included; ignored when path is null.
 * Returns 1 when the marker file exists, else 0.
 */
int32_t frwk_module_disabled(int32_t id, char *path, uint32_t size);

/* ---- Serving messages ------------------------------------------------------------------------------ */

/*
 * A module's request handler.
 *
 * While it runs for another module, nobody else is served: one that takes longer than a second is logged.
 * It runs on the service thread for messages from other modules, one at a time; on the caller's thread
 * for a synchronous request of the module to itself; and on a thread of its own for each asynchronous
 * message to itself. All three may happen at once. Messages 1 to 8 never reach it.
 *
 * src: id of the sender, as the sender says. msgid: any number.
 * data: the body, valid during the call; null when data_len is 0 or less. data_len: bytes.
 * rsp: the answer's buffer, zeroed for requests of other modules; null for asynchronous messages.
 * rsp_size: bytes of rsp, all of which travel back. timeout: seconds, as the sender gave them.
 * Returns the result that a synchronous sender receives. 2 (E_APPS_ERR_TIMEOUT) shows there as a
 * time-out of the request itself.
 */
typedef apps_err_e_type (*frwk_ipc_handler_t)(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                              int32_t data_len, void *rsp, uint32_t rsp_size,
                                              uint32_t timeout);

/*
 * Registers the module's handler, sets the status word to 1, and starts the service if it doesn't run.
 *
 * handler: replaces an earlier one. Messages that came before it and wait are released.
 * wait: non-zero to wait for the service thread, which never ends; the call then returns only when the
 * thread could not be started. One thread at a time may call it.
 */
void frwk_ipc_service_ex(frwk_ipc_handler_t handler, int32_t wait);

/* The same, waiting: the usual last call of a module's main thread. */
void frwk_ipc_service(frwk_ipc_handler_t handler);

/* Sets the status word that frwk_get_module_status of other modules returns. Any thread. */
void frwk_set_module_status(uint32_t status);

/* ---- Forked children ------------------------------------------------------------------------------- */
/*
 * A module may fork on any thread, also in its handler, but not in a signal handler: the fork waits for other
 * threads that are in the library for a moment. Commands of os_process.h need none of this.
 *
 * The child is no module. It has neither the module's socket, nor the connection that is being served, nor
 * queues, and its messages have the module's id. It doesn't return from the handler, and ends by exec or
 * _exit. Until then it may call every function of this library and of the base library, but for
 * - frwk_module_init, frwk_ipc_service_ex, frwk_ipc_service, frwk_keep_running and os_log_init;
 * - those that send to its own module: the handler would run in the child;
 * - frwk_random, for which the C library has a lock;
 * - those on a mutex, a semaphore, a thread or a stream that its parent made: threads that are not in the
 * child may have been using it. The locks of the C library are no concern of this one: a log line takes that
 * of localtime, so a module doesn't fork while a thread of its own is in localtime, mktime or tzset. Other
 * descriptors that its parent has open stay open in the child as well.
 */

/* ---- Sending messages ------------------------------------------------------------------------------ */
/*
 * All of these may be called from any thread, at once. module is 1 to 52. Buffers stay the caller's.
 */

/*
 * Sends a request and waits for its answer.
 *
 * timeout: seconds; it limits the connect, and how long the receiver waits for its own handler to be
 * registered: it waits without limit for messages 1008 and 1009, and not at all for the modules webserver and
 * tr069, which get the result E_APPS_ERR_PROCESS. Once the request is written the call waits for the answer
 * without limit; from the fifth second on it says so in the log, as a warning, each time that the wait has
 * doubled. A signal does not end it.
 *
 * req, req_len: the body and its bytes; null and 0 for none.
 *
 * rsp, rsp_size: receives the answer, and its bytes; null and 0 for none. What the answer doesn't fill is
 * unchanged, and so is all of it when the call fails, with one exception: an answer for which there is room
 * for more than 1,024 bytes, and that breaks off midway, may leave a part of itself.
 *
 * result: receives the handler's result when the call returns 0 or 2, or is left alone; may be null. A
 * request of the module to itself calls the handler on this thread and returns 0.
 *
 * Returns 0 when the request was answered, 1 E_APPS_ERR_MODULE (no such module, it doesn't run, its queue of
 * connections stayed full for the time limit, or there is no descriptor),
 * 2 E_APPS_ERR_TIMEOUT (the handler said so, or none was registered in time), 3 E_APPS_ERR_PARAM (a
 * length without a buffer), 5 E_APPS_ERR_MALLOC, 9 E_APPS_ERR_OUTOFBUF (the answer is longer than rsp),
 * 18 E_APPS_ERR_WRITE, or 19 E_APPS_ERR_READ (the receiver went away without an answer).
 */
apps_err_e_type frwk_ipc_send_sync(uint32_t module, apps_message_id_e_type msgid, const void *req,
                                   uint32_t req_len, void *rsp, uint32_t rsp_size, uint32_t timeout,
                                   int32_t *result);

/*
 * Sends a message and does not wait for it to be handled.
 *
 * data, len: the body and its bytes, copied; null and 0 for none. timeout: seconds, limits the connect; a
 * body larger than the socket's buffer, about 200 KB, then waits for the receiver to read it, without limit.
 * A message of the module to itself is handled on a thread of its own; when a hundred of these, or ten times
 * as many, run at once, the log says so. There are at most 4096 at once, or what the environment says in
 * QUOR_IPC_OWN_MESSAGES_LIMIT when the module starts; one more is refused like a thread that can't be
 * started.
 *
 * Returns 15 E_APPS_ERR_ASYNC when the message was delivered; never 0. Otherwise, as of frwk_ipc_send_sync,
 * 1 E_APPS_ERR_MODULE, 3 E_APPS_ERR_PARAM, 5 E_APPS_ERR_MALLOC, 14 E_APPS_ERR_THREAD (to itself) or 18
 * E_APPS_ERR_WRITE.
 */
apps_err_e_type frwk_ipc_send_async(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len, uint32_t timeout);

/* frwk_ipc_send_sync without a body. */
apps_err_e_type frwk_ipc_msg_get(uint32_t module, apps_message_id_e_type msgid, void *rsp, uint32_t rsp_size,
                                 uint32_t timeout, int32_t *result);

/* frwk_ipc_send_sync without an answer but the result. */
apps_err_e_type frwk_ipc_msg_set(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                 uint32_t len, uint32_t timeout, int32_t *result);

/* frwk_ipc_send_async with a limit of 3 seconds. */
apps_err_e_type frwk_ipc_msg_notify(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len);

/*
 * Notifies every monitored module but the caller, in the order of their ids. Modules that can't be
 * reached are passed over.
 */
void frwk_ipc_msg_broadcast(apps_message_id_e_type msgid, const void *data, uint32_t len);

/*
 * Asks a module for its status word: 0 from its start, 1 when its handler is registered, anything else by
 * its own frwk_set_module_status.
 *
 * Returns the word, or 0 when the module can't be asked. It waits as frwk_ipc_send_sync does, with a
 * limit of 3 seconds.
 */
uint32_t frwk_get_module_status(uint32_t module);

/*
 * Returns 1 when a message is a frequent poll whose trace line stays out of the system log, else 0. Any
 * thread.
 */
int32_t frwk_ipc_msg_debug(apps_message_id_e_type msgid);

/* Returns the port number of a module: its low 16 bits with 0x7F00 set. Any thread. */
uint16_t frwk_ipc_port(uint32_t module);

/* ---- Events ---------------------------------------------------------------------------------------- */
/*
 * A module subscribes to an event by its key, and any module that publishes the event reaches it with a
 * message, without knowing it. Subscriptions lie in files: they outlive the module's process and end only
 * with frwk_ipc_msg_unsub or frwk_ipc_init_sub.
 *
 * event: the key, such as the name of the event's message. It is the name of a file, so it must not be empty,
 * "." or "..", nor hold a "/"; it is cut after 105 characters, 108 in the folder of frwk_ipc_init_sub_ex.
 *
 * All of these may be called from any thread. Subscribing and unsubscribing wait, without limit, while
 * another thread or process of the device does the same.
 */

/*
 * Ends every subscription, or makes the folder of subscriptions where there is none: the device's start. Keys
 * that begin with "." keep their subscribers.
 */
void frwk_ipc_init_sub(void);

/* The same for the folder that is used while the other one is missing. */
void frwk_ipc_init_sub_ex(void);

/*
 * Subscribes the calling module to an event; once, however often it is called.
 *
 * Returns 0, 17 E_APPS_ERR_BUSY (the lock of the subscriptions can't be had) or 12 E_APPS_ERR_IO (the event's
 * file can't be opened or written, or the key names none).
 */
apps_err_e_type frwk_ipc_msg_sub(const char *event);

/*
 * Ends the calling module's subscription of an event. It removes the first line that has the module's name
 * in it, even if that is a longer name.
 *
 * Returns 0, also when it was not subscribed, 17 E_APPS_ERR_BUSY, 12 E_APPS_ERR_IO, 5 E_APPS_ERR_MALLOC, or
 * 18 E_APPS_ERR_WRITE (the other subscriptions of the event were not written back whole).
 */
apps_err_e_type frwk_ipc_msg_unsub(const char *event);

/*
 * Sends a message to every subscriber of an event but the calling module, each with frwk_ipc_msg_notify.
 * Subscribers that can't be reached are passed over.
 *
 * data, len: the body and its bytes; null and 0 for none. The buffer stays the caller's.
 */
void frwk_ipc_msg_pub(const char *event, apps_message_id_e_type msgid, const void *data, uint32_t len);

/* ---- Queues ---------------------------------------------------------------------------------------- */
/*
 * Named queues inside one process. Each has a thread of its own that hands the messages to a handler, one
 * call a message, in the order in which a sender sent them, never two at once. A queue lives until the
 * process ends. Names are compared in upper or lower case alike.
 *
 * Both calls may be made from any thread, at once, and from a handler. A queue takes messages only once it
 * is there, so it is best created before the threads that send to it are started.
 */

/* How a thread is started; see os_thread.h of the base library. */
struct os_thread_attr;

/*
 * A queue's handler. It may send, also to its own queue.
 *
 * msgid: as sent. data: valid during the call, not to be read when size is 0. size: bytes.
 */
typedef void (*frwk_itc_handler_t)(uint32_t msgid, const void *data, int32_t size);

/*
 * Creates a queue and starts its thread.
 *
 * name: up to 63 characters; copied. attr: read during the call only; null for a detached thread with the
 * system's stack size. handler: not null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null name or handler; E_APPS_ERR_OUTOFBUF for a longer
 * name; E_APPS_ERR_BUSY when there is a queue of this name; E_APPS_ERR_MALLOC without memory;
 * E_APPS_ERR_THREAD when the thread can't be started. On failure nothing is left behind; messages that were
 * sent meanwhile are dropped.
 */
apps_err_e_type frwk_itc_create(const char *name, const struct os_thread_attr *attr,
                                frwk_itc_handler_t handler);

/*
 * Puts a message into a queue. It never waits for the handler. When a thousand messages, or ten times as
 * many, wait in the queue, the log says so. At most 1,000,000 wait, or what the environment says in
 * QUOR_ITC_WAITING_LIMIT when the module starts; one more is refused like a message for which there is no
 * memory.
 *
 * msgid: any number. data, size: copied; null and 0 for none.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null name, or null data of a size; E_APPS_ERR_NOTEXIST
 * when there is no queue of this name; E_APPS_ERR_MALLOC when there is no memory for the message, as there is
 * none for a negative size.
 */
apps_err_e_type frwk_itc_send(const char *name, uint32_t msgid, const void *data, int32_t size);

/* ---- System commands ------------------------------------------------------------------------------- */
/*
 * Requests to the monitor module. They may be called from any thread; each returns 1 when the request was
 * delivered and 0 otherwise, and does not wait for its effect.
 */

/* Asks for a reboot of the device. reason: passed on. */
int32_t frwk_system_reboot(uint32_t reason);

/*
 * Asks for a reset to factory settings. reason: passed on. The reset flag file is made even when the
 * request can't be delivered.
 */
int32_t frwk_system_reset(uint32_t reason);

/* Asks for a shutdown of the device. reason: passed on. */
int32_t frwk_system_shutdown(uint32_t reason);

/*
 * Asks for a module to be enabled.
 *
 * module: a monitored module; negative stands for the calling module. Acting on another module takes the
 * flag FRWK_FLAG_ADMIN, or no flag at all.
 */
int32_t frwk_module_enable(int32_t module);

/* Asks for a module to be disabled; as frwk_module_enable. */
int32_t frwk_module_disable(int32_t module);

/* ---- Waiting and threads --------------------------------------------------------------------------- */

/* Blocks the calling thread for milliseconds; 0 returns at once. */
void frwk_sleep(uint32_t ms);

/* Parks the calling thread for the life of the process: it never returns. */
void frwk_keep_running(void);

/*
 * Starts a thread that releases itself at its end.
 *
 * function, argument: what it runs.
 * Returns its handle, or 0 when it could not be started. Any thread.
 */
unsigned long frwk_thread_create(void *(*function)(void *argument), void *argument);

/* ---- Texts ----------------------------------------------------------------------------------------- */
/*
 * All of these may be called from any thread. Texts are NUL-terminated; a returned pointer points into
 * the caller's text.
 */

/* Returns the first character of text that is neither blank nor tab; null for null. */
char *frwk_skip_space(const char *text);

/*
 * Moves over the current token and the blanks and tabs behind it.
 *
 * Returns the start of the next token; the empty text when only blanks and tabs follow; null when the
 * token runs to the end of the text, or text is null.
 */
char *frwk_skip_next_space(const char *text);

/*
 * Copies the text between two markers.
 *
 * begin: the copied text starts behind its first occurrence; "" or null for the start of src.
 * end: the copied text ends before its next occurrence; "" or null for the end of src.
 * out: receives the text; empty when nothing was copied. size: bytes of out, the NUL included.
 * Returns 1, or 0 when a marker is missing, the text does not fit, or src or out is null.
 */
int32_t frwk_str_pick(const char *src, const char *begin, const char *end, char *out, int32_t size);

/*
 * Copies the value that follows a name, as in name='value',name2=value2.
 *
 * name: searched as a plain text, so it should include its "=" or ":". A value in single or double quotes
 * ends at the same quote, any other at the next comma, both at the end of src.
 * out: receives the value; empty when the name is missing. size: bytes of out, the NUL included.
 * Returns 1, or 0 when the name is missing, the value does not fit, or an argument is null.
 */
int32_t frwk_str_pick_value(const char *src, const char *name, char *out, int32_t size);

/* Returns what follows the last "/" or "\" of a path; "" for null or an empty path. */
const char *frwk_get_filename(const char *path);

/* ---- System ---------------------------------------------------------------------------------------- */
/*
 * What a module learns about the running system. All of these may be called from any thread, except where
 * they share state as they say. Those that run a tool wait for its end, without limit. On failure they log
 * the cause and leave their outputs as they are.
 */

/*
 * Keeps the reason of the next reboot, which frwk_reboot_reason_get returns after it.
 *
 * reason: any number; its meaning is the modules' own.
 * Returns 0, or what system(3) returns when the file can't be written; -1 when the file is a symbolic link,
 * or another user has put there what can't be set aside. It waits until the reason is on the disk.
 */
int32_t frwk_reboot_reason_save(int32_t reason);

/* Returns the reason that was kept last; 0 when there is none or it can't be read. */
int32_t frwk_reboot_reason_get(void);

/* Returns 1 when a reset to factory settings was asked for and is not completed, else 0. */
int32_t frwk_system_reset_check(void);

/*
 * Marks a reset to factory settings as completed; harmless when none was asked for. It waits until that is
 * on the disk.
 */
void frwk_system_reset_complete(void);

/*
 * Returns the seconds since boot, less the setting "device_uptime_offset" where that is above 0 and below
 * them. The setting is asked for until it was read once in the process.
 */
uint32_t frwk_uptime(void);

/* The system's memory and processes. Amounts of memory are cut to their low 32 bits. */
typedef struct frwk_sysinfo {
    uint32_t uptime;     /* seconds, as frwk_uptime returns them */
    uint32_t total_ram;  /* bytes */
    uint32_t free_ram;   /* bytes */
    uint32_t shared_ram; /* bytes */
    uint32_t buffer_ram; /* bytes */
    uint32_t total_swap; /* bytes */
    uint32_t free_swap;  /* bytes */
    uint32_t used_ram;   /* bytes: total less free */
    uint32_t mem_unit;   /* bytes of the kernel's unit of memory */
    uint32_t procs;      /* number of processes */
} frwk_sysinfo;

/*
 * Fills the record. info: unchanged when the kernel gives no information; null when it is not wanted.
 *
 * Returns the uptime.
 */
uint32_t frwk_get_sysinfo(frwk_sysinfo *info);

/* How busy the processors are, in per cent. */
typedef struct frwk_cpustate {
    uint32_t usr;   /* programs */
    uint32_t nic;   /* programs with a lowered priority */
    uint32_t sys;   /* the kernel */
    uint32_t idle;  /* nothing */
    uint32_t usage; /* 100 less idle */
} frwk_cpustate;

/*
 * Reads the state of the processors from "top -n1".
 *
 * state: unchanged when top can't be run or prints no line of it; a member that the line doesn't name keeps
 * what it holds, and usage follows from idle in any case. null does nothing.
 */
void frwk_get_cpustate_top(frwk_cpustate *state);

/* The same from "mpstat -u 1 1", averaged over the second that the call takes. */
void frwk_get_cpustate_mpstat(frwk_cpustate *state);

/* frwk_get_cpustate_mpstat. */
void frwk_get_cpustate(frwk_cpustate *state);

/*
 * Reads a column of a partition's line in the output of df, such as its use in per cent.
 *
 * name: a part of the line, as grep searches for it; the first line counts. column: 1 for the first.
 * result: receives the number without its last character, which is the per-cent sign in the column of the
 * use; so any other column loses its last digit.
 * Returns 0, or -1 when an argument is null, the name is empty or longer than the command has room for (80
 * bytes without a single quote have, with a column of one or two digits), or there is no such line; result is
 * then unchanged.
 */
int32_t frwk_get_partion_info(const char *name, int32_t column, int32_t *result);

/*
 * Reads the hardware id from the kernel's command line, "hardware.id=" there.
 *
 * buffer: receives at most size - 1 bytes of it, and a NUL behind them when it is shorter than that; the
 * last byte is never written, so zero it before the call. Unchanged when there is no id.
 * size: bytes of buffer.
 */
void frwk_get_hardware_id(char *buffer, uint32_t size);

/*
 * Reads the name of a process.
 *
 * pid: 0 or less stands for the calling process.
 * buffer: receives the name, cut to size - 1 bytes, and its NUL; unchanged when there is no such process, or
 * its name can't be read.
 * null stands for one of 64 bytes that the whole process shares: it is empty when there is no such process,
 * and one thread at a time may use it. size: bytes of buffer.
 * Returns the buffer, or null when no command can be run.
 */
const char *frwk_get_process_name(int32_t pid, char *buffer, uint32_t size);

/*
 * Returns a random number from 1 to max; no secret, calls within one microsecond return the same.
 *
 * max: 0 for a bound that is itself chosen at random; 0x80000000 and above stand for 0x7FFFFFFF.
 * It seeds and uses the process's rand, and other threads see that.
 */
uint32_t frwk_random(uint32_t max);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
