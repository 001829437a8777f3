/*
 * Who may read the view, by the service's environment.
 */
#pragma once

#include <sys/types.h>

struct ViewAccess {
    mode_t mode = 0640;
    gid_t group = static_cast<gid_t>(-1); /* -1: the service's */
};

/*
 * Reads QUOR_ZNDB_VIEW_MODE, an octal number such as 0644 of which only the rights to read count, and
 * QUOR_ZNDB_VIEW_GROUP, a group's name or number. Logs what it can't use, and takes the default then.
 */
ViewAccess view_access();
