// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef GARDEND_JOBS_H
#define GARDEND_JOBS_H

#include <memory>

#include "job.h"

namespace gardend {

/** What is said of a job before it is there. */
struct JobWish {
    zol::CStr name;
    zol::CStr command;
};

/** The jobs of a daemon, in the order in which they were added. */
class CJobs {
  public:
    static constexpr int kMost = 16;

    /** Parameters as of CJob. */
    CJobs(evlp_thread_str* thread, const char* user) : m_thread(thread), m_user(user) {}

    /** @param wish  not copied  @return false when there are too many, or there is no memory */
    bool add(const JobWish& wish);

    void runAll();

    int getCount() const { return m_count; }
    const CJob& operator[](int index) const { return *m_jobs[index]; }

    /** @return null when there is none of that name */
    CJob* find(const char* name);

  private:
    evlp_thread_str* m_thread;
    const char* m_user;
    std::unique_ptr<CJob> m_jobs[kMost];  // which stay where they are
    int m_count = 0;
};

}  // namespace gardend

#endif
