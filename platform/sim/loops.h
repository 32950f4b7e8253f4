/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_LOOPS_H
#define SIM_LOOPS_H

#include <stddef.h>
#include <stdint.h>
#include <sys/epoll.h>

#include "evlp/evlp.h"

// The open loops, and what each of them has registered: an epoll(7) of our own, for descriptors
// that are only numbers, beside the real one.

namespace sim {

constexpr int kMostDescriptors = 65536;

struct Registration {
    epoll_data_t data;
    uint32_t events;
    int fd;
    uint32_t pulsed;  // of a simulated one: ready for one turn
    bool real;        // registered with the system's epoll
};

/** What is registered, in the order of the numbers. */
class Registrations {
  public:
    Registrations() = default;
    Registrations(const Registrations&) = delete;
    Registrations& operator=(const Registrations&) = delete;
    ~Registrations();

    Registration* find(int fd);
    int reserve();                           // room for one more; -1 when memory is exhausted
    void insert(const Registration& added);  // after a reserve()
    void remove(Registration* removed);

    Registration* begin() { return m_entries; }
    Registration* end() { return m_entries + m_count; }

    bool hasReal() const { return m_realCount != 0; }

  private:
    Registration* lowerBound(int fd);

    Registration* m_entries = nullptr;
    size_t m_count = 0;
    size_t m_capacity = 0;
    size_t m_realCount = 0;
};

enum class Mode : uint8_t {
    Alone,  // evlp_startThread()
    Drain   // until nothing is ready
};

struct OpenLoop {
    evlp_thread_str* loop = nullptr;
    OpenLoop* next = nullptr;
    Registrations registrations;
    int resumeAt = 0;       // the number with which the next report begins
    uint64_t lastPass = 0;  // over all loops, in which this one had its turn
    Mode mode = Mode::Alone;
    bool drained = false;  // why evlp_startThread() has returned
    bool woken = false;    // the system has something to report
};

/** In the order in which they were opened. */
OpenLoop* firstLoop();

/** Null while the loop is being opened. */
OpenLoop* find(const evlp_thread_str* loop);

void append(OpenLoop* opened);
void remove(OpenLoop* closed);

/** Deregisters what has been stopped, on all loops. */
void tellAllStopped();

// Readiness, as EPOLLIN and EPOLLOUT.
bool isNumber(int fd);
void setReady(int fd, uint32_t events);
void pulse(int fd, uint32_t events);
void resetReady();

/** What is simulated and ready. @return how many entries of `events` are filled */
int reportReady(OpenLoop* self, epoll_event* events, int capacity);

/** Whether what is armed from now on is the system's own. */
bool watchesReal();
void setWatchesReal(bool on);

/** Whether the system's own descriptors or signals may end a wait of the loop. */
bool awaitsReal(OpenLoop* self);

/** Whether a signal is caught. */
bool isCaught(int signum);

}  // namespace sim

#endif
