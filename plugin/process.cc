// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/process.h"

#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>

#include "core/diag.h"

namespace zol {

namespace {

constexpr int kMaxCommand = 500;  // bytes of a formatted line, NUL included

// Names that are too long are cut; null and empty ones change nothing.
template <size_t size>
void setName(char (&field)[size], const char* name) {
    if (name != nullptr && name[0] != '\0') {
        memset(field, 0, size);
        (void)stpncpy(field, name, size - 1);
    }
}

}  // namespace

static_assert(sizeof(void*) != 4 || sizeof(CProcess) == 200);  // slots, record, handler

CProcess::CProcess(IProcTermHandler* handler, evlp_thread_str* thread, unsigned char setting)
    : m_record(), m_handler(handler) {
    m_record.fn = &CProcess::onEvent;
    m_record.context = this;
    m_record.loop = thread;
    m_record.priority = setting;
}

CProcess::~CProcess() {
    (void)detach();
}

// --- start ---

int CProcess::startWithDelay(const char* path, char* const* argv, int delay, int flags) {
    if (m_record.pid != 0) {
        return -1;
    }
    return xexecve_cmd_with_delay(&m_record, path, argv, delay, flags);
}

int CProcess::startWithDelay(const char* command, int delay, int flags) {
    return startWithDelay(command, nullptr, delay, flags);
}

// Deliberate: the first argument means nothing, and is not handed on.
// Pinned by ProcessStart.TheLeadingIntegerIsNotPassedOn.
int CProcess::startWithDelay(int /*ignored*/, char* const* argv, int delay, int flags) {
    if (m_record.pid != 0) {
        return -1;
    }
    return xexec_with_delay(&m_record, argv, delay, flags);
}

int CProcess::start(const char* command, int flags) {
    return startWithDelay(command, nullptr, 0, flags);
}

int CProcess::start(const char* path, char* const* argv, int flags) {
    return startWithDelay(path, argv, 0, flags);
}

int CProcess::start(int ignored, char* const* argv, int flags) {
    return startWithDelay(ignored, argv, 0, flags);
}

void CProcess::setUser(const char* name) {
    setName(m_record.user, name);
}

void CProcess::setGroup(const char* name) {
    setName(m_record.group, name);
}

// --- the end ---

int CProcess::terminate(int graceful, int signal) {
    if (m_record.pid == 0) {
        return -1;
    }
    const int polite = signal == 0 ? SIGTERM : signal;
    const int sent = graceful == 0 ? SIGKILL : polite;
    const int result = kill(m_record.pid, sent);
    DIAGF(LOG_DEBUG, "kill process %s (pid =%d) with signal %d", m_record.name, m_record.pid, sent);
    return result;
}

int CProcess::detach() {
    const int pid = m_record.pid;
    if (pid != 0) {
        (void)xexec_detach(&m_record);
        m_record.pid = 0;
    }
    return pid;
}

void CProcess::onEvent(void* context, int /*pid*/, int status) {
    CProcess* const process = static_cast<CProcess*>(context);
    process->m_record.pid = 0;
    if (process->m_handler != nullptr) {
        process->m_handler->onProcTerm(process, status);
    }
}

// --- commands without an object ---

int CProcess::runCommand(const char* command, int flags) {
    xexec_s record = {};
    return xexec_cmd(&record, command, flags);
}

int CProcess::runCommand(int flags, const char* format, ...) {
    char command[kMaxCommand] = {};
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(command, sizeof command, format, arguments);
    va_end(arguments);
    return runCommand(command, flags);
}

int CProcess::runCommand(xexec_s* record, const char* command, int flags) {
    return record == nullptr ? -1 : xexec_cmd(record, command, flags);
}

int CProcess::runCommand(xexec_s* record, int flags, const char* format, ...) {
    char command[kMaxCommand] = {};
    va_list arguments;
    va_start(arguments, format);
    (void)vsnprintf(command, sizeof command, format, arguments);
    va_end(arguments);
    return runCommand(record, command, flags);
}

}  // namespace zol
