// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "hook.h"

#include <errno.h>
#include <signal.h>
#include <string.h>
#include <syslog.h>

#include "child.h"

namespace gardend {

namespace {

constexpr zol::CTime kTimeLimit(60000000);

}  // namespace

CHook::CHook(const char* program, evlp_thread_str* thread, const char* user)
    : m_program(program), m_process(this, thread, zol::CEvent::kDefaultPriority) {
    m_process.setUser(user);
    (void)m_limit.open(thread);  // without it a hook has no limit
}

CHook::~CHook() {
    while (!dropOvertaken().isEmpty()) {
    }
    while (!m_waiting.isEmpty()) {
        (void)m_process.detach();
        startNext();
    }
}

void CHook::onValve(const char* zone, bool isOpen) {
    if (m_program == nullptr) {
        return;
    }
    static_assert(kMaxWaiting > kLineCount, "so that of too many events one is overtaken");
    if (m_waiting.getCount() == kMaxWaiting) {
        const zol::CStr dropped = dropOvertaken();
        syslog(LOG_WARNING, "the hook is late: it is not told all of %s", dropped.get());
    }
    const Event event = {zone, isOpen};
    if (event.zone.isEmpty() || m_waiting.append(event) < 0) {
        syslog(LOG_ERR, "no memory: the hook is not told of %s", zone);
    }
    startNext();
}

zol::CStr CHook::dropOvertaken() {
    for (int i = 0; i < m_waiting.getCount(); ++i) {
        const zol::CStr zone = m_waiting[i].zone;
        for (int later = i + 1; later < m_waiting.getCount(); ++later) {
            if (m_waiting[later].zone == zone) {
                return m_waiting.remove(i) == 0 ? zone : "";
            }
        }
    }
    return "";
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
    char* const words[] = {const_cast<char*>(m_program), const_cast<char*>(event.zone.get()),
                           const_cast<char*>(event.isOpen ? "open" : "closed"), nullptr};
    // The 0 only chooses the form of start() that looks along PATH.
    if (m_process.start(0, words, kChildFlags) != 0) {
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
        (void)kill(-m_process.getPid(), SIGKILL);  // its process group
    }
}

}  // namespace gardend
