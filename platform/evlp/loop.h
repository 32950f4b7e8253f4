/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef EVLP_LOOP_H
#define EVLP_LOOP_H

#include <atomic>
#include <errno.h>
#include <new>
#include <stdint.h>
#include <stdlib.h>
#include <sys/epoll.h>
#include <sys/types.h>
#include <time.h>

#include "evlp/evlp.h"

#include "deadlines.h"
#include "ready.h"

// A loop and its contexts. One turn of the loop (loop.cc):
//
//   - the kernel is told what has been stopped since the last turn;
//   - one wait, until something is ready or the earliest deadline has come;
//   - what is ready moves to the ready queue: signals, timers, descriptors;
//   - the queue is called empty, in the order of priority.
//
// Callbacks run in the last step only, and the queue is filled in the third only. Hence a context
// that is armed anew in a callback comes up in the next turn, and nothing can starve.

namespace evlp {

/** What the kernel reports of one descriptor, and for whom. */
struct Slot {
    struct Descriptor* first;  // the contexts whose modes make up `modes`, linked by `peer`
    uint32_t generation : 30;  // goes up when the number is registered anew; see fd.cc
    uint32_t modes : 2;        // what is registered; 0: nothing
};

struct Descriptor : evlp_ctx_str {
    evlp_fd_fn fn = nullptr;
    int fd = -1;
    int timeoutMs = -1;
    Descriptor* peer = nullptr;
};

struct Timer : evlp_ctx_str {
    evlp_fn fn = nullptr;
    int64_t due = 0;      // the moment for which it was armed, kept for its callback
    int64_t delayMs = 0;  // with which it was armed last
};

struct Signal : evlp_ctx_str {
    evlp_fn fn = nullptr;
    int signum = 0;
    Signal* peer = nullptr;  // the next one armed on the loop
};

// On small devices memory is what connections are counted by.
static_assert(sizeof(void*) != 4 ||
              sizeof(Descriptor) + sizeof(Deadlines::Entry) + sizeof(Slot) <= 64);
static_assert(sizeof(void*) != 4 || sizeof(Timer) + sizeof(Deadlines::Entry) <= 64);

constexpr int kMostSignal = 64;

/** A set of signal numbers, 1 to kMostSignal, shared between a loop and the signal handler. */
class SignalSet {
  public:
    void add(int signum) { m_words[word(signum)].fetch_or(bit(signum)); }
    void remove(int signum) { m_words[word(signum)].fetch_and(~bit(signum)); }
    bool has(int signum) const { return (m_words[word(signum)].load() & bit(signum)) != 0; }

    /** Empties the set. @return what was in it: signal n is bit n - 1 */
    uint64_t take() {
        if (isEmpty()) {
            return 0;
        }
        const uint64_t low = m_words[0].exchange(0);
        return low | uint64_t{m_words[1].exchange(0)} << 32;
    }

    bool isEmpty() const { return (m_words[0].load() | m_words[1].load()) == 0; }

  private:
    static unsigned word(int signum) { return static_cast<unsigned>(signum - 1) / 32; }
    static uint32_t bit(int signum) { return 1u << static_cast<unsigned>(signum - 1) % 32; }

    // Two words, because a 32-bit processor may need a lock for one of 64 bits.
    std::atomic<uint32_t> m_words[2] = {};
};

// The handler interrupts any thread at any place.
static_assert(std::atomic<uint32_t>::is_always_lock_free);
static_assert(std::atomic<void*>::is_always_lock_free);

}  // namespace evlp

struct evlp_thread_str {
    char name[32] = "";  // for people who debug
    int epoll = -1;
    int wakeup = -1;               // an eventfd: writing to it ends the wait
    bool waitsPrecisely = true;    // until the kernel refuses epoll_pwait2
    unsigned turnsSinceCheck = 0;  // of the descriptors that are reported; see fd.cc
    std::atomic<bool> running{false};
    std::atomic<bool> stopping{false};

