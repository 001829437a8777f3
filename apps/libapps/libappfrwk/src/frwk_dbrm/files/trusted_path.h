/*
 * Where a path leads, and whether another user could make it lead elsewhere: a name is looked up once, and
 * everything is then done by way of the folder that was found.
 *
 * Another user is anybody but the caller and root. Any thread.
 */
#pragma once

#include <climits>

#include "support/unique_fd.h"

/* What to do where the path's last part is a symbolic link. */
enum class LastLink {
    kKeep,
    kFollow /* but only where no other user could have put it there */
};

/* The end of a path. */
struct Place {
    UniqueFd folder;               /* held by O_PATH */
    char name[NAME_MAX + 1] = "";  /* in the folder; whether there is such a file is another question */
    bool is_closed = false;        /* no other user can change any name on the way, or in the folder */
    bool is_behind_a_link = false; /* the path's own last part is a link, which was followed */
};

/*
 * Finds the folder that a path leads to. On the way a symbolic link that another user could have put there is
 * not followed.
 *
 * Returns false, with errno set: ELOOP for such a link, EISDIR for a path that ends in a slash.
 */
bool find_place(const char *path, LastLink last, Place *place);
