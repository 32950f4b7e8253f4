// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/list.h"

#include "link.h"

using core::linkOf;

const xfifo xfifo_null = {nullptr, nullptr};

static_assert(sizeof(void*) != 4 || (sizeof(xfifo) == 8 && offsetof(xfifo, tail) == 4),
              "32-bit layout");

int xfifo_get_count(const xfifo* fifo, size_t linkOffset) {
    return core::chainLength(fifo->head, linkOffset);
}

int xfifo_get_index(const xfifo* fifo, const void* elem, size_t linkOffset) {
    return core::stepsTo(fifo->head, elem, linkOffset);
}

int xfifo_is_element(const xfifo* fifo, const void* elem, size_t linkOffset) {
    return xfifo_get_index(fifo, elem, linkOffset) != -1;
}

xfifo* xfifo_add(xfifo* fifo, void* elem, size_t linkOffset) {
    // Deliberate: the element's own link is not written. Pinned by
    // Fifo.AddingLeavesTheElementsOwnLinkUntouched.
    if (fifo->head == nullptr) {
        fifo->head = elem;
    } else {
        linkOf(fifo->tail, linkOffset) = elem;
    }
    fifo->tail = elem;
    return fifo;
}

void* xfifo_remove(xfifo* fifo, size_t linkOffset) {
    void* const head = fifo->head;
    if (head == nullptr) {
        return nullptr;
    }
    if (head == fifo->tail) {
        *fifo = xfifo_null;
    } else {
        fifo->head = linkOf(head, linkOffset);
    }
    linkOf(head, linkOffset) = nullptr;
    return head;
}

void xfifo_remove_element(xfifo* fifo, void* elem, size_t linkOffset) {
    void* previous = nullptr;
    void* e = fifo->head;
    while (e != nullptr && e != elem) {
        previous = e;
        e = linkOf(e, linkOffset);
    }
    if (e == nullptr) {
        return;
    }
    void* const next = linkOf(elem, linkOffset);
    if (previous == nullptr) {
        fifo->head = next;
    } else {
        linkOf(previous, linkOffset) = next;
    }
    if (fifo->tail == elem) {
        fifo->tail = previous;
    }
    linkOf(elem, linkOffset) = nullptr;
}

void xfifo_delete_all(xfifo* fifo, size_t linkOffset) {
    core::freeChain(fifo->head, linkOffset);
    *fifo = xfifo_null;
}
