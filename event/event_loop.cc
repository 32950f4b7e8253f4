// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include <new>

#include "evlp/evlp.h"
#include "zol/event.h"

namespace zol {

CEventLoop::CEventLoop() : m_thread(nullptr) {
    (void)evlp_initialize(0, 1, 0, 512);
    m_thread = evlp_openThreadInt("MDW", 0, 0, 32, 10, 255, 10);
}

CEventLoop::~CEventLoop() {
    (void)evlp_closeThread(m_thread);
}

int CEventLoop::loop(int, int) {
    return evlp_startThread(m_thread) == 0 ? 0 : -1;
}

int CEventLoop::exitLoop() {
    return evlp_stopThread(m_thread) == 0 ? 0 : -1;
}

int CEventLoop::setPriorityCount(int) {
    return -1;
}

}  // namespace zol

void* xeventloop_new(void) {
    return new (std::nothrow) zol::CEventLoop;
}

int xeventloop_loop(void* loop) {
    return static_cast<zol::CEventLoop*>(loop)->loop(0, 0);
}

void xeventloop_free(void* loop) {
    delete static_cast<zol::CEventLoop*>(loop);
}
