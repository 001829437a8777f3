/*
 * Marker files, which are there or not and hold nothing.
 */
#pragma once

#include "internal/planted.h"
#include "internal/shell.h"

/*
 * Makes a marker with the shell's touch, which would follow a link: what another user has put in its place is
 * set aside first.
 *
 * path: absolute.
 * Returns whether the command was run.
 */
inline bool make_marker(const char *path) {
    (void)set_aside_planted(path, FolderOwner::kTrusted);
    return run_on_path("touch", path);
}
