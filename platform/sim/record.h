/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
#ifndef SIM_RECORD_H
#define SIM_RECORD_H

#include <initializer_list>
#include <stddef.h>
#include <stdint.h>

#include "evlp/sim.h"

namespace sim {

/** A call of the service: recorded as it begins, if calls are recorded; made to fail perhaps. */
class Call {
  public:
    using Arguments = std::initializer_list<int64_t>;

    Call(evlp_sim_function function, evlp_thread_str* loop, evlp_ctx_str* ctx, Arguments arguments);
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    void setUser(void* user);
    void setName(const char* name);

    /** Whether it is its turn to fail. The error is recorded and in errno. */
    bool fails();

    // What the call has come to is recorded and handed through.
    int ended(int result);
    evlp_ctx_str* opened(evlp_ctx_str* ctx);
    evlp_thread_str* opened(evlp_thread_str* loop);

  private:
    evlp_sim_call* record();

    evlp_sim_function m_function;
    size_t m_index;
    unsigned m_recording;  // in which one, counted from the first
};

/** As at the start of the program. */
void resetCalls();

}  // namespace sim

#endif
