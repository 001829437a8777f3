/*
 * Counts the calls that one run makes into the C library, and makes one of them fail.
 *
 * Between watch() and end() the calls of the threads in question are counted. What the test's own code, its
 * other threads and its helpers do is not. One run at a time; a child that the run forks goes on counting.
 */
#pragma once

#include <vector>

#include "faults/libc_call.h"

namespace faults {

/* Whose calls count. */
enum class Who : uint8_t {
    kNobody,
    kCaller, /* the thread that called watch */
    kOthers  /* every other thread of the process, such as its service thread */
};

/* Counts from now on. */
void watch(Who who);

/* The same, and makes the call fail that is the nth of its kind, counted from 0. variant: which of its faults
 * it meets. */
void watch_kind(Who who, Call kind, size_t nth, size_t variant);

struct Trace {
    std::vector<Call> calls;
    bool struck = false; /* a call was made to fail */
    Call failed = Call::kNone;
    Fault fault;
};

/* Counts no longer. */
Trace end();

/* Counts no longer, in a child: the trace is its parent's. In the parent, what a child that ended left on. */
void stop_watching();

/* The same for a process that a library under test has forked, for good: the run goes on without it. */
void leave_run();

/* What the call that was made to fail met; nothing while none was. */
Fault met();

/* The test's own steps before and after a call, in the middle of a run: they are not counted. */
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

/* Sees each counted call when it was carried out, until null takes its place. fd: of fsync, else -1. */
void set_observer(void (*observer)(Call call, int fd));

/* For the functions that override the C library's: counts a call and returns its outcome. */
Fault take(Call call);

/* The same where a library is among the callers that can't bear a refusal; what that one asks for is not
 * counted. caller: the code that calls. */
Fault take_from(Call call, const void *caller);

/* Tells the observer. */
void carried_out(Call call, int fd);

/* Whether calls of this thread are counted now. */
bool watched();

/* Blocks of memory that were taken and not given back, in the whole process; constant under a sanitizer. */
long live_blocks();
void count_block(long change);

}  // namespace faults
