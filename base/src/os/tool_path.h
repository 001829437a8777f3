/*
 * The folders in which a module's commands look for tools. A tool runs with the module's rights, usually
 * those of root, so folders that another user can write to are left out. Any thread.
 */
#pragma once

#include <cstddef>

/*
 * Writes the safe folders of a PATH, in their order. A safe folder is absolute, belongs to root or to the
 * process's user, and no other user can write to it or replace it, also not through a link. If none is left,
 * the result is "/usr/sbin:/usr/bin:/sbin:/bin".
 *
 * path: null counts as empty. text: receives at most safe_path_size(path) bytes, including the NUL.
 */
void write_safe_path(const char *path, char *text);

size_t safe_path_size(const char *path);
