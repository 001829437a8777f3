/*
 * Counts the calls that one run makes into the C library, and makes one of them fail.
 *
 * Between watch() and end() the calls of the selected threads are counted. Calls of the test code, its other
 * threads and its helpers are not. One run at a time; a child that the run forks continues counting.
 */
#pragma once

#include <vector>

#include "faults/libc_call.h"

namespace faults {

/* The threads whose calls are counted. */
enum class Who : uint8_t {
    kNobody,
    kCaller, /* the thread that called watch */
    kOthers  /* every other thread of the process, such as its service thread */
};

/* Starts counting. */
void watch(Who who);

/* The same, and makes the nth call of a kind fail, counted from 0. variant: the index of its fault. */
void watch_kind(Who who, Call kind, size_t nth, size_t variant);

struct Trace {
    std::vector<Call> calls;
    bool struck = false; /* a call was made to fail */
    Call failed = Call::kNone;
    Fault fault;
};

/* Stops counting. */
Trace end();

/* Stops counting, in a child without returning the trace, and in the parent after a child that ended. */
void stop_watching();

/* The same for a process that a library under test has forked, permanently: the run continues without it. */
void leave_run();

/* The fault of the failed call; none if no call has failed yet. */
Fault met();

/* Steps of the test in the middle of a run, which are not counted. */
class Unwatched {
  public:
    Unwatched();
    Unwatched(const Unwatched &) = delete;
    Unwatched &operator=(const Unwatched &) = delete;
    ~Unwatched();

    /* The call itself, which is counted. */
    template <typename Tested>
    long watched(Tested tested) const {
        resume();
        const long result = tested();
        stop_watching();
        return result;
    }

  private:
    void resume() const;

    const Who who_;
};

/* Sets a function that is called after each counted call; null for none. fd: of fsync, else -1. */
void set_observer(void (*observer)(Call call, int fd));

/* For the functions that override the C library's: counts a call and returns its outcome. */
Fault take(Call call);

/* The same, but does not count calls of a library that can't handle a failure. caller: the calling code. */
Fault take_from(Call call, const void *caller);

/* Calls the observer. */
void carried_out(Call call, int fd);

/* Whether calls of this thread are counted now. */
bool watched();

/* The number of allocated blocks in the process; constant with a sanitizer. */
long live_blocks();
void count_block(long change);

}  // namespace faults
