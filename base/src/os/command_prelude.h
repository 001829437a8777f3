/*
 * What a shell does before it runs a command, where the command would start with too much: it is then a shell
 * of its own that this one becomes, with the command's text as it stands. Any thread.
 */
#pragma once

/*
 * The text of the shell that becomes the command's, whose text is its $1; null where there is nothing to be
 * done.
 *
 * A command doesn't make files that others can write to, whatever the process's umask. In a command scope no
 * file that it writes grows beyond OS_COMMAND_FILE_MAX.
 */
const char *command_prelude();
