/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef ZOL_LIST_H
#define ZOL_LIST_H

/**
 * @file zol/list.h
 * Lists, FIFOs and LIFOs of the caller's own records.
 *
 * The containers allocate nothing. Each record carries its own link words, zeroed at first, and
 * every call is told where: `linkOffset` is their distance in bytes from the beginning of the
 * record. A record with several link fields may be in several containers at once.
 *
 *     struct job { xlist_link_s link; int id; };
 *     xlist jobs = xlist_null;
 *     xlist_add_tail(&jobs, job, offsetof(struct job, link));
 *
 * Unless a function says otherwise:
 *  - the container's address and the element are never null;
 *  - nothing can fail, nothing is logged, no lock is taken;
 *  - the element handed to a function that removes it must be in that container; one that is
 *    handed to a function that adds it must be in none through the same links;
 *  - the cost does not depend on the number of elements.
 */

#include <stddef.h>
#include <stdint.h>

#include "zol/export.h"

ZOL_BEGIN_DECLS

/** A doubly linked list. All zero when empty. */
typedef struct xlist {
    void* head;    /**< first element */
    void* tail;    /**< last element */
    int32_t count; /**< number of elements */
} xlist;

/** The links of a list's element; null at the ends. */
typedef struct xlist_link_s {
    void* previous; /**< towards the head */
    void* next;     /**< towards the tail */
} xlist_link_s;

/** A queue. All zero when empty. Its elements hold one link word: the next element. */
typedef struct xfifo {
    void* head; /**< next element to leave */
    void* tail; /**< element added last */
} xfifo;

/** A stack. Zero when empty. Its elements hold one link word: the element below. */
typedef struct xlifo {
    void* top; /**< element pushed last */
} xlifo;

/** @{ */
/** Empty containers, to initialise from. */
ZOL_API extern const xlist xlist_null;
ZOL_API extern const xfifo xfifo_null;
ZOL_API extern const xlifo xlifo_null;
/** @} */

/** Makes the list empty; frees nothing. */
ZOL_API void xlist_init(xlist* list);

/** @return number of elements */
ZOL_API int xlist_get_count(const xlist* list);

/** @return position from the head, 0 for the head; -1 for an element that is not in the list.
 *  Walks the list. */
ZOL_API int xlist_get_index(const xlist* list, const void* elem, size_t linkOffset);

/** @return 1 for an element of the list, else 0. Walks the list. */
ZOL_API int xlist_is_element(const xlist* list, const void* elem, size_t linkOffset);

/** Puts `elem` in front of `before`, or at the tail where that is null. */
ZOL_API void xlist_insert(xlist* list, void* elem, void* before, size_t linkOffset);

/** Puts `elem` behind `after`, or at the head where that is null. */
ZOL_API void xlist_append(xlist* list, void* elem, void* after, size_t linkOffset);

/** Puts `elem` at the head. */
ZOL_API void xlist_add_head(xlist* list, void* elem, size_t linkOffset);
/** Puts `elem` at the tail. */
ZOL_API void xlist_add_tail(xlist* list, void* elem, size_t linkOffset);

/** Takes `elem` out and clears its links. That it is in the list is not checked. */
ZOL_API void xlist_remove(xlist* list, void* elem, size_t linkOffset);

/** Takes the head out. @return the element, now the caller's; null from an empty list */
ZOL_API void* xlist_remove_head(xlist* list, size_t linkOffset);

/** Takes the tail out. @return the element, now the caller's; null from an empty list */
ZOL_API void* xlist_remove_tail(xlist* list, size_t linkOffset);

/**
 * Frees every element with free(3), head first, and makes the list empty. For elements that
 * malloc(3) made and that begin where the element pointer points.
 */
ZOL_API void xlist_delete_all(xlist* list, size_t linkOffset);

/** @return number of elements. Walks the queue. */
ZOL_API int xfifo_get_count(const xfifo* fifo, size_t linkOffset);

