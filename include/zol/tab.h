/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_TAB_H
#define ZOL_TAB_H

/**
 * @file zol/tab.h
 * Tables: growable arrays behind one handle word, shared until written.
 *
 * A table handle points at element 0, or is null for an empty table. Copying a table with
 * xsbuf_copy() shares its elements; the functions that change a table make it private first.
 *
 * Unless a function says otherwise:
 *  - `t` is the address of the handle word, never null; the word may be null;
 *  - positions and counts are in elements, and are not checked: they must lie in the table;
 *    an index of -1 means behind the last element;
 *  - elements are plain bytes: moved with memmove(3), copied with memcpy(3);
 *  - a table and all that share its elements belong to one thread at a time;
 *  - nothing is logged.
 */

#include "zol/sbuf.h"

ZOL_BEGIN_DECLS

/** A table handle: points at element 0, or null. */
typedef xhandle xtab;

/** The hidden header before element 0. */
typedef struct xtabh_s {
    int32_t count;          /**< elements in use */
    int32_t capacity;       /**< elements that the block has room for */
    int32_t refCount;       /**< handles that hold the block */
    const xabuf_def_s* def; /**< descriptor of the block */
} xtabh_s;

/** @return number of elements; 0 for a null handle */
ZOL_API int xtab_get_count(xtab* t);

/**
 * Inserts elements before element `index`.
 *
 * @param def     descriptor of the table; makes the block when there is none
 * @param n       how many; below 1 changes nothing
 * @param source  `n` elements to copy, also from the table itself; null for zero bytes
 * @return        the old count + `n`; -1 when there is no memory
 *
 * A block that is too small grows to the next multiple of the descriptor's growStep strictly
 * above the new count, so that there is room for one more at least. A failure leaves the table as
 * it was; a shared table that cannot be made private loses its elements, see xtab_detach().
 */
ZOL_API int xtab_insert(xtab* t, const xabuf_def_s* def, int index, int n, const void* source);

/**
 * Removes `n` elements from `index` on; a negative `n` removes all to the end, an `n` of 0
 * nothing.
 *
 * @return the index, -1 resolved; a shared table that cannot be made private is null then
 *
 * The block shrinks to the count when growStep or more elements have become spare; a table that
 * loses its last element has no block any more.
 */
ZOL_API int xtab_delete(xtab* t, int index, int n);

/**
 * Makes the table private: where others hold it too, this handle gets a copy of the elements.
 * When there is no memory the handle gives up its reference all the same and is null.
 */
ZOL_API void xtab_detach(xtab* t);

/**
 * Shrinks the block of a private table to its count; releases a block without elements.
 *
 * @return the count; -1, with the table as it was, when that fails
 */
ZOL_API int xtab_strip_buffer(xtab* t);

ZOL_END_DECLS

#ifdef __cplusplus

#include <new>
#include <type_traits>

namespace zol {

/**
 * A table of T, shared until written.
 *
 *     zol::CTab<CStr> names;
 *     names.append("valve");
 *     zol::CTab<CStr> copy(names);  // shares the elements
 *     copy.append("pump");          // now has its own
 *
 * @tparam N  growth step in elements
 * @tparam H  hidden header; always xtabh_s
 *
 * When a shared table is made private, elements that own something are copied with their copy
 * constructor, so that each table may destroy its own. What will bite: growing moves elements
 * as bytes, so T must not hold pointers into itself; and references to elements are good only
 * until the table is next changed.
 *
 * Without memory, functions that change a table do nothing and answer -1; a shared table that
 * could not be made private is empty afterwards.
 */
template <class T, int N = 8, class H = xtabh_s>
class CTab {
  public:
    CTab() : m_table(nullptr) {}
    /** Shares the elements of `other`. */
    CTab(const CTab& other) : m_table(nullptr) { share(other); }
    /** Takes the elements of `other`, which is empty then. */
    CTab(CTab&& other) noexcept : m_table(other.m_table) { other.m_table = nullptr; }
    ~CTab() { empty(); }

    /** Shares the elements of `other`, which may live in an element of this table and go with
     *  it: so it is left first. */
    CTab& operator=(const CTab& other) {
        CTab copy(other);
        swap(copy);
        return *this;
    }

    /** Takes the elements of `other`, which is empty then. */
    CTab& operator=(CTab&& other) noexcept {
        CTab taken(static_cast<CTab&&>(other));
        swap(taken);
        return *this;
    }

    /** Gives the elements up; the last holder destroys them, from index 0 upwards. */
    void empty();

    /** @return the elements for writing, made private first; null for an empty table, or when
     *          there is no memory for the copy */
    T* getTable() {
        makePrivate();
        return elements();
    }

