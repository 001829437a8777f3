/*
 * Intrusive doubly linked lists.
 */
#include "list.h"

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

void list_del(list_node *node) {
    node->prev->next = node->next;
    node->next->prev = node->prev;
    list_init(node);
}

int32_t list_empty(const list_node *head) {
    return head->next == head ? 1 : 0;
}
