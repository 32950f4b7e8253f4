// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT

// The first use of xlib_get_symbol(), by many threads at once: a program of its own, for there is
// only one first use.

#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "zol/plugin.h"

#include "support/syslog_capture.h"

extern "C" __attribute__((visibility("default"))) int symbolOfTheProgram;
int symbolOfTheProgram = 7;

namespace {

TEST(GetSymbol, OpensTheMainProgramOnceWhoeverUsesItFirst) {
    const SyslogCapture log;
    std::atomic<int> ready{0};
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    threads.reserve(8);
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&ready, &found] {
            for (++ready; ready < 8;) {
            }
            found += xlib_get_symbol("symbolOfTheProgram") == &symbolOfTheProgram ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(8, found);
    EXPECT_THAT(log.lines(), testing::ElementsAre(
                                 SyslogCapture::Line{6, " open(#): Opening dynamic library: "}));
}

}  // namespace
