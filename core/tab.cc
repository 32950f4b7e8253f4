// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// Tables grow to the next multiple of their step strictly above what is asked for, so that after
// every growth at least one element is spare; they shrink lazily, when a whole step has become
// spare, so that inserting and deleting at a boundary does not move the block each time.

#include "zol/tab.h"

#include <string.h>

#include "handle.h"

namespace {

// Capacity for `count` elements; -1 when their bytes cannot be counted.
int grownCapacity(const xabuf_def_s* def, int count) {
    // Deliberate: strictly above the count, so a whole step stays free where the count is a
    // multiple of it. Pinned by TabInsert.OfAWholeStepAtOnceLeavesAnotherStepFree.
    const int64_t step = def->growStep;
    const int64_t capacity = (count / step + 1) * step;
    const bool fits = capacity <= INT32_MAX && capacity * def->elementSize <= UINT32_MAX;
    return fits ? static_cast<int>(capacity) : -1;
}

// Gives the block room for `capacity` elements. The block may move.
bool resize(xtab* t, const xabuf_def_s* def, int capacity) {
    const unsigned bytes = static_cast<unsigned>(capacity) * def->elementSize;
    return bytes != 0 && xabuf_realloc(t, def, bytes) == 0;
}

// Elements that are inserted may come from the table itself, and then move with it: the growing
// block takes all of them along, and the gap that is opened for them shifts those behind it.
class InsertedElements {
  public:
    InsertedElements(const void* source, size_t bytes, const void* elements, size_t usedBytes)
        : m_source(static_cast<const char*>(source)), m_bytes(bytes), m_offset(kElsewhere) {
        const uintptr_t distance =
            reinterpret_cast<uintptr_t>(source) - reinterpret_cast<uintptr_t>(elements);
        if (elements != nullptr && distance < usedBytes) {
            m_offset = distance;
        }
    }

    // Fills the gap at `gapOffset` of the grown block.
    void copyTo(char* elements, size_t gapOffset) const {
        char* const gap = elements + gapOffset;
        if (m_source == nullptr) {
            memset(gap, 0, m_bytes);
        } else if (m_offset == kElsewhere) {
            memcpy(gap, m_source, m_bytes);
        } else {
            size_t inFront = m_offset < gapOffset ? gapOffset - m_offset : 0;
            inFront = inFront < m_bytes ? inFront : m_bytes;
            const size_t behind = m_offset + inFront + m_bytes;
            memcpy(gap, elements + m_offset, inFront);
            memcpy(gap + inFront, elements + behind, m_bytes - inFront);
        }
    }

  private:
    static constexpr size_t kElsewhere = SIZE_MAX;

    const char* m_source;
    size_t m_bytes;
    size_t m_offset;  // of the source in the table
};

}  // namespace

int xtab_get_count(xtab* t) {
    void* const elements = core::dataOf(t);
    return elements == nullptr ? 0 : core::tableHeaderOf(elements)->count;
}

int xtab_insert(xtab* t, const xabuf_def_s* def, int index, int n, const void* source) {
    const int count = xtab_get_count(t);
    int newCount = 0;
    const bool tooMany = __builtin_add_overflow(count, n, &newCount);
    if (n < 1) {
        return newCount;
    }
    const int position = index == -1 ? count : index;

    if (xsbuf_get_refcount(t) > 1) {
        xtab_detach(t);
        if (core::dataOf(t) == nullptr && count != 0) {
            return -1;
        }
    }

    const size_t size = def->elementSize;
    const size_t usedBytes = static_cast<size_t>(count) * size;
    const size_t insertedBytes = static_cast<size_t>(n) * size;
    void* const before = core::dataOf(t);
    const InsertedElements inserted(source, insertedBytes, before, usedBytes);

    // Asked after the copy was made: a private copy may be smaller than the block that was shared.
    int capacity = before == nullptr ? 0 : core::tableHeaderOf(before)->capacity;
    if (tooMany || capacity < newCount) {
        capacity = tooMany ? -1 : grownCapacity(def, newCount);
        if (capacity == -1 || !resize(t, def, capacity)) {
            return -1;
        }
    }

    char* const elements = static_cast<char*>(core::dataOf(t));
    xtabh_s* const header = core::tableHeaderOf(elements);
    header->count = newCount;
    header->capacity = capacity;
    if (count == 0) {
        header->refCount = 1;
    }
    const size_t gap = static_cast<size_t>(position) * size;
    memmove(elements + gap + insertedBytes, elements + gap, usedBytes - gap);
    inserted.copyTo(elements, gap);
    return newCount;
}

int xtab_delete(xtab* t, int index, int n) {
    const int count = xtab_get_count(t);
    const int position = index == -1 ? count : index;
    const int removed = n < 0 ? count - position : n;
    if (removed < 1) {
        return position;
    }

    if (xsbuf_get_refcount(t) > 1) {
        xtab_detach(t);
    }
    char* const elements = static_cast<char*>(core::dataOf(t));
    if (elements == nullptr) {
        return position;
    }
    xtabh_s* const header = core::tableHeaderOf(elements);
    const size_t size = header->def->elementSize;
    const size_t from = static_cast<size_t>(position + removed) * size;
    memmove(elements + static_cast<size_t>(position) * size, elements + from,
            static_cast<size_t>(count) * size - from);
    header->count = count - removed;

    // Deliberate: not before a whole step is spare. Pinned by
    // TabDelete.KeepsTheBlockWhileLessThanAStepIsSpare.
    const int spare = header->capacity - header->count;
    if (header->count == 0 || spare >= static_cast<int>(header->def->growStep)) {
        (void)xtab_strip_buffer(t);  // without memory the block just stays larger
    }
    return position;
}

void xtab_detach(xtab* t) {
    void* const shared = core::dataOf(t);
    if (shared == nullptr || core::refCountOf(shared) < 2) {
        return;
    }
    const xtabh_s* const header = core::tableHeaderOf(shared);
    xtab copy = nullptr;
    (void)xtab_insert(&copy, header->def, -1, header->count, shared);  // null when that fails
    xsbuf_free(t);
    core::setData(t, copy);
}

int xtab_strip_buffer(xtab* t) {
    void* const elements = core::dataOf(t);
    if (elements == nullptr) {
        return 0;
    }
    xtabh_s* const header = core::tableHeaderOf(elements);
    const int count = header->count;
    if (count <= 0) {
        xsbuf_free(t);
        return count;
    }
    if (header->capacity == count) {
        return count;
    }
    if (!resize(t, header->def, count)) {
        return -1;
    }
    core::tableHeaderOf(core::dataOf(t))->capacity = count;
    return count;
}