    /** @return number of elements */
    int getCount() const { return m_table == nullptr ? 0 : header()->count; }
    /** @return whether there are no elements */
    bool isEmpty() const { return getCount() == 0; }

    /** @return an element for reading; `index` must lie in the table */
    const T& operator[](int index) const { return elements()[index]; }
    /** For loops over the elements, for reading. */
    const T* begin() const { return elements(); }
    /** Behind the last element. */
    const T* end() const { return elements() + getCount(); }

    /**
     * Inserts a copy of `value`, which may be an element of this table, before element `index`;
     * -1 means at the end. @return the new count; -1 when there is no memory
     */
    int insert(int index, const T& value);
    /** insert() at the end. @return as insert() */
    int append(const T& value) { return insert(-1, value); }

    /**
     * Appends copies of `n` elements, not negative, of a type that is copied as bytes. For many
     * this is faster than one by one, as a table grows by a few at a time. (A template, so that
     * tables of other types can be instantiated whole.) @return as insert()
     */
    template <class Bytes>
    int append(const Bytes* values, int n) {
        static_assert(std::is_same<Bytes, T>::value && std::is_trivially_copyable<T>::value,
                      "others are appended one by one");
        static_assert(alignof(T) <= 8, "see insert()");
        return xtab_insert(&m_table, &_def, -1, n, values);
    }

    /** Destroys `n` elements from `index` on; a negative `n`: all to the end.
     *  @return 0; -1 when there is no memory for a private copy */
    int remove(int index, int n = 1);

    static const xabuf_def_s _def; /**< descriptor of these tables */

  private:
    T* elements() const { return static_cast<T*>(m_table); }
    H* header() const { return reinterpret_cast<H*>(static_cast<char*>(m_table) - sizeof(H)); }

    void share(const CTab& other) {
        xtab source = other.m_table;
        xsbuf_copy(&m_table, &source);
    }

    void swap(CTab& other) {
        const xtab table = m_table;
        m_table = other.m_table;
        other.m_table = table;
    }

    void makePrivate();

    xtab m_table;
};

template <class T, int N, class H>
// NOLINTNEXTLINE(bugprone-sizeof-expression): T may well be a pointer
const xabuf_def_s CTab<T, N, H>::_def = {sizeof(H), sizeof(T), N};

template <class T, int N, class H>
void CTab<T, N, H>::empty() {
    if (m_table != nullptr && header()->refCount == 1) {
        const int count = getCount();
        for (int i = 0; i < count; ++i) {
            elements()[i].~T();
        }
    }
    xsbuf_free(&m_table);
}

template <class T, int N, class H>
void CTab<T, N, H>::makePrivate() {
    if (m_table == nullptr || header()->refCount < 2) {
        return;
    }
    if constexpr (std::is_trivially_copyable<T>::value) {
        xtab_detach(&m_table);
    } else {
        const int count = getCount();
        CTab copy;
        if (xtab_insert(&copy.m_table, &_def, -1, count, nullptr) > 0) {
            // Counted one by one: what a throwing copy constructor leaves is whole.
            copy.header()->count = 0;
            for (int i = 0; i < count; ++i) {
                new (copy.elements() + i) T(elements()[i]);
                ++copy.header()->count;
            }
        }
        *this = static_cast<CTab&&>(copy);
    }
}

template <class T, int N, class H>
int CTab<T, N, H>::insert(int index, const T& value) {
    static_assert(alignof(T) <= 8, "blocks and their headers align elements to 8 bytes at most");
    const int before = getCount();
    const int position = index == -1 ? before : index;
    makePrivate();  // where `value` is an element, it lives on with the other holders
    if (getCount() != before) {
        return -1;
    }
    // Copied before its place is made: `value` may be an element that moves.
    // NOLINTNEXTLINE(bugprone-sizeof-expression): T may well be a pointer
    alignas(T) unsigned char bytes[sizeof(T)];
    T* const copy = new (bytes) T(value);
    const int after = xtab_insert(&m_table, &_def, position, 1, bytes);
    if (after == -1) {
        copy->~T();
    }
    return after;
}

template <class T, int N, class H>
int CTab<T, N, H>::remove(int index, int n) {
    const int before = getCount();
    const int position = index == -1 ? before : index;
    const int removed = n < 0 ? before - position : n;
    makePrivate();
    if (getCount() != before) {
        return -1;
    }
    for (int i = position; i < position + removed; ++i) {
        elements()[i].~T();
    }
    (void)xtab_delete(&m_table, position, removed);
    return 0;
}

// Tables of strings have their code and descriptor in the library.
class CStr;
extern template class ZOL_API CTab<CStr, 8, xtabh_s>;

}  // namespace zol

#endif
#endif
