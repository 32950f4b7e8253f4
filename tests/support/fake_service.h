// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#ifndef TESTS_SUPPORT_FAKE_SERVICE_H
#define TESTS_SUPPORT_FAKE_SERVICE_H

#include <string>
#include <vector>

#include "evlp/evlp.h"

// A fake event-loop service, which the test program defines itself, see fake_service.cc: it writes
// down each call and answers what the test wants. Nothing ever becomes ready.
struct FakeService {
    static std::vector<std::string> calls;
    static int answer;        // of functions that return int
    static bool refusesOpen;  // loops and contexts cannot be opened

    // What the last context was opened with.
    static evlp_fn fn;
    static evlp_fd_fn fdFn;
    static void* user;

    static evlp_thread_str* loop();
    static evlp_ctx_str* context();

    static void reset();

    // What the calls since the last question were.
    static std::vector<std::string> takeCalls();
};

#endif
