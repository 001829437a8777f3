/*
 * A look at a backup as a restore will read it, while it is still in the clear. One thread at a time.
 */
#pragma once

/*
 * Warns where a restore would stop in the text of the database, with which the body begins: the lines behind
 * it would be lost. A body that can't be looked at is told as well. Fails nothing.
 *
 * path: of the finished body.
 */
void frwk_dbrm_backup_check(const char *path);
