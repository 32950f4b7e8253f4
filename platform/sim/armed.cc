// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "armed.h"

#include <algorithm>
#include <stdint.h>
#include <stdio.h>

#include "clock.h"
#include "dates.h"
#include "engine.h"
#include "loops.h"
#include "platform/evlp/loop.h"

namespace sim {

namespace {

// Entries are put in order where the caller wants them, so that no memory is needed. Of two that
// are alike otherwise, the one that was found first comes first. So the fields that say nothing
// else carry the order of finding meanwhile: `due`, below 0, of what is never due, and `number` of
// a timer.

bool isDueSomeDay(const evlp_sim_armed& entry) {
    return entry.due >= 0;
}

bool isReadyTimer(const evlp_sim_armed& entry) {
    return entry.kind == EVLP_SIM_TIMER && entry.ctx->place == evlp::kNoPlace;
}

uint32_t armingOrder(const evlp_sim_armed& entry) {
    return entry.loop->deadlines.at(entry.ctx->place).order;
}

int placeOf(const evlp_thread_str* loop) {
    int place = 0;
    for (const OpenLoop* each = firstLoop(); each->loop != loop; each = each->next) {
        ++place;
    }
    return place;
}

// What is late is called now.
int64_t callTime(const evlp_sim_armed& entry) {
    return std::max(entry.due, now());
}

// Both on one loop, to be called at one moment, of one priority.
bool isCalledBefore(const evlp_sim_armed& a, const evlp_sim_armed& b) {
    if (a.kind != b.kind) {
        return a.kind == EVLP_SIM_TIMER;
    }
    if (a.due != b.due) {
        return a.due < b.due;
    }
    if (isReadyTimer(a) || isReadyTimer(b)) {
        return isReadyTimer(a) && (!isReadyTimer(b) || a.number < b.number);
    }
    return static_cast<int32_t>(armingOrder(a) - armingOrder(b)) < 0;
}

bool isBefore(const evlp_sim_armed& a, const evlp_sim_armed& b) {
    if (isDueSomeDay(a) != isDueSomeDay(b)) {
        return isDueSomeDay(a);
    }
    if (isDueSomeDay(a) && callTime(a) != callTime(b)) {
        return callTime(a) < callTime(b);
    }
    if (!isDueSomeDay(a) && a.number != b.number) {
        return a.number < b.number;
    }
    if (a.loop != b.loop) {
        return placeOf(a.loop) < placeOf(b.loop);
    }
    if (a.priority != b.priority) {
        return a.priority < b.priority;
    }
    return isDueSomeDay(a) ? isCalledBefore(a, b) : a.due > b.due;
}

// The first ones of all that are added, in a heap whose top is the last of them.
class List {
  public:
    List(evlp_sim_armed* entries, size_t room) : m_entries(entries), m_room(room) {}

    void add(evlp_ctx_str* ctx) {
        evlp_sim_armed entry = {};
        entry.loop = ctx->loop;
        entry.ctx = ctx;
        entry.user = ctx->user;
        entry.priority = ctx->priority;
        entry.due = dueOf(ctx);
        fillKind(&entry);
        ++m_found;
        insert(entry);
    }

    /** @return how many there were */
    size_t finish() {
        std::sort_heap(m_entries, end(), isBefore);
        for (evlp_sim_armed* each = m_entries; each != end(); ++each) {
            if (each->kind == EVLP_SIM_TIMER) {
                each->number = -1;
            }
            if (each->due < 0) {
                each->due = -1;
            }
        }
        return m_found;
    }

  private:
    evlp_sim_armed* end() { return m_entries + m_count; }

    int64_t dueOf(const evlp_ctx_str* ctx) const {
        int64_t due = kNever;
        if (ctx->place != evlp::kNoPlace) {
            due = dueTime(ctx->loop->deadlines.at(ctx->place).due);
        } else if (ctx->kind == evlp::Kind::Timer && ctx->ready) {
            due = dueTime(static_cast<const evlp::Timer*>(ctx)->due);
        }
        return due == kNever ? -1 - static_cast<int64_t>(m_found) : due;
    }

    void fillKind(evlp_sim_armed* entry) const {
        switch (entry->ctx->kind) {
            case evlp::Kind::Timer:
                entry->kind = EVLP_SIM_TIMER;
                entry->number = isDueSomeDay(*entry) ? static_cast<int>(m_found) : -1;
                break;
            case evlp::Kind::Descriptor:
                entry->kind = EVLP_SIM_DESCRIPTOR;
                entry->number = static_cast<evlp::Descriptor*>(entry->ctx)->fd;
                entry->mode = entry->ctx->mode;
                break;
            case evlp::Kind::Signal:
                entry->kind = EVLP_SIM_SIGNAL;
                entry->number = static_cast<evlp::Signal*>(entry->ctx)->signum;
                break;
        }
    }

    void insert(const evlp_sim_armed& entry) {
        if (m_count == m_room) {
            if (m_room == 0 || !isBefore(entry, m_entries[0])) {
                return;
            }
            std::pop_heap(m_entries, end(), isBefore);
            --m_count;
        }
        m_entries[m_count++] = entry;
        std::push_heap(m_entries, end(), isBefore);
    }

    evlp_sim_armed* m_entries;
    size_t m_room;
    size_t m_count = 0;
    size_t m_found = 0;
};

void addArmed(const evlp::Link& ring, List* list) {
    for (evlp::Link* each = ring.next; each != &ring; each = each->next) {
        auto* const ctx = static_cast<evlp_ctx_str*>(each);
        if (ctx->armed) {
            list->add(ctx);
        }
    }
}

void addArmed(const evlp_thread_str* loop, List* list) {
    for (int priority = 0; priority != 256; ++priority) {
        addArmed(loop->ready.ring(static_cast<unsigned char>(priority)), list);
    }
    addArmed(loop->resting, list);
}

const char* nameOf(int mode) {
    switch (mode) {
        case EVLP_READ:
            return " read";
        case EVLP_WRITE:
            return " write";
        default:
            return " read write";
    }
}

// When something is due, by the calendar.
void formatDue(int64_t due, char* text, size_t size) {
    if (due < 0) {
        snprintf(text, size, "never");
        return;
    }
    const int64_t when = date() + (due - now());
    char seconds[kDateSize];
    formatDate(when, seconds);
    snprintf(text, size, "%s.%03d", seconds, static_cast<int>(when % kUsPerSecond / kUsPerMs));
}

}  // namespace

void formatArmed(const evlp_sim_armed& armed, char (&text)[kArmedSize]) {
    char due[kDateSize + 8];
    char what[48] = "timer";
    formatDue(armed.due, due, sizeof due);
    if (armed.kind == EVLP_SIM_DESCRIPTOR) {
        snprintf(what, sizeof what, "descriptor %d%s", armed.number, nameOf(armed.mode));
    } else if (armed.kind == EVLP_SIM_SIGNAL) {
        snprintf(what, sizeof what, "signal %d", armed.number);
    }
    snprintf(text, sizeof text, "%s %s priority %d loop %s", due, what, armed.priority,
             armed.loop->name);
}

}  // namespace sim

using namespace sim;

size_t evlp_sim_listArmed(evlp_sim_armed* list, size_t room) {
    List result(list, room);
    for (const OpenLoop* each = firstLoop(); each != nullptr; each = each->next) {
        addArmed(each->loop, &result);
    }
    return result.finish();
}
