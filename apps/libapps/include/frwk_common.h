/*
 * The core of the framework: a module's identity and start-up, messages between modules, events, queues
 * between threads, system commands, waiting, text scanning, and queries of the running system.
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
 * Called before one of the messages E_APPS_MSG_SYS_EXIT to E_APPS_MSG_SYS_SHUTDOWN ends the process, on the
 * thread that received it. msgid: the message.
 */
typedef void (*frwk_exit_handler_t)(apps_message_id_e_type msgid);

/*
 * Makes the process a module. Must be the first call into the framework: once, on the main thread, before
 * the process has other threads.
 *
 * It applies the module configuration file to the module table, takes the single-instance lock of a
 * daemon or monitored module, prepares signals, memory and logging, marks the modules of the start-up
 * list, starts the message service if the module's flags require it, runs the device's start hook and
 * waits for the module's delay. The process receives SIGHUP when its parent ends, even if that happens during
 * this call, and ignores SIGPIPE. Descriptors 0, 1 and 2 that were closed are opened to /dev/null.
 *
 * Limits of the process come from its environment; docs/porting.md lists them.
 *
 * The framework's threads inherit the signal mask of this call, since programs that a handler starts with
 * fork and exec inherit the mask of these threads. A signal handler that runs on the service thread
 * interrupts its wait for a request, and that request is lost. So a module that handles signals must block
 * them, with pthread_sigmask, before this call, and handle them on its main thread: with sigwait, or by
 * unblocking them there afterwards. This does not apply to signals that end the process.
 *
 * id: 0 to 52. exit_handler: null to end without a call.
 * Returns when the module is started. On an invalid id, a second instance, or if the lock can't be taken, it
 * prints the reason to standard error and ends the process with status 255.
 */
void frwk_module_init(int32_t id, frwk_exit_handler_t exit_handler);

/* ---- Module table ---------------------------------------------------------------------------------- */
/*
 * In all of these except frwk_module_monitor, an id of 53 or more (as unsigned, so -1 too) means the calling
 * module. Any thread may call them; the flag setters are atomic.
 */

/* Returns the module's name, or null for an empty slot. The text belongs to the table. */
const char *frwk_module_name(int32_t id);

/* Returns the module's display alias, or null for an empty slot. The text belongs to the table. */
const char *frwk_module_alias(int32_t id);

/*
 * Returns the id (1 to 52) of the module with this name, or 0 if it doesn't exist. The comparison is
 * case-sensitive. name: 0 is returned for null.
 */
int32_t frwk_module_id(const char *name);

/* Returns the extra arguments of the module's program; "" if it has none, never null. */
const char *frwk_module_cmd(int32_t id);

/*
 * Marks a module as monitored and returns its row.
 *
 * id: 0 to 53, not checked: -1 does not mean the caller here, and any other id writes outside the table.
 */
frwk_module_info *frwk_module_monitor(int32_t id);

/* Sets flag bits of a module and returns its row. */
frwk_module_info *frwk_module_set(int32_t id, uint32_t bits);

/* Clears flag bits of a module and returns its row. */
frwk_module_info *frwk_module_unset(int32_t id, uint32_t bits);

/* Returns 1 if the module has any of the flag bits, else 0. */
int32_t frwk_module_feature(int32_t id, uint32_t bits);

/*
 * Checks whether a module is disabled by its marker file.
 *
 * path: receives the path of the marker file, truncated to the buffer; may be null.
 * size: size of path in bytes, including the NUL; ignored if path is null.
 * Returns 1 if the marker file exists, else 0.
 */
int32_t frwk_module_disabled(int32_t id, char *path, uint32_t size);

/* ---- Serving messages ------------------------------------------------------------------------------ */

