// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/list.h"

#include "link.h"

using core::nextOf;
using core::previousOf;

const xlist xlist_null = {nullptr, nullptr, 0};

static_assert(sizeof(void*) != 4 || (sizeof(xlist) == 12 && offsetof(xlist, tail) == 4 &&
                                     offsetof(xlist, count) == 8 && sizeof(xlist_link_s) == 8),
              "32-bit layout");

void xlist_init(xlist* list) {
    *list = xlist_null;
}

int xlist_get_count(const xlist* list) {
    return list->count;
}

int xlist_get_index(const xlist* list, const void* elem, size_t linkOffset) {
    return core::stepsTo(list->head, elem, linkOffset + offsetof(xlist_link_s, next));
}

int xlist_is_element(const xlist* list, const void* elem, size_t linkOffset) {
    return xlist_get_index(list, elem, linkOffset) != -1;
}

void xlist_insert(xlist* list, void* elem, void* before, size_t linkOffset) {
    void* previous = nullptr;
    if (before != nullptr) {
        previous = previousOf(before, linkOffset);
        previousOf(before, linkOffset) = elem;
    } else {
        previous = list->tail;
        list->tail = elem;
    }
    if (previous == nullptr) {
        list->head = elem;
    } else {
        nextOf(previous, linkOffset) = elem;
    }
    previousOf(elem, linkOffset) = previous;
    nextOf(elem, linkOffset) = before;
    ++list->count;
}

void xlist_append(xlist* list, void* elem, void* after, size_t linkOffset) {
    // Behind `after` is in front of its successor; in front of nothing is at the tail.
    void* const before =
        after != nullptr ? static_cast<void*>(nextOf(after, linkOffset)) : list->head;
    xlist_insert(list, elem, before, linkOffset);
}

void xlist_add_head(xlist* list, void* elem, size_t linkOffset) {
    xlist_insert(list, elem, list->head, linkOffset);
}

void xlist_add_tail(xlist* list, void* elem, size_t linkOffset) {
    xlist_append(list, elem, list->tail, linkOffset);
}

void xlist_remove(xlist* list, void* elem, size_t linkOffset) {
    void* const previous = previousOf(elem, linkOffset);
    void* const next = nextOf(elem, linkOffset);
    if (previous == nullptr) {
        list->head = next;
    } else {
        nextOf(previous, linkOffset) = next;
    }
    if (next == nullptr) {
        list->tail = previous;
    } else {
        previousOf(next, linkOffset) = previous;
    }
    previousOf(elem, linkOffset) = nullptr;
    nextOf(elem, linkOffset) = nullptr;
    --list->count;
}

void* xlist_remove_head(xlist* list, size_t linkOffset) {
    void* const head = list->head;
    if (head != nullptr) {
        xlist_remove(list, head, linkOffset);
    }
    return head;
}

void* xlist_remove_tail(xlist* list, size_t linkOffset) {
    void* const tail = list->tail;
    if (tail != nullptr) {
        xlist_remove(list, tail, linkOffset);
    }
    return tail;
}

void xlist_delete_all(xlist* list, size_t linkOffset) {
    core::freeChain(list->head, linkOffset + offsetof(xlist_link_s, next));
    xlist_init(list);
}
