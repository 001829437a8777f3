/*
 * Damaged files that are kept when their successors take their places, for whoever wants to look at them:
 * PATH.damaged-YYYYMMDD-HHMMSS, with -2 and so on behind it when the name is taken. One thread at a time.
 */
#pragma once

#include <cstddef>
#include <string>

/* So many of one file are kept; the oldest go. */
inline constexpr size_t kDamagedFilesKept = 4;

/*
 * Gives a file a second name, or a copy where the file system has no links. Its own name stays.
 *
 * kept: receives the name; unchanged on failure, and when the file is gone.
 * Returns 0 or an errno value; then nothing is left behind.
 */
int keep_damaged(const std::string &path, std::string &kept);

/* Removes the oldest of a file's damaged ones where there are too many, but not this one. */
void forget_old_damaged(const std::string &path, const std::string &kept);
