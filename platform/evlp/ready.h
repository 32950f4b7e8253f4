/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_READY_H
#define EVLP_READY_H

#include <stdint.h>

#include "evlp/evlp.h"

// Where a context stands. Every open context is a link of exactly one ring: of those at rest, of
// those that wait for their call in this turn, or of those that the kernel must be told about. So
// finding contexts ready needs no memory, and stopping or closing one takes it out of whatever it
// waits for at once: nobody else holds on to it.

namespace evlp {

/** A link of a ring; on its own, a ring of one. The head of a ring is a link like the others. */
struct Link {
    Link* next = this;
    Link* previous = this;

    Link() = default;
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    bool isAlone() const { return next == this; }

    void unlink() {
        next->previous = previous;
        previous->next = next;
        next = previous = this;
    }

    /** Leaves its ring, if it is in one, and becomes the last of another. */
    void moveToBackOf(Link* head) {
        unlink();
        next = head;
        previous = head->previous;
        previous->next = this;
        head->previous = this;
    }
};

enum class Kind : uint8_t { Descriptor, Timer, Signal };

constexpr uint32_t kNoPlace = UINT32_MAX;  // of a context without a deadline

}  // namespace evlp

/** What contexts of every kind have in common. */
struct evlp_ctx_str : evlp::Link {
    evlp_thread_str* loop = nullptr;  // null: the loop has been closed
    void* user = nullptr;
    uint32_t place = evlp::kNoPlace;  // among the deadlines
    evlp::Kind kind = evlp::Kind::Timer;
    unsigned char priority = 0;
    unsigned char mode = 0;  // of a descriptor: EVLP_READ, EVLP_WRITE
    bool armed : 1;
    bool ready : 1;     // waits for its call in this turn
    bool timedOut : 1;  // of a descriptor: it is called because it was idle
    bool watched : 1;   // of a descriptor: its mode is part of what the kernel reports

    evlp_ctx_str() : armed(false), ready(false), timedOut(false), watched(false) {}
};

namespace evlp {

/** The contexts to be called in this turn: a ring for each priority, filled in calling order. */
class ReadyQueue {
  public:
    void add(evlp_ctx_str* ctx) {
        ctx->ready = true;
        ctx->moveToBackOf(&m_rings[ctx->priority]);
        m_used[ctx->priority / 32] |= 1u << ctx->priority % 32;
    }

    /** The first of all, or null. It stays where it is. */
    evlp_ctx_str* first() {
        for (unsigned word = 0; word != 8; ++word) {
            while (m_used[word] != 0) {
                const unsigned bit = static_cast<unsigned>(__builtin_ctz(m_used[word]));
                Link& ring = m_rings[word * 32 + bit];
                if (!ring.isAlone()) {
                    return static_cast<evlp_ctx_str*>(ring.next);
                }
                m_used[word] &= ~(1u << bit);
            }
        }
        return nullptr;
    }

    /** The ring of one priority, in calling order. */
    const Link& ring(unsigned char priority) const { return m_rings[priority]; }

  private:
    Link m_rings[256];
    uint32_t m_used[8] = {};  // a bit for each ring that may hold something
};

}  // namespace evlp

#endif
