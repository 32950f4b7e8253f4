// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "loops.h"

#include <algorithm>
#include <stdlib.h>
#include <string.h>

#include "platform/evlp/loop.h"

namespace sim {

namespace {

constexpr size_t kFirstCapacity = 16;

OpenLoop* loops = nullptr;
bool watchReal = false;

unsigned char readiness[kMostDescriptors];  // a mode each
int readyCount = 0;                         // of them that are not 0
int pulsedCount = 0;                        // registrations that wait for their pulse

void clearPulse(Registration* registration) {
    if (registration->pulsed != 0) {
        registration->pulsed = 0;
        --pulsedCount;
    }
}

uint32_t readyEvents(const Registration& registration) {
    if (registration.real) {
        return 0;
    }
    return registration.events & (readiness[registration.fd] | registration.pulsed);
}

}  // namespace

Registrations::~Registrations() {
    while (m_count != 0) {
        remove(end() - 1);
    }
    free(m_entries);
}

Registration* Registrations::lowerBound(int fd) {
    return std::lower_bound(begin(), end(), fd,
                            [](const Registration& each, int number) { return each.fd < number; });
}

Registration* Registrations::find(int fd) {
    Registration* const place = lowerBound(fd);
    return place != end() && place->fd == fd ? place : nullptr;
}

int Registrations::reserve() {
    if (m_count < m_capacity) {
        return 0;
    }
    const size_t capacity = m_capacity == 0 ? kFirstCapacity : m_capacity * 2;
    Registration* const entries = evlp::resized(m_entries, capacity);
    if (entries == nullptr) {
        return -1;
    }
    m_entries = entries;
    m_capacity = capacity;
    return 0;
}

void Registrations::insert(const Registration& added) {
    Registration* const place = lowerBound(added.fd);
    memmove(place + 1, place, static_cast<size_t>(end() - place) * sizeof *place);
    *place = added;
    ++m_count;
    m_realCount += added.real ? 1 : 0;
}

void Registrations::remove(Registration* removed) {
    clearPulse(removed);
    m_realCount -= removed->real ? 1 : 0;
    memmove(removed, removed + 1, static_cast<size_t>(end() - removed - 1) * sizeof *removed);
    --m_count;
}

OpenLoop* firstLoop() {
    return loops;
}

OpenLoop* find(const evlp_thread_str* loop) {
    OpenLoop* each = loops;
    while (each != nullptr && each->loop != loop) {
        each = each->next;
    }
    return each;
}

void append(OpenLoop* opened) {
    OpenLoop** end = &loops;
    while (*end != nullptr) {
        end = &(*end)->next;
    }
    *end = opened;
}

void remove(OpenLoop* closed) {
    OpenLoop** link = &loops;
    while (*link != closed) {
        link = &(*link)->next;
    }
    *link = closed->next;
}

void tellAllStopped() {
    for (const OpenLoop* each = loops; each != nullptr; each = each->next) {
        evlp::tellStopped(each->loop);
    }
}

bool isNumber(int fd) {
    return fd >= 0 && fd < kMostDescriptors;
}

void setReady(int fd, uint32_t events) {
    readyCount += (events != 0 ? 1 : 0) - (readiness[fd] != 0 ? 1 : 0);
    readiness[fd] = static_cast<unsigned char>(events);
}

void pulse(int fd, uint32_t events) {
    for (OpenLoop* each = loops; each != nullptr; each = each->next) {
        Registration* const registration = each->registrations.find(fd);
        if (registration == nullptr || registration->real) {
            continue;
        }
        const uint32_t added = registration->events & events;
        pulsedCount += added != 0 && registration->pulsed == 0 ? 1 : 0;
        registration->pulsed |= added;
    }
}

void resetReady() {
    memset(readiness, 0, sizeof readiness);
    readyCount = 0;
}

// Where there is more than fits, the next report begins with what was left out, so that nothing
// has to wait for ever.
int reportReady(OpenLoop* self, epoll_event* events, int capacity) {
    if (readyCount == 0 && pulsedCount == 0) {
        return 0;
    }
    const int first = self->resumeAt;
    int count = 0;
    self->resumeAt = 0;
    for (Registration& each : self->registrations) {
        if (each.fd < first) {
            continue;
        }
        const uint32_t ready = readyEvents(each);
        if (ready != 0 && count == capacity) {
            self->resumeAt = each.fd;
            return count;
        }
        clearPulse(&each);
        if (ready != 0) {
            events[count].events = ready;
            events[count].data = each.data;
            ++count;
        }
    }
    return count == 0 && first != 0 ? reportReady(self, events, capacity) : count;
}

bool watchesReal() {
    return watchReal;
}

void setWatchesReal(bool on) {
    watchReal = on;
}

bool awaitsReal(OpenLoop* self) {
    for (const evlp::Signal* each = self->loop->signals; each != nullptr; each = each->peer) {
        if (isCaught(each->signum)) {
            return true;
        }
    }
    return self->registrations.hasReal();
}

}  // namespace sim
