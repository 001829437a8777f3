/*
 * A process that ends what a thread's commands have started once that thread is gone: ended, or killed with
 * its whole process, so that it could not do so itself.
 *
 * It is a fork that holds no descriptor of the module's and takes part in none of its signals. Started for a
 * command scope and dismissed with it; a constant-initialized member of the thread's own state.
 */
#pragma once

#include <sys/types.h>

class CommandGuard {
  public:
    /*
     * Starts it for the calling thread; when it can't be started, which is logged, all goes on without it.
     *
     * act: called in the guard's process, in which there is no other thread, once the thread is gone.
     */
    void start(void (*act)());

    /* Ends it without its acting, and waits for its end. Does nothing when there is none. */
    void dismiss();

  private:
    int call_ = -1; /* to the guard */
    pid_t guard_ = -1;
};

/*
 * The guard's own work: returns when it was dismissed, or has acted. The process keeps no other descriptor.
 *
 * call: to the thread that asked. asker: its process, the parent.
 */
void guard_commands(int call, pid_t asker, void (*act)());
