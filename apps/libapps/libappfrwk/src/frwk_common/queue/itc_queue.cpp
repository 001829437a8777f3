/*
 * Queues between the threads of one process: the registry of queues, and the thread of each.
 *
 * A queue that has its thread stays for ever, so senders find it without a lock. Of one that is still
 * without, they hold the registry's lock as readers until their message is in the queue, so that it is taken
 * back only when nobody is about to use it. A handler runs with no lock held. Each message posts the
 * semaphore, and each wake-up empties the queue, which the thread takes whole: a wake-up too many sees that
 * there is nothing, and one that got lost is made up for by the next message.
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
#include "internal/letter_case.h"
#include "internal/small_buffer.h"
#include "list.h"
#include "os_mem.h"
#include "os_thread.h"
#include "support/owned_block.h"
#include "support/unique_fd.h"
#include "text_copy.h"

namespace {

/* The steps of a call log under its name. */
constexpr char kCreate[] = "frwk_itc_create";
constexpr char kSend[] = "frwk_itc_send";

constexpr size_t kNameSize = 64;

/* So many waiting messages are worth a line in the log. */
constexpr uint32_t kManyWaiting = 1000;

/* After so many messages at the latest a sender looks how many wait, so as to see that they have become few,
 * too. */
constexpr uint32_t kLookAfter = kManyWaiting / 4;

constexpr size_t kCacheLine = 64;

struct ItcObject {
    list_node link; /* in the registry; first, since it stands for the object there */
    char name[kNameSize];
    frwk_itc_handler_t handler;
    os_thread_t thread;
    list_node queue; /* of ItcRecord; guarded by lock */
    os_mutex *lock;
    os_sem *sem;
    std::atomic<bool> filled{false}; /* whether the queue has records; changed under lock */
    uint32_t sent;                   /* messages, ever; guarded by lock, as the two below */
    uint32_t look_at;                /* at which number of them to look how many wait */
    CrowdNotice<kManyWaiting> notice;
    ItcObject *next_running;
    unsigned char apart[kCacheLine];  /* senders read what is above for each message */
    std::atomic<uint32_t> handled{0}; /* messages, ever; written by the queue's thread alone */
};

/* A message, followed by its data. */
struct ItcRecord {
    list_node link; /* in a queue; first, since it stands for the record there */
    uint32_t msgid;
    int32_t size;
};

/* Every queue of the process, and what guards the list. A creator does not starve behind steady senders. */
list_node g_s_itc_list = {&g_s_itc_list, &g_s_itc_list};
pthread_rwlock_t g_registry_lock = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;

/* Those of them that have a thread, the newest first; only ever longer. */
std::atomic<ItcObject *> g_running{nullptr};

/*
 * A forked child has none of its parent's threads, and so none of its queues. Since nothing of the registry
 * stays, a fork need not wait for who is about to change it.
 */
void forget_queues() {
    static constexpr pthread_rwlock_t kOpen = PTHREAD_RWLOCK_WRITER_NONRECURSIVE_INITIALIZER_NP;
    g_registry_lock = kOpen;
    list_init(&g_s_itc_list);
    g_running.store(nullptr, std::memory_order_relaxed);
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

/* Takes the first record off a list; null when it has none. */
ItcRecord *take_first(list_node *records) {
    list_node *first = records->next;
    if (first == records) {
        return nullptr;
    }
    list_del(first);
    return reinterpret_cast<ItcRecord *>(first);
}

/* Owns a queue that nobody else uses: one that has no thread, and is not or no more in the registry. */
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

/* Returns null when no queue of this name has a thread. */
ItcObject *find_running(const char *name) {
    ItcObject *itc = g_running.load(std::memory_order_acquire);
    while (itc != nullptr && !is_named(itc, name)) {
        itc = itc->next_running;
    }
    return itc;
}

/* The registry's lock must be held. Returns null when there is no queue of this name. */
ItcObject *find(const char *name) {
    for (list_node *node = g_s_itc_list.next; node != &g_s_itc_list; node = node->next) {
        auto *itc = reinterpret_cast<ItcObject *>(node);
        if (is_named(itc, name)) {
            return itc;
        }
    }
    return nullptr;
}

void set_running(ItcObject *itc) {
    const RegistryLock changing(pthread_rwlock_wrlock);
    itc->next_running = g_running.load(std::memory_order_relaxed);
    g_running.store(itc, std::memory_order_release);
}

/* Makes a queue without a thread; nothing owned when there is no memory for all of it. */
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
        FRWK_WARN_AS(kCreate, "repeat create itc object(%s)!", name);
        return E_APPS_ERR_BUSY;
    }

    OwnedItc itc = make_object(name, handler);
    if (!itc) {
        FRWK_WARN_AS(kCreate, "alloc itc object failed!");
        return E_APPS_ERR_MALLOC;
    }
    *added = itc.take();
    list_add(&g_s_itc_list, &(*added)->link);
    return E_APPS_ERR_SUCCESS;
}

