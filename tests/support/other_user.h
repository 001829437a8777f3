/*
 * A second user for attacks. It exists if the tests run as root, or if the private device tree could map one.
 * Only root can create one, so an unprivileged run skips these attacks with a message.
 */
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>

inline constexpr uid_t kOtherUser = 60001;
inline constexpr uid_t kThirdUser = 60002;

/* Whether a process of the test may become the other user. */
bool other_user_exists();

/* Runs the body as that user, in a separate process. Returns its result, 0 to 255; -1 on failure. */
int as_other_user(const std::function<int()> &body);

/* Skips the running test if there is no other user. For SetUp(), which must then return. */
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
