/*
 * A second user to attack as. There is one where the tests run as root, or where the private device tree
 * could map one; elsewhere attacks as another user are skipped, and say so.
 */
#pragma once

#include <sys/types.h>

#include <functional>

inline constexpr uid_t kOtherUser = 60001;

/* Whether a process of the test may become the other user. */
bool other_user_exists();

/* Runs the body as that user, in a process of its own. Returns what it returned, 0 to 255; -1 when it could
 * not. */
int as_other_user(const std::function<int()> &body);

inline constexpr char kNoOtherUser[] = "there is no second user to attack as: run the tests as root";