/* Takes a queue without a thread back, with what was sent to it meanwhile. */
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

/* Copies a message into a record; null when there is no memory, or a size that nothing can have. */
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

/* Instead of a number of messages. */
constexpr uint32_t kFull = UINT32_MAX;

/* How many more messages may come until a limit is reached, 1 where it is reached. */
uint32_t until(uint32_t limit, uint32_t waiting) {
    return limit > waiting ? limit - waiting : 1;
}

/*
 * Counts the messages that wait, with the one that is about to come, and says when to do so next: when there
 * may be remarkably or too many. The number of the handled ones is with the queue's thread, so that looking
 * at it each time would cost both. The lock must be held. Returns the number when it is worth a line, kFull
 * when there may be no more, otherwise 0.
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

/* Appends a record and wakes the thread, unless the queue is full. Returns what a look returns, or 0. */
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
    list_add(&itc->queue, records); /* a second head of the same ring: the first one leaves it */
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

/* Sends to a queue that stays. */
apps_err_e_type send_to(ItcObject *itc, uint32_t msgid, const void *data, int32_t size) {
    OwnedBlock record(make_record(msgid, data, size));
    const uint32_t seen = record ? put(itc, static_cast<ItcRecord *>(record.get())) : kFull;
    if (seen == kFull) {
        FRWK_WARN_AS(kSend, "alloc for itc send failed! msgid:%d, data_size:%d", static_cast<int>(msgid),
                     size);
        return E_APPS_ERR_MALLOC;
    }
    (void)record.take();
    if (seen != 0) {
        FRWK_WARN_AS(kSend, "itc(%s): %u messages wait to be handled", itc->name, seen);
    }
    return E_APPS_ERR_SUCCESS;
}

}  // namespace

void *frwk_itc_main(void *itc) {
    FRWK_ASSERT(itc != nullptr, "NULL != itc", "");
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
        FRWK_WARN("invalid itc parameter!");
        return E_APPS_ERR_PARAM;
    }
    if (strnlen(name, kNameSize) == kNameSize) {
        FRWK_WARN("itc name(%s) is too long!", name);
        return E_APPS_ERR_OUTOFBUF;
    }

    ItcObject *itc = nullptr;
    const apps_err_e_type refused = add_object(name, handler, &itc);
    if (refused != E_APPS_ERR_SUCCESS) {
        return refused;
    }
    if (os_thread_create(&itc->thread, attr, frwk_itc_main, itc) != 0) {
        FRWK_WARN("create itc(%s) thread failed!", name);
        remove_object(itc);
        return E_APPS_ERR_THREAD;
    }
    set_running(itc);
    return E_APPS_ERR_SUCCESS;
}

apps_err_e_type frwk_itc_send(const char *name, uint32_t msgid, const void *data, int32_t size) {
    if (name == nullptr || (data == nullptr && size > 0)) {
        FRWK_WARN("invalid itc parameter!");
        return E_APPS_ERR_PARAM;
    }

    ItcObject *running = find_running(name);
    if (running != nullptr) {
        return send_to(running, msgid, data, size);
    }

    const RegistryLock sending(pthread_rwlock_rdlock);
    ItcObject *itc = find(name);
    if (itc == nullptr) {
        FRWK_WARN("itc(%s) has not been registered!", name);
        return E_APPS_ERR_NOTEXIST;
    }
    return send_to(itc, msgid, data, size);
}
