/*
 * A second user to attack as. There is one where the tests run as root, or where the private device tree
 * could map one; elsewhere attacks as another user are skipped, and say so.
 */
#pragma once

#include <sys/types.h>

inline constexpr uid_t kOtherUser = 60001;

/* Whether a process of the test may become the other user. */
bool other_user_exists();

inline constexpr char kNoOtherUser[] = "there is no second user to attack as: run the tests as root";
