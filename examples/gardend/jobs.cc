// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "jobs.h"

#include <new>
#include <string.h>

namespace gardend {

bool CJobs::add(const JobWish& wish) {
    if (m_count == kMost) {
        return false;
    }
    CJob* const job =
        new (std::nothrow) CJob(wish.name.get(), wish.command.get(), m_thread, m_user);
    if (job == nullptr) {
        return false;
    }
    m_jobs[m_count].reset(job);
    ++m_count;
    return true;
}

void CJobs::runAll() {
    for (int i = 0; i < m_count; ++i) {
        (void)m_jobs[i]->run();
    }
}

CJob* CJobs::find(const char* name) {
    for (int i = 0; i < m_count; ++i) {
        if (strcmp(m_jobs[i]->getName(), name) == 0) {
            return m_jobs[i].get();
        }
    }
    return nullptr;
}

}  // namespace gardend
