/*
 * A second user to attack as. There is one where the tests run as root, or where the private device tree
 * could map one. Only root can make one, so an unprivileged run skips these attacks and says so.
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>

inline constexpr uid_t kOtherUser = 60001;
inline constexpr uid_t kThirdUser = 60002;

/* Whether a process of the test may become the other user. */
bool other_user_exists();

/* Runs the body as that user, in a separate process. Returns what it returned, 0 to 255; -1 when it could
 * not. */
int as_other_user(const std::function<int()> &body);

/* Skips the running test where there is no other user. For SetUp(), which then returns. */
void skip_without_other_user();

/* A fixture whose tests need the other user. */
template <typename Fixture>
class ByAnotherUser : public Fixture {
  protected:
    void SetUp() override {
        skip_without_other_user();
        if (!testing::Test::IsSkipped()) {
            Fixture::SetUp();
        }
    }
};
