// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "record.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "clock.h"
#include "platform/evlp/loop.h"

namespace sim {

namespace {

constexpr size_t kFunctions = EVLP_SIM_SIG_CLOSE + 1;
constexpr size_t kFirstCapacity = 64;

const char* const kNames[kFunctions] = {"evlp_initialize", "evlp_openThreadInt", "evlp_startThread",
                                        "evlp_stopThread", "evlp_closeThread",   "fd_openCtx",
                                        "fd_startCtx",     "fd_stopCtx",         "fd_closeCtx",
                                        "timer_openCtx",   "timer_startCtx",     "timer_stopCtx",
                                        "timer_closeCtx",  "sig_openCtx",        "sig_startCtx",
                                        "sig_stopCtx",     "sig_closeCtx"};

struct Failure {
    unsigned countdown;  // to the call that fails; 0: none
    int error;
};

Failure failures[kFunctions];

evlp_sim_call* calls = nullptr;
size_t callCount = 0;
size_t callCapacity = 0;
bool recording = false;
unsigned recordings = 0;

bool isFunction(unsigned function) {
    return function < kFunctions;
}

void forgetCalls() {
    free(calls);
    calls = nullptr;
    callCount = 0;
    callCapacity = 0;
    ++recordings;
}

bool reserveCall() {
    if (callCount < callCapacity) {
        return true;
    }
    const int error = errno;
    const size_t capacity = callCapacity == 0 ? kFirstCapacity : callCapacity * 2;
    evlp_sim_call* const larger = evlp::resized(calls, capacity);
    errno = error;
    if (larger == nullptr) {
        return false;
    }
    calls = larger;
    callCapacity = capacity;
    return true;
}

// Text of any length into a buffer that may be too short for it.
class Text {
  public:
    Text(char* text, size_t size) : m_text(text), m_size(size) {
        if (size != 0) {
            text[0] = '\0';
        }
    }

    __attribute__((format(printf, 2, 3))) void add(const char* format, ...) {
        va_list list;
        va_start(list, format);
        const bool full = m_length >= m_size;
        m_length += static_cast<size_t>(vsnprintf(full ? nullptr : m_text + m_length,
                                                  full ? 0 : m_size - m_length, format, list));
        va_end(list);
    }

    int length() const { return static_cast<int>(m_length); }

  private:
    char* m_text;
    size_t m_size;
    size_t m_length = 0;
};

}  // namespace

Call::Call(evlp_sim_function function, evlp_thread_str* loop, evlp_ctx_str* ctx,
           Arguments arguments)
    : m_function(function), m_index(callCount), m_recording(recordings) {
    if (!recording) {
        m_recording = recordings - 1;
        return;
    }
    if (!reserveCall()) {
        recording = false;  // rather none than some with gaps
        m_recording = recordings - 1;
        return;
    }
    evlp_sim_call& call = calls[callCount++];
    call = {};
    call.function = function;
    call.time = now();
    call.loop = loop;
    call.ctx = ctx;
    for (const int64_t argument : arguments) {
        call.arguments[call.argumentCount++] = argument;
    }
}

// Null also when the records were forgotten since, in a callback.
evlp_sim_call* Call::record() {
    return m_recording == recordings ? &calls[m_index] : nullptr;
}

void Call::setUser(void* user) {
    if (evlp_sim_call* const call = record()) {
        call->user = user;
    }
}

void Call::setName(const char* name) {
    if (evlp_sim_call* const call = record()) {
        snprintf(call->name, sizeof call->name, "%s", name == nullptr ? "" : name);
    }
}

bool Call::fails() {
    Failure& failure = failures[m_function];
    if (failure.countdown == 0 || --failure.countdown != 0) {
        return false;
    }
    errno = failure.error;
    (void)ended(-1);
    return true;
}

int Call::ended(int result) {
    evlp_sim_call* const call = record();
    if (call != nullptr && result < 0) {
        call->error = errno;
    }
    return result;
}

evlp_ctx_str* Call::opened(evlp_ctx_str* ctx) {
    if (evlp_sim_call* const call = record()) {
        call->ctx = ctx;
    }
    (void)ended(ctx == nullptr ? -1 : 0);
    return ctx;
}

evlp_thread_str* Call::opened(evlp_thread_str* loop) {
    if (evlp_sim_call* const call = record()) {
        call->loop = loop;
    }
    (void)ended(loop == nullptr ? -1 : 0);
    return loop;
}

void resetCalls() {
    recording = false;
    forgetCalls();
    memset(failures, 0, sizeof failures);
}

}  // namespace sim

using namespace sim;
using evlp::fail;

void evlp_sim_record(int on) {
    recording = on != 0;
    if (recording) {
        forgetCalls();
    }
}

size_t evlp_sim_countCalls(void) {
    return callCount;
}

int evlp_sim_getCall(size_t index, evlp_sim_call* call) {
    if (index >= callCount || call == nullptr) {
        return fail(EINVAL);
    }
    *call = calls[index];
    return 0;
}

int evlp_sim_describe(const evlp_sim_call* call, char* text, size_t size) {
    Text out(text, size);
    out.add("%s(", isFunction(call->function) ? kNames[call->function] : "?");
    const char* separator = "";
    if (call->function == EVLP_SIM_OPEN_THREAD) {
        out.add("\"%s\"", call->name);
        separator = ", ";
    }
    for (int i = 0; i != call->argumentCount; ++i) {
        out.add("%s%lld", separator, static_cast<long long>(call->arguments[i]));
        separator = ", ";
    }
    out.add(")");
    if (call->error != 0) {
        out.add(": %s", strerror(call->error));
    }
    return out.length();
}

int evlp_sim_fail(evlp_sim_function function, unsigned nth, int error) {
    if (!isFunction(function) || (nth != 0 && error <= 0)) {
        return fail(EINVAL);
    }
    failures[function] = {nth, error};
    return 0;
}
