/*
 * Queues between the threads of one process: the registry of queues, and the thread of each.
 *
 * Each queue is in one list of the registry. A queue with a running thread is in g_s_itc_list and never
 * freed, so senders find it without a lock. A queue whose thread is not running yet is in g_starting; to use
 * it, senders hold the registry's lock as readers until their message is in the queue. So a queue whose
 * thread fails to start is freed only when no sender can still use it. A handler runs with no lock held. Each
 * message posts the semaphore. Each wake-up takes the complete list of messages: a spurious wake-up finds it
 * empty, and after a lost one the next message's wake-up takes all messages.
 */
#include "frwk_common/queue/itc_queue.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>

#include "frwk_common.h"
#include "frwk_common/core/process_state.h"
#include "frwk_common/util/crowd_notice.h"
#include "internal/frwk_log.h"
#include "internal/small_buffer.h"
#include "list.h"
#include "os_mem.h"
#include "os_thread.h"
#include "support/letter_case.h"
#include "support/owned_block.h"
#include "support/unique_fd.h"
#include "text_copy.h"

namespace {

constexpr size_t kNameSize = 64;

/* This backlog is logged. */
constexpr uint32_t kManyWaiting = 1000;

/* A sender checks the backlog after this many messages at the latest, to notice also that it has shrunk. */
constexpr uint32_t kLookAfter = kManyWaiting / 4;

constexpr size_t kCacheLine = 64;

struct ItcObject {
    list_node
        link; /* in a list of the registry; the first member, since a pointer to it is cast to the object */
    char name[kNameSize];
    frwk_itc_handler_t handler;
    os_thread_t thread;
    list_node queue; /* of ItcRecord; guarded by lock */
    os_mutex *lock;
    os_sem *sem;
    std::atomic<bool> filled{false}; /* whether the queue has records; protected by lock when written */
    uint32_t sent;                   /* total number of messages; guarded by lock, as the two below */
    uint32_t look_at;                /* the value of sent at which to check the backlog */
    CrowdNotice<kManyWaiting> notice;
    unsigned char
        apart[kCacheLine]; /* separate cache line: senders read the members above for each message */
    std::atomic<uint32_t> handled{0}; /* total number of messages; written only by the queue's thread */
};

/* A message, followed by its data. */
struct ItcRecord {
    list_node link; /* in a queue; must be the first member, since a pointer to it is cast to the record */
    uint32_t msgid;
    int32_t size;
};

/* The queues with a running thread, newest first. It is read without a lock, and only grows. */
list_node g_s_itc_list = {&g_s_itc_list, &g_s_itc_list};

/* The queues whose thread is not running yet; protected by the lock. */
list_node g_starting = {&g_starting, &g_starting};

/* Protects changes of both lists. The lock prefers writers, so that senders can't starve a creator. */
pthread_rwlock_t g_registry_lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;

/*
 * The parent's threads don't exist in a forked child, so the child has no queues. It discards the complete
 * registry, so a fork need not wait for a thread that is changing the registry.
 */
void forget_queues() {
    static constexpr pthread_rwlock_t kOpen = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
    g_registry_lock = kOpen;
    list_init(&g_s_itc_list);
    list_init(&g_starting);
}

__attribute__((constructor)) void forget_queues_in_children() {
    (void)::pthread_atfork(nullptr, nullptr, forget_queues);
}

/* Holds the registry's lock: pthread_rwlock_rdlock to use the list, pthread_rwlock_wrlock to change it. */
class RegistryLock {
  public:
    explicit RegistryLock(int (*lock)(pthread_rwlock_t *)) { lock(&g_registry_lock); }
    ~RegistryLock() { pthread_rwlock_unlock(&g_registry_lock); }
    RegistryLock(const RegistryLock &) = delete;
    RegistryLock &operator=(const RegistryLock &) = delete;
};

/* Removes the first record of a list; null if the list is empty. */
ItcRecord *take_first(list_node *records) {
    list_node *first = records->next;
    if (first == records) {
        return nullptr;
    }
    list_del(first);
    return reinterpret_cast<ItcRecord *>(first);
}

/* Owns a queue that nobody else uses: it has no thread and is not in the registry. */
struct ItcTraits {
    using Handle = ItcObject *;
    static constexpr Handle kNone = nullptr;
    static void release(Handle itc) {
        while (ItcRecord *record = take_first(&itc->queue)) {
            os_mem_free(record);
        }
        if (itc->lock != nullptr) {
            os_mutex_close(itc->lock);
        }
        if (itc->sem != nullptr) {
            os_sem_close(itc->sem);
        }
        os_mem_free(itc);
    }
};

using OwnedItc = Owned<ItcTraits>;

bool is_named(const ItcObject *itc, const char *name) {
    return same_ignoring_case(itc->name, name);
}

/* The node after another one. Everything written to it before it was linked is visible. */
list_node *next_of(const list_node &node) {
    return __atomic_load_n(&node.next, __ATOMIC_ACQUIRE);
}

/* Returns null if no queue in the list has this name. Inlined: each message takes this way. */
__attribute__((always_inline)) inline ItcObject *find_in(const list_node &list, const char *name) {
    for (list_node *node = next_of(list); node != &list; node = next_of(*node)) {
        auto *itc = reinterpret_cast<ItcObject *>(node);
        if (is_named(itc, name)) {
            return itc;
        }
    }
    return nullptr;
}

/* The registry's lock must be held. Returns null if no queue has this name. */
ItcObject *find(const char *name) {
    ItcObject *starting = find_in(g_starting, name);
    return starting != nullptr ? starting : find_in(g_s_itc_list, name);
}

/* Inserts a node at the head of a list. Threads that read the list at the same time find it complete. */
void insert_for_readers(list_node *list, list_node *node) {
    list_node *first = list->next;
    *node = {first, list};
    first->prev = node;
    __atomic_store_n(&list->next, node, __ATOMIC_RELEASE);
}

void set_running(ItcObject *itc) {
    const RegistryLock changing(pthread_rwlock_wrlock);
    list_del(&itc->link);
    insert_for_readers(&g_s_itc_list, &itc->link);
}

/* Creates a queue without a thread; owns nothing without memory. */
OwnedItc make_object(const char *name, frwk_itc_handler_t handler) {
    void *place = os_mem_malloc(sizeof(ItcObject));
    if (place == nullptr) {
        return OwnedItc();
    }
    auto *made = new (place) ItcObject();
    strsncpy(made->name, name, kNameSize - 1);
    made->handler = handler;
    list_init(&made->queue);
    made->lock = os_mutex_create();
    made->sem = os_sem_create(0);

    OwnedItc itc(made);
    if (made->lock == nullptr || made->sem == nullptr) {
        itc.reset();
    }
    return itc;
}

/* Adds a new queue to the registry, before its thread starts. */
apps_err_e_type add_object(const char *name, frwk_itc_handler_t handler, ItcObject **added) {
    const RegistryLock changing(pthread_rwlock_wrlock);
    if (find(name) != nullptr) {
        FRWK_WARN(log_name::kItcCreate, "repeat create itc object(%s)!", name);
        return E_APPS_ERR_BUSY;
    }

    OwnedItc itc = make_object(name, handler);
    if (!itc) {
        FRWK_WARN(log_name::kItcCreate, "alloc itc object failed!");
        return E_APPS_ERR_MALLOC;
    }
    *added = itc.take();
    list_add(&g_starting, &(*added)->link);
    return E_APPS_ERR_SUCCESS;
}

/* Frees a queue without a thread, and the messages that were sent to it meanwhile. */
void remove_object(ItcObject *itc) {
    const OwnedItc removed(itc);
    {
        const RegistryLock changing(pthread_rwlock_wrlock);
        list_del(&itc->link);
    }
    if (itc->thread != 0) {
        os_thread_cancel(itc->thread);
    }
}

/* Copies a message into a record; null without memory, or if the size is invalid. */
ItcRecord *make_record(uint32_t msgid, const void *data, int32_t size) {
    const std::optional<uint32_t> room = checked_add(sizeof(ItcRecord), static_cast<uint32_t>(size));
    if (size < 0 || !room) {
        return nullptr;
    }
    auto *record = static_cast<ItcRecord *>(os_mem_malloc(*room));
    if (record == nullptr) {
        return nullptr;
    }
    *record = {{}, msgid, size};
    if (size > 0) {
        std::memcpy(record + 1, data, static_cast<size_t>(size));
    }
    return record;
}

/* A result that means the queue is full. */
constexpr uint32_t kFull = UINT32_MAX;

/* The number of messages until a limit is reached; 1 if it is already reached. */
uint32_t until(uint32_t limit, uint32_t waiting) {
    return limit > waiting ? limit - waiting : 1;
}

/*
 * Computes the backlog, including the new message, and when to check next: when the backlog could reach the
 * next number to log, or the limit. It isn't checked for each message, since the number of handled messages
 * is in the cache line of the queue's thread. The lock must be held. Returns the backlog if it should be
 * logged, kFull if the queue is full, otherwise 0.
 */
uint32_t look(ItcObject *itc) {
    const uint32_t coming = itc->sent + 1;
    const uint32_t waiting = coming - itc->handled.load(std::memory_order_relaxed);
    const uint32_t limit = g_s_itc_waiting_limit;
    if (limit != 0 && waiting > limit) {
        return kFull;
    }
    itc->notice.fallen_to(waiting);
    const bool remarkable = itc->notice.grown_to(waiting);
    const uint32_t crowd_after = until(itc->notice.next(), waiting);
    const uint32_t full_after = limit != 0 ? until(limit, waiting) : kLookAfter;
    itc->look_at = coming + std::min({kLookAfter, crowd_after, full_after});
    return remarkable ? waiting : 0;
}

/* Appends a record and wakes the thread, unless the queue is full. Returns the result of look, or 0. */
uint32_t put(ItcObject *itc, ItcRecord *record) {
    os_mutex_lock(itc->lock);
    const bool due = static_cast<int32_t>(itc->sent + 1 - itc->look_at) >= 0;
    const uint32_t seen = due ? look(itc) : 0;
    if (seen == kFull) {
        os_mutex_unlock(itc->lock);
        return kFull;
    }
    ++itc->sent;
    list_add(&itc->queue, &record->link);
    itc->filled.store(true, std::memory_order_relaxed);
    os_mutex_unlock(itc->lock);
    os_sem_post(itc->sem);
    return seen;
}

/* Moves everything from a queue to an empty list. */
void take_all(ItcObject *itc, list_node *records) {
    os_mutex_lock(itc->lock);
    list_add(&itc->queue, records); /* adds a second head to the ring, then removes the first one */
    list_del(&itc->queue);
    list_init(&itc->queue);
    itc->filled.store(false, std::memory_order_relaxed);
    os_mutex_unlock(itc->lock);
}

void handle_all(ItcObject *itc) {
    while (itc->filled.load(std::memory_order_relaxed)) {
        list_node records = {&records, &records};
        take_all(itc, &records);
        while (ItcRecord *record = take_first(&records)) {
            itc->handled.store(itc->handled.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
            itc->handler(record->msgid, record + 1, record->size);
            os_mem_free(record);
        }
    }
}

/* Sends to a queue that can't be freed. */
apps_err_e_type send_to(ItcObject *itc, uint32_t msgid, const void *data, int32_t size) {
    OwnedBlock record(make_record(msgid, data, size));
    const uint32_t seen = record ? put(itc, static_cast<ItcRecord *>(record.get())) : kFull;
    if (seen == kFull) {
        FRWK_WARN(log_name::kItcSend, "alloc for itc send failed! msgid:%d, data_size:%d",
                  static_cast<int>(msgid), size);
        return E_APPS_ERR_MALLOC;
    }
    (void)record.take();
    if (seen != 0) {
        FRWK_WARN(log_name::kItcSend, "itc(%s): %u messages wait to be handled", itc->name, seen);
    }
    return E_APPS_ERR_SUCCESS;
}

}  // namespace

void *queue::run(void *itc) {
    FRWK_ASSERT(log_name::kItcMain, itc != nullptr, "NULL != itc", "");
    if (itc == nullptr) {
        return nullptr;
    }
    auto *object = static_cast<ItcObject *>(itc);
    for (;;) {
        os_sem_wait(object->sem);
        handle_all(object);
    }
}

apps_err_e_type frwk_itc_create(const char *name, const struct os_thread_attr *attr,
                                frwk_itc_handler_t handler) {
    if (name == nullptr || handler == nullptr) {
        FRWK_WARN(__func__, "invalid itc parameter!");
        return E_APPS_ERR_PARAM;
    }
    if (strnlen(name, kNameSize) == kNameSize) {
        FRWK_WARN(__func__, "itc name(%s) is too long!", name);
        return E_APPS_ERR_OUTOFBUF;
    }

    ItcObject *itc = nullptr;
    const apps_err_e_type refused = add_object(name, handler, &itc);
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    if (os_thread_create(&itc->thread, attr, queue::run, itc) != 0) {
        FRWK_WARN(__func__, "create itc(%s) thread failed!", name);
        remove_object(itc);
        return E_APPS_ERR_THREAD;
    }
    set_running(itc);
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_itc_send(const char *name, uint32_t msgid, const void *data, int32_t size) {
    if (name == nullptr || (data == nullptr && size > 0)) {
        FRWK_WARN(__func__, "invalid itc parameter!");
        return E_APPS_ERR_PARAM;
    }

    ItcObject *running = find_in(g_s_itc_list, name);
    if (running != nullptr) {
        return send_to(running, msgid, data, size);
    }

    const RegistryLock sending(pthread_rwlock_rdlock);
    ItcObject *itc = find(name);
    if (itc == nullptr) {
        FRWK_WARN(__func__, "itc(%s) has not been registered!", name);
        return E_APPS_ERR_NOTEXIST;
    }
    return send_to(itc, msgid, data, size);
}