/*
 * A module's request handler.
 *
 * It runs on the service thread for messages from other modules, one at a time; on the caller's thread
 * for a synchronous request of the module to itself; and on a separate thread for each asynchronous message
 * of the module to itself. All three may run concurrently. While it handles a message from another module,
 * the other senders wait; a call that takes longer than a second is logged. frwk_ipc_handle_apart is for
 * messages that nobody should wait for. Messages 1 to 8 never reach the handler.
 *
 * src: id of the sender, not verified. msgid: any number.
 * data: the body, valid during the call; null if data_len is 0 or less. data_len: bytes.
 * rsp: the answer's buffer, zeroed for requests of other modules; null for asynchronous messages.
 * rsp_size: size of rsp in bytes, all of which are sent back. timeout: seconds, as the sender passed them.
 * Returns the result that a synchronous sender receives. For 2 (E_APPS_ERR_TIMEOUT) the sender's call itself
 * returns a time-out.
 */
typedef apps_err_e_type (*frwk_ipc_handler_t)(uint32_t src, apps_message_id_e_type msgid, const void *data,
                                              int32_t data_len, void *rsp, uint32_t rsp_size,
                                              uint32_t timeout);

/*
 * Registers the module's handler, sets the status word to 1, and starts the service if it doesn't run.
 * One thread at a time may call it.
 *
 * handler: replaces an earlier one. Messages that already wait for a handler are handled now.
 * wait: non-zero to wait for the service thread, which never ends; the call then returns only if the
 * thread could not be started.
 */
void frwk_ipc_service_ex(frwk_ipc_handler_t handler, int32_t wait);

/* Calls frwk_ipc_service_ex with wait set: the usual last call of a module's main thread. */
void frwk_ipc_service(frwk_ipc_handler_t handler);

/* Sets the status word that other modules read with frwk_get_module_status. Any thread. */
void frwk_set_module_status(uint32_t status);

/* ---- Forked children ------------------------------------------------------------------------------- */
/*
 * A module may fork on any thread, also in its handler, but not in a signal handler: the fork briefly waits
 * for other threads that are inside the library. The commands of os_process.h need none of these rules.
 *
 * The child is not a module. It has neither the module's socket, nor the connection that is being served, nor
 * queues; messages that it sends carry the module's id. It must not return from the handler, and must end
 * with exec or _exit. Until then it may call every function of this library and of the base library, except
 * - frwk_module_init, frwk_ipc_service_ex, frwk_ipc_service, frwk_keep_running and os_log_init;
 * - functions that send to its own module, since the handler would run in the child;
 * - frwk_random, since the C library takes a lock for it;
 * - functions on a mutex, semaphore, thread or stream that the parent created, since threads that don't exist
 *   in the child may have been using it.
 *
 * The library can't release the locks of the C library in the child. A log line takes the lock of localtime,
 * so a module must not fork while one of its threads is in localtime, mktime or tzset. Other descriptors of
 * the parent stay open in the child.
 */

/* ---- Sending messages ------------------------------------------------------------------------------ */
/*
 * All of these may be called from any thread, also concurrently. module is 1 to 52. Buffers belong to the
 * caller.
 */

/*
 * Sends a request and waits for its answer.
 *
 * timeout: seconds. It limits the connect, and the time that the receiver waits for its handler to be
 * registered. The receiver waits without limit for messages 1008 and 1009, and doesn't wait for the modules
 * webserver and tr069, which receive the result E_APPS_ERR_PROCESS. After the request is written, the call
 * waits for the answer without a limit; it logs a warning after 5, 10, 20 seconds and so on. A signal does
 * not end the wait.
 *
 * req, req_len: the body and its length in bytes; null and 0 for none.
 *
 * rsp, rsp_size: the buffer for the answer and its size in bytes; null and 0 for none. Bytes that the answer
 * doesn't fill are unchanged, and so is the complete buffer if the call fails, with one exception: if the
 * buffer has more than 1,024 bytes and the connection breaks during the answer, part of it may be there.
 *
 * result: receives the handler's result if the call returns 0 or 2, else unchanged; may be null. A request of
 * the module to itself calls the handler on this thread and returns 0.
 *
 * Returns 0 if the request was answered, 1 E_APPS_ERR_MODULE (no such module, it doesn't run, its backlog
 * stayed full for the time limit, or there is no descriptor), 2 E_APPS_ERR_TIMEOUT (the handler returned it,
 * or none was registered in time), 3 E_APPS_ERR_PARAM (a length without a buffer), 5 E_APPS_ERR_MALLOC,
 * 9 E_APPS_ERR_OUTOFBUF (the answer is longer than rsp), 18 E_APPS_ERR_WRITE, or 19 E_APPS_ERR_READ (the
 * receiver closed the connection without an answer).
 */
