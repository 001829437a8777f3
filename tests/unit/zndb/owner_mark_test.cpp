/*
 * The mark with the real kernel, and with one that knows no lists of robust futexes.
 */
#include "owner_mark.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <functional>

namespace {

bool g_refused = false;

}  // namespace

/* Stands in for that of the C library. */
extern "C" __attribute__((visibility("default"))) long syscall(long number, ...) {
    using Call = long (*)(long number, ...);
    static const auto real = reinterpret_cast<Call>(::dlsym(RTLD_NEXT, "syscall"));
    if (number == SYS_set_robust_list && g_refused) {
        errno = ENOSYS;
        return -1;
    }
    long each[6] = {};
    va_list arguments;
    va_start(arguments, number);
    for (long &argument : each) {
        argument = va_arg(arguments, long);
    }
    va_end(arguments);
    return real(number, each[0], each[1], each[2], each[3], each[4], each[5]);
}

namespace {

/* A word that a child can mark and its parent read. */
class OwnerMarkTest : public testing::Test {
  protected:
    OwnerMarkTest()
        : word_(static_cast<uint32_t *>(
              ::mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
    ~OwnerMarkTest() override {
        g_refused = false;
        (void)::munmap(word_, 4096);
    }

    /* Runs in a child that is killed then, with or without the mark. */
    void kill_after(const std::function<void(OwnerMark &mark)> &steps) {
        const pid_t child = ::fork();
        if (child == 0) {
            static OwnerMark mark;
            steps(mark);
            (void)::kill(::getpid(), SIGKILL);
        }
        (void)::waitpid(child, nullptr, 0);
    }

    uint32_t *const word_;
};

TEST_F(OwnerMarkTest, TheKernelNotesTheEndOfItsProcess) {
    kill_after([this](OwnerMark &mark) {
        mark.begin();
        mark.move_to(word_);
    });
    EXPECT_NE(0u, *word_ & kOwnerEnded);
}

TEST_F(OwnerMarkTest, AWordThatIsForgottenIsNotMarked) {
    kill_after([this](OwnerMark &mark) {
        mark.begin();
        mark.move_to(word_);
        mark.forget();
    });
    EXPECT_EQ(0u, *word_ & kOwnerEnded);
}

TEST_F(OwnerMarkTest, IsAvailableOnlyIfTheKernelTakesIt) {
    kill_after([this](OwnerMark &mark) {
        word_[1] = mark.is_available() ? 1 : 2;
        mark.begin();
        word_[2] = mark.is_available() ? 1 : 2;
        g_refused = true;
        OwnerMark refused;
        refused.begin();
        word_[3] = refused.is_available() ? 1 : 2;
    });
    EXPECT_EQ(2u, word_[1]);
    EXPECT_EQ(1u, word_[2]);
    EXPECT_EQ(2u, word_[3]);
}

}  // namespace
