// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/list.h"

#include "link.h"

using core::linkOf;

const xlifo xlifo_null = {nullptr};

static_assert(sizeof(xlifo) == sizeof(void*), "one word");

int xlifo_get_count(const xlifo* lifo, size_t linkOffset) {
    return core::chainLength(lifo->top, linkOffset);
}

int xlifo_get_index(const xlifo* lifo, const void* elem, size_t linkOffset) {
    return core::stepsTo(lifo->top, elem, linkOffset);
}

int xlifo_is_element(const xlifo* lifo, const void* elem, size_t linkOffset) {
    return xlifo_get_index(lifo, elem, linkOffset) != -1;
}

xlifo* xlifo_push(xlifo* lifo, void* elem, size_t linkOffset) {
    // Deliberate: on an empty stack the element's link is not written. Pinned by
    // Lifo.PushingOnAnEmptyStackLeavesTheElementsLinkUntouched.
    if (lifo->top != nullptr) {
        linkOf(elem, linkOffset) = lifo->top;
    }
    lifo->top = elem;
    return lifo;
}

void* xlifo_pull(xlifo* lifo, size_t linkOffset) {
    void* const top = lifo->top;
    if (top != nullptr) {
        lifo->top = linkOf(top, linkOffset);
        linkOf(top, linkOffset) = nullptr;
    }
    return top;
}

void xlifo_delete_all(xlifo* lifo, size_t linkOffset) {
    core::freeChain(lifo->top, linkOffset);
    *lifo = xlifo_null;
}
