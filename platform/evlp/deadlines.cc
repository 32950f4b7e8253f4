// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "deadlines.h"

#include <stdlib.h>

#include "loop.h"

namespace evlp {

namespace {

constexpr uint32_t kLeastCapacity = 64;
constexpr uint32_t kChildren = 4;

}  // namespace

Deadlines::~Deadlines() {
    free(m_entries);
}

int Deadlines::reserve(const evlp_ctx_str* ctx) {
    if (ctx->place != kNoPlace || m_count < m_capacity) {
        return 0;
    }
    const uint32_t capacity = m_capacity == 0 ? kLeastCapacity : m_capacity * 2;
    Entry* const entries = resized(m_entries, capacity);
    if (entries == nullptr) {
        return -1;
    }
    m_entries = entries;
    m_capacity = capacity;
    return 0;
}

void Deadlines::arm(evlp_ctx_str* ctx, int64_t due) {
    const uint32_t place = ctx->place == kNoPlace ? m_count++ : ctx->place;
    settle(place, Entry{due, ctx, m_nextOrder++});
}

void Deadlines::cancel(evlp_ctx_str* ctx) {
    const uint32_t hole = ctx->place;
    if (hole == kNoPlace) {
        return;
    }
    ctx->place = kNoPlace;
    --m_count;
    if (hole != m_count) {
        settle(hole, m_entries[m_count]);
    }
}

void Deadlines::trim() {
    uint32_t capacity = m_capacity;
    while (capacity > kLeastCapacity && m_count < capacity / 4) {
        capacity /= 2;
    }
    if (capacity == m_capacity) {
        return;
    }
    Entry* const entries = resized(m_entries, capacity);
    if (entries != nullptr) {
        m_entries = entries;
        m_capacity = capacity;
    }
}

void Deadlines::put(uint32_t place, const Entry& entry) {
    m_entries[place] = entry;
    entry.ctx->place = place;
}

// Moves a hole at `place` up, then down, until `entry` fits into it.
void Deadlines::settle(uint32_t place, const Entry& entry) {
    const Entry moving = entry;  // it may stand in the array
    while (place != 0) {
        const uint32_t parent = (place - 1) / kChildren;
        if (!isBefore(moving, m_entries[parent])) {
            break;
        }
        put(place, m_entries[parent]);
        place = parent;
    }
    for (uint32_t child = firstChild(place);
         child != kNoPlace && isBefore(m_entries[child], moving); child = firstChild(place)) {
        put(place, m_entries[child]);
        place = child;
    }
    put(place, moving);
}

// The child that is due first, if there is one.
uint32_t Deadlines::firstChild(uint32_t place) const {
    const uint64_t begin = uint64_t{place} * kChildren + 1;
    if (begin >= m_count) {
        return kNoPlace;
    }
    const uint32_t count = m_count - static_cast<uint32_t>(begin);
    const uint32_t end = static_cast<uint32_t>(begin) + (count < kChildren ? count : kChildren);
    uint32_t best = static_cast<uint32_t>(begin);
    for (uint32_t child = best + 1; child < end; ++child) {
        if (isBefore(m_entries[child], m_entries[best])) {
            best = child;
        }
    }
    return best;
}

}  // namespace evlp