/** @return position from the head; -1 for an element that is not in the queue. Walks it. */
ZOL_API int xfifo_get_index(const xfifo* fifo, const void* elem, size_t linkOffset);

/** @return 1 for an element of the queue, else 0. Walks the queue. */
ZOL_API int xfifo_is_element(const xfifo* fifo, const void* elem, size_t linkOffset);

/** Adds at the tail. The link of `elem` is not written: it must be null. @return `fifo` */
ZOL_API xfifo* xfifo_add(xfifo* fifo, void* elem, size_t linkOffset);

/** Takes the head out, its link cleared. @return the element; null from an empty queue */
ZOL_API void* xfifo_remove(xfifo* fifo, size_t linkOffset);

/** Takes `elem` out wherever it is, its link cleared; does nothing where it is absent. Walks. */
ZOL_API void xfifo_remove_element(xfifo* fifo, void* elem, size_t linkOffset);

/** Frees every element with free(3), head first; see xlist_delete_all(). */
ZOL_API void xfifo_delete_all(xfifo* fifo, size_t linkOffset);

/** @return number of elements. Walks the stack. */
ZOL_API int xlifo_get_count(const xlifo* lifo, size_t linkOffset);

/** @return position from the top; -1 for an element that is not in the stack. Walks it. */
ZOL_API int xlifo_get_index(const xlifo* lifo, const void* elem, size_t linkOffset);

/** @return 1 for an element of the stack, else 0. Walks the stack. */
ZOL_API int xlifo_is_element(const xlifo* lifo, const void* elem, size_t linkOffset);

/** Adds on top. On an empty stack the link of `elem` is not written: it must be null.
 *  @return `lifo` */
ZOL_API xlifo* xlifo_push(xlifo* lifo, void* elem, size_t linkOffset);

/** Takes the top off, its link cleared. @return the element; null from an empty stack */
ZOL_API void* xlifo_pull(xlifo* lifo, size_t linkOffset);

/** Frees every element with free(3), top first; see xlist_delete_all(). */
ZOL_API void xlifo_delete_all(xlifo* lifo, size_t linkOffset);

ZOL_END_DECLS

#ifdef __cplusplus

namespace zol {

/**
 * The links of a class whose objects go into a list: a class T derives from CListElem<T>.
 *
 *     class CJob : public zol::CListElem<CJob> { ... };
 *     xlist jobs = xlist_null;
 *     CJob::append(jobs, *job);
 *     for (CJob* j = CJob::first(jobs); j != nullptr; j = j->next()) { ... }
 *
 * The list's element pointers are those of the CListElem part, at link offset 0. What will
 * bite: an object must leave its list before it is destroyed.
 */
template <class T>
class CListElem {
  public:
    CListElem() : m_previous(nullptr), m_next(nullptr) {}
    /** Links belong to one object: a copy is in no list. */
    CListElem(const CListElem&) : CListElem() {}
    /** Leaves both where they are. */
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): there is nothing to assign
    CListElem& operator=(const CListElem&) { return *this; }

    /** @return the element before, null at the head */
    T* previous() const { return static_cast<T*>(m_previous); }
    /** @return the element behind, null at the tail */
    T* next() const { return static_cast<T*>(m_next); }

    /** @return the head of the list, null when it is empty */
    static T* first(const xlist& list) { return object(list.head); }
    /** @return the tail of the list, null when it is empty */
    static T* last(const xlist& list) { return object(list.tail); }
    /** Adds at the tail. */
    static void append(xlist& list, CListElem& element) { xlist_add_tail(&list, &element, 0); }
    /** Takes an element out of the list, in which it must be. */
    static void remove(xlist& list, CListElem& element) { xlist_remove(&list, &element, 0); }
    /** @return whether the element is in the list, which is walked */
    static bool isIn(const xlist& list, const CListElem& element) {
        return xlist_is_element(&list, &element, 0) != 0;
    }

  private:
    static T* object(void* element) { return static_cast<T*>(static_cast<CListElem*>(element)); }

    CListElem* m_previous;
    CListElem* m_next;
};

}  // namespace zol

#endif
#endif
