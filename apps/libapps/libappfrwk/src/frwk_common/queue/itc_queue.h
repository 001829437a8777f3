/*
 * The thread of a queue between threads.
 */
#pragma once

/* The entry of a queue's thread, which never returns. itc: the queue; null is reported and returns. */
void *frwk_itc_main(void *itc);
