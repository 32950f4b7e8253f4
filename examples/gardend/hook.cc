// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "hook.h"

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <syslog.h>

#include "child_status.h"

namespace gardend {

namespace {

constexpr zol::CTime kTimeLimit(60000000);

// Scripts read the standard output of gardend; the terminal is its own.
constexpr int kFlags = XEXEC_NEW_SESSION | XEXEC_NULL_INPUT | XEXEC_NULL_OUTPUT;

}  // namespace

CHook::CHook(const char* program, evlp_thread_str* thread, const char* user)
    : m_program(program), m_process(this, thread, zol::CEvent::kDefaultPriority) {
    m_process.setUser(user);
    (void)m_limit.open(thread);  // without it a hook has no limit
}

CHook::~CHook() {
    while (!m_waiting.isEmpty()) {
        (void)m_process.detach();
        startNext();
    }
}

void CHook::onValve(const char* zone, bool isOpen) {
    if (m_program == nullptr) {
        return;
    }
    if (m_waiting.getCount() == kMaxWaiting) {
        syslog(LOG_WARNING, "the hook is late: it is not told of %s", m_waiting[0].zone);
        (void)m_waiting.remove(0);
    }
    if (m_waiting.append({zone, isOpen}) < 0) {
        syslog(LOG_ERR, "no memory: the hook is not told of %s", zone);
    }
    startNext();
}

void CHook::startNext() {
    bool runs = m_process.getPid() != 0;
    while (!runs && !m_waiting.isEmpty()) {
        const Event event = m_waiting[0];
        (void)m_waiting.remove(0);
        runs = start(event);
    }
}

bool CHook::start(const Event& event) {
    // As for execve(2): an old interface, which changes none of its words.
    char* const words[] = {const_cast<char*>(m_program), const_cast<char*>(event.zone),
                           const_cast<char*>(event.isOpen ? "open" : "closed"), nullptr};
    if (m_process.start(0, words, kFlags) != 0) {
        syslog(LOG_ERR, "the hook cannot be started: %s", strerror(errno));
        return false;
    }
    (void)m_limit.add(kTimeLimit);
    return true;
}

void CHook::onProcTerm(zol::CProcess*, int status) {
    (void)m_limit.remove();
    if (status != 0) {
        syslog(LOG_WARNING, "the hook failed (%s)", describeStatus(status).get());
    }
    startNext();
}

void CHook::onTimeOver(int) {
    if (m_process.getPid() != 0) {
        syslog(LOG_WARNING, "the hook takes too long");
        (void)kill(-m_process.getPid(), SIGKILL);  // the whole session
    }
}

}  // namespace gardend
