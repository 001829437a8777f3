/*
 * A first shell that restricts a command's umask and file size, and then executes a second shell with the
 * unchanged text of the command. Any thread.
 */
#pragma once

/*
 * Returns the script of the first shell, which gets the command as its $1; null if it is not needed.
 *
 * It makes sure that a command creates no file that others can write to, whatever the process's umask, and
 * that in a command scope no file that it writes exceeds OS_COMMAND_FILE_MAX.
 */
const char *command_prelude();
