/*
 * Checks before a restore whether the settings of a backup would fill a disk or the memory: the restore would
 * stop half-way, with the old settings discarded. One thread at a time.
 */
#pragma once

#include "apps_err.h"

namespace backup {

/*
 * Compares what the database's text, at the beginning of the body, will need with the free space: for the
 * database's file, and for its journal, which has every setting until the save. The present file and journal
 * count as free, since the reset frees them. What can't be found out counts as enough space: the restore
 * itself logs what it can't read.
 *
 * path: a checked body.
 * Returns E_APPS_ERR_SUCCESS, or, after logging the cause, E_APPS_ERR_NOSPACE if a disk has too little space,
 * E_APPS_ERR_MALLOC if the text is larger than any block of memory.
 */
apps_err_e_type check_room_for_settings(const char *path);

}  // namespace backup
