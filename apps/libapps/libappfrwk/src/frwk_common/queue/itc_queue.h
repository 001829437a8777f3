/*
 * The thread of a queue between threads.
 */
#pragma once

namespace queue {

/* The main function of a queue's thread; never returns. itc: the queue; null is logged and returns. */
void *run(void *itc);

}  // namespace queue
