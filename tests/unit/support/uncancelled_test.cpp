/*
 * Threads that are cancelled while they hold something.
 */
#include "support/uncancelled.h"

#include <gtest/gtest.h>

namespace {

int g_steps = 0;

void cancel_me() {
    (void)pthread_cancel(pthread_self());
    pthread_testcancel();
}

/* Runs a function in a thread. Returns what the thread ended with. */
void *end_of_thread(void *(*function)(void *)) {
    g_steps = 0;
    pthread_t thread{};
    EXPECT_EQ(0, pthread_create(&thread, nullptr, function, nullptr));
    void *end = nullptr;
    EXPECT_EQ(0, pthread_join(thread, &end));
    return end;
}

TEST(Uncancelled, AThreadEndsOnceItHoldsNothingAnyMore) {
    EXPECT_EQ(PTHREAD_CANCELED, end_of_thread([](void *) -> void * {
                  {
                      const Uncancelled uncancelled;
                      cancel_me();
                      ++g_steps;
                  }
                  pthread_testcancel();
                  ++g_steps;
                  return nullptr;
              }));
    EXPECT_EQ(1, g_steps);
}

TEST(Uncancelled, AThreadThatCouldNotBeCancelledBeforeCanNotBeAfterwards) {
    EXPECT_EQ(nullptr, end_of_thread([](void *) -> void * {
                  const Uncancelled outer;
                  { const Uncancelled inner; }
                  cancel_me();
                  return nullptr;
              }));
}

}  // namespace
