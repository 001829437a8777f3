/*
 * Marker files, which are there or not and hold nothing.
 */
#pragma once

/*
 * Makes a marker with the shell's touch, which would follow a link: what another user has put in its place is
 * set aside first. Where other users can add files, the marker is made before touch runs; where they can
 * replace it, it is made without the shell.
 *
 * path: absolute.
 * Returns whether the marker may be there now; a failure is logged.
 */
bool make_marker(const char *path);

/* Whether there is anything at a path, be it a link that leads nowhere; true if that can't be determined. */
bool is_occupied(const char *path);
