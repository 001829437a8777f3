/*
 * The folders in which a module's commands look for tools. A tool is run with the module's rights, mostly
 * root's, so a folder in which another user could put one is no place for it. Any thread.
 */
#pragma once

#include <cstddef>

/*
 * Writes the folders of a PATH that are safe, in their order: absolute, of root or of the process's own user,
 * and with no other user able to write to them or to put another folder in their place, by way of a link
 * either. Where none is left, it is "/usr/sbin:/usr/bin:/sbin:/bin".
 *
 * path: null is empty. text: receives at most safe_path_size(path) bytes, with the NUL.
 */
void write_safe_path(const char *path, char *text);

size_t safe_path_size(const char *path);