    evlp::Link resting;      // contexts to which nothing is to be done
    evlp::Link lazy;         // descriptors stopped, but still reported: told before the next wait
    evlp::ReadyQueue ready;  // contexts to be called in this turn
    evlp_ctx_str* current = nullptr;  // the one whose callback runs

    evlp::Deadlines deadlines;
    timespec turnTime = {};  // when the wait was over; set in turns that start with deadlines

    epoll_event* events = nullptr;
    int eventCapacity = 0;
    evlp::Slot* slots = nullptr;  // by descriptor number
    size_t slotCount = 0;

    evlp::Signal* signals = nullptr;  // armed
    evlp::SignalSet listening;        // for the handler: what is wanted
    evlp::SignalSet pending;          // from the handler: what has come
    std::atomic<pid_t> process{0};    // whose loop this is: a forked child has a copy of it
    std::atomic<evlp_thread_str*> nextLoop{nullptr};

    evlp_thread_str() = default;
    ~evlp_thread_str();
    int open(const char* text);
};

namespace evlp {

inline int fail(int error) {
    errno = error;
    return -1;
}

/** `array` with room for `count` elements; null, and the array as it was, when memory is exhausted.
 */
template <typename T>
T* resized(T* array, size_t count) {
    size_t size = 0;
    if (__builtin_mul_overflow(count, sizeof(T), &size)) {
        errno = ENOMEM;
        return nullptr;
    }
    return static_cast<T*>(realloc(array, size));
}

template <typename T>
T* openContext(evlp_thread_str* loop, Kind kind, void* user, unsigned char priority) {
    void* const memory = malloc(sizeof(T));
    if (memory == nullptr) {
        return nullptr;
    }
    T* const ctx = new (memory) T;
    ctx->loop = loop;
    ctx->kind = kind;
    ctx->user = user;
    ctx->priority = priority;
    ctx->moveToBackOf(&loop->resting);
    return ctx;
}

/** The context as what it is; null for another kind. */
template <typename T>
T* as(evlp_ctx_str* ctx, Kind kind) {
    return ctx != nullptr && ctx->kind == kind ? static_cast<T*>(ctx) : nullptr;
}

/** Frees a context that is disarmed. */
void release(evlp_ctx_str* ctx);

/** Forgets that the context was found ready. */
inline void rest(evlp_ctx_str* ctx) {
    ctx->ready = false;
    ctx->timedOut = false;
    ctx->moveToBackOf(&ctx->loop->resting);
}

// Most timers are not ready when they are stopped or armed anew, and moving a link costs its
// neighbours in the ring, which are far apart where timers come by the hundred thousand.
inline void restIfReady(evlp_ctx_str* ctx) {
    if (ctx->ready) {
        rest(ctx);
    }
}

/** Ends the present wait of the loop, or else the next. From any thread and signal handler. */
void wake(const evlp_thread_str* loop);

// Time in whole milliseconds: what is measured is never early when it starts at the end of the
// present millisecond and is over at the start of one.
int64_t startOfMs(const timespec& time);
int64_t endOfMs(const timespec& time);

/** time + delayMs; what lies beyond the end of time is never due. */
int64_t later(int64_t timeMs, int64_t delayMs);

// Disarms a context that is armed.
void disarm(Descriptor* descriptor);
void disarm(Timer* timer);
void disarm(Signal* signal);

// fd.cc
int createEpoll(const evlp_thread_str* loop);
void tellStopped(evlp_thread_str* loop);
void addIdle(Descriptor* descriptor);
void addReadyDescriptors(evlp_thread_str* loop, int count);

// signal.cc
void addReadySignals(evlp_thread_str* loop);
void claim(evlp_thread_str* loop);
void enlist(evlp_thread_str* loop);
void delist(evlp_thread_str* loop);

}  // namespace evlp

#endif
