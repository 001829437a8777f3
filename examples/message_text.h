/*
 * The body of a message as a text, for the examples.
 */
#ifndef QUOR_MESSAGE_TEXT_H
#define QUOR_MESSAGE_TEXT_H

#include <stdint.h>
#include <stdio.h>

/*
 * Copies a body, which may lack a NUL or be missing, truncated to the buffer.
 *
 * text: receives the NUL-terminated text. size: bytes of text.
 * Returns text.
 */
static inline const char *message_text(const void *data, int32_t data_len, char *text, size_t size) {
    snprintf(text, size, "%.*s", data_len > 0 ? (int)data_len : 0, data_len > 0 ? (const char *)data : "");
    return text;
}

#endif