apps_err_e_type frwk_ipc_send_sync(uint32_t module, apps_message_id_e_type msgid, const void *req,
                                   uint32_t req_len, void *rsp, uint32_t rsp_size, uint32_t timeout,
                                   int32_t *result);

/*
 * Sends a message and does not wait for it to be handled.
 *
 * data, len: the body and its length in bytes, copied; null and 0 for none.
 * timeout: seconds; limits the connect. With a body larger than the socket's buffer, about 200 KB, the call
 * then waits, without a limit, until the receiver reads it.
 *
 * A message of the module to itself is handled on a separate thread. 100, 1,000 and so on such threads at
 * once are logged. At most 4096 run at once, or QUOR_IPC_OWN_MESSAGES_LIMIT of the environment that the
 * module was started with; one more message is refused like a thread that can't be started.
 *
 * Returns 15 E_APPS_ERR_ASYNC if the message was delivered; never 0. Otherwise, as for frwk_ipc_send_sync,
 * 1 E_APPS_ERR_MODULE, 3 E_APPS_ERR_PARAM, 5 E_APPS_ERR_MALLOC, 14 E_APPS_ERR_THREAD (to itself) or 18
 * E_APPS_ERR_WRITE.
 */
apps_err_e_type frwk_ipc_send_async(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len, uint32_t timeout);

/* As frwk_ipc_send_sync, without a body. */
apps_err_e_type frwk_ipc_msg_get(uint32_t module, apps_message_id_e_type msgid, void *rsp, uint32_t rsp_size,
                                 uint32_t timeout, int32_t *result);

/* As frwk_ipc_send_sync, without an answer buffer: only the result comes back. */
apps_err_e_type frwk_ipc_msg_set(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                 uint32_t len, uint32_t timeout, int32_t *result);

/* As frwk_ipc_send_async, with a limit of 3 seconds. */
apps_err_e_type frwk_ipc_msg_notify(uint32_t module, apps_message_id_e_type msgid, const void *data,
                                    uint32_t len);

/*
 * Notifies every monitored module except the caller, in the order of their ids. Modules whose backlog is full
 * come last: they share one limit of 3 seconds. Skips modules that can't be reached.
 */
void frwk_ipc_msg_broadcast(apps_message_id_e_type msgid, const void *data, uint32_t len);

/*
 * Reads a module's status word: 0 after its start, 1 after its handler is registered, other values set by the
 * module with frwk_set_module_status.
 *
 * Returns the word, or 0 if the module can't be reached. Waits as frwk_ipc_send_sync does, with a limit of
 * 3 seconds.
 */
uint32_t frwk_get_module_status(uint32_t module);

/*
 * Returns 1 if a message is a frequent poll, whose trace line does not go to the system log, else 0. Any
 * thread.
 */
int32_t frwk_ipc_msg_debug(apps_message_id_e_type msgid);

/* Returns the port number of a module: its low 16 bits with 0x7F00 set. Any thread. */
uint16_t frwk_ipc_port(uint32_t module);

