/*
 * The messages of the module that forks.
 */
#pragma once

enum ForkScript {
    kForkAndWork = 40000, /* a child works once as the threads do, and ends */
    kForkAndLive = 40001, /* a child lives on; its process id is the answer */
    kForkAndDie = 40002,  /* a child lives on, and the module dies before it answers */
};
