/*
 * Doubly linked lists of nodes that lie inside the caller's records.
 *
 * A head is a node of its own, linked to itself while the list is empty. The lists have no lock: the
 * caller serialises. No function takes null.
 */
#ifndef QUOR_LIST_H
#define QUOR_LIST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif
#pragma GCC visibility push(default)

typedef struct list_node {
    struct list_node *next; /* of a head: the first node */
    struct list_node *prev; /* of a head: the last node */
} list_node;

/* Makes head an empty list. */
void list_init(list_node *head);

/* Appends node at the tail, so that a walk from the head meets the nodes in the order they were added. */
void list_add(list_node *head, list_node *node);

/* Unlinks node from the list it is in, and leaves it an empty list of its own. */
void list_del(list_node *node);

/* Returns 1 when head has no nodes, else 0. */
int32_t list_empty(const list_node *head);

#pragma GCC visibility pop
#ifdef __cplusplus
}
#endif

#endif
