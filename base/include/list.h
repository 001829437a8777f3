/*
 * Intrusive doubly linked lists: the nodes are members of the caller's records.
 *
 * The head is a separate node, which is linked to itself while the list is empty. The lists have no lock: the
 * caller must synchronise. No argument may be null.
 */
#ifndef QUOR_LIST_H
#define QUOR_LIST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct list_node {
    struct list_node *next; /* in a head: the first node */
    struct list_node *prev; /* in a head: the last node */
} list_node;

/* Initialises head as an empty list. */
void list_init(list_node *head);

/* Appends node at the tail, so that a walk from the head visits the nodes in the order they were added. */
void list_add(list_node *head, list_node *node);

/* Unlinks node from its list, and links it to itself. */
void list_del(list_node *node);

/* Returns 1 if the list is empty, else 0. */
int32_t list_empty(const list_node *head);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
