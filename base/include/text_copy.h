/*
 * Bounded copies and trimming of texts. Every function may be called from any thread.
 */
#ifndef QUOR_TEXT_COPY_H
#define QUOR_TEXT_COPY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

/*
 * Copies at most length characters of src, then a NUL.
 *
 * dst: at least length + 1 bytes. src: read up to its NUL or length characters. The two don't overlap.
 * Returns dst.
 */
char *strsncpy(char *dst, const char *src, size_t length);

/*
 * Strips the CR, LF, blanks and tabs at the end of a text, in place.
 *
 * text: null gives null. length: characters of text, without the NUL.
 * Returns text.
 */
char *strdern(char *text, size_t length);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
