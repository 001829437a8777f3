/*
 * Resolves a path once, and determines whether another user could change its result. All further operations
 * use the folder that was found.
 *
 * Another user is anybody but the caller and root. Any thread.
 */
#pragma once

#include <climits>

#include "support/unique_fd.h"

/* What to do if the last component of the path is a symbolic link. */
enum class LastLink {
    kKeep,
    kFollow /* but only if no other user could have created it */
};

/* The result of resolving a path. */
struct Place {
    UniqueFd folder;              /* opened with O_PATH */
    char name[NAME_MAX + 1] = ""; /* in the folder; the file need not exist */
    bool is_closed = false;       /* no other user can change the folder or a folder above it */
    bool keeps_ours = false; /* no other user can rename or remove what the caller creates in the folder */
    bool is_behind_a_link = false; /* the last component was a link, which was followed */
};

/*
 * Finds the folder of a path. Does not follow a symbolic link that another user could have created.
 *
 * Returns false, with errno set, on failure: ELOOP for such a link, EISDIR for a path that ends with a slash.
 */
bool find_place(const char *path, LastLink last, Place *place);
