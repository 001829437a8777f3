/*
 * Threads, mutexes and counting semaphores, on POSIX threads.
 *
 * Mutexes and semaphores are allocated by the C library, not as tracked memory: a module at its memory limit
 * can still create a lock.
 */
#include "os_thread.h"

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <type_traits>

static_assert(std::is_same_v<os_thread_t, pthread_t>, "a handle is passed on as it is");

struct os_mutex {
    pthread_mutex_t mutex;
};

/*
 * A semaphore of the C library with a separate counter, the balance. With the C library's semaphore, each
 * post is a system call until a woken waiter has run. Here only a post that finds a waiter posts to the C
 * library's semaphore; other posts increment the balance, and a wait decrements it without a system call. A
 * negative balance is the number of waiters on the C library's semaphore that no post has released yet.
 */
struct os_sem {
    sem_t sem;
    std::atomic<int32_t> balance;
    int32_t most; /* the largest balance: the maximum count of the C library's semaphore */
};

namespace {

constexpr os_thread_attr kDefaultAttr = {1, 0};

/* Owner of POSIX thread attributes. */
class PosixAttr {
  public:
    // cppcheck-suppress uninitMemberVar ; pthread_attr_init fills the member
    PosixAttr() : init_error_(pthread_attr_init(&attr_)) {}
    ~PosixAttr() {
        if (init_error_ == 0) {
            pthread_attr_destroy(&attr_);
        }
    }
    PosixAttr(const PosixAttr &) = delete;
    PosixAttr &operator=(const PosixAttr &) = delete;

    int set(const os_thread_attr &wanted) {
        if (init_error_ != 0) {
            return init_error_;
        }
        if (wanted.stack_size != 0) {
            const int error = pthread_attr_setstacksize(&attr_, wanted.stack_size);
            if (error != 0) {
                return error;
            }
        }
        return pthread_attr_setdetachstate(
            &attr_, wanted.detached != 0 ? PTHREAD_CREATE_DETACHED : PTHREAD_CREATE_JOINABLE);
    }
    const pthread_attr_t *get() const { return &attr_; }

  private:
    pthread_attr_t attr_;
    const int init_error_;
};

}  // namespace

int32_t os_thread_attr_init(os_thread_attr *attr) {
    *attr = kDefaultAttr;
    return 0;
}

int32_t os_thread_create(os_thread_t *thread, const os_thread_attr *attr, os_thread_entry entry,
                         void *argument) {
    if (thread == nullptr || entry == nullptr) {
        return EINVAL;
    }

    PosixAttr posix_attr;
    int error = posix_attr.set(attr != nullptr ? *attr : kDefaultAttr);
    if (error != 0) {
        return error;
    }

    pthread_t started = 0;
    error = pthread_create(&started, posix_attr.get(), entry, argument);
    if (error != 0) {
        return error;
    }
    *thread = started;
    return 0;
}

int32_t os_thread_join(os_thread_t thread) {
    if (thread == 0) {
        return ESRCH;
    }
    return pthread_join(thread, nullptr);
}

int32_t os_thread_cancel(os_thread_t thread) {
    if (thread == 0) {
        return ESRCH;
    }
    return pthread_cancel(thread);
}

os_mutex *os_mutex_create(void) {
    auto *mutex = static_cast<os_mutex *>(calloc(1, sizeof(os_mutex)));
    if (mutex == nullptr) {
        return nullptr;
    }
    if (pthread_mutex_init(&mutex->mutex, nullptr) != 0) {
        free(mutex);
        return nullptr;
    }
    return mutex;
}

int32_t os_mutex_lock(os_mutex *mutex) {
    return mutex != nullptr ? pthread_mutex_lock(&mutex->mutex) : EINVAL;
}

int32_t os_mutex_unlock(os_mutex *mutex) {
    return mutex != nullptr ? pthread_mutex_unlock(&mutex->mutex) : EINVAL;
}

void os_mutex_close(os_mutex *mutex) {
    if (mutex != nullptr) {
        pthread_mutex_destroy(&mutex->mutex);
        free(mutex);
    }
}

os_sem *os_sem_create(uint32_t count) {
    auto *sem = static_cast<os_sem *>(calloc(1, sizeof(os_sem)));
    if (sem == nullptr) {
        return nullptr;
    }
    if (sem_init(&sem->sem, 0, count) != 0) {
        free(sem);
        return nullptr;
    }
    sem->most = SEM_VALUE_MAX - static_cast<int32_t>(count);
    return sem;
}

int32_t os_sem_wait(os_sem *sem) {
    if (sem == nullptr) {
        return EINVAL;
    }
    if (sem->balance.fetch_sub(1, std::memory_order_acquire) > 0) {
        return 0;
    }
    while (sem_wait(&sem->sem) != 0) {
        if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

int32_t os_sem_post(os_sem *sem) {
    if (sem == nullptr) {
        return EINVAL;
    }
    int32_t before = sem->balance.load(std::memory_order_relaxed);
    do {
        if (before >= sem->most) {
            return EOVERFLOW;
        }
    } while (!sem->balance.compare_exchange_weak(before, before + 1, std::memory_order_release,
                                                 std::memory_order_relaxed));
    if (before >= 0) {
        return 0;
    }
    return sem_post(&sem->sem) == 0 ? 0 : errno;
}

void os_sem_close(os_sem *sem) {
    if (sem != nullptr) {
        sem_destroy(&sem->sem);
        free(sem);
    }
}
