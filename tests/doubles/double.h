/*
 * Test doubles for single functions, installed when a test program is linked (-Wl,--wrap=NAME).
 *
 * A program that links doubles_libc or doubles_base calls each function listed there through a Double.
 * Without a stand-in the Double calls the real function:
 *
 *     doubles::libc::socket.fail(EMFILE);
 *     ...
 *     EXPECT_EQ(1u, doubles::libc::socket.calls());
 *     doubles::restore_all();
 *
 * stand_in takes any function, which may call the real one: doubles::libc::recv.real(fd, buf, len, flags).
 * Only calls from object files that are linked into the program go through a Double, not those between
 * functions of one source file or inside shared libraries. Every function here may be called from any thread;
 * a stand-in must allow concurrent calls and may still be running when restore() returns.
 */
#pragma once

#include <atomic>
#include <cerrno>
#include <functional>
#include <type_traits>
#include <utility>

namespace doubles {

/* The common base of all doubles. They are constant-initialized: usable before main and after it. */
class AnyDouble {
  public:
    AnyDouble(const AnyDouble &) = delete;
    AnyDouble &operator=(const AnyDouble &) = delete;

    /* Removes the test double: calls go to the real function again. */
    void restore() { current_.store(nullptr, std::memory_order_release); }

    /* The number of calls since the start or the last restore_all, with and without a stand-in. */
    unsigned calls() const { return calls_.load(std::memory_order_acquire); }

    /* Resets the count. */
    void forget_calls() { calls_.store(0, std::memory_order_release); }

  protected:
    constexpr AnyDouble() = default;
    ~AnyDouble() = default;

    void count_call() {
        enrol();
        calls_.fetch_add(1, std::memory_order_acq_rel);
    }
    void enrol();

    std::atomic<const void *> current_{nullptr};

  private:
    friend void restore_all();

    std::atomic<unsigned> calls_{0};
    std::atomic<bool> enrolled_{false};
    AnyDouble *next_ = nullptr;
};

/* Removes every test double of the program and sets every count to 0. */
void restore_all();

template <typename Signature>
class Double;

template <typename Result, typename... Args>
class Double<Result(Args...)> : public AnyDouble {
  public:
    using Function = std::function<Result(Args...)>;

    constexpr explicit Double(Result (*function)(Args...)) : real_(function) {}

    /* Redirects calls to function, until restore() or the next stand_in(). */
    void stand_in(Function function) {
        enrol();
        current_.store(keep(std::move(function)), std::memory_order_release);
    }

    /* Makes every call fail with this errno value: it returns null or -1. */
    void fail(int error) {
        stand_in([error](Args...) {
            errno = error;
            return failure();
        });
    }

    /* Makes one call fail, counted from the last restore_all: 1 for the first. */
    void fail_call(unsigned which, int error) {
        stand_in([this, which, error](Args... args) {
            if (calls() != which) {
                return real_(args...);
            }
            errno = error;
            return failure();
        });
    }

    /* The real function, bypassing any test double; not counted. */
    Result real(Args... args) const { return real_(args...); }

    Result operator()(Args... args) {
        count_call();
        const auto *function = static_cast<const Function *>(current_.load(std::memory_order_acquire));
        return function != nullptr ? (*function)(args...) : real_(args...);
    }

  private:
    static constexpr Result failure() {
        if constexpr (std::is_pointer_v<Result>) {
            return nullptr;
        } else {
            return static_cast<Result>(-1);
        }
    }

    struct Kept {
        Function function;
        Kept *next;
    };

    /* Stand-ins live until the program ends, since a thread may be inside one that was just replaced. */
    const Function *keep(Function function) {
        Kept *kept = new Kept{std::move(function), kept_.load()};
        while (!kept_.compare_exchange_weak(kept->next, kept)) {
        }
        return &kept->function;
    }

    Result (*const real_)(Args...);
    std::atomic<Kept *> kept_{nullptr};
};

}  // namespace doubles
