/*
 * Texts, lists, tables of names and growing buffers, by the plainest meaning of each call.
 */
#include <stdlib.h>
#include <string.h>

#include "byte_buffer.h"
#include "enum_name.h"
#include "list.h"
#include "os_mem.h"
#include "text_copy.h"

char *strsncpy(char *dst, const char *src, size_t length) {
    strncpy(dst, src, length);
    dst[length] = '\0';
    return dst;
}

/* Only the line end. */
char *strdern(char *text, size_t length) {
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) {
        text[--length] = '\0';
    }
    return text;
}

void list_init(list_node *head) {
    head->next = head;
    head->prev = head;
}

void list_add(list_node *head, list_node *node) {
    node->prev = head->prev;
    node->next = head;
    head->prev->next = node;
    head->prev = node;
}

/* The node is of no list afterwards. */
void list_del(list_node *node) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
    node->next = NULL;
    node->prev = NULL;
}

/* A number without a row has no name. */
const char *zn_enum_to_string(const zn_enum_item *table, uint32_t count, int32_t value) {
    for (uint32_t i = 0; i < count; ++i) {
        if (table[i].value == value) {
            return table[i].name;
        }
    }
    return NULL;
}

int32_t zn_string_to_enum(const zn_enum_item *table, uint32_t count, const char *name) {
    for (uint32_t i = 0; i < count; ++i) {
        if (strcmp(table[i].name, name) == 0) {
            return table[i].value;
        }
    }
    return -1;
}

int32_t zn_bf_init(zn_bf_t *buf, uint32_t size) {
    buf->data = NULL;
    buf->length = 0;
    buf->capacity = 0;
    return zn_bf_grow(buf, size);
}

/* Has what is asked for, and a byte more, wherever that is not nothing. */
int32_t zn_bf_grow(zn_bf_t *buf, uint32_t size) {
    if (size <= buf->capacity) {
        return 1;
    }
    char *data = os_mem_malloc((size_t)size + 1);
    if (data == NULL) {
        return 0;
    }
    if (buf->data != NULL) {
        memcpy(data, buf->data, buf->length);
        os_mem_free(buf->data);
    }
    buf->data = data;
    buf->capacity = size;
    return 1;
}

void zn_bf_free(zn_bf_t *buf) {
    if (buf->data != NULL) {
        os_mem_free(buf->data);
    }
    buf->data = NULL;
    buf->length = 0;
    buf->capacity = 0;
}
