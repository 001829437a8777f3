#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "checks.h"
#include "os_thread.h"

namespace {

/* How long a call that must wait is watched. Too short a time hides a fault, and accuses nobody. */
constexpr std::chrono::milliseconds kWatched(100);

/* Calls a function on a thread of its own, which goes on when the examination is over. */
template <typename Call>
bool returns_while_watched(const Call &call) {
    static std::atomic<bool> returned;
    returned = false;
    std::thread([call] {
        call();
        returned = true;
    }).detach();
    std::this_thread::sleep_for(kWatched);
    return returned;
}

os_mutex *new_mutex(const Examination &that) {
    os_mutex *const mutex = CALL(that, os_mutex_create)();
    that.expect(mutex != nullptr, "gives no mutex");
    return mutex;
}

os_sem *new_semaphore(const Examination &that, uint32_t count) {
    os_sem *const semaphore = CALL(that, os_sem_create)(count);
    that.expect(semaphore != nullptr, "gives no semaphore");
    return semaphore;
}

void *note_call(void *argument) {
    *static_cast<std::atomic<bool> *>(argument) = true;
    return nullptr;
}

void *note_call_later(void *argument) {
    std::this_thread::sleep_for(kWatched);
    return note_call(argument);
}

void *wait_to_be_cancelled(void *started) {
    (void)note_call(started);
    for (;;) {
        (void)::pause();
    }
}

os_thread_attr joinable(const Examination &that) {
    os_thread_attr attributes = {};
    that.expect(CALL(that, os_thread_attr_init)(&attributes) == 0, "fails");
    attributes.detached = 0;
    return attributes;
}

os_thread_t start(const Examination &that, os_thread_entry entry, void *argument) {
    const os_thread_attr attributes = joinable(that);
    os_thread_t thread = 0;
    that.expect(CALL(that, os_thread_create)(&thread, &attributes, entry, argument) == 0, "starts no thread");
    return thread;
}

}  // namespace

void checks::check_os_mutex_create(const Examination &that) {
    os_mutex *const mutex = new_mutex(that);
    os_mutex *const other = new_mutex(that);
    that.expect(mutex != other, "gives one mutex twice");
    CALL(that, os_mutex_close)(mutex);
    CALL(that, os_mutex_close)(other);
}

void checks::check_os_mutex_lock(const Examination &that) {
    os_mutex *const mutex = new_mutex(that);
    const auto lock = CALL(that, os_mutex_lock);
    that.expect(lock(mutex) == 0, "fails");
    that.expect(!returns_while_watched([=] { (void)lock(mutex); }), "lets a second thread in");
}

void checks::check_os_mutex_unlock(const Examination &that) {
    os_mutex *const mutex = new_mutex(that);
    const auto lock = CALL(that, os_mutex_lock);
    that.expect(lock(mutex) == 0, "can't be tried: os_mutex_lock fails");
    that.expect(CALL(that, os_mutex_unlock)(mutex) == 0, "fails");
    that.expect(lock(mutex) == 0, "leaves the mutex locked");
}

void checks::check_os_mutex_close(const Examination &that) {
    const auto close = CALL(that, os_mutex_close);
    for (int round = 0; round < 1000; ++round) {
        close(new_mutex(that));
    }
}

void checks::check_os_sem_create(const Examination &that) {
    os_sem *const semaphore = new_semaphore(that, 2);
    const auto wait = CALL(that, os_sem_wait);
    for (int count = 2; count > 0; --count) {
        that.expect(wait(semaphore) == 0, "does not begin at the count given");
    }
    CALL(that, os_sem_close)(semaphore);
}

void checks::check_os_sem_wait(const Examination &that) {
    os_sem *const semaphore = new_semaphore(that, 1);
    const auto wait = CALL(that, os_sem_wait);
    that.expect(wait(semaphore) == 0, "fails at a count of 1");
    that.expect(!returns_while_watched([=] { (void)wait(semaphore); }), "returns at a count of 0");
}

void checks::check_os_sem_post(const Examination &that) {
    os_sem *const semaphore = new_semaphore(that, 0);
    that.expect(CALL(that, os_sem_post)(semaphore) == 0, "fails");
    that.expect(CALL(that, os_sem_wait)(semaphore) == 0, "is followed by a wait that fails");
    CALL(that, os_sem_close)(semaphore);
}

void checks::check_os_sem_close(const Examination &that) {
    const auto close = CALL(that, os_sem_close);
    for (int round = 0; round < 1000; ++round) {
        close(new_semaphore(that, 0));
    }
}

void checks::check_os_thread_attr_init(const Examination &that) {
    constexpr uint32_t kBlank = 0xA5A5A5A5;
    os_thread_attr attributes = {kBlank, kBlank};
    that.expect(CALL(that, os_thread_attr_init)(&attributes) == 0, "fails");
    that.expect(attributes.detached != kBlank && attributes.stack_size != kBlank, "does not fill both words");
}

void checks::check_os_thread_create(const Examination &that) {
    std::atomic<bool> called(false);
    const os_thread_t thread = start(that, note_call, &called);
    (void)CALL(that, os_thread_join)(thread);
    that.expect(called, "does not run the entry with its argument, or starts a thread that can't be joined");
}

void checks::check_os_thread_join(const Examination &that) {
    std::atomic<bool> called(false);
    const os_thread_t thread = start(that, note_call_later, &called);
    that.expect(CALL(that, os_thread_join)(thread) == 0, "fails");
    that.expect(called, "does not wait for the thread's end");
}

void checks::check_os_thread_cancel(const Examination &that) {
    std::atomic<bool> started(false);
    const os_thread_t thread = start(that, wait_to_be_cancelled, &started);
    that.expect(CALL(that, os_thread_cancel)(thread) == 0, "fails");
    that.expect(CALL(that, os_thread_join)(thread) == 0, "is followed by a join that fails");
    that.expect(started, "can't be tried: os_thread_create runs no thread");
}
