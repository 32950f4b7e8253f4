// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef CAT_SLOTS_H
#define CAT_SLOTS_H

// Tables whose index is an id: sets by their id, files by that of their catalog.

#include "zol/tab.h"

namespace zol {
namespace cat {

// The slot of an id, for writing. It and all before it are made when they are not there, empty.
// Null without memory.
template <class T>
T* slotOf(CTab<T>& table, unsigned id) {
    while (static_cast<unsigned>(table.getCount()) <= id) {
        if (table.append(T()) == -1) {
            return nullptr;
        }
    }
    T* const slots = table.getTable();
    return slots == nullptr ? nullptr : slots + id;
}

}  // namespace cat
}  // namespace zol

#endif
