/*
 * Checks before a restore whether the settings of a backup would fill a disk: the restore would stop
 * half-way, with the old settings discarded. One thread at a time.
 */
#pragma once

namespace backup {

/*
 * Compares what the database's text, at the beginning of the body, will need with the free space: for the
 * database's file, and for its journal, which has every setting until the save. The present file and journal
 * count as free, since the reset frees them. What can't be found out counts as enough space: the restore
 * itself logs what it can't read.
 *
 * path: a checked body.
 * Returns false, and logs the file, if there is not enough space.
 */
bool has_room_for_settings(const char *path);

}  // namespace backup
