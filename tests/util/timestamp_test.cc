// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
// Timing probes on clocks that stand still. A program of its own, for it defines clock_gettime().
#include <gtest/gtest.h>
#include <time.h>

#include "zol/log.h"

#include "support/syslog_capture.h"

namespace {

bool isFake = false;
timespec cpuClock = {};
timespec realClock = {};

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (isFake && clock == CLOCK_PROCESS_CPUTIME_ID) {
        *now = cpuClock;
        return 0;
    }
    if (isFake && clock == CLOCK_REALTIME) {
        *now = realClock;
        return 0;
    }
    *now = {};
    return 0;
}

namespace {

class Timestamp : public ::testing::Test {
  protected:
    Timestamp() {
        isFake = true;
        cpuClock = {2, 500000000};
        realClock = {1700000000, 1234567};
    }
    ~Timestamp() override { isFake = false; }

    const std::vector<SyslogCapture::Line>& logged() const { return m_log.lines(); }

    SyslogCapture m_log;
    timespec m_cpu = {};
    timespec m_real = {};
};

using Lines = std::vector<SyslogCapture::Line>;

TEST_F(Timestamp, StartNotesBothClocksAndLogsNothing) {
    TIMESTAMP_START(&m_cpu, &m_real);

    EXPECT_EQ(2, m_cpu.tv_sec);
    EXPECT_EQ(500000000, m_cpu.tv_nsec);
    EXPECT_EQ(1700000000, m_real.tv_sec);
    EXPECT_EQ(1234567, m_real.tv_nsec);
    EXPECT_EQ(Lines(), logged());
}

TEST_F(Timestamp, Start2WithoutALabelLogsNothing) {
    TIMESTAMP_START2(&m_cpu, &m_real, nullptr);

    EXPECT_EQ(2, m_cpu.tv_sec);
    EXPECT_EQ(1700000000, m_real.tv_sec);
    EXPECT_EQ(Lines(), logged());
}

TEST_F(Timestamp, Start2LogsItsLabelAndTheRealTime) {
    TIMESTAMP_START2(&m_cpu, &m_real, "rebuild");

    EXPECT_EQ(2, m_cpu.tv_sec);
    EXPECT_EQ(1700000000, m_real.tv_sec);
    EXPECT_EQ((Lines{{3, "TIMESTAMP: rebuild REALTIME 1700000000.001234567 \n"}}), logged());
}

TEST_F(Timestamp, EndLogsWhatHasPassedOnBothClocks) {
    TIMESTAMP_START(&m_cpu, &m_real);
    cpuClock = {2, 750000000};
    realClock = {1700000003, 501234567};

    TIMESTAMP_END(&m_cpu, &m_real, "rebuild");

    EXPECT_EQ((Lines{{3,
                      "TIMESTAMP: rebuild REALTIME 1700000003.501234567 CPUTIME diff 0.250000 "
                      "REALTIME diff 3.500000\n"}}),
              logged());
}

TEST_F(Timestamp, EndBorrowsFromTheSeconds) {
    TIMESTAMP_START(&m_cpu, &m_real);
    cpuClock = {4, 250000000};
    realClock = {1700000001, 0};

    TIMESTAMP_END(&m_cpu, &m_real, "x");

    EXPECT_EQ((Lines{{3,
                      "TIMESTAMP: x REALTIME 1700000001.000000000 CPUTIME diff 1.750000 "
                      "REALTIME diff 0.998765\n"}}),
              logged());
}

TEST_F(Timestamp, EndShowsAClockThatWasSetBack) {
    TIMESTAMP_START(&m_cpu, &m_real);
    realClock = {1699999999, 1234567};

    TIMESTAMP_END(&m_cpu, &m_real, "x");

    EXPECT_EQ((Lines{{3,
                      "TIMESTAMP: x REALTIME 1699999999.001234567 CPUTIME diff 0.000000 "
                      "REALTIME diff -1.000000\n"}}),
              logged());
}

TEST_F(Timestamp, EndLeavesTheRecordsForAnotherEnd) {
    TIMESTAMP_START(&m_cpu, &m_real);
    realClock.tv_sec += 5;

    TIMESTAMP_END(&m_cpu, &m_real, "x");

    EXPECT_EQ(2, m_cpu.tv_sec);
    EXPECT_EQ(1700000000, m_real.tv_sec);
}

#ifndef __UCLIBC__  // whose seconds have 32 bits
TEST_F(Timestamp, ShowsSecondsOfMoreThan32Bits) {
    realClock = {5000000000, 5};

    TIMESTAMP_START2(&m_cpu, &m_real, "x");

    EXPECT_EQ((Lines{{3, "TIMESTAMP: x REALTIME 5000000000.000000005 \n"}}), logged());
}
#endif

TEST(LogHooks, DoNothing) {
    const SyslogCapture log;

    xlog_set_name("gardend");
    xlog_set_name(nullptr);
    xlog_level_filter(0);
    xlog_level_filter(0xffffffffU);

    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
