/*
 * Who reads standard output.
 */
#pragma once

/*
 * Whether a write to standard output failed because its reader, such as head, has had enough. Also true if
 * the write failed earlier and errno has changed since.
 *
 * error: the errno value of the write.
 */
bool has_reader_left(int error);