/* ---- Events ---------------------------------------------------------------------------------------- */
/*
 * A module subscribes to an event by its key. A module that publishes the event sends a message to each
 * subscriber, without knowing the subscribers. Subscriptions are files: they survive the module's process and
 * end only with frwk_ipc_msg_unsub or frwk_ipc_init_sub.
 *
 * event: the key, such as the name of the event's message. It is used as a file name, so it must not be
 * empty, "." or "..", nor contain "/". It is cut after 105 characters, 108 in the folder of
 * frwk_ipc_init_sub_ex.
 *
 * All of these may be called from any thread. Subscribing and unsubscribing wait, without limit, while
 * another thread or process of the device does the same.
 */

/*
 * Ends every subscription, or creates the folder of subscriptions if it is missing. For the module that
 * starts the device. Keys that begin with "." keep their subscribers.
 */
void frwk_ipc_init_sub(void);

/* As frwk_ipc_init_sub, for the fallback folder, which is used while the first one is missing. */
void frwk_ipc_init_sub_ex(void);

/*
 * Subscribes the calling module to an event. Repeated calls have no further effect.
 *
 * Returns 0, 17 E_APPS_ERR_BUSY (the lock of the subscriptions can't be taken) or 12 E_APPS_ERR_IO (the
 * event's file can't be opened or written, or the key is not a file name).
 */
apps_err_e_type frwk_ipc_msg_sub(const char *event);

/*
 * Ends the calling module's subscription to an event. It removes the first line that contains the module's
 * name, even as part of a longer name.
 *
 * Returns 0, also if the module was not subscribed, 17 E_APPS_ERR_BUSY, 12 E_APPS_ERR_IO, 5
 * E_APPS_ERR_MALLOC, or 18 E_APPS_ERR_WRITE (the event's other subscriptions were not written back
 * completely).
 */
apps_err_e_type frwk_ipc_msg_unsub(const char *event);

/*
 * Notifies every subscriber of an event except the calling module, in the order of their subscriptions.
 * Subscribers whose backlog is full come last: they share one limit of 3 seconds. Skips subscribers that
 * can't be reached.
 *
 * data, len: the body and its length in bytes; null and 0 for none. The buffer belongs to the caller.
 */
void frwk_ipc_msg_pub(const char *event, apps_message_id_e_type msgid, const void *data, uint32_t len);

/* ---- Queues ---------------------------------------------------------------------------------------- */
/*
 * Named queues inside one process. Each has a thread that passes the messages to a handler, one at a time, in
 * the order in which a sender sent them. A queue exists until the process ends. Names are compared without
 * regard to case.
 *
 * Both functions may be called from any thread, also concurrently, and from a handler. Create a queue before
 * you start the threads that send to it: until then a send fails.
 */

/* Thread attributes; see os_thread.h of the base library. */
struct os_thread_attr;

/*
 * A queue's handler. It may send, also to its own queue.
 *
 * msgid: as sent. data: valid during the call; must not be read if size is 0. size: bytes.
 */
typedef void (*frwk_itc_handler_t)(uint32_t msgid, const void *data, int32_t size);

/*
 * Creates a queue and starts its thread.
 *
 * name: up to 63 characters; copied. attr: read during the call only; null for a detached thread with the
 * system's stack size. handler: not null.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null name or handler; E_APPS_ERR_OUTOFBUF for a longer
 * name; E_APPS_ERR_BUSY if a queue of this name exists; E_APPS_ERR_MALLOC without memory;
 * E_APPS_ERR_THREAD if the thread can't be started. On failure no queue exists; messages that were sent to it
 * meanwhile are dropped.
 */
apps_err_e_type frwk_itc_create(const char *name, const struct os_thread_attr *attr,
                                frwk_itc_handler_t handler);

/*
 * Puts a message into a queue. It never waits for the handler. A backlog of 1,000, 10,000 and so on messages
 * is logged. At most 1,000,000 messages wait, or QUOR_ITC_WAITING_LIMIT of the environment that the module
 * was started with; one more is refused like a message without memory.
 *
 * msgid: any number. data, size: copied; size in bytes; null and 0 for none.
 * Returns E_APPS_ERR_SUCCESS; E_APPS_ERR_PARAM for a null name, or null data with a size; E_APPS_ERR_NOTEXIST
 * if no queue has this name; E_APPS_ERR_MALLOC without memory for the message, or for a negative size.
 */
