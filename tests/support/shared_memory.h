/*
 * Words that a test shares with the processes that it forks. They begin as zeros.
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <new>

template <typename Words>
class SharedMemory {
  public:
    SharedMemory() {
        void *page =
            ::mmap(nullptr, sizeof(Words), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(MAP_FAILED, page);
        words_ = new (page) Words();
    }
    ~SharedMemory() { (void)::munmap(words_, sizeof(Words)); }
    SharedMemory(const SharedMemory &) = delete;
    SharedMemory &operator=(const SharedMemory &) = delete;

    Words &operator*() const { return *words_; }
    Words *operator->() const { return words_; }

  private:
    Words *words_ = nullptr;
};
