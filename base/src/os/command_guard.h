/*
 * A guard process that ends the processes of a thread's commands if the thread ends, or is killed with its
 * process, before it could do so itself.
 *
 * It is a fork without the module's descriptors, and it receives none of the module's signals. It is started
 * for a command scope and dismissed at the scope's end. The object is constant-initialized, as a member of
 * thread-local state.
 */
#pragma once

#include <sys/types.h>

class CommandGuard {
  public:
    /*
     * Starts the guard for the calling thread. A failure is logged, and the commands then run without a
     * guard.
     *
     * act: called twice in the guard's process, which has no other thread, after the calling thread has
     * ended. The second call is for commands that were about to start then.
     */
    void start(void (*act)());

    /* Ends the guard without calling act, and waits for its end. Does nothing without a guard. */
    void dismiss();

  private:
    int call_ = -1; /* socket to the guard */
    pid_t guard_ = -1;
};

/* The thread that started a guard. */
struct GuardAsker {
    pid_t process; /* the guard's parent */
    pid_t thread;  /* the kernel's id */
};

/*
 * The main function of the guard's process: returns when it was dismissed, or has called act twice. Closes
 * all descriptors except call.
 *
 * call: socket to the asker.
 */
void guard_commands(int call, const GuardAsker &asker, void (*act)());
