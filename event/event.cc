// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/event.h"

#include <stddef.h>

#include "evlp/evlp.h"

namespace {

evlp_ctx_str* contextOf(void* context) {
    return static_cast<evlp_ctx_str*>(context);
}

int zeroOrMinusOne(int result) {
    return result == 0 ? 0 : -1;
}

// A duration in the service's unit; -1 for none.
int milliseconds(const zol::CTime& timeout) {
    if (timeout == zol::CTime::infinite) {
        return -1;
    }
    return static_cast<int>(timeout.getMicroseconds() / 1000);
}

}  // namespace

namespace zol {

static_assert(static_cast<int>(CEvent::kRead) == EVLP_READ, "flags are the service's modes");
static_assert(static_cast<int>(CEvent::kWrite) == EVLP_WRITE, "flags are the service's modes");
static_assert(sizeof(CEventLoop) == sizeof(void*), "one word");

CEventCallback::~CEventCallback() {}

CEvent::CEvent() : m_context(nullptr), m_kind(kDescriptor), m_thread(nullptr), m_callback(nullptr) {
    static_assert(
        sizeof(void*) != 4 || (offsetof(CEvent, m_context) == 0 && offsetof(CEvent, m_kind) == 4 &&
                               offsetof(CEvent, m_thread) == 8 &&
                               offsetof(CEvent, m_callback) == 12 && sizeof(CEvent) == 16),
        "32-bit layout");
}

CEvent::CEvent(evlp_thread_str* thread, CEventCallback* cb, int fd, int flags) : CEvent() {
    (void)set(thread, cb, fd, flags, kDefaultPriority);
}

CEvent::~CEvent() {
    (void)reset();
}

int CEvent::set(evlp_thread_str* thread, CEventCallback* cb, int fd, int flags,
                unsigned char priority) {
    m_thread = thread;
    m_callback = cb;
    if ((flags & kSignal) != 0) {
        m_kind = kSignalNumber;
        m_context = sig_openCtx(thread, fired, this, fd & 0xFF, priority);
    } else if (fd == -1) {
        m_kind = kTimer;
        m_context = timer_openCtx(thread, fired, this, 0, priority);
    } else {
        m_kind = kDescriptor;
        m_context =
            fd_openCtx(thread, descriptorReady, this, fd, flags & (kRead | kWrite), priority);
    }
    // The handle itself where an int has room for it.
    const auto word = reinterpret_cast<intptr_t>(m_context);
    return sizeof(word) == sizeof(int) ? static_cast<int>(word) : word != 0;
}

int CEvent::add(const CTime& timeout) {
    evlp_ctx_str* const context = contextOf(m_context);
    const int ms = milliseconds(timeout);
    switch (m_kind) {
        case kDescriptor:
            return zeroOrMinusOne(fd_startCtx(context, ms));
        case kTimer:
            return zeroOrMinusOne(timer_startCtx(context, ms));
        case kSignalNumber:
            return zeroOrMinusOne(sig_startCtx(context));
    }
    return -1;
}

int CEvent::remove() {
    evlp_ctx_str* const context = contextOf(m_context);
    switch (m_kind) {
        case kDescriptor:
            return zeroOrMinusOne(fd_stopCtx(context));
        case kTimer:
            return zeroOrMinusOne(timer_stopCtx(context));
        case kSignalNumber:
            return zeroOrMinusOne(sig_stopCtx(context));
    }
    return -1;
}

int CEvent::reset() {
    if (m_context == nullptr) {
        return 0;
    }
    (void)remove();
    evlp_ctx_str* const context = contextOf(m_context);
    m_context = nullptr;
    switch (m_kind) {
        case kDescriptor:
            return zeroOrMinusOne(fd_closeCtx(context));
        case kTimer:
            return zeroOrMinusOne(timer_closeCtx(context));
        case kSignalNumber:
            return zeroOrMinusOne(sig_closeCtx(context));
    }
    return -1;
}

int CEvent::setPriority(int) {
    return -1;
}

int CEvent::active(int) {
    return -1;
}

void CEvent::descriptorReady(void* event, int fd) {
    CEvent* const self = static_cast<CEvent*>(event);
    // Deliberate: no word of whether it can be read or written. Pinned by
    // EventCallback.IsNotToldWhetherTheDescriptorCanBeReadOrWritten.
    (void)self->m_callback->onEvent(fd, 0, self);
}

void CEvent::fired(void* event) {
    CEvent* const self = static_cast<CEvent*>(event);
    (void)self->m_callback->onEvent(-1, 0, self);
}

int CEventSignal::set(evlp_thread_str* thread, int signum, CEventCallback* cb) {
    return CEvent::set(thread, cb, signum, kSignal, kDefaultPriority);
}

}  // namespace zol
