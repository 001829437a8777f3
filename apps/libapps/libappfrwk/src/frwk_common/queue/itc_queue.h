/*
 * The thread of a queue between threads.
 */
#pragma once

/* The main function of a queue's thread; never returns. itc: the queue; null is logged and returns. */
void *frwk_itc_main(void *itc);