apps_err_e_type frwk_itc_send(const char *name, uint32_t msgid, const void *data, int32_t size);

/* ---- System commands ------------------------------------------------------------------------------- */
/*
 * Requests to the monitor module. Any thread may call them. Each returns 1 if the request was delivered, else
 * 0, and does not wait for its effect.
 */

/* Requests a reboot of the device. reason: passed to the monitor. */
int32_t frwk_system_reboot(uint32_t reason);

/*
 * Requests a reset to factory settings. reason: passed to the monitor. The reset flag file is created even if
 * the request can't be delivered.
 */
int32_t frwk_system_reset(uint32_t reason);

/* Requests a shutdown of the device. reason: passed to the monitor. */
int32_t frwk_system_shutdown(uint32_t reason);

/*
 * Requests that a module be enabled.
 *
 * module: a monitored module; a negative number means the calling module. To act on another module, the
 * caller needs the flag FRWK_FLAG_ADMIN, or no flag at all.
 */
int32_t frwk_module_enable(int32_t module);

/* Requests that a module be disabled; as frwk_module_enable. */
int32_t frwk_module_disable(int32_t module);

/* ---- Waiting and threads --------------------------------------------------------------------------- */

/* Blocks the calling thread, which may be any thread, for milliseconds; 0 returns at once. */
void frwk_sleep(uint32_t ms);

/* Blocks the calling thread, which may be any thread, until the process ends: it never returns. */
void frwk_keep_running(void);

/*
 * Starts a detached thread.
 *
 * function, argument: the thread calls function(argument).
 * Returns its handle, or 0 if it could not be started. Any thread.
 */
unsigned long frwk_thread_create(void *(*function)(void *argument), void *argument);

/* ---- Texts ----------------------------------------------------------------------------------------- */
/*
 * All of these may be called from any thread. Texts are NUL-terminated; a returned pointer points into
 * the caller's text.
 */

/* Returns a pointer to the first character of text that is neither blank nor tab; null for null. */
char *frwk_skip_space(const char *text);

/*
 * Skips the current token and the blanks and tabs after it.
 *
 * Returns the start of the next token; the empty text if only blanks and tabs follow; null if the
 * token extends to the end of the text, or text is null.
 */
char *frwk_skip_next_space(const char *text);

/*
 * Copies the text between two markers.
 *
 * begin: the copied text starts after its first occurrence; "" or null for the start of src.
 * end: the copied text ends before its next occurrence; "" or null for the end of src.
 * out: receives the text; empty if nothing was copied. size: size of out in bytes, including the NUL.
 * Returns 1, or 0 if a marker is missing, the text does not fit, or src or out is null.
 */
int32_t frwk_str_pick(const char *src, const char *begin, const char *end, char *out, int32_t size);

/*
 * Copies the value after a name, as in name='value',name2=value2.
 *
 * name: found as a substring, so it should include its "=" or ":". A value in single or double quotes
 * ends at the same quote, any other value at the next comma, or else at the end of src.
 * out: receives the value; empty if the name is missing. size: size of out in bytes, including the NUL.
 * Returns 1, or 0 if the name is missing, the value does not fit, or an argument is null.
 */
int32_t frwk_str_pick_value(const char *src, const char *name, char *out, int32_t size);

/* Returns the part of a path after the last "/" or "\"; "" for null or an empty path. */
const char *frwk_get_filename(const char *path);

/* ---- System ---------------------------------------------------------------------------------------- */
/*
 * Queries of the running system. Any thread may call them, unless a function says otherwise. Functions that
 * run a tool wait for its end without a limit. On failure they log the cause and leave their outputs
 * unchanged.
 */

