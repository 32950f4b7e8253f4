/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_DEADLINES_H
#define EVLP_DEADLINES_H

#include <stdint.h>

#include "evlp/evlp.h"

namespace evlp {

/**
 * What is due when: contexts with a moment each, in milliseconds, the earliest at hand. Equal
 * moments keep the order of arming.
 *
 * A heap of four children a node: half as deep as one of two, and the children of a node are
 * neighbours in memory. Each context knows its place, so it is moved and taken out without search.
 */
class Deadlines {
  public:
    Deadlines() = default;
    Deadlines(const Deadlines&) = delete;
    Deadlines& operator=(const Deadlines&) = delete;
    ~Deadlines();

    bool isEmpty() const { return m_count == 0; }

    // The earliest; not when empty.
    int64_t firstDue() const { return m_entries[0].due; }
    evlp_ctx_str* first() const { return m_entries[0].ctx; }

    /** Makes sure that `ctx` can be armed. @return 0; -1 when memory is exhausted */
    int reserve(const evlp_ctx_str* ctx);

    /** Adds the context or moves it. Needs a reserve() before, unless it has a deadline already. */
    void arm(evlp_ctx_str* ctx, int64_t due);

    /** Takes the context out; nothing happens when it has no deadline. */
    void cancel(evlp_ctx_str* ctx);

    /**
     * Gives memory back after a crowd has gone. Not done while taking out, so that whatever
     * was armed at the start of a turn can be armed again in it without fail.
     */
    void trim();

    struct Entry {
        int64_t due;
        evlp_ctx_str* ctx;
        uint32_t order;  // of arming; wraps around
    };

    /** @param place  of a context that has a deadline */
    const Entry& at(uint32_t place) const { return m_entries[place]; }

    static bool isBefore(const Entry& a, const Entry& b) {
        if (a.due != b.due) {
            return a.due < b.due;
        }
        return static_cast<int32_t>(a.order - b.order) < 0;
    }

  private:
    void put(uint32_t place, const Entry& entry);
    void settle(uint32_t place, const Entry& entry);
    uint32_t firstChild(uint32_t place) const;

    Entry* m_entries = nullptr;
    uint32_t m_count = 0;
    uint32_t m_capacity = 0;
    uint32_t m_nextOrder = 0;
};

}  // namespace evlp

#endif
