// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CORE_LINK_H
#define CORE_LINK_H

// Link words inside the callers' records. They may be spelled as pointers to the record's own
// type, so they are reached through a type that the compiler lets alias all others.

#include <stddef.h>
#include <stdlib.h>

namespace core {

using LinkWord [[gnu::may_alias]] = void*;

// The single link of an element of a FIFO or LIFO.
inline LinkWord& linkOf(void* element, size_t linkOffset) {
    return *reinterpret_cast<LinkWord*>(static_cast<char*>(element) + linkOffset);
}

// The two links of a list's element.
inline LinkWord& previousOf(void* element, size_t linkOffset) {
    return linkOf(element, linkOffset);
}

inline LinkWord& nextOf(void* element, size_t linkOffset) {
    return linkOf(element, linkOffset + sizeof(void*));
}

// Steps from `first` to `element` along the links at `linkOffset`; -1 when the chain ends before.
inline int stepsTo(void* first, const void* element, size_t linkOffset) {
    int steps = 0;
    for (void* e = first; e != nullptr; e = linkOf(e, linkOffset)) {
        if (e == element) {
            return steps;
        }
        ++steps;
    }
    return -1;
}

inline int chainLength(void* first, size_t linkOffset) {
    int count = 0;
    for (void* e = first; e != nullptr; e = linkOf(e, linkOffset)) {
        ++count;
    }
    return count;
}

inline void freeChain(void* first, size_t linkOffset) {
    for (void* e = first; e != nullptr;) {
        void* const next = linkOf(e, linkOffset);
        free(e);
        e = next;
    }
}

}  // namespace core

#endif
