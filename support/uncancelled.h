/*
 * Keeps pthread_cancel from ending the calling thread while the object lives: a thread that ends while it
 * holds a lock would keep it, since destructors don't run then.
 */
#pragma once

#include <pthread.h>

class Uncancelled {
  public:
    Uncancelled() { (void)pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
    ~Uncancelled() { (void)pthread_setcancelstate(before_, nullptr); }
    Uncancelled(const Uncancelled &) = delete;
    Uncancelled &operator=(const Uncancelled &) = delete;

  private:
    int before_ = PTHREAD_CANCEL_ENABLE;
};