/*
 * Saves the reason of the next reboot, which frwk_reboot_reason_get returns after it. Waits until the reason
 * is on the disk.
 *
 * reason: any number; the modules define its meaning.
 * Returns 0, or the result of system(3) if the file can't be written; -1 if the file is a symbolic link, or
 * belongs to another user and can't be renamed.
 */
int32_t frwk_reboot_reason_save(int32_t reason);

/* Returns the last saved reason; 0 if no reason was saved or it can't be read. */
int32_t frwk_reboot_reason_get(void);

/* Returns 1 if a reset to factory settings was requested and is not completed, else 0. */
int32_t frwk_system_reset_check(void);

/*
 * Marks a reset to factory settings as completed. Has no effect if none was requested. Waits until the mark
 * is on the disk.
 */
void frwk_system_reset_complete(void);

/*
 * Returns the seconds since boot, less the setting "device_uptime_offset" if that is above 0 and below the
 * uptime. Each call requests the setting until it was read once in the process.
 */
uint32_t frwk_uptime(void);

/* The system's memory and processes. Amounts of memory are truncated to their low 32 bits. */
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
 * Fills the record. info: unchanged if the kernel call fails; may be null.
 *
 * Returns the uptime.
 */
uint32_t frwk_get_sysinfo(frwk_sysinfo *info);

/* Processor load, in per cent. */
typedef struct frwk_cpustate {
    uint32_t usr;   /* programs */
    uint32_t nic;   /* programs with a lowered priority */
    uint32_t sys;   /* the kernel */
    uint32_t idle;  /* nothing */
    uint32_t usage; /* 100 less idle */
} frwk_cpustate;

/*
 * Reads the processor load from "top -n1".
 *
 * state: unchanged if top can't be run or prints no such line. A member that the line doesn't name keeps its
 * value; usage is always computed from idle. Null does nothing.
 */
void frwk_get_cpustate_top(frwk_cpustate *state);

/* As frwk_get_cpustate_top, from "mpstat -u 1 1", averaged over the second that the call takes. */
void frwk_get_cpustate_mpstat(frwk_cpustate *state);

/* Calls frwk_get_cpustate_mpstat. */
void frwk_get_cpustate(frwk_cpustate *state);

/*
 * Reads a column of a partition's line in the output of df, such as its use in per cent.
 *
 * name: part of the line, searched with grep; the first matching line is used. column: 1 for the first.
 * result: receives the number without its last character, which is the per-cent sign in the column of the
 * use; any other column loses its last digit.
 * Returns 0, or -1 if an argument is null, the name is empty or too long for the command, or no line matches;
 * result is then unchanged. A name of 80 bytes without a single quote fits, with a column of one or two
 * digits.
 */
int32_t frwk_get_partion_info(const char *name, int32_t column, int32_t *result);

/*
 * Reads the hardware id, "hardware.id=", from the kernel's command line.
 *
 * buffer: receives at most size - 1 bytes of the id, and a NUL if the id is shorter than that. The
 * last byte is never written, so zero it before the call. Unchanged if there is no id.
 * size: size of buffer in bytes.
 */
void frwk_get_hardware_id(char *buffer, uint32_t size);

/*
 * Reads the name of a process.
 *
 * pid: 0 or less means the calling process.
 * buffer: receives the name, truncated to size - 1 bytes, and a NUL; unchanged if the process doesn't exist
 * or its name can't be read. Null means a buffer of 64 bytes that all threads of the process share: it is
 * empty if the process doesn't exist, and only one thread at a time may use it.
 * size: size of buffer in bytes.
 * Returns the buffer, or null if no command can be run.
 */
const char *frwk_get_process_name(int32_t pid, char *buffer, uint32_t size);

/*
 * Returns a random number from 1 to max. Not for secrets: calls within one microsecond return the same
 * number.
 *
 * max: 0 means a random upper bound; 0x80000000 and above mean 0x7FFFFFFF.
 *
 * It calls srand and rand, which affects other threads that use rand.
 */
uint32_t frwk_random(uint32_t max);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
